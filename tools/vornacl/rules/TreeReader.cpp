#include "tools/vornacl/rules/TreeReader.h"

#include <map>

#include "runtime/value/Value.h"
#include "tools/common/Cursor.h"

namespace Tools {

namespace {

using Kro::AttributeKind;

IpRule ruleOf(Vorn::IpRuleConfig const& rule, Acl::AclType type) { return IpRule::of(rule, familyOf(type)); }
MacRule ruleOf(Vorn::MacRuleConfig const& rule, Acl::AclType) { return {rule, 0xffff}; }

template <class... X>
std::variant<Kro::Ptr<X>...> anyOf(std::tuple<std::type_identity<X>...>);
using AnyEntity = decltype(anyOf(EntityTypes()));

/// A field of a line, and where it begins.
struct Field {
  std::string_view text;
  std::size_t at = 0;
};

/// The text of an id has three parts, of which the model's own reader takes two.
Vorn::AclId aclIdOf(std::string_view text) {
  std::size_t const first = text.find(':');
  std::size_t const second = text.find(':', first + 1);
  if (second == std::string_view::npos) {
    throw Kro::RangeException("an id has three parts");
  }
  auto const table = Vorn::TableTypeInstance(Kro::String8(text.substr(0, first)));
  auto const list = Kro::strepToValue<Vorn::ChipRuleListId>(Kro::String8(text.substr(first + 1, second - first - 1)));
  return {table, list, Acl::AclDirectionInstance(Kro::String8(text.substr(second + 1)))};
}

class Reader {
 public:
  explicit Reader(std::string const& name) : name_(name) {
    result_.file = name;
    result_.form = Form::tree;
  }

  void readAll(std::string_view text) {
    if (takeLine(text) != treeHead) {
      throw BadData({name_, 1, 1}, "expected " + quoted(treeHead));
    }
    for (number_ = 2; !text.empty(); ++number_) {
      std::string_view const line = takeLine(text);
      if (line.starts_with(treeEnd)) {
        return end(line, text);
      }
      read(line);
    }
    throw BadData({name_, number_, 0}, "found the end of the file, expected the line that ends a tree");
  }

  RuleSet take() { return std::move(result_); }

 private:
  /// A member, of which the lines with its parameters are still to come.
  struct Pending {
    std::string path;
    AnyEntity parent;
    std::string attribute;
    Field name;
    std::vector<Field> parameters;
  };

  [[noreturn]] void fail(std::size_t at, std::string const& message) const {
    throw BadData({name_, number_, at + 1}, message);
  }
  [[noreturn]] void mismatch(Field const& found, std::string_view expected) const {
    fail(found.at, ("found " + quoted(found.text) + ", expected ").append(expected));
  }

  void end(std::string_view line, std::string_view rest) const {
    std::string const expected = std::string(treeEnd) + std::to_string(number_ - 2) + " lines";
    if (line != expected || pending_) {
      mismatch({line, 0}, quoted(expected));
    }
    if (!rest.empty()) {
      throw BadData({name_, number_ + 1, 1}, "found a line, expected the end of the file");
    }
  }

  void read(std::string_view line) {
    std::vector<Field> fields;
    for (std::size_t at = 0; at <= line.size();) {
      std::size_t const tab = std::min(line.find('\t', at), line.size());
      fields.push_back({line.substr(at, tab - at), at});
      at = tab + 1;
    }
    if (fields.size() != 3 && fields.size() != 4) {
      fail(0,
           "found " + std::to_string(fields.size()) + " fields, expected a path, an attribute, a key or none, a value");
    }
    if (pending_) {
      return parameter(fields);
    }
    if (fields[1].text == "name") {
      return begin(fields);
    }
    auto const known = entities_.find(fields[0].text);
    if (known == entities_.end()) {
      mismatch(fields[0], "the path of an entity that stands above");
    }
    std::visit([&](auto const& entity) { set(*entity, fields); }, known->second);
  }

