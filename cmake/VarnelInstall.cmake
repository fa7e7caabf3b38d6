# What "cmake --install" puts where, but for the schema and the example instance, which their folders
# install.
install(TARGETS varnel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS dirclient_shared LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES platform/dirclient/dirclient.h platform/schema/ldcf_api_schema.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varnel)
set(made_docs ${PROJECT_BINARY_DIR}/docs)
install(FILES ${made_docs}/varnel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${made_docs}/varnelConfig.5 ${made_docs}/varnel-instance.conf.5
  DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
install(FILES ${made_docs}/messages.md DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(DIRECTORY examples/split examples/proxy DESTINATION ${CMAKE_INSTALL_DATADIR}/varnel/examples)
install(FILES ${made_docs}/varnel.bash-completion
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME varnel)

# Packages, by cpack: their version is the project's. The program and the man pages name the directories of
# this prefix, so a package holds its files below it and is unpacked at the root.
set(CPACK_GENERATOR TGZ)
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
include(CPack)
