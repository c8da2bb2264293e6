# vornacl_program(NAME SOURCE...): an executable of this project over the public library.
function(vornacl_program name)
  add_executable(${name} ${ARGN})
  target_link_libraries(${name} PRIVATE VornAcl::VornAcl VornAclWarnings)
endfunction()

# vornacl_needs(OPTION PACKAGE PARTS): where the package is missing, switches the option off and says what is left out.
function(vornacl_needs option package parts)
  if(${option})
    find_package(${package} QUIET)
    if(NOT ${package}_FOUND)
      message(NOTICE "VornAcl: ${package} is missing, so this is left out: ${parts}")
      set(${option} OFF PARENT_SCOPE)
    endif()
  endif()
endfunction()

# vornacl_glob(VARIABLE PATTERN...): the files under the project's root that match, looked up again at each build.
function(vornacl_glob variable)
  list(TRANSFORM ARGN PREPEND "${PROJECT_SOURCE_DIR}/")
  file(GLOB found CONFIGURE_DEPENDS ${ARGN})
  set(${variable} ${found} PARENT_SCOPE)
endfunction()
