# SPDX-License-Identifier: Apache-2.0
# What all code of the project is compiled with. Each target calls it once:
# pa_code(TARGET [UNITY] [PRECOMPILE header...])

option(PA_PRECOMPILE "Precompile headers, not only for the tests. Off: each file includes all that it uses" ON)
option(PA_UNITY "Compile the files of some targets in groups. Off: one by one" ON)

# The standard headers that most files need cost more to read than the files themselves.
set(PA_STANDARD_HEADERS
  <algorithm> <array> <atomic> <chrono> <condition_variable> <cstdint> <ctime> <deque> <exception>
  <functional> <iterator> <map> <memory> <mutex> <optional> <set> <sstream> <stdexcept> <string>
  <string_view> <system_error> <thread> <utility> <variant> <vector>)

# GCC collects its garbage from 128 MB on; without that a file compiles up to 15 % faster.
add_compile_options($<$<CXX_COMPILER_ID:GNU>:--param=ggc-min-heapsize=524288>)

# A compiler cache works with precompiled headers when their content counts, not their time.
if(PA_PRECOMPILE)
  add_compile_options(
    $<$<CXX_COMPILER_ID:GNU>:-fpch-preprocess>
    "$<$<CXX_COMPILER_ID:Clang>:SHELL:-Xclang -fno-pch-timestamp>")
endif()

# For files that instantiate one costly header, the argument parser for example, which takes 2 s in
# each. Names without a namespace of their own must then differ in all files of the target.
function(pa_unity target)
  if(PA_UNITY)
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_BATCH_SIZE 24)
  endif()
endfunction()

# A target that names headers has a set of its own; all others share one of standard headers. Name
# the project's own headers only where most files of the target include them: they all are compiled
# again with each change of one.
function(pa_code target)
  cmake_parse_arguments(arg "UNITY" "" "PRECOMPILE" ${ARGN})
  pa_warnings(${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR})
  if(arg_UNITY)
    pa_unity(${target})
  endif()
  if(NOT PA_PRECOMPILE)
    return()
  endif()
  if(arg_PRECOMPILE)
    target_precompile_headers(${target} PRIVATE ${PA_STANDARD_HEADERS} ${arg_PRECOMPILE})
  else()
    pa_precompiled(pa_standard_headers ${PA_STANDARD_HEADERS})
    target_precompile_headers(${target} REUSE_FROM pa_standard_headers)
  endif()
endfunction()

# pa_library(NAME SOURCES file... [PUBLIC library...] [PRIVATE library...] [PRECOMPILE header...]): a
# static library of the SDK. The installed libraries are made of its objects, NAME_objects.
function(pa_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;PUBLIC;PRIVATE;PRECOMPILE" ${ARGN})
  add_library(${name}_objects OBJECT ${arg_SOURCES})
  add_library(${name} STATIC $<TARGET_OBJECTS:${name}_objects>)
  foreach(target ${name}_objects ${name})
    target_link_libraries(${target} PUBLIC Threads::Threads ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})
    pa_interface(${target})
  endforeach()
  pa_code(${name}_objects PRECOMPILE ${arg_PRECOMPILE})
endfunction()

# pa_precompiled(NAME header...): a set of headers that several targets share, made on first use.
function(pa_precompiled name)
  if(TARGET ${name})
    return()
  endif()
  file(CONFIGURE OUTPUT ${PROJECT_BINARY_DIR}/empty.cpp CONTENT "")
  add_library(${name} OBJECT ${PROJECT_BINARY_DIR}/empty.cpp)
  target_link_libraries(${name} PRIVATE Threads::Threads)
  pa_interface(${name})
  pa_warnings(${name})
  target_precompile_headers(${name} PRIVATE ${ARGN})
endfunction()
