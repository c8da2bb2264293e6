// Whole systems in one process, each from one seed: a sender, up to three mirrors, connections that fill, stall, break
// at any byte and come again, random changes on one or both ends and in handlers. Whenever such a system comes to rest,
// all its trees must be equal. VORNACL_SEED=n runs that seed alone, VORNACL_OPERATIONS=n more or fewer changes.
#include <array>
#include <cstdlib>
#include <iterator>
#include <random>
#include <sstream>

#include "runtime/log/Connection.h"
#include "tests/runtime/log/Trees.h"

namespace VornTest {
namespace {

using Kro::NboAttrLog::Connection;
using Kro::NboAttrLog::Limits;

enum class Writers { sender, both, handlersToo };
char const* const writerNames[] = {"senderWrites", "bothEndsWrite", "handlersWriteToo"};

std::string const aclValues[] = {"0a", "0a", "0a", "0b", "2a"};
struct OfAnObserver : std::exception {};

/// One generator for a whole run, so that its seed tells everything.
class Random {
 public:
  explicit Random(std::uint64_t seed) : engine_(seed) {}
  std::uint32_t below(std::size_t n) { return static_cast<std::uint32_t>(engine_() % n); }
  bool chance(std::uint32_t percent) { return below(100) < percent; }
  template <class Container>
  auto& oneOf(Container& from) {
    return from[below(std::size(from))];
  }

 private:
  std::mt19937_64 engine_;
};

/// A sender, node 0, and its mirrors. Keys, names and parameters come from small sets, so that everything meets
/// everything; every rule carries a number of its own.
class System {
 public:
  System(std::uint64_t seed, Writers writers) : random_(seed), writers_(writers), nodes_(2 + random_.below(3)) {
    std::vector<Ptr<Entity>> const roots[] = {
        {Vorn::rootConfigCollFactory("all"), Vorn::rootConfigCollFactory("others")},
        {Vorn::rootConfigFactory("one", 5, 1)},
        {Vorn::vornAclCollFactory("acls")},
        {Vorn::aclKeyToAclIdMappingFactory("keys")},
        {Kro::adopt(new VornAcl(aclId(3), Acl::mac, "acl"))}};
    nodes_[0].roots = roots[random_.chance(60) ? 0 : 1 + random_.below(4)];
    for (Node& node : nodes_) {
      node.roots.resize(nodes_[0].roots.size());
      node.watch = std::make_unique<Watch>(
          node.journal, [this, &node](Entity& entity, std::string const& event) { told(node, entity, event); });
    }
    for (auto const& root : nodes_[0].roots) {
      nodes_[0].watch->watch(root);
    }
    for (std::size_t n = 1; n < nodes_.size(); ++n) {
      connect(nodes_[n]);
    }
  }
  ~System() {
    for (Node& node : nodes_) {
      close(node);
    }
  }

  /// One change and what else happens meanwhile.
  void step() {
    reactions_ = writers_ == Writers::handlersToo ? 4 : 0;
    switch (random_.below(60)) {
      case 0:
        return heal();
      case 1:
      case 2:
      case 3:
        anyMirror().blocked[random_.below(2)] = random_.chance(60);
        break;
      case 4:
        close(anyMirror());
        break;
      case 5:
      case 6: {
        Node& node = anyMirror();
        close(node);
        if (random_.chance(20)) {
          node.roots.assign(node.roots.size(), nullptr);
        }
        connect(node);
        break;
      }
      default:
        break;
    }
    Node& away = anyMirror();
    if (!away.isConnected() && random_.chance(30)) {
      changeSomewhere(away);  // in any mode: the next transfer takes that back
    }
    changeSomewhere(writers_ == Writers::sender || random_.chance(50) ? nodes_[0] : anyMirror());
    for (std::size_t i = random_.below(2 * nodes_.size()); i > 0; --i) {
      Node& node = anyMirror();
      random_.chance(60) ? take(node, random_.below(2)) : deliver(node, random_.below(2));
    }
    if (random_.chance(10)) {
      audit();
    }
  }

  /// Everything is connected and moves until nothing moves any more; then all must be equal.
  void heal() {
    reactions_ = std::min(reactions_, 2);
    drain();
    checkEqual();
    if (random_.chance(30) && !testing::Test::HasFailure()) {
      checkInPlace();
    }
  }

