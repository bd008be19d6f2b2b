# What the plugin links to: zelk::eos, zelk::core and zelk::foundation. Each is a vendor's when the folder
# of its SDK is named, and the stand-in of standins/ otherwise.
set(ZELK_EOS_SDK_DIR "" CACHE PATH "EOS SDK, with Include, Lib and Bin; empty builds the stand-in")
set(ZELK_CORE_SDK_DIR "" CACHE PATH
  "SDK with ZELKCore and ZELKFoundation in lib or bin; empty builds the stand-ins")

# Sets `result` to the first file of the names ARGN in one of `folders` of the folder that the variable
# `sdk` names.
function(zelk_sdk_file result sdk folders)
  find_file(zelk_sdk_found NAMES ${ARGN} PATHS ${${sdk}} PATH_SUFFIXES ${folders}
    NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  if(NOT zelk_sdk_found)
    list(JOIN ARGN " or " names)
    list(JOIN folders ", " folders)
    message(FATAL_ERROR "${sdk}: no ${names} in \"${${sdk}}\" (looked in its folders ${folders})")
  endif()
  set(${result} ${zelk_sdk_found} PARENT_SCOPE)
endfunction()

# `target` is the shared library `name` of that SDK. Its file name is what the plugin asks for at run time,
# and the file is copied to where the plugin is built; an SDK for Windows may lack it.
function(zelk_sdk_library target sdk name)
  add_library(${target} SHARED IMPORTED GLOBAL)
  if(WIN32)
    zelk_sdk_file(library ${sdk} "Lib;lib;Bin;bin" ${name}.lib ${name}.dll.a lib${name}.dll.a)
    set_target_properties(${target} PROPERTIES IMPORTED_IMPLIB ${library})
    unset(library)
    find_file(library NAMES ${name}.dll PATHS ${${sdk}} PATH_SUFFIXES Bin bin Lib lib
      NO_CACHE NO_DEFAULT_PATH NO_CMAKE_FIND_ROOT_PATH)
  else()
    zelk_sdk_file(library ${sdk} "Bin;bin;Lib;lib" lib${name}.so)
    set_target_properties(${target} PROPERTIES IMPORTED_LOCATION ${library} IMPORTED_NO_SONAME ON)
  endif()
  if(library)
    file(COPY ${library} DESTINATION ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} FOLLOW_SYMLINK_CHAIN)
    install(DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/ DESTINATION bin FILES_MATCHING PATTERN *${name}.*)
  endif()
endfunction()

if(NOT ZELK_EOS_SDK_DIR OR NOT ZELK_CORE_SDK_DIR)
  include(${CMAKE_CURRENT_LIST_DIR}/libraries.cmake)
  add_subdirectory(standins/common)
endif()

if(ZELK_CORE_SDK_DIR)
  # Its headers are not looked for: src/core_contract declares the same.
  zelk_sdk_library(zelk::foundation ZELK_CORE_SDK_DIR ZELKFoundation)
  zelk_sdk_library(zelk::core ZELK_CORE_SDK_DIR ZELKCore)
  target_link_libraries(zelk::core INTERFACE zelk::contract)
else()
  add_subdirectory(standins/foundation)
  add_subdirectory(standins/core)
endif()

if(ZELK_EOS_SDK_DIR)
  zelk_sdk_file(zelk_eos_header ZELK_EOS_SDK_DIR "Include;include" eos_sdk.h)
  cmake_path(GET zelk_eos_header PARENT_PATH zelk_eos_include)
  set(zelk_eos_name EOSSDK-Linux-Shipping)
  if(WIN32)
    set(zelk_eos_name EOSSDK-Win64-Shipping)
  endif()
  zelk_sdk_library(zelk::eos ZELK_EOS_SDK_DIR ${zelk_eos_name})
  target_include_directories(zelk::eos INTERFACE ${zelk_eos_include})
else()
  add_subdirectory(standins/eos)
endif()

if(NOT WIN32)
  add_subdirectory(standins/windows)
endif()
