// The members that a value type derives from its attribute list. Included by the type's .cpp file alone, which
// instantiates them once: `template class Kro::Value<Vorn::AceIndex>;`
#pragma once

#include "runtime/value/AttributeChecks.h"
#include "runtime/value/Value.h"

namespace Kro {

namespace detail {

template <class X, std::size_t... I>
void hashFields(Hash& hash, X const& value, std::index_sequence<I...>) {
  (Codec<typename At<X, I>::Type>::mix(hash, At<X, I>::of(value)), ...);
}

// --- text: one literal for each attribute, which the writer copies and the reader compares as a whole ---

template <std::size_t n>
constexpr std::array<char, n> joined(std::string_view a, std::string_view b, std::string_view c) {
  std::array<char, n> all{};
  std::copy(c.begin(), c.end(), std::copy(b.begin(), b.end(), std::copy(a.begin(), a.end(), all.begin())));
  return all;
}
template <class X>
inline constexpr auto opening = joined<X::Attributes::typeName.size() + 14>("Value('", X::Attributes::typeName,
                                                                            "', ** {");
template <class X, std::size_t I>
inline constexpr auto label = joined<At<X, I>::info.name.size() + 6>(", '", At<X, I>::info.name, "': ");
inline constexpr std::string_view closing = "})";

template <class X>
constexpr std::string_view openingOf() {
  return {opening<X>.data(), opening<X>.size()};
}
/// What stands before an attribute; before the first one without the comma.
template <class X, std::size_t I>
constexpr std::string_view labelOf(bool isFirst) {
  std::size_t const comma = isFirst ? 2 : 0;
  return {label<X, I>.data() + comma, label<X, I>.size() - comma};
}

template <class X, std::size_t I>
decltype(auto) textValue(X const& value) {
  if constexpr (At<X, I>::Descriptor::isStored) {
    return At<X, I>::of(value);
  } else {
    return (value.*(At<X, I>::info.get))();
  }
}

template <class X, std::size_t First, std::size_t... rest>
std::size_t roomOfFields(X const& value, std::index_sequence<First, rest...>) {
  constexpr std::size_t labels = (label<X, First>.size() + ... + label<X, rest>.size());
  return labels + (Codec<typename At<X, First>::Type>::textRoom(textValue<X, First>(value)) + ... +
                   Codec<typename At<X, rest>::Type>::textRoom(textValue<X, rest>(value)));
}
template <class X, std::size_t First, std::size_t... rest>
char* putFieldTexts(char* to, X const& value, std::index_sequence<First, rest...>) {
  to = Codec<typename At<X, First>::Type>::putText(putText(to, labelOf<X, First>(true)), textValue<X, First>(value));
  ((to = Codec<typename At<X, rest>::Type>::putText(putText(to, labelOf<X, rest>(false)), textValue<X, rest>(value))),
   ...);
  return to;
}

template <class X, std::size_t I>
void readField(X& value, TextCursor& in) {
  using Type = typename At<X, I>::Type;
  try {
    if constexpr (At<X, I>::Descriptor::isStored) {
      At<X, I>::of(value) = Codec<Type>::parse(in);
    } else {
      (value.*(At<X, I>::info.set))(Codec<Type>::parse(in));
    }
  } catch (RangeException const& error) {
    rethrowFromDeserializeAttr(error, String8(At<X, I>::info.name));
  }
}

template <class X, std::size_t I>
bool readIfNamed(X& value, std::string_view name, TextCursor& in) {
  return name == At<X, I>::info.name && (readField<X, I>(value, in), true);
}
template <class X, std::size_t... I>
void readNamedField(X& value, std::string_view name, TextCursor& in, std::index_sequence<I...>) {
  if (!(readIfNamed<X, I>(value, name, in) || ...)) {
    throwRangeException(String8(shortTypeName(X::Attributes::typeName)) + " has no such attribute: " + String8(name));
  }
}

/// Consumes what stands before the first attribute: Value('TYPE', ** {
VORNACL_API void openRecord(TextCursor& in, std::string_view typeName);
/// Consumes what stands before the next attribute's value and yields its name, or the closing brackets and yields
/// false.
VORNACL_API bool nextAttribute(TextCursor& in, std::string_view typeName, bool isFirst, std::string_view& name,
                               std::string& spare);

template <class X, std::size_t I>
bool readIfNext(X& value, TextCursor& in, bool& isFirst) {
  if (!in.take(labelOf<X, I>(isFirst))) {
    return false;
  }
  readField<X, I>(value, in);
  isFirst = false;
  return true;
}
template <class X, std::size_t... I>
void readFields(X& value, TextCursor& in, std::index_sequence<I...> all) {
  bool isFirst = true;
  // As the writer writes them, up to the first that stands otherwise: a rule takes 420 ns so, and 930 when each of its
  // attributes is looked for by name.
  static_cast<void>((readIfNext<X, I>(value, in, isFirst) && ...));
  std::string spare;
  for (std::string_view name; nextAttribute(in, X::Attributes::typeName, isFirst, name, spare); isFirst = false) {
    readNamedField(value, name, in, all);
  }
}

template <class X, std::size_t I>
void checkRange(typename At<X, I>::Type const& value) {
  if constexpr (At<X, I>::Descriptor::isChecked) {
    if (value > At<X, I>::info.check.most) {
      throwOutOfRange(X::Attributes::typeName, At<X, I>::info.name, At<X, I>::info.check);
    }
  }
}
template <class X, std::size_t... I>
void checkRanges(X const& value, std::index_sequence<I...>) {
  (checkRange<X, I>(At<X, I>::of(value)), ...);
}

template <class X, std::size_t I, class F>
void checkField(X const& object, F const& field, F value) {
  if constexpr (std::is_same_v<typename At<X, I>::Type, F>) {
    if (&At<X, I>::of(object) == &field) {
      checkRange<X, I>(value);
    }
  }
}
template <class X, class F, std::size_t... I>
void setInRange(X& object, F& field, F value, std::index_sequence<I...>) {
  if (value != field) {
    (checkField<X, I>(object, field, value), ...);
    field = value;
  }
}

}  // namespace detail

template <class X>
std::uint32_t Value<X>::hash() const {
  static_assert(detail::checkAttributes<X>());
  Hash hash;
  detail::hashFields(hash, static_cast<X const&>(*this), StoredPositions<X>());
  return hash.value();
}

template <class X>
std::size_t Value<X>::textRoom() const {
  return detail::opening<X>.size() + detail::closing.size() +
         detail::roomOfFields(static_cast<X const&>(*this), TextPositions<X>());
}
template <class X>
char* Value<X>::textTo(char* to) const {
  to = putText(to, detail::openingOf<X>());
  to = detail::putFieldTexts(to, static_cast<X const&>(*this), TextPositions<X>());
  return putText(to, detail::closing);
}

template <class X>
void Value<X>::readRecord(String8::IteratorConst& it, String8::IteratorConst const& end) {
  TextCursor in(it, end);
  if (!in.take(detail::openingOf<X>())) {
    detail::openRecord(in, X::Attributes::typeName);
  }
  detail::readFields(self(), in, TextPositions<X>());
  self().check();
}

template <class X>
void Value<X>::check() const {
  detail::checkRanges(static_cast<X const&>(*this), StoredPositions<X>());
}

template <class X>
void Value<X>::setInRange(std::uint8_t& field, std::uint8_t value) {
  detail::setInRange(self(), field, value, StoredPositions<X>());
}
template <class X>
void Value<X>::setInRange(std::uint16_t& field, std::uint16_t value) {
  detail::setInRange(self(), field, value, StoredPositions<X>());
}
template <class X>
void Value<X>::setInRange(std::uint32_t& field, std::uint32_t value) {
  detail::setInRange(self(), field, value, StoredPositions<X>());
}

template <class X>
void Value<X>::readBareNumber(String8::IteratorConst& it, String8::IteratorConst const& end) {
  TextCursor in(it, end);
  detail::readNamedField(self(), "value", in, StoredPositions<X>());
}

template <class X>
void Value<X>::readLog(NboAttrLog::In& in) {
  self() = NboAttrLog::nextValue<X>(in);
}

}  // namespace Kro
