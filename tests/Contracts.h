// What holds for every value type, checked once for all of them over samples that the caller picks. A type that differs
// in one point, such as a text that does not read back, calls the other checks one by one.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include <gtest/gtest.h>

#include "runtime/value/Codec.h"

namespace VornTest {

using Kro::String8;
using Bytes = std::vector<std::uint8_t>;

/// The attribute-log form of a value.
template <class T>
Bytes logBytes(T const& value) {
  Kro::Ptr<Kro::NboAttrLog::Out> const out = Kro::adopt(new Kro::NboAttrLog::Out);
  out << value;
  auto const pending = out->pending();
  return Bytes(pending.begin(), pending.end());
}

/// Reads a value from all of `bytes`; a rest is an error. Both ways of reading must agree.
template <class T>
T fromLogBytes(Bytes const& bytes) {
  Kro::Ptr<Kro::NboAttrLog::In> const in = Kro::adopt(new Kro::NboAttrLog::In(bytes));
  T const value = Kro::NboAttrLog::nextValue<T>(*in);
  EXPECT_EQ(in->remaining(), 0U) << "bytes are left";
  if constexpr (std::is_constructible_v<T, Kro::NboAttrLog::In*, Kro::StreamBogon>) {
    in->payloadIs(bytes);
    EXPECT_TRUE(T(in.get(), Kro::StreamBogon()) == value) << "the constructor reads another value";
    EXPECT_EQ(in->remaining(), 0U) << "the constructor leaves bytes";
  }
  return value;
}

/// The message of the `Error` that `action` must throw.
template <class Error, class Action>
std::string messageOf(Action action) {
  try {
    action();
  } catch (Error const& error) {
    return std::string(error.message().view());
  } catch (std::exception const& error) {
    return std::string("another error: ") + error.what();
  }
  return "no error";
}

/// `==` is an equivalence, `<` a strict weak order whose ties are the equal values, and the other four follow.
template <class T>
void checkOrder(std::vector<T> const& samples) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    SCOPED_TRACE(i);
    T const& a = samples[i];
    EXPECT_TRUE(a == a);
    EXPECT_FALSE(a < a);
    for (std::size_t j = 0; j < samples.size(); ++j) {
      SCOPED_TRACE(j);
      T const& b = samples[j];
      EXPECT_TRUE((a == b) == (b == a) && (a == b) == (!(a < b) && !(b < a)) && (a != b) == !(a == b));
      EXPECT_TRUE((a <= b) == !(b < a) && (a > b) == (b < a) && (a >= b) == !(a < b));
      for (T const& c : samples) {
        EXPECT_TRUE((!(a < b && b < c) || a < c) && (!(a == b && b == c) || a == c)) << "not transitive";
      }
    }
  }
}

/// The samples stand in strictly ascending order.
template <class T>
void checkAscending(std::vector<T> const& samples) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    for (std::size_t j = 0; j < samples.size(); ++j) {
      EXPECT_EQ(samples[i] < samples[j], i < j) << i << " < " << j;
      EXPECT_EQ(samples[i] == samples[j], i == j) << i << " == " << j;
    }
  }
}

/// Equal values hash equally, a copy included. Enumerations have no hash.
template <class T>
void checkHash(std::vector<T> const& samples) {
  if constexpr (requires(T const& value) { value.hash(); }) {
    for (T const& a : samples) {
      for (T const& b : samples) {
        EXPECT_TRUE(!(a == b) || a.hash() == b.hash()) << Kro::valueToStrep(a) << " and " << Kro::valueToStrep(b);
      }
    }
  }
}

/// Text reads back as the value whose text it is, alone and in front of other text; no beginning of it reads.
template <class T>
void checkText(std::vector<T> const& samples) {
  for (T const& sample : samples) {
    String8 const text = Kro::valueToStrep(sample);
    SCOPED_TRACE(text.view());
    EXPECT_TRUE(Kro::strepToValue<T>(text) == sample);
    EXPECT_TRUE(Kro::valueToStrep(Kro::strepToValue<T>(text)) == text);
    String8 const longer = text + ", 'next'";
    auto it = longer.begin();
    EXPECT_TRUE(Kro::sequenceToValue(it, longer.end(), static_cast<T*>(nullptr)) == sample);
    EXPECT_EQ(it.index(), text.length()) << "reads too little or too much";
    EXPECT_THROW(Kro::strepToValue<T>(longer), Kro::RangeException);
    EXPECT_THROW(Kro::strepToValue<T>(String8()), Kro::RangeException);
  }
}

/// The attribute-log form reads back as the same value and takes at most the room that was promised; every beginning
/// of it is refused without reading beyond it.
template <class T>
void checkLog(std::vector<T> const& samples) {
  for (T const& sample : samples) {
    SCOPED_TRACE(Kro::valueToStrep(sample));
    Bytes const bytes = logBytes(sample);
    EXPECT_LE(bytes.size(), Kro::logRoom(sample));
    T const again = fromLogBytes<T>(bytes);
    EXPECT_TRUE(again == sample);
    EXPECT_EQ(logBytes(again), bytes);
    for (std::size_t length = 0; length < bytes.size(); ++length) {
      Bytes const part(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(length));
      Kro::Ptr<Kro::NboAttrLog::In> const in = Kro::adopt(new Kro::NboAttrLog::In(part));
      EXPECT_THROW(Kro::NboAttrLog::nextValue<T>(*in), Kro::AttrLogEntityException) << length << " bytes";
    }
  }
}

/// All of it, and the order.
template <class T>
void checkAscendingValues(std::vector<T> const& samples) {
  checkAscending(samples);
  checkOrder(samples);
  checkHash(samples);
  checkText(samples);
  checkLog(samples);
}

}  // namespace VornTest
