# What every target of the project is compiled with.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
if(NOT WIN32)  # There it would keep the inline parts of exported classes out of their library.
  set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
endif()
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# What the processor is called where sources are chosen by it.
string(TOLOWER "${CMAKE_SYSTEM_PROCESSOR}" KV_ARCHITECTURE)
if(KV_ARCHITECTURE STREQUAL "arm64")
  set(KV_ARCHITECTURE aarch64)
elseif(KV_ARCHITECTURE STREQUAL "amd64")
  set(KV_ARCHITECTURE x86_64)
endif()
if(NOT KV_ARCHITECTURE MATCHES "^(aarch64|x86_64)$")
  message(FATAL_ERROR "No kernels for the processor ${CMAKE_SYSTEM_PROCESSOR}: docs/architecture.md says what one needs.")
endif()

# Programs, libraries and members share one folder, as they do for a user: a member is found next to what loads it.
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)
set(CMAKE_BUILD_RPATH_USE_ORIGIN ON)

add_compile_options(-Wall -Wextra -Wpedantic)
if(KV_WERROR)
  add_compile_options(-Werror)
endif()
# The same bytes from every compiler: products and sums are rounded one by one, never fused.
add_compile_options(-ffp-contract=off)
if(WIN32)
  # By default the linker would offer everything to everybody.
  add_link_options(-Wl,--exclude-all-symbols -Wl,--no-insert-timestamp)
  add_compile_definitions(UNICODE NOMINMAX WIN32_LEAN_AND_MEAN)
  file(MAKE_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY})
  include(kv_runtime_windows)
elseif(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # Unique symbols would keep a member in memory for ever: unloading must unload.
  add_compile_options(-fno-gnu-unique)
endif()

# Nobody should find in a file where it was made. Tools that look sources up by what is in a file need the whole path.
if(CMAKE_BUILD_TYPE STREQUAL "Release")
  add_compile_options(-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=)
endif()

set(KV_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")

# Programs read files from anywhere: a fault in them ends the program, and does no more. Sanitizers see more than these
# checks, and the two are not made for each other. Kernels leave them out (algorithms/CMakeLists.txt).
set(KV_HARDENED OFF)
if(NOT WIN32 AND NOT KV_SANITIZE)
  set(KV_HARDENED ON)
  include(CheckPIESupported)
  check_pie_supported()
  add_compile_options(-fstack-protector-strong)
  # Indirect jumps and calls end where one is marked as an end, on processors that know of it.
  set(KV_MARKS -mbranch-protection=standard)
  if(KV_ARCHITECTURE STREQUAL "x86_64")
    set(KV_MARKS -fcf-protection=full)
  endif()
  add_compile_options(${KV_MARKS})
  # Without optimisation the C library could only warn.
  # As one option: of equal ones CMake keeps the first, and a kernel's own -U has to come after it.
  add_compile_options("$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:SHELL:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3>")
  add_link_options(-Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()
if(KV_SANITIZE)
  add_compile_options(-fsanitize=${KV_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${KV_SANITIZE})
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # What sanitizers put in between hides from g++ that values were set.
    add_compile_options(-Wno-maybe-uninitialized)
  endif()
endif()

# A build from nothing spends most of its time on what many sources include. A compiler cache, and whoever changes one
# source again and again, do better with each on its own.
set(default ON)
if(CMAKE_CXX_COMPILER_LAUNCHER)
  set(default OFF)
endif()
option(KV_UNITY "Compile the sources of the program, and those of a test, together" ${default})

# kv_compile_together(TARGET…): for what nobody else builds on; the libraries and kernels are compiled one by one.
function(kv_compile_together)
  set_target_properties(${ARGN} PROPERTIES UNITY_BUILD ${KV_UNITY} UNITY_BUILD_BATCH_SIZE 20)
endfunction()

include_directories(${PROJECT_SOURCE_DIR})

# kv_offer(TARGET NAME): a library that others build on, as kv::NAME from this tree and from the installed package.
function(kv_offer target name)
  add_library(kv::${name} ALIAS ${target})
  set_target_properties(${target} PROPERTIES
    EXPORT_NAME ${name} VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})
  target_compile_features(${target} PUBLIC cxx_std_20)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}> $<INSTALL_INTERFACE:${KV_INSTALL_INCLUDEDIR}>)
endfunction()
