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

template <class X, std::size_t I>
void strepField(std::string& text, X const& value) {
  text += text.back() == '{' ? "'" : ", '";
  text += At<X, I>::info.name;
  text += "': ";
  if constexpr (At<X, I>::Descriptor::isStored) {
    Codec<typename At<X, I>::Type>::strep(text, At<X, I>::of(value));
  } else {
    Codec<bool>::strep(text, (value.*(At<X, I>::info.get))());
  }
}

template <class X, std::size_t... I>
void strepFields(std::string& text, X const& value, std::index_sequence<I...>) {
  (strepField<X, I>(text, value), ...);
}

template <class X, std::size_t I>
bool readField(X& value, String8 const& name, String8::IteratorConst& it, String8::IteratorConst const& end) {
  using Type = typename At<X, I>::Type;
  if (name.view() != At<X, I>::info.name) {
    return false;
  }
  try {
    if constexpr (At<X, I>::Descriptor::isStored) {
      At<X, I>::of(value) = Codec<Type>::parse(it, end);
    } else {
      (value.*(At<X, I>::info.set))(Codec<Type>::parse(it, end));
    }
  } catch (RangeException const& error) {
    rethrowFromDeserializeAttr(error, name);
  }
  return true;
}

template <class X, std::size_t... I>
void readNamedField(X& value, String8 const& name, String8::IteratorConst& it, String8::IteratorConst const& end,
                    std::index_sequence<I...>) {
  if (!(readField<X, I>(value, name, it, end) || ...)) {
    throwRangeException(String8(shortTypeName(X::Attributes::typeName)) + " has no such attribute: " + name);
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

/// Consumes what stands before the first attribute: Value('TYPE', ** {
VORNACL_API void openRecord(String8::IteratorConst& it, String8::IteratorConst const& end, std::string_view typeName);
/// Consumes what stands before the next attribute's value and yields its name, or the closing brackets and yields
/// false.
VORNACL_API bool nextAttribute(String8::IteratorConst& it, String8::IteratorConst const& end, std::string_view typeName,
                               bool first, String8& name);

}  // namespace detail

template <class X>
std::uint32_t Value<X>::hash() const {
  static_assert(detail::checkAttributes<X>());
  Hash hash;
  detail::hashFields(hash, static_cast<X const&>(*this), StoredPositions<X>());
  return hash.value();
}

template <class X>
void Value<X>::strepTo(std::string& text) const {
  text += "Value('";
  text += X::Attributes::typeName;
  text += "', ** {";
  detail::strepFields(text, static_cast<X const&>(*this), TextPositions<X>());
  text += "})";
}

template <class X>
void Value<X>::readRecord(String8::IteratorConst& it, String8::IteratorConst const& end) {
  detail::openRecord(it, end, X::Attributes::typeName);
  String8 name;
  for (bool first = true; detail::nextAttribute(it, end, X::Attributes::typeName, first, name); first = false) {
    detail::readNamedField(self(), name, it, end, TextPositions<X>());
  }
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
  detail::readNamedField(self(), "value", it, end, StoredPositions<X>());
}

template <class X>
void Value<X>::readLog(NboAttrLog::In& in) {
  self() = NboAttrLog::nextValue<X>(in);
}

}  // namespace Kro