  /// The first line of an entity.
  void begin(std::vector<Field> const& fields) {
    Field const& path = fields[0];
    if (entities_.contains(path.text)) {
      mismatch(path, "the path of an entity that does not stand above");
    }
    if (entities_.empty()) {
      result_.tree = Vorn::rootConfigCollFactory(parsed<Kro::Name>(fields[2]));
      return add(path, result_.tree);
    }
    std::size_t const slash = path.text.rfind('/');
    auto const parent = entities_.find(path.text.substr(0, slash));
    if (slash == std::string_view::npos || parent == entities_.end()) {
      mismatch(path, "a path below an entity that stands above");
    }
    std::string_view const step = path.text.substr(slash + 1);
    if (std::size_t const bracket = step.find('['); bracket != std::string_view::npos) {
      pending_ = Pending{std::string(path.text), parent->second, std::string(step.substr(0, bracket)), fields[2], {}};
    } else {
      std::visit([&](auto const& entity) { child(*entity, step, fields); }, parent->second);
    }
  }
  template <class X>
  void child(X& parent, std::string_view attribute, std::vector<Field> const& fields) {
    bool const isKnown = withAttribute<X>(attribute, [&](auto const& d) {
      if constexpr (std::remove_cvref_t<decltype(d)>::kind == AttributeKind::child) {
        add(fields[0], (parent.*d.set)(parsed<Kro::Name>(fields[2])));
      } else {
        mismatch(fields[0], "the path of a child");
      }
    });
    if (!isKnown) {
      mismatch(fields[0], "the path of a child");
    }
  }
  void add(Field const& path, AnyEntity const& entity) {
    std::string const is(std::visit([](auto const& of) { return of->fullName(); }, entity).view());
    if (is != path.text) {
      mismatch(path, quoted(is));
    }
    entities_.emplace(is, entity);
  }

  void parameter(std::vector<Field> const& fields) {
    if (fields[0].text != pending_->path) {
      mismatch(fields[0], quoted(pending_->path));
    }
    pending_->parameters.push_back(fields[2]);
    bool const isMember = std::visit([&](auto const& parent) { return member(*parent, fields); }, pending_->parent);
    if (!isMember) {
      mismatch(fields[0], "the path of a member");
    }
  }
  /// Checks the name of the newest parameter, and makes the member once all are there.
  template <class X>
  bool member(X& parent, std::vector<Field> const& fields) {
    bool isMember = false;
    withAttribute<X>(pending_->attribute, [&](auto const& d) {
      using D = std::remove_cvref_t<decltype(d)>;
      if constexpr (D::kind == AttributeKind::members) {
        isMember = true;
        member(parent, d, fields, Kro::PositionsOfKind<typename D::Element, AttributeKind::parameter>());
      }
    });
    return isMember;
  }
  template <class X, class D, std::size_t... I>
  void member(X& parent, D const& d, std::vector<Field> const& fields, std::index_sequence<I...>) {
    using M = typename D::Element;
    std::string_view const names[] = {Kro::entityAttribute<M, I>.name...};
    auto const& parameters = pending_->parameters;
    if (fields[1].text != names[parameters.size() - 1]) {
      mismatch(fields[1], quoted(names[parameters.size() - 1]));
    }
    if (parameters.size() == sizeof...(I)) {
      auto const made = (parent.*d.create)(parsed<typename Kro::EntityAttributeType<M, I>::Type>(parameters[I])...);
      if (!(parsed<Kro::Name>(pending_->name) == made->name())) {
        fail(0, "the name of this entity is not " + quoted(pending_->name.text));
      }
      pending_.reset();
      add(fields[0], made);
      if constexpr (std::is_same_v<M, Vorn::VornAcl>) {
        lists_[made.get()] = result_.lists.size();
        result_.acls.push_back(made);
        result_.lists.push_back({made->aclType(), std::string(made->cliName().view())});
      }
    }
  }

