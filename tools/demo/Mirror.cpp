#include "tools/demo/Mirror.h"

#include <cstdio>
#include <optional>
#include <stdexcept>

#include "runtime/tree/TreeObserver.h"
#include "tools/demo/Dump.h"
#include "tools/demo/Files.h"
#include "tools/demo/Pump.h"

namespace Demo {

namespace {

using Kro::NboAttrLog::Connection;

/// The tree that arrives on a connection.
class Mirror {
 public:
  explicit Mirror(Kro::Ptr<Connection> const& connection) : connection_(connection) {
    connection->onRootIs([this](Kro::Ptr<Kro::Entity> const& root) { take(root); });
  }
  ~Mirror() { connection_->onRootIs({}); }

  Tree const& tree() const { return tree_; }
  std::size_t changes() const { return changes_; }

  /// Changes one attribute of the first rule there is.
  void alterOneRule() {
    for (auto const& acl : aclsOf(tree_)) {
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
    auto tree = Kro::ptrCast<Vorn::RootConfigColl>(root);
    if (!tree || tree_) {
      throw std::runtime_error("the other process sends something else than one tree");
    }
    tree_ = std::move(tree);
    Kro::TreeOptions options;
    options.remembersValues = false;
    follower_.emplace(
        tree_,
        [this](Kro::TreeChange const&) { changes_ += connection_->state() == Connection::State::inSync ? 1U : 0U; },
        options);
  }

  Kro::Ptr<Connection> connection_;
  Tree tree_;
  std::size_t changes_ = 0;  ///< told once the whole tree was here
  std::optional<Kro::TreeObserver> follower_;
};

/// Runs until the other end says that nothing follows.
void followStream(Kro::Ptr<Connection> const& connection, FileDescriptor socket) {
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
  std::vector<std::string> result{socketName, std::to_string(socket), fileName, std::to_string(file)};
  if (task == MirrorTask::plantAndDump) {
    result.emplace_back(plantName);
  } else if (task == MirrorTask::printRules) {
    result.emplace_back(rulesName);
  }
  return result;
}

void runMirror(MirrorOptions const& options) {
  auto const connection = Connection::create(Connection::Role::acceptor);
  Mirror mirror(connection);
  followStream(connection, FileDescriptor(options.socket));
  if (options.task == MirrorTask::printRules) {
    writeCanonicalLines(mirror.tree(), stdout);
    return;
  }
  if (options.task == MirrorTask::plantAndDump) {
    mirror.alterOneRule();
  }
  writeDump(mirror.tree(), streamTo(options.file).get());
  Counts const counts = countsOf(mirror.tree());
  std::printf("%zu %zu %zu %zu\n", counts.rules, counts.acls, counts.chips, mirror.changes());
}

}  // namespace Demo
