// Following a whole tree: whoever only listens knows the same tree as whoever looks.
#include <map>
#include <optional>
#include <random>

#include <gmock/gmock.h>

#include "VornAcl.h"

namespace {

using Kro::Ptr;
using Kro::TreeChange;
using Kro::TreeObserver;
using Kro::TreeOptions;

Vorn::AclId aclId(unsigned n) { return {Vorn::ipv4PAcl, static_cast<std::uint8_t>(n), Acl::in}; }

std::string str(Kro::String8 const& text) { return std::string(text.view()); }

/// What somebody knows who only listens: a line for each attribute and entry, its text behind it.
struct Book {
  std::map<std::string, std::string> lines;
  std::string said;              ///< what was told, in order
  std::function<void(int)> act;  ///< done in each call, with its number
  int calls = 0;

  void operator()(TreeChange const& change) {
    std::string const attribute =
        std::string(change.attribute) + (change.key ? '[' + str(change.key.text()) + ']' : "");
    std::string const place = str(change.path) + '.' + attribute;
    std::string const now = change.target ? "entity" : str(change.now.text());
    auto const at = lines.find(place);
    if (change.kind != TreeChange::Kind::changed) {
      EXPECT_EQ(change.kind == TreeChange::Kind::added, at == lines.end()) << place << " behind " << said;
    }
    if (change.before && at != lines.end()) {
      EXPECT_EQ(str(change.before.text()), at->second) << place;
    }
    said += (said.empty() ? "" : " ") + std::string(1, "+~-"[static_cast<int>(change.kind)]) + place;
    bool const isDefault = !change.key && (now == "0" || now == "false");
    if (change.kind == TreeChange::Kind::removed || isDefault) {
      lines.erase(place);
      std::string const below = str(change.path) + '/' + attribute + '.';
      std::erase_if(lines, [&](auto const& line) { return line.first.starts_with(below); });  // scalars
    } else {
      lines[place] = now;
    }
    if (act) {
      act(++calls);
    }
  }
  std::string take() { return std::exchange(said, {}); }
};

class TreeObserverTest : public ::testing::Test {
 protected:
  /// What is there, told at the beginning to somebody new.
  std::map<std::string, std::string> present(TreeOptions options = {}) const {
    Book fresh;
    options.tellsPresent = true;
    TreeObserver const observer(coll, std::ref(fresh), options);
    return fresh.lines;
  }

