# The desktop tools' manual pages, written by Debian's help2man from each program's --help
# and --version, so that a page never tells other than its program. Installed under
# share/man/man1; `man -l` renders each.
find_program(COMMS_HELP2MAN help2man)
if(NOT COMMS_HELP2MAN)
  message(STATUS "help2man not found: the tools' manual pages are not made "
    "(bash tools/install-deps.sh installs it)")
  return()
endif()
if(CMAKE_CROSSCOMPILING)
  message(STATUS "Cross build: the tools' manual pages are not made (help2man runs the tools)")
  return()
endif()

set(comms_manual_pages)
foreach(program_and_name
    "comms-simulator|the communications service simulator, with its browser panel"
    "comms-console|typed requests and awaited events at the communications service"
    "comms-decode|decoder of the communications service's messages and records")
  string(REPLACE "|" ";" program_and_name "${program_and_name}")
  list(GET program_and_name 0 program)
  list(GET program_and_name 1 summary)
  set(page ${PROJECT_BINARY_DIR}/man/${program}.1)
  add_custom_command(OUTPUT ${page}
    COMMAND ${CMAKE_COMMAND} -DHELP2MAN=${COMMS_HELP2MAN} -DPROGRAM=$<TARGET_FILE:${program}>
            -DSUMMARY=${summary} -DPAGE=${page}
            -DPLUGIN_BUILT=$<TARGET_FILE:CommunicationsService>
            -DPLUGIN_INSTALLED=${comms_bin_to_lib}/$<TARGET_SONAME_FILE_NAME:CommunicationsService>
            -P ${CMAKE_CURRENT_LIST_DIR}/WriteManPage.cmake
    DEPENDS ${program} ${CMAKE_CURRENT_LIST_DIR}/WriteManPage.cmake
    COMMENT "Writing the manual page of ${program}"
    VERBATIM)
  list(APPEND comms_manual_pages ${page})
endforeach()
add_custom_target(manual_pages ALL DEPENDS ${comms_manual_pages})
install(FILES ${comms_manual_pages} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
