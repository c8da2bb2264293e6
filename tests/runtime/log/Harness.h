// Two ends of the attribute log in one process. A test moves the bytes: it blocks a writer, holds bytes back on the
// way, cuts and drops them. What each end writes is said by the second reader, message by message.
#pragma once

#include <array>
#include <functional>
#include <map>
#include <memory>
#include <set>

#include "runtime/log/Connection.h"
#include "tests/Contracts.h"
#include "tests/support/SecondReader.h"
#include "tests/support/Spies.h"

namespace VornTest {

using Kro::Ptr;
using Kro::NboAttrLog::Limits;
using Vorn::AceIndex;
using Vorn::RootConfig;
using Vorn::RootConfigColl;
using Vorn::VornAcl;
using Vorn::VornAclColl;
using LogConnection = Kro::NboAttrLog::Connection;

/// The ends: S opened the connection and gives odd ids, M accepted it.
enum Side { M = 0, S = 1 };
inline Side other(Side side) { return side == S ? M : S; }

// --- things to put into a tree ---

inline Vorn::AclId aclId(std::uint8_t n) { return {Vorn::ipv4PAcl, Vorn::ChipRuleListId(n), Acl::in}; }
inline AceIndex at(std::uint32_t n) { return {n, 0, 0}; }
inline Vorn::IpRuleConfig rule(std::uint8_t ttl) {
  Vorn::IpFilter filter;
  filter.ttlIs(ttl);
  Vorn::IpRuleConfig rule;
  rule.filterIs(filter);
  return rule;
}
inline Vorn::MacRuleConfig macRule(std::uint32_t proto) {
  Vorn::MacFilter filter;
  filter.protoIs(proto);
  Vorn::MacRuleConfig rule;
  rule.filterIs(filter);
  return rule;
}
inline Zil::AclKey key(char const* name) { return {Acl::ip, name}; }

// --- a tree as text, in the second reader's form ---

template <class T>
std::string textOf(char const* type, T const& value) {
  Bytes const bytes = logBytes(value);
  return Second::Reader::valueText(type, {reinterpret_cast<char const*>(bytes.data()), bytes.size()});
}

class Dump {
 public:
  static std::string of(Kro::Entity const& root) {
    Dump dump;
    if (auto const* coll = dynamic_cast<RootConfigColl const*>(&root)) {
      dump.add(dump.root(root), *coll);
    } else if (auto const* config = dynamic_cast<RootConfig const*>(&root)) {
      dump.add(dump.root(root) + " " + parameters(*config), *config);
    } else if (auto const* acl = dynamic_cast<VornAcl const*>(&root)) {
      dump.add(parameters(*acl), *acl);
    }
    std::string text;
    for (std::string const& line : dump.lines_) {
      text += line + '\n';
    }
    return text;
  }