 private:
  /// A sender or a mirror, and the connection between the sender (side 0) and the mirror (side 1).
  struct Node {
    std::vector<Ptr<Entity>> roots;  ///< null where they have not come yet
    Journal journal;
    std::unique_ptr<Watch> watch;
    std::array<Ptr<Connection>, 2> end;
    std::array<Bytes, 2> flight;
    std::array<bool, 2> blocked{};
    std::uint32_t chunk = 1;
    bool isConnected() const { return end[0] != nullptr; }
  };

  Node& anyMirror() { return nodes_[1 + random_.below(nodes_.size() - 1)]; }

  // --- connections ---

  void connect(Node& node) {
    node.chunk = random_.chance(30) ? 4 : random_.chance(50) ? 100 : 10000;
    node.blocked = {};
    unsigned const opener = random_.below(2);
    for (unsigned side = 0; side < 2; ++side) {
      Limits limits;
      limits.bufferedBytes = random_.chance(30) ? 0 : 1U << random_.below(13);
      node.end[side] =
          Connection::create(side == opener ? Connection::Role::opener : Connection::Role::acceptor, limits);
    }
    node.end[1]->onRootIs([this, &node](Ptr<Entity> const& root) {
      for (std::size_t i = 0; i < node.roots.size(); ++i) {
        if (root->name() == nodes_[0].roots[i]->name()) {
          node.roots[i] = root;
        }
      }
      node.watch->watch(root);
    });
    for (std::size_t i = 0; i < node.roots.size(); ++i) {
      if (node.roots[i]) {
        node.end[1]->rootOffer(node.roots[i]);
      }
      Ptr<Entity> const root = nodes_[0].roots[i];
      node.end[0]->rootIs(root);
      if (random_.chance(20)) {
        using Sa = Entity::KroNboAttrLogSa;
        root->kroNboAttrLogSa(Ptr<Kro::NboAttrLog::Out const>(node.end[0]->out()))
            ->stateIs(random_.chance(50) ? Sa::deferredBit : Sa::deferredBit | Sa::forceDeferBit, true);
      }
    }
  }
  void close(Node& node) {
    for (unsigned side = 0; side < 2; ++side) {
      if (Ptr<Connection> const end = std::exchange(node.end[side], nullptr)) {
        EXPECT_EQ(end->lastError(), "");
        end->close("cut");
      }
      node.flight[side].clear();
    }
  }
  /// Bytes leave a connection for the wire.
  bool take(Node& node, unsigned side, bool always = false) {
    Ptr<Connection> const end = node.end[side];
    if (!end || (node.blocked[side] && !always)) {
      return false;
    }
    auto const bytes = end->pending();
    std::size_t const n = std::min<std::size_t>(bytes.size(), 1 + random_.below(node.chunk));
    node.flight[side].insert(node.flight[side].end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n));
    end->sent(n);
    return n != 0;
  }
  /// Bytes arrive from the wire.
  bool deliver(Node& node, unsigned side) {
    Bytes& flight = node.flight[side];
    Ptr<Connection> const end = node.end[1 - side];
    if (!end || flight.empty()) {
      return false;
    }
    auto const n = static_cast<std::ptrdiff_t>(std::min<std::size_t>(flight.size(), 1 + random_.below(node.chunk)));
    Bytes bytes(flight.begin(), flight.begin() + n);
    flight.erase(flight.begin(), flight.begin() + n);
    bool const nested = std::exchange(receiving_, true);
    for (bool again = true; again;) {
      again = false;
      try {
        end->receive(bytes);
      } catch (OfAnObserver const&) {
        bytes.clear();
        again = true;
      }
    }
    receiving_ = nested;
    return true;
  }
  void drain() {
    std::size_t rounds = 0;
    for (bool moves = true; moves && !testing::Test::HasFailure();) {
      moves = false;
      for (std::size_t n = 1; n < nodes_.size(); ++n) {
        if (!nodes_[n].isConnected()) {
          connect(nodes_[n]);
        }
        for (unsigned side = 0; side < 2; ++side) {
          moves = take(nodes_[n], side, true) || moves;
          moves = deliver(nodes_[n], side) || moves;
        }
        moves = moves || !nodes_[n].isConnected();
      }
      ASSERT_LT(++rounds, 1000000U) << "the ends never come to rest";
    }
  }

  // --- changes ---

