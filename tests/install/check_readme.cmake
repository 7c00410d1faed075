# Checks that the README shows the example program as it is.

cmake_minimum_required(VERSION 3.25)

file(READ ${SOURCE}/README.md readme)
file(READ ${SOURCE}/examples/embed.cpp example)
string(FIND "${readme}" "```cpp\n${example}```\n" position)
if(position EQUAL -1)
  message(FATAL_ERROR "README.md doesn't show examples/embed.cpp as it stands")
endif()
