# SPDX-License-Identifier: Apache-2.0
# Public headers are included as <public-address/sdk/PAController.h>, from a build tree as from an
# installation: here through links to the source folders, beside the generated header of the version.
include(${CMAKE_CURRENT_LIST_DIR}/PublicHeaders.cmake)

set(prefix ${PROJECT_BINARY_DIR}/include/public-address)
configure_file(${CMAKE_CURRENT_LIST_DIR}/version.h.in ${prefix}/version.h @ONLY)
foreach(folder framework include resource sdk link client)
  file(CREATE_LINK ${PROJECT_SOURCE_DIR}/${folder} ${prefix}/${folder} SYMBOLIC)
endforeach()

# pa_interface(TARGET): what the users of a library of the SDK are compiled with.
function(pa_interface target)
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_BINARY_DIR}/include> $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_compile_features(${target} INTERFACE cxx_std_17)
  if(CMAKE_SIZEOF_VOID_P EQUAL 4)  # all users have the same time_t (framework/timeWidth.h)
    target_compile_definitions(${target} PUBLIC _FILE_OFFSET_BITS=64 _TIME_BITS=64)
  endif()
endfunction()
