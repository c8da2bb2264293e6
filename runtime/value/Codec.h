// How a type takes part in hash, text and attribute log: one `Codec` for each kind of type. The walks over attribute
// lists use nothing else, so a new type plugs into all of them by having a codec: built-ins and enumerations have
// theirs here; a class gets one by the members that it shares with every value (see `Value.h`).
#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstdint>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <type_traits>

#include "runtime/core/Hash.h"
#include "runtime/core/Name.h"
#include "runtime/stream/In.h"
#include "runtime/stream/Out.h"
#include "runtime/value/Attributes.h"
#include "runtime/value/Enumeration.h"
#include "runtime/value/Text.h"

namespace Kro {

/// The part of each type in what is derived:
///   maxSize                 most bytes that `put` writes; `unboundedSize` where only `size(value)` can tell
///   put(to, value) -> end   writes the attribute-log form to a place that has room for it
///   get(cursor) -> value    reads it
///   mix(hash, value)        appends the value to a hash of attributes
///   textRoom(value)         characters of room that `putText` needs
///   putText(to, value) -> end   writes the text form to a place that has room for it
///   parse(cursor) -> value  reads the text form
template <class T>
struct Codec;

inline constexpr std::size_t unboundedSize = std::numeric_limits<std::size_t>::max();

namespace detail {

template <class T>
using UnsignedOfWidth =
    std::conditional_t<sizeof(T) == 1, std::uint8_t,
                       std::conditional_t<sizeof(T) == 2, std::uint16_t,
                                          std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>>>;

}  // namespace detail

template <class T>
requires(std::integral<T> && !std::same_as<T, bool>) struct Codec<T> {
  using Wire = detail::UnsignedOfWidth<T>;
  static constexpr std::size_t maxSize = sizeof(T);
  static std::uint8_t* put(std::uint8_t* to, T value) { return storeBigEndian(to, static_cast<Wire>(value)); }
  static T get(InCursor& in) { return static_cast<T>(in.next<Wire>()); }
  static void mix(Hash& hash, T value) {
    static_assert(sizeof(T) <= 4, "a hash takes attributes of at most four bytes");
    hash.mixInteger(static_cast<std::uint32_t>(value), sizeof(T));
  }
  static constexpr std::size_t textRoom(T) { return maxDigits<T>; }
  static char* putText(char* to, T value) { return putInteger(to, value); }
  /// Truncated to a width below 64 bits without a range check.
  static T parse(TextCursor& in) {
    using Read = std::conditional_t<std::unsigned_integral<T> && sizeof(T) == 8, unsigned long long, long long>;
    return static_cast<T>(readInteger<Read>(in));
  }
};

template <>
struct Codec<bool> {
  static constexpr std::size_t maxSize = 1;
  static std::uint8_t* put(std::uint8_t* to, bool value) {
    *to = value ? 1 : 0;
    return to + 1;
  }
  static bool get(InCursor& in) {
    auto const byte = in.next<std::uint8_t>();
    if (byte > 1) [[unlikely]] {
      throwNoBool(byte);
    }
    return byte != 0;
  }
  static void mix(Hash& hash, bool value) { hash.mixInteger(value ? 1 : 0, 1); }
  static constexpr std::size_t textRoom(bool) { return maxBool; }
  static char* putText(char* to, bool value) { return putBool(to, value); }
  static bool parse(TextCursor& in) { return readBool(in); }
};

template <>
struct Codec<double> {
  static constexpr std::size_t maxSize = 8;
  static std::uint8_t* put(std::uint8_t* to, double value) {
    return storeBigEndian(to, std::bit_cast<std::uint64_t>(value));
  }
  static double get(InCursor& in) { return std::bit_cast<double>(in.next<std::uint64_t>()); }
  static constexpr std::size_t textRoom(double) { return maxDouble; }
  static char* putText(char* to, double value) { return putDouble(to, value); }
  static double parse(TextCursor& in) { return readDouble(in); }
};

/// Written as a signed 32-bit number; read as an unsigned one that must have an enumerator.
template <Enumeration E>
struct Codec<E> {
  static constexpr std::size_t maxSize = 4;
  static std::uint8_t* put(std::uint8_t* to, E value) { return storeBigEndian(to, static_cast<std::uint32_t>(value)); }
  static E get(InCursor& in) { return enumeratorOf<E>(in.next<std::uint32_t>()); }
  static void mix(Hash& hash, E value) { hash.mixInteger(static_cast<std::uint32_t>(value), 4); }
  static constexpr std::size_t textRoom(E value) { return roomOfName(value) + 2; }
  static char* putText(char* to, E value) {
    *to++ = '\'';
    to = putName(to, value);
    *to++ = '\'';
    return to;
  }
  static E parse(TextCursor& in) {
    std::string spare;
    return enumeratorNamed<E>(readQuoted(in, spare));
  }
};

template <>
struct Codec<String8> {
  static constexpr std::size_t maxSize = unboundedSize;
  static std::size_t size(String8 const& value) { return 4 + std::size_t{value.length()}; }
  static std::uint8_t* put(std::uint8_t* to, String8 const& value) {
    to = storeBigEndian(to, value.length());
    return std::copy_n(value.view().data(), value.length(), to);
  }
  static void mix(Hash& hash, String8 const& value) { hash.mixInteger(value.hash(), 4); }
  static std::size_t textRoom(String8 const& value) { return roomOfQuoted(value.view()); }
  static char* putText(char* to, String8 const& value) { return putQuoted(to, value.view()); }
  static String8 parse(TextCursor& in) {
    std::string spare;
    return String8(readQuoted(in, spare));
  }
};

template <>
struct Codec<Name> {
  static constexpr std::size_t maxSize = unboundedSize;
  static std::size_t size(Name const& value) { return Codec<String8>::size(value.string()); }
  static std::uint8_t* put(std::uint8_t* to, Name const& value) { return Codec<String8>::put(to, value.string()); }
  static void mix(Hash& hash, Name const& value) { Codec<String8>::mix(hash, value.string()); }
  static std::size_t textRoom(Name const& value) { return roomOfQuoted(value.view()); }
  static char* putText(char* to, Name const& value) { return putQuoted(to, value.view()); }
  static Name parse(TextCursor& in) { return Codec<String8>::parse(in); }
};

template <>
struct Codec<EntityId> {
  static constexpr std::size_t maxSize = 8;
  static std::uint8_t* put(std::uint8_t* to, EntityId id) { return storeBigEndian(to, id.value); }
};

/// A class that is a value: it writes its own text, reads itself from text, and has a hash.
template <class T>
concept ValueClass = std::is_class_v<T> &&
    requires(T const& value, char* to, String8::IteratorConst& it, String8::IteratorConst const& end) {
  { value.textRoom() } -> std::same_as<std::size_t>;
  { value.textTo(to) } -> std::same_as<char*>;
  { value.hash() } -> std::convertible_to<std::uint32_t>;
  T(it, end);
};

/// A value class that says itself how it is streamed, having no attribute list that would tell.
template <class T>
concept SelfStreamed = requires(T const& value, std::uint8_t* to, InCursor& in) {
  { T::logMaxSize } -> std::convertible_to<std::size_t>;
  { value.logTo(to) } -> std::same_as<std::uint8_t*>;
  { T::fromLog(in) } -> std::same_as<T>;
};

namespace detail {

template <class T, std::size_t... I>
constexpr std::size_t maxSizeOfFields(std::index_sequence<I...>) {
  // One field without a bound leaves the whole without one; a sum would wrap round to a small number.
  bool const isBounded = ((Codec<typename At<T, I>::Type>::maxSize != unboundedSize) && ...);
  return isBounded ? (Codec<typename At<T, I>::Type>::maxSize + ... + 0) : unboundedSize;
}

template <class T, std::size_t... I>
inline std::uint8_t* putFields(std::uint8_t* to, T const& value, std::index_sequence<I...>) {
  ((to = Codec<typename At<T, I>::Type>::put(to, At<T, I>::of(value))), ...);
  return to;
}

template <class T, std::size_t... I>
constexpr std::size_t plainSizeOfFields(std::index_sequence<I...>);

/// The bytes that every value of a plain type takes in the attribute log, 0 for any other type.
template <class T>
constexpr std::size_t plainSize() {
  if constexpr (std::is_arithmetic_v<T> || Enumeration<T>) {
    return Codec<T>::maxSize;
  } else if constexpr (SelfStreamed<T>) {
    return T::logMaxSize == sizeof(T) ? sizeof(T) : 0;
  } else if constexpr (ValueClass<T>) {
    return plainSizeOfFields<T>(StoredPositions<T>());
  } else {
    return 0;
  }
}
template <class T, std::size_t... I>
constexpr std::size_t plainSizeOfFields(std::index_sequence<I...>) {
  return ((plainSize<typename At<T, I>::Type>() != 0) && ...) ? (plainSize<typename At<T, I>::Type>() + ... + 0) : 0;
}
/// The bytes of the fields of plain types from the first one on.
template <class T, std::size_t... I>
constexpr std::size_t leadingPlainSize(std::index_sequence<I...>) {
  std::size_t sum = 0;
  static_cast<void>(((sum += plainSize<typename At<T, I>::Type>(), plainSize<typename At<T, I>::Type>() != 0) && ...));
  return sum;
}

/// Reads a field in the place of its default. Put together elsewhere, it would be copied in wider pieces than it was
/// just written in, and processors are slow at that.
template <class T>
inline void getField(InCursor& in, T& field) {
  if constexpr (requires { Codec<T>::getInto(in, field); }) {
    Codec<T>::getInto(in, field);
  } else {
    static_assert(std::is_trivially_destructible_v<T>, "a value that owns something is read by its member fromIn");
    ::new (static_cast<void*>(&field)) T(Codec<T>::get(in));
  }
}

/// Where a message may end within the fields. Kept out of the way of the reader for all others.
template <class T, std::size_t... I>
[[gnu::noinline, gnu::cold]] InCursor getFieldsNearEnd(InCursor in, T& value, std::index_sequence<I...>) {
  (getField(in, At<T, I>::of(value)), ...);
  return in;
}

/// Reads the fields from the `First` on. `inRun`: what is left was compared with the bytes of a run of plain fields
/// that goes on with this one.
template <bool inRun, class T, std::size_t First, std::size_t... rest>
inline void getFields(InCursor& in, T& value, std::index_sequence<First, rest...> fields) {
  constexpr std::size_t run = leadingPlainSize<T>(fields);
  if constexpr (!inRun && run != 0) {
    // Behind this one comparison the compiler sees that those of the single fields cannot fail, and drops them.
    if (in.remaining() < run) [[unlikely]] {
      in = getFieldsNearEnd(in, value, fields);
      return;
    }
  }
  getField(in, At<T, First>::of(value));
  if constexpr (sizeof...(rest) != 0) {
    getFields<(run != 0)>(in, value, std::index_sequence<rest...>());
  }
}

}  // namespace detail

template <ValueClass T>
struct Codec<T> {
  static constexpr std::size_t maxSize = [] {
    if constexpr (SelfStreamed<T>) {
      return T::logMaxSize;
    } else {
      return detail::maxSizeOfFields<T>(StoredPositions<T>());
    }
  }();
  static std::size_t size(T const& value) requires(maxSize == unboundedSize) { return value.logSize(); }
  static std::uint8_t* put(std::uint8_t* to, T const& value) {
    if constexpr (SelfStreamed<T>) {
      return value.logTo(to);
    } else {
      return detail::putFields(to, value, StoredPositions<T>());
    }
  }
  static T get(InCursor& in) requires SelfStreamed<T> { return T::fromLog(in); }
  static T get(InCursor& in) requires(!SelfStreamed<T>) {
    T value;
    getInto(in, value);
    return value;
  }
  /// Reads into a value that holds its defaults.
  static void getInto(InCursor& in, T& value) requires(!SelfStreamed<T>) {
    detail::getFields<false>(in, value, StoredPositions<T>());
    if constexpr (requires { value.checkFromLog(); }) {
      value.checkFromLog();
    }
  }
  static void mix(Hash& hash, T const& value) {
    if constexpr (requires { value.mixInto(hash); }) {
      value.mixInto(hash);
    } else {
      hash.mixInteger(value.hash(), 4);
    }
  }
  static std::size_t textRoom(T const& value) { return value.textRoom(); }
  static char* putText(char* to, T const& value) { return value.textTo(to); }
  static T parse(TextCursor& in) {
    return in.readBy([](String8::IteratorConst& it, String8::IteratorConst const& end) { return T(it, end); });
  }
};

/// A type that can be written to the attribute log.
template <class T>
concept Streamable = requires(T const& value, std::uint8_t* to) {
  { Codec<T>::put(to, value) } -> std::same_as<std::uint8_t*>;
};

/// A type with a text form.
template <class T>
concept HasStrep = requires(T const& value, char* to) {
  Codec<T>::putText(to, value);
};

/// Most bytes that this very value takes in the attribute log.
template <Streamable T>
std::size_t logRoom(T const& value) {
  if constexpr (Codec<T>::maxSize == unboundedSize) {
    return Codec<T>::size(value);
  } else {
    return Codec<T>::maxSize;
  }
}

namespace NboAttrLog {

/// Writes the attribute-log form of a value: one check of the room, then no other.
template <Streamable T>
Ptr<Out> const& operator<<(Ptr<Out> const& out, T const& value) {
  out->endIs(Codec<T>::put(out->room(logRoom(value)), value));
  return out;
}

/// Reads the attribute-log form of a value. Flattened: a reader of a few bytes costs less than its call, and takes the
/// cursor out of its registers.
template <class T>
[[gnu::flatten]] T nextValue(ByteConnection::In& in) {
  if constexpr (std::same_as<T, String8>) {
    return in.nextString();
  } else if constexpr (std::same_as<T, Name>) {
    return Name(in.nextString());
  } else if constexpr (requires { T::fromIn(in); }) {
    return T::fromIn(in);  // holds a string, whose limit the input knows
  } else {
    InCursor cursor = in.cursor();
    T value = Codec<T>::get(cursor);
    in.cursorIs(cursor);
    return value;
  }
}

}  // namespace NboAttrLog

namespace detail {

/// Hands over the text form of a value.
template <HasStrep T, class Take>
auto withStrep(T const& value, Take const& take) {
  // One reservation, and for all but the longest values, of which a rule is none, it is the stack's.
  std::size_t const room = Codec<T>::textRoom(value);
  char near[1024];
  std::unique_ptr<char[]> const far(room > sizeof near ? new char[room] : nullptr);
  char* const begin = far != nullptr ? far.get() : near;
  return take(std::string_view(begin, static_cast<std::size_t>(Codec<T>::putText(begin, value) - begin)));
}

}  // namespace detail

/// The text form of a value that has one.
template <HasStrep T>
String8 valueToStrep(T const& value) {
  return detail::withStrep(value, [](std::string_view text) { return String8(text); });
}
/// Appends the text form of a value that has one.
template <HasStrep T>
void appendStrep(std::string& to, T const& value) {
  detail::withStrep(value, [&to](std::string_view text) { to += text; });
}

/// Reads a value from text and advances the position; the pointer only selects the type.
template <class T>
requires(ValueClass<T> || Enumeration<T>) T
    sequenceToValue(String8::IteratorConst& it, String8::IteratorConst const& end, T*) {
  TextCursor in(it, end);
  return Codec<T>::parse(in);
}

/// Reads a whole string; throws `RangeException` for text that is left.
template <HasStrep T>
T strepToValue(String8 const& text, T* = nullptr) {
  String8::IteratorConst it = text.begin();
  String8::IteratorConst const end = text.end();
  T value = [&] {
    TextCursor in(it, end);
    return Codec<T>::parse(in);
  }();
  if (!(it == end)) {
    throwJunk(it, text);
  }
  return value;
}

}  // namespace Kro
