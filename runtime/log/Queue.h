// The flow-outs of one connection that wait to be written, in the order in which they are served.
//
// Nothing of an entity overtakes older changes of the entities below it. So an adapter is blocked while one below it
// waits that did so before its own last mark; it stands in no line then, and comes to the front of the line when the
// last of those is done. Otherwise who began to wait first is served first. What a silent adapter has to write waits
// beside all that: it stands in no line and blocks nobody. No operation costs more where more wait.
//
// Invariants, for every adapter
//  1. It waits where `since` is not 0: the time at which it began.
//  2. `below` counts the adapters below it that wait and are not silent, `older` those of them that began to before its
//     last mark.
//  3. The line holds the waiting adapters that are neither silent nor blocked (`older` is 0), and no others.
#pragma once

#include "runtime/entity/StreamAdapter.h"

namespace Kro::NboAttrLog {

class VORNACL_API Queue {
 public:
  using Sa = Entity::KroNboAttrLogSa;

  /// The adapter has something new to write, and waits.
  void mark(Sa& adapter);
  /// What waits below the adapter goes first, though it began to wait later.
  void letBelowGoFirst(Sa& adapter);
  /// The adapter waits no more.
  void remove(Sa& adapter);
  /// The adapter is taken off the stream, and what it waits to write goes with it. Its removal, which the adapter above
  /// it will write, takes its place.
  void leavePlaceToParent(Sa& adapter);

  /// The adapter became silent, or is so no more.
  void silenceChanged(Sa& adapter);

  /// The adapter whose turn it is: the first in the line that may write now; null where there is none.
  Sa* next();
  /// Nothing waits, blocked, silent or not.
  bool isEmpty() const { return waiting_ == 0; }
  /// How many adapters `next` has looked at so far.
  std::uint64_t looks() const { return looks_; }

 private:
  void begin(Sa& adapter, Sa* behind, std::uint64_t since);
  void count(Sa const& adapter, bool more);
  void stand(Sa& adapter, Sa* behind);

  Sa* first_ = nullptr;
  Sa* last_ = nullptr;
  std::uint64_t clock_ = 0;
  std::size_t waiting_ = 0;
  std::uint64_t looks_ = 0;
};

}  // namespace Kro::NboAttrLog
