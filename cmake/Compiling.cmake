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
  # g++ 13 takes a function that returns a reference for dangling as soon as an argument is a temporary.
  if(CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(${target} PRIVATE -Wno-dangling-reference)
  endif()
  if(TILVANEGO_WARNINGS_AS_ERRORS)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
endfunction()
