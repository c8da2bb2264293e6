// Each attribute that is told, of each entity type of the model, made from the lists: a change of it reaches an
// observer and a reflection object, and through a connection those of the mirror, each once.
#include <concepts>
#include <map>

#include <gtest/gtest.h>

#include "VornAcl.h"
#include "runtime/entity/ChangeObserver.h"
#include "tests/Samples.h"

namespace {

using Kro::AttributeId;
using Kro::Ptr;
using Kro::NboAttrLog::Connection;

using Told = std::map<AttributeId, int>;

template <class X>
struct Listener final : Kro::ChangeObserver<X> {
  explicit Listener(Ptr<X> const& entity) {
    this->notifierIs(entity);
    this->isRegisteredNotifieeIs(true);
  }
  void onChange(AttributeId id, void const*) override { ++told[id]; }
  Told told;
};

template <class X>
struct Hearer final : X::GenericIf_ {
  explicit Hearer(Ptr<X> const& entity) : X::GenericIf_(entity, false) {}
  void onAttribute(AttributeId id, Ptr<Kro::GenericIf> const&) override { ++told[id]; }
  void onAttribute(AttributeId id) override { ++told[id]; }
  Told told;
};

template <class X, class R, class... P>
void createIn(X& entity, R (X::*create)(P...)) {
  (entity.*create)(std::remove_cvref_t<P>()...);
}

/// Changes one attribute of an entity once.
template <class X, class D>
void change(X& entity, D const& d, Ptr<Vorn::RootConfig> const& target) {
  using Kro::AttributeKind;
  if constexpr (D::kind == AttributeKind::child) {
    (entity.*(d.set))("another");
  } else if constexpr (D::kind == AttributeKind::values) {
    (entity.*(d.set))(typename D::Key(), typename D::Element());
  } else if constexpr (D::kind == AttributeKind::members) {
    createIn(entity, d.create);
  } else if constexpr (D::kind == AttributeKind::references) {
    (entity.*(d.set))(target);
  } else if constexpr (std::floating_point<typename D::Type>) {
    (entity.*(d.set))((entity.*(d.get))() + 1);
  } else {
    for (auto const& sample : VornTest::samplesOf<typename D::Type>()) {
      if (!(sample == (entity.*(d.get))())) {
        (entity.*(d.set))(sample);
        return;
      }
    }
  }
}

class EveryAttribute : public ::testing::Test {
 protected:
  void move() {
    for (auto bytes = source->pending(); !bytes.empty(); bytes = source->pending()) {
      mirror->receive(bytes);
      source->sent(bytes.size());
    }
  }

  template <class X>
  void isTold(Ptr<X> const& entity, Ptr<Vorn::RootConfig> const& target) {
    SCOPED_TRACE(X::Attributes::typeName);
    ++types;
    auto const there = Kro::detail::Argument<Ptr<X>>::as(Kro::entityAtPath(arrived, entity->fullName()).get(), "");
    auto const here = Kro::adopt(new Listener<X>(entity));
    auto const mirrored = Kro::adopt(new Listener<X>(there));
    auto const reflected = Kro::adopt(new Hearer<X>(entity));
    reflected->isRegisteredNotifieeIs(true);
    Told expected;
    Kro::forEachEntityAttribute<X>([&](auto const& d) {
      if constexpr (Kro::isTold<std::remove_cvref_t<decltype(d)>>) {
        change(*entity, d, target);
        move();
        ++expected[d.id];
        EXPECT_EQ(here->told, expected) << d.name;
        EXPECT_EQ(mirrored->told, expected) << d.name;
        EXPECT_EQ(reflected->told, expected) << d.name;
      }
    });
  }

  Ptr<Connection> source = Connection::create(Connection::Role::opener);
  Ptr<Connection> mirror = Connection::create(Connection::Role::acceptor);
  Ptr<Kro::Entity> arrived;
  std::size_t types = 0;
};

TEST_F(EveryAttribute, ReachesEachObserverOnce) {
  auto const coll = Vorn::rootConfigCollFactory("all");
  mirror->onRootIs([this](Ptr<Kro::Entity> const& root) { arrived = root; });
  source->rootIs(coll);
  auto const chip = coll->chipRootConfigIs(7, 1);
  auto const acls = chip->vornAclCollIs("acls");
  auto const mapping = chip->aclKeyToAclIdIs("names");
  auto const acl = acls->aclIs({Vorn::ipv4PAcl, 7, Acl::in}, Acl::ip, "edge");
  move();
  isTold(acl, chip);
  isTold(mapping, chip);
  isTold(acls, chip);
  isTold(chip, chip);
  isTold(coll, chip);
  using All = Kro::DerivedTypes<Kro::Entity, decltype(Vorn::kroModel(nullptr))>;
  EXPECT_EQ(types, std::tuple_size_v<All>) << "an entity type of the model is missing here";
}

}  // namespace
