# tests/**/*.cpp        one GoogleTest program over the shared library, vornacl_tests
# tests/internal/*.cpp  another over the library's objects, vornacl_internal_tests, for what is not exported
# tests/support/*.cpp   what both share
# tests/programs/*.cpp  a program each: status 0 passes, 77 skips
# tests/compile_fail/*.h  samples that compile, and with what a row of cases.txt changes in them do not
if(VORNACL_TESTS)
  include(GoogleTest)
  file(GLOB_RECURSE test_sources CONFIGURE_DEPENDS "${PROJECT_SOURCE_DIR}/tests/*.cpp")
  foreach(kind IN ITEMS programs internal support)
    set(${kind}_sources ${test_sources})
    list(FILTER ${kind}_sources INCLUDE REGEX "^${PROJECT_SOURCE_DIR}/tests/${kind}/")
    list(FILTER test_sources EXCLUDE REGEX "^${PROJECT_SOURCE_DIR}/tests/${kind}/")
  endforeach()
  if(NOT VORNACL_TOOLS)
    list(FILTER test_sources EXCLUDE REGEX "^${PROJECT_SOURCE_DIR}/tests/tools/")
  endif()

  function(vornacl_gtest name library)
    add_executable(${name} ${ARGN})
    target_link_libraries(${name} PRIVATE
      ${library} VornAclWarnings GTest::gmock GTest::gtest GTest::gtest_main)
    target_compile_definitions(${name} PRIVATE
      VORNACL_SOURCE_DIR="${PROJECT_SOURCE_DIR}" VORNACL_BIN_DIR="${CMAKE_BINARY_DIR}/bin")
    target_precompile_headers(${name} PRIVATE <gmock/gmock.h> <gtest/gtest.h>)
    gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 120 PROPERTIES TIMEOUT 600)
  endfunction()

  if(test_sources)
    vornacl_gtest(vornacl_tests VornAcl::VornAcl ${test_sources} ${support_sources})
    target_link_libraries(vornacl_tests PRIVATE
      $<TARGET_NAME_IF_EXISTS:vornacl-demo-lib> $<TARGET_NAME_IF_EXISTS:vornacl-lib>
      $<TARGET_NAME_IF_EXISTS:VornAclToolsCommon>)
    if(VORNACL_TOOL_TARGETS)
      add_dependencies(vornacl_tests ${VORNACL_TOOL_TARGETS})
    endif()
  endif()
  if(internal_sources)
    vornacl_gtest(vornacl_internal_tests VornAclObjects ${internal_sources} ${support_sources})
  endif()

  foreach(source IN LISTS programs_sources)
    get_filename_component(name "${source}" NAME_WE)
    vornacl_program(test_${name} ${source})
    target_link_libraries(test_${name} PRIVATE $<TARGET_NAME_IF_EXISTS:VornAclToolsCommon>)
    add_test(NAME programs.${name} COMMAND test_${name})
    set_tests_properties(programs.${name} PROPERTIES TIMEOUT 600 SKIP_RETURN_CODE 77)
  endforeach()

  set(compile_fail "${PROJECT_SOURCE_DIR}/tests/compile_fail")
  function(vornacl_compile_test name sample)
    add_test(NAME compile_fail.${name} COMMAND "${CMAKE_CXX_COMPILER}" -std=c++20 -fsyntax-only -Wfatal-errors
      "-I${PROJECT_SOURCE_DIR}" ${ARGN} -x c++ "${compile_fail}/${sample}.h")
    set_tests_properties(compile_fail.${name} PROPERTIES TIMEOUT 120)
  endfunction()
  vornacl_compile_test(Entity Entity)
  vornacl_compile_test(Value Value)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${compile_fail}/cases.txt")
  file(STRINGS "${compile_fail}/cases.txt" rows REGEX "^[^#]")
  while(rows)
    list(POP_FRONT rows case expected)
    string(STRIP "${expected}" expected)
    if(NOT case MATCHES "^([A-Za-z]+) (Entity|Value) ([A-Z]+=.*)$" OR NOT expected)
      message(FATAL_ERROR "${compile_fail}/cases.txt: not a case: ${case}")
    endif()
    set(name "${CMAKE_MATCH_1}")
    vornacl_compile_test("${name}" "${CMAKE_MATCH_2}" "-D${CMAKE_MATCH_3}")
    set_tests_properties(compile_fail.${name} PROPERTIES PASS_REGULAR_EXPRESSION "error: [^\n]*${expected}")
  endwhile()
endif()

# What is installed: the program starts, and a project of its own builds and runs against it.
if(VORNACL_TESTS)
  add_test(NAME package COMMAND "${CMAKE_COMMAND}" -D "build=${PROJECT_BINARY_DIR}" -D "source=${PROJECT_SOURCE_DIR}"
    -D "has_demo=$<TARGET_EXISTS:vornacl-demo>" -D "compiler=${CMAKE_CXX_COMPILER}" -D "flags=${CMAKE_CXX_FLAGS}"
    -D "sanitize=${VORNACL_SANITIZE}" -D "generator=${CMAKE_GENERATOR}" -P "${PROJECT_SOURCE_DIR}/tests/package/run.cmake")
  set_tests_properties(package PROPERTIES TIMEOUT 300)
endif()

# fuzz/*.cpp: a libFuzzer program each; without the fuzzer, one that runs the target on its corpus.
vornacl_glob(fuzz_sources "fuzz/*.cpp")
foreach(source IN LISTS fuzz_sources)
  get_filename_component(name "${source}" NAME_WE)
  if(VORNACL_FUZZ)
    vornacl_program(fuzz_${name} ${source})
    target_link_options(fuzz_${name} PRIVATE -fsanitize=fuzzer)
  elseif(VORNACL_TESTS)
    vornacl_program(replay_${name} ${source} fuzz/replay/main.cpp)
    add_test(NAME replay.${name} COMMAND replay_${name} "${PROJECT_SOURCE_DIR}/fuzz/corpus/${name}")
  endif()
endforeach()