 private:
  static std::string root(Kro::Entity const& entity) { return quoted(entity.name()); }
  static std::string quoted(Kro::Name const& name) { return '"' + std::string(name.view()) + '"'; }
  static std::string parameters(RootConfig const& config) {
    return std::to_string(config.rootConfigId()) + " " + textOf("U16", config.chipId());
  }
  static std::string parameters(VornAcl const& acl) {
    return textOf("AclId", acl.aclId()) + " " + std::to_string(acl.aclType()) + " " + quoted(acl.cliName());
  }
  void entity(std::string const& path, char const* type, std::string const& parameters) {
    lines_.insert(path + ": Vorn::" + type + " " + parameters);
  }
  void scalar(std::string const& path, std::string const& value) {
    if (value != "0") {
      lines_.insert(path + " = " + value);
    }
  }
  template <class Map>
  void values(std::string const& path, Map const& map, char const* keyType, char const* valueType) {
    for (auto const& record : map) {
      lines_.insert(path + "[" + textOf(keyType, record.key()) + "] = " + textOf(valueType, record.value()));
    }
  }
  void add(std::string const& path, RootConfigColl const& coll) {
    entity(path, "RootConfigColl", root(coll));
    for (auto const& config : coll.chipRootConfigMap()) {
      add(path + ".chipRootConfig[" + std::to_string(config.rootConfigId()) + "]", config);
    }
    for (auto const& entry : coll.chipRootConfigLastFailedMap()) {
      RootConfig const& target = *entry.referenced();
      lines_.insert(path + ".chipRootConfigLastFailed[" + textOf("U16", target.chipId()) + "] -> " +
                    parameters(target));
    }
  }
  void add(std::string const& path, RootConfig const& config) {
    bool const isRoot = !config.parent();
    entity(path, "RootConfig", (isRoot ? root(config) + " " : "") + parameters(config));
    scalar(path + ".active", config.active() ? "1" : "0");
    scalar(path + ".action", std::to_string(config.action()));
    scalar(path + ".vornRootKickTime", textOf("double", config.vornRootKickTime()));
    scalar(path + ".vornRootKick", std::to_string(config.vornRootKick()));
    scalar(path + ".initialized", config.initialized() ? "1" : "0");
    if (auto const acls = config.vornAclColl()) {
      entity(path + ".vornAclColl", "VornAclColl", root(*acls));
      for (auto const& acl : acls->aclMap()) {
        add(path + ".vornAclColl.acl[" + textOf("AclId", acl.aclId()) + "]", acl);
      }
    }
    if (auto const mapping = config.aclKeyToAclId()) {
      entity(path + ".aclKeyToAclId", "AclKeyToAclIdMapping", root(*mapping));
      values(path + ".aclKeyToAclId.keyToId", mapping->keyToIdMap(), "AclKey", "AclId");
    }
  }
  void add(std::string const& path, VornAcl const& acl) {
    entity(path, "VornAcl", parameters(acl));
    values(path + ".ipRuleById", acl.ipRuleByIdMap(), "AceIndex", "IpRuleConfig");
    values(path + ".macRuleById", acl.macRuleByIdMap(), "AceIndex", "MacRuleConfig");
  }

  std::set<std::string> lines_;
};

// --- bytes that no end wrote ---

struct WireText {
  static std::string number(std::uint64_t value, int bytes) {
    std::string text;
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) {
      text += static_cast<char>(value >> shift & 0xff);
    }
    return text;
  }
  static std::string string(std::string_view text) { return number(text.size(), 4) + std::string(text); }
  template <class T>
  static std::string value(T const& value) {
    Bytes const bytes = logBytes(value);
    return {reinterpret_cast<char const*>(bytes.data()), bytes.size()};
  }
  static std::string message(std::uint64_t entity, int attribute, std::string const& payload, unsigned flags = 1,
                             unsigned code = 0) {
    return number(payload.size(), 4) + number(entity, 8) + number(static_cast<std::uint32_t>(attribute), 4) +
           number(flags, 1) + number(code, 1) + payload;
  }
  static std::string creation(std::uint64_t entity, int attribute, std::string const& parameters, std::uint64_t id) {
    return message(entity, attribute, parameters + number(id, 8), 1, 151);
  }
  static std::string marker(std::uint64_t entity, int attribute, unsigned type) {
    return message(entity, attribute, number(type, 1), 4);
  }
  static std::string applied(std::uint64_t n) { return message(0, 0, number(n, 8), 8); }
};

// --- two connections and the bytes between them ---

class Link {
 public:
  explicit Link(Limits const& opener = {}, Limits const& acceptor = {}) {
    ends[S] = LogConnection::create(LogConnection::Role::opener, opener);
    ends[M] = LogConnection::create(LogConnection::Role::acceptor, acceptor);
  }
  ~Link() {
    for (Side const side : {M, S}) {
      std::string const& error = readers_[side].error();
      EXPECT_TRUE(error.empty() || (!fault.empty() && error.find(fault) == 0)) << error << ", after: " << lines(side);
    }
  }
  LogConnection& operator[](Side side) { return *ends[side]; }

