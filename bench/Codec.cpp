// Key and value of one IP rule to the bytes of the attribute log and back.
#include "runtime/value/Codec.h"

#include "bench/Bench.h"
#include "bench/Rules.h"

namespace Bench {

namespace {

constexpr std::uint32_t rules = 64;
template <class T, class F>
std::array<T, rules> each(F const& make) {
  std::array<T, rules> all;
  for (std::uint32_t n = 0; n < rules; ++n) {
    all[n] = make(n);
  }
  return all;
}

auto encodedRules() {
  return each<Encoded>([](std::uint32_t n) { return Encoded(n); });
}

/// Calls `step(n)` for each rule in each iteration.
template <class F>
void loop(benchmark::State& state, F const& step) {
  for (auto _ : state) {
    for (std::uint32_t n = 0; n < rules; ++n) {
      step(n);
    }
  }
  state.SetItemsProcessed(state.iterations() * rules);
}

void encodeLibrary(benchmark::State& state) {
  auto const keys = each<Vorn::AceIndex>(keyOf);
  auto const values = each<Vorn::IpRuleConfig>([](std::uint32_t n) { return ruleOf(n); });
  auto const out = Kro::adopt(new Kro::NboAttrLog::Out);
  using Kro::NboAttrLog::operator<<;
  loop(state, [&](std::uint32_t n) {
    if (n == 0) {
      out->clear();
    }
    auto* const to = out->room(Kro::logRoom(keys[n]) + Kro::logRoom(values[n]));
    out->endIs(Kro::Codec<Vorn::IpRuleConfig>::put(Kro::Codec<Vorn::AceIndex>::put(to, keys[n]), values[n]));
    benchmark::DoNotOptimize(out->pending().data());
    benchmark::ClobberMemory();
  });
}

void encodeByHand(benchmark::State& state) {
  auto const entries = each<HandEntry>([](std::uint32_t n) { return Encoded(n).byHand(); });
  std::array<std::uint8_t, 65536> buffer;
  struct {
    std::uint8_t* at;
    std::uint8_t const* end;
  } out{buffer.data(), buffer.data() + buffer.size()};
  loop(state, [&](std::uint32_t n) {
    if (n == 0) {
      out.at = buffer.data();
    }
    out.at = handEncode(entries[n].key, entries[n].rule, out.at, out.end);
    benchmark::DoNotOptimize(&out);
    benchmark::ClobberMemory();
  });
}

void copyBytes(benchmark::State& state) {
  auto const all = encodedRules();
  std::array<std::uint8_t, 4096> buffer;
  loop(state, [&](std::uint32_t n) {
    std::memcpy(buffer.data(), all[n].bytes.data(), all[n].size);
    benchmark::DoNotOptimize(buffer.data());
    benchmark::ClobberMemory();
  });
}

void decodeLibrary(benchmark::State& state) {
  auto const all = encodedRules();
  auto const in = Kro::adopt(new Kro::NboAttrLog::In);
  loop(state, [&](std::uint32_t n) {
    in->payloadIs({all[n].bytes.data(), all[n].size});
    auto key = Kro::NboAttrLog::nextValue<Vorn::AceIndex>(*in);
    auto value = Kro::NboAttrLog::nextValue<Vorn::IpRuleConfig>(*in);
    if (in->remaining() != 0) {
      throw std::runtime_error("bad bytes");
    }
    benchmark::DoNotOptimize(key);
    benchmark::DoNotOptimize(value);
  });
}

void decodeByHand(benchmark::State& state) {
  auto const all = encodedRules();
  loop(state, [&](std::uint32_t n) {
    auto value = handDecode(all[n].bytes.data(), all[n].bytes.data() + all[n].size);
    benchmark::DoNotOptimize(value);
  });
}

}  // namespace

void addCodec() {
  add("encode a rule", library, encodeLibrary);
  add("encode a rule", "by hand", encodeByHand);
  add("encode a rule", "memcpy", copyBytes);
  add("decode a rule", library, decodeLibrary);
  add("decode a rule", "by hand", decodeByHand);
  add("decode a rule", "memcpy", copyBytes);
}

}  // namespace Bench
