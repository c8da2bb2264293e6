// What the tests of the attribute log do with trees: changes given as text, trees as text, observers on everything.
#pragma once

#include <cstdio>
#include <functional>
#include <map>
#include <set>
#include <span>

#include "VornAclTable/VornAclLog.h"
#include "VornRootConfig/VornRootConfigLog.h"
#include "tests/Contracts.h"
#include "tests/support/Spies.h"
#include "tools/common/SecondReader.h"

namespace VornTest {

using Kro::AttributeKind;
using Kro::Entity;
using Kro::Ptr;
using Kro::share;
using Vorn::AceIndex;
using Vorn::AclKeyToAclIdMapping;
using Vorn::RootConfig;
using Vorn::RootConfigColl;
using Vorn::VornAcl;
using Vorn::VornAclColl;

inline std::span<std::uint8_t const> bytesOf(std::string_view text) {
  return {reinterpret_cast<std::uint8_t const*>(text.data()), text.size()};
}

inline Vorn::AclId aclId(std::uint32_t n) {
  return {Vorn::ipv4PAcl, Vorn::ChipRuleListId(static_cast<std::uint8_t>(n)), Acl::in};
}
inline Vorn::IpRuleConfig rule(std::uint32_t ttl) {
  Vorn::IpFilter filter;
  filter.ttlIs(static_cast<std::uint8_t>(ttl));
  Vorn::IpRuleConfig rule;
  rule.filterIs(filter);
  return rule;
}
inline Vorn::MacRuleConfig macRule(std::uint32_t proto) {
  Vorn::MacFilter filter;
  filter.protoIs(proto);
  Vorn::MacRuleConfig rule;
  rule.filterIs(filter);
  return rule;
}
inline Zil::AclKey key(std::string const& name) { return {Acl::ip, Kro::String8(name)}; }

// --- a walk by attribute lists, so that no attribute is left out ---

template <class... X, class F>
void asOneOf(Entity& entity, F const& f) {
  (void)((dynamic_cast<X*>(&entity) != nullptr && (f(dynamic_cast<X&>(entity)), true)) || ...);
}
/// Calls `f` with the entity as what it is.
template <class F>
void withType(Entity& entity, F const& f) {
  asOneOf<VornAcl, VornAclColl, AclKeyToAclIdMapping, RootConfig, RootConfigColl>(entity, f);
}
template <class D>
inline constexpr AttributeKind kindOf = std::remove_cvref_t<D>::kind;

/// An entity and everything below it.
inline std::vector<Ptr<Entity>> everythingIn(Ptr<Entity> const& root) {
  std::vector<Ptr<Entity>> all{root};
  for (std::size_t i = 0; i < all.size(); ++i) {
    withType(*Ptr<Entity>(all[i]), [&](auto& entity) {
      Kro::forEachEntityAttribute<std::remove_reference_t<decltype(entity)>>([&](auto const& d) {
        if constexpr (kindOf<decltype(d)> == AttributeKind::child) {
          if (auto const child = entity.*(d.field)) {
            all.push_back(child);
          }
        } else if constexpr (kindOf<decltype(d)> == AttributeKind::members) {
          for (auto& member : entity.*(d.field)) {
            all.push_back(share<Entity>(&member));
          }
        }
      });
    });
  }
  return all;
}

/// "c" a root, "5" a configuration, "5v" its ACLs, "5v7" one of them, "5p" its mapping.
inline std::string placeOf(Entity& entity) {
  Ptr<Entity> const parent = entity.parent();
  if (!parent) {
    return "c";
  }
  std::string const above = parent->parent() ? placeOf(*parent) : "";
  auto* const acl = dynamic_cast<VornAcl*>(&entity);
  auto* const config = dynamic_cast<RootConfig*>(&entity);
  return above + (acl != nullptr      ? std::to_string(acl->aclId().chipRuleListId().value())
                  : config != nullptr ? std::to_string(config->rootConfigId())
                  : dynamic_cast<VornAclColl*>(&entity) != nullptr ? "v"
                                                                   : "p");
}

// --- a tree as text, in the second reader's form ---

template <class E>
requires std::is_enum_v<E>
char const* readerType(E) { return "S32"; }
inline char const* readerType(bool) { return "bool"; }
inline char const* readerType(std::uint32_t) { return "U32"; }
inline char const* readerType(double) { return "double"; }
inline char const* readerType(Kro::Name const&) { return "string"; }
inline char const* readerType(Vorn::ChipId) { return "U16"; }
inline char const* readerType(AceIndex const&) { return "AceIndex"; }
inline char const* readerType(Vorn::AclId const&) { return "AclId"; }
inline char const* readerType(Zil::AclKey const&) { return "AclKey"; }
inline char const* readerType(Vorn::IpRuleConfig const&) { return "IpRuleConfig"; }
inline char const* readerType(Vorn::MacRuleConfig const&) { return "MacRuleConfig"; }

template <class T>
std::string textOf(T const& value) {
  Bytes const bytes = logBytes(value);
  return Second::Reader::valueText(readerType(value), {reinterpret_cast<char const*>(bytes.data()), bytes.size()});
}

class Dump {
 public:
  /// With `shared`: references count to what stands in one of these, and where there are several, tell in which.
  static std::string of(Entity const& root, std::vector<Ptr<Entity>> const& shared = {}) {
    Dump dump(shared);
    dump.add(const_cast<Entity&>(root), "");
    std::string text;
    for (std::string const& line : dump.lines_) {
      text += line + '\n';
    }
    return text;
  }

