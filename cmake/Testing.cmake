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
