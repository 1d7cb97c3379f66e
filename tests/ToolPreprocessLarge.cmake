# classxml preprocess of a file of some 20 MiB: its base64 block moves out; through a pipe no
# progress line is drawn, under a pseudo-terminal (SCRIPT, util-linux's `script`, when given) one
# counts the MiB written and is cleared before the list of side files.
#   cmake -DTOOL=... -DWORK=dir -DPATHS=dir-as-the-program-sees-it [-DSCRIPT=script]
#         -P ToolPreprocessLarge.cmake
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
string(REPEAT "QUJD" 65536 block)
string(REPEAT "${block}" 80 base64)
set(document "<r><FileTransport><fileContent>${base64}</fileContent></FileTransport></r>")
foreach(run pipe terminal)
    file(WRITE ${WORK}/${run}.xml "${document}")
endforeach()
execute_process(COMMAND ${TOOL} preprocess ${PATHS}/pipe.xml RESULT_VARIABLE code
    OUTPUT_VARIABLE out ERROR_VARIABLE err)
if(NOT code EQUAL 0 OR NOT out MATCHES "1 base64 block moved out of")
    message(FATAL_ERROR "exit code ${code}:\n${out}\n${err}")
endif()
if(err MATCHES "\r|preprocessed")
    message(FATAL_ERROR "a progress line went into a pipe:\n${err}")
endif()
include(${CMAKE_CURRENT_LIST_DIR}/OnTerminal.cmake)
list(JOIN TOOL " " program)
on_terminal(terminal "${program} preprocess ${PATHS}/terminal.xml")
if(DEFINED terminal AND NOT terminal MATCHES "\rpreprocessed [0-9.]+ / 20.0 MiB\r +\r[^\n]*base64")
    message(FATAL_ERROR "no progress line on a terminal:\n${terminal}")
endif()
file(REMOVE_RECURSE ${WORK})
