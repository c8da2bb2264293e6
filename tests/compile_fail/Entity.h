// An entity type that is right but for what a case says of it.
#include "platform/Zil/AclKey.h"
#include "runtime/reflection/EntityOfOps.h"

#ifndef KEY
#define KEY Zil::AclKey
#endif
#ifndef VALUE
#define VALUE Zil::AclKey
#endif
#ifndef MAP
#define MAP Kro::RbTreeMap<Kro::RbTreeNode<KEY, VALUE>, KEY, VALUE>
#endif
#ifndef NOTIFIEE
#define NOTIFIEE NotifieeConst
#endif
#define ON(n) Kro::scalar<n>("on", &T::on_, &T::on, &T::onIs, &N::onOn)
#define OFF(n) Kro::scalar<n>("off", &T::off_, &T::off, &T::offIs, &N::onOff)
#define MEMBERS(n) \
  Kro::values<n>("member", &T::member_, &T::memberIs, &T::memberDel, &T::memberDel, &T::memberNotify, &N::onMember)
#define EIGHT(n) ON(n), ON(n + 1), ON(n + 2), ON(n + 3), ON(n + 4), ON(n + 5), ON(n + 6), ON(n + 7)
#ifndef ROWS
#define ROWS ON(258), OFF(259), MEMBERS(260)
#endif

namespace Test {

#ifdef MODEL
Kro::Model<> kroModel(void const*);
#endif

struct Bare {
  int n;
  bool operator==(Bare const&) const = default;
};
struct Ordered : Bare {
  bool operator<(Ordered const& other) const { return n < other.n; }
};

class Thing : public Kro::EntityOf<Thing> {
 public:
  class NOTIFIEE;
  struct Attributes;
  using Map = MAP;

  explicit Thing(Kro::Name name) : EntityOf(std::move(name)) {}
  bool on() const { return counted(on_); }
  void onIs(bool v);
  bool off() const { return counted(off_); }
  void offIs(bool v);
  void numberIs(int);
  void memberIs(KEY const&, VALUE const&);
  VALUE memberDel(KEY const&);
  VALUE memberDel(Map::Iterator&);
  void memberNotify(KEY const&);
  Observers& kroObservers() const { return observers_; }

 private:
  bool on_ = false, off_ = false;
  Map member_;
  mutable Observers observers_;
};

class Thing::NOTIFIEE : public Kro::NotifieeOf<Thing> {
 public:
  virtual void onOn() {}
  virtual void onOff() {}
  virtual void onMember(KEY const&) {}
};

struct Thing::Attributes {
  using T = Thing;
  using N = T::NotifieeConst;
  static constexpr std::string_view typeName = "Test::Thing";
  static constexpr bool isNamed = true;
  static constexpr auto all = std::tuple{ROWS};
};

void Thing::onIs(bool v) { Kro::setScalar(*this, row<&Thing::on_>, v); }

}  // namespace Test

template class Kro::EntityOf<Test::Thing>;
