#include <iostream>

#include "VornAcl.h"

struct Watcher : Vorn::VornAcl::Notifiee {
  using Notifiee::onIpRuleById;
  void onIpRuleById(Vorn::AceIndex const& key) override { std::cout << "rule " << key << " changed\n"; }
};

int main() {
  using Connection = Kro::NboAttrLog::Connection;
  auto acl = Kro::adopt(new Vorn::VornAcl({Vorn::ipv4PAcl, 5, Acl::in}, Acl::ip, "in"));
  auto sender = Connection::create(Connection::Role::opener);
  auto mirror = Connection::create(Connection::Role::acceptor);
  auto watcher = Kro::adopt(new Watcher);
  mirror->onRootIs([&](auto const& root) { watcher->notifierIs(root), watcher->isRegisteredNotifieeIs(true); });
  sender->rootIs(acl);
  acl->ipRuleByIdIs({10, 0, 0}, {});
  for (auto bytes = sender->pending(); !bytes.empty(); bytes = sender->pending()) {
    mirror->receive(bytes);  // any transport moves these bytes
    sender->sent(bytes.size());
  }
}
