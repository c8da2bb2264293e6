// Observers that write down what they are told and do what a test gives them to do; steps that are measured.
#pragma once

#include <functional>
#include <ostream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "VornRootConfig/RootConfigColl.h"

namespace VornTest {

/// What observers were told, in order, as "A:ip(1.0.0) B:ip(1.0.0)"; a report of an exception as "A:!261".
class Journal {
 public:
  void add(std::string const& observer, std::string const& event) {
    text_ += (text_.empty() ? "" : " ") + observer + ':' + event;
  }
  void addReport(std::string const& observer, Kro::AttributeId id) {
    add(observer, "!");
    text_ += std::to_string(id);
  }
  std::string take() { return std::exchange(text_, {}); }
  /// The last word of it.
  std::string last() const { return text_.substr(text_.rfind(' ') + 1); }

 private:
  std::string text_;
};

/// An observer with a name. Without a journal it only counts, and allocates nothing.
template <class Base>
class Spy : public Base {
 public:
  explicit Spy(Journal* journal = nullptr, std::string name = {}) : journal_(journal), name_(std::move(name)) {}

  std::function<void()> act;     ///< done in every handler
  std::function<void()> report;  ///< done in every report of an exception
  std::size_t calls = 0;

  void onZeroReferences() override {
    told([] { return "zero"; });
  }
  void onNotificationException(Kro::AttributeId id) override {
    if (journal_ != nullptr) {
      journal_->addReport(name_, id);
    }
    if (auto const now = report) {
      now();
    }
  }

 protected:
  template <class Event>
  void told(Event event) {
    ++calls;
    if (journal_ != nullptr) {
      journal_->add(name_, event());
    }
    if (auto const now = act) {
      now();
    }
  }
  template <class Key>
  void told(char const* what, Key const& key) {
    told([&] {
      std::ostringstream text;
      text << what << '(' << key << ')';
      return text.str();
    });
  }

 private:
  Journal* journal_;
  std::string name_;
};

class AclSpy : public Spy<Vorn::VornAcl::Notifiee> {
 public:
  using Spy::Spy;
  void onIpRuleById(Vorn::AceIndex const& key) override { told("ip", key); }
  void onIpRuleByIdkroImmediate() override { told("ipImmediate", ""); }
  void onIpRuleById() override { told("ip", ""); }
  void onMacRuleById(Vorn::AceIndex const& key) override { told("mac", key); }
  void onMacRuleByIdkroImmediate() override { told("macImmediate", ""); }
  void onMacRuleById() override { told("mac", ""); }
};

class AclCollSpy : public Spy<Vorn::VornAclColl::Notifiee> {
 public:
  using Spy::Spy;
  void onAcl(Vorn::AclId const& key) override { told("acl", key); }
  void onAclkroImmediate() override { told("aclImmediate", ""); }
  void onAcl() override { told("acl", ""); }
};

class MappingSpy : public Spy<Vorn::AclKeyToAclIdMapping::Notifiee> {
 public:
  using Spy::Spy;
  void onKeyToId(Zil::AclKey const& key) override { told("key", key); }
  void onKeyToIdkroImmediate() override { told("keyImmediate", ""); }
  void onKeyToId() override { told("key", ""); }
};

class ConfigSpy : public Spy<Vorn::RootConfig::Notifiee> {
 public:
  using Spy::Spy;
  void onActive() override { told("active"); }
  void onVornAclColl() override { told("aclColl"); }
  void onAclKeyToAclId() override { told("mapping"); }
  void onAction() override { told("action"); }
  void onVornRootKickTime() override { told("time"); }
  void onVornRootKick() override { told("kick"); }
  void onInitialized() override { told("initialized"); }

 private:
  void told(char const* what) {
    Spy::told([&] { return std::string(what); });
  }
};

class ConfigCollSpy : public Spy<Vorn::RootConfigColl::Notifiee> {
 public:
  using Spy::Spy;
  void onChipRootConfig(std::uint32_t key) override { told("config", key); }
  void onChipRootConfigkroImmediate() override { told("configImmediate", ""); }
  void onChipRootConfig() override { told("config", ""); }
  void onChipRootConfigLastFailed(Vorn::ChipId key) override { told("failed", key); }
  void onChipRootConfigLastFailedkroImmediate() override { told("failedImmediate", ""); }
  void onChipRootConfigLastFailed() override { told("failed", ""); }
};

/// How much the counters of an entity move.
struct Cost {
  std::uint32_t mutations = 0;
  std::uint32_t reads = 0;
  friend bool operator==(Cost const&, Cost const&) = default;
  friend std::ostream& operator<<(std::ostream& out, Cost const& cost) {
    return out << cost.mutations << " mutations, " << cost.reads << " reads";
  }
};

template <class Action>
Cost costOf(Kro::Entity const& entity, Action const& action) {
  Cost const before{entity.mutationCount(), entity.readCount()};
  action();
  return {entity.mutationCount() - before.mutations, entity.readCount() - before.reads};
}

/// One operation on an entity: what it costs there, and what the observers are told.
struct Step {
  char const* what;
  std::function<void()> act;
  Cost cost;
  std::string told;
};

/// Every object that a test makes must be gone when its fixture is.
class EntityTest : public testing::Test {
 protected:
  EntityTest() { Kro::ptrifTrackOn_ = 1; }
  ~EntityTest() override {
    EXPECT_EQ(Kro::PtrTrack::live(), liveBefore_) << "leaked or destroyed twice";
    Kro::ptrifTrackOn_ = 0;
  }

  /// A registered observer of `entity`.
  template <class S, class X>
  Kro::Ptr<S> observe(Kro::Ptr<X> const& entity, std::string name, std::function<void()> act = {}) {
    auto spy = Kro::adopt(new S(&journal, std::move(name)));
    spy->isRegisteredNotifieeIs(true);
    spy->notifierIs(entity);
    spy->act = std::move(act);
    return spy;
  }
  /// One that does not keep the entity alive.
  template <class S, class X>
  Kro::Ptr<S> observeWeakly(Kro::Ptr<X> const& entity, std::string name, std::function<void()> act = {}) {
    auto spy = observe<S>(entity, std::move(name), std::move(act));
    spy->isWeakReferenceIs(true);
    return spy;
  }
  void run(Kro::Entity& entity, std::vector<Step> const& steps) {
    for (Step const& step : steps) {
      SCOPED_TRACE(step.what);
      EXPECT_EQ(costOf(entity, step.act), step.cost);
      EXPECT_EQ(journal.take(), step.told);
      EXPECT_EQ(entity.auditErrors(9), 0U);
    }
  }

  Journal journal;

 private:
  std::size_t liveBefore_ = Kro::PtrTrack::live();
};

}  // namespace VornTest