  /// Takes what the end offers at once, and says it.
  void pull(Side side) {
    auto const bytes = ends[side]->pending();
    std::string const taken(reinterpret_cast<char const*>(bytes.data()), bytes.size());
    ends[side]->sent(taken.size());
    readers_[side].feed(taken);
    wire_[side] += taken;
    recorded[side] += taken;
  }
  /// Hands bytes on the way to the peer, at most `n` of them, in pieces of `chunk`.
  void deliver(Side side, std::size_t n = SIZE_MAX) {
    while (n > 0 && !wire_[side].empty()) {
      std::string const piece = wire_[side].substr(0, std::min(n, chunk));
      wire_[side].erase(0, piece.size());
      n -= piece.size();
      receive(other(side), piece);
    }
  }
  void receive(Side side, std::string_view bytes) {
    ends[side]->receive({reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size()});
  }
  /// Moves everything until nothing moves; what `hold` names stays on the way.
  void move() {
    for (bool moved = true; moved;) {
      moved = false;
      for (Side const side : {S, M}) {
        std::size_t const before = recorded[side].size();
        pull(side);
        moved = moved || recorded[side].size() != before;
        if (!held[side]) {
          deliver(side);
        }
      }
    }
  }
  /// What an end wrote since it was asked last.
  std::string lines(Side side) {
    std::string text;
    for (auto const& all = readers_[side].lines(); said_[side] < all.size(); said_[side]++) {
      text += (text.empty() ? "" : "; ") + all[said_[side]];
    }
    return text;
  }
  /// Everything that an end wrote so far.
  std::string recordedLines(Side side) const {
    std::string text;
    for (std::string const& line : readers_[side].lines()) {
      text += line + "; ";
    }
    return text;
  }
  void forget() { lines(S), lines(M); }

  /// From now on changes wait at this end: its buffer is full of something that the peer never gets.
  void block(Side side) {
    Kro::NboAttrLog::Out& out = *ends[side]->out();
    ASSERT_EQ(out.length(), 0U);
    out.limitIs(1);
    out.endIs(out.room(1) + 1);
  }
  void unblock(Side side, std::size_t limit = Kro::NboAttrLog::Out::defaultLimit) {
    ends[side]->out()->taken(1);
    ends[side]->out()->limitIs(limit);
  }

  /// Hands an end bytes that its peer never wrote. They count as the peer's for the second reader, where it can read
  /// them.
  void inject(Side to, std::string const& bytes) {
    readers_[other(to)].feed(bytes);
    receive(to, bytes);
  }
  std::string errors() {
    return std::string(ends[S]->lastError().view()) + "|" + std::string(ends[M]->lastError().view());
  }

  Ptr<LogConnection> ends[2];
  bool held[2] = {false, false};
  std::size_t chunk = SIZE_MAX;
  std::string recorded[2];  ///< every byte that an end wrote
  Second::Tree tree;
  std::string fault;  ///< the rule that a test lets an end break

 private:
  Second::Reader readers_[2] = {{tree, M}, {tree, S}};
  std::size_t said_[2] = {0, 0};
  std::string wire_[2];
};

/// Every entity of a tree observed, those to come too, each named by its place: "c" the collection, "5" a
/// configuration, "5v" its ACLs, "5v/1.7.0" one of them, "5p" its mapping.
class Watch {
 public:
  explicit Watch(Journal& journal) : journal_(&journal) {}

  template <class X>
  void root(Ptr<X> const& entity) {
    again_ = [this, entity] { look(entity, "c"); };
    again_();
  }

 private:
  template <class Spy, class X>
  void spy(Ptr<X> const& entity, std::string const& name) {
    Ptr<Kro::PtrInterface>& place = spies_[entity.get()];
    if (!place) {
      auto const made = Kro::adopt(new Spy(journal_, name));
      place = made;
      made->isRegisteredNotifieeIs(true);
      made->notifierIs(entity);
      made->act = [this] { again_(); };
    }
  }
  void look(Ptr<RootConfigColl> const& coll, std::string const& name) {
    spy<ConfigCollSpy>(coll, name);
    for (auto it = coll->chipRootConfigIterator(); it; it.advance()) {
      look(it.member(), std::to_string(it->rootConfigId()));
    }
  }
  void look(Ptr<RootConfig> const& config, std::string const& name) {
    spy<ConfigSpy>(config, name);
    if (auto const acls = config->vornAclColl()) {
      spy<AclCollSpy>(acls, name + "v");
      for (auto it = acls->aclIterator(); it; it.advance()) {
        look(it.member(), name + "v/" + textOf("AclId", it->aclId()));
      }
    }
    if (auto const mapping = config->aclKeyToAclId()) {
      spy<MappingSpy>(mapping, name + "p");
    }
  }
  void look(Ptr<VornAcl> const& acl, std::string const& name) { spy<AclSpy>(acl, name); }

