# Run by cpack on what becomes packages: each gets its SBOM, as the last file. A ZIP file has it at its top, a Debian package
# beside its copyright.
# Licences of the source: asked once, here or by who set the variable.
if(NOT DEFINED ENV{KV_REUSE_SPDX})
  set(ENV{KV_REUSE_SPDX} ${CPACK_TOPLEVEL_DIRECTORY}/../reuse.spdx)
  file(REMOVE $ENV{KV_REUSE_SPDX})
endif()
function(kv_write_sbom name tree output)
  execute_process(COMMAND ${CPACK_KV_SOURCE}/script/sbom ${name} ${CPACK_PACKAGE_VERSION} ${tree} ${output}
    ${CPACK_KV_SYSROOT} COMMAND_ERROR_IS_FATAL ANY)
endfunction()
if(CPACK_GENERATOR STREQUAL "ZIP")
  kv_write_sbom(kv-algo-windows ${CPACK_TEMPORARY_INSTALL_DIRECTORY} ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/sbom.spdx.json)
else()
  file(GLOB papers ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/doc/*/copyright)
  foreach(paper IN LISTS papers)
    get_filename_component(folder ${paper} DIRECTORY)
    get_filename_component(name ${folder} NAME)
    string(REGEX REPLACE "/usr/share/doc/.*" "" tree ${folder})
    kv_write_sbom(${name} ${tree} ${folder}/sbom.spdx.json)
  endforeach()
endif()
