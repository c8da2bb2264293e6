#include "tests/support/SecondReader.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <stdexcept>

namespace Second {
namespace {

void require(bool holds, std::string const& rule) {
  if (!holds) throw std::runtime_error(rule);
}

std::string hex(std::string_view bytes) {
  std::string text;
  for (char c : bytes) {
    text += "0123456789abcdef"[static_cast<unsigned char>(c) >> 4];
    text += "0123456789abcdef"[static_cast<unsigned char>(c) & 15];
  }
  return text;
}

std::string realText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}

enum class Kind { boolean, counter, enumeration, real, values, child, members, references };

}  // namespace

/// The fields of a payload, each as text; what is beyond the end or out of range throws.
class Reader::Payload {
 public:
  Payload(std::string_view bytes, std::uint32_t longestString) : rest_(bytes), longestString_(longestString) {}

  std::string_view take(std::size_t size) {
    require(size <= rest_.size(), "a field beyond the end");
    std::string_view bytes = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return bytes;
  }
  std::string_view rest() const { return rest_; }
  std::uint64_t number(std::size_t size) {
    std::uint64_t value = 0;
    for (char c : take(size)) value = value << 8 | static_cast<unsigned char>(c);
    return value;
  }
  std::string text(std::size_t size, std::uint64_t most = UINT64_MAX) {
    std::uint64_t value = number(size);
    require(value <= most, "a value out of range");
    return std::to_string(value);
  }
  std::int32_t integer() { return static_cast<std::int32_t>(number(4)); }
  std::string plain() {
    std::uint64_t size = number(4);
    require(size <= longestString_, "a string too long");
    return std::string(take(size));
  }
  /// The value of a type of the page's tables, as text.
  std::string value(std::string_view type);

 private:
  std::string fields(std::vector<std::pair<char const*, char const*>> const& list);
  std::string prefix();

  std::string_view rest_;
  std::uint32_t longestString_;
};

std::string Reader::Payload::prefix() {
  std::uint64_t family = number(1);
  require(family <= 2, "an unknown family");
  if (family == 0) return "0";
  std::uint64_t length = number(1), bits = family == 1 ? 32 : 128;
  require(length <= bits, "a prefix too long");
  std::string_view address = take(bits / 8);
  for (std::size_t i = length; i < bits; i++)
    require((static_cast<unsigned char>(address[i / 8]) >> (7 - i % 8) & 1) == 0, "bits beyond the prefix");
  return hex(address) + "/" + std::to_string(length);
}

/// `name=value` for each field that is not 0 (of ICMP: not 65535), or `-`.
std::string Reader::Payload::fields(std::vector<std::pair<char const*, char const*>> const& list) {
  std::string text;
  for (auto [name, type] : list) {
    std::string const field = value(type);
    bool const usual =
        std::string_view(type) == "icmp" ? field == "65535" : field.find_first_not_of("0-") == std::string::npos;
    if (!usual) text += (text.empty() ? "" : ",") + (name + ("=" + field));
  }
  return text.empty() ? "-" : text;
}

std::string Reader::Payload::value(std::string_view type) {
  if (type == "bool") return text(1, 1);
  if (type == "U8") return text(1);
  if (type == "U16" || type == "icmp") return text(2);
  if (type == "U32") return text(4);
  if (type == "S32") return std::to_string(integer());
  if (type == "double") return realText(std::bit_cast<double>(number(8)));
  if (type == "string") return "\"" + plain() + "\"";
  if (type == "aclType") return text(4, 2);
  if (type == "ruleAction") return text(4, 1);
  if (type == "flags") return text(4, 63);
  if (type == "EthAddr") return hex(take(6));
  if (type == "prefix") return prefix();
  if (type == "AceIndex") {
    std::string a = text(4), b = text(4);
    return a + "." + b + "." + text(4);
  }
  if (type == "AclId") {
    std::string a = text(4, 5), b = text(1);
    return a + "." + b + "." + text(4, 1);
  }
  if (type == "AclKey") {
    std::string a = text(4, 2);
    return a + ":" + plain();
  }
  if (type == "ports") {
    std::string a = text(2);
    return a + "-" + text(2);
  }
  if (type == "IpRuleConfig")
    return fields({{"src", "prefix"},
                   {"dst", "prefix"},
                   {"fragments", "bool"},
                   {"dscp", "U8"},
                   {"matchDscp", "bool"},
                   {"proto", "U8"},
                   {"matchProto", "bool"},
                   {"sport", "ports"},
                   {"dport", "ports"},
                   {"ttl", "U8"},
                   {"includeTtl", "bool"},
                   {"tcpFlag", "flags"},
                   {"est", "bool"},
                   {"icmpType", "icmp"},
                   {"icmpCode", "icmp"},
                   {"l4Rule", "bool"},
                   {"act", "ruleAction"},
                   {"log", "bool"},
                   {"count", "bool"}});
  if (type == "MacRuleConfig")
    return fields({{"src", "EthAddr"},
                   {"srcMask", "EthAddr"},
                   {"dst", "EthAddr"},
                   {"dstMask", "EthAddr"},
                   {"proto", "U32"},
                   {"act", "ruleAction"},
                   {"log", "bool"},
                   {"count", "bool"}});
  throw std::logic_error("no such type: " + std::string(type));
}

