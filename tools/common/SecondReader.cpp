#include "tools/common/SecondReader.h"

#include <algorithm>
#include <bit>
#include <cstdio>
#include <set>
#include <sstream>
#include <stdexcept>
#include <utility>

namespace Second {
namespace {

void require(bool holds, std::string const& rule) {
  if (!holds) throw std::runtime_error(rule);
}

std::string hex(std::string_view bytes) {
  std::string text;
  for (char c : bytes)
    for (int shift : {4, 0}) text += "0123456789abcdef"[static_cast<unsigned char>(c) >> shift & 15];
  return text;
}

// --- the page's tables ---

/// Bytes, and the largest number.
std::map<std::string_view, std::pair<std::size_t, std::uint64_t>> const numbers = {
    {"bool", {1, 1}},    {"U8", {1, 255}},   {"U16", {2, 65535}},    {"U32", {4, UINT32_MAX}}, {"icmp", {2, 65535}},
    {"aclType", {4, 2}}, {"flags", {4, 63}}, {"ruleAction", {4, 1}}, {"tableType", {4, 5}},    {"direction", {4, 1}}};

/// The separator, then the fields: those without a name are all said, those with one where they are not 0 (of ICMP:
/// not 65535).
std::map<std::string_view, std::string> const structures = {
    {"AceIndex", ".U32 U32 U32"},
    {"AclId", ".tableType U8 direction"},
    {"AclKey", ":aclType plain"},
    {"ports", "-U16 U16"},
    {"IpRuleConfig",
     ",src=prefix dst=prefix fragments=bool dscp=U8 matchDscp=bool proto=U8 matchProto=bool sport=ports dport=ports "
     "ttl=U8 includeTtl=bool tcpFlag=flags est=bool icmpType=icmp icmpCode=icmp l4Rule=bool act=ruleAction log=bool "
     "count=bool"},
    {"MacRuleConfig",
     ",src=EthAddr srcMask=EthAddr dst=EthAddr dstMask=EthAddr proto=U32 act=ruleAction log=bool count=bool"}};

struct Type {
  char const *name, *rootParameters, *parameters;
};
Type const types[] = {{"Vorn::RootConfigColl", "string", ""},
                      {"Vorn::RootConfig", "string U32 U16", "U32 U16"},
                      {"Vorn::VornAclColl", "string", "string"},
                      {"Vorn::AclKeyToAclIdMapping", "string", "string"},
                      {"Vorn::VornAcl", "AclId aclType string", "AclId S32 string"}};

struct Attribute {
  std::size_t type;  // the row above
  int id;
  char const *name, *key, *value;  // types of key and value, as far as there are such
  int target = 0;                  // the row of members, children and referenced entities, 0 for values and scalars
  bool isReference = false;

  bool isKeyed() const { return *key != 0; }
  bool isChild() const { return target != 0 && !isReference; }
};
Attribute const attributes[] = {{0, 258, "chipRootConfig", "U32", "", 1},
                                {0, 259, "chipRootConfigLastFailed", "U16", "", 1, true},
                                {1, 260, "active", "", "bool"},
                                {1, 261, "vornAclColl", "", "", 2},
                                {1, 262, "aclKeyToAclId", "", "", 3},
                                {1, 263, "action", "", "S32"},
                                {1, 264, "vornRootKickTime", "", "double"},
                                {1, 265, "vornRootKick", "", "U32"},
                                {1, 267, "initialized", "", "bool"},
                                {2, 258, "acl", "AclId", "", 4},
                                {3, 258, "keyToId", "AclKey", "AclId"},
                                {4, 261, "ipRuleById", "AceIndex", "IpRuleConfig"},
                                {4, 262, "macRuleById", "AceIndex", "MacRuleConfig"}};

Attribute const* attributeOf(Entity const& entity, int id) {
  for (Attribute const& attribute : attributes)
    if (attribute.type == entity.type && attribute.id == id) return &attribute;
  return nullptr;
}

// --- fields ---

/// The fields of a payload, each as text; what is beyond the end or out of range throws.
struct Payload {
  std::string_view rest;
  std::uint64_t longestString = UINT32_MAX;

