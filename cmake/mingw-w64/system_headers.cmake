# kv_system_headers(TARGET FOLDER): a library of headers out of /usr/include, which as a whole must stay out of sight: it
# holds the headers of another system.
function(kv_system_headers target folder)
  if(TARGET ${target})
    return()
  endif()
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: script/bootstrap installs it")
  endif()
  file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/headers)
  file(CREATE_LINK /usr/include/${folder} ${CMAKE_BINARY_DIR}/headers/${folder} SYMBOLIC)
  add_library(${target} INTERFACE IMPORTED GLOBAL)
  set_target_properties(${target} PROPERTIES INTERFACE_INCLUDE_DIRECTORIES ${CMAKE_BINARY_DIR}/headers)
endfunction()