std::string Reader::valueText(std::string_view type, std::string_view bytes) {
  Payload payload(bytes, UINT32_MAX);
  std::string text = payload.value(type);
  require(payload.rest().empty(), "bytes left over");
  return text;
}

struct Reader::Attribute {
  int id;
  char const* name;
  Kind kind;
  char const* key;           // its type; of references, which parameter of the target: "1"
  char const* value;         // its type; the type of the entity for members and children
  std::size_t keyParameter;  // of members: which parameter is the key
};

struct Reader::Type {
  char const* name;
  std::vector<char const*> rootParameters;
  std::vector<char const*> parameters;
  std::vector<Attribute> attributes;
};

std::vector<Reader::Type> const& Reader::types() {
  static std::vector<Type> const table = {
      {"Vorn::RootConfigColl",
       {"string"},
       {},
       {{258, "chipRootConfig", Kind::members, "U32", "Vorn::RootConfig", 0},
        {259, "chipRootConfigLastFailed", Kind::references, "U16", "Vorn::RootConfig", 1}}},
      {"Vorn::RootConfig",
       {"string", "U32", "U16"},
       {"U32", "U16"},
       {{260, "active", Kind::boolean, "", "bool", 0},
        {261, "vornAclColl", Kind::child, "", "Vorn::VornAclColl", 0},
        {262, "aclKeyToAclId", Kind::child, "", "Vorn::AclKeyToAclIdMapping", 0},
        {263, "action", Kind::enumeration, "", "S32", 0},
        {264, "vornRootKickTime", Kind::real, "", "double", 0},
        {265, "vornRootKick", Kind::counter, "", "U32", 0},
        {267, "initialized", Kind::boolean, "", "bool", 0}}},
      {"Vorn::VornAclColl", {"string"}, {"string"}, {{258, "acl", Kind::members, "AclId", "Vorn::VornAcl", 0}}},
      {"Vorn::AclKeyToAclIdMapping", {"string"}, {"string"}, {{258, "keyToId", Kind::values, "AclKey", "AclId", 0}}},
      {"Vorn::VornAcl",
       {"AclId", "aclType", "string"},
       {"AclId", "S32", "string"},
       {{261, "ipRuleById", Kind::values, "AceIndex", "IpRuleConfig", 0},
        {262, "macRuleById", Kind::values, "AceIndex", "MacRuleConfig", 0}}}};
  return table;
}

Reader::Attribute const* Reader::attributeOf(Entity const& entity, int id) {
  for (Attribute const& attribute : types()[entity.type].attributes)
    if (attribute.id == id) return &attribute;
  return nullptr;
}

struct Reader::Header {
  std::uint64_t length;
  Id entity;
  int attribute;
  bool firstFlag;
  int kind;
  unsigned size;
  unsigned code;

