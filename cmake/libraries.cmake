# The libraries from the system's packages that the stand-ins, the host and the tests use, all but
# GoogleTest as headers; standins/common compiles spdlog and fmt out of theirs. They are linked into a
# folder of the build tree, so that a cross compiler sees them without the rest of the system's headers.
set(zelk_headers ${PROJECT_BINARY_DIR}/headers)
file(MAKE_DIRECTORY ${zelk_headers})
foreach(folder nlohmann CLI spdlog fmt)
  if(NOT EXISTS /usr/include/${folder})
    message(FATAL_ERROR "/usr/include/${folder} is missing: run ./run or ./test once, they install what is needed")
  endif()
  file(CREATE_LINK /usr/include/${folder} ${zelk_headers}/${folder} SYMBOLIC)
endforeach()

function(zelk_header_library name)
  add_library(zelk_${name} INTERFACE)
  add_library(zelk::${name} ALIAS zelk_${name})
  target_include_directories(zelk_${name} SYSTEM INTERFACE ${zelk_headers})
  target_compile_definitions(zelk_${name} INTERFACE ${ARGN})
endfunction()

zelk_header_library(json)
zelk_header_library(cli11)
zelk_header_library(spdlog_headers SPDLOG_FMT_EXTERNAL SPDLOG_COMPILED_LIB)
