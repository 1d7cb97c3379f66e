# For the CTest scripts of the classxml program: what a command line writes when it runs under a
# pseudo-terminal that SCRIPT (util-linux's `script`) makes, in `output`; left undefined where
# SCRIPT is not given or the machine has no pseudo-terminals, which then check pipes alone.
#   on_terminal(output "${program} validate ${arguments}")
function(on_terminal output command)
    unset(${output} PARENT_SCOPE)
    if(NOT SCRIPT)
        return()
    endif()
    execute_process(COMMAND ${SCRIPT} -qec "tty" /dev/null OUTPUT_VARIABLE device)
    if(NOT device MATCHES "/dev/")
        return()
    endif()
    execute_process(COMMAND ${SCRIPT} -qec "${command}" /dev/null OUTPUT_VARIABLE terminal)
    set(${output} "${terminal}" PARENT_SCOPE)
endfunction()
