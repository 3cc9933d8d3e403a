# SPDX-License-Identifier: Apache-2.0
# pa_warnings(TARGET): the project's own code compiles without a single warning, with GCC and Clang.
function(pa_warnings target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wformat=2 -Wnon-virtual-dtor
    -Woverloaded-virtual -Wold-style-cast)
  if(PA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    # The lock annotations of the headers are checked by the compiler.
    target_compile_options(${target} PRIVATE -Wthread-safety)
  endif()
endfunction()