  template <class X>
  void set(X& entity, std::vector<Field> const& fields) {
    bool isSet = false;
    withAttribute<X>(fields[1].text, [&](auto const& d) { isSet = set(entity, d, fields); });
    if (!isSet) {
      mismatch(fields[1], "an attribute that can be written, with a key where it has one");
    }
  }
  template <class X, class D>
  bool set(X& entity, D const& d, std::vector<Field> const& fields) {
    bool const isKeyed = fields.size() == 4;
    if constexpr (D::kind == AttributeKind::scalar || D::kind == AttributeKind::counter) {
      if (!isKeyed) {
        (entity.*d.set)(parsed<typename D::Type>(fields[2]));
      }
      return !isKeyed;
    } else if constexpr (D::kind == AttributeKind::child) {
      return !isKeyed && fields[2].text == "null";
    } else if constexpr (D::kind == AttributeKind::values) {
      if (isKeyed) {
        value(entity, d, fields);
      }
      return isKeyed;
    } else if constexpr (D::kind == AttributeKind::references) {
      auto const referenced = isKeyed ? entities_.find(fields[3].text) : entities_.end();
      if (referenced == entities_.end() || !std::holds_alternative<Kro::Ptr<Vorn::RootConfig>>(referenced->second)) {
        return false;
      }
      (entity.*d.set)(std::get<Kro::Ptr<Vorn::RootConfig>>(referenced->second));
      return true;
    } else {
      return false;
    }
  }
  template <class X, class D>
  void value(X& entity, D const& d, std::vector<Field> const& fields) {
    auto const key = parsed<typename D::Key>(fields[2]);
    auto const value = parsed<typename D::Element>(fields[3]);
    if ((entity.*d.field).find(key) != nullptr) {
      mismatch(fields[2], "a key that does not stand above");
    }
    (entity.*d.set)(key, value);
    if constexpr (std::is_same_v<X, Vorn::VornAcl>) {
      result_.rules.push_back({lists_.at(&entity), key, number_, ruleOf(value, entity.aclType())});
    }
  }

  /// Reads a value, which must be written as the model would write it.
  template <class T>
  T parsed(Field const& field) const {
    try {
      T const value = [&] {
        if constexpr (std::is_same_v<T, Vorn::AclId>) {
          return aclIdOf(field.text);
        } else {
          return Kro::strepToValue<T>(Kro::String8(field.text));
        }
      }();
      std::string again;
      Kro::appendStrep(again, value);
      if (again != field.text) {
        auto const at = std::mismatch(again.begin(), again.end(), field.text.begin(), field.text.end()).second;
        auto const column = static_cast<std::size_t>(at - field.text.begin());
        fail(field.at + column, "found " + quoted(field.text.substr(column)) +
                                    ", expected it as the model writes it, " +
                                    quoted(std::string_view(again).substr(column)));
      }
      return value;
    } catch (Kro::Exception const& error) {
      fail(field.at, "found " + quoted(field.text) + ": " + error.what());
    }
  }

  template <class X, class F>
  static bool withAttribute(std::string_view name, F const& f) {
    bool isKnown = false;
    Kro::forEachEntityAttribute<X>([&](auto const& d) {
      if (d.name == name) {
        isKnown = true;
        f(d);
      }
    });
    return isKnown;
  }

  std::string const& name_;
  std::size_t number_ = 1;
  RuleSet result_;
  std::map<std::string, AnyEntity, std::less<>> entities_;  ///< by path
  std::map<Vorn::VornAcl const*, std::size_t> lists_;
  std::optional<Pending> pending_;
};

}  // namespace

RuleSet ruleSetOf(Tree const& tree, std::string const& name) { return ruleSetOf(tree, name, aclsOf(tree)); }
RuleSet ruleSetOf(Tree const& tree, std::string const& name, std::vector<Kro::Ptr<Vorn::VornAcl>> acls) {
  RuleSet set{name, Form::tree, {}, {}, tree, std::move(acls)};
  for (auto const& acl : set.acls) {
    auto const add = [&](auto const& records) {
      for (auto const& record : records) {
        set.rules.push_back({set.lists.size(), record.key(), 0, ruleOf(record.value(), acl->aclType())});
      }
    };
    add(acl->ipRuleByIdMap());
    add(acl->macRuleByIdMap());
    set.lists.push_back({acl->aclType(), std::string(acl->cliName().view())});
  }
  return set;
}

RuleSet readTree(std::string_view text, std::string const& name) {
  Reader reader(name);
  reader.readAll(text);
  return reader.take();
}

}  // namespace Tools
