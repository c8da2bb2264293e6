#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

/// A second reader of the attribute log, written from docs/attribute-log.md alone: it includes nothing of the library,
/// so that the library's writer is judged by the page and not by the library's own reader. Tests and tools feed it what
/// one end writes; it says each message as one line of text, keeps a plain model of the tree, and names the first rule
/// broken.
namespace Second {

using Id = std::uint64_t;

/// What stands under a key: a value as text, or the id of a member, a single child or a referenced entity.
struct Entry {
  std::string text;
  Id id = 0;
};

struct Entity {
  std::size_t type = 0;    ///< row of the table of types
  std::string parameters;  ///< as text, separated by blanks
  Id parent = 0;
  std::string path;
  int announcer = 0;
  bool spent = false;
  std::map<int, std::map<std::string, Entry>> entries;  ///< by attribute, then key ("" for what is single)
  std::map<int, bool> transfers;                        ///< by collection: begun, and not yet ended
};

/// What the readers of both directions share. Messages take effect in the order in which they are fed, whoever wrote
/// them: a conflict of both ends is not settled here, only read.
struct Tree {
  /// Every entity, scalar that is not 0, value and reference as one line, sorted.
  std::string dump() const;
  void spend(Id id);

  bool judgesApplied = true;  ///< off where an end is given messages that the other one did not write
  struct End {
    std::uint64_t largestPayload = UINT32_MAX, longestString = UINT32_MAX;
    Id lastId = 0;
    std::uint64_t messages = 0, applied = 0;  ///< written, and applied of the other end's, of kinds 0 and 1
  } ends[2];
  std::map<Id, Entity> entities;  ///< spent ones stay, for their type
};

/// Reads one direction. It stops at the first fault.
struct Reader {
  /// Takes the next bytes, in pieces of any size.
  void feed(std::string_view bytes);
  /// The text of a value or key of a type of the page, from all of its bytes.
  static std::string valueText(std::string_view type, std::string_view bytes);

  Tree& tree;
  int sender;                      ///< 1 where the opener writes, 0 where the acceptor does
  std::vector<std::string> lines;  ///< each whole message so far, without the preface
  std::string error;               ///< the first rule broken, with the offset of its message
  std::string pending;             ///< of a message that is not whole
  std::uint64_t offset = 0;
};

}  // namespace Second
