# Install into WORK_DIR/prefix, then configure, build and run the consumer against it.
file(REMOVE_RECURSE ${WORK_DIR})
set(prefix ${WORK_DIR}/prefix)

function(run)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "failed (${result}): ${ARGN}\n${out}\n${err}")
    endif()
    set(last_output "${out}" PARENT_SCOPE)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD_DIR} --prefix ${prefix})

# The consumer is built the way the library was, so a sanitized library meets its runtime.
set(flags "${CXX_FLAGS}")
if(SANITIZE)
    string(APPEND flags " -fsanitize=address,undefined")
endif()

run(${CMAKE_COMMAND} -S ${CONSUMER_DIR} -B ${WORK_DIR}/build -G ${GENERATOR}
    -DCMAKE_CXX_COMPILER=${CXX_COMPILER} "-DCMAKE_CXX_FLAGS=${flags}"
    -DCMAKE_PREFIX_PATH=${prefix})
run(${CMAKE_COMMAND} --build ${WORK_DIR}/build)
run(${WORK_DIR}/build/consumer)
if(NOT last_output MATCHES "consumer: ok")
    message(FATAL_ERROR "unexpected consumer output: ${last_output}")
endif()

# The same program through pkg-config (the core's consumer; the Qt component has no .pc file).
find_program(PKG_CONFIG pkg-config)
if(PKG_CONFIG AND NOT CMAKE_ONLY)
    file(GLOB pcdirs ${prefix}/lib*/pkgconfig ${prefix}/lib/*/pkgconfig)
    string(REPLACE ";" ":" pcpath "${pcdirs}")
    set(ENV{PKG_CONFIG_PATH} "${pcpath}")
    run(${PKG_CONFIG} --cflags --libs zevcore)
    string(STRIP "${last_output}" pcflags)
    separate_arguments(pcflags UNIX_COMMAND "${pcflags}")
    separate_arguments(extra UNIX_COMMAND "${flags}")
    file(GLOB libdir LIST_DIRECTORIES true ${prefix}/lib*)
    run(${CXX_COMPILER} ${extra} ${CONSUMER_DIR}/main.cpp ${pcflags} -Wl,-rpath,${pcdirs}/..
        -o ${WORK_DIR}/consumer-pc)
    run(${WORK_DIR}/consumer-pc)
endif()
message(STATUS "consumer built and ran against ${prefix}")
