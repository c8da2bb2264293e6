// Two ends of the attribute log, both alive. The input is a script: changes at either end, and bytes that are moved,
// lost, doubled, altered or made up. However that ends, the trees are whole, and a new connection makes them equal.
#include <functional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "VornAcl.h"
#include "fuzz/Require.h"
#include "runtime/log/Connection.h"
#include "runtime/reflection/Path.h"

namespace {

using Kro::NboAttrLog::Connection;
using Tree = Kro::Ptr<Vorn::RootConfigColl>;
using Bytes = std::vector<std::uint8_t>;

/// What is left of the input.
class Script {
 public:
  explicit Script(std::span<std::uint8_t const> rest) : rest_(rest) {}
  bool atEnd() const { return rest_.empty(); }
  std::uint8_t next() { return atEnd() ? 0 : take(1)[0]; }
  Bytes take(std::size_t most) {
    auto const taken = rest_.first(std::min(most, rest_.size()));
    rest_ = rest_.subspan(taken.size());
    return {taken.begin(), taken.end()};
  }

 private:
  std::span<std::uint8_t const> rest_;
};

/// Everything in a tree, a line for each attribute and member; but not the references to what has left the tree.
void describe(std::set<std::string>& lines, Kro::Ptr<Kro::GenericIf> const& object) {
  auto const add = [&](auto const& name, Kro::String8 const& key, Kro::String8 const& value) {
    lines.insert(std::string((object->strRep() + " " + name.string() + " " + key + " " + value).view()));
  };
  for (auto const& attribute : object->type()->attributeQ()) {
    auto const& kind = attribute->toolKind();
    if (kind == "members" || kind == "values" || kind == "references") {
      for (auto at = object->attributeIteratorConst(attribute->id()); at; ++at) {
        if (kind != "references" || at.object()->strRep().view().find('/') != std::string_view::npos) {
          add(attribute->name(), at.key()->strRep(), at.object()->strRep());
        }
        if (kind == "members") {
          describe(lines, at.object());
        }
      }
    } else if (kind != "function" && kind != "key") {
      auto const value = object->attribute(attribute->name().string());
      add(attribute->name(), {}, value->strRep());
      if (kind == "child" && !(value->strRep() == "null")) {
        describe(lines, value);
      }
    }
  }
}

/// One change. Keys come from few, so that everything meets everything.
void change(Vorn::RootConfigColl& tree, Script& script) {
  std::uint8_t const what = script.next(), where = script.next(), value = script.next();
  std::uint16_t const n = where % 2;
  auto const chip = tree.chipRootConfigIs(n, Vorn::ChipId(n));
  auto const acls = chip->vornAclCollIs(value % 16 == 0 ? "other" : "acls");
  Vorn::AclId const id(Vorn::ipv4PAcl, where / 2 % 2, Acl::in);
  auto const acl = acls->aclIs(id, Acl::ip, "acl");
  Vorn::AceIndex const at(where / 4 % 4, 0, 0);
  Vorn::IpFilter filter;
  filter.ttlIs(value);
  Vorn::IpRuleConfig rule;
  rule.filterIs(filter);
  std::function<void()> const changes[] = {
      [&] { acl->ipRuleByIdIs(at, rule); },
      [&] { acl->ipRuleByIdDel(at); },
      [&] { acl->ipRuleByIdDelAll(); },
      [&] { acl->macRuleByIdIs(at, {}); },
      [&] { acls->aclDel(id); },
      [&] { acls->aclDelAll(); },
      [&] { chip->activeIs(!chip->active()); },
      [&] { chip->vornRootKickInc(value); },
      [&] { chip->vornRootKickTimeIs(value); },
      [&] { chip->vornAclCollDel(); },
      [&] {
        chip->aclKeyToAclIdIs("names")->keyToIdIs({Acl::ip, "acl"}, {Vorn::macAcl, value, Acl::in});
      },
      [&] { chip->aclKeyToAclIdDel(); },
      [&] { tree.chipRootConfigLastFailedIs(chip); },
      [&] { tree.chipRootConfigLastFailedDel(Vorn::ChipId(n)); },
      [&] { tree.chipRootConfigDel(n); },
      [] {},
  };
  changes[what % std::size(changes)]();
}

struct System {
  Tree trees[2] = {Vorn::rootConfigCollFactory("all"), nullptr};
  Kro::Ptr<Connection> ends[2];

  void connect(std::uint32_t bufferedBytes) {
    Kro::NboAttrLog::Limits limits;
    limits.bufferedBytes = bufferedBytes;
    ends[0] = Connection::create(Connection::Role::opener, limits);
    ends[1] = Connection::create(Connection::Role::acceptor, limits);
    ends[1]->onRootIs([this](Kro::Ptr<Kro::Entity> const& root) {
      auto const tree = Kro::ptrCast<Vorn::RootConfigColl>(root);
      trees[1] = tree ? tree : trees[1];
    });
    ends[0]->rootIs(trees[0]);
    if (trees[1]) {
      ends[1]->rootOffer(trees[1]);
    }
  }
  Bytes taken(int from, std::size_t most) {
    auto const pending = ends[from]->pending();
    Bytes bytes(pending.begin(), pending.begin() + static_cast<std::ptrdiff_t>(std::min(most, pending.size())));
    ends[from]->sent(bytes.size());
    return bytes;
  }
  void step(Script& script) {
    std::uint8_t const what = script.next();
    int const from = what % 2;
    if (what < 128) {
      return trees[from] ? change(*trees[from], script) : void();
    }
    std::uint8_t const most = script.next();
    Bytes bytes = what < 224 ? taken(from, most < 128 ? most : 1000) : script.take(most);
    if (what >= 208 && what < 224 && !bytes.empty()) {
      bytes[script.next() % bytes.size()] = script.next();
    }
    for (int times = what < 192 || what >= 208 ? 1 : what < 200 ? 0 : 2; times > 0; --times) {
      ends[1 - from]->receive(bytes);
    }
  }
  /// Moves everything until nothing moves.
  void drain() {
    for (int rounds = 0, idle = 0; idle < 2; ++rounds) {
      require(rounds < 100000, "the ends come to rest");
      Bytes const bytes = taken(rounds % 2, SIZE_MAX);
      ends[1 - rounds % 2]->receive(bytes);
      idle = bytes.empty() ? idle + 1 : 0;
    }
  }
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
  Script script({data, size});
  System system;
  system.connect(script.next() * 16U);
  while (!script.atEnd()) {
    try {
      system.step(script);
    } catch (Kro::NameInUseException const&) {  // a member that the peer made in another way
    }
    for (Tree const& tree : system.trees) {
      require(!tree || tree->auditErrors(9) == 0, "the trees are whole");
    }
  }
  system.connect(1000);
  system.drain();
  std::set<std::string> lines[2];
  for (int const side : {0, 1}) {
    require(system.ends[side]->state() == Connection::State::inSync, system.ends[side]->lastError().charPtr());
    describe(lines[side], Kro::reflectionOf(system.trees[side]));
  }
  require(lines[0] == lines[1], "a new connection makes the trees equal");
  return 0;
}
