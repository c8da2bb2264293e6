// What a random run over two-ended systems is made of: trees as text, observers on everything, random changes.
#pragma once

#include <bit>
#include <cmath>
#include <functional>
#include <limits>
#include <map>
#include <random>
#include <sstream>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "VornAclTable/VornAclLog.h"
#include "VornRootConfig/VornRootConfigLog.h"

namespace VornTest {

using Kro::AttributeId;
using Kro::Entity;
using Kro::Ptr;
using Kro::share;

/// One generator for a whole run, so that its seed tells everything.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}
  std::uint32_t below(std::uint32_t n) { return static_cast<std::uint32_t>(engine_() % n); }
  bool chance(std::uint32_t percent) { return below(100) < percent; }
  template <class T>
  T& oneOf(std::vector<T>& from) {
    return from[below(static_cast<std::uint32_t>(from.size()))];
  }

 private:
  std::mt19937_64 engine_;
};

/// Calls `f` with the entity as what it is.
template <class F>
void withType(Entity& entity, F const& f) {
  if (auto* const acl = dynamic_cast<Vorn::VornAcl*>(&entity)) {
    f(*acl);
  } else if (auto* const acls = dynamic_cast<Vorn::VornAclColl*>(&entity)) {
    f(*acls);
  } else if (auto* const mapping = dynamic_cast<Vorn::AclKeyToAclIdMapping*>(&entity)) {
    f(*mapping);
  } else if (auto* const configuration = dynamic_cast<Vorn::RootConfig*>(&entity)) {
    f(*configuration);
  } else {
    f(dynamic_cast<Vorn::RootConfigColl&>(entity));
  }
}

/// The entities below, one level; by attribute list, so that no attribute is left out.
inline std::vector<Ptr<Entity>> childrenOf(Entity& parent) {
  std::vector<Ptr<Entity>> children;
  withType(parent, [&](auto& entity) {
    Kro::forEachEntityAttribute<std::remove_reference_t<decltype(entity)>>([&](auto const& d) {
      using D = std::remove_cvref_t<decltype(d)>;
      if constexpr (D::kind == Kro::AttributeKind::child) {
        if (Ptr<Entity> const child = (entity.*(d.get))()) {
          children.push_back(child);
        }
      }
    });
  });
  if (auto* const acls = dynamic_cast<Vorn::VornAclColl*>(&parent)) {
    for (auto& acl : acls->aclMap()) {
      children.push_back(share<Entity>(&acl));
    }
  } else if (auto* const all = dynamic_cast<Vorn::RootConfigColl*>(&parent)) {
    for (auto& configuration : all->chipRootConfigMap()) {
      children.push_back(share<Entity>(&configuration));
    }
  }
  return children;
}

inline std::vector<Ptr<Entity>> everythingIn(Ptr<Entity> const& root) {
  std::vector<Ptr<Entity>> all{root};
  for (std::size_t i = 0; i < all.size(); ++i) {
    for (auto const& child : childrenOf(*all[i])) {
      all.push_back(child);
    }
  }
  return all;
}

/// Two trees are equal when their texts are: every parameter, attribute and key, sorted; doubles by their bits. Of the
/// last failed configurations those count that stand in a collection among `shared`.
class TreeText {
 public:
  explicit TreeText(std::vector<Ptr<Entity>> shared) : shared_(std::move(shared)) {}

  std::string of(Entity& entity, std::string const& path = "") const {
    std::map<std::string, std::string> lines;
    withType(entity, [&](auto& typed) { add(lines, path + "/", typed); });
    for (auto const& child : childrenOf(entity)) {
      std::string const at =
          path + '/' + std::string(child->parentAttr().view()) + '[' + std::string(child->kroKeyText().view()) + ']';
      lines[at] = of(*child, at);
    }
    std::string text;
    for (auto const& [key, value] : lines) {
      text += key + " = " + value + '\n';
    }
    return text;
  }

 private:
  using Lines = std::map<std::string, std::string>;

  template <class T>
  static std::string textOf(T const& value) {
    std::ostringstream text;
    text << Kro::valueToStrep(value).view();
    return text.str();
  }
  static std::string textOf(double value) {
    return std::to_string(std::bit_cast<std::uint64_t>(value == 0.0 ? 0.0 : value));
  }

