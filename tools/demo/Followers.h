// Observers of a whole tree that count what they are told.
#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <utility>

#include "VornRootConfig/RootConfigColl.h"

namespace Demo {

/// Counts what the followers are told while `isLive` says so.
class ChangeCount {
 public:
  explicit ChangeCount(std::function<bool()> isLive) : isLive_(std::move(isLive)) {}

  void add() { count_ += isLive_() ? 1U : 0U; }
  std::size_t value() const { return count_; }

 private:
  std::function<bool()> isLive_;
  std::size_t count_ = 0;
};

/// A new observer of type `Follower`, registered at an entity; null for none.
template <class Follower, class X>
Kro::Ptr<Follower> follow(Kro::Ptr<X> const& entity, ChangeCount& changes) {
  if (!entity) {
    return nullptr;
  }
  auto follower = Kro::adopt(new Follower(changes));
  follower->notifierIs(entity);
  follower->isRegisteredNotifieeIs(true);
  return follower;
}

/// The followers of a collection's members.
template <class Key, class Follower>
class MemberFollowers {
 public:
  /// The member under `key` came, or went where it is null.
  template <class X>
  void memberIs(Key const& key, Kro::Ptr<X> const& member, ChangeCount& changes) {
    if (member) {
      followers_[key] = follow<Follower>(member, changes);
    } else {
      followers_.erase(key);
    }
  }

 private:
  std::map<Key, Kro::Ptr<Follower>> followers_;
};

class AclFollower : public Vorn::VornAcl::NotifieeConst {
 public:
  explicit AclFollower(ChangeCount& changes) : changes_(changes) {}
  void onIpRuleById(Vorn::AceIndex const&) override { changes_.add(); }
  void onMacRuleById(Vorn::AceIndex const&) override { changes_.add(); }

 private:
  ChangeCount& changes_;
};

class AclsFollower : public Vorn::VornAclColl::NotifieeConst {
 public:
  explicit AclsFollower(ChangeCount& changes) : changes_(changes) {}
  void onAcl(Vorn::AclId const& id) override {
    changes_.add();
    acls_.memberIs(id, notifier()->acl(id), changes_);
  }

 private:
  ChangeCount& changes_;
  MemberFollowers<Vorn::AclId, AclFollower> acls_;
};

class NamesFollower : public Vorn::AclKeyToAclIdMapping::NotifieeConst {
 public:
  explicit NamesFollower(ChangeCount& changes) : changes_(changes) {}
  void onKeyToId(Zil::AclKey const&) override { changes_.add(); }

 private:
  ChangeCount& changes_;
};

class ChipFollower : public Vorn::RootConfig::NotifieeConst {
 public:
  explicit ChipFollower(ChangeCount& changes) : changes_(changes) {}
  void onActive() override { changes_.add(); }
  void onAction() override { changes_.add(); }
  void onVornRootKickTime() override { changes_.add(); }
  void onVornRootKick() override { changes_.add(); }
  void onInitialized() override { changes_.add(); }
  void onVornAclColl() override {
    changes_.add();
    acls_ = follow<AclsFollower>(notifier()->vornAclColl(), changes_);
  }
  void onAclKeyToAclId() override {
    changes_.add();
    names_ = follow<NamesFollower>(notifier()->aclKeyToAclId(), changes_);
  }

 private:
  ChangeCount& changes_;
  Kro::Ptr<AclsFollower> acls_;
  Kro::Ptr<NamesFollower> names_;
};

/// Follows a tree from the moment when it arrives, still empty.
class TreeFollower : public Vorn::RootConfigColl::NotifieeConst {
 public:
  explicit TreeFollower(ChangeCount& changes) : changes_(changes) {}
  void onChipRootConfig(std::uint32_t id) override {
    changes_.add();
    chips_.memberIs(id, notifier()->chipRootConfig(id), changes_);
  }
  void onChipRootConfigLastFailed(Vorn::ChipId) override { changes_.add(); }

 private:
  ChangeCount& changes_;
  MemberFollowers<std::uint32_t, ChipFollower> chips_;
};

}  // namespace Demo
