# What every target of this project is compiled with. Consumers get none of it but the language level.

set(CMAKE_CXX_STANDARD 23)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER ${CCACHE_PROGRAM})
endif()

# The project's own warnings, for its own targets alone.
function(tilvanego_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_23)
  target_compile_options(
    ${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wnon-virtual-dtor
                      -Woverloaded-virtual -Wold-style-cast -Wcast-align)
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    if(CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 13)
      # It takes a function that returns a reference for dangling as soon as an argument is a temporary.
      target_compile_options(${target} PRIVATE -Wno-dangling-reference)
    else()
      # With -O3 it sees an overlap in the library's own `"text" + std::string` (GCC bug 105651).
      target_compile_options(${target} PRIVATE -Wno-restrict)
    endif()
  endif()
  if(CMAKE_UNITY_BUILD)
    # Files that are compiled as one: the names of one hide those of another, and none is the main file. Builds
    # without it see each file as it is.
    target_compile_options(${target} PRIVATE -Wno-shadow $<$<CXX_COMPILER_ID:GNU>:-Wno-subobject-linkage>)
  endif()
  if(TILVANEGO_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()

# tilvanego_compile_for_size(target source...): what waits for a disk, another program or a person is compiled for size wherever the
# build optimises.
function(tilvanego_compile_for_size target)
  if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo)$" OR CMAKE_CXX_FLAGS MATCHES "-O[23]")
    set_source_files_properties(${ARGN} TARGET_DIRECTORY ${target} PROPERTIES COMPILE_OPTIONS -Os)
  endif()
endfunction()
