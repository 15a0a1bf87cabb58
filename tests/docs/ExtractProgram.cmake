# Writes the one C++ block of DOCUMENT to PROGRAM.

file(READ "${DOCUMENT}" text)
string(FIND "${text}" "```cpp\n" begin)
if(begin EQUAL -1)
  message(FATAL_ERROR "${DOCUMENT} holds no C++ block")
endif()
math(EXPR begin "${begin} + 7")
string(SUBSTRING "${text}" ${begin} -1 text)
string(FIND "${text}" "```" end)
string(SUBSTRING "${text}" 0 ${end} code)
file(WRITE "${PROGRAM}" "${code}")