  explicit Header(std::string_view bytes) {
    Payload in(bytes, 0);
    length = in.number(4);
    entity = in.number(8);
    attribute = in.integer();
    unsigned flags = static_cast<unsigned>(in.number(1));
    firstFlag = flags & 1;
    require((flags & 2) == 0, "the second flag is set");
    kind = flags >> 2 & 3;
    size = flags >> 4;
    code = static_cast<unsigned>(in.number(1));
  }
  /// Throws unless flags and code are those of the page's row.
  void expect(bool first, unsigned bytes, unsigned row) const {
    require(firstFlag == first && size == bytes && code == row, "flags, size or code of another message");
    require(first || length == size, "size is not the payload's");
  }
  std::string text() const {
    return "(" + std::to_string(entity) + "," + std::to_string(attribute) + (firstFlag ? ",T," : ",F,") +
           std::to_string(size) + "," + std::to_string(code) + ")";
  }
};

void Reader::feed(std::string_view bytes) {
  pending_ += bytes;
  try {
    while (error_.empty() && next()) {
    }
  } catch (std::runtime_error const& fault) {
    error_ = std::string(fault.what()) + ", in the message at byte " + std::to_string(offset_);
  }
}

bool Reader::next() {
  std::size_t used = 16;
  if (!prefaced_) {
    if (pending_.size() < used) return false;
    readPreface();
  } else {
    if (pending_.size() < 18) return false;
    Header header(std::string_view(pending_).substr(0, 18));
    require(header.length <= tree_.ends_[1 - sender_].largestPayload, "a payload beyond the limit");
    used = 18 + header.length;
    if (pending_.size() < used) return false;
    lines_.push_back(readMessage(header, std::string_view(pending_).substr(18, header.length)));
  }
  pending_.erase(0, used);
  offset_ += used;
  return true;
}

void Reader::readPreface() {
  Payload in(pending_, 0);
  require(in.take(4) == "KroL", "another magic");
  require(in.number(2) == 1, "another version");
  require(in.number(2) == static_cast<unsigned>(sender_), "another role");
  tree_.ends_[sender_].largestPayload = static_cast<std::uint32_t>(in.number(4));
  tree_.ends_[sender_].longestString = static_cast<std::uint32_t>(in.number(4));
  prefaced_ = true;
}

std::string Reader::readMessage(Header const& header, std::string_view bytes) {
  Payload payload(bytes, tree_.ends_[1 - sender_].longestString);
  if (header.kind <= 1) {
    tree_.ends_[sender_].messages++;
    auto known = tree_.entities_.find(header.entity);
    if (tree_.skipped_.count(header.entity) || (known != tree_.entities_.end() && known->second.spent))
      return readSpent(header, bytes);
    std::string line = header.kind == 1 ? readMarker(header, payload) : readAbout(header, payload);
    require(payload.rest().empty(), "bytes left over");
    return line;
  }
  require(header.entity == 0 && header.attribute == 0, "ids where none belong");
  if (header.kind == 3) {
    require(header.length == 0, "complete with a payload");
    for (auto const& [id, entity] : tree_.entities_)
      require(entity.spent || entity.announcer != sender_ || tree_.whole(id), "complete, but an entity is not whole");
    return "complete";
  }
  std::uint64_t applied = payload.number(8);
  require(payload.rest().empty(), "bytes left over");
  require(applied >= tree_.ends_[sender_].applied, "a count of applied goes back");
  require(applied <= tree_.ends_[1 - sender_].messages || !tree_.judgesApplied, "a count of applied beyond what is");
  tree_.ends_[sender_].applied = applied;
  return "applied " + std::to_string(applied);
}

std::string Reader::readSpent(Header const& header, std::string_view payload) {
  if (header.kind == 0 && header.code == 151 && payload.size() >= 8) {
    Id id = Payload(payload.substr(payload.size() - 8), 0).number(8);
    if (!tree_.entities_.count(id)) tree_.skipped_.insert(id);
  }
  return "spent " + header.text();
}

std::string Reader::readAbout(Header const& header, Payload& payload) {
  if (header.entity == 1 && header.attribute == 136) return readRoot(header, payload);
  auto found = tree_.entities_.find(header.entity);
  require(found != tree_.entities_.end(), "an id that was never given");
  Attribute const* attribute = attributeOf(found->second, std::abs(header.attribute));
  if (!attribute) return header.text() + " ?" + hex(payload.take(header.length));
  return header.text() + (header.attribute < 0 ? readRemoval(header, *attribute, payload)
                          : attribute->kind == Kind::members || attribute->kind == Kind::child
                              ? readCreation(header, *attribute, payload)
                              : readSet(header, *attribute, payload));
}

