// Whole systems in one process, each from one seed: a sender, mirrors, connections that fill, stall, break at any byte
// and come again, random changes on one or both ends and in handlers. Whenever such a system comes to rest, all its
// trees must be equal. VORNACL_SEED=n runs that seed alone, VORNACL_OPERATIONS=n more or fewer changes.
#include <algorithm>
#include <array>
#include <cstdlib>

#include <gtest/gtest.h>

#include "runtime/log/Connection.h"
#include "tests/runtime/log/Simulation.h"

namespace VornTest {
namespace {

using Kro::NboAttrLog::Connection;
using Kro::NboAttrLog::Limits;

enum class Writers { sender, both, handlersToo };
char const* const writerNames[] = {"the sender writes", "both ends write", "handlers write, too"};

class System {
 public:
  System(std::uint64_t seed, Writers writers) : random_(seed), changes_(random_), writers_(writers) {
    rootKind_ = random_.chance(60) ? 0 : 1 + random_.below(4);
    nodes_.resize(2 + random_.below(5));
    for (std::size_t n = 0; n < nodes_.size(); ++n) {
      Node& node = nodes_[n];
      node.watcher = std::make_unique<Watcher>([this, n](Entity& entity, AttributeId id) { told(n, entity, id); });
    }
    makeTrees();
    links_.resize(nodes_.size() - 1);
    for (std::size_t n = 1; n < nodes_.size(); ++n) {
      connect(n);
    }
  }
  ~System() {
    for (auto& link : links_) {
      close(link);
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
      case 3: {
        Link& link = random_.oneOf(links_);
        link.blocked[random_.below(2)] = random_.chance(60);
        break;
      }
      case 4: {
        std::size_t const n = anyMirror();
        close(links_[n - 1]);
        break;
      }
      case 5:
      case 6:
        connectAgain(anyMirror());
        break;
      case 7:
        attachAnew(random_.oneOf(links_));
        break;
      default:
        break;
    }
    change();
    for (std::uint32_t i = random_.below(2 * static_cast<std::uint32_t>(links_.size())); i > 0; --i) {
      Link& link = random_.oneOf(links_);
      unsigned const side = random_.below(2);
      random_.chance(60) ? take(link, side) : deliver(link, side);
    }
    if (random_.chance(10)) {
      audit();
    }
  }

  /// Everything is connected and moves until nothing moves any more; then all must be equal.
  void heal() {
    for (std::size_t n = 1; n < nodes_.size(); ++n) {
      if (!isAlive(links_[n - 1])) {
        connect(n);
      }
    }
    reactions_ = std::min(reactions_, 2);
    drain();
    checkEqual();
    if (random_.chance(30)) {
      checkInPlace();
    }
  }

 private:
  /// A tree that is shared, and the node that sends it: the sender, or a mirror whose tree the sender passes on.
  struct Tree {
    Kro::Name name;
    std::size_t owner;
  };
  struct Node {
    std::vector<Ptr<Entity>> roots;  ///< of each tree, null where it has not come yet
    std::unique_ptr<Watcher> watcher;
  };
  /// Between the sender (node and side 0) and a mirror (side 1).
  struct Link {
    std::size_t mirror = 0;
    std::array<Ptr<Connection>, 2> end;
    std::array<std::vector<std::uint8_t>, 2> flight;
    std::array<bool, 2> blocked{};
    bool closed = true;
    std::uint32_t chunk = 1;
  };

  void makeTrees() {
    switch (rootKind_) {
      case 0:
        addTree(0, Vorn::rootConfigCollFactory("all"));
        addTree(0, Vorn::rootConfigCollFactory("others"));
        if (random_.chance(50)) {
          addTree(1, Vorn::rootConfigCollFactory("a mirror's"));
        }
        break;
      case 1:
        addTree(0, Vorn::rootConfigFactory("one", 5, 1));
        break;
      case 2:
        addTree(0, Vorn::vornAclCollFactory("acls"));
        break;
      case 3:
        addTree(0, Vorn::aclKeyToAclIdMappingFactory("keys"));
        break;
      default:
        addTree(0, Kro::adopt(new Vorn::VornAcl({Vorn::macAcl, 3, Acl::out}, Acl::mac, "acl")));
    }
  }
  void addTree(std::size_t owner, Ptr<Entity> const& root) {
    trees_.push_back({root->name(), owner});
    for (std::size_t n = 0; n < nodes_.size(); ++n) {
      nodes_[n].roots.push_back(n == owner ? root : nullptr);
    }
    nodes_[owner].watcher->watch(root);
  }

  // --- connections ---

