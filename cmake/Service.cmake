# SPDX-License-Identifier: Apache-2.0
# pa_service(NAME UNIT SETTINGS [file...]): installs a service of deploy/systemd/, with the paths of this
# installation in its unit and its settings; the settings and the files into /etc/NAME.
function(pa_service name unit settings)
  set(etc ${CMAKE_INSTALL_FULL_SYSCONFDIR})  # of the prefix /usr it is /etc
  foreach(file ${unit} ${settings})
    set(source ${PROJECT_SOURCE_DIR}/deploy/systemd/${file})
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${source})
    file(READ ${source} text)
    string(REPLACE /usr/bin ${CMAKE_INSTALL_FULL_BINDIR} text "${text}")
    string(REPLACE /usr/share ${CMAKE_INSTALL_FULL_DATADIR} text "${text}")
    string(REPLACE /etc ${etc} text "${text}")
    file(CONFIGURE OUTPUT ${file} CONTENT "${text}" @ONLY)
  endforeach()
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${unit}
    DESTINATION lib/systemd/system COMPONENT ${name})
  if(NOT CMAKE_INSTALL_PREFIX STREQUAL /usr)
    set(etc ${CMAKE_INSTALL_SYSCONFDIR})  # so that --prefix moves it
  endif()
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/${settings} ${ARGN}
    DESTINATION ${etc}/${name} COMPONENT ${name})
endfunction()
