# Each Qt-side target is seen by its dependants through an include root of its
# own: a folder in the build tree holding one link to the target's source
# folder, under the path the includes name ("ui/theme.h", "tools/fifths/...").
# A file that includes a header of a target it does not link therefore fails
# to build, the same wall the core has against Qt.
function(quorlen_include_root target folder)
  set(root "${PROJECT_BINARY_DIR}/include_roots/${target}")
  get_filename_component(parent "${root}/${folder}" DIRECTORY)
  file(MAKE_DIRECTORY "${parent}")
  file(CREATE_LINK "${PROJECT_SOURCE_DIR}/src/${folder}" "${root}/${folder}" SYMBOLIC)
  get_target_property(type ${target} TYPE)
  if(type STREQUAL "INTERFACE_LIBRARY")
    target_include_directories(${target} INTERFACE "${root}")
  else()
    target_include_directories(${target} PUBLIC "${root}")
  endif()
endfunction()
