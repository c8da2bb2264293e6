// Two ends of the attribute log in one process. A test moves the bytes: it blocks a writer, holds bytes back on the
// way, cuts and drops them. What each end writes is said by the second reader, message by message.
#pragma once

#include <memory>
#include <sstream>

#include "runtime/log/Connection.h"
#include "tests/runtime/log/Trees.h"

namespace VornTest {

using Kro::NboAttrLog::Limits;
using LogConnection = Kro::NboAttrLog::Connection;
using Sa = Kro::Entity::KroNboAttrLogSa;

/// The ends: S opened the connection and gives odd ids, M accepted it.
enum Side { M = 0, S = 1 };
inline Side other(Side side) { return side == S ? M : S; }

/// Messages as bytes, from the text in which the second reader says them but for the fields: "1:7" is 7 in one byte,
/// "'a" a string, "@1" an index of rules, "R1" and "X1" a rule, "A1" the id of an ACL, "Kk" a key, "#x" plain bytes;
/// "~3=9" sets the third byte from the end to 9.
inline std::string wire(std::string const& text) {
  auto const number = [](std::uint64_t value, std::size_t bytes) {
    std::string all;
    for (; bytes > 0; --bytes) {
      all += static_cast<char>(value >> 8 * (bytes - 1) & 0xff);
    }
    return all;
  };
  auto const form = [](auto const& value) {
    Bytes const bytes = logBytes(value);
    return std::string(bytes.begin(), bytes.end());
  };
  auto const field = [&](std::string const& word) {
    std::string const rest = word.substr(1);
    bool const isText = std::string("'#K").find(word[0]) != std::string::npos;
    std::uint64_t const n = isText ? 0 : std::stoull(rest.substr(rest[0] == ':' ? 1 : 0));
    auto const n32 = static_cast<std::uint32_t>(n);
    return word[0] == '\''  ? number(rest.size(), 4) + rest
           : word[0] == '#' ? rest
           : word[0] == '@' ? form(AceIndex{n32, 0, 0})
           : word[0] == 'R' ? form(rule(n32))
           : word[0] == 'X' ? form(macRule(n32))
           : word[0] == 'A' ? form(aclId(n32))
           : word[0] == 'K' ? form(key(rest))
                            : number(n, static_cast<std::size_t>(word[0] - '0'));
  };
  std::string all;
  std::istringstream messages(text);
  for (std::string message; std::getline(messages >> std::ws, message, ';');) {
    unsigned long long id = 0;
    int attribute = 0;
    char first = 'F';
    unsigned size = 0, code = 0, kind = 2;
    std::string payload;
    if (std::sscanf(message.c_str(), "(%llu,%d,%c,%u,%u)", &id, &attribute, &first, &size, &code) == 5) {
      kind = 0;
    } else if (std::sscanf(message.c_str(), "%c(%llu,%d)", &first, &id, &attribute) == 3) {
      kind = 1;
      payload = static_cast<char>(std::string("BAE").find(first));
    }
    std::istringstream words(message.substr(std::min(message.find(' '), message.size())));
    for (std::string word; words >> word;) {
      if (word[0] == '~') {
        payload[payload.size() - std::stoul(word.substr(1))] = static_cast<char>(word.back() - '0');
      } else {
        payload += field(word);
      }
    }
    all += number(payload.size(), 4) + number(id, 8) + number(static_cast<std::uint32_t>(attribute), 4) +
           number(size << 4 | kind << 2 | (first == 'T' ? 1 : 0), 1) + number(code, 1) + payload;
  }
  return all;
}

/// Two connections and the bytes between them.
class Link {
 public:
  explicit Link(Limits const& opener = {}, Limits const& acceptor = {}) {
    ends[S] = LogConnection::create(LogConnection::Role::opener, opener);
    ends[M] = LogConnection::create(LogConnection::Role::acceptor, acceptor);
  }
  ~Link() {
    for (Side const side : {M, S}) {
      std::string const& error = readers_[side].error;
      EXPECT_TRUE(error.empty() || (!fault.empty() && error.rfind(fault, 0) == 0)) << error << ": " << recorded(side);
    }
  }
  LogConnection& operator[](Side side) { return *ends[side]; }

