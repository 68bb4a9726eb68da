# larder_lmdb: LMDB. On Linux the system's shared library; for Windows, where no package has it, the
# C sources of Debian's source package, which tools/fetch-lmdb.sh (called by ./dev) lays down.
add_library(larder_lmdb INTERFACE)

if(WIN32)
  set(LARDER_LMDB_SOURCE ${PROJECT_SOURCE_DIR}/build/downloads/lmdb CACHE PATH
    "Unpacked source package of LMDB")
  set(lmdb ${LARDER_LMDB_SOURCE}/libraries/liblmdb)
  if(NOT EXISTS ${lmdb}/mdb.c)
    message(FATAL_ERROR "LMDB's sources aren't in ${LARDER_LMDB_SOURCE}. Fetch them with\n"
      "  ${PROJECT_SOURCE_DIR}/tools/fetch-lmdb.sh ${LARDER_LMDB_SOURCE}\n"
      "or let LARDER_LMDB_SOURCE name a folder that has them.")
  endif()
  add_library(larder_lmdb_objects STATIC ${lmdb}/mdb.c ${lmdb}/midl.c)
  target_include_directories(larder_lmdb_objects SYSTEM PUBLIC ${lmdb})
  target_link_libraries(larder_lmdb_objects PRIVATE larder_options PUBLIC ntdll)
  target_compile_options(larder_lmdb_objects PRIVATE -w)  # not this project's code
  target_link_libraries(larder_lmdb INTERFACE larder_lmdb_objects)
  install(FILES ${lmdb}/LICENSE DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/larder RENAME LICENSE.lmdb)
else()
  find_path(LARDER_LMDB_INCLUDE lmdb.h REQUIRED)
  find_library(LARDER_LMDB_LIBRARY lmdb REQUIRED)
  mark_as_advanced(LARDER_LMDB_INCLUDE LARDER_LMDB_LIBRARY)
  target_include_directories(larder_lmdb SYSTEM INTERFACE ${LARDER_LMDB_INCLUDE})
  target_link_libraries(larder_lmdb INTERFACE ${LARDER_LMDB_LIBRARY})
endif()

# larder_xxhash: headers alone, the same for every system; the compiler is given a folder that holds
# nothing else of the build machine's.
find_path(LARDER_XXHASH_INCLUDE_DIR xxhash.h REQUIRED
  PATHS /usr/include /usr/local/include NO_CMAKE_FIND_ROOT_PATH
  DOC "Folder that holds xxhash.h and xxh3.h (Debian: libxxhash-dev)")
set(xxhash ${CMAKE_CURRENT_BINARY_DIR}/xxhash)
file(MAKE_DIRECTORY ${xxhash})
foreach(header xxhash.h xxh3.h)
  file(CREATE_LINK ${LARDER_XXHASH_INCLUDE_DIR}/${header} ${xxhash}/${header} COPY_ON_ERROR SYMBOLIC)
endforeach()
add_library(larder_xxhash INTERFACE)
target_include_directories(larder_xxhash SYSTEM INTERFACE ${xxhash})
target_compile_definitions(larder_xxhash INTERFACE XXH_INLINE_ALL)
