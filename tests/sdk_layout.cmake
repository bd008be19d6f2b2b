# Builds and installs the library as a studio does: against vendors' folders, here filled with the
# stand-ins. A script; tests/CMakeLists.txt names what it is given.
cmake_minimum_required(VERSION 3.25)

function(run)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

set(configure ${CMAKE_COMMAND} -S ${SOURCE_DIR} -G ${GENERATOR} -DCMAKE_BUILD_TYPE=Release
  -DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM} -DCMAKE_C_COMPILER=${C_COMPILER}
  -DCMAKE_CXX_COMPILER=${CXX_COMPILER})
if(TOOLCHAIN)
  list(APPEND configure --toolchain ${TOOLCHAIN})
endif()

file(REMOVE_RECURSE ${FOLDER})
foreach(vendor eos core)
  run(${CMAKE_COMMAND} --install ${BINARY_DIR} --component ${vendor}_vendor_layout
    --prefix ${FOLDER}/${vendor})
endforeach()
run(${configure} -B ${FOLDER}/build -DZELK_EOS_SDK_DIR=${FOLDER}/eos -DZELK_CORE_SDK_DIR=${FOLDER}/core)
run(${CMAKE_COMMAND} --build ${FOLDER}/build --config Release)
file(GLOB copied ${FOLDER}/build/bin/*EOSSDK-*-Shipping.* ${FOLDER}/build/bin/*ZELKCore.*)
list(LENGTH copied count)
if(NOT count EQUAL 2)
  message(SEND_ERROR "beside the plugin there are of the vendors' libraries: ${copied}")
endif()
run(${CMAKE_COMMAND} --install ${FOLDER}/build --config Release --prefix ${FOLDER}/installed)
if(EXISTS ${FOLDER}/build/headers)
  message(SEND_ERROR "the libraries of the stand-ins were looked for")
endif()

# A set that runs: what lies beside the built plugin lies beside the installed one.
foreach(folder build installed)
  file(GLOB ${folder} RELATIVE ${FOLDER}/${folder}/bin ${FOLDER}/${folder}/bin/*${SUFFIX})
endforeach()
if(NOT installed STREQUAL build)
  message(SEND_ERROR "installed: ${installed}\ninstead of ${build}")
endif()

# A folder that lacks something is refused by its name, with what it lacks.
foreach(vendor EOS CORE)
  execute_process(
    COMMAND ${configure} -B ${FOLDER}/refused_${vendor} -DZELK_${vendor}_SDK_DIR=${FOLDER}
    RESULT_VARIABLE status OUTPUT_QUIET ERROR_VARIABLE message)
  if(status EQUAL 0 OR NOT message MATCHES "ZELK_${vendor}_SDK_DIR: no [a-zA-Z.]*(eos_sdk|ZELKFoundation)")
    message(SEND_ERROR "ZELK_${vendor}_SDK_DIR without its files gives ${status}: ${message}")
  endif()
endforeach()