  std::size_t anyMirror() { return 1 + random_.below(static_cast<std::uint32_t>(links_.size())); }
  bool isAlive(Link const& link) const { return !link.closed; }
  Limits limits() {
    Limits limits;
    limits.bufferedBytes = random_.chance(30) ? 0 : random_.chance(30) ? 4096 : 1U << random_.below(13);
    return limits;
  }

  void connect(std::size_t n) {
    Link& link = links_[n - 1];
    close(link);
    link = Link();
    link.mirror = n;
    link.closed = false;
    link.chunk = random_.chance(30) ? 4 : random_.chance(50) ? 100 : 10000;
    bool const opens = random_.chance(50);
    for (unsigned side = 0; side < 2; ++side) {
      link.end[side] =
          Connection::create(opens == (side == 0) ? Connection::Role::opener : Connection::Role::acceptor, limits());
    }
    for (unsigned side = 0; side < 2; ++side) {
      std::size_t const at = side == 0 ? 0 : n;
      link.end[side]->onRootIs([this, at](Ptr<Entity> const& root) { arrived(at, root); });
      for (std::size_t i = 0; i < trees_.size(); ++i) {
        Ptr<Entity> const root = nodes_[at].roots[i];
        if (root && senderSide(link, i) == side) {
          attach(link, i);
        } else if (root) {
          link.end[side]->rootOffer(root);
        }
      }
    }
  }
  unsigned senderSide(Link const& link, std::size_t tree) const { return trees_[tree].owner == link.mirror ? 1 : 0; }
  void attach(Link& link, std::size_t tree) {
    unsigned const side = senderSide(link, tree);
    Ptr<Entity> const root = nodes_[side == 0 ? 0 : link.mirror].roots[tree];
    link.end[side]->rootIs(root);
    if (random_.chance(20)) {
      using Sa = Entity::KroNboAttrLogSa;
      root->kroNboAttrLogSa(link.end[side]->out())
          ->stateIs(random_.chance(50) ? Sa::deferredBit : Sa::deferredBit | Sa::forceDeferBit, true);
    }
  }
  /// The peer is not told that a root goes; when it comes again, the peer makes a tree of its own.
  void attachAnew(Link& link) {
    std::size_t const tree = random_.below(static_cast<std::uint32_t>(trees_.size()));
    if (!link.closed && trees_[tree].owner == 0 && link.end[0]->rootDel(nodes_[0].roots[tree])) {
      attach(link, tree);
    }
  }
  /// A mirror loses its connection and takes up a new one, with its tree or without.
  void connectAgain(std::size_t n) {
    close(links_[n - 1]);
    if (random_.chance(20)) {
      for (std::size_t i = 0; i < trees_.size(); ++i) {
        nodes_[n].roots[i] = trees_[i].owner == n ? nodes_[n].roots[i] : nullptr;
      }
    }
    connect(n);
  }
  void arrived(std::size_t n, Ptr<Entity> const& root) {
    nodes_[n].watcher->watch(root);
    for (std::size_t i = 0; i < trees_.size(); ++i) {
      if (!(root->name() == trees_[i].name) || nodes_[n].roots[i] == root) {
        continue;
      }
      nodes_[n].roots[i] = root;
      for (Link& link : links_) {
        if (n == 0 && !link.closed && senderSide(link, i) == 0) {
          attach(link, i);
        }
      }
    }
  }
  void close(Link& link) {
    link.closed = true;
    for (unsigned side = 0; side < 2; ++side) {
      if (Ptr<Connection> const end = link.end[side]) {
        EXPECT_TRUE(end->state() != Connection::State::lost || end->lastError() == "cut") << end->lastError();
        end->close("cut");
      }
      link.flight[side].clear();
    }
  }

  /// Bytes leave a connection for the wire.
  bool take(Link& link, unsigned side, bool always = false) {
    if (link.closed || (link.blocked[side] && !always)) {
      return false;
    }
    Ptr<Connection> const end = link.end[side];
    auto const bytes = end->pending();
    std::size_t const n = std::min<std::size_t>(bytes.size(), 1 + random_.below(link.chunk));
    link.flight[side].insert(link.flight[side].end(), bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(n));
    end->sent(n);
    requireAlive(link);
    return n != 0;
  }
  /// Bytes arrive from the wire.
  bool deliver(Link& link, unsigned side) {
    if (link.closed || link.flight[side].empty()) {
      return false;
    }
    auto& flight = link.flight[side];
    auto const n = static_cast<std::ptrdiff_t>(std::min<std::size_t>(flight.size(), 1 + random_.below(link.chunk)));
    std::vector<std::uint8_t> bytes(flight.begin(), flight.begin() + n);
    flight.erase(flight.begin(), flight.begin() + n);
    Ptr<Connection> const end = link.end[1 - side];
    bool const nested = std::exchange(receiving_, true);
    for (bool again = true; again;) {
      again = false;
      try {
        end->receive(bytes);
      } catch (std::runtime_error const&) {
        bytes.clear();
        again = true;
      }
    }
    receiving_ = nested;
    requireAlive(link);
    return true;
  }
  void requireAlive(Link const& link) {
    for (auto const& end : link.end) {
      ASSERT_TRUE(link.closed || end->state() != Connection::State::lost) << end->lastError();
    }
  }

