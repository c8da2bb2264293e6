#include "tests/support/Allocations.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {

thread_local std::size_t made = 0;
thread_local std::size_t failing = 0;
thread_local bool staysFailing = false, hasFailed = false;

void* allocate(std::size_t size) noexcept {
  ++made;
  if (failing != 0 && --failing == 0) {
    failing = staysFailing ? 1 : 0;
    hasFailed = true;
    return nullptr;
  }
  return std::malloc(size != 0 ? size : 1);
}

}  // namespace

std::size_t VornTest::allocations() { return made; }
bool VornTest::failAllocation(std::size_t n, bool fromThenOn) {
  failing = n;
  staysFailing = fromThenOn;
  return std::exchange(hasFailed, false);
}

void* operator new(std::size_t size) {
  void* const memory = allocate(size);
  return memory != nullptr ? memory : throw std::bad_alloc();
}
void* operator new[](std::size_t size) { return operator new(size); }
void* operator new(std::size_t size, std::nothrow_t const&) noexcept { return allocate(size); }
void* operator new[](std::size_t size, std::nothrow_t const&) noexcept { return allocate(size); }
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete[](void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete[](void* memory, std::size_t) noexcept { std::free(memory); }
void operator delete(void* memory, std::nothrow_t const&) noexcept { std::free(memory); }
void operator delete[](void* memory, std::nothrow_t const&) noexcept { std::free(memory); }
