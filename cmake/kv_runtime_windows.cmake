# The compiler's runtime, one copy beside the programs: Windows looks there first, and an exception that one module throws
# is known in another only when both use the same runtime.
get_filename_component(compilerFolder ${CMAKE_CXX_COMPILER} DIRECTORY)
set(KV_RUNTIME_FILES "")
foreach(name libstdc++-6.dll libgcc_s_seh-1.dll libwinpthread-1.dll)
  set(copy ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/${name})
  list(APPEND KV_RUNTIME_FILES ${copy})
  if(EXISTS ${copy})
    continue()
  endif()
  execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-file-name=${name}
    OUTPUT_VARIABLE file OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(NOT IS_ABSOLUTE "${file}")
    set(file ${compilerFolder}/${name})
  endif()
  # Nine tenths of the C++ library are what a debugger would want.
  execute_process(COMMAND ${CMAKE_STRIP} --strip-unneeded -o ${copy} ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
