# qx_embed_page(TARGET FOLDER)
#
# Embeds the files of FOLDER and its subfolders, except tests/, into TARGET as embeddedPage() of
# qxdesk/web/page_files.h. Files with other endings than those below are not part of the page. A new,
# changed or removed file builds anew.

set(qx_page_types
  css "text/css; charset=utf-8"
  html "text/html; charset=utf-8"
  ico "image/x-icon"
  js "text/javascript; charset=utf-8"
  mjs "text/javascript; charset=utf-8"
  png "image/png"
  svg "image/svg+xml"
  woff2 "font/woff2")

function(qx_embed_page target folder)
  cmake_path(ABSOLUTE_PATH folder BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS RELATIVE "${folder}" "${folder}/*")
  list(FILTER files EXCLUDE REGEX "(^|/)(tests|node_modules)/|(^|/)\\.")
  set(contents "")
  set(entries "")
  set(paths "")
  set(number 0)
  foreach(file IN LISTS files)
    string(REGEX REPLACE "^.*\\." "" ending "${file}")
    list(FIND qx_page_types "${ending}" at)
    if(at EQUAL -1)
      continue()
    endif()
    if(NOT file MATCHES "^[A-Za-z0-9._/-]+$")
      message(FATAL_ERROR "${folder}/${file}: the name of a file of the page may have letters, "
        "digits, '.', '_' and '-' only; rename it")
    endif()
    math(EXPR at "${at} + 1")
    list(GET qx_page_types ${at} type)
    string(APPEND contents "QX_PAGE_FILE(${number}, \"${folder}/${file}\")\n")
    string(APPEND entries "    {\"${file}\", \"${type}\", {content${number}, end${number}}},\n")
    list(APPEND paths "${folder}/${file}")
    math(EXPR number "${number} + 1")
  endforeach()
  set(QX_PAGE_COUNT ${number})
  set(QX_PAGE_CONTENTS "${contents}")
  set(QX_PAGE_ENTRIES "${entries}")
  set(source "${CMAKE_CURRENT_BINARY_DIR}/${target}_page.cc")
  configure_file("${CMAKE_CURRENT_FUNCTION_LIST_DIR}/page_files.cc.in" "${source}" @ONLY)
  # The assembler reads the files, which the compiler does not see.
  set_source_files_properties("${source}" PROPERTIES
    OBJECT_DEPENDS "${paths}"
    SKIP_UNITY_BUILD_INCLUSION ON
    SKIP_PRECOMPILE_HEADERS ON
    COMPILE_OPTIONS "-fno-lto")
  target_sources(${target} PRIVATE "${source}")
endfunction()