  template <class X>
  void add(Lines& lines, std::string const& path, X& entity) const {
    lines[path + "name"] = entity.name().view();
    Kro::forEachEntityAttribute<X>([&](auto const& d) {
      using D = std::remove_cvref_t<decltype(d)>;
      std::string const at = path + std::string(d.name);
      if constexpr (D::kind == Kro::AttributeKind::parameter || D::kind == Kro::AttributeKind::scalar ||
                    D::kind == Kro::AttributeKind::counter) {
        lines[at] = textOf((entity.*(d.get))());
      }
    });
    if constexpr (std::is_same_v<X, Vorn::VornAcl>) {
      addValues(lines, path + "ip", entity.ipRuleByIdMap());
      addValues(lines, path + "mac", entity.macRuleByIdMap());
    } else if constexpr (std::is_same_v<X, Vorn::AclKeyToAclIdMapping>) {
      addValues(lines, path + "key", entity.keyToIdMap());
    } else if constexpr (std::is_same_v<X, Vorn::RootConfigColl>) {
      for (auto& entry : entity.chipRootConfigLastFailedMap()) {
        Ptr<Entity const> const holder = entry.referenced()->parent();
        for (auto const& root : shared_) {
          if (holder.get() == root.get()) {
            lines[path + "failed" + std::to_string(entry.referenced()->chipId().value())] =
                std::string(holder->name().view()) + std::to_string(entry.referenced()->rootConfigId());
          }
        }
      }
    }
  }
  template <class Map>
  static void addValues(Lines& lines, std::string const& path, Map const& map) {
    for (auto const& record : map) {
      lines[path + textOf(record.key())] = textOf(record.value());
    }
  }

  std::vector<Ptr<Entity>> shared_;
};

/// Observers on every entity of a tree, also on those that come later. They keep nothing alive.
class Watcher {
 public:
  using Told = std::function<void(Entity&, AttributeId)>;
  explicit Watcher(Told told) : told_(std::move(told)) {}
  Watcher(Watcher const&) = delete;
  Watcher& operator=(Watcher const&) = delete;

  void watch(Ptr<Entity> const& root) {
    for (auto const& entity : everythingIn(root)) {
      withType(*entity, [&](auto& typed) {
        Entry& entry = entries_[entity.get()];
        if (!entry.isLive || !entry.isLive()) {
          entry = attach(typed);
        }
      });
    }
  }
  /// Where it is not null, what is told is written there, but for what an equal tree may hear of: a NaN that is set
  /// again, a reference into another tree that is swept and follows when its target is announced.
  std::string* journal = nullptr;
  /// Lets exceptions of handlers through to who changed the entity.
  bool rethrows = false;

 private:
  struct Entry {
    Ptr<Kro::PtrInterface::NotifieeConst> observer;
    std::function<bool()> isLive;
  };

  void tell(Entity const& constEntity, AttributeId id, bool isNews) {
    auto& entity = const_cast<Entity&>(constEntity);
    Ptr<Entity> const held = share(&entity);
    if (isNews && journal != nullptr) {
      *journal += std::string((entity.fullName() + "." + entity.attributeString(id) + " ").view());
    }
    watch(held);
    told_(entity, id);
  }

  template <class Base>
  struct Observer : Base {
    explicit Observer(Watcher& w) : watcher(w) {}
    void tell(AttributeId id, bool isNews = true) { watcher.tell(*this->notifier(), id, isNews); }
    void onNotificationException(AttributeId) override {
      if (watcher.rethrows) {
        throw;
      }
    }
    Watcher& watcher;
  };
  struct OfAcl : Observer<Vorn::VornAcl::Notifiee> {
    using Observer::Observer;
    void onIpRuleById(Vorn::AceIndex const&) override { tell(261); }
    void onIpRuleById() override {}
    void onMacRuleById(Vorn::AceIndex const&) override { tell(262); }
    void onMacRuleById() override {}
  };
  struct OfAcls : Observer<Vorn::VornAclColl::Notifiee> {
    using Observer::Observer;
    void onAcl(Vorn::AclId const&) override { tell(258); }
    void onAcl() override {}
  };
  struct OfMapping : Observer<Vorn::AclKeyToAclIdMapping::Notifiee> {
    using Observer::Observer;
    void onKeyToId(Zil::AclKey const&) override { tell(258); }
    void onKeyToId() override {}
  };
  struct OfConfiguration : Observer<Vorn::RootConfig::Notifiee> {
    using Observer::Observer;
    void onActive() override { tell(260); }
    void onVornAclColl() override { tell(261); }
    void onAclKeyToAclId() override { tell(262); }
    void onAction() override { tell(263); }
    void onVornRootKickTime() override { tell(264, !std::isnan(notifier()->vornRootKickTime())); }
    void onVornRootKick() override { tell(265); }
    void onInitialized() override { tell(267); }
  };
  struct OfAll : Observer<Vorn::RootConfigColl::Notifiee> {
    using Observer::Observer;
    void onChipRootConfig(std::uint32_t) override { tell(258); }
    void onChipRootConfig() override {}
    void onChipRootConfigLastFailed(Vorn::ChipId chip) override {
      auto const failed = notifier()->chipRootConfigLastFailed(chip);
      tell(259, failed && failed->parent().get() == notifier());
    }
    void onChipRootConfigLastFailed() override {}
  };

