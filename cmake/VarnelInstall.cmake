# What "cmake --install" puts where, but for the schema and the example instance, which their folders
# install.
install(TARGETS varnel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(TARGETS dirclient_shared LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR})
install(FILES platform/dirclient/dirclient.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
install(FILES docs/varnel.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES docs/varnelConfig.5 docs/varnel-instance.conf.5 DESTINATION ${CMAKE_INSTALL_MANDIR}/man5)
install(DIRECTORY examples/split examples/proxy DESTINATION ${CMAKE_INSTALL_DATADIR}/varnel/examples)
install(FILES docs/varnel.bash-completion
  DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME varnel)
