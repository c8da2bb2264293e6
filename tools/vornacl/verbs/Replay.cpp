// replay: the tree that a recorded stream makes.
#include <algorithm>
#include <limits>

#include "tools/common/BadData.h"
#include "tools/common/Files.h"
#include "tools/vornacl/Verbs.h"
#include "tools/vornacl/net/LiveTree.h"
#include "tools/vornacl/verbs/TreeView.h"

namespace Tools {

namespace {

struct ReplayOptions {
  std::string file;
  std::uint64_t to = std::numeric_limits<std::uint64_t>::max();
  TreeView view;
};

Exit replay(ReplayOptions const& options, Output& output) {
  File const file = openFile(options.file, "rb");
  auto const connection = Connection::create(Connection::Role::opener);
  Tree tree;
  connection->onRootIs([&](Kro::Ptr<Kro::Entity> const& root) { tree = treeOf(root); });
  bool const isPart = options.to != std::numeric_limits<std::uint64_t>::max();
  std::uint64_t fed = 0;
  // Where a message ends is known when it was applied.
  std::vector<std::uint8_t> bytes(isPart ? 1 : 1 << 16);
  while (connection->stats().messagesReceived < options.to) {
    std::size_t const length = std::fread(bytes.data(), 1, bytes.size(), file.get());
    if (length == 0) {
      break;
    }
    connection->receive(std::span(bytes).first(length));
    fed += length;
  }
  if (std::ferror(file.get()) != 0) {
    throw BadData({options.file}, "cannot be read");
  }
  if (connection->state() == Connection::State::lost) {
    throw BadData({options.file}, std::string(connection->lastError().view()));
  }
  if (!isPart && fed != connection->stats().bytesReceived) {
    throw BadData({options.file},
                  fmt::format("it ends within the message at byte {}", connection->stats().bytesReceived));
  }
  if (!isPart && connection->state() != Connection::State::inSync) {
    throw BadData({options.file}, "it ends before the tree is whole");
  }
  if (isPart && connection->stats().messagesReceived < options.to) {
    throw Failure(Exit::notFound,
                  options.file + ": it has only " + counted(connection->stats().messagesReceived, "message"));
  }
  if (!tree) {
    throw BadData({options.file}, "it does not tell of a tree of rules");
  }
  options.view.tell(tree, output);
  return Exit::done;
}

}  // namespace

Run declareReplay(CLI::App& app) {
  auto const options = std::make_shared<ReplayOptions>();
  app.add_option("FILE", options->file, "What record has written")->required();
  options->view.declare(app);
  app.add_option("--to", options->to, "Only up to this message, counted as dump prints them")->type_name("N");
  return [options](Output& output) { return replay(*options, output); };
}

}  // namespace Tools
