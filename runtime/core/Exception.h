// Errors of the runtime. There are few types, each told by what the caller can do about it; texts are built in one
// place.
#pragma once

#include <cstdint>
#include <exception>
#include <typeinfo>

#include "runtime/core/String8.h"

namespace Kro {

/// Base of all runtime errors: a message and a set of identifiers. Copying shares the message.
class VORNACL_API Exception : public std::exception {
 public:
  /// A small integer that classifies an error.
  using Id = unsigned;
  static constexpr Id noId = 0;              ///< no particular class
  static constexpr Id rangeId = 12;          ///< a value outside what its type allows
  static constexpr Id attrLogEntityId = 42;  ///< a wrong entity in the attribute log
  static constexpr Id childStreamId = 48;    ///< expected while a child entity is announced

  /// A set of identifiers below 64.
  class IdBitArray {
   public:
    IdBitArray() : bits_(0) {}
    IdBitArray& add(Id id) {
      bits_ |= id < 64 ? std::uint64_t{1} << id : 0;
      return *this;
    }
    bool contains(Id id) const { return id < 64 && ((bits_ >> id) & 1U) != 0; }
    friend bool operator==(IdBitArray const&, IdBitArray const&) = default;

   private:
    std::uint64_t bits_;
  };

  /// `reported` says that the message is meant for whoever caused the error.
  explicit Exception(String8 message, IdBitArray ids = {}, bool reported = false)
      : message_(std::move(message)), ids_(ids), reported_(reported) {}
  ~Exception() override;

  String8 const& message() const noexcept { return message_; }
  IdBitArray const& ids() const noexcept { return ids_; }
  bool reported() const noexcept { return reported_; }
  /// The text of `message()`.
  char const* what() const noexcept override { return message_.charPtr(); }

 private:
  String8 message_;
  IdBitArray ids_;
  bool reported_;
};

/// A value outside what its type allows, an unknown enumerator, or text that cannot be read. Adds identifier 12.
class VORNACL_API RangeException : public Exception {
 public:
  explicit RangeException(String8 message, IdBitArray ids = {})
      : Exception(std::move(message), ids.add(rangeId), true) {}
};

/// Text that denotes an entity of another type than was asked for.
class VORNACL_API ConversionException : public RangeException {
 public:
  using RangeException::RangeException;
};

/// A message of the attribute log that cannot be applied to the entities at hand. Adds identifier 42.
class VORNACL_API AttrLogEntityException : public Exception {
 public:
  explicit AttrLogEntityException(String8 message, IdBitArray ids = {})
      : Exception(std::move(message), ids.add(attrLogEntityId), true) {}
};

/// A violated precondition or a broken protocol between two ends: a programming error of the caller or of the peer.
class VORNACL_API InternalException : public Exception {
 public:
  using Exception::Exception;
};

/// A member is created again with other constructor parameters than it has.
class VORNACL_API NameInUseException : public Exception {
 public:
  using Exception::Exception;
};

/// A change of an entity that mirrors a peer which accepts none.
class VORNACL_API ReadOnlyException : public Exception {
 public:
  using Exception::Exception;
};

[[noreturn]] VORNACL_API void throwRangeException(char const* message);
[[noreturn]] VORNACL_API void throwRangeException(String8 const& message);
/// Throws `InternalException`; a build with KRO_ABORT_ON_INTERNAL stops the process instead.
[[noreturn]] VORNACL_API void throwInternalException(char const* message);
[[noreturn]] VORNACL_API void throwInternalException(String8 const& message);
[[noreturn]] VORNACL_API void throwNameInUseException(String8 const& message);
/// Throws the error again with the name of the attribute whose text it was found in, before a colon; identifiers stay.
[[noreturn]] VORNACL_API void rethrowFromDeserializeAttr(RangeException const& error, String8 const& name);
/// Throws `ConversionException` for text at `it` that denotes no object of the type.
[[noreturn]] VORNACL_API void cannotConvert(String8::IteratorConst const& it, String8::IteratorConst const& end,
                                            std::type_info const& type);
/// The same for a type that has a name of its own.
[[noreturn]] VORNACL_API void cannotConvert(String8::IteratorConst const& it, std::string_view typeName);
/// Stops the process: for violations found where nothing can be thrown.
[[noreturn]] VORNACL_API void abortOnViolation(char const* message) noexcept;

/// Declares, for the extent of a scope, that the block may raise errors with the given identifier. It costs nothing.
class Expect {
 public:
  explicit Expect(Exception::Id id) : id_(id) {}
  ~Expect() {}
  Expect(Expect const&) = delete;
  Expect& operator=(Expect const&) = delete;
  Exception::Id id() const { return id_; }

 private:
  Exception::Id id_;
};

/// printf-style formatting into a new string.
#if defined(__GNUC__)
__attribute__((format(printf, 1, 2)))
#endif
VORNACL_API String8
format(char const* fmt, ...);

}  // namespace Kro
