// Whole systems in one process, each from one seed: a sender, up to three mirrors, connections that fill, stall, break
// at any byte and come again, random changes on one or both ends and in handlers. Whenever such a system comes to rest,
// all its trees must be equal. VORNACL_SEED=n runs that seed, VORNACL_OPERATIONS=n more or fewer changes from it on.
#include <cstdlib>
#include <iterator>
#include <random>

#include "tests/runtime/log/Harness.h"

namespace VornTest {
namespace {

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
      node.watch = std::make_unique<Watch>(node.journal,
                                           [this, &node](Entity& entity, std::string const&) { told(node, entity); });
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
    std::uint32_t const event = random_.below(60);
    Node& node = anyMirror();
    if (event == 0) {
      return heal();
    }
    if (event <= 3) {
      node.blocked[random_.below(2)] = random_.chance(60);
    } else if (event <= 6) {
      close(node);
      if (random_.chance(20)) {
        node.roots.assign(node.roots.size(), nullptr);
      }
      if (event > 4) {
        connect(node);
      }
    }
    if (node.link && event <= 12) {
      mute(node, random_.chance(50) ? S : M);
    }
    Node& away = anyMirror();
    if (!away.link && random_.chance(30)) {
      changeSomewhere(away);  // in any mode: the next transfer takes that back
    }
    changeSomewhere(writers_ == Writers::sender || random_.chance(50) ? nodes_[0] : anyMirror());
    for (std::size_t i = random_.below(2 * nodes_.size()); i > 0; --i) {
      Node& busy = anyMirror();
      Side const side = random_.chance(50) ? S : M;
      random_.chance(60) ? take(busy, side) : deliver(busy, side);
    }
    if (random_.chance(10)) {
      audit();
    }
  }

  /// Everything is connected and moves until nothing moves any more; then all must be equal.
  void heal() {
    reactions_ = std::min(reactions_, 2);
    for (std::size_t n = 1; n < nodes_.size(); ++n) {
      for (Side const side : {S, M}) {
        if (nodes_[n].link) {
          mute(nodes_[n], side, false);
        }
      }
    }
    drain();
    checkEqual();
    if (random_.chance(30) && !testing::Test::HasFailure()) {
      checkInPlace();
    }
  }

 private:
  /// A sender or a mirror, and the connection between the two.
  struct Node {
    std::vector<Ptr<Entity>> roots;  ///< null where they have not come yet
    Journal journal;
    std::unique_ptr<Watch> watch;
    std::shared_ptr<Link> link;  ///< of a mirror
    Side sender = S;
    bool blocked[2] = {false, false};
    std::uint32_t chunk = 1;
  };

  Node& anyMirror() { return nodes_[1 + random_.below(nodes_.size() - 1)]; }

  // --- connections ---

