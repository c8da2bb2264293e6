#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

/// A second reader of the attribute log, written from docs/attribute-log.md alone: it includes nothing of the library,
/// so that the library's writer is judged by the page and not by the library's own reader. Tests feed it what one end
/// writes; it says each message as one line of text, keeps a plain model of the tree, and names the first rule broken.
namespace Second {

using Id = std::uint64_t;

/// What stands under a key: a value as text, or the id of a member, a single child or a referenced entity.
struct Entry {
  std::string text;
  Id id = 0;
  int writer = 0;  ///< the end that wrote it last: 1 the opener, 0 the acceptor
  bool marked = false;
};

/// How far the whole transfer of a collection is.
enum class Transfer { notBegun, open, done };

struct Entity {
  std::size_t type = 0;    ///< row of the table of types
  std::string parameters;  ///< as text, separated by blanks
  Id parent = 0;
  int place = 0;  ///< the parent's attribute
  std::string key;
  int announcer = 0;
  bool spent = false;
  bool disputed = false;  ///< took the place of what the other end had announced under its key
  std::map<int, std::map<std::string, Entry>> entries;  ///< by attribute, then key ("" for what is single)
  std::map<int, Transfer> transfers;
};

/// What the readers of both directions share. Messages take effect in the order in which they are fed, whoever wrote
/// them: a conflict of both ends is not settled here, only read.
class Tree {
 public:
  /// Every entity, scalar that is not 0, value and reference as one line, sorted.
  std::string dump() const;

  bool judgesApplied = true;  ///< off where an end is given messages that the other one did not write

 private:
  friend class Reader;
  struct End {
    std::uint32_t largestPayload = UINT32_MAX;
    std::uint32_t longestString = UINT32_MAX;
    Id lastId = 0;
    std::uint64_t messages = 0;  ///< of kinds 0 and 1
    std::uint64_t applied = 0;
  };
  std::string pathOf(Id id) const;
  void spend(Id id);
  bool whole(Id id) const;

  std::map<Id, Entity> entities_;  ///< spent ones stay, for their type
  std::set<Id> skipped_;           ///< spent ids of which nothing is known
  End ends_[2];
};

/// Reads one direction. It stops at the first fault.
class Reader {
 public:
  /// `sender` is 1 where the opener writes, 0 where the acceptor does. `tree` must outlive the reader.
  Reader(Tree& tree, int sender) : tree_(tree), sender_(sender) {}

  /// Takes the next bytes, in pieces of any size.
  void feed(std::string_view bytes);
  /// Each whole message so far, without the preface.
  std::vector<std::string> const& lines() const { return lines_; }
  /// The first rule broken, with the offset of its message; empty while there is none.
  std::string const& error() const { return error_; }
  /// True between messages: nothing of a message has come that is not whole.
  bool idle() const { return pending_.empty(); }
  /// The text of a value or key of a type of the page, from all of its bytes.
  static std::string valueText(std::string_view type, std::string_view bytes);

 private:
  struct Header;
  class Payload;
  struct Attribute;
  struct Type;
  friend class Tree;
  static std::vector<Type> const& types();
  static Attribute const* attributeOf(Entity const& entity, int id);

  bool next();
  void readPreface();
  std::string readMessage(Header const& header, std::string_view payload);
  std::string readAbout(Header const& header, Payload& payload);
  std::string readSpent(Header const& header, std::string_view payload);
  std::string readRoot(Header const& header, Payload& payload);
  std::string readMarker(Header const& header, Payload& payload);
  std::string readSet(Header const& header, Attribute const& attribute, Payload& payload);
  std::string readRemoval(Header const& header, Attribute const& attribute, Payload& payload);
  std::string readCreation(Header const& header, Attribute const& attribute, Payload& payload);
  std::string readReference(Entity& entity, Attribute const& attribute, Payload& payload);
  std::string create(Id id, Entity entity);
  void put(Entity& entity, int attribute, std::string const& key, Entry entry);

  Tree& tree_;
  int sender_;
  bool prefaced_ = false;
  std::string pending_;
  std::uint64_t offset_ = 0;
  std::vector<std::string> lines_;
  std::string error_;
};

}  // namespace Second
