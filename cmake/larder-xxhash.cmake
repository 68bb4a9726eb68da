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
