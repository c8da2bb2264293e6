# Every target of this project links VornAclWarnings privately; a user of the library does not get it.
add_library(VornAclWarnings INTERFACE)
target_compile_options(VornAclWarnings INTERFACE
  -Wall -Wextra -Wpedantic $<$<BOOL:${VORNACL_WERROR}>:-Werror>
  -Wshadow -Wconversion -Wsign-conversion -Wdouble-promotion
  -Wnon-virtual-dtor -Wold-style-cast -Wcast-align -Wimplicit-fallthrough -Wundef
  # An observer overrides one of several handlers of one name: that is how the model is told, not a slip.
  -Wno-overloaded-virtual)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
  # g++ 12 sees overlapping copies in std::string that are none, and under sanitizers reads of values that are set and
  # reads beyond arrays that are larger.
  target_compile_options(VornAclWarnings INTERFACE -Wno-restrict)
  if(VORNACL_SANITIZE)
    target_compile_options(VornAclWarnings INTERFACE -Wno-maybe-uninitialized -Wno-stringop-overread)
  endif()
endif()
