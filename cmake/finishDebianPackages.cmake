# Run by cpack when it has built its packages.
if(CPACK_GENERATOR STREQUAL "DEB")
  foreach(package IN LISTS CPACK_PACKAGE_FILES)
    execute_process(COMMAND sh ${CPACK_VARNEL_FINISH_PACKAGE} ${package} COMMAND_ERROR_IS_FATAL ANY)
  endforeach()
endif()