  void drain() {
    std::size_t rounds = 0;
    for (bool moves = true; moves && !testing::Test::HasFailure();) {
      moves = false;
      for (Link& link : links_) {
        for (unsigned side = 0; side < 2; ++side) {
          moves = take(link, side, true) || moves;
          moves = deliver(link, side) || moves;
        }
        if (link.closed) {
          connect(link.mirror);
          moves = true;
        }
      }
      ASSERT_LT(++rounds, 1000000U) << "the ends never come to rest";
    }
  }

  // --- changes ---

  void change() {
    if (writers_ == Writers::sender) {
      Tree const& tree = random_.oneOf(trees_);
      changeAt(tree.owner, &tree);
    } else {
      changeAt(random_.chance(50) ? 0 : anyMirror());
    }
    // A mirror without connection may change its tree in any mode: the next transfer takes that back.
    std::size_t const away = anyMirror();
    if (!isAlive(links_[away - 1]) && random_.chance(30)) {
      changeAt(away);
    }
  }
  void changeAt(std::size_t n, Tree const* only = nullptr) {
    std::vector<Ptr<Entity>> present;
    std::vector<Ptr<Entity>> open;
    for (std::size_t i = 0; i < trees_.size(); ++i) {
      if (nodes_[n].roots[i]) {
        present.push_back(nodes_[n].roots[i]);
        if (only == nullptr || only == &trees_[i]) {
          open.push_back(present.back());
        }
      }
    }
    if (open.empty()) {
      return;
    }
    try {
      changes_.anywhere(random_.oneOf(open), present);
    } catch (std::runtime_error const&) {
    }
  }

  /// An observer of node `n` was told.
  void told(std::size_t n, Entity& entity, AttributeId id) {
    if (n == 0 && writers_ == Writers::sender && id == kickId) {
      noteKick(entity);
    } else if (n != 0 && writers_ == Writers::sender && id == kickId && receiving_) {
      checkKick(entity);
    }
    if (reactions_ > 0 && random_.chance(20)) {
      --reactions_;
      react(n, entity);
    }
  }

  void react(std::size_t n, Entity& entity) {
    Node& node = nodes_[n];
    Link& link = n == 0 ? random_.oneOf(links_) : links_[n - 1];
    switch (random_.below(9)) {
      case 0:
        return changes_.remove(entity);
      case 1:
      case 2:
        return changes_.here(share(&entity));
      case 3:
        if (Ptr<Entity> const parent = entity.parent()) {
          changes_.here(parent);
        }
        return;
      case 4:
        if (random_.chance(50)) {
          deliver(link, n == 0 ? 1 : 0);
        } else if (!link.closed) {
          (void)link.end[n == 0 ? 0 : 1]->pending();
        }
        return;
      case 5:
        if (random_.chance(5)) {
          close(link);
        }
        return;
      case 6:
        node.watcher->rethrows = random_.chance(50);
        throw std::runtime_error("of an observer");
      default:
        if (Ptr<Entity> const root = random_.oneOf(node.roots)) {
          changes_.anywhere(root);
        }
    }
  }

  // --- what must hold ---

  void audit() {
    for (auto const& node : nodes_) {
      for (auto const& root : node.roots) {
        ASSERT_EQ(root ? root->auditErrors(9) : 0, 0U);
      }
    }
  }

  void checkEqual() {
    audit();
    for (Link& link : links_) {
      for (auto const& end : link.end) {
        ASSERT_EQ(end->state(), Connection::State::inSync) << end->lastError();
        EXPECT_TRUE(end->demuxer().isQueueEmpty());
        EXPECT_EQ(end->stats().dirtyMarks, 0U);
      }
      auto const& theirs = nodes_[link.mirror].roots;
      for (std::size_t i = 0; i < theirs.size(); ++i) {
        ASSERT_TRUE(nodes_[0].roots[i] && theirs[i]);
        ASSERT_EQ(TreeText(nodes_[0].roots).of(*nodes_[0].roots[i]), TreeText(theirs).of(*theirs[i]))
            << "mirror " << link.mirror << " of " << links_.size();
      }
    }
  }

