// expect: give the key of a hash map a hash
#define MAP Kro::HashMap<Thing, Ordered, Thing>
#include "tests/compile_fail/Entity.h"
