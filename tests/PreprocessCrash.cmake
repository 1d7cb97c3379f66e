# Kills `classxml preprocess` at several moments while it rewrites a large file. Whenever it
# dies, the file's name must hold the whole original or the whole rewritten document.
#   cmake -DTOOL=... -DWORK=... -P PreprocessCrash.cmake
file(REMOVE_RECURSE ${WORK})
file(MAKE_DIRECTORY ${WORK})
string(REPEAT "QUJDREVGR0hJSktMTU5PUFFSU1RVVldYWVo=\n" 29000 block) # about 1 MiB of base64
set(original "<r>\n")
foreach(element RANGE 1 40)
    string(APPEND original "<FileTransport n=\"${element}\"><fileContent>${block}</fileContent>"
                           "</FileTransport>\n")
endforeach()
string(APPEND original "</r>\n")
file(WRITE ${WORK}/original.xml "${original}")
file(SHA256 ${WORK}/original.xml original_hash)

foreach(seconds 0.03 0.06 0.09 0.12 0.15 0.18)
    file(COPY_FILE ${WORK}/original.xml ${WORK}/doc.xml)
    execute_process(COMMAND ${TOOL} preprocess ${WORK}/doc.xml TIMEOUT ${seconds}
                    RESULT_VARIABLE code OUTPUT_QUIET ERROR_QUIET)
    if(NOT EXISTS ${WORK}/doc.xml)
        message(FATAL_ERROR "killed after ${seconds} s (${code}): doc.xml is gone")
    endif()
    file(SHA256 ${WORK}/doc.xml hash)
    if(NOT hash STREQUAL original_hash)
        file(READ ${WORK}/doc.xml rewritten)
        string(FIND "${rewritten}" "QUJD" base64)
        string(REGEX MATCHALL "\\.base64</fileContent>" paths "${rewritten}")
        list(LENGTH paths moved)
        if(NOT base64 EQUAL -1 OR NOT moved EQUAL 40 OR NOT rewritten MATCHES "</r>\n$")
            message(FATAL_ERROR "killed after ${seconds} s (${code}): doc.xml is neither the "
                                "original nor the whole rewritten document")
        endif()
    endif()
    message(STATUS "killed after ${seconds} s: ${code}, the name holds a whole document")
    file(GLOB leftovers ${WORK}/*.base64 ${WORK}/*-*-*-*-*.xml)
    if(leftovers)
        file(REMOVE ${leftovers})
    endif()
endforeach()