  void changeSomewhere(Node& node) {
    if (Ptr<Entity> const root = random_.oneOf(node.roots)) {
      auto const all = everythingIn(root);
      change(node, random_.chance(50) ? all.back() : random_.oneOf(all));
    }
  }
  /// A random change of this entity.
  void change(Node& node, Ptr<Entity> const& entity) {
    static std::map<std::string, std::string> const verbsOf = {
        {"Vorn::VornAcl", "r r r r r r -r -r !r -r* m m -m -m*"},
        {"Vorn::VornAclColl", "a a a a a a -a -a !a -a*"},
        {"Vorn::AclKeyToAclIdMapping", "k: k: k: k: -k: -k: !k: -k*"},
        {"Vorn::RootConfig", "v v v -v p -p active action time kick kick kick+ initialized initialize initialize"},
        {"Vorn::RootConfigColl", "c c c c -c -c -c* !c f f f stranger -f -f* !f"}};
    std::string type;
    withType(*entity, [&](auto& typed) { type = std::remove_reference_t<decltype(typed)>::Attributes::typeName; });
    std::istringstream words(verbsOf.at(type));
    std::vector<std::string> const verbs{std::istream_iterator<std::string>(words), {}};
    std::string const verb = random_.oneOf(verbs);
    std::string const key = std::to_string(verb == "kick+" ? 0 : random_.below(4));
    std::string const second = verb == "r" || verb == "m" ? "." + std::to_string(random_.below(4)) : "";
    std::string const value = verb == "r" || verb == "kick" ? std::to_string(256 + ++now_)
                              : verb == "a"                 ? random_.oneOf(aclValues)
                                                            : std::to_string(random_.below(3));
    try {
      verb == "f" ? refer(node, dynamic_cast<RootConfigColl&>(*entity))
                  : Op(verb.back() == '*' ? verb : verb + key + second + "=" + value)(*entity);
    } catch (Kro::NameInUseException const&) {
    } catch (OfAnObserver const&) {
    }
  }
  /// To a configuration here or in another tree.
  void refer(Node& node, RootConfigColl& from) {
    Ptr<Entity> const in = random_.chance(70) ? share<Entity>(&from) : random_.oneOf(node.roots);
    if (auto const all = in ? everythingIn(in) : std::vector<Ptr<Entity>>(); all.size() > 1) {
      if (auto const target = Kro::ptrCast<RootConfig>(random_.oneOf(all))) {
        from.chipRootConfigLastFailedIs(target);
      }
    }
  }
  void told(Node& node, Entity& entity, std::string const& event) {
    if (writers_ == Writers::sender && event.find(":kick") != std::string::npos) {
      auto& config = dynamic_cast<RootConfig&>(entity);
      &node == &nodes_[0] ? noteKick(config) : receiving_ ? checkKick(config) : void();
    }
    if (reactions_ > 0 && random_.chance(20)) {
      --reactions_;
      react(node, share(&entity));
    }
  }
  /// What an observer does.
  void react(Node& node, Ptr<Entity> const& entity) {
    Node& link = &node == &nodes_[0] ? anyMirror() : node;
    unsigned const side = &node == &nodes_[0] ? 0 : 1;
    Ptr<Entity> const parent = entity->parent();
    switch (random_.below(9)) {
      case 0:
        if (std::string const place = placeOf(*entity); parent && std::isdigit(place.back()) == 0) {
          Op("-" + place.substr(place.size() - 1))(*parent);
        } else if (parent) {
          bool const isConfig = dynamic_cast<RootConfig*>(entity.get()) != nullptr;
          Op((isConfig ? "-c" : "-a") + place.substr(place.find('v') + 1))(*parent);
        }
        return;
      case 1:
      case 2:
        return change(node, entity);
      case 3:
        return change(node, parent ? parent : entity);
      case 4:
        deliver(link, 1 - side);
        return;
      case 5:
        return random_.chance(5) ? close(link) : void(link.isConnected() && link.end[side]->pending().empty());
      case 6:
        node.watch->rethrows = random_.chance(50);
        throw OfAnObserver();
      default:
        return changeSomewhere(node);
    }
  }

  // --- what must hold ---

