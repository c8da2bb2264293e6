// What follows one entity in a tree: an observer that knows what it has told. Included by `EntityOfOps.h`.
#pragma once

#include <bitset>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "runtime/entity/ChangeObserver.h"
#include "runtime/tree/TreeFollower.h"

namespace Kro {

namespace detail {

template <class Key>
struct KeyHash {
  std::size_t operator()(Key const& key) const { return hashOfKey(key); }
};

/// What was told of one attribute.
template <class D, AttributeKind kind = D::kind>
struct Told {};
template <class D>
struct Told<D, AttributeKind::scalar> {
  typename D::Type value{};
};
template <class D>
struct Told<D, AttributeKind::counter> : Told<D, AttributeKind::scalar> {};
template <class D>
struct Told<D, AttributeKind::child> {
  TreeNodeHandle node;
};
template <class D>
struct Told<D, AttributeKind::values> {
  typename D::MapType values;
  std::optional<typename D::MapType::Iterator> rest;  ///< at the end: what is still to be told as removed
};
template <class D>
struct Told<D, AttributeKind::members> {
  std::unordered_map<typename D::Key, TreeNodeHandle, KeyHash<typename D::Key>> nodes;
};
template <class D>
struct Told<D, AttributeKind::references> {
  std::unordered_map<typename D::Key, Ptr<typename D::Element const>, KeyHash<typename D::Key>> targets;
};

template <class All>
struct ToldOf;
template <class... D>
struct ToldOf<std::tuple<D...>> {
  using Type = std::tuple<Told<std::remove_cv_t<D>>...>;
};

}  // namespace detail

/// Follows an `X`: compares it with what was told, attribute by attribute and key by key, and tells what differs. What
/// was told is noted before the callable runs, so that whatever that does is compared with the truth.
template <class X>
class TreeNodeOf final : public ChangeObserver<X>, public TreeNode {
 public:
  TreeNodeOf(Ptr<TreeFollower> follower, Ptr<X> const& entity) : follower_(std::move(follower)), entity_(entity) {
    path_ = entity->fullName();
    forEachTold([&](auto const& d) {
      follows_[positionOf<std::remove_cvref_t<decltype(d)>>] = follower_->selects(*entity, d.id);
    });
    this->notifierIs(entity);
    this->isRegisteredNotifieeIs(true);
  }

  PtrInterface& counted() override { return *this; }
  Entity& entity() override { return *entity_; }

  void refresh() override {
    forEachTold([&](auto const& d) {
      if (follows(d)) {
        refreshAttribute(d);
      }
    });
    isComplete_ = true;
  }

  void end() override {
    isOver_ = true;
    this->isRegisteredNotifieeIs(false);
    forEachTold([&](auto const& d) { endAttribute(d); });
  }

  bool isOver() const override { return isOver_; }

  void onChange(AttributeId id, void const* key) override {
    Ptr<TreeNodeOf> const held = share(this);
    auto const step = [&](auto const& d, auto const&... at) {
      if (follows(d)) {
        update(d, at...);
      }
    };
    follower_->run([&] { withChange<X>(id, key, step, step); });
  }
  /// Lets pass what `TreeFollower::run` did.
  void onNotificationException(AttributeId) override { throw; }

 private:
  using Kind = TreeChange::Kind;

  template <class F>
  static void forEachTold(F const& f) {
    forEachEntityAttribute<X>([&](auto const& d) {
      if constexpr (isTold<std::remove_cvref_t<decltype(d)>>) {
        f(d);
      }
    });
  }
  template <class D>
  static constexpr std::size_t positionOf = D::id - firstEntityAttributeId;
  template <class D>
  bool follows(D const&) const {
    return !isOver_ && follows_[positionOf<D>];
  }
  template <class D>
  auto& told(D const&) {
    return std::get<positionOf<D>>(told_);
  }
  bool remembersValues() const { return follower_->options().remembersValues; }

  template <class D>
  void tell(D const& d, Kind kind, TreeValue key, TreeValue before, TreeValue now, Ptr<Entity const> target = {}) {
    follower_->tell({kind, *entity_, path_, D::id, d.name, key, before, now, std::move(target)});
  }

