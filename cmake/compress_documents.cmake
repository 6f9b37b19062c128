# Gives the files of a package the form that Debian asks for: manual pages and changelog compressed, the latter, the
# copyright file and the notices of the libraries in kzr beside the other documents. `cmake --install` leaves pages
# readable, since other systems want that.
find_program(gzip gzip REQUIRED)

set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}${CPACK_PACKAGING_INSTALL_PREFIX})
set(documents ${root}/share/doc/${CPACK_PACKAGE_NAME})
file(COPY ${CPACK_KZR_PACKAGING_DIRECTORY}/copyright ${CPACK_KZR_PACKAGING_DIRECTORY}/changelog
     DESTINATION ${documents}
     FILE_PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
foreach(library libcli11-dev nlohmann-json3-dev)
  set(notice /usr/share/doc/${library}/copyright)
  if(EXISTS ${root}/bin/kzr AND EXISTS ${notice})
    configure_file(${notice} ${documents}/notices/${library} COPYONLY)
  endif()
endforeach()

file(GLOB pages ${root}/share/man/man*/*.[1-9])
list(APPEND pages ${documents}/changelog)
foreach(page IN LISTS pages)
  # Without the time and the name the result depends on nothing but the content.
  execute_process(COMMAND ${gzip} -9 -n ${page} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
