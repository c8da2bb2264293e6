// Samples of value types that take each attribute through its bounds, made from the attribute lists.
#pragma once

#include <limits>

#include "GenRange/GenRange.h"
#include "platform/Dorix/EthAddr.h"
#include "platform/Dorix/IpProto.h"
#include "tests/Contracts.h"

namespace VornTest {

template <class T>
std::vector<T> samplesOf();

/// `base` with its attribute I at each sample of its type that the value's own check lets pass.
template <class T, std::size_t I>
std::vector<T> withEach(T const& base) {
  std::vector<T> all;
  for (auto const& sample : samplesOf<typename Kro::At<T, I>::Type>()) {
    T value = base;
    Kro::At<T, I>::of(value) = sample;
    try {
      if constexpr (requires { value.check(); }) {
        value.check();
      }
      all.push_back(value);
    } catch (Kro::RangeException const&) {
    }
  }
  return all;
}

/// The values of a type at the bounds of what it can hold; of a record, each attribute's in turn.
template <class T>
std::vector<T> samplesOf() {
  std::vector<T> samples;
  if constexpr (std::same_as<T, bool>) {
    samples = {false, true};
  } else if constexpr (Kro::Enumeration<T>) {
    for (auto const& e : kroEnumerators(T{}).all) {
      samples.push_back(e.value);
    }
  } else if constexpr (std::integral<T>) {
    for (std::uint32_t n : {0U, 1U, 63U, 64U, 0x7fU, 0x80U, 0xffU, 0x100U, 0x8000U, 0xffffU, 0x80000000U, ~0U}) {
      if (n <= std::numeric_limits<T>::max()) {
        samples.push_back(static_cast<T>(n));
      }
    }
  } else if constexpr (std::same_as<T, Dorix::IpProto>) {
    samples = {0, 1, 6, 127, 128, 255};
  } else if constexpr (std::same_as<T, Dorix::IpGenPrefix>) {
    for (char const* text : {"", "0.0.0.0/0", "10.0.0.0/8", "255.255.255.255/32", "::/0", "::1/128", "8000::/1"}) {
      samples.emplace_back(Kro::String8(text));
    }
  } else if constexpr (std::same_as<T, Dorix::EthAddr>) {
    for (char const* text : {"00:00:00:00:00:00", "00:00:00:00:00:01", "80:00:00:00:00:00", "ff:ff:ff:ff:ff:ff"}) {
      samples.emplace_back(Kro::String8(text));
    }
  } else if constexpr (std::same_as<T, Vorn::L4PortRange>) {
    samples = {{0, 0}, {0, 1}, {0, 65535}, {1, 1}, {255, 256}, {256, 256}, {32767, 32768}, {65535, 65535}};
  } else if constexpr (std::same_as<T, Vorn::GenRange>) {
    for (auto const kind : samplesOf<Vorn::GenRangeType>()) {  // of one family, since `==` and `<` differ about others
      for (auto const& range : withEach<T, 0>(T({}, Dorix::IpGenPrefix(Kro::String8("10.0.0.0/8")), kind))) {
        samples.push_back(range);
      }
      samples.push_back(T({}, {}, kind));
    }
  } else {
    samples = {T()};
    [&]<std::size_t... I>(std::index_sequence<I...>) {
      for (auto const& more : {withEach<T, I>(T())...}) {
        samples.insert(samples.end(), more.begin(), more.end());
      }
    }
    (Kro::StoredPositions<T>());
  }
  return samples;
}

}  // namespace VornTest