  // --- attributes without key ---

  template <class D>
  void update(D const& d) {
    if constexpr (D::kind == AttributeKind::child) {
      updateChild(d);
    } else if (auto const now = (*entity_).*(d.field); !(now == told(d).value)) {
      auto const before = std::exchange(told(d).value, now);
      tell(d, Kind::changed, {}, TreeValue(before), TreeValue(now));
    }
  }

  template <class D>
  void updateChild(D const& d) {
    auto const& field = (*entity_).*(d.field);
    TreeNodeHandle& place = told(d).node;
    if (isFollowed(place, field)) {
      return;
    }
    if (TreeNodeHandle const old = place) {
      endNode(d, old, {}, [&] { place = {}; });
    }
    Ptr<typename D::Type> const now = field;
    if (!isOver_ && !place && now && follower_->follows(*now)) {
      place = TreeNodeHandle(now->kroNewTreeNode(*follower_));
      begin(d, place, {});
    }
  }
  /// Whether a place needs nothing done: it follows `now`, or is about to be looked at again.
  static bool isFollowed(TreeNodeHandle const& place, Ptr<Entity const> const& now) {
    return place ? place.entity() == now.get() || place->isOver() : !now;
  }
  template <class D>
  void begin(D const& d, TreeNodeHandle node, TreeValue key) {
    if (node) {
      tell(d, Kind::added, key, {}, {}, share(node.entity()));
      node->refresh();
    }
  }
  /// Ends a node and takes it out of its place by `clear`. What is told meanwhile finds the place taken, so that what
  /// comes there is told behind what goes.
  template <class D, class Clear>
  void endNode(D const& d, TreeNodeHandle node, TreeValue key, Clear const& clear) {
    node->end();
    if (node->takeGoing()) {
      clear();
      tell(d, Kind::removed, key, {}, {}, share(node.entity()));
    }
  }

  // --- collections ---

  /// `unknown` is what a value is told as whose value before is not remembered.
  template <class D>
  void update(D const& d, typename D::Key const& key, Kind unknown = Kind::changed) {
    if constexpr (D::kind == AttributeKind::values) {
      if (auto const* const record = ((*entity_).*(d.field)).find(key)) {
        set(d, key, record->value(), unknown);
      } else {
        remove(d, key);
      }
    } else if constexpr (D::kind == AttributeKind::members) {
      updateMember(d, key);
    } else {
      updateReference(d, key);
    }
  }

  template <class D>
  void set(D const& d, typename D::Key const& key, typename D::Element now, Kind unknown) {
    if (!remembersValues()) {
      tell(d, unknown, TreeValue(key), {}, TreeValue(now));
      return;
    }
    auto& values = told(d).values;
    auto const place = values.locate(key);
    if (auto* const record = place.member(); record == nullptr) {
      values.newMember(key, now, place);
      tell(d, Kind::added, TreeValue(key), {}, TreeValue(now));
    } else if (!(record->value() == now)) {
      typename D::Element const before = record->value();
      record->valueIs(now);
      tell(d, Kind::changed, TreeValue(key), TreeValue(before), TreeValue(now));
    }
  }
  template <class D>
  void remove(D const& d, typename D::Key const& key) {
    if (!remembersValues()) {
      tell(d, Kind::removed, TreeValue(key), {}, {});
    } else if (auto* const record = told(d).values.find(key)) {
      auto const held = told(d).values.memberDel(record);
      tell(d, Kind::removed, TreeValue(key), TreeValue(held->value()), {});
    }
  }

  template <class D>
  void updateMember(D const& d, typename D::Key const& key) {
    auto& map = (*entity_).*(d.field);
    auto& nodes = told(d).nodes;
    if (auto const at = nodes.find(key); at != nodes.end()) {
      TreeNodeHandle const old = at->second;
      if (isFollowed(old, map[key])) {
        return;
      }
      endNode(d, old, TreeValue(key), [&] { nodes.erase(key); });
    }
    Ptr<typename D::Element> const now = map[key];
    if (!isOver_ && now && !nodes.contains(key) && follower_->follows(*now)) {
      TreeNodeHandle const created(now->kroNewTreeNode(*follower_));
      nodes.emplace(key, created);
      begin(d, created, TreeValue(key));
    }
  }

