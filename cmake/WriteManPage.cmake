# Writes PAGE, the manual page of PROGRAM, with HELP2MAN. What --help shows of the build
# tree becomes what the installed program uses: the plug-in PLUGIN_BUILT is named as
# PLUGIN_INSTALLED (relative to the program's folder), and a default made of the process
# id (the console's channel) as PID, so that the page is the same in every build.
get_filename_component(folder ${PAGE} DIRECTORY)
file(MAKE_DIRECTORY ${folder})
execute_process(
  COMMAND ${HELP2MAN} --no-info --no-discard-stderr --section=1 --name=${SUMMARY}
          --output=${PAGE} ${PROGRAM}
  RESULT_VARIABLE failed)
if(failed)
  message(FATAL_ERROR "help2man could not write the manual page of ${PROGRAM}")
endif()
# help2man writes each '-' as '\-'.
file(READ ${PAGE} text)
string(REPLACE "-" "\\-" built "${PLUGIN_BUILT}")
string(REPLACE "-" "\\-" installed "${PLUGIN_INSTALLED}")
string(REPLACE "${built}" "${installed}" text "${text}")
string(REGEX REPLACE "=console\\\\-[0-9]+" "=console\\\\-PID" text "${text}")
file(WRITE ${PAGE} "${text}")