std::string Reader::readRoot(Header const& header, Payload& payload) {
  header.expect(true, 0, 0);
  std::string name = payload.plain(), line = header.text() + " \"" + name + "\"";
  Entity entity;
  while (entity.type < types().size() && types()[entity.type].name != name) entity.type++;
  if (entity.type == types().size()) {
    payload.take(payload.rest().size() - std::min<std::size_t>(8, payload.rest().size()));
    Id id = payload.number(8);
    tree_.skipped_.insert(id);
    return line + " ? " + std::to_string(id);
  }
  for (char const* type : types()[entity.type].rootParameters)
    entity.parameters += (entity.parameters.empty() ? "" : " ") + payload.value(type);
  Id id = payload.number(8);
  return line + " " + create(id, std::move(entity));
}

std::string Reader::readCreation(Header const& header, Attribute const& attribute, Payload& payload) {
  header.expect(true, 0, 151);
  Entity entity;
  while (types()[entity.type].name != std::string_view(attribute.value)) entity.type++;
  for (char const* type : types()[entity.type].parameters) {
    std::string parameter = payload.value(type);
    if (entity.parameters.empty() && attribute.kind == Kind::members) entity.key = parameter;
    entity.parameters += (entity.parameters.empty() ? "" : " ") + parameter;
  }
  entity.parent = header.entity;
  entity.place = attribute.id;
  Id id = payload.number(8);
  return " " + create(id, std::move(entity));
}

std::string Reader::create(Id id, Entity entity) {
  std::string line = entity.parameters + " " + std::to_string(id);
  if (auto held = tree_.entities_.find(id); held != tree_.entities_.end()) {
    Entity const& was = held->second;
    require(was.type == entity.type && was.parameters == entity.parameters && was.parent == entity.parent &&
                was.place == entity.place,
            "an id given twice");
    return line;
  }
  Tree::End& end = tree_.ends_[sender_];
  require(id > 1 && id % 2 == static_cast<unsigned>(sender_) && id > end.lastId, "an id out of turn");
  end.lastId = id;
  entity.announcer = sender_;
  Id parent = entity.parent;
  int place = entity.place;
  std::string key = entity.key;
  tree_.entities_[id] = std::move(entity);
  if (parent != 0) put(tree_.entities_[parent], place, key, Entry{"", id, sender_, false});
  return line;
}

std::string Reader::readSet(Header const& header, Attribute const& attribute, Payload& payload) {
  Entity& entity = tree_.entities_[header.entity];
  bool structured = attribute.kind != Kind::boolean && attribute.kind != Kind::counter;
  header.expect(structured, structured ? 0 : attribute.kind == Kind::boolean ? 1 : 4, 0);
  if (attribute.kind == Kind::references) return readReference(entity, attribute, payload);
  std::string key = attribute.kind == Kind::values ? payload.value(attribute.key) : "";
  std::string text = payload.value(attribute.value);
  put(entity, attribute.id, key, Entry{text, 0, sender_, false});
  return (key.empty() ? "" : " " + key) + " " + text;
}

std::string Reader::readReference(Entity& entity, Attribute const& attribute, Payload& payload) {
  Id id = payload.number(8);
  auto target = tree_.entities_.find(id);
  require(target != tree_.entities_.end() || tree_.skipped_.count(id), "a reference to an id that was never given");
  if (target != tree_.entities_.end() && !target->second.spent) {
    require(types()[target->second.type].name == std::string_view(attribute.value), "a reference of another type");
    std::string const& parameters = target->second.parameters;
    put(entity, attribute.id, parameters.substr(parameters.rfind(' ') + 1), Entry{parameters, id, sender_, false});
  }
  return " " + std::to_string(id);
}

void Reader::put(Entity& entity, int attribute, std::string const& key, Entry entry) {
  Entry& place = entity.entries[attribute][key];
  bool child =
      attributeOf(entity, attribute)->kind == Kind::members || attributeOf(entity, attribute)->kind == Kind::child;
  if (child && place.id != 0) {
    tree_.entities_[entry.id].disputed = place.writer != entry.writer;
    tree_.spend(place.id);
  }
  place = std::move(entry);
}

