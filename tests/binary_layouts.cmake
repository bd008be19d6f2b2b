# Compiles binary_layouts.cpp for Microsoft's compiler, whose names and sizes of types differ from those of
# the compilers that build the library, and looks for the name that a core built by it asks the library for.
cmake_minimum_required(VERSION 3.25)

execute_process(
  COMMAND ${CLANGXX} --target=x86_64-pc-windows-msvc -std=c++20 -ffreestanding -S -o -
    -I${SOURCE_DIR}/src -I${SOURCE_DIR}/standins/eos/include ${SOURCE_DIR}/tests/binary_layouts.cpp
  OUTPUT_VARIABLE assembly COMMAND_ERROR_IS_FATAL ANY)
file(READ ${SOURCE_DIR}/host/plugin_library.h header)
string(REGEX MATCH "[?]SendMessage[^\"]+" name "${header}")
string(FIND "${assembly}" "\"__imp_${name}\"" found)
if(found EQUAL -1 OR name STREQUAL "")
  message(SEND_ERROR "Friend::SendMessage is not ${name}")
endif()

# long has 32 bits on Windows and 64 elsewhere.
file(GLOB headers ${SOURCE_DIR}/src/core_contract/*.h ${SOURCE_DIR}/standins/eos/include/*.h)
foreach(header ${headers})
  file(READ ${header} text)
  string(REGEX REPLACE "//[^\n]*" "" text "${text}")
  string(REPLACE "long long" "" text "${text}")
  if(text MATCHES "[^A-Za-z0-9_]long[^A-Za-z0-9_]")
    message(SEND_ERROR "${header} has a long")
  endif()
endforeach()
if(NOT headers)
  message(SEND_ERROR "there are no headers in ${SOURCE_DIR}")
endif()
