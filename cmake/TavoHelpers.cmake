# How every target of this project is built: one place for flags, libraries and tests.

add_library(tavo_flags INTERFACE)
target_compile_options(tavo_flags INTERFACE
    -Wall -Wextra -Wshadow
    $<$<BOOL:${TAVO_WARNINGS_AS_ERRORS}>:-Werror>
    "-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=")
if(TAVO_SANITIZE)
    target_compile_options(tavo_flags INTERFACE
        -fsanitize=${TAVO_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(tavo_flags INTERFACE -fsanitize=${TAVO_SANITIZE})
endif()

# What the libraries are built with. Fuzzers are guided by what they reach in them, and in nothing else.
add_library(tavo_library_flags INTERFACE)
target_link_libraries(tavo_library_flags INTERFACE tavo_flags)
if(TAVO_FUZZ)
    target_compile_options(tavo_library_flags INTERFACE
        -fsanitize=fuzzer-no-link "-fsanitize-ignorelist=${PROJECT_SOURCE_DIR}/fuzz/not_ours.ignore")
endif()

# tavo_library(NAME SOURCES... [HEADERS...] [INTERNAL_HEADERS...] [LINK...])
# A shared library of base/. Headers are spelled from base/src and must compile alone; internal ones are not installed.
function(tavo_library name)
    cmake_parse_arguments(ARG "" "" "SOURCES;HEADERS;INTERNAL_HEADERS;LINK" ${ARGN})
    set(folder "${PROJECT_SOURCE_DIR}/base/src")
    add_library(${name} SHARED ${ARG_SOURCES})
    target_sources(${name} PUBLIC FILE_SET HEADERS BASE_DIRS "${folder}" FILES ${ARG_HEADERS})
    target_include_directories(${name} PUBLIC "$<BUILD_INTERFACE:${folder}>")
    target_link_libraries(${name} PUBLIC ${ARG_LINK} PRIVATE tavo_library_flags)
    tavo_install_library(${name})
    if(ARG_INTERNAL_HEADERS)
        # A target of their own, because a library's header sets are installed with it.
        add_library(${name}Internal INTERFACE)
        target_sources(${name}Internal INTERFACE
            FILE_SET HEADERS BASE_DIRS "${folder}" FILES ${ARG_INTERNAL_HEADERS})
        target_link_libraries(${name}Internal INTERFACE ${name})
    endif()
endfunction()

# tavo_test(NAME SOURCES... LINK...)
# The only way to add a test binary. Every test gets its own process and the one time limit there is.
function(tavo_test name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINK" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE tavo_flags tavo_test_main ${ARG_LINK})
    include(GoogleTest)
    gtest_discover_tests(${name} PROPERTIES TIMEOUT ${ARG_TIMEOUT} DISCOVERY_TIMEOUT 60)
    foreach(source IN LISTS ARG_SOURCES)
        get_filename_component(absolute "${source}" ABSOLUTE)
        set_property(GLOBAL APPEND PROPERTY TAVO_TEST_SOURCES "${absolute}")
    endforeach()
endfunction()

# Fails the configuration when a *Test.cpp below `folder` belongs to no test binary.
function(tavo_check_orphan_tests folder)
    file(GLOB_RECURSE found CONFIGURE_DEPENDS "${folder}/*Test.cpp")
    get_property(listed GLOBAL PROPERTY TAVO_TEST_SOURCES)
    foreach(source IN LISTS found)
        if(NOT source IN_LIST listed)
            message(FATAL_ERROR "${source} belongs to no test binary; list it in a tavo_test() call")
        endif()
    endforeach()
endfunction()
