# Fails on weak or unique symbols that OBJECTS define, as NM lists them; in objects for Windows those have sections of their
# own, named after them.
if(NOT OBJECTS)
  message(FATAL_ERROR "no objects")
endif()
foreach(object IN LISTS OBJECTS)
  execute_process(COMMAND ${NM} --defined-only ${object} OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  # One condition at a time: a second one forgets what the first has found.
  foreach(pattern "[0-9a-f]+ [VvWwu] ([^\n]+)" " [.](text|rdata|data|bss)[$]_Z[^\n]+")
    if(symbols MATCHES "${pattern}")
      message(FATAL_ERROR "${object}: ${CMAKE_MATCH_0} may be shared between instruction sets")
    endif()
  endforeach()
endforeach()
