// What reflection costs: reading an attribute of a live entity through it, beside the direct accessor and beside what
// any reflection object costs at least, one allocation. A read shall cost at most ten direct reads and an allocation.
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

void directRead(benchmark::State& state) {
  auto const entity = configuration();
  for (auto _ : state) {
    auto* at = entity.get();
    benchmark::DoNotOptimize(at);
    benchmark::DoNotOptimize(at->vornRootKick());
  }
}
BENCHMARK(directRead);

/// One allocation of the size of a reflection object, given back.
void allocation(benchmark::State& state) {
  for (auto _ : state) {
    void* block = ::operator new(64);
    benchmark::DoNotOptimize(block);
    ::operator delete(block);
  }
}
BENCHMARK(allocation);

/// The attribute's number is known, as it is to a tool that walks a type's attributes.
void reflectedRead(benchmark::State& state) {
  auto const object = Kro::reflectionOf(configuration());
  Op const op{static_cast<std::uint32_t>(object->attributeId("vornRootKick")), Op::read};
  for (auto _ : state) {
    auto const value = object->attributeOp(op, nullptr, nullptr);
    benchmark::DoNotOptimize(value.get());
  }
}
BENCHMARK(reflectedRead);

/// The attribute is found by its name for each read.
void reflectedReadByName(benchmark::State& state) {
  auto const object = Kro::reflectionOf(configuration());
  Kro::String8 const name = "vornRootKick";
  for (auto _ : state) {
    auto const value = object->attribute(name);
    benchmark::DoNotOptimize(value.get());
  }
}
BENCHMARK(reflectedReadByName);

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