 private:
  explicit Dump(std::vector<Ptr<Entity>> const& shared) : shared_(shared) {}

  static std::string keyOf(RootConfig const& config) { return textOf(config.rootConfigId()); }
  static std::string keyOf(VornAcl const& acl) { return textOf(acl.aclId()); }
  template <class X>
  static std::string parametersOf(X const& entity, bool isRoot) {
    std::string text =
        X::Attributes::isNamed && (isRoot || !std::is_same_v<X, RootConfig>) ? textOf(entity.name()) : "";
    Kro::forEachEntityAttribute<X>([&](auto const& d) {
      if constexpr (kindOf<decltype(d)> == AttributeKind::parameter) {
        text += (text.empty() ? "" : " ") + textOf((entity.*(d.get))());
      }
    });
    return text;
  }
  void add(Entity& entity, std::string const& path) {
    withType(entity, [&](auto& typed) {
      using X = std::remove_reference_t<decltype(typed)>;
      std::string const parameters = parametersOf(typed, path.empty()), &here = path.empty() ? parameters : path;
      lines_.insert(here + ": " + std::string(X::Attributes::typeName) + " " + parameters);
      Kro::forEachEntityAttribute<X>([&](auto const& d) { addAttribute(typed, d, here + "." + std::string(d.name)); });
    });
  }
  template <class X, class D>
  void addAttribute(X& entity, D const& d, std::string const& path) {
    constexpr AttributeKind kind = D::kind;
    if constexpr (kind == AttributeKind::scalar || kind == AttributeKind::counter) {
      if (std::string const text = textOf((entity.*(d.get))()); text != "0") {
        lines_.insert(path + " = " + text);
      }
    } else if constexpr (kind == AttributeKind::child) {
      if (auto const child = entity.*(d.field)) {
        add(*child, path);
      }
    } else if constexpr (kind == AttributeKind::members) {
      for (auto& member : entity.*(d.field)) {
        add(member, path + "[" + keyOf(member) + "]");
      }
    } else if constexpr (kind == AttributeKind::values) {
      for (auto& record : entity.*(d.field)) {
        lines_.insert(path + "[" + textOf(record.key()) + "] = " + textOf(record.value()));
      }
    } else if constexpr (kind == AttributeKind::references) {
      for (auto& entry : entity.*(d.field)) {
        RootConfig const& target = *entry.referenced();
        Ptr<Entity const> const holder = target.parent();
        if (shared_.empty() || std::count(shared_.begin(), shared_.end(), holder) != 0) {
          lines_.insert(path + "[" + textOf(target.chipId()) + "] -> " + parametersOf(target, false) +
                        (shared_.size() > 1 ? " of " + textOf(holder->name()) : ""));
        }
      }
    }
  }

  std::vector<Ptr<Entity>> const& shared_;
  std::set<std::string> lines_;
};

// --- changes as text ---

/// A verb ("-" removes, "!" only tells, "*" means all), a key and "=" a value: "r1=9" sets rule 1 of an ACL to 9.
struct Op {
  std::string verb, key, value;

