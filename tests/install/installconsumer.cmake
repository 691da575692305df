# Run by the test install_consumer; see CMakeLists.txt beside it.
function(step)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE output)
    if(NOT result EQUAL 0)
        string(REPLACE ";" " " command "${ARGN}")
        message(FATAL_ERROR "failed (${result}): ${command}\n${output}")
    endif()
endfunction()

set(prefix ${WORK_DIR}/prefix)
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/home)

step(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})
file(GLOB headers RELATIVE ${prefix}/${INCLUDE_DIR} ${prefix}/${INCLUDE_DIR}/*)
if(NOT headers STREQUAL "vaneplugininterface.h")
    message(FATAL_ERROR "public headers: ${headers}")
endif()

step(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -D CMAKE_CXX_COMPILER=${CXX_COMPILER} -D CMAKE_PREFIX_PATH=${prefix})
step(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
step(${CMAKE_COMMAND} -E env HOME=${WORK_DIR}/home XDG_CONFIG_HOME=${WORK_DIR}/home/.config
    ${WORK_DIR}/build/consumer ${prefix}/${PLUGIN_DIR}/${PLUGIN_FILE})
