#include "tools/vornacl/net/Merge.h"

#include <stdexcept>
#include <string>

#include "runtime/log/Connection.h"

namespace Tools {

namespace {

using Kro::NboAttrLog::Connection;

/// Takes over what one end wants to send; returns whether there was something.
bool move(Connection& from, Connection& to) {
  auto const bytes = from.pending();
  to.receive(bytes);
  from.sent(bytes.size());
  return !bytes.empty();
}

}  // namespace

void merge(Tree const& tree, Tree const& wanted) {
  if (!(tree->name() == wanted->name())) {
    throw std::runtime_error("the tree has another name");
  }
  // A connection without a peer does just that: what arrives is compared, and what does not arrive is removed.
  auto const from = Connection::create(Connection::Role::opener);
  auto const to = Connection::create(Connection::Role::acceptor);
  from->rootIs(wanted, Connection::Access::readOnly);
  to->rootOffer(tree);
  while (move(*from, *to) || move(*to, *from)) {
  }
  for (auto const& end : {from, to}) {
    if (end->state() != Connection::State::inSync) {
      throw std::runtime_error("the tree could not be changed: " + std::string(end->lastError().view()));
    }
  }
}

}  // namespace Tools
