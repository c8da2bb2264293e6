set(VORNACL_FOLDERS runtime platform Vorn GenRange VornAclTypes VornAclTable VornRootConfig)
list(TRANSFORM VORNACL_FOLDERS APPEND "/*.cpp" OUTPUT_VARIABLE vornacl_globs)
file(GLOB_RECURSE vornacl_sources CONFIGURE_DEPENDS RELATIVE "${PROJECT_SOURCE_DIR}" ${vornacl_globs})
if(NOT vornacl_sources)
  message(FATAL_ERROR "none of the folders ${VORNACL_FOLDERS} holds a source file")
endif()

# The objects are a target of their own, so that a test can reach what the shared library does not export.
add_library(VornAclObjects OBJECT ${vornacl_sources})
target_include_directories(VornAclObjects PUBLIC "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>")
target_compile_features(VornAclObjects PUBLIC cxx_std_20)
target_compile_definitions(VornAclObjects PRIVATE VORNACL_BUILDING PUBLIC $<$<BOOL:${KRO_ABORT_ON_INTERNAL}>:KRO_ABORT_ON_INTERNAL>)
target_compile_options(VornAclObjects PRIVATE $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>)
target_link_libraries(VornAclObjects PRIVATE VornAclWarnings)
set_target_properties(VornAclObjects PROPERTIES
  POSITION_INDEPENDENT_CODE ON CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)

add_library(VornAcl SHARED $<TARGET_OBJECTS:VornAclObjects>)
add_library(VornAcl::VornAcl ALIAS VornAcl)
target_include_directories(VornAcl PUBLIC
  "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/VornAcl>")
target_compile_features(VornAcl PUBLIC cxx_std_20)
target_compile_definitions(VornAcl PUBLIC $<$<BOOL:${KRO_ABORT_ON_INTERNAL}>:KRO_ABORT_ON_INTERNAL>)
set_target_properties(VornAcl PROPERTIES
  LINKER_LANGUAGE CXX VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR})

# A symbol that nobody defines stops this link, not that of the first user. Sanitizers leave theirs to the program.
include(CheckLinkerFlag)
check_linker_flag(CXX "LINKER:--no-undefined" VORNACL_LINKS_NO_UNDEFINED)
if(VORNACL_LINKS_NO_UNDEFINED AND NOT VORNACL_SANITIZE)
  target_link_options(VornAcl PRIVATE "LINKER:--no-undefined")
endif()
