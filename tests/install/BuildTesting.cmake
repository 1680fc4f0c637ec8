# The standard BUILD_TESTING switch holds: configures the tree as a parent project's
# subdirectory and on its own, and fails when tests are set up where BUILD_TESTING is OFF or
# missing where it is ON. Only configures; builds nothing.
file(REMOVE_RECURSE ${WORK_DIR})
file(MAKE_DIRECTORY ${WORK_DIR}/parent)
file(WRITE ${WORK_DIR}/parent/CMakeLists.txt "cmake_minimum_required(VERSION 3.25)
project(Parent LANGUAGES C CXX)
include(CTest)
add_subdirectory(\"${SOURCE_DIR}\" zevcore)
")

# Only what decides on tests: no binding, benchmarks or install rules to configure (the
# tools stay: the tests of the tree use them).
set(lean -DZEV_BUILD_QT=OFF -DZEV_BUILD_BENCH=OFF -DZEV_INSTALL=OFF)

# case id | source | build | arguments | whether the tree's tests are set up
function(configure_case id source build tests)
    execute_process(COMMAND ${CMAKE_COMMAND} -S ${source} -B ${WORK_DIR}/${build} -G ${GENERATOR}
                            ${lean} ${ARGN}
                    RESULT_VARIABLE result OUTPUT_VARIABLE out ERROR_VARIABLE err)
    if(NOT result EQUAL 0)
        message(FATAL_ERROR "${id}: configuring failed\n${out}\n${err}")
    endif()
    set(testfile ${WORK_DIR}/${build}/tests/layers/CTestTestfile.cmake)
    if(NOT source STREQUAL SOURCE_DIR)
        set(testfile ${WORK_DIR}/${build}/zevcore/tests/layers/CTestTestfile.cmake)
    endif()
    if(tests AND NOT EXISTS ${testfile})
        message(FATAL_ERROR "${id}: the tests were not set up")
    elseif(NOT tests AND EXISTS ${testfile})
        message(FATAL_ERROR "${id}: tests were set up")
    endif()
    message(STATUS "${id}: as expected")
endfunction()

configure_case("a parent's BUILD_TESTING=OFF holds over ZEV_BUILD_TESTS=ON"
               ${WORK_DIR}/parent parent-off OFF -DBUILD_TESTING=OFF -DZEV_BUILD_TESTS=ON)
configure_case("a parent's BUILD_TESTING=ON alone does not build this tree's tests"
               ${WORK_DIR}/parent parent-on OFF -DBUILD_TESTING=ON)
configure_case("at top level BUILD_TESTING=OFF holds" ${SOURCE_DIR} top-off OFF -DBUILD_TESTING=OFF)
configure_case("at top level the tests are on by default" ${SOURCE_DIR} top-on ON)
