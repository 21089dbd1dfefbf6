# qx_embed_resources(TARGET MANIFEST)
#
# Compiles the manifest (a TOML file that names XML files, string tables and version strings) and
# embeds the result into TARGET, an executable or a shared library or module of this folder. The
# resource compiler is the target `qxrc` of this tree or, from an installed package, `QX::qxrc`. A
# change of the manifest or of any file that it names builds anew. A module has one manifest.
function(qx_embed_resources target manifest)
  get_target_property(type ${target} TYPE)
  if(NOT type MATCHES "^(EXECUTABLE|SHARED_LIBRARY|MODULE_LIBRARY)$")
    message(FATAL_ERROR "qx_embed_resources(${target}): resources belong to a module; "
      "give an executable, a shared library or a module library")
  endif()
  get_target_property(folder ${target} SOURCE_DIR)
  if(NOT folder STREQUAL CMAKE_CURRENT_SOURCE_DIR)
    message(FATAL_ERROR "qx_embed_resources(${target}): call it in the folder that declares "
      "the target, ${folder}")
  endif()
  get_target_property(present ${target} QX_RESOURCE_MANIFEST)
  if(present)
    message(FATAL_ERROR "qx_embed_resources(${target}): the target has the manifest ${present} "
      "already; put everything into one")
  endif()
  set(compiler QX::qxrc)
  if(TARGET qxrc)
    set(compiler qxrc)
  endif()

  cmake_path(ABSOLUTE_PATH manifest BASE_DIRECTORY "${CMAKE_CURRENT_SOURCE_DIR}" NORMALIZE)
  set(stem "${CMAKE_CURRENT_BINARY_DIR}/${target}_resources")
  add_custom_command(
    OUTPUT "${stem}.cc"
    BYPRODUCTS "${stem}.bin"
    COMMAND ${compiler} "${manifest}"
      --source "${stem}.cc" --image "${stem}.bin" --depfile "${stem}.d"
    DEPENDS "${manifest}" ${compiler}
    DEPFILE "${stem}.d"
    COMMENT "Compiling the resources of ${target}"
    VERBATIM)
  set_source_files_properties("${stem}.cc" PROPERTIES
    SKIP_UNITY_BUILD_INCLUSION ON
    SKIP_PRECOMPILE_HEADERS ON
    COMPILE_OPTIONS "-fno-lto")
  target_sources(${target} PRIVATE "${stem}.cc")
  set_target_properties(${target} PROPERTIES QX_RESOURCE_MANIFEST "${manifest}")
endfunction()
