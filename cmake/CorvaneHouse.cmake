# How every room of the house is built: language, warnings, sanitizers, and its kinds of target.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)

option(CORVANE_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)
option(CORVANE_COVERAGE "Measure line coverage" OFF)
option(CORVANE_FUZZ "Build the fuzzing harnesses with libFuzzer; needs clang" OFF)
option(CORVANE_ONE_DEFINITION "Make it an error that one name stands for two types" OFF)
set(CORVANE_SANITIZE "" CACHE STRING "Sanitizers to build with, as for -fsanitize=")

# The directory that the program and its libraries are installed in and look for each other in.
set(CORVANE_PRODUCT_DIR "/usr/lib/Corvane/Corvane")

find_program(CCACHE_PROGRAM ccache)
if(CCACHE_PROGRAM)
    # Without these allowances nothing that uses a precompiled header would be cached.
    set(CMAKE_CXX_COMPILER_LAUNCHER env CCACHE_SLOPPINESS=pch_defines,time_macros "${CCACHE_PROGRAM}")
endif()

add_library(corvane_warnings INTERFACE)
target_compile_options(corvane_warnings INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion
    $<$<BOOL:${CORVANE_WARNINGS_AS_ERRORS}>:-Werror>)

if(CORVANE_SANITIZE)
    add_compile_options(-fsanitize=${CORVANE_SANITIZE} -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${CORVANE_SANITIZE})
endif()
if(CORVANE_SANITIZE MATCHES "thread")
    add_library(corvane_tsan OBJECT "${CMAKE_CURRENT_LIST_DIR}/tsan_suppressions.cpp")
    link_libraries("$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:corvane_tsan>>")
endif()
if(CORVANE_FUZZ)
    # What a sanitizer finds must end the run, or the fuzzer would go on past it.
    add_compile_options(-fsanitize=fuzzer-no-link -fno-sanitize-recover=all)
endif()
if(CORVANE_ONE_DEFINITION)
    # Seen where a program is linked, with -flto.
    add_compile_options(-Wodr -Wlto-type-mismatch)
    add_link_options(-Werror=odr -Werror=lto-type-mismatch)
endif()
if(CORVANE_COVERAGE)
    add_compile_options(--coverage)
    add_link_options(--coverage)
endif()
add_compile_definitions(QT_NO_CAST_FROM_BYTEARRAY)

# corvane_module(NAME LINK target...)
# The library NAME.so that is loaded while a program runs: the folder's entry_points.cpp, which shows the
# names in its exports.map and nothing else, installed beside the program. Its parts are a room of their own,
# so that tests can reach them.
function(corvane_module name)
    cmake_parse_arguments(ARG "" "" "LINK" ${ARGN})
    add_library(${name} MODULE entry_points.cpp)
    target_include_directories(${name} PRIVATE "${CMAKE_SOURCE_DIR}")
    target_link_libraries(${name} PRIVATE ${ARG_LINK} corvane_warnings)
    set_target_properties(${name} PROPERTIES PREFIX "" LINK_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/exports.map")
    target_link_options(${name} PRIVATE
        "-Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/exports.map" -Wl,-z,relro,-z,now)
    if(NOT CORVANE_SANITIZE)
        target_link_options(${name} PRIVATE -Wl,--no-undefined)
    endif()
    install(TARGETS ${name} LIBRARY DESTINATION "${CORVANE_PRODUCT_DIR}")
endfunction()

# corvane_room(NAME SOURCES file... [LINK target...] [QT])
# One folder as one static library `corvane_NAME`. QT turns on moc, uic and rcc.
function(corvane_room name)
    cmake_parse_arguments(ARG "QT" "" "SOURCES;LINK" ${ARGN})
    add_library(corvane_${name} STATIC ${ARG_SOURCES})
    target_include_directories(corvane_${name} PUBLIC "${CMAKE_SOURCE_DIR}")
    target_link_libraries(corvane_${name} PUBLIC ${ARG_LINK} PRIVATE corvane_warnings)
    if(ARG_QT)
        set_target_properties(corvane_${name} PROPERTIES AUTOMOC ON AUTOUIC ON AUTORCC ON)
    endif()
endfunction()

include(CorvaneTest)
