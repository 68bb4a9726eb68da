# larder_sqlite: a private copy of SQLite, the same version on both systems. The sources come from
# Debian's source package through tools/fetch-sqlite.sh, which ./dev calls.
set(LARDER_SQLITE_SOURCE ${PROJECT_SOURCE_DIR}/build/downloads/sqlite CACHE PATH
  "Folder that has sqlite3.c, sqlite3.h and LICENSE.md")
foreach(file sqlite3.c sqlite3.h LICENSE.md)
  if(NOT EXISTS ${LARDER_SQLITE_SOURCE}/${file})
    message(FATAL_ERROR "${file} of SQLite isn't in ${LARDER_SQLITE_SOURCE}. Fetch it with\n"
      "  ${PROJECT_SOURCE_DIR}/tools/fetch-sqlite.sh ${LARDER_SQLITE_SOURCE}\n"
      "or set LARDER_SQLITE_SOURCE to a folder that has it.")
  endif()
endforeach()

# Not linked with larder_options: SQLite isn't this project's code, so it has no warnings and no
# sanitizers. The thread sanitizer would report the accesses to the WAL index, which race by design;
# the others see its calls of malloc, memcpy and the like anyway. It is optimized in every preset,
# and has no debug information, which would take a fifth of the compilation.
add_library(larder_sqlite STATIC ${LARDER_SQLITE_SOURCE}/sqlite3.c)
target_include_directories(larder_sqlite SYSTEM PUBLIC ${LARDER_SQLITE_SOURCE})
target_link_libraries(larder_sqlite PRIVATE larder_hardening)
target_compile_options(larder_sqlite PRIVATE -w -O2 -g0)
target_compile_definitions(larder_sqlite PRIVATE
  SQLITE_THREADSAFE=2  # a connection belongs to one thread
  SQLITE_DEFAULT_FILE_PERMISSIONS=0640
  SQLITE_DEFAULT_MEMSTATUS=0
  SQLITE_DEFAULT_WAL_SYNCHRONOUS=1
  SQLITE_DQS=0
  SQLITE_LIKE_DOESNT_MATCH_BLOBS
  SQLITE_MAX_EXPR_DEPTH=0
  SQLITE_MAX_MMAP_SIZE=0  # a mapped database that is truncated is a SIGBUS
  SQLITE_OMIT_DECLTYPE
  SQLITE_OMIT_DEPRECATED
  SQLITE_OMIT_LOAD_EXTENSION
  SQLITE_OMIT_PROGRESS_CALLBACK
  SQLITE_OMIT_SHARED_CACHE
  SQLITE_TEMP_STORE=3  # in memory
  SQLITE_USE_ALLOCA)
if(WIN32)
  target_compile_definitions(larder_sqlite PRIVATE SQLITE_OS_WIN=1)
else()
  set_target_properties(larder_sqlite PROPERTIES C_VISIBILITY_PRESET hidden)
  target_compile_definitions(larder_sqlite PRIVATE
    HAVE_FDATASYNC=1
    HAVE_LOCALTIME_R=1
    HAVE_USLEEP=1  # without it a busy connection waits whole seconds
    USE_PREAD=1)
endif()
