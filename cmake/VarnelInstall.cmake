# What "cmake --install" puts where, but for the schema and the example instance, which their folders
# install. Each part of it is of one component:
#
#   program      varnel, its pages and data; also what names no component
#   control      varnelctl, its page and completion, where it is built
#   library      what a program that was linked to libdirclient needs to run
#   development  what it takes to build such a program
set(data ${CMAKE_INSTALL_DATADIR}/varnel)
set(made_docs ${PROJECT_BINARY_DIR}/docs)

install(TARGETS varnel RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT program)
install(TARGETS dirclient_shared EXPORT dirclient LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
  COMPONENT library NAMELINK_COMPONENT development)
install(FILES platform/dirclient/dirclient.h platform/schema/ldcf_api_schema.h
  DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/varnel COMPONENT development)

# Every template in docs/ is a page; its section says who reads it.
file(GLOB pages RELATIVE ${PROJECT_SOURCE_DIR}/docs CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/docs/*.[1-8].in)
list(TRANSFORM pages REPLACE "\\.in$" "")
if(NOT TARGET varnelctl)
  list(REMOVE_ITEM pages varnelctl.1)
endif()
foreach(page IN LISTS pages ITEMS varnel-messages.7)
  string(REGEX MATCH "[1-8]$" section ${page})
  set(component program)
  if(section EQUAL 3)
    set(component development)
  elseif(page STREQUAL "varnelctl.1")
    set(component control)
  endif()
  install(FILES ${made_docs}/${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man${section} COMPONENT ${component})
endforeach()
install(FILES ${made_docs}/messages.md ${made_docs}/loading.md ${made_docs}/scale.md
  DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT program)

install(DIRECTORY examples/split DESTINATION ${data}/examples COMPONENT program USE_SOURCE_PERMISSIONS)
install(DIRECTORY examples/cluster DESTINATION ${data}/examples COMPONENT development USE_SOURCE_PERMISSIONS
  PATTERN __pycache__ EXCLUDE)
install(DIRECTORY examples/proxy DESTINATION ${data}/examples COMPONENT development USE_SOURCE_PERMISSIONS
  PATTERN __pycache__ EXCLUDE)

# Debian's zsh looks elsewhere for what packages bring.
set(VARNEL_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING
  "Where zsh looks for completions, below the prefix")
# install_completion(PROGRAM COMPONENT): for bash, zsh and fish.
function(install_completion program component)
  install(FILES ${made_docs}/${program}.bash-completion
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions COMPONENT ${component} RENAME ${program})
  install(FILES ${made_docs}/${program}.zsh-completion
    DESTINATION ${VARNEL_ZSH_COMPLETIONS} COMPONENT ${component} RENAME _${program})
  install(FILES ${made_docs}/${program}.fish-completion
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d COMPONENT ${component}
    RENAME ${program}.fish)
endfunction()

install_completion(varnel program)
if(TARGET varnelctl)
  install(TARGETS varnelctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT control)
  install_completion(varnelctl control)
endif()

# For builds that ask pkg-config, and those by CMake: find_package(varnel), target varnel::dirclient. Both
# find their way from where they are, so that the whole may be installed below another prefix.
set(pkg_config_directory ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
file(RELATIVE_PATH prefix_from_pkg_config
  ${CMAKE_INSTALL_PREFIX}/${pkg_config_directory} ${CMAKE_INSTALL_PREFIX}/)
configure_file(cmake/libdirclient.pc.in libdirclient.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/libdirclient.pc DESTINATION ${pkg_config_directory} COMPONENT development)

include(CMakePackageConfigHelpers)
set(cmake_package_directory ${CMAKE_INSTALL_LIBDIR}/cmake/varnel)
install(EXPORT dirclient FILE varnelConfig.cmake NAMESPACE varnel:: DESTINATION ${cmake_package_directory}
  COMPONENT development)
write_basic_package_version_file(varnelConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES ${PROJECT_BINARY_DIR}/varnelConfigVersion.cmake DESTINATION ${cmake_package_directory}
  COMPONENT development)