  /// Silences the adapter of a random entity at one end, or all of them no more.
  void mute(Node& node, Side side, bool silence = true) {
    auto const& out = (*node.link)[side].out();
    for (auto const& root : side == node.sender ? nodes_[0].roots : node.roots) {
      for (auto const& entity : root ? everythingIn(root) : std::vector<Ptr<Entity>>()) {
        auto const sa = entity->kroNboAttrLogSa(Ptr<Kro::NboAttrLog::Out const>(out));
        if (sa && (!silence || random_.chance(10))) {
          sa->hasNotificationActiveIs(!silence || random_.chance(30));
          sa->notifierIs(silence && random_.chance(30) ? nullptr : entity);
        }
      }
    }
  }
  Limits limits() {
    Limits limits;
    limits.bufferedBytes = random_.chance(30) ? 0 : 1U << random_.below(13);
    return limits;
  }
  void connect(Node& node) {
    node.chunk = random_.chance(30) ? 4 : random_.chance(50) ? 100 : 10000;
    node.blocked[S] = node.blocked[M] = false;
    node.sender = random_.chance(50) ? S : M;
    node.link = std::make_shared<Link>(limits(), limits());
    node.link->reads = writers_ == Writers::sender;
    Ptr<LogConnection> const from = node.link->ends[node.sender], to = node.link->ends[other(node.sender)];
    to->onRootIs([this, &node](Ptr<Entity> const& root) {
      for (std::size_t i = 0; i < node.roots.size(); ++i) {
        if (root->name() == nodes_[0].roots[i]->name()) {
          node.roots[i] = root;
        }
      }
      node.watch->watch(root);
    });
    for (std::size_t i = 0; i < node.roots.size(); ++i) {
      if (node.roots[i]) {
        to->rootOffer(node.roots[i]);
      }
      Ptr<Entity> const root = nodes_[0].roots[i];
      from->rootIs(root);
      if (random_.chance(20)) {
        unsigned const deferred = Sa::deferredBit | (random_.chance(50) ? Sa::forceDeferBit : 0U);
        root->kroNboAttrLogSa(Ptr<Kro::NboAttrLog::Out const>(from->out()))->stateIs(deferred, true);
      }
    }
  }
  void close(Node& node) {
    if (auto const link = std::exchange(node.link, nullptr)) {
      EXPECT_EQ(link->error(S) + link->error(M), "");
      (*link)[S].close("cut");
      (*link)[M].close("cut");
    }
  }
  /// Bytes leave a connection for the wire.
  bool take(Node& node, Side side, bool always = false) {
    auto const link = node.link;
    return link && (always || !node.blocked[side]) && link->pull(side, 1 + random_.below(node.chunk));
  }
  /// Bytes arrive from the wire.
  bool deliver(Node& node, Side side) {
    auto const link = node.link;
    bool moves = false;
    std::size_t most = 1 + random_.below(node.chunk);
    for (bool again = link != nullptr; again;) {
      try {
        moves = link->deliver(side, most) || moves;
        again = false;
      } catch (OfAnObserver const&) {
        most = 0;
        moves = true;
      }
    }
    return moves;
  }
  void drain() {
    std::size_t rounds = 0;
    for (bool moves = true; moves && !testing::Test::HasFailure();) {
      moves = false;
      for (std::size_t n = 1; n < nodes_.size(); ++n) {
        if (!nodes_[n].link) {
          connect(nodes_[n]);
        }
        for (Side const side : {S, M}) {
          moves = take(nodes_[n], side, true) || moves;
          moves = deliver(nodes_[n], side) || moves;
        }
        moves = moves || !nodes_[n].link;
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
    std::string const value = verb == "r" || verb == "kick" ? std::to_string(++now_ % 256)
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
    Ptr<Entity> const other = random_.oneOf(node.roots);
    auto const all = everythingIn(other && random_.chance(30) ? other : share<Entity>(&from));
    if (auto const target = Kro::ptrCast<RootConfig>(random_.oneOf(all))) {
      from.chipRootConfigLastFailedIs(target);
    }
  }
  void told(Node& node, Entity& entity) {
    if (reactions_ > 0 && random_.chance(20)) {
      --reactions_;
      react(node, share(&entity));
    }
  }
  /// What an observer does.
  void react(Node& node, Ptr<Entity> const& entity) {
    Node& mirror = &node == &nodes_[0] ? anyMirror() : node;
    Side const side = &node == &nodes_[0] ? mirror.sender : other(mirror.sender);
    Ptr<Entity> const parent = entity->parent();
    std::uint32_t const what = random_.below(9);
    if (what == 0 && parent) {
      std::string const place = placeOf(*entity);
      char const* const verb = dynamic_cast<RootConfig*>(entity.get()) != nullptr ? "-c" : "-a";
      Op(std::isdigit(place.back()) == 0 ? "-" + place.substr(place.size() - 1)
                                         : verb + place.substr(place.find('v') + 1))(*parent);
    } else if (what <= 3) {
      change(node, what == 3 && parent ? parent : entity);
    } else if (what == 4) {
      deliver(mirror, other(side));
    } else if (what == 5) {
      random_.chance(5) ? close(mirror) : void(mirror.link && (*mirror.link)[side].pending().empty());
    } else if (what == 6) {
      node.watch->rethrows = random_.chance(50);
      throw OfAnObserver();
    } else {
      changeSomewhere(node);
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
      for (auto const& end : nodes_[n].link->ends) {
        ASSERT_EQ(end->state(), LogConnection::State::inSync) << end->lastError();
        EXPECT_TRUE(end->demuxer().isQueueEmpty());
        EXPECT_EQ(end->stats().dirtyMarks, 0U);
      }
      if (nodes_[n].link->reads && nodes_[n].roots.size() == 1) {
        EXPECT_EQ(nodes_[n].link->tree.dump(), Dump::of(*nodes_[0].roots[0]));
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
      for (std::size_t i = 0; i < nodes_.size() * nodes_[0].roots.size(); ++i) {
        auto const more = everythingIn(nodes_[i % nodes_.size()].roots[i / nodes_.size()]);
        all.insert(all.end(), more.begin(), more.end());
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

  Random random_;
  Writers writers_;
  std::vector<Node> nodes_;
  std::uint32_t now_ = 0;
  int reactions_ = 0;
};

class RandomTest : public testing::TestWithParam<Writers> {};

TEST_P(RandomTest, EverythingIsEqualAfterEveryHeal) {
  auto const fromEnvironment = [](char const* name, std::uint64_t otherwise) {
    char const* const text = std::getenv(name);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
  };
  constexpr std::uint64_t perSeed = 100;
  std::uint64_t const first = fromEnvironment("VORNACL_SEED", 1);
  std::uint64_t const operations = fromEnvironment("VORNACL_OPERATIONS", std::getenv("VORNACL_SEED") ? perSeed : 66000);
  std::uint64_t seed = first;
  for (; seed < first + operations / perSeed && !HasFailure(); ++seed) {
    SCOPED_TRACE("VORNACL_SEED=" + std::to_string(seed));
    System system(seed, GetParam());
    std::uint64_t n = 0;
    for (; n < perSeed && !HasFailure(); ++n) {
      system.step();
    }
    system.heal();
    EXPECT_FALSE(HasFailure()) << "at change " << n;
  }
  std::printf("%llu systems from VORNACL_SEED=%llu, %llu changes each\n", static_cast<unsigned long long>(seed - first),
              static_cast<unsigned long long>(first), static_cast<unsigned long long>(perSeed));
}

INSTANTIATE_TEST_SUITE_P(Writers, RandomTest, testing::Values(Writers::sender, Writers::both, Writers::handlersToo),
                         [](auto const& of) { return writerNames[static_cast<std::size_t>(of.param)]; });

}  // namespace
}  // namespace VornTest
