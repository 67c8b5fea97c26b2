# GoogleTest is built from the distribution's source package, so that it carries the same flags
# (sanitizers, cross compiler) as the tests that link it.
set(KORVEX_GOOGLETEST_SOURCE /usr/src/googletest CACHE PATH "GoogleTest's sources")
if(KORVEX_BUILD_TESTS)
  set(INSTALL_GTEST OFF CACHE BOOL "" FORCE)
  set(gtest_force_shared_crt ON CACHE BOOL "" FORCE)
  add_subdirectory(${KORVEX_GOOGLETEST_SOURCE} ${PROJECT_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
endif()

# korvex_add_test(NAME SOURCES ... LIBRARIES ... [LABELS ...])
# One program of tests, one CTest test. Label "threads" marks those that the thread sanitizer runs.
function(korvex_add_test name)
  cmake_parse_arguments(ARG "" "" "SOURCES;LIBRARIES;LABELS" ${ARGN})
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_LIBRARIES} GTest::gmock GTest::gtest_main korvex_warnings)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR} ${PROJECT_SOURCE_DIR}/src)
  # Tests are compiled more often than they are waited for: only the code under test is optimised.
  if(KORVEX_SANITIZE OR MINGW)
    target_compile_options(${name} PRIVATE -O0)
  endif()
  add_test(NAME ${name} COMMAND ${name})
  set_tests_properties(${name} PROPERTIES LABELS "${ARG_LABELS}" TIMEOUT 600
                                          WORKING_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
endfunction()
