# cmake -D PROGRAM=FILE -D EXPECTED=FILE -P CompareOutput.cmake: runs a program and compares what it prints.
execute_process(COMMAND "${PROGRAM}" OUTPUT_VARIABLE output COMMAND_ERROR_IS_FATAL ANY)
file(READ "${EXPECTED}" expected)
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "printed:\n${output}\nexpected, from ${EXPECTED}:\n${expected}")
endif()
