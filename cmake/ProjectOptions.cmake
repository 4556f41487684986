# Settings shared by every target of our own. Each of them links `orvane::options`; what is installed on the system
# does not, and its headers are taken as system headers.

option(ORVANE_BUILD_TESTS "Build the tests" ON)
option(ORVANE_BUILD_LAB "Build the tools for the desk" ON)
option(ORVANE_BUILD_BENCH "Build the benchmarks" OFF)
option(ORVANE_BUILD_FUZZ "Build the fuzz targets, which takes clang" OFF)
option(ORVANE_GENERATED_CATALOGUE "Build what fastddsgen makes of the catalogue, and the tests that compare with it" ON)
option(ORVANE_HARDEN "Harden what is shipped: PIE, RELRO, stack protector, fortified library calls" OFF)
option(ORVANE_LTO "Optimise across units where the tool chain can" OFF)
set(ORVANE_SANITIZE "" CACHE STRING "Sanitizers, as -fsanitize= takes them; empty for none")
option(ORVANE_COVERAGE "Count executed lines" OFF)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)

include(CheckPIESupported)
check_pie_supported(LANGUAGES CXX)

# An extra where it is installed: what was compiled once is not compiled again. The laxness is what a cache asks for
# beside a precompiled header.
find_program(ORVANE_CCACHE ccache)
if(ORVANE_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
    set(launcher "${CMAKE_COMMAND}" -E env
        CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime "${ORVANE_CCACHE}")
    set(CMAKE_CXX_COMPILER_LAUNCHER ${launcher})
    set(CMAKE_C_COMPILER_LAUNCHER ${launcher})
endif()

# The place that a report names is the file within the project, wherever that was built. A compiler cache may name the
# sources from the build folder on, so that two checkouts share what they compile.
file(RELATIVE_PATH ORVANE_SOURCE_FROM_BUILD "${PROJECT_BINARY_DIR}" "${PROJECT_SOURCE_DIR}")

add_library(orvane_options INTERFACE)
add_library(orvane::options ALIAS orvane_options)
target_include_directories(orvane_options INTERFACE "${PROJECT_SOURCE_DIR}")
target_compile_options(orvane_options INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Werror
    # What a source hides of another that is compiled together with it, it hides of nobody; nor is it a header to others.
    $<$<NOT:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>>:-Wshadow>
    $<$<AND:$<BOOL:$<TARGET_PROPERTY:UNITY_BUILD>>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:-Wno-subobject-linkage>
    # Fused multiply-add differs in the last bit from one machine to the next.
    -ffp-contract=off
    "-fmacro-prefix-map=${PROJECT_SOURCE_DIR}/="
    "-fmacro-prefix-map=${ORVANE_SOURCE_FROM_BUILD}=")
# 64-bit times and file offsets on 32-bit targets too.
target_compile_definitions(orvane_options INTERFACE _TIME_BITS=64 _FILE_OFFSET_BITS=64)

if(CMAKE_CXX_COMPILER_ID STREQUAL "Clang")
    target_compile_options(orvane_options INTERFACE -Wthread-safety -Wthread-safety-beta)
endif()

# For the libraries of the service alone, not for the lab and the tests.
set(ORVANE_PRODUCT_OPTIONS)

# For what is shipped of the lab, too.
set(ORVANE_HARDEN_OPTIONS)

if(ORVANE_HARDEN)
    set(ORVANE_HARDEN_OPTIONS -fstack-protector-strong -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2
        -Wformat -Werror=format-security)
    list(APPEND ORVANE_PRODUCT_OPTIONS ${ORVANE_HARDEN_OPTIONS})
    target_link_options(orvane_options INTERFACE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
endif()

# Objects with code beside what the optimiser takes: the service is linked from the one, and every program that would not
# be worth the time from the other.
set(ORVANE_LTO_COMPILE)
set(ORVANE_LTO_LINK)
set(ORVANE_NO_LTO_LINK)
if(ORVANE_LTO)
    include(CheckIPOSupported)
    check_ipo_supported(RESULT ORVANE_LTO_WORKS LANGUAGES CXX)
    if(ORVANE_LTO_WORKS AND CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
        set(ORVANE_LTO_COMPILE -flto=auto -ffat-lto-objects)
        set(ORVANE_LTO_LINK -flto=auto)
        set(ORVANE_NO_LTO_LINK -fno-lto)
        list(APPEND ORVANE_PRODUCT_OPTIONS ${ORVANE_LTO_COMPILE})
    else()
        message(WARNING "this tool chain can't optimise across units: built without")
    endif()
endif()

if(ORVANE_SANITIZE)
    # Checks for undefined behaviour double the time that a source takes.
    string(REPLACE "," ";" sanitizers "${ORVANE_SANITIZE}")
    if("undefined" IN_LIST sanitizers)
        list(REMOVE_ITEM sanitizers undefined)
        list(APPEND ORVANE_PRODUCT_OPTIONS -fsanitize=undefined)
    endif()
    list(TRANSFORM sanitizers PREPEND "-fsanitize=")
    target_compile_options(orvane_options INTERFACE
        ${sanitizers} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(orvane_options INTERFACE -fsanitize=${ORVANE_SANITIZE})
    if(ORVANE_SANITIZE MATCHES "thread")
        add_library(orvane_tsan_locks OBJECT "${PROJECT_SOURCE_DIR}/cmake/tsan/ClockLock.cpp")
        target_link_libraries(orvane_options INTERFACE "$<TARGET_OBJECTS:orvane_tsan_locks>")
    endif()
endif()

if(ORVANE_COVERAGE)
    target_compile_options(orvane_options INTERFACE --coverage -fprofile-update=atomic)
    target_link_options(orvane_options INTERFACE --coverage)
    add_library(orvane_counts_at_end OBJECT "${PROJECT_SOURCE_DIR}/cmake/coverage/CountsAtEnd.cpp")
    # Programs alone: a library to be loaded before them may have an abort of its own.
    target_link_libraries(orvane_options INTERFACE
        "$<$<STREQUAL:$<TARGET_PROPERTY:TYPE>,EXECUTABLE>:$<TARGET_OBJECTS:orvane_counts_at_end>>")
endif()