  void audit() {
    for (Node const& node : nodes_) {
      for (auto const& root : node.roots) {
        ASSERT_EQ(root ? root->auditErrors(9) : 0, 0U);
      }
    }
  }
  void checkEqual() {
    audit();
    for (std::size_t n = 1; n < nodes_.size() && !testing::Test::HasFailure(); ++n) {
      for (auto const& end : nodes_[n].end) {
        ASSERT_EQ(end->state(), Connection::State::inSync) << end->lastError();
        EXPECT_TRUE(end->demuxer().isQueueEmpty());
        EXPECT_EQ(end->stats().dirtyMarks, 0U);
      }
      for (std::size_t i = 0; i < nodes_[n].roots.size(); ++i) {
        ASSERT_TRUE(nodes_[n].roots[i]);
        ASSERT_EQ(Dump::of(*nodes_[0].roots[i], nodes_[0].roots), Dump::of(*nodes_[n].roots[i], nodes_[n].roots))
            << "mirror " << n;
      }
    }
  }
  /// What is sent again changes no equal mirror: same objects, nobody told.
  void checkInPlace() {
    reactions_ = 0;
    std::vector<Ptr<Entity>> before[2];
    for (auto& all : before) {  // once to lose the references to configurations that stand nowhere any more
      for (std::size_t n = 1; n < nodes_.size(); ++n) {
        close(nodes_[n]);
        nodes_[n].journal.take();
      }
      drain();
      checkEqual();
      for (Node const& node : nodes_) {
        for (auto const& root : node.roots) {
          auto const more = everythingIn(root);
          all.insert(all.end(), more.begin(), more.end());
        }
      }
    }
    EXPECT_EQ(before[0], before[1]);
    for (std::size_t n = 1; n < nodes_.size(); ++n) {
      std::istringstream events(nodes_[n].journal.take());
      // A reference into another tree is swept, and follows when its target is announced.
      for (std::string event; events >> event;) {
        EXPECT_NE(event.find("c:failed("), std::string::npos) << event;
      }
    }
  }

  // A kick comes behind everything that was changed below its configuration before it was given.

  using Stamps = std::map<std::string, std::uint32_t>;

  static Stamps stampsIn(RootConfig& config) {
    Stamps stamps;
    if (auto const acls = config.vornAclColl()) {
      for (auto& acl : acls->aclMap()) {
        for (auto const& record : acl.ipRuleByIdMap()) {
          stamps[placeOf(acl) + "/" + textOf(record.key())] = numberOf(record.value());
        }
      }
    }
    return stamps;
  }
  void noteKick(RootConfig& config) { kicks_[config.vornRootKick()] = {share(&config), stampsIn(config)}; }
  void checkKick(RootConfig& config) {
    auto const given = kicks_.find(config.vornRootKick());
    if (given == kicks_.end()) {
      return;
    }
    Stamps const here = stampsIn(config), now = stampsIn(*given->second.first), then = given->second.second;
    for (auto const& [place, stamp] : here) {
      auto const old = then.find(place);
      EXPECT_GE(stamp, old != then.end() ? old->second : given->first) << place << " is older than the kick";
    }
    for (auto const& [place, stamp] : then) {
      auto const current = now.find(place);
      EXPECT_TRUE(here.count(place) != 0 || current == now.end() || current->second != stamp)
          << place << " comes behind the kick";
    }
  }

  Random random_;
  Writers writers_;
  std::vector<Node> nodes_;
  std::uint32_t now_ = 0;
  int reactions_ = 0;
  bool receiving_ = false;
  std::map<std::uint32_t, std::pair<Ptr<RootConfig>, Stamps>> kicks_;
};

std::uint64_t fromEnvironment(char const* name, std::uint64_t otherwise) {
  char const* const text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

class RandomTest : public testing::TestWithParam<Writers> {};

TEST_P(RandomTest, EverythingIsEqualAfterEveryHeal) {
  constexpr std::uint64_t perSeed = 1000;
  std::uint64_t const only = fromEnvironment("VORNACL_SEED", 0);
  std::uint64_t const seeds = only != 0 ? 1 : (fromEnvironment("VORNACL_OPERATIONS", 66000) + perSeed - 1) / perSeed;
  for (std::uint64_t i = 0; i < seeds && !HasFailure(); ++i) {
    SCOPED_TRACE("VORNACL_SEED=" + std::to_string(only != 0 ? only : 1 + i));
    System system(only != 0 ? only : 1 + i, GetParam());
    std::uint64_t n = 0;
    for (; n < perSeed && !HasFailure(); ++n) {
      system.step();
    }
    system.heal();
    EXPECT_FALSE(HasFailure()) << "at change " << n;
  }
}

INSTANTIATE_TEST_SUITE_P(Writers, RandomTest, testing::Values(Writers::sender, Writers::both, Writers::handlersToo),
                         [](auto const& of) { return writerNames[static_cast<std::size_t>(of.param)]; });

}  // namespace
}  // namespace VornTest
