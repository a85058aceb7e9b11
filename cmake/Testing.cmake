# GoogleTest: the distribution's library, or built from its source package where the standard library is libc++.
if(CMAKE_CXX_FLAGS MATCHES "-stdlib=libc\\+\\+")
  set(INSTALL_GTEST OFF)
  set(BUILD_GMOCK OFF)
  add_subdirectory(/usr/src/googletest ${CMAKE_BINARY_DIR}/googletest EXCLUDE_FROM_ALL SYSTEM)
else()
  find_package(GTest REQUIRED)
endif()

# One test program: tilvanego_test(name SOURCES a.cpp *Test.cpp [LIBRARIES extra...] [ENVIRONMENT_MODIFICATION change...]). It looks inside the libraries that it links.
function(tilvanego_test name)
  cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "SOURCES;LIBRARIES;ENVIRONMENT_MODIFICATION")
  set(sources "")
  foreach(pattern IN LISTS arg_SOURCES)
    file(GLOB found CONFIGURE_DEPENDS ${pattern})
    list(APPEND sources ${found})
  endforeach()
  add_executable(${name} ${sources})
  set(libraries TilvaneGo::SDK ${arg_LIBRARIES})
  list(TRANSFORM libraries REPLACE "^TilvaneGo::" "tilvanego_inside_")
  target_link_libraries(${name} PRIVATE ${libraries} test_data GTest::gtest_main)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  tilvanego_compile_options(${name})
  # What hangs is a fault: no test comes near this time, under a sanitizer either.
  gtest_discover_tests(${name} TEST_PREFIX "${name}." DISCOVERY_MODE PRE_TEST
                       PROPERTIES TIMEOUT 300 ENVIRONMENT_MODIFICATION "${arg_ENVIRONMENT_MODIFICATION}")
endfunction()

# A source that is compiled and never run: it must go well, or with a FAULT stop with these words.
function(tilvanego_compiles test source)
  separate_arguments(flags NATIVE_COMMAND "${CMAKE_CXX_FLAGS}")
  add_test(NAME ${test} COMMAND ${CMAKE_CXX_COMPILER} ${CMAKE_CXX23_STANDARD_COMPILE_OPTION} ${flags} -fsyntax-only
                                -I ${PROJECT_SOURCE_DIR} ${CMAKE_CURRENT_SOURCE_DIR}/${source} ${ARGN})
endfunction()
function(tilvanego_refuses test source fault words)
  tilvanego_compiles(${test} ${source} -DFAULT=${fault})
  set_tests_properties(${test} PROPERTIES PASS_REGULAR_EXPRESSION "error: .*(${words})")
endfunction()

# The test of a window, which has a main function of its own.
function(tilvanego_window_test name source)
  add_executable(${name} ${source})
  target_link_libraries(${name} PRIVATE ${ARGN} Qt6::Test GTest::gtest)
  target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR})
  tilvanego_compile_options(${name})
  gtest_discover_tests(${name} TEST_PREFIX ${name}. DISCOVERY_MODE PRE_TEST PROPERTIES TIMEOUT 300)
endfunction()
