# What every target of this project shares: the language level, warnings as errors, hidden
# visibility, sanitizers, and the three kinds of targets a folder declares.

include(GNUInstallDirs)
include(CTest)
include(GoogleTest)
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
  set(CMAKE_CXX_COMPILER_LAUNCHER "${QX_CCACHE}")
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

# qx_library(NAME SOURCES a.cc b.cc DEPS qx_automation ...)
#
# One folder's code as a static archive. The shared libraries are put together from these
# archives, and unit tests link them directly, so that tests reach what is not exported.
function(qx_library name)
  cmake_parse_arguments(ARG "" "" "SOURCES;DEPS" ${ARGN})
  add_library(${name} STATIC ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE qx_options PUBLIC ${ARG_DEPS})
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
  find_package(GTest REQUIRED)
  add_executable(${name} ${ARG_SOURCES})
  target_link_libraries(${name} PRIVATE qx_options ${ARG_DEPS} GTest::gmock GTest::gtest_main)
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
