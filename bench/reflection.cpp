// What reflection costs: reading an attribute of a live entity through it, beside ten direct reads and an allocation.
#include <benchmark/benchmark.h>

#include "VornAcl.h"
#include "runtime/reflection/Path.h"

namespace {

using Kro::GenericIf;
using Op = GenericIf::AttributeOp;

Kro::Ptr<Vorn::RootConfig> configuration() {
  static auto const instance = [] {
    auto made = Vorn::rootConfigFactory("5", 5, 1);
    made->initialize();
    return made;
  }();
  return instance;
}

/// Ten reads by the accessor, and one allocation of the size of a reflection object, given back.
void tenDirectReads(benchmark::State& state) {
  auto const entity = configuration();
  for (auto _ : state) {
    for (int i = 0; i < 10; ++i) {
      auto* at = entity.get();
      benchmark::DoNotOptimize(at);
      benchmark::DoNotOptimize(at->vornRootKick());
    }
    void* block = ::operator new(sizeof(Kro::ValueGenericIf<std::uint32_t>));
    benchmark::DoNotOptimize(block);
    ::operator delete(block);
  }
}
BENCHMARK(tenDirectReads)->Name("read by reflection/10 accessors, allocation");

/// The attribute's number is known, as it is to a tool that walks a type's attributes.
void reflectedRead(benchmark::State& state) {
  auto const object = Kro::reflectionOf(configuration());
  Op const op{static_cast<std::uint32_t>(object->attributeId("vornRootKick")), Op::read};
  for (auto _ : state) {
    auto const value = object->attributeOp(op, nullptr, nullptr);
    benchmark::DoNotOptimize(value.get());
  }
}
BENCHMARK(reflectedRead)->Name("read by reflection/library");

/// The attribute is found by its name for each read.
void reflectedReadByName(benchmark::State& state) {
  auto const object = Kro::reflectionOf(configuration());
  Kro::String8 const name = "vornRootKick";
  for (auto _ : state) {
    auto const value = object->attribute(name);
    benchmark::DoNotOptimize(value.get());
  }
}
BENCHMARK(reflectedReadByName)->Name("read by reflection/library, by name");

void reflectedWrite(benchmark::State& state) {
  auto const object = Kro::reflectionOf(configuration());
  Op const op{static_cast<std::uint32_t>(object->attributeId("vornRootKick")), Op::write};
  auto const type = object->type()->attr("vornRootKick")->attrType();
  std::uint32_t kick = 0;
  auto const one = type->genericIf(&kick, false);
  auto const other = type->genericIf(&++kick, false);
  for (auto _ : state) {
    object->attributeOp(op, nullptr, (++kick & 1U) != 0 ? one : other);
  }
}
BENCHMARK(reflectedWrite);

void resolvePath(benchmark::State& state) {
  auto const root = configuration();
  for (auto _ : state) {
    benchmark::DoNotOptimize(Kro::entityAtPath(root, "5/vornAclColl").get());
  }
}
BENCHMARK(resolvePath);

}  // namespace
