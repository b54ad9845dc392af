# How a GoogleTest program of the house is built and what CTest is told about it.

# Tests are compiled for being compiled soon: what they call is optimised as it is everywhere, and the
# lines of a failure are all that is asked of their debug information. -fPIC as Qt wants it, so that all
# of one kind can share what is precompiled.
set(CORVANE_TEST_OPTIONS -fPIC)
if(CMAKE_BUILD_TYPE STREQUAL "RelWithDebInfo")
    list(APPEND CORVANE_TEST_OPTIONS -O0 -g1)
endif()

# corvane_test(NAME SOURCES file... [LINK target...] [QT] [SANDBOX] [NETWORK] [LABELS label...] [TIMEOUT s])
# One GoogleTest program registered with CTest. QT runs it offscreen; SANDBOX runs it inside the private
# root of tests/support/sandbox, where the product's fixed paths are its own; NETWORK does so and gives it
# a network of its own.
function(corvane_test name)
    cmake_parse_arguments(ARG "QT;SANDBOX;NETWORK" "TIMEOUT" "SOURCES;LINK;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE ${ARG_LINK} GTest::gtest GTest::gmock corvane_warnings)
    target_compile_options(${name} PRIVATE ${CORVANE_TEST_OPTIONS})
    if(ARG_QT)
        set_target_properties(${name} PROPERTIES AUTOMOC ON)
        target_link_libraries(${name} PRIVATE corvane_qt_test_main Qt6::Test)
        target_precompile_headers(${name} REUSE_FROM corvane_qt_test_main)
    else()
        target_link_libraries(${name} PRIVATE GTest::gtest_main)
        target_precompile_headers(${name} REUSE_FROM corvane_test_headers)
    endif()
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 120)
    endif()
    set(sandbox "")
    if(ARG_NETWORK)
        set(sandbox NETWORK)
    elseif(ARG_SANDBOX)
        set(sandbox SANDBOX)
    endif()
    corvane_register_cases(${name} ${sandbox} COMMAND "$<TARGET_FILE:${name}>"
        TIMEOUT ${ARG_TIMEOUT} LABELS ${ARG_LABELS})
endfunction()

# corvane_register_cases(NAME COMMAND program argument... TIMEOUT s [SANDBOX|NETWORK] [LABELS label...])
# Two entries for one GoogleTest program: NAME runs it and fails as it does; NAME_ran_every_case is shown
# as skipped when some of its cases were, and its output says which and why. (Starting a program per
# case costs more than the cases themselves.)
function(corvane_register_cases name)
    cmake_parse_arguments(ARG "SANDBOX;NETWORK" "TIMEOUT" "COMMAND;LABELS" ${ARGN})
    if(CORVANE_SANITIZE)
        # What a sanitizer watches takes several times as long.
        math(EXPR ARG_TIMEOUT "5 * ${ARG_TIMEOUT}")
    endif()
    set(support "${CMAKE_CURRENT_FUNCTION_LIST_DIR}/../tests/support")
    set(folder "${CMAKE_BINARY_DIR}/cases")
    set(results "${folder}/${name}.xml")
    file(MAKE_DIRECTORY "${folder}")
    set(sandbox "")
    if(ARG_SANDBOX OR ARG_NETWORK)
        set(sandbox "${support}/sandbox" --output "${folder}")
    endif()
    if(ARG_NETWORK)
        list(APPEND sandbox --network)
    endif()
    add_test(NAME ${name} COMMAND "${support}/run_cases" "${results}" ${sandbox} ${ARG_COMMAND})
    set_tests_properties(${name} PROPERTIES
        TIMEOUT ${ARG_TIMEOUT}
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;TZ=UTC;LC_ALL=C.UTF-8")
    add_test(NAME ${name}_ran_every_case COMMAND "${support}/ran_every_case" "${results}")
    set_tests_properties(${name}_ran_every_case PROPERTIES DEPENDS ${name} TIMEOUT 60)
    set_tests_properties(${name} ${name}_ran_every_case PROPERTIES
        LABELS "${ARG_LABELS}"
        SKIP_RETURN_CODE 77)
endfunction()
