# Installs the build, moves it to another place, and uses it there; configures once more without the optional packages.
set(folder "${build}/package")
file(REMOVE_RECURSE "${folder}")

# run(PATTERN COMMAND...): the command succeeds and prints what the pattern describes.
function(run pattern)
  execute_process(COMMAND ${ARGN} RESULT_VARIABLE status OUTPUT_VARIABLE output ERROR_VARIABLE output)
  if(NOT status STREQUAL 0 OR NOT output MATCHES "${pattern}")
    message(FATAL_ERROR "${ARGN}: ended with ${status}, wanted \"${pattern}\":\n${output}")
  endif()
endfunction()

run("" "${CMAKE_COMMAND}" --install "${build}" --prefix "${folder}/first")
file(RENAME "${folder}/first" "${folder}/moved")
if(EXISTS "${folder}/moved/include/VornAcl/runtime/value/ValueOps.h")
  message(FATAL_ERROR "a header of the library's own is installed")
endif()
if(has_demo)
  run("\n61 0.0.0.0/0 0.0.0.0/0 0-65535 0-65535 0x00/0x00\n" "${folder}/moved/bin/vornacl-demo" --rules)
endif()

if(sanitize)
  string(APPEND flags " -fsanitize=${sanitize}")
endif()
set(configure "${CMAKE_COMMAND}" -G "${generator}" "-DCMAKE_CXX_COMPILER=${compiler}" "-DCMAKE_CXX_FLAGS=${flags}")
run("" ${configure} -S "${source}/tests/package" -B "${folder}/user" "-DCMAKE_PREFIX_PATH=${folder}/moved"
  "-Dexample=${source}/examples/mirror.cpp")
run("" "${CMAKE_COMMAND}" --build "${folder}/user")
run("^rule 10.0.0 changed\n$" "${folder}/user/user")

foreach(package IN ITEMS GTest benchmark CLI11)
  list(APPEND configure "-DCMAKE_DISABLE_FIND_PACKAGE_${package}=ON")
endforeach()
run("GTest is missing.*benchmark is missing.*CLI11 is missing" ${configure} -DVORNACL_BENCH=ON -S "${source}"
  -B "${folder}/bare")
