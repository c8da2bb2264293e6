# vornacl_program(NAME SOURCE...): an executable of this project over the public library.
function(vornacl_program name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE VornAcl::VornAcl VornAclWarnings)
endfunction()

# vornacl_glob(VARIABLE PATTERN...): the files under the project's root that match, looked up again at each build.
function(vornacl_glob variable)
  list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/")
  file(GLOB found CONFIGURE_DEPENDS ${ARGN})
  set(${variable} ${found} PARENT_SCOPE)
endfunction()