  std::string_view take(std::size_t size) {
    require(size <= rest.size(), "a field beyond the end");
    std::string_view bytes = rest.substr(0, size);
    rest.remove_prefix(size);
    return bytes;
  }
  std::uint64_t number(std::size_t size, std::uint64_t most = UINT64_MAX) {
    std::uint64_t value = 0;
    for (char c : take(size)) value = value << 8 | static_cast<unsigned char>(c);
    require(value <= most, "a value out of range");
    return value;
  }
  std::string prefix() {
    std::uint64_t family = number(1, 2);
    if (family == 0) return "0";
    std::uint64_t bits = family == 1 ? 32 : 128, length = number(1, bits);
    std::string_view address = take(bits / 8);
    for (std::size_t i = length; i < bits; i++)
      require((static_cast<unsigned char>(address[i / 8]) >> (7 - i % 8) & 1) == 0, "bits beyond the prefix");
    return hex(address) + "/" + std::to_string(length);
  }
  std::string value(std::string_view type) {
    if (type == "S32") return std::to_string(static_cast<std::int32_t>(number(4)));
    if (type == "EthAddr") return hex(take(6));
    if (type == "prefix") return prefix();
    if (type == "string") return "\"" + value("plain") + "\"";
    if (type == "plain") return std::string(take(number(4, longestString)));
    if (type == "double") {
      char text[32];
      std::snprintf(text, sizeof text, "%.17g", std::bit_cast<double>(number(8)));
      return text;
    }
    if (auto row = numbers.find(type); row != numbers.end())
      return std::to_string(number(row->second.first, row->second.second));
    std::string all = values(structures.at(type).substr(1), structures.at(type)[0]);
    return all.empty() ? "-" : all;
  }
  std::string values(std::string const& list, char separator) {
    std::istringstream fields(list);
    std::string all;
    for (std::string field; fields >> field;) {
      std::size_t name = field.find('=') + 1;  // its length, with the sign
      std::string type = field.substr(name), text = value(type);
      bool isUsual = type == "icmp" ? text == "65535" : text.find_first_not_of("0-") == std::string::npos;
      if (name == 0 || !isUsual) all += (all.empty() ? "" : std::string(1, separator)) + field.substr(0, name) + text;
    }
    return all;
  }
};

// --- messages ---

/// A header, and what the message does to the tree.
struct Message {
  Tree& tree;
  int sender;
  Payload in;
  std::uint64_t length = in.number(4);
  Id id = in.number(8);
  int attribute = static_cast<std::int32_t>(in.number(4));
  unsigned flags = static_cast<unsigned>(in.number(1)), code = static_cast<unsigned>(in.number(1));
  unsigned kind = flags >> 2 & 3, size = flags >> 4;
  bool first = flags & 1;

  std::string header() const {
    return "(" + std::to_string(id) + "," + std::to_string(attribute) + (first ? ",T," : ",F,") + std::to_string(size) +
           "," + std::to_string(code) + ")";
  }
  /// Throws unless flags and code are those of the page's row.
  void expect(bool firstFlag, std::size_t bytes, unsigned row) const {
    require(first == firstFlag && size == bytes && code == row, "flags, size or code of another message");
    require(first || length == size, "size is not the payload's");
  }

  std::string read() {
    std::string line = kind <= 1 ? word() : progress();
    require((flags & 2) == 0 && in.rest.empty(), "the second flag is set, or bytes are left over");
    return line;
  }
  std::string progress() {
    require(id == 0 && attribute == 0, "ids where none belong");
    if (kind == 3) return "complete";
    std::uint64_t applied = in.number(8);
    require(applied >= tree.ends[sender].applied, "a count of applied goes back");
    require(applied <= tree.ends[1 - sender].messages || !tree.judgesApplied, "a count of applied beyond what is");
    tree.ends[sender].applied = applied;
    return "applied " + std::to_string(applied);
  }
  std::string word() {
    tree.ends[sender].messages++;
    if (kind == 0 && id == 1 && attribute == 136) return root();
    require(tree.entities.count(id), "an id that was never given");
    Entity& entity = tree.entities[id];
    if (entity.spent) {
      if (kind == 0 && code == 151) skip();
      in.rest = {};
      return "spent " + header();
    }
    Attribute const* row = attributeOf(entity, std::abs(attribute));
    if (kind == 1) return marker(entity, row);
    if (!row) return header() + " ?" + hex(in.take(length));
    if (attribute < 0) return header() + removal(entity, *row);
    if (!row->isChild()) return header() + set(entity, *row);
    expect(true, 0, 151);
    return header() + create(static_cast<std::size_t>(row->target), types[row->target].parameters, row);
  }
  /// The id at the end is spent.
  std::string skip() {
    in.take(in.rest.size() - std::min<std::size_t>(8, in.rest.size()));
    Id given = in.number(8);
    if (!tree.entities.count(given)) tree.entities[given].spent = true;
    return "? " + std::to_string(given);
  }

  std::string root() {
    expect(true, 0, 0);
    std::string name = in.value("plain"), line = header() + " \"" + name + "\" ";
    for (Type const& type : types)
      if (type.name == name)
        return line + create(static_cast<std::size_t>(&type - types), type.rootParameters, nullptr);
    return line + skip();
  }
  std::string create(std::size_t type, std::string const& parameterTypes, Attribute const* row) {
    std::string key = row && row->isKeyed() ? Payload(in).value(row->key) : "", path;
    std::string parameters = in.values(parameterTypes, ' ');
    path = row ? tree.entities[id].path + "." + row->name + (key.empty() ? "" : "[" + key + "]") : parameters;
    Id given = in.number(8), &last = tree.ends[sender].lastId;
    if (auto held = tree.entities.find(given); held != tree.entities.end()) {
      require(held->second.parameters == parameters && held->second.path == path, "an id given twice");
    } else {
      require(given > 1 && given % 2 == static_cast<unsigned>(sender) && given > last, "an id out of turn");
      last = given;
      tree.entities[given] = {type, parameters, row ? id : 0, path, sender, false, {}, {}};
    }
    if (row) put(tree.entities[id], *row, key, {"", given});
    return (row ? " " : "") + parameters + " " + std::to_string(given);
  }

