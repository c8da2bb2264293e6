// What IP and MAC rules share: a filter, the action on a match, and whether matches are logged and counted.
#pragma once

#include "Vorn/Names.h"
#include "platform/Acl/Action.h"

namespace Vorn {

/// The text of a rule: "(filter=FILTER, action=ACTION, log=BOOL)"; `count` is not printed.
template <class X>
Kro::String8 toStrHelper(X const* rule) {
  std::string text = "(filter=";
  text += rule->filter().toStr().view();
  text += ", action=";
  text += stringValue(rule->action()).view();
  text += ", log=";
  text += rule->log() ? "true" : "false";
  return Kro::String8(std::string_view(text += ')'));
}

/// Base of the rule type `X`, whose filter is an `F`. Every attribute is settable and none has a constraint of its own;
/// a filter is not checked again when it is assigned whole.
template <class X, class F>
class RuleConfig : public Kro::Value<X> {
 public:
  F const& filter() const { return filter_; }
  void filterIs(F const& v) { filter_ = v; }

  Acl::Action action() const { return action_; }
  void actionIs(Acl::Action v) { action_ = v; }

  bool log() const { return log_; }
  void logIs(bool v) { log_ = v; }

  bool count() const { return count_; }
  void countIs(bool v) { count_ = v; }

  /// The text people read.
  Kro::String8 toStr() const { return toStrHelper(static_cast<X const*>(this)); }
  bool operator==(RuleConfig const&) const = default;

  struct Attributes;

 private:
  F filter_;
  Acl::Action action_{};
  bool log_ = false;
  bool count_ = false;
};

template <class X, class F>
struct RuleConfig<X, F>::Attributes {
  using T = RuleConfig;
  static constexpr std::string_view typeName = X::kroTypeName;
  static constexpr auto all = std::tuple{
      Kro::stored(2, "filter", &T::filter_, &T::filterIs),
      Kro::stored(3, "action", &T::action_, &T::actionIs),
      Kro::stored(4, "log", &T::log_, &T::logIs),
      Kro::stored(5, "count", &T::count_, &T::countIs),
      Kro::function(6, "toStr", &T::toStr),
      Kro::function(7, "hash", &T::hash),
  };
};

}  // namespace Vorn
