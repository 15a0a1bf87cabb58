# Runs PROGRAM, made from C++ blocks of DOCUMENT, and compares what it prints with what the document
# says: the unlabelled block behind the first C++ block, or with ALL_BLOCKS behind the last one.

cmake_minimum_required(VERSION 3.25)

file(READ "${DOCUMENT}" text)
if(ALL_BLOCKS)
  string(FIND "${text}" "```cpp\n" begin REVERSE)
else()
  string(FIND "${text}" "```cpp\n" begin)
endif()
string(SUBSTRING "${text}" ${begin} -1 text)
string(FIND "${text}" "\n```\n\n" code_end)
math(EXPR code_end "${code_end} + 5")
string(SUBSTRING "${text}" ${code_end} -1 text)
string(FIND "${text}" "\n```\n" begin)
if(begin EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} does not say what its program prints")
endif()
math(EXPR begin "${begin} + 5")
string(SUBSTRING "${text}" ${begin} -1 text)
string(FIND "${text}" "```\n" end)
string(SUBSTRING "${text}" 0 ${end} expected)

execute_process(
  COMMAND "${PROGRAM}"
  RESULT_VARIABLE result
  OUTPUT_VARIABLE printed
  ERROR_VARIABLE complained)
if(NOT result EQUAL 0 OR NOT printed STREQUAL expected)
  message(NOTICE "${printed}${complained}instead of\n${expected}The program ended with ${result}.")
  message(FATAL_ERROR "See above.")
endif()
