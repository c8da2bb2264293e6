// The demonstration's stream and its mirrors, one by one.
#include <filesystem>

#include <gtest/gtest.h>

#include "tests/runtime/log/Harness.h"
#include "tools/demo/Changes.h"
#include "tools/demo/Dump.h"
#include "tools/demo/Peer.h"

namespace {

using Demo::Peer;
using Demo::Tree;
using Kro::NboAttrLog::Connection;

std::string const sample = std::filesystem::path(VORNACL_SOURCE_DIR) / "tools/demo/sample.rules";
std::string const program = std::string(VORNACL_BIN_DIR) + "/vornacl-demo";

/// The sample with rules copied behind it until there are so many.
Tree treeOf(std::uint32_t rules) {
  Tree const tree = Demo::loadTree({sample});
  auto const acl = Demo::aclsOf(tree)[0];
  auto const some = acl->ipRuleByIdMap().begin()->value();
  for (std::uint32_t i = acl->ipRuleByIdSize() + 1; i <= rules; ++i) {
    acl->ipRuleByIdIs(Vorn::AceIndex(i, 0, 0), some);
  }
  return tree;
}

std::string dumpOf(Tree const& tree) {
  Demo::UnnamedFile const file;
  Demo::writeDump(tree, Demo::streamTo(file.number()).get());
  return file.text();
}

/// Changes a rule of each position; calls `then` behind each change.
template <class Then>
void changeAll(Tree const& tree, std::uint8_t round, Then then) {
  auto const acl = Demo::aclsOf(tree)[0];
  for (std::uint32_t i = 1, size = acl->ipRuleByIdSize(); i <= size; ++i) {
    acl->ipRuleByIdIs(Vorn::AceIndex(i, 0, 0), VornTest::rule(round));
    then();
  }
}

/// What a second reader makes of the stream, without any code in common, is the tree.
TEST(Peers, streamIsTheTreeForASecondReader) {
  Tree const tree = Demo::loadTree({sample, sample, sample, sample, sample});
  auto const connection = Connection::create(Connection::Role::opener);
  Second::Tree copy;
  Second::Reader reader(copy, 1);
  auto const read = [&] {
    for (auto bytes = connection->pending(); !bytes.empty(); bytes = connection->pending()) {
      reader.feed({reinterpret_cast<char const*>(bytes.data()), bytes.size()});
      connection->sent(bytes.size());
    }
  };
  connection->rootIs(tree);
  read();
  EXPECT_EQ(copy.dump(), VornTest::Dump::of(*tree));
  std::size_t made = 0;
  for (Demo::Changes changes(tree, 10000, 1); changes.next();) {
    // Bytes are taken one change at a time, then after so many that most of them waited.
    if (++made < 1000 || made % 3000 == 0) {
      read();
    }
  }
  EXPECT_GT(connection->stats().dirtyMarksPeak, 100U);
  read();
  EXPECT_EQ(reader.error(), "");
  EXPECT_TRUE(reader.idle());
  EXPECT_EQ(copy.dump(), VornTest::Dump::of(*tree));
}

/// A source that is never read keeps a bounded buffer and a mark for each key; later everything follows.
TEST(Peers, aReaderThatNeverReadsCostsOneMarkForEachKey) {
  constexpr std::uint32_t rules = 5000;
  Tree const tree = treeOf(rules);
  Peer peer(tree, Demo::MirrorTask::dump, program);
  Peer::drain({&peer});
  peer.process().stop();
  Kro::NboAttrLog::Limits const limits;
  std::size_t longest = 0;
  for (std::uint8_t round = 1; round <= 20; ++round) {
    changeAll(tree, round, [&] {
      peer.pump().move();
      longest = std::max(longest, peer.connection().pending().size());
    });
  }
  auto const stats = peer.connection().stats();
  EXPECT_GT(longest, limits.bufferedBytes / 2);
  EXPECT_LE(longest, limits.bufferedBytes + 200U) << "one message beyond the limit at most";
  EXPECT_EQ(stats.dirtyMarksPeak, rules);
  peer.process().resume();
  Peer::drain({&peer});
  EXPECT_EQ(peer.connection().stats().dirtyMarks, 0U);
  peer.finish();
  EXPECT_NE(peer.result(), "");
  EXPECT_TRUE(peer.dump() == dumpOf(tree));
}

/// A mirror that dies in the middle of the first transfer harms neither the tree nor another mirror, and its successor
/// gets everything.
TEST(Peers, aMirrorDiesInTheMiddleOfATransfer) {
  Tree const tree = treeOf(50000);
  Peer other(tree, Demo::MirrorTask::dump, program);
  {
    Peer peer(tree, Demo::MirrorTask::dump, program);
    peer.process().stop();
    peer.pump().move();
    EXPECT_FALSE(peer.pump().isDrained());
    peer.kill();
    EXPECT_FALSE(peer.pump().isOpen());
    EXPECT_EQ(peer.connection().state(), Connection::State::lost);
    EXPECT_EQ(peer.connection().lastError(), "the other process was killed");
    changeAll(tree, 1, [&] { other.pump().move(); });
    EXPECT_EQ(peer.connection().stats().dirtyMarks, 0U);
    EXPECT_THROW(Peer::drain({&peer, &other}), std::runtime_error);
  }
  EXPECT_EQ(tree->auditErrors(9), 0U);
  Peer successor(tree, Demo::MirrorTask::dump, program);
  changeAll(tree, 2, [&] { successor.pump().move(), other.pump().move(); });
  Peer::drain({&successor, &other});
  std::string const expected = dumpOf(tree);
  for (Peer* const peer : {&successor, &other}) {
    peer->finish();
    EXPECT_NE(peer->result(), "");
    EXPECT_TRUE(peer->dump() == expected);
  }
}

}  // namespace