  template <class D>
  void updateReference(D const& d, typename D::Key const& key) {
    auto const* const record = ((*entity_).*(d.field)).find(key);
    Ptr<typename D::Element const> const now = record != nullptr ? record->referenced() : nullptr;
    auto& targets = told(d).targets;
    auto const at = targets.find(key);
    Ptr<typename D::Element const> const before = at != targets.end() ? at->second : nullptr;
    if (before == now) {
      return;
    }
    if (now) {
      targets.insert_or_assign(key, now);
    } else {
      targets.erase(at);
    }
    tell(d, !before ? Kind::added : now ? Kind::changed : Kind::removed, TreeValue(key), {}, {}, now ? now : before);
  }

  // --- a whole attribute ---

  template <class D>
  void refreshAttribute(D const& d) {
    if constexpr (!isKeyed<D>) {
      update(d);
    } else if (D::kind != AttributeKind::values || remembersValues() || !isComplete_) {
      for (auto const& key : keysTold(d)) {
        updateUnlessOver(d, key);
      }
      for (typename D::MapType::Iterator at((*entity_).*(d.field)); at; at.advance()) {
        updateUnlessOver(d, keyOf<D>(*at));
      }
    }
  }
  template <class D>
  void updateUnlessOver(D const& d, typename D::Key key) {  // a copy: the callable may remove the record
    if (!isOver_) {
      update(d, key, Kind::added);
    }
  }

  template <class D>
  std::vector<typename D::Key> keysTold(D const& d) {
    std::vector<typename D::Key> keys;
    if constexpr (D::kind == AttributeKind::values) {
      for (auto const& record : told(d).values) {
        keys.push_back(record.key());
      }
    } else if constexpr (D::kind == AttributeKind::members) {
      for (auto const& [key, node] : told(d).nodes) {
        keys.push_back(key);
      }
    } else {
      for (auto const& [key, target] : told(d).targets) {
        keys.push_back(key);
      }
    }
    return keys;
  }

  /// Tells what was told as removed. Takes no memory.
  template <class D>
  void endAttribute(D const& d) {
    if constexpr (D::kind == AttributeKind::child) {
      if (TreeNodeHandle& place = told(d).node) {
        endNode(d, place, {}, [&] { place = {}; });
      }
    } else if constexpr (D::kind == AttributeKind::values) {
      endValues(d);
    } else if constexpr (D::kind == AttributeKind::members) {
      for (auto& nodes = told(d).nodes; !nodes.empty();) {
        auto const [key, node] = *nodes.begin();
        endNode(d, node, TreeValue(key), [&, at = key] { nodes.erase(at); });
      }
    } else if constexpr (D::kind == AttributeKind::references) {
      for (auto& targets = told(d).targets; !targets.empty();) {
        auto const entry = targets.extract(targets.begin());
        tell(d, Kind::removed, TreeValue(entry.key()), {}, {}, entry.mapped());
      }
    }
  }
  template <class D>
  void endValues(D const& d) {
    if (!follows_[positionOf<D>] || follower_->isOver()) {
      return;
    }
    auto& rest = told(d).rest;
    if (!rest) {
      rest.emplace(remembersValues() ? told(d).values : (*entity_).*(d.field));
    }
    while (*rest) {
      auto const record = rest->member();
      rest->advance();
      tell(d, Kind::removed, TreeValue(record->key()), remembersValues() ? TreeValue(record->value()) : TreeValue(),
           {});
    }
  }

  Ptr<TreeFollower> follower_;
  Ptr<X> entity_;
  String8 path_;
  std::bitset<entityAttributeCount<X>> follows_;
  bool isOver_ = false;
  bool isComplete_ = false;  ///< what was there at the beginning was told
  typename detail::ToldOf<std::remove_cv_t<decltype(X::Attributes::all)>>::Type told_;
};

}  // namespace Kro
