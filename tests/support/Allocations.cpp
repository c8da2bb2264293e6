#include "tests/support/Allocations.h"

#include <cstdlib>
#include <new>
#include <utility>

namespace {

thread_local std::size_t made = 0;
thread_local std::size_t failing = 0;
thread_local std::size_t more = 0;  ///< that fail behind it
thread_local bool hasFailed = false;

void* allocate(std::size_t size) noexcept {
  ++made;
  if (failing != 0 && --failing == 0) {
    failing = more != 0 ? 1 : 0;
    more -= failing;
    hasFailed = true;
    return nullptr;
  }
  return std::malloc(size != 0 ? size : 1);
}

}  // namespace

std::size_t VornTest::allocations() { return made; }
bool VornTest::failAllocation(std::size_t n, std::size_t times) {
  failing = n;
  more = times - 1;
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