  /// Takes what the end offers at once, or at most so much, and says it.
  bool pull(Side side, std::size_t most = SIZE_MAX) {
    auto const bytes = ends[side]->pending();
    std::string const taken(reinterpret_cast<char const*>(bytes.data()), std::min(most, bytes.size()));
    ends[side]->sent(taken.size());
    if (reads) {
      readers_[side].feed(taken);
      stream[side] += taken;
    }
    wire_[side] += taken;
    return !taken.empty();
  }
  /// Hands bytes on the way to the peer.
  bool deliver(Side side, std::size_t most = SIZE_MAX) {
    std::string const bytes = wire_[side].substr(0, most);
    wire_[side].erase(0, bytes.size());
    receive(other(side), bytes);
    return !bytes.empty();
  }
  void receive(Side side, std::string_view bytes) { ends[side]->receive(bytesOf(bytes)); }
  /// Moves everything until nothing moves.
  void move() {
    for (bool moves = true; moves;) {
      moves = false;
      for (Side const side : {S, M}) {
        moves = pull(side) || moves;
        deliver(side);
      }
    }
  }
  /// What an end wrote since it was asked last, or ever.
  std::string lines(Side side) {
    std::size_t const from = std::exchange(said_[side], readers_[side].lines.size());
    return recorded(side, from);
  }
  std::string recorded(Side side, std::size_t from = 0) const {
    std::string text;
    for (; from < readers_[side].lines.size(); ++from) {
      text += (text.empty() ? "" : "; ") + readers_[side].lines[from];
    }
    return text;
  }
  /// Hands an end bytes that its peer never wrote. They count as the peer's for the second reader.
  void inject(Side to, std::string const& bytes) {
    readers_[other(to)].feed(bytes);
    receive(to, bytes);
  }
  std::string error(Side side) const { return std::string(ends[side]->lastError().view()); }

  Ptr<LogConnection> ends[2];
  std::string stream[2];  ///< every byte that an end wrote
  Second::Tree tree;
  bool reads = true;  ///< off where the second reader would miss something
  std::string fault;  ///< the rule that a test lets both ends break

 private:
  Second::Reader readers_[2] = {{tree, M, {}, {}, {}}, {tree, S, {}, {}, {}}};
  std::size_t said_[2] = {0, 0};
  std::string wire_[2];
};

/// S sends a collection, M mirrors it and writes down what its observers are told.
///
/// What is done to them is a script of words: changes as `Op` has them, at a place ("5v7/r1=9") or where they usually
/// are; "S" and "M", at which end; commands; and "{event ... }", what M does once when an observer is told that.
class LogTest : public EntityTest {
 protected:
  /// The ids: 3 the collection, 5 configuration 6 of chip 2, 7 configuration 5 of chip 1, 9 its ACLs, 11 the ACL 7,
  /// 13 the mapping. The next new one is 15.
  static constexpr auto usual = "c5=1 initialize a7=0acl-a r1=1 r2=2 k:k=7 c6=2 f5";