  explicit Op(std::string const& text) {
    std::size_t const keyAt = std::min(text.find_first_of("0123456789:="), text.size());
    std::size_t const equal = std::min(text.find('='), text.size());
    verb = text.substr(0, keyAt);
    key = text.substr(keyAt, equal - keyAt);
    key.erase(0, key.find_first_not_of(':'));
    value = text.substr(std::min(equal + 1, text.size()));
  }
  void operator()(Entity& entity) const;

  AceIndex at() const {
    unsigned a = 0, b = 0, c = 0;
    std::sscanf(key.c_str(), "%u.%u.%u", &a, &b, &c);
    return {a, b, c};
  }
  std::uint32_t n() const { return static_cast<std::uint32_t>(std::stoul(key)); }
  static Vorn::ChipId chip(std::uint32_t n) { return static_cast<std::uint16_t>(n); }
  Vorn::AclId acl() const { return aclId(n()); }
  std::uint32_t number() const { return static_cast<std::uint32_t>(std::stoul(value)); }
  Acl::AclType type() const { return static_cast<Acl::AclType>(value[0] - '0'); }
  Kro::Name name(std::size_t from = 0) const { return Kro::String8(value.substr(from)); }
};

template <class X, class F>
std::function<void(Entity&, Op const&)> on(F const& f) {
  return [f](Entity& entity, Op const& op) { f(dynamic_cast<X&>(entity), op); };
}
inline std::map<std::string, std::function<void(Entity&, Op const&)>> const verbs = {
    {"r", on<VornAcl>([](auto& e, auto& op) { e.ipRuleByIdIs(op.at(), rule(op.number())); })},
    {"-r", on<VornAcl>([](auto& e, auto& op) { e.ipRuleByIdDel(op.at()); })},
    {"-r*", on<VornAcl>([](auto& e, auto&) { e.ipRuleByIdDelAll(); })},
    {"!r", on<VornAcl>([](auto& e, auto& op) { e.ipRuleByIdNotify(op.at()); })},
    {"m", on<VornAcl>([](auto& e, auto& op) { e.macRuleByIdIs(op.at(), macRule(op.number())); })},
    {"-m", on<VornAcl>([](auto& e, auto& op) { e.macRuleByIdDel(op.at()); })},
    {"-m*", on<VornAcl>([](auto& e, auto&) { e.macRuleByIdDelAll(); })},
    // The type's number, then the name: "a8=0x".
    {"a", on<VornAclColl>(
              [](auto& e, auto& op) { e.aclIs(op.acl(), static_cast<Acl::AclType>(op.value[0] - '0'), op.name(1)); })},
    {"-a", on<VornAclColl>([](auto& e, auto& op) { e.aclDel(op.acl()); })},
    {"-a*", on<VornAclColl>([](auto& e, auto&) { e.aclDelAll(); })},
    {"!a", on<VornAclColl>([](auto& e, auto& op) { e.aclNotify(op.acl()); })},
    {"k", on<AclKeyToAclIdMapping>([](auto& e, auto& op) { e.keyToIdIs(key(op.key), aclId(op.number())); })},
    {"-k", on<AclKeyToAclIdMapping>([](auto& e, auto& op) { e.keyToIdDel(key(op.key)); })},
    {"-k*", on<AclKeyToAclIdMapping>([](auto& e, auto&) { e.keyToIdDelAll(); })},
    {"!k", on<AclKeyToAclIdMapping>([](auto& e, auto& op) { e.keyToIdNotify(key(op.key)); })},
    {"v", on<RootConfig>([](auto& e, auto& op) { e.vornAclCollIs(op.name()); })},
    {"-v", on<RootConfig>([](auto& e, auto&) { e.vornAclCollDel(); })},
    {"p", on<RootConfig>([](auto& e, auto& op) { e.aclKeyToAclIdIs(op.name()); })},
    {"-p", on<RootConfig>([](auto& e, auto&) { e.aclKeyToAclIdDel(); })},
    {"initialize", on<RootConfig>([](auto& e, auto&) { e.initialize(); })},
    {"initialized", on<RootConfig>([](auto& e, auto& op) { e.initializedIs(op.value == "1"); })},
    {"active", on<RootConfig>([](auto& e, auto& op) { e.activeIs(op.value == "1"); })},
    {"action", on<RootConfig>([](auto& e, auto& op) { e.actionIs(static_cast<Vorn::RootAction>(op.number())); })},
    {"time", on<RootConfig>([](auto& e, auto& op) { e.vornRootKickTimeIs(std::stod(op.value)); })},
    {"kick", on<RootConfig>([](auto& e, auto& op) { e.vornRootKickIs(op.number()); })},
    {"kick+", on<RootConfig>([](auto& e, auto& op) { e.vornRootKickInc(op.n()); })},
    {"c", on<RootConfigColl>(
              [](auto& e, auto& op) { e.chipRootConfigIs(op.n(), static_cast<std::uint16_t>(op.number())); })},
    {"-c", on<RootConfigColl>([](auto& e, auto& op) { e.chipRootConfigDel(op.n()); })},
    {"-c*", on<RootConfigColl>([](auto& e, auto&) { e.chipRootConfigDelAll(); })},
    {"!c", on<RootConfigColl>([](auto& e, auto& op) { e.chipRootConfigNotify(op.n()); })},
    {"f", on<RootConfigColl>([](auto& e, auto& op) { e.chipRootConfigLastFailedIs(e.chipRootConfig(op.n())); })},
    // One that stands in no collection.
    {"stranger", on<RootConfigColl>([](auto& e, auto& op) {
       e.chipRootConfigLastFailedIs(Vorn::rootConfigFactory("stranger", 99, op.chip(op.n())));
     })},
    {"-f", on<RootConfigColl>([](auto& e, auto& op) { e.chipRootConfigLastFailedDel(op.chip(op.n())); })},
    {"-f*", on<RootConfigColl>([](auto& e, auto&) { e.chipRootConfigLastFailedDelAll(); })},
    {"!f", on<RootConfigColl>([](auto& e, auto& op) { e.chipRootConfigLastFailedNotify(op.chip(op.n())); })}};

inline void Op::operator()(Entity& entity) const { verbs.at(verb)(entity, *this); }

// --- observers ---

AclSpy spyOf(VornAcl&);
AclCollSpy spyOf(VornAclColl&);
MappingSpy spyOf(AclKeyToAclIdMapping&);
ConfigSpy spyOf(RootConfig&);
ConfigCollSpy spyOf(RootConfigColl&);

/// Every entity of a tree observed, those to come too; the observers keep nothing alive and are named by their places.
class Watch {
 public:
  using Told = std::function<void(Entity&, std::string const& event)>;
  explicit Watch(Journal& journal, Told told) : journal_(journal), told_(std::move(told)) {}
  Watch(Watch const&) = delete;
  Watch& operator=(Watch const&) = delete;

