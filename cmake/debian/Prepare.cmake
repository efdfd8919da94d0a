# What Debian wants otherwise than "cmake --install" lays it: run by cpack on the tree that it packs.
set(root ${CPACK_TEMPORARY_DIRECTORY}/usr)
set(documents ${root}/share/doc/zpapache)

file(MAKE_DIRECTORY ${documents})
file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/copyright ${documents}/copyright)
file(COPY_FILE ${CMAKE_CURRENT_LIST_DIR}/../../CHANGELOG.md ${documents}/changelog)
# zpweb holds code of these two; their terms go with it.
foreach(library IN ITEMS libcli11-dev nlohmann-json3-dev)
  if(EXISTS /usr/share/doc/${library}/copyright)
    file(COPY_FILE /usr/share/doc/${library}/copyright ${documents}/copyright.${library})
  endif()
endforeach()
file(CHMOD ${documents}/copyright ${documents}/changelog
     PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
execute_process(COMMAND gzip -9nf ${documents}/changelog ${root}/share/man/man1/zpweb.1 COMMAND_ERROR_IS_FATAL ANY)