  void start(std::string const& tree = usual) {
    link = nullptr;
    watch = nullptr;
    mirror = nullptr;
    handlers.clear();
    root = Vorn::rootConfigCollFactory("rcc");
    run(tree);
    old = Kro::ptrCast<VornAcl>(at(S, "5v7"));
    connect();
    link->move();
    forget();
  }
  /// A new connection; the mirror of the old one is offered.
  void connect(Limits const& opener = {}, Limits const& acceptor = {}) {
    link = std::make_unique<Link>(opener, acceptor);
    if (mirror) {
      (*link)[M].rootOffer(mirror);
    }
    (*link)[M].onRootIs([this](Ptr<Entity> const& arrived) {
      mirror = Kro::ptrCast<RootConfigColl>(arrived);
      watch = std::make_unique<Watch>(journal, [this](Entity&, std::string const& event) { told(event); });
      watch->watch(mirror);
    });
    (*link)[S].rootIs(root);
  }
  void run(std::string const& script, Side side = S) {
    std::istringstream words(script);
    for (std::string word; words >> word;) {
      if (word == "S" || word == "M") {
        side = word == "S" ? S : M;
      } else if (word[0] == '{') {
        std::string deeds;
        for (std::string deed; words >> deed && deed != "}";) {
          deeds += deed + ' ';
        }
        handlers.emplace_back(word.substr(1), deeds);
      } else if (word.rfind("until=", 0) == 0) {
        moveUntil(word.substr(6));
      } else if (!command(word, side)) {
        std::size_t const slash = word.find('/');
        Op const op(word.substr(slash + 1));
        op(*at(side, slash != std::string::npos ? word.substr(0, slash) : usualPlace(op.verb)));
      }
    }
  }
  Ptr<Entity> at(Side side, std::string const& place) {
    Ptr<Entity> const from = side == S ? root : mirror;
    for (auto const& entity : from ? everythingIn(from) : std::vector<Ptr<Entity>>()) {
      if (placeOf(*entity) == place) {
        return entity;
      }
    }
    return place == "old" && old ? old : throw std::runtime_error("nothing at " + place);
  }
  /// What an end said since it was asked last, but for its progress.
  std::string words(Side side) {
    std::istringstream all(link->lines(side));
    std::string rest;
    for (std::string line; std::getline(all >> std::ws, line, ';');) {
      if (line != "complete" && line.rfind("applied", 0) != 0) {
        rest += (rest.empty() ? "" : "; ") + line;
      }
    }
    return rest;
  }
  Ptr<VornAcl> acl(Side side = M) { return Kro::ptrCast<VornAcl>(at(side, "5v7")); }
  Ptr<Sa> adapterOf(Entity& entity, Side side = S) {
    return entity.kroNboAttrLogSa(Ptr<Kro::NboAttrLog::Out const>((*link)[side].out()));
  }
  /// Does something with each adapter of an end's tree.
  void onAdapters(Side side, void (*act)(Sa&)) {
    for (auto const& entity : everythingIn(side == S ? root : mirror)) {
      if (auto const sa = adapterOf(*entity, side)) {
        act(*sa);
      }
    }
  }
  Ptr<Sa> adapter(std::uint64_t id) { return Kro::share((*link)[M].demuxer().reactor({id})); }
  void forget() { link->lines(S), link->lines(M), journal.take(); }

  void expectEqual() {
    EXPECT_EQ(link->error(S) + link->error(M), "");
    ASSERT_TRUE(mirror);
    EXPECT_EQ(Dump::of(*mirror, {mirror}), Dump::of(*root, {root}));
    expectValid();
    for (Side const side : {M, S}) {
      EXPECT_EQ((*link)[side].state(), LogConnection::State::inSync);
      EXPECT_EQ((*link)[side].stats().dirtyMarks, 0U);
    }
  }
  void expectValid() { EXPECT_EQ(root->auditErrors(9) + mirror->auditErrors(9), 0U); }

  Ptr<RootConfigColl> root, mirror;
  Ptr<Entity> old;  ///< the ACL that S had first
  std::unique_ptr<Watch> watch;
  std::unique_ptr<Link> link;
  std::vector<std::pair<std::string, std::string>> handlers;

