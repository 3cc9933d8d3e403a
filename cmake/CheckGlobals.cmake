# SPDX-License-Identifier: Apache-2.0
# The SDK itself reads and writes the shared globals only through pa::load and pa::store:
# cmake -D ROOT=... -P this
set(names "(gAudioServerInstance|gLocalDstNo|gActiveAudioServerDstNo|gIndirectCXSConnection|gMaxServerWaitTimeSeconds|debugLevel)")
file(GLOB_RECURSE sources ${ROOT}/framework/*.h ${ROOT}/framework/*.cpp ${ROOT}/sdk/*.h
  ${ROOT}/sdk/*.cpp ${ROOT}/link/*.h ${ROOT}/link/*.cpp)
set(uses 0)
foreach(source ${sources})
  file(READ ${source} code)
  string(REGEX REPLACE "//[^\n]*" "" code "${code}")
  string(REGEX REPLACE "\n(extern PA_API )?(int|long|bool|AudioServer\\*) ${names}( = [^\n]*)?;" "" code "${code}")
  string(REGEX MATCHALL "(load|store)\\(${names}" proper "${code}")
  list(LENGTH proper count)
  math(EXPR uses "${uses} + ${count}")
  string(REGEX REPLACE "(load|store)\\(${names}" "" code "${code}")
  if(code MATCHES "[^a-zA-Z]${names}[^a-zA-Z]")
    message(FATAL_ERROR "${source} uses ${CMAKE_MATCH_1} without pa::load or pa::store")
  endif()
endforeach()
if(uses EQUAL 0)
  message(FATAL_ERROR "no use of the shared globals in ${ROOT}")
endif()
