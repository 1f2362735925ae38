# SPDX-FileCopyrightText: 2026 The kessensor authors
# SPDX-License-Identifier: MIT

# Runs COMMAND, which must fail and print the contents of the file EXPECTED.
execute_process(COMMAND ${COMMAND} OUTPUT_VARIABLE output RESULT_VARIABLE result)
file(READ "${EXPECTED}" expected)
if(NOT result EQUAL 1 OR NOT output STREQUAL expected)
  message(FATAL_ERROR "ended with ${result} and printed:\n${output}")
endif()
