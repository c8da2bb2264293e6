#include "tools/demo/Mirror.h"

#include <cstdio>
#include <stdexcept>
#include <vector>

#include "tools/demo/Dump.h"
#include "tools/demo/Files.h"
#include "tools/demo/Pump.h"

namespace Demo {

namespace {

using Kro::NboAttrLog::Connection;

/// Counts the changes of one ACL's rules once the first complete state has come.
class Follower : public Vorn::VornAcl::NotifieeConst {
 public:
  Follower(Connection const& connection, std::size_t& changes) : connection_(connection), changes_(changes) {}

  void onIpRuleById(Vorn::AceIndex const&) override {
    if (connection_.state() == Connection::State::inSync) {
      ++changes_;
    }
  }

 private:
  Connection const& connection_;
  std::size_t& changes_;
};

/// The ACLs that arrive on a connection.
class Mirror {
 public:
  explicit Mirror(Kro::Ptr<Connection> const& connection) : connection_(connection) {
    connection->onRootIs([this](Kro::Ptr<Kro::Entity> const& root) { take(root); });
  }
  ~Mirror() { connection_->onRootIs({}); }

  Acls const& acls() const { return acls_; }
  std::size_t changes() const { return changes_; }

  /// Changes one attribute of the first rule there is.
  void alterOneRule() {
    for (auto const& acl : acls_) {
      for (auto const& record : acl->ipRuleByIdMap()) {
        Vorn::IpRuleConfig rule = record.value();
        rule.logIs(!rule.log());
        acl->ipRuleByIdIs(Vorn::AceIndex(record.key()), rule);
        return;
      }
    }
  }

 private:
  void take(Kro::Ptr<Kro::Entity> const& root) {
    auto acl = Kro::ptrCast<Vorn::VornAcl>(root);
    if (!acl) {
      throw std::runtime_error("the other process sends something else than ACLs");
    }
    auto follower = Kro::adopt(new Follower(*connection_, changes_));
    follower->notifierIs(acl);
    follower->isRegisteredNotifieeIs(true);
    acls_.push_back(std::move(acl));
    followers_.push_back(std::move(follower));
  }

  Kro::Ptr<Connection> connection_;
  Acls acls_;
  std::vector<Kro::Ptr<Follower>> followers_;
  std::size_t changes_ = 0;
};

/// Runs until the other end says that nothing follows.
void follow(Kro::Ptr<Connection> const& connection, FileDescriptor socket) {
  Pump pump(connection, std::move(socket));
  Pump* const pumps[] = {&pump};
  while (pump.isOpen()) {
    Pump::wait(pumps, std::chrono::milliseconds(-1));
  }
  if (connection->state() != Connection::State::inSync) {
    throw std::runtime_error("the stream ended before the first complete state");
  }
}

}  // namespace

std::vector<std::string> MirrorOptions::arguments() const {
  std::vector<std::string> result{socketName, std::to_string(socket)};
  if (dump) {
    result.insert(result.end(), {dumpName, *dump});
  }
  if (plant) {
    result.emplace_back(plantName);
  }
  return result;
}

void runMirror(MirrorOptions const& options) {
  auto const connection = Connection::create(Connection::Role::acceptor);
  Mirror mirror(connection);
  follow(connection, FileDescriptor(options.socket));
  if (options.plant) {
    mirror.alterOneRule();
  }
  if (options.dump) {
    writeDump(mirror.acls(), openFile(*options.dump, "wb").get());
    std::printf("%zu %zu %zu\n", ruleCount(mirror.acls()), mirror.acls().size(), mirror.changes());
  } else {
    writeCanonicalLines(mirror.acls(), stdout);
  }
}

}  // namespace Demo
