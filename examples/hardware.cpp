// Keeps a pretended hardware table equal to a mirrored tree with one function, whatever comes and goes in the tree.
#include <iostream>
#include <map>
#include <optional>
#include <string>
#include <utility>

#include "VornAcl.h"

namespace {

/// Rules by the path of their ACL and their position in it.
using Table = std::map<std::pair<std::string, Vorn::AceIndex>, Vorn::IpRuleConfig>;

void program(Table& table, Kro::TreeChange const& change) {
  if (change.of<Vorn::VornAcl>() == nullptr || change.attribute != "ipRuleById") {
    return;
  }
  std::pair const place(std::string(change.path.view()), *change.key.as<Vorn::AceIndex>());
  if (auto const* const rule = change.now.as<Vorn::IpRuleConfig>()) {
    table[place] = *rule;
  } else {
    table.erase(place);
  }
  std::cout << (change.now ? "program " : "withdraw ") << place.first << ' ' << place.second.ruleId() << '\n';
}

void carry(Kro::NboAttrLog::Connection& from, Kro::NboAttrLog::Connection& to) {
  for (auto bytes = from.pending(); !bytes.empty(); bytes = from.pending()) {
    to.receive(bytes);
    from.sent(bytes.size());
  }
}

}  // namespace

int main() {
  using Kro::NboAttrLog::Connection;
  auto const chip = Kro::adopt(new Vorn::RootConfig("chip", 5, 1));
  auto const acl = chip->vornAclCollIs("acls")->aclIs({Vorn::ipv4PAcl, 5, Acl::in}, Acl::ip, "edge");
  acl->ipRuleByIdIs({10, 0, 0}, {});

  auto const sender = Connection::create(Connection::Role::opener);
  auto const mirror = Connection::create(Connection::Role::acceptor);
  Table table;
  std::optional<Kro::TreeObserver> observer;
  mirror->onRootIs([&](auto const& root) {
    Kro::TreeOptions options;
    options.tellsPresent = true;
    observer.emplace(
        root, [&](Kro::TreeChange const& change) { program(table, change); }, options);
  });
  sender->rootIs(chip);
  carry(*sender, *mirror);
  acl->ipRuleByIdIs({20, 0, 0}, {});
  acl->ipRuleByIdDel({10, 0, 0});
  carry(*sender, *mirror);
  std::cout << table.size() << " in the table\n";
  chip->vornAclCollDel();
  carry(*sender, *mirror);
  std::cout << table.size() << " in the table\n";
}
