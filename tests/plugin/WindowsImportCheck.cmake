# The Windows build under Wine: ioSid.dll exports ImportSID alone, the Windows host loads it and
# imports the bundled sample to the same rows its own reader decodes, and a failed import exits
# 2 with the filter's message. Run with -DWINE= -DIOSID= -DPLUGIN= -DOBJDUMP= -DSAMPLE= -DWORK=.
execute_process(COMMAND ${OBJDUMP} -p ${PLUGIN} OUTPUT_VARIABLE dump RESULT_VARIABLE rc)
string(REGEX MATCH "\\[Ordinal/Name Pointer\\] Table\n([^\n]+\n)*" names "${dump}")
string(REGEX MATCHALL "\\[ *[0-9]+\\] [A-Za-z_][A-Za-z0-9_@]*" exports "${names}")
if(NOT rc EQUAL 0 OR NOT exports MATCHES "ImportSID" OR NOT exports MATCHES "^[^;]*$")
    message(FATAL_ERROR "ioSid.dll exports: ${exports}")
endif()
file(MAKE_DIRECTORY ${WORK})
set(common --settings ${WORK}/settings.json --defaults --quiet)
foreach(args "--scale;2" "--format;8;--scale;4;--region;10,10,500,400" "--format;1")
    string(MAKE_C_IDENTIFIER "${args}" name)
    file(REMOVE ${WORK}/${name}_import.raw ${WORK}/${name}_read.raw)
    execute_process(COMMAND ${WINE} ${IOSID} import ${SAMPLE} -o ${WORK}/${name}_import.raw
                            ${args} ${common} RESULT_VARIABLE rc ERROR_VARIABLE err)
    if(NOT rc EQUAL 0)
        message(FATAL_ERROR "import ${args}: ${rc} ${err}")
    endif()
    execute_process(COMMAND ${WINE} ${IOSID} read ${SAMPLE} -o ${WORK}/${name}_read.raw ${args}
                    RESULT_VARIABLE rc OUTPUT_QUIET)
    file(SHA256 ${WORK}/${name}_import.raw imported)
    file(SHA256 ${WORK}/${name}_read.raw read)
    if(NOT rc EQUAL 0 OR NOT imported STREQUAL read)
        message(FATAL_ERROR "import ${args} differs from the reader's rows")
    endif()
endforeach()
execute_process(COMMAND ${WINE} ${IOSID} import ${PLUGIN} -o ${WORK}/failed.raw ${common}
                RESULT_VARIABLE rc ERROR_VARIABLE err)
if(NOT rc EQUAL 2 OR NOT err MATCHES "Unable to initiate SID import from file"
   OR EXISTS ${WORK}/failed.raw)
    message(FATAL_ERROR "failed import: status ${rc}, ${err}")
endif()
