# How every target of this tree is built: language level, warnings, Qt strictness, sanitizers.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

find_program(PIVEX_CCACHE ccache)
if(PIVEX_CCACHE)
    # A precompiled header is only cached when its defines and time stamps may be ignored.
    set(CMAKE_CXX_COMPILER_LAUNCHER
        ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime
        ${PIVEX_CCACHE})
endif()

find_program(PIVEX_MOLD mold)
if(PIVEX_MOLD)
    add_link_options(-fuse-ld=mold)
endif()

if(PIVEX_SANITIZE)
    add_compile_options(-fsanitize=${PIVEX_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${PIVEX_SANITIZE})
endif()

add_library(pivex_flags INTERFACE)
target_compile_options(pivex_flags INTERFACE -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror
    # Part of -Wconversion to one compiler and not to the other.
    $<$<CXX_COMPILER_ID:Clang>:-Wno-sign-conversion>)
# `emit` and `slots` are names of ours, and text literals say what encoding they have.
target_compile_definitions(pivex_flags INTERFACE
    QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_FOREACH QT_NO_NARROWING_CONVERSIONS_IN_CONNECT)
target_include_directories(pivex_flags INTERFACE "${PROJECT_SOURCE_DIR}/src")

# pivex_library(NAME SOURCES ... LIBRARIES ... [HIDDEN ...] [PRECOMPILE <Header>])
# HIDDEN names the libraries that no header of this one shows.
function(pivex_library name)
    cmake_parse_arguments(ARG "" "PRECOMPILE" "SOURCES;LIBRARIES;HIDDEN" ${ARGN})
    add_library(${name} STATIC ${ARG_SOURCES})
    target_link_libraries(${name} PUBLIC ${ARG_LIBRARIES} PRIVATE ${ARG_HIDDEN} pivex_flags)
    target_include_directories(${name} PUBLIC "${PROJECT_SOURCE_DIR}/src")
    if(ARG_PRECOMPILE)
        set_target_properties(${name} PROPERTIES AUTOMOC ON)
        target_precompile_headers(${name} PRIVATE ${ARG_PRECOMPILE})
    endif()
endfunction()
