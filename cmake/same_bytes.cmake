# Run by cpack on its files: their bytes depend on what is in them, not on the order in which a file system lists it.
foreach(file IN LISTS CPACK_PACKAGE_FILES)
  if(file MATCHES "\\.zip$")
    execute_process(COMMAND python3 ${CPACK_KV_SOURCE}/cmake/sorted_zip.py ${file} COMMAND_ERROR_IS_FATAL ANY)
  elseif(file MATCHES "\\.deb$" AND DEFINED ENV{SOURCE_DATE_EPOCH})
    set(tree ${file}.content)
    execute_process(COMMAND dpkg-deb -R ${file} ${tree} COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND sort -k 2 -o ${tree}/DEBIAN/md5sums ${tree}/DEBIAN/md5sums COMMAND_ERROR_IS_FATAL ANY)
    # Sizes of folders differ between file systems.
    execute_process(COMMAND find ${tree} -path ${tree}/DEBIAN -prune -o -type f -printf "%s\n"
      COMMAND awk "{ all += int(($1 + 1023) / 1024) } END { print all }"
      OUTPUT_VARIABLE size OUTPUT_STRIP_TRAILING_WHITESPACE)
    execute_process(COMMAND sed -i "s/^Installed-Size:.*/Installed-Size: ${size}/" ${tree}/DEBIAN/control
      COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND chmod -R u=rwX,go=rX ${tree} COMMAND_ERROR_IS_FATAL ANY)
    execute_process(COMMAND dpkg-deb --root-owner-group --threads-max=1 -Zxz -b ${tree} ${file} OUTPUT_QUIET
      COMMAND_ERROR_IS_FATAL ANY)
    file(REMOVE_RECURSE ${tree})
  endif()
endforeach()