 private:
  static std::string usualPlace(std::string const& verb) {
    static std::map<std::string, char const*> const places = {{"r", "5v7"}, {"m", "5v7"}, {"a", "5v"},      {"k", "5p"},
                                                              {"c", "c"},   {"f", "c"},   {"stranger", "c"}};
    std::size_t const from = verb.find_first_not_of("-!"), to = verb.find('*');
    auto const place = places.find(verb.substr(from, to - from));
    return place != places.end() ? place->second : "5";
  }
  bool command(std::string const& word, Side where) {
    static std::map<std::string, std::function<void(LogTest&, Side)>> const commands = {
        {"move", [](LogTest& t, Side) { t.link->move(); }},
        {"forget", [](LogTest& t, Side) { t.forget(); }},
        {"step", [](LogTest& t, Side) { t.link->pull(S), t.link->deliver(S); }},
        // Both ends write before either has read.
        {"cross", [](LogTest& t, Side) { t.link->pull(S), t.link->pull(M), t.link->deliver(M), t.link->deliver(S); }},
        // From now on changes wait at this end: its buffer is full of something that the peer never gets.
        {"block",
         [](LogTest& t, Side side) {
           Kro::NboAttrLog::Out& out = *(*t.link)[side].out();
           EXPECT_EQ(out.length(), 0U);
           out.limitIs(1);
           out.endIs(out.room(1) + 1);
         }},
        {"free",
         [](LogTest& t, Side side) {
           EXPECT_EQ((*t.link)[side].out()->length(), 1U) << "nothing was written";
           (*t.link)[side].out()->taken(1);
           (*t.link)[side].out()->limitIs(Kro::NboAttrLog::Out::defaultLimit);
         }},
        {"short", [](LogTest& t, Side side) { (*t.link)[side].out()->limitIs(1); }},
        {"deferred", [](LogTest& t, Side side) { t.onAdapters(side, [](Sa& sa) { sa.stateIs(Sa::deferredBit, true); }); }},
        {"mute", [](LogTest& t, Side side) { t.onAdapters(side, [](Sa& sa) { sa.hasNotificationActiveIs(false); }); }},
        {"unmute", [](LogTest& t, Side side) { t.onAdapters(side, [](Sa& sa) { sa.hasNotificationActiveIs(true); }); }},
        {"detach", [](LogTest& t, Side side) { t.onAdapters(side, [](Sa& sa) { sa.notifierIs(nullptr); }); }},
        {"attach",
         [](LogTest& t, Side side) { t.onAdapters(side, [](Sa& sa) { sa.notifierIs(sa.kroNotifierEntity()); }); }},
        {"cut", [](LogTest& t, Side) { (*t.link)[S].close("cut"), (*t.link)[M].close("cut"); }},
        {"close", [](LogTest& t, Side side) { (*t.link)[side].close("enough"); }},
        {"throw", [](LogTest&, Side) { throw std::runtime_error("of an observer"); }},
        {"throwNumber", [](LogTest&, Side) { throw 1; }},
        {"offer", [](LogTest& t, Side side) { (*t.link)[side].rootOffer(t.mirror); }},
        {"drop", [](LogTest& t, Side) { t.watch = nullptr, t.mirror = nullptr; }},
        {"connect", [](LogTest& t, Side) { t.connect(); }}};
    auto const known = commands.find(word);
    if (known != commands.end()) {
      known->second(*this, where);
    }
    return known != commands.end();
  }
  /// Moves message by message until S has written a text.
  void moveUntil(std::string const& text) {
    (*link)[S].out()->limitIs(0);
    for (int i = 0; i < 1000 && link->recorded(S).find(text) == std::string::npos; ++i) {
      run("step");
    }
    (*link)[S].out()->limitIs(Kro::NboAttrLog::Out::defaultLimit);
  }
  /// Does what there is to do when the mirror's observers are told of this.
  void told(std::string const& event) {
    for (auto it = handlers.begin(); it != handlers.end(); ++it) {
      if (event.rfind(it->first, 0) == 0) {
        std::string const deeds = it->second;
        handlers.erase(it);
        return run(deeds, M);
      }
    }
  }
};

}  // namespace VornTest
