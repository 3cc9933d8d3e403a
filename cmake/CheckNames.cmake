# SPDX-License-Identifier: Apache-2.0
# An application may name its own functions and classes as it likes: the libraries of the SDK define
# global names of the public interface only, and have namespaces for all others. Two inline functions
# or classes of one name in one program are undefined behaviour that no compiler reports.
# cmake -D NM=... -D LIBRARIES=a,b,... -P this
cmake_minimum_required(VERSION 3.25)

set(namespaces pa palink __gnu_cxx)
set(classes AnnouncementRequest AudioServer DISPLAY_VALUE_INFO EventItem Gain KeyValueMap Message
  MessagePriority PAController PAControllerObserver PaSWTrigger PaSelector PaSink PaSource
  PaSourceLockStatus PaTrigger PaZone PlayMessageParams QXReceiver ScheduleDefinition TEVlist TEVnode
  TTSDictionary TTSPendingInfo TTSVocalizer qxLocalMutex qxMutexBase threadClass)
set(functions addNewEventItem debug generateUUID handleError prepareElemStringFieldForSvr sleepMS
  splitStr subscribeUnsubscribeToResAmpVUMeterElement translateElemStringFieldFromSvr)
set(globals debugLevel gActiveAudioServerDstNo gAudioServerInstance gDeviceIPAddress
  gIndirectCXSConnection gLocalDstNo gMaxServerWaitTimeSeconds gPaController gQXReceiver)

string(REPLACE "," ";" LIBRARIES "${LIBRARIES}")
set(checked 0)
set(faults "")
foreach(library ${LIBRARIES})
  execute_process(COMMAND ${NM} --defined-only --extern-only --format=posix ${library}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "\n[A-Za-z_][A-Za-z0-9_]* " symbols "${symbols}")
  foreach(symbol ${symbols})
    string(STRIP "${symbol}" symbol)
    string(REGEX REPLACE "^_ZTh?v?n?[0-9]+_(n?[0-9]+_)?" "_Z" symbol "${symbol}")  # a thunk
    # Those of the standard library, the compiler and the sanitizers.
    if(symbol MATCHES "^_Z([NKZ]|GV|T[A-Z])*S" OR symbol MATCHES "^(__|DW$|_GLOBAL_)")
      continue()
    endif()
    set(name "${symbol}")
    if(symbol MATCHES "^_Z[A-Za-z]*([0-9]+)(.*)$")
      string(SUBSTRING "${CMAKE_MATCH_2}" 0 ${CMAKE_MATCH_1} name)
    endif()
    math(EXPR checked "${checked} + 1")
    if(NOT name IN_LIST namespaces AND NOT name IN_LIST classes AND NOT name IN_LIST functions
       AND NOT name IN_LIST globals)
      list(APPEND faults "${name} (${symbol})")
    endif()
  endforeach()
endforeach()
if(checked LESS 300)
  message(FATAL_ERROR "only ${checked} names in ${LIBRARIES}")
endif()
if(faults)
  list(REMOVE_DUPLICATES faults)
  list(JOIN faults "\n  " faults)
  message(FATAL_ERROR "global names that are not of the public interface:\n  ${faults}")
endif()
