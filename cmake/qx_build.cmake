# What every target of this project shares: the language level, warnings as errors, hidden
# visibility, sanitizers, and the three kinds of targets a folder declares.

include(GNUInstallDirs)
include(CTest)
include(GoogleTest)
include(CheckLinkerFlag)
find_package(PkgConfig REQUIRED)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${CMAKE_BINARY_DIR}/archive")

find_program(QX_CCACHE ccache)
if(QX_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  # Without this sloppiness ccache refuses everything that has to do with precompiled headers.
  set(CMAKE_CXX_COMPILER_LAUNCHER
    env CCACHE_SLOPPINESS=pch_defines,time_macros "${QX_CCACHE}")
endif()

add_library(qx_options INTERFACE)
target_compile_options(qx_options INTERFACE
  -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror)
# GCC 12 sees an overlap in std::string's own insert where there is none (its bug 105651); the later
# versions do not.
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  target_compile_options(qx_options INTERFACE -Wno-restrict)
endif()
target_include_directories(qx_options INTERFACE "${PROJECT_SOURCE_DIR}" "${PROJECT_BINARY_DIR}/generated")
if(QX_SANITIZE)
  add_compile_options(-fsanitize=${QX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=${QX_SANITIZE})
endif()

include(qx_hardening)

# Further options of test programs. A debugger shows the lines and calls of the tests themselves, but
# their variables only if QX_TEST_DEBUG is -g; the code under test keeps its full debug information.
add_library(qx_test_options INTERFACE)
target_link_libraries(qx_test_options INTERFACE qx_options)
target_compile_options(qx_test_options INTERFACE "$<$<CONFIG:Debug>:${QX_TEST_DEBUG}>")
# gold links a test program in about half the time of the default linker.
check_linker_flag(CXX -fuse-ld=gold QX_HAS_GOLD)
if(QX_HAS_GOLD)
  target_link_options(qx_test_options INTERFACE -fuse-ld=gold)
endif()

# Precompiled headers: the standard library for every folder's code, and GoogleTest for the tests.
# They save about 40 % of the time to compile. No header of our own is among them, since each change
# of it would rebuild everything. A file that lacks an #include compiles with them all the same; the
# release presets, which build without them, and scripts/check.sh --tidy find it.
if(QX_PCH)
  # The headers that most files include anyway. Rarer ones would save little and can change what a
  # call means: <filesystem> brings std::quoted, which wins over a quoted() of ours.
  set(qx_pch_headers
    <algorithm> <array> <charconv> <cstdint> <functional> <limits> <map> <memory> <optional>
    <stdexcept> <string> <string_view> <utility> <vector>)
  file(CONFIGURE OUTPUT "${PROJECT_BINARY_DIR}/pch.cc" CONTENT "// Precompiled headers need a source.\n")
  add_library(qx_pch OBJECT "${PROJECT_BINARY_DIR}/pch.cc")
  target_link_libraries(qx_pch PRIVATE qx_options)
  target_precompile_headers(qx_pch PRIVATE ${qx_pch_headers})
  if(QX_BUILD_TESTS)
    # g++ uses them only for code of the same kind: programs are -fPIE, archives -fPIC.
    find_package(GTest REQUIRED)
    add_library(qx_test_pch OBJECT "${PROJECT_BINARY_DIR}/pch.cc")
    set_target_properties(qx_test_pch PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_compile_options(qx_test_pch PRIVATE -fPIE)
    target_link_libraries(qx_test_pch PRIVATE qx_test_options GTest::gmock GTest::gtest)
    target_precompile_headers(qx_test_pch PRIVATE
      ${qx_pch_headers} <filesystem> <fstream> <gmock/gmock.h> <gtest/gtest.h> <random>)
  endif()
  if(CMAKE_CXX_COMPILER_ID MATCHES "Clang")
    # Times in the file would make ccache miss.
    foreach(target qx_pch qx_test_pch)
      if(TARGET ${target})
        target_compile_options(${target} PRIVATE "SHELL:-Xclang -fno-pch-timestamp")
      endif()
    endforeach()
  endif()
endif()

# qx_precompiled(TARGET PCH) lets a target use qx_pch or qx_test_pch, if there are any.
function(qx_precompiled target pch)
  if(TARGET ${pch})
    target_precompile_headers(${target} REUSE_FROM ${pch})
  endif()
endfunction()

# qx_library(NAME SOURCES a.cc b.cc DEPS qx_automation ...)
#
# One folder's code as a static archive. The shared libraries are put together from these
# archives, and unit tests link them directly, so that tests reach what is not exported.
function(qx_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE qx_options PUBLIC ${ARG_DEPS})
  qx_precompiled(${name} qx_pch)
endfunction()

# qx_test_program(TARGET) makes an executable a test program: it gets GoogleTest with its main(),
# precompiled headers and the options of tests.
function(qx_test_program target)
  find_package(GTest REQUIRED)
  target_link_libraries(${target} PRIVATE qx_test_options GTest::gmock GTest::gtest_main)
  qx_precompiled(${target} qx_test_pch)
endfunction()

# qx_test(NAME SOURCES a_test.cc ... DEPS qx_automation ...)
#
# One test program, usually one per folder. Every test of it is a CTest entry with the folder's
# name as its label, and none sees the locale of whoever runs it: a test that needs another one sets
# it itself. With POSTGRES, the tests with "Postgres" in their names are one entry together, since
# they share a server (testing/postgres_server.h).
function(qx_test name)
  if(NOT QX_BUILD_TESTS)
    return()
  endif()
  cmake_parse_arguments(ARG "POSTGRES" "LABEL" "SOURCES;DEPS" ${ARGN})
  if(NOT ARG_LABEL)
    file(RELATIVE_PATH ARG_LABEL "${PROJECT_SOURCE_DIR}" "${CMAKE_CURRENT_SOURCE_DIR}")
  endif()
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE ${ARG_DEPS})
  qx_test_program(${name})
  set(alone "*")
  if(ARG_POSTGRES)
    set(alone "-*Postgres*")
    target_link_libraries(${name} PRIVATE qx_postgres_support)
    add_test(NAME "${ARG_LABEL}/${name}.Postgres" COMMAND ${name} --gtest_filter=*Postgres*)
    set_tests_properties("${ARG_LABEL}/${name}.Postgres" PROPERTIES
      LABELS "${ARG_LABEL}" TIMEOUT 600 ENVIRONMENT LC_ALL=C.UTF-8)
  endif()
  gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST TEST_PREFIX "${ARG_LABEL}/"
    TEST_FILTER "${alone}"
    PROPERTIES LABELS "${ARG_LABEL}" TIMEOUT 120 ENVIRONMENT LC_ALL=C.UTF-8)
endfunction()
