# How a folder becomes a library or a program, and its unit tests.
#
#   varnel_library(NAME [PLATFORM] SOURCES ... [DEPENDS ...])
#     A static library, or an interface library where no source is a .cpp. DEPENDS names each library
#     of the project that one of its sources includes a header of, and no other:
#     tests/test_sources.py reads these calls and compares them with the sources.
#
#   varnel_program(NAME [PLATFORM] SOURCES ... [DEPENDS ...])
#     A program, and the same of its DEPENDS.
#
#   varnel_unit_tests(NAME [PLATFORM] SOURCES ... [DEPENDS ...])
#     One GoogleTest program of the named X_test.cpp files; every test in it becomes a CTest test.
#
# PLATFORM selects C++20; the tool's folders are C++14, the last standard with dynamic exception lists.

function(varnel_compile_settings target platform)
  if(platform)
    set_target_properties(${target} PROPERTIES CXX_STANDARD 20)
  else()
    set_target_properties(${target} PROPERTIES CXX_STANDARD 14)
  endif()
endfunction()

# A program that counts its lines keeps the counts however it ends.
function(varnel_end_with_counts target)
  if(VARNEL_COVERAGE)
    target_link_libraries(${target} PRIVATE end_with_counts)
  endif()
endfunction()

function(varnel_library name)
  cmake_parse_arguments(ARG "PLATFORM" "" "SOURCES;DEPENDS" ${ARGN})
  set(implementation ${ARG_SOURCES})
  list(FILTER implementation INCLUDE REGEX "\\.(cpp|c)$")
  if(implementation)
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC ${ARG_DEPENDS})
    varnel_compile_settings(${name} "${ARG_PLATFORM}")
  else()
    add_library(${name} INTERFACE ${ARG_SOURCES})
    target_link_libraries(${name} INTERFACE ${ARG_DEPENDS})
  endif()
endfunction()

function(varnel_program name)
  cmake_parse_arguments(ARG "PLATFORM" "" "SOURCES;DEPENDS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS})
  varnel_end_with_counts(${name})
  varnel_compile_settings(${name} "${ARG_PLATFORM}")
endfunction()

function(varnel_unit_tests name)
  cmake_parse_arguments(ARG "PLATFORM" "" "SOURCES;DEPENDS" ${ARGN})
  foreach(source IN LISTS ARG_SOURCES)
    set_property(GLOBAL APPEND PROPERTY VARNEL_REGISTERED_TESTS ${CMAKE_CURRENT_SOURCE_DIR}/${source})
  endforeach()
  if(NOT BUILD_TESTING)
    return()
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPENDS} GTest::gmock GTest::gtest_main)
  varnel_end_with_counts(${name})
  varnel_compile_settings(${name} "${ARG_PLATFORM}")
  gtest_discover_tests(${name} TEST_PREFIX "${name}." NO_PRETTY_VALUES DISCOVERY_TIMEOUT 60)
endfunction()

# A test file that no target compiles would never run: a configure error instead.
function(varnel_check_every_test_is_registered)
  file(GLOB_RECURSE found ${PROJECT_SOURCE_DIR}/*_test.cpp)
  list(FILTER found EXCLUDE REGEX "^${PROJECT_SOURCE_DIR}/build/")
  get_property(registered GLOBAL PROPERTY VARNEL_REGISTERED_TESTS)
  foreach(file IN LISTS found)
    if(NOT file IN_LIST registered)
      message(FATAL_ERROR "${file} belongs to no varnel_unit_tests() call, so nothing would run it")
    endif()
  endforeach()
endfunction()
