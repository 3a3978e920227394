# For Linux on aarch64, from a Debian system: the cross compiler, libraries from script/aarch64_sysroot, an emulator to
# run what is built.
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_C_COMPILER aarch64-linux-gnu-gcc)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
get_filename_component(kv_source_dir ${CMAKE_CURRENT_LIST_DIR} DIRECTORY)
set(kv_sysroot ${kv_source_dir}/build/aarch64-sysroot)
# Made by the first configuration; those after it find it made. try_compile reads this file too.
execute_process(COMMAND ${kv_source_dir}/script/aarch64_sysroot OUTPUT_QUIET COMMAND_ERROR_IS_FATAL ANY)
set(CMAKE_SYSROOT ${kv_sysroot})
set(CMAKE_LIBRARY_ARCHITECTURE aarch64-linux-gnu)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# What pkg-config knows of this system is not for that processor.
set(ENV{PKG_CONFIG_LIBDIR} ${kv_sysroot}/usr/lib/aarch64-linux-gnu/pkgconfig:${kv_sysroot}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${kv_sysroot})
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64 -L ${kv_sysroot})
