#include "runtime/log/Queue.h"

namespace Kro::NboAttrLog {

void Queue::mark(Sa& adapter) {
  letBelowGoFirst(adapter);
  if (adapter.waiting().since == 0) {
    begin(adapter, nullptr, clock_);
  }
}

void Queue::letBelowGoFirst(Sa& adapter) {
  Sa::Waiting& w = adapter.waiting();
  w.lastMark = ++clock_;
  w.older = w.below;
  stand(adapter, first_);
}

/// Lets an adapter that does not wait begin to, in front of another one if that stands in the line, else at its end.
void Queue::begin(Sa& adapter, Sa* behind, std::uint64_t since) {
  adapter.waiting().since = since;
  ++waiting_;
  if (!adapter.isSilent()) {
    count(adapter, true);
  }
  stand(adapter, behind != nullptr && behind->waiting().inLine ? behind : nullptr);
}

void Queue::remove(Sa& adapter) {
  if (adapter.waiting().since == 0) {
    return;
  }
  if (!adapter.isSilent()) {
    count(adapter, false);
  }
  adapter.waiting().since = 0;
  --waiting_;
  stand(adapter, nullptr);
}

void Queue::leavePlaceToParent(Sa& adapter) {
  Sa* const parent = adapter.parentAdapter();
  std::uint64_t const since = adapter.waiting().since;
  if (parent != nullptr && since != 0 && (parent->waiting().since == 0 || parent->waiting().since > since)) {
    remove(*parent);
    begin(*parent, &adapter, since);
  }
  remove(adapter);
}

void Queue::silenceChanged(Sa& adapter) {
  if (adapter.waiting().since != 0) {
    count(adapter, !adapter.isSilent());
    stand(adapter, nullptr);
  }
}

/// Tells those above an adapter that it begins or ceases to wait.
void Queue::count(Sa const& adapter, bool more) {
  std::uint64_t const since = adapter.waiting().since;
  for (Sa* above = adapter.parentAdapter(); above != nullptr; above = above->parentAdapter()) {
    Sa::Waiting& w = above->waiting();
    w.below += more ? 1U : -1U;
    if (since < w.lastMark) {
      w.older += more ? 1U : -1U;
      stand(*above, first_);
    }
  }
}

/// Puts the adapter into the line, in front of another one or at the end, or takes it out, as it has to be.
void Queue::stand(Sa& adapter, Sa* behind) {
  Sa::Waiting& w = adapter.waiting();
  bool const stands = w.since != 0 && w.older == 0 && !adapter.isSilent();
  if (stands == w.inLine) {
    return;
  }
  w.inLine = stands;
  if (stands) {
    w.behind = behind;
    w.before = behind != nullptr ? behind->waiting().before : last_;
    (w.before != nullptr ? w.before->waiting().behind : first_) = &adapter;
    (behind != nullptr ? behind->waiting().before : last_) = &adapter;
  } else {
    (w.before != nullptr ? w.before->waiting().behind : first_) = w.behind;
    (w.behind != nullptr ? w.behind->waiting().before : last_) = w.before;
    w.before = w.behind = nullptr;
  }
}

Queue::Sa* Queue::next() {
  Sa* at = first_;
  for (; at != nullptr; at = at->waiting().behind) {
    ++looks_;
    if (at->mayFlowOut()) {
      break;
    }
  }
  return at;
}

}  // namespace Kro::NboAttrLog