  template <class O, class X>
  Entry attachAs(X& entity) {
    auto observer = Kro::adopt(new O(*this));
    observer->isRegisteredNotifieeIs(true);
    observer->notifierIs(Ptr<Kro::PtrInterface const>(share(&entity)));
    observer->isWeakReferenceIs(true);
    O* const raw = observer.get();
    return {observer, [raw] { return raw->notifier() != nullptr; }};
  }
  Entry attach(Vorn::VornAcl& e) { return attachAs<OfAcl>(e); }
  Entry attach(Vorn::VornAclColl& e) { return attachAs<OfAcls>(e); }
  Entry attach(Vorn::AclKeyToAclIdMapping& e) { return attachAs<OfMapping>(e); }
  Entry attach(Vorn::RootConfig& e) { return attachAs<OfConfiguration>(e); }
  Entry attach(Vorn::RootConfigColl& e) { return attachAs<OfAll>(e); }

  Told told_;
  std::unordered_map<Entity*, Entry> entries_;
};

/// Random changes. Keys, names and parameters come from small sets, so that everything meets everything; every rule
/// carries a number of its own.
class Changes {
 public:
  explicit Changes(Random& random) : random_(random) {}

  std::uint32_t now() const { return now_; }
  std::uint32_t next() { return ++now_; }
  static std::uint32_t stampOf(Vorn::IpRuleConfig const& rule) {
    return (std::uint32_t{rule.filter().icmpType()} << 16U) | rule.filter().icmpCode();
  }

  /// Somewhere in a tree; `others` are further trees whose configurations may be referred to.
  void anywhere(Ptr<Entity> const& root, std::vector<Ptr<Entity>> const& others = {}) {
    Ptr<Entity> at = root;
    while (random_.chance(75)) {
      auto children = childrenOf(*at);
      if (children.empty()) {
        break;
      }
      at = random_.oneOf(children);
    }
    here(at, others);
  }

  void here(Ptr<Entity> const& at, std::vector<Ptr<Entity>> const& others = {}) {
    ++now_;
    auto const before = std::exchange(others_, others);  // a tree that ends here tells its observers, who come back
    try {
      withType(*at, [&](auto& entity) { change(entity); });
    } catch (Kro::NameInUseException const&) {
    }
  }

  /// Takes an entity out of what holds it.
  void remove(Entity& entity) {
    Ptr<Entity> const parent = entity.parent();
    if (auto* const acls = dynamic_cast<Vorn::VornAclColl*>(parent.get())) {
      acls->aclDel(dynamic_cast<Vorn::VornAcl&>(entity).aclId());
    } else if (auto* const all = dynamic_cast<Vorn::RootConfigColl*>(parent.get())) {
      all->chipRootConfigDel(dynamic_cast<Vorn::RootConfig&>(entity).rootConfigId());
    } else if (auto* const configuration = dynamic_cast<Vorn::RootConfig*>(parent.get())) {
      if (entity.parentAttrId() == Vorn::RootConfig::Attributes::vornAclColl.id) {
        configuration->vornAclCollDel();
      } else {
        configuration->aclKeyToAclIdDel();
      }
    }
  }

  Vorn::IpRuleConfig rule() {
    Vorn::IpRuleConfig rule;
    Vorn::IpFilter filter;
    filter.icmpTypeIs(static_cast<std::uint16_t>(++now_ >> 16U));
    filter.icmpCodeIs(static_cast<std::uint16_t>(now_));
    if (random_.chance(50)) {
      filter.sourceIs(Dorix::IpGenPrefix(Kro::String8(random_.chance(50) ? "10.0.0.0/8" : "2001:db8::/32")));
    }
    rule.filterIs(filter);
    return rule;
  }

 private:
  Vorn::AceIndex place() { return {random_.below(4), random_.below(3), 0}; }
  Vorn::AclId aclId() {
    return {random_.chance(50) ? Vorn::ipv4PAcl : Vorn::macAcl, static_cast<std::uint8_t>(random_.below(2) * 255),
            random_.chance(80) ? Acl::in : Acl::out};
  }
  Kro::Name name() { return random_.chance(70) ? "a" : random_.chance(50) ? "b" : ""; }
  Zil::AclKey key() { return {static_cast<Acl::AclType>(random_.below(3)), random_.chance(50) ? "" : "key"}; }
  Acl::AclType type() { return random_.chance(80) ? Acl::ip : Acl::mac; }

