// A value type that is right but for what a case says of it.
#include "runtime/reflection/TypeObjects.h"

#define A Kro::stored(2, "a", &T::a_, &T::aIs)
#define B Kro::stored(3, "b", &T::b_, &T::bIs)
#define C Kro::stored(4, "c", &T::c_, &T::cIs)
#ifndef ROWS
#define ROWS A, B, C
#endif
#ifndef FIELD
#define FIELD
#endif

namespace Test {

#ifdef MODEL
Kro::Model<> kroModel(void const*);
#endif

class Thing : public Kro::Value<Thing> {
 public:
  Thing() = default;
  Thing(Kro::String8::IteratorConst& it, Kro::String8::IteratorConst const& end) { readRecord(it, end); }
  void aIs(std::uint8_t v) { a_ = v; }
  void bIs(std::uint8_t v) { b_ = v; }
  void cIs(std::uint32_t v) { c_ = v; }
  bool operator==(Thing const&) const = default;
  struct Attributes;

 private:
  std::uint8_t a_ = 0, b_ = 0;
  FIELD;
  std::uint32_t c_ = 0;
};

struct Thing::Attributes {
  using T = Thing;
  static constexpr std::string_view typeName = "Test::Thing";
  static constexpr auto all = std::tuple{ROWS};
};

}  // namespace Test

template class Kro::Value<Test::Thing>;