std::string Reader::readRemoval(Header const& header, Attribute const& attribute, Payload& payload) {
  bool keyed = attribute.kind >= Kind::values && attribute.kind != Kind::child;
  require(keyed || attribute.kind == Kind::child, "a scalar is removed");
  header.expect(keyed, 0, 0);
  std::string key = keyed ? payload.value(attribute.key) : "";
  auto& entries = tree_.entities_[header.entity].entries[attribute.id];
  if (auto entry = entries.find(key); entry != entries.end()) {
    if (attribute.kind == Kind::members || attribute.kind == Kind::child) tree_.spend(entry->second.id);
    entries.erase(key);
  }
  return keyed ? " " + key : "";
}

std::string Reader::readMarker(Header const& header, Payload& payload) {
  auto found = tree_.entities_.find(header.entity);
  require(found != tree_.entities_.end(), "an id that was never given");
  Entity& entity = found->second;
  require(entity.announcer == sender_, "a marker for an entity of the reader's own");
  Attribute const* attribute = attributeOf(entity, header.attribute);
  require(attribute && attribute->kind >= Kind::values && attribute->kind != Kind::child,
          "a marker, but no collection");
  std::uint64_t word = payload.number(1);
  require(word <= 2, "an unknown marker");
  Transfer& transfer = entity.transfers[attribute->id];
  require(transfer == (word == 0 ? Transfer::notBegun : Transfer::open), "a marker out of turn");
  auto& entries = entity.entries[attribute->id];
  for (auto entry = entries.begin(); entry != entries.end();) {
    bool unmarked = word == 2 && entry->second.marked;
    if (unmarked && attribute->kind == Kind::members) tree_.spend(entry->second.id);
    entry->second.marked = word == 0 && entry->second.writer == sender_;
    entry = unmarked ? entries.erase(entry) : std::next(entry);
  }
  transfer = word == 0 ? Transfer::open : word == 1 ? Transfer::notBegun : Transfer::done;
  std::string text = "BAE";
  return text[word] + ("(" + std::to_string(header.entity) + "," + std::to_string(header.attribute) + ")");
}

void Tree::spend(Id id) {
  auto found = entities_.find(id);
  if (found == entities_.end() || found->second.spent) return;
  found->second.spent = true;
  for (auto const& [below, entity] : entities_)
    if (entity.parent == id) spend(below);
}

bool Tree::whole(Id id) const {
  Entity const& entity = entities_.at(id);
  if (entity.disputed) return true;  // its end may have dropped it before it was sent
  for (Reader::Attribute const& attribute : Reader::types()[entity.type].attributes) {
    if (attribute.kind < Kind::values) continue;
    auto transfer = entity.transfers.find(attribute.id);
    if (attribute.kind != Kind::child && (transfer == entity.transfers.end() || transfer->second != Transfer::done))
      return false;
    auto entries = entity.entries.find(attribute.id);
    if (attribute.kind == Kind::values || attribute.kind == Kind::references || entries == entity.entries.end())
      continue;
    for (auto const& [key, entry] : entries->second)
      if (entities_.at(entry.id).announcer == entity.announcer && !whole(entry.id)) return false;
  }
  return true;
}

std::string Tree::pathOf(Id id) const {
  Entity const& entity = entities_.at(id);
  if (entity.parent == 0) return entity.parameters;
  std::string place =
      pathOf(entity.parent) + "." + Reader::attributeOf(entities_.at(entity.parent), entity.place)->name;
  return entity.key.empty() ? place : place + "[" + entity.key + "]";
}

std::string Tree::dump() const {
  std::set<std::string> lines;
  for (auto const& [id, entity] : entities_) {
    if (entity.spent) continue;
    lines.insert(pathOf(id) + ": " + Reader::types()[entity.type].name + " " + entity.parameters);
    for (auto const& [attribute, entries] : entity.entries) {
      Reader::Attribute const& row = *Reader::attributeOf(entity, attribute);
      if (row.kind == Kind::members || row.kind == Kind::child) continue;
      for (auto const& [key, entry] : entries)
        if (entry.text != "0" || !key.empty())
          lines.insert(pathOf(id) + "." + row.name + (key.empty() ? "" : "[" + key + "]") +
                       (row.kind == Kind::references ? " -> " : " = ") + entry.text);
    }
  }
  std::string text;
  for (std::string const& line : lines) text += line + "\n";
  return text;
}

}  // namespace Second