  void change(Vorn::VornAcl& acl) {
    switch (random_.below(14)) {
      case 0:
        return acl.ipRuleByIdDelAll();
      case 1:
        return acl.macRuleByIdDelAll();
      case 2:
        return acl.ipRuleByIdNotify(place());
      case 3: {
        Vorn::MacRuleConfig rule;
        rule.logIs(random_.chance(50));
        Vorn::MacFilter filter;
        filter.protoIs(++now_);
        rule.filterIs(filter);
        return acl.macRuleByIdIs(place(), rule);
      }
      case 4:
        acl.macRuleByIdDel(place());
        return;
      case 5:
      case 6:
        acl.ipRuleByIdDel(place());
        return;
      case 7: {
        auto at = acl.ipRuleByIdIterator();
        acl.ipRuleByIdDel(at);
        return;
      }
      case 8:
        for (std::uint32_t i = 0; i < 12; ++i) {
          acl.ipRuleByIdIs({i / 3, i % 3, 0}, rule());
        }
        return;
      default:
        return acl.ipRuleByIdIs(place(), rule());
    }
  }

  void change(Vorn::VornAclColl& acls) {
    switch (random_.below(12)) {
      case 0:
        return acls.aclDelAll();
      case 1:
        return acls.aclNotify(aclId());
      case 2:
      case 3:
      case 4:
        acls.aclDel(aclId());
        return;
      default: {
        auto const acl = acls.aclIs(aclId(), type(), name());
        acl->ipRuleByIdIs(place(), rule());
        return;
      }
    }
  }

  void change(Vorn::AclKeyToAclIdMapping& mapping) {
    switch (random_.below(8)) {
      case 0:
        return mapping.keyToIdDelAll();
      case 1:
        return mapping.keyToIdNotify(key());
      case 2:
      case 3:
        mapping.keyToIdDel(key());
        return;
      default:
        return mapping.keyToIdIs(key(), aclId());
    }
  }

  void change(Vorn::RootConfig& configuration) {
    switch (random_.below(16)) {
      case 0:
        return configuration.activeIs(random_.chance(50));
      case 1:
        return configuration.actionIs(static_cast<Vorn::RootAction>(random_.below(3)));
      case 2: {
        double const times[] = {0.0, 1.5, std::numeric_limits<double>::quiet_NaN(), 1e300};
        return configuration.vornRootKickTimeIs(times[random_.below(4)]);
      }
      case 3:
      case 4:
        return configuration.vornRootKickIs(now_);
      case 5:
        configuration.vornRootKickInc(0);
        return;
      case 6:
        return configuration.initializedIs(random_.chance(50));
      case 7:
        configuration.vornAclCollDel();
        return;
      case 8:
        configuration.aclKeyToAclIdDel();
        return;
      case 9:
        configuration.aclKeyToAclIdIs(name());
        return;
      case 10:
      case 11:
        return configuration.initialize();
      default: {
        auto const acls = configuration.vornAclCollIs(name());
        acls->aclIs(aclId(), type(), name())->ipRuleByIdIs(place(), rule());
        return;
      }
    }
  }

  void change(Vorn::RootConfigColl& all) {
    switch (random_.below(16)) {
      case 0:
        return all.chipRootConfigDelAll();
      case 1:
        return all.chipRootConfigLastFailedDelAll();
      case 2:
        return all.chipRootConfigNotify(random_.below(5));
      case 3:
        all.chipRootConfigLastFailedDel(chip());
        return;
      case 4:
        return all.chipRootConfigLastFailedNotify(chip());
      case 5:
      case 6:
      case 7:
        if (auto const gone = all.chipRootConfigDel(random_.below(5))) {
          dropped_ = gone;
        }
        return;
      case 8:
        if (dropped_) {
          all.chipRootConfigLastFailedIs(dropped_);
          dropped_->activeIs(!dropped_->active());  // nobody is told of a configuration that stands in no collection
        }
        return;
      case 9:
        return fail(all, others_.empty() ? share<Entity>(&all) : random_.oneOf(others_));
      case 10:
      case 11:
        return fail(all, share<Entity>(&all));
      default: {
        auto const configuration = all.chipRootConfigIs(random_.below(5), chip());
        if (random_.chance(50)) {
          configuration->initialize();
        }
        return;
      }
    }
  }

  Vorn::ChipId chip() { return static_cast<std::uint16_t>(random_.below(3)); }
  void fail(Vorn::RootConfigColl& all, Ptr<Entity> const& in) {
    auto members = childrenOf(*in);
    if (!members.empty()) {
      if (auto const failed = Kro::ptrCast<Vorn::RootConfig>(random_.oneOf(members))) {
        all.chipRootConfigLastFailedIs(failed);
      }
    }
  }

  Random& random_;
  std::uint32_t now_ = 0;
  std::vector<Ptr<Entity>> others_;
  Ptr<Vorn::RootConfig> dropped_;
};

}  // namespace VornTest
