# What every target of the project shares: language level, warnings, sanitizers, and the one way to make a module.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_AUTOMOC OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

find_program(CCACHE ccache)
if(CCACHE)
    # What was compiled in one checkout serves the others. Precompiled headers need the sloppiness; they come from packages.
    set(CMAKE_CXX_COMPILER_LAUNCHER ${CMAKE_COMMAND} -E env
        CCACHE_BASEDIR=${PROJECT_SOURCE_DIR} CCACHE_NOHASHDIR=1
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_ctime,include_file_mtime ${CCACHE})
    if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        add_compile_options(-fpch-preprocess)
    endif()
endif()

add_library(LarkhavenOptions INTERFACE)
target_compile_options(LarkhavenOptions INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Werror)
target_compile_definitions(LarkhavenOptions INTERFACE
    QT_NO_KEYWORDS QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY
    QT_NO_URL_CAST_FROM_STRING QT_NO_NARROWING_CONVERSIONS_IN_CONNECT QT_STRICT_ITERATORS)
if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 15)
    # Clang 14 has the coroutines of C++20 but does not say so in the way that libstdc++ asks.
    target_compile_definitions(LarkhavenOptions INTERFACE __cpp_impl_coroutine=201902L)
endif()
# What Debian hardens its own programs with.
set(optimized $<AND:$<NOT:$<CONFIG:Debug>>,$<NOT:$<BOOL:${LARKHAVEN_FUZZ}>>>)
target_compile_options(LarkhavenOptions INTERFACE
    $<${optimized}:-fstack-protector-strong> $<${optimized}:-D_FORTIFY_SOURCE=2>)
# GCC 12 takes the optional members of what it optimizes for unset. Debug builds, which see the same code, have no such false alarms.
target_compile_options(LarkhavenOptions INTERFACE
    $<$<AND:${optimized},$<CXX_COMPILER_ID:GNU>>:-Wno-maybe-uninitialized>)
target_link_options(LarkhavenOptions INTERFACE $<${optimized}:-Wl,-z,relro> $<${optimized}:-Wl,-z,now>)
if(LARKHAVEN_SANITIZE)
    target_compile_options(LarkhavenOptions INTERFACE
        -fsanitize=${LARKHAVEN_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(LarkhavenOptions INTERFACE -fsanitize=${LARKHAVEN_SANITIZE})
endif()
if(LARKHAVEN_FUZZ)
    # Clang 14 can't put the marks of its function sanitizer before the pieces of a coroutine.
    target_compile_options(LarkhavenOptions INTERFACE
        -fsanitize=fuzzer-no-link,address,undefined -fno-sanitize=function -fno-sanitize-recover=all)
    target_link_options(LarkhavenOptions INTERFACE -fsanitize=address,undefined)
endif()
if(LARKHAVEN_COVERAGE)
    target_compile_options(LarkhavenOptions INTERFACE --coverage)
    target_link_options(LarkhavenOptions INTERFACE --coverage)
endif()

# larkhaven_module(<Name> <folder> SOURCES ... [PUBLIC ...] [PRIVATE ...])
#
# Makes the static library Larkhaven<Name> of the folder that calls it. Its headers are included as "<folder>/X.h", and are
# found only by targets that link it: each module exports an include directory that holds nothing but a link to its own
# folder. Thus an include against the direction of the architecture does not compile.
function(larkhaven_module name folder)
    cmake_parse_arguments(ARG "" "" "SOURCES;PUBLIC;PRIVATE" ${ARGN})
    set(target Larkhaven${name})
    set(include_root ${PROJECT_BINARY_DIR}/include/${name})
    cmake_path(GET folder PARENT_PATH parent)
    file(MAKE_DIRECTORY ${include_root}/${parent})
    file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_root}/${folder} SYMBOLIC)
    add_library(${target} STATIC ${ARG_SOURCES})
    target_include_directories(${target} PUBLIC ${include_root})
    target_link_libraries(${target} PUBLIC ${ARG_PUBLIC} PRIVATE ${ARG_PRIVATE} LarkhavenOptions)
endfunction()

# How many times longer a test may take.
set(LARKHAVEN_TEST_SLOWNESS 1)
if(LARKHAVEN_SANITIZE)
    set(LARKHAVEN_TEST_SLOWNESS 5)
endif()

# larkhaven_stretch_time_limits(): at the end of a folder with tests that were added by hand.
function(larkhaven_stretch_time_limits)
    get_property(names DIRECTORY PROPERTY TESTS)
    foreach(name IN LISTS names)
        get_test_property(${name} TIMEOUT seconds)
        if(seconds)
            math(EXPR seconds "${seconds} * ${LARKHAVEN_TEST_SLOWNESS}")
            set_tests_properties(${name} PROPERTIES TIMEOUT ${seconds})
        endif()
    endforeach()
endfunction()

# larkhaven_tests(<Name> <library>... SOURCES ...): one GoogleTest program of a module, run by CTest case by case.
function(larkhaven_tests name)
    cmake_parse_arguments(ARG "" "TIMEOUT" "SOURCES;LINK;ENVIRONMENT" ${ARGN})
    if(NOT ARG_TIMEOUT)
        set(ARG_TIMEOUT 60)
    endif()
    math(EXPR ARG_TIMEOUT "${ARG_TIMEOUT} * ${LARKHAVEN_TEST_SLOWNESS}")
    add_executable(${name} ${ARG_SOURCES})
    target_include_directories(${name} PRIVATE ${PROJECT_SOURCE_DIR}/tests)
    target_link_libraries(${name} PRIVATE ${ARG_LINK} LarkhavenTestSupport GTest::gmock LarkhavenOptions)
    gtest_discover_tests(${name} DISCOVERY_TIMEOUT 60
        PROPERTIES TIMEOUT ${ARG_TIMEOUT} ENVIRONMENT "${ARG_ENVIRONMENT}")
endfunction()