  std::string set(Entity& entity, Attribute const& row) {
    auto number = numbers.find(row.value);  // bool and counter
    std::size_t sized = row.isKeyed() || number == numbers.end() ? 0 : number->second.first;
    expect(sized == 0, sized, 0);
    if (row.isReference) {
      Id given = in.number(8);
      require(tree.entities.count(given), "a reference to an id that was never given");
      Entity const& target = tree.entities[given];
      require(target.spent || target.type == 1, "a reference of another type");
      std::string key = target.parameters.substr(target.parameters.rfind(' ') + 1);
      if (!target.spent) put(entity, row, key, {target.parameters, given});
      return " " + std::to_string(given);
    }
    std::string key = row.isKeyed() ? in.value(row.key) : "", text = in.value(row.value);
    put(entity, row, key, {text});
    return (key.empty() ? "" : " " + key) + " " + text;
  }
  void put(Entity& entity, Attribute const& row, std::string const& key, Entry const& entry) {
    Entry& held = entity.entries[row.id][key];
    if (row.isChild() && held.id != entry.id) tree.spend(held.id);
    held = entry;
  }
  std::string removal(Entity& entity, Attribute const& row) {
    require(row.isKeyed() || row.isChild(), "a scalar is removed");
    expect(row.isKeyed(), 0, 0);
    std::string key = row.isKeyed() ? in.value(row.key) : "";
    if (row.isChild()) tree.spend(entity.entries[row.id][key].id);
    entity.entries[row.id].erase(key);
    return row.isKeyed() ? " " + key : "";
  }
  /// Nothing is left to sweep: a reader that has only this connection holds what the connection told it.
  std::string marker(Entity& entity, Attribute const* row) {
    require(entity.announcer == sender, "a marker for an entity of the reader's own");
    require(row && row->isKeyed(), "a marker, but no collection");
    std::uint64_t type = in.number(1, 2);
    require(std::exchange(entity.transfers[row->id], type == 0) == (type != 0), "a marker out of turn");
    return "BAE"[type] + ("(" + std::to_string(id) + "," + std::to_string(attribute) + ")");
  }
};

}  // namespace

std::string Reader::valueText(std::string_view type, std::string_view bytes) {
  Payload payload{bytes};
  std::string text = payload.value(type);
  require(payload.rest.empty(), "bytes left over");
  return text;
}

void Reader::feed(std::string_view bytes) try {
  pending += bytes;
  for (std::uint64_t used = 0; error.empty() && pending.size() >= (offset == 0 ? 16 : 18); offset += used) {
    Payload in{pending};
    Tree::End &from = tree.ends[sender], &to = tree.ends[1 - sender];
    if (offset == 0) {
      require(in.take(4) == "KroL" && in.number(2) == 1, "another magic or version");
      require(in.number(2) == static_cast<unsigned>(sender), "another role");
      from.largestPayload = in.number(4), from.longestString = in.number(4);
      used = 16;
    } else {
      used = 18 + in.number(4, to.largestPayload);
      if (pending.size() < used) return;
      lines.push_back(Message{tree, sender, {std::string_view(pending).substr(0, used), to.longestString}}.read());
    }
    pending.erase(0, used);
  }
} catch (std::runtime_error const& fault) {
  error = std::string(fault.what()) + ", in the message at byte " + std::to_string(offset);
}

void Tree::spend(Id id) {
  auto found = entities.find(id);
  if (found == entities.end() || std::exchange(found->second.spent, true)) return;
  for (auto const& [below, entity] : entities)
    if (entity.parent == id) spend(below);
}

std::string Tree::dump() const {
  std::set<std::string> lines;
  for (auto const& [id, entity] : entities) {
    if (entity.spent) continue;
    lines.insert(entity.path + ": " + types[entity.type].name + " " + entity.parameters);
    for (auto const& [attribute, entries] : entity.entries)
      for (auto const& [key, entry] : entries)
        if (Attribute const& row = *attributeOf(entity, attribute);
            !row.isChild() && (row.isKeyed() || entry.text != "0"))
          lines.insert(entity.path + "." + row.name + (row.isKeyed() ? "[" + key + "]" : "") +
                       (row.isReference ? " -> " : " = ") + entry.text);
  }
  std::string text;
  for (std::string const& line : lines) text += line + "\n";
  return text;
}

}  // namespace Second