  void watch(Ptr<Entity> const& root) {
    for (auto const& entity : everythingIn(root)) {
      withType(*entity, [&](auto& typed) { add(typed); });
    }
  }
  /// Lets exceptions of handlers through to who changed the entity.
  bool rethrows = false;

 private:
  template <class Spy>
  struct Quiet : Spy {
    using Spy::Spy;
    void onZeroReferences() override {}
  };
  template <class X>
  void add(X& entity) {
    using Observer = Quiet<decltype(spyOf(entity))>;
    Ptr<Kro::PtrInterface>& known = spies_[&entity];
    if (auto* const spy = dynamic_cast<Observer*>(known.get()); spy != nullptr && spy->notifier() != nullptr) {
      return;
    }
    auto const spy = Kro::adopt(new Observer(&journal_, placeOf(entity)));
    spy->isRegisteredNotifieeIs(true);
    spy->notifierIs(share(&entity));
    spy->isWeakReferenceIs(true);
    spy->act = [this, &entity] {
      std::string const event = journal_.last();
      watch(share<Entity>(&entity));
      told_(entity, event);
    };
    spy->report = [this] {
      if (rethrows) {
        throw;
      }
    };
    known = spy;
  }

  Journal& journal_;
  Told told_;
  std::map<Entity*, Ptr<Kro::PtrInterface>> spies_;
};

}  // namespace VornTest
