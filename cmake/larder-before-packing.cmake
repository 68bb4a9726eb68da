# cpack reads this first.
if(CPACK_LARDER_MISSING_LICENSES)
  list(JOIN CPACK_LARDER_MISSING_LICENSES "\n  " files)
  message(FATAL_ERROR "No package is made, because these licenses were missing when the build folder was "
    "configured:\n  ${files}")
endif()
if(CPACK_GENERATOR STREQUAL DEB)
  unset(CPACK_PACKAGE_DESCRIPTION_SUMMARY)  # each package has its own
endif()
