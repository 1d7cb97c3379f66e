# Runs the classxml program and checks its exit code and output:
#   cmake -DTOOL=... -DARGS="a;b" -DEXPECT_CODE=n [-DEXPECT_STDOUT=regex] [-DEXPECT_STDERR=regex]
#         [-DEXPECT_ERRORS=regex] [-DINPUT=file] -P RunTool.cmake
# EXPECT_STDERR is matched against the last line of standard error, the program's own, and
# EXPECT_ERRORS against all of it; INPUT is given as standard input.
set(input "")
if(DEFINED INPUT)
    set(input INPUT_FILE ${INPUT})
endif()
execute_process(COMMAND ${TOOL} ${ARGS} ${input} RESULT_VARIABLE code OUTPUT_VARIABLE out
    ERROR_VARIABLE err)
if(NOT code EQUAL EXPECT_CODE)
    message(FATAL_ERROR "exit code ${code}, expected ${EXPECT_CODE}\nstdout:\n${out}\nstderr:\n${err}")
endif()
if(DEFINED EXPECT_STDOUT AND NOT out MATCHES "${EXPECT_STDOUT}")
    message(FATAL_ERROR "stdout does not match '${EXPECT_STDOUT}':\n${out}")
endif()
if(DEFINED EXPECT_STDERR)
    string(STRIP "${err}" stripped)
    string(REGEX REPLACE ".*\n" "" last "${stripped}")
    if(NOT last MATCHES "${EXPECT_STDERR}")
        message(FATAL_ERROR "last stderr line does not match '${EXPECT_STDERR}':\n${err}")
    endif()
endif()
if(DEFINED EXPECT_ERRORS AND NOT err MATCHES "${EXPECT_ERRORS}")
    message(FATAL_ERROR "stderr does not match '${EXPECT_ERRORS}':\n${err}")
endif()