  /// What is sent again, without or with a new connection, changes no equal mirror: same objects, nobody told.
  void checkInPlace() {
    reactions_ = 0;
    bool const anew = random_.chance(50);
    reconnectAll(anew);  // once to lose the references to configurations that stand nowhere any more
    std::vector<std::vector<Ptr<Entity>>> before;
    std::string told;
    for (auto const& node : nodes_) {
      before.push_back(everything(node));
      node.watcher->journal = &told;
    }
    reconnectAll(anew);
    checkEqual();
    for (std::size_t n = 0; n < nodes_.size(); ++n) {
      EXPECT_EQ(before[n], everything(nodes_[n]));
      nodes_[n].watcher->journal = nullptr;
    }
    EXPECT_EQ(told, "");
  }
  void reconnectAll(bool anew) {
    for (std::size_t n = 1; anew && n < nodes_.size(); ++n) {
      connect(n);
    }
    drain();
  }
  static std::vector<Ptr<Entity>> everything(Node const& node) {
    std::vector<Ptr<Entity>> all;
    for (auto const& root : node.roots) {
      for (auto const& entity : everythingIn(root)) {
        all.push_back(entity);
      }
    }
    return all;
  }

  // A kick comes behind everything that was changed below its configuration before it was given.

  static constexpr AttributeId kickId = Vorn::RootConfig::Attributes::vornRootKick.id;
  using Stamps = std::map<std::string, std::uint32_t>;

  static Stamps stampsIn(Entity& configuration) {
    Stamps stamps;
    if (auto const acls = dynamic_cast<Vorn::RootConfig&>(configuration).vornAclColl()) {
      for (auto& acl : acls->aclMap()) {
        for (auto const& record : acl.ipRuleByIdMap()) {
          stamps[std::string((acl.kroKeyText() + "/" + record.key().toStr()).view())] =
              Changes::stampOf(record.value());
        }
      }
    }
    return stamps;
  }
  void noteKick(Entity& entity) {
    std::uint32_t const kick = dynamic_cast<Vorn::RootConfig&>(entity).vornRootKick();
    kicks_[kick] = {share(&entity), stampsIn(entity)};
  }
  void checkKick(Entity& entity) {
    std::uint32_t const kick = dynamic_cast<Vorn::RootConfig&>(entity).vornRootKick();
    auto const given = kicks_.find(kick);
    if (given == kicks_.end()) {
      return;
    }
    Stamps const here = stampsIn(entity);
    Stamps const now = stampsIn(*given->second.first);
    ++kicksChecked_;
    for (auto const& [place, stamp] : here) {
      auto const then = given->second.second.find(place);
      std::uint32_t const least = then != given->second.second.end() ? then->second : kick;
      EXPECT_GE(stamp, least) << place << " is older than the kick";
    }
    for (auto const& [place, stamp] : given->second.second) {
      auto const current = now.find(place);
      EXPECT_TRUE(here.count(place) != 0 || current == now.end() || current->second != stamp)
          << place << " comes behind the kick";
    }
  }

  Random random_;
  Changes changes_;
  Writers writers_;
  std::uint32_t rootKind_;
  std::vector<Tree> trees_;
  std::vector<Node> nodes_;
  std::vector<Link> links_;
  int reactions_ = 0;
  bool receiving_ = false;
  std::map<std::uint32_t, std::pair<Ptr<Entity>, Stamps>> kicks_;
  std::size_t kicksChecked_ = 0;
};

std::uint64_t fromEnvironment(char const* name, std::uint64_t otherwise) {
  char const* const text = std::getenv(name);
  return text != nullptr ? std::strtoull(text, nullptr, 10) : otherwise;
}

class RandomTest : public testing::TestWithParam<Writers> {};

TEST_P(RandomTest, EverythingIsEqualAfterEveryHeal) {
  constexpr std::uint64_t perSeed = 1000;
  std::uint64_t const operations = fromEnvironment("VORNACL_OPERATIONS", 66000);
  std::uint64_t const only = fromEnvironment("VORNACL_SEED", 0);
  for (std::uint64_t i = 0; i * perSeed < operations; ++i) {
    std::uint64_t const seed = only != 0 ? only : 1 + i;
    SCOPED_TRACE("VORNACL_SEED=" + std::to_string(seed));
    std::uint64_t n = 0;
    {
      System system(seed, GetParam());
      for (; n < perSeed && !HasFailure(); ++n) {
        system.step();
      }
      system.heal();
    }
    if (HasFailure()) {
      FAIL() << "at change " << n;
    }
    if (only != 0) {
      break;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(Writers, RandomTest, testing::Values(Writers::sender, Writers::both, Writers::handlersToo),
                         [](auto const& of) {
                           std::string name = writerNames[static_cast<std::size_t>(of.param)];
                           std::erase_if(name, [](char c) { return c == ' ' || c == ','; });
                           return name;
                         });

}  // namespace
}  // namespace VornTest
