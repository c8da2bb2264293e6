// expect: name this type in the list of the model's types
#include "runtime/type/Model.h"

namespace Test {
Kro::Model<> kroModel(void const*);
}
#include "tests/compile_fail/Entity.h"