  Ptr<Vorn::RootConfigColl> coll = Vorn::rootConfigCollFactory("all");
};

TEST_F(TreeObserverTest, TellsWhatComesChangesAndGoes) {
  Book book;
  TreeObserver const observer(coll, std::ref(book));
  auto const chip = coll->chipRootConfigIs(5, 1);
  EXPECT_EQ(book.take(), "+all.chipRootConfig[5]");
  chip->initialize();
  EXPECT_EQ(book.take(),
            "+all/chipRootConfig[5].vornAclColl +all/chipRootConfig[5].aclKeyToAclId "
            "~all/chipRootConfig[5].initialized");
  auto const acl = chip->vornAclColl()->aclIs(aclId(5), Acl::ip, "edge");
  acl->ipRuleByIdIs({10, 0, 0}, {});
  acl->ipRuleByIdIs({10, 0, 0}, {});
  Vorn::IpRuleConfig rule;
  rule.logIs(true);
  acl->ipRuleByIdIs({10, 0, 0}, rule);
  std::string const place = "all/chipRootConfig[5]/vornAclColl/acl[ipv4PAcl:5:in]";
  std::string const entry = place + ".ipRuleById[" + str(Kro::valueToStrep(Vorn::AceIndex(10, 0, 0))) + ']';
  EXPECT_EQ(book.take(), "+all/chipRootConfig[5]/vornAclColl.acl[ipv4PAcl:5:in] +" + entry + " ~" + entry);
  EXPECT_EQ(book.lines, present());
  chip->vornAclCollDel();
  EXPECT_EQ(book.take(), "-" + entry +
                             " -all/chipRootConfig[5]/vornAclColl.acl[ipv4PAcl:5:in] "
                             "-all/chipRootConfig[5].vornAclColl");
  acl->ipRuleByIdDelAll();
  EXPECT_EQ(book.take(), "") << "what went is let go";
  EXPECT_EQ(book.lines, present());
}

TEST_F(TreeObserverTest, FollowsWhatIsChosen) {
  auto const chip = coll->chipRootConfigIs(5, 1);
  chip->initialize();
  auto const acl = chip->vornAclColl()->aclIs(aclId(5), Acl::ip, "edge");
  acl->ipRuleByIdIs({10, 0, 0}, {});
  acl->macRuleByIdIs({10, 0, 0}, {});
  TreeOptions options;
  options.follows = [](Kro::Entity const& entity) {
    return dynamic_cast<Vorn::AclKeyToAclIdMapping const*>(&entity) == nullptr;
  };
  options.selects = [](Kro::Entity const& entity, Kro::AttributeId id) {
    return entity.attributeString(id) != Kro::String8("macRuleById");
  };
  std::string names;
  for (auto const& [place, text] : present(options)) {
    names += place.substr(place.rfind('/') + 1) + ' ';
  }
  EXPECT_THAT(names, testing::Not(testing::AnyOf(testing::HasSubstr("macRule"), testing::HasSubstr("aclKeyTo"))));
  EXPECT_THAT(names, testing::HasSubstr("ipRuleById"));
  std::size_t rules = 0;
  options.remembersValues = false;
  TreeObserver const observer(
      coll,
      [&](TreeChange const& change) {
        ASSERT_EQ(change.of<Vorn::VornAcl>(), acl.get());
        EXPECT_FALSE(change.before);
        ASSERT_TRUE(change.key.as<Vorn::AceIndex>());
        EXPECT_EQ(change.kind == TreeChange::Kind::removed, change.now.as<Vorn::IpRuleConfig>() == nullptr);
        ++rules;
      },
      options);
  acl->ipRuleByIdIs({20, 0, 0}, {});
  acl->ipRuleByIdDelAll();
  EXPECT_EQ(rules, 3U);
}

TEST_F(TreeObserverTest, HandsOverExceptionsAndComparesAgainWhenAsked) {
  std::string caught;
  TreeOptions options;
  options.onException = [&](std::exception_ptr const& thrown) {
    try {
      std::rethrow_exception(thrown);
    } catch (std::exception const& error) {
      caught += error.what();
    }
  };
  Book book;
  book.act = [](int) { throw std::runtime_error("callable "); };
  std::optional<TreeObserver> observer(std::in_place, coll, std::ref(book), options);
  auto const chip = coll->chipRootConfigIs(5, 1);
  EXPECT_EQ(caught, "callable ");
  observer.emplace(coll, [&](TreeChange const& change) { book.said += change.attribute; });
  TreeObserver moved = std::move(*observer);
  observer.reset();
  book.take();
  coll->newChipRootConfig(6, 1);
  EXPECT_EQ(book.take(), "") << "nobody is told of what is made so";
  moved.refresh();
  EXPECT_EQ(book.take(), "chipRootConfig");
  moved.refresh();
  EXPECT_EQ(book.take(), "");
  EXPECT_THROW(TreeObserver(nullptr, std::ref(book)), Kro::RangeException);
}

/// One random change of a tree, whoever made the rest of it.
void change(Vorn::RootConfigColl& coll, std::mt19937& draw) {
  auto const below = [&](unsigned n) { return static_cast<unsigned>(draw() % n); };
  unsigned const chipId = below(2);
  auto const chip = coll.chipRootConfigIs(chipId, 1);
  Vorn::AceIndex const at(below(4), 0, 0);
  auto const acls = chip->vornAclCollIs("acls");
  auto const acl = acls->aclIs(aclId(below(2)), Acl::ip, "edge");
  Vorn::IpRuleConfig rule;
  rule.logIs(below(2) == 0);
  switch (below(16)) {
    case 0:
      coll.chipRootConfigDel(chipId);
      break;
    case 1:
      chip->vornAclCollDel();
      break;
    case 2:
      acls->aclDel(aclId(below(2)));
      break;
    case 3:
      acl->ipRuleByIdDelAll();
      break;
    case 4:
      acl->ipRuleByIdDel(at);
      break;
    case 5:
      coll.chipRootConfigLastFailedIs(chip);
      break;
    case 6:
      coll.chipRootConfigLastFailedDel(chip->chipId());
      break;
    case 7:
      chip->vornAclCollIs("others");
      break;
    case 8:
      chip->aclKeyToAclIdIs("names")->keyToIdIs({Acl::ip, "edge"}, aclId(below(3)));
      break;
    case 9:
      chip->activeIs(below(2) == 0);
      break;
    case 10:
      chip->vornRootKickInc(below(2));
      break;
    default:
      acl->ipRuleByIdIs(at, rule);
  }
}

/// What the callable does meanwhile, at its calls `first`, `first + every`, ...
struct Meddler {
  char const* name;
  int every;
  std::function<void(Vorn::RootConfigColl&, std::mt19937&, std::optional<TreeObserver>&)> act;
};

TEST_F(TreeObserverTest, ListeningIsKnowingWhateverTheCallableDoes) {
  Meddler const meddlers[] = {
      {"nothing", 0, {}},
      {"changes", 7, [](auto& tree, auto& draw, auto&) { change(tree, draw); }},
      {"throws", 5, [](auto&, auto&, auto&) { throw std::runtime_error("callable"); }},
      {"deletes all", 40, [](auto& tree, auto&, auto&) { tree.chipRootConfigDelAll(); }},
      {"lets go", 90, [](auto&, auto&, auto& observer) { observer.reset(); }},
  };
  for (auto const& [name, every, act] : meddlers) {
    SCOPED_TRACE(name);
    std::mt19937 draw(17);
    for (int round = 0; round < 6; ++round) {
      coll = Vorn::rootConfigCollFactory("all");
      Book book;
      std::optional<TreeObserver> observer;
      observer.emplace(coll, std::ref(book));
      std::size_t thrown = 0;
      book.act = [&, every = every, &act = act](int call) {
        if (every != 0 && call % every == 0) {
          act(*coll, draw, observer);
        }
      };
      for (int step = 0; step < 150 && observer; ++step) {
        try {
          change(*coll, draw);
        } catch (std::runtime_error const&) {
          ++thrown;
        }
        if (observer) {
          ASSERT_EQ(book.lines, present()) << "round " << round << ", step " << step;
        }
      }
      EXPECT_EQ(thrown > 0, std::string(name) == "throws");
      EXPECT_EQ(observer.has_value(), std::string(name) != "lets go");
      EXPECT_EQ(coll->auditErrors(9), 0U);
    }
  }
}

TEST_F(TreeObserverTest, OnAMirrorKnowsTheSource) {
  using Kro::NboAttrLog::Connection;
  auto const source = Connection::create(Connection::Role::opener);
  auto const mirror = Connection::create(Connection::Role::acceptor);
  Book book;
  std::optional<TreeObserver> observer;
  mirror->onRootIs([&](Ptr<Kro::Entity> const& root) { observer.emplace(root, std::ref(book)); });
  source->rootIs(coll);
  std::mt19937 draw(3);
  auto const withoutReferences = [](std::map<std::string, std::string> lines) {
    std::erase_if(lines, [](auto const& line) { return line.first.find("LastFailed") != std::string::npos; });
    return lines;  // a reference to what was removed is on one end alone
  };
  for (int step = 0; step < 400; ++step) {
    change(*coll, draw);
    if (step % 3 == 0) {
      for (auto bytes = source->pending(); !bytes.empty(); bytes = source->pending()) {
        auto const some = bytes.first(1 + draw() % bytes.size());
        mirror->receive(some);
        source->sent(some.size());
      }
      ASSERT_EQ(withoutReferences(book.lines), withoutReferences(present())) << step;
    }
  }
}

}  // namespace
