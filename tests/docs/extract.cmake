# Joins the C++ blocks of a page of documentation into one source file:
#
#   cmake -D page=guide.md -D source=guide.cpp -P extract.cmake

cmake_minimum_required(VERSION 3.25)

file(READ "${page}" rest)
set(opening "\n```cpp\n")
set(code "")
while(TRUE)
  string(FIND "${rest}" "${opening}" begin)
  if(begin EQUAL -1)
    break()
  endif()
  string(LENGTH "${opening}" skip)
  math(EXPR begin "${begin} + ${skip}")
  string(SUBSTRING "${rest}" ${begin} -1 rest)
  string(FIND "${rest}" "\n```" end)
  string(SUBSTRING "${rest}" 0 ${end} block)
  string(APPEND code "${block}\n\n")
  string(SUBSTRING "${rest}" ${end} -1 rest)
endwhile()
if(code STREQUAL "")
  message(FATAL_ERROR "${page} has no C++ code")
endif()
file(WRITE "${source}" "${code}")
