# Packages, by cpack: their version is the project's. The program and the man pages name the directories of
# this prefix, so a package holds its files below it and is unpacked at the root. A build for /usr, as of the
# preset "package", is packed for Debian, any other one into an archive.
set(VARNEL_PACKAGE_MAINTAINER "varnel maintainers <maintainers@varnel.example.org>"
  CACHE STRING "Who is asked about the Debian packages: name <address>")
string(TIMESTAMP VARNEL_PACKAGE_DATE "%a, %d %b %Y %H:%M:%S +0000" UTC)

set(CPACK_GENERATOR TGZ)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
  set(CPACK_GENERATOR DEB)
endif()
set(CPACK_INCLUDE_TOPLEVEL_DIRECTORY OFF)
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_COMPONENTS_ALL program library development)
if(TARGET varnelctl)
  list(APPEND CPACK_COMPONENTS_ALL control)
endif()

set(CPACK_DEB_COMPONENT_INSTALL ON)
# The first line of each description below is its summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${VARNEL_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

set(CPACK_DEBIAN_PROGRAM_PACKAGE_NAME varnel)
set(CPACK_DEBIAN_PROGRAM_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PROGRAM_DEBUGINFO_PACKAGE ON)
set(CPACK_COMPONENT_PROGRAM_DESCRIPTION
  "splitter of LDIF exports over the servers of a directory
varnel reads the LDIF export of an LDAP directory once and writes a file
for each back-end server: the entries below a partitioned base DN are
spread by the hash of their names, all others go to the parent server.")

set(CPACK_DEBIAN_CONTROL_PACKAGE_NAME varnelctl)
set(CPACK_DEBIAN_CONTROL_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_CONTROL_DEBUGINFO_PACKAGE ON)
set(CPACK_DEBIAN_CONTROL_PACKAGE_RECOMMENDS "varnel")
set(CPACK_COMPONENT_CONTROL_DESCRIPTION
  "look at a split of a directory before, during and after it
varnelctl checks the configuration of varnel, shows what a split would put
where, splits into all files or none, proves that every entry is where it
must be, and asks the running servers for them.")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libdirclient1)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_DEBUGINFO_PACKAGE ON)
set(CPACK_COMPONENT_LIBRARY_DESCRIPTION
  "names of a partitioned LDAP directory, for its proxy
The library normalises distinguished names, with or without a schema, and
says which back-end server holds an entry of a directory that varnel has
split.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libdirclient-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "libdirclient1 (= ${PROJECT_VERSION})")
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SUGGESTS "python3")
set(CPACK_COMPONENT_DEVELOPMENT_DESCRIPTION
  "names of a partitioned LDAP directory, for its proxy: development files
What it takes to build programs that use libdirclient: the headers, the
manual page, and examples of a proxy's routing in C and Python.")

configure_file(cmake/debian/changelog.in debian/changelog @ONLY)
set(CPACK_VARNEL_FINISH_PACKAGE ${PROJECT_SOURCE_DIR}/cmake/debian/finish-package.sh
  ${PROJECT_SOURCE_DIR}/cmake/debian/copyright ${PROJECT_BINARY_DIR}/debian/changelog)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/cmake/finishDebianPackages.cmake)
include(CPack)