  Journal* journal_;
  std::function<void()> again_;
  std::map<void const*, Ptr<Kro::PtrInterface>> spies_;
};

/// S sends one root of type X, M mirrors it and writes down what its observers are told.
template <class X>
class LogTest : public EntityTest {
 protected:
  /// A new connection; `limits` are those of S. The mirror of the old one is offered where `keep` is set.
  void connect(Limits const& limits = {}, bool keep = false) {
    link = std::make_unique<Link>(limits);
    if (keep) {
      (*link)[M].rootOffer(mirror);
    }
    (*link)[M].onRootIs([this](Ptr<Kro::Entity> const& arrived) { mirrorIs(Kro::ptrCast<X>(arrived)); });
    (*link)[S].rootIs(root);
  }
  void mirrorIs(Ptr<X> const& entity) {
    mirror = entity;
    watch = std::make_unique<Watch>(journal);
    watch->root(mirror);
  }
  /// Both ends in sync, nothing said or told yet.
  void inSync() {
    connect();
    link->move();
    link->forget();
    journal.take();
  }
  void move() { link->move(); }
  /// A connection that ends at both sides.
  void cut() {
    (*link)[S].close("cut");
    (*link)[M].close("cut");
  }
  /// Moves message by message until S has written a text.
  void moveUntil(std::string const& text) {
    (*link)[S].out()->limitIs(0);
    for (int i = 0; i < 1000 && link->recordedLines(S).find(text) == std::string::npos; i++) {
      link->pull(S);
      link->deliver(S);
    }
  }
  std::string said(Side side = S) { return link->lines(side); }
  std::string told() { return journal.take(); }

  void expectEqual() {
    EXPECT_EQ(link->errors(), "|");
    ASSERT_TRUE(mirror);
    EXPECT_EQ(Dump::of(*mirror), Dump::of(*root));
    EXPECT_EQ(root->auditErrors(9), 0U);
    EXPECT_EQ(mirror->auditErrors(9), 0U);
    EXPECT_EQ((*link)[M].state(), LogConnection::State::inSync);
  }
  /// The same, and what the second reader made of both directions.
  void expectAllEqual() {
    expectEqual();
    EXPECT_EQ(link->tree.dump(), Dump::of(*root));
  }

  Ptr<X> root;
  Ptr<X> mirror;
  std::unique_ptr<Watch> watch;
  std::unique_ptr<Link> link;
};

/// With a configuration 5 of chip 1 that holds one ACL with rules 1 and 2 and one key.
class TreeTest : public LogTest<RootConfigColl> {
 protected:
  TreeTest() { rebuild(); }
  /// The same tree new, on no connection.
  void rebuild() {
    link = nullptr;
    watch = nullptr;
    mirror = nullptr;
    root = Vorn::rootConfigCollFactory("rcc");
    r5 = root->chipRootConfigIs(5, 1);
    r5->initialize();
    acls = r5->vornAclColl();
    acl = acls->aclIs(aclId(7), Acl::ip, "acl-a");
    acl->ipRuleByIdIs(at(1), rule(1));
    acl->ipRuleByIdIs(at(2), rule(2));
    r5->aclKeyToAclId()->keyToIdIs(key("k"), aclId(7));
  }
  Ptr<RootConfig> mirror5() { return mirror->chipRootConfig(5); }
  Ptr<VornAclColl> mirrorAcls() { return mirror5()->vornAclColl(); }
  Ptr<VornAcl> mirrorAcl() { return mirrorAcls()->acl(aclId(7)); }

  Ptr<RootConfig> r5;
  Ptr<VornAclColl> acls;
  Ptr<VornAcl> acl;
};

}  // namespace VornTest
