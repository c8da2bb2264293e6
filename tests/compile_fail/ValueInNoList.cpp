// expect: name this type in the list of the model's types
#define MODEL
#include "tests/compile_fail/Value.h"
