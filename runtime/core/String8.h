// The runtime's immutable string of 8-bit characters, and the read position that every text reader takes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <string_view>
#include <utility>

#include "runtime/core/VFPtrInterface.h"

namespace Kro {

template <class Char>
class StringN;

/// Immutable, reference-shared string of 8-bit characters; may hold NULs. The only instantiation of `StringN`.
using String8 = StringN<unsigned char>;

/// A counted reference to a shared block of characters. Copying shares the block; every operation that yields other
/// text builds a new one. The empty string refers to one shared null block, which is never counted.
template <class Char>
class VORNACL_API StringN {
 public:
  class IteratorConst;

  /// The shared block: count word, length, then the characters and a NUL.
  class Data : public VFPtrInterface {
   public:
    std::uint32_t length() const { return length_; }
    char const* chars() const { return reinterpret_cast<char const*>(this + 1); }
    std::string_view view() const { return {chars(), length_}; }
    /// Same length and same bytes.
    bool operator==(Data const& other) const { return view() == other.view(); }

   private:
    friend class StringN;
    void referencesInc() const {
      if (!isFrozen()) [[likely]] {
        VFPtrInterface::referencesInc();
      }
    }
    explicit Data(std::uint32_t length) : length_(length) {}
    std::uint32_t length_;
  };

  StringN() noexcept = default;
  /// The characters up to the terminating NUL; null gives the empty string.
  StringN(char const* text) : StringN(text != nullptr ? std::string_view(text) : std::string_view()) {}
  explicit StringN(std::string_view text) { assignNew(text); }
  StringN(StringN const& other) noexcept : data_(other.data_) { take(); }
  StringN(StringN&& other) noexcept : data_(std::exchange(other.data_, nullptr)) {}
  ~StringN() { drop(data_); }

  StringN& operator=(StringN const& other) noexcept {
    other.take();
    drop(std::exchange(data_, other.data_));
    return *this;
  }
  StringN& operator=(StringN&& other) noexcept {
    std::swap(data_, other.data_);
    return *this;
  }
  StringN& operator=(char const* text) { return *this = StringN(text); }

  /// Keeps the block for ever, to be shared by all threads. Precondition: no other thread knows it yet.
  void freeze() const {
    if (data_ != nullptr) {
      data_->freezeCount();
    }
  }

  /// Makes a still empty string hold `length` characters taken from `data + offset`.
  void init(char const* data, unsigned offset, unsigned length) {
    *this = StringN(std::string_view(data + offset, length));
  }

  StringN operator+(StringN const& tail) const;
  StringN& operator+=(StringN const& tail) { return *this = *this + tail; }
  StringN& operator+=(char const* tail) { return *this += StringN(tail); }

  /// The part from `start` of at most `length` characters; a start outside the string gives the empty string.
  StringN substr(long long start, unsigned length) const;

  /// A NUL-terminated view of the characters, valid while the string lives.
  char const* charPtr() const { return data().chars(); }
  std::string_view view() const { return data_ != nullptr ? data_->view() : std::string_view(); }
  std::uint32_t length() const { return data_ != nullptr ? data_->length() : 0; }
  bool empty() const { return length() == 0; }
  Data const& data() const { return data_ != nullptr ? *data_ : nullData(); }

  /// Murmur hash of the characters, for hash maps keyed by strings.
  std::uint32_t hash() const;

  IteratorConst begin() const;
  IteratorConst end() const;

  friend bool operator==(StringN const& a, StringN const& b) { return a.data_ == b.data_ || a.data() == b.data(); }
  friend bool operator==(StringN const& a, char const* b) { return a.data() == StringN(b).data(); }
  /// By unsigned bytes, the shorter first.
  friend bool operator<(StringN const& a, StringN const& b) { return a.view() < b.view(); }
  friend StringN operator+(char const* head, StringN const& tail) { return StringN(head) + tail; }

 private:
  static Data const& nullData();
  void assignNew(std::string_view text);
  static Data* newData(std::string_view head, std::string_view tail);
  void take() const noexcept {
    if (data_ != nullptr) {
      data_->referencesInc();
    }
  }
  static void drop(Data const* data) noexcept;

  Data const* data_ = nullptr;
};

/// A read position: the string and a signed character index.
template <class Char>
class VORNACL_API StringN<Char>::IteratorConst {
 public:
  IteratorConst() = default;
  IteratorConst(StringN string, long long index) : string_(std::move(string)), index_(index) {}

  /// At or behind the end of the string; a negative index is not.
  bool eot() const { return index_ >= 0 && index_ >= static_cast<long long>(string_.length()); }
  long long index() const { return index_; }
  void indexIs(long long index) { index_ = index; }
  StringN const& string() const { return string_; }
  /// The character here; precondition: the index lies within the string.
  char operator*() const { return string_.view()[static_cast<std::size_t>(index_)]; }
  IteratorConst& operator++() {
    ++index_;
    return *this;
  }
  /// Positions compare by index.
  friend bool operator==(IteratorConst const& a, IteratorConst const& b) { return a.index_ == b.index_; }

 private:
  StringN string_;
  long long index_ = 0;
};

template <class Char>
typename StringN<Char>::IteratorConst StringN<Char>::begin() const {
  return IteratorConst(*this, 0);
}
template <class Char>
typename StringN<Char>::IteratorConst StringN<Char>::end() const {
  return IteratorConst(*this, length());
}

extern template class VORNACL_API StringN<unsigned char>;

/// Writes the characters as they are.
VORNACL_API std::ostream& operator<<(std::ostream& out, String8 const& text);

}  // namespace Kro

template <>
struct std::hash<Kro::String8> {
  std::size_t operator()(Kro::String8 const& s) const noexcept { return s.hash(); }
};
