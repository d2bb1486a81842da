#include "tests/chaos/allocation.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <new>

#include <pthread.h>
#if defined(__GLIBC__)
#include <malloc.h>
#endif

namespace chaos {
namespace {

enum Place : int { kUnknown, kInside, kOutside };

thread_local int placeNow = kUnknown;
thread_local int home = kUnknown;  // of a thread without a scope
thread_local std::uint64_t drawn = 0;

std::atomic<unsigned> odds{0};
std::atomic<std::uint64_t> seedOfFailures{0};
std::atomic<std::uint64_t> failures{0};
std::atomic<long long> blocksInUse{0};
std::atomic<long long> bytesInUse{0};

[[maybe_unused]] bool isThreadOfTheBus() {
#if defined(__GLIBC__)
  if (home == kUnknown) {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    home = std::strncmp(name, "qxbus-", 6) == 0 ? kInside : kOutside;
  }
#endif
  return home == kInside;
}

[[maybe_unused]] bool isInside() {
  return placeNow == kInside || (placeNow == kUnknown && isThreadOfTheBus());
}

[[maybe_unused]] bool mustFail() {
  const unsigned oneOf = odds.load(std::memory_order_relaxed);
  if (oneOf == 0 || !isInside()) {
    return false;
  }
  std::uint64_t mixed = ++drawn * 0x9E3779B97F4A7C15 + seedOfFailures.load();
  mixed = (mixed ^ (mixed >> 30)) * 0xBF58476D1CE4E5B9;
  mixed = (mixed ^ (mixed >> 27)) * 0x94D049BB133111EB;
  return (mixed >> 32) % oneOf == 0;
}

[[maybe_unused]] long long sizeOf([[maybe_unused]] void* block) {
#if defined(__GLIBC__)
  return static_cast<long long>(::malloc_usable_size(block));
#else
  return 0;
#endif
}

}  // namespace

InsideLibrary::InsideLibrary() : before_(placeNow) {
  placeNow = kInside;
}
InsideLibrary::~InsideLibrary() {
  placeNow = before_;
}
OutsideLibrary::OutsideLibrary() : before_(placeNow) {
  placeNow = kOutside;
}
OutsideLibrary::~OutsideLibrary() {
  placeNow = before_;
}

void failAllocations(std::uint64_t seed, unsigned oneOf) {
  seedOfFailures = seed;
  odds = oneOf;
}

Memory memory() {
  return {failures.load(), blocksInUse.load(), bytesInUse.load()};
}

}  // namespace chaos

// A sanitizer has its own.
#if defined(CHAOS_OWN_MEMORY)
void* operator new(std::size_t size) {
  void* const block = chaos::mustFail() ? nullptr : std::malloc(size > 0 ? size : 1);
  if (!block) {
    ++chaos::failures;
    throw std::bad_alloc();
  }
  ++chaos::blocksInUse;
  chaos::bytesInUse += chaos::sizeOf(block);
  return block;
}

void operator delete(void* block) noexcept {
  if (block) {
    --chaos::blocksInUse;
    chaos::bytesInUse -= chaos::sizeOf(block);
    std::free(block);
  }
}

void operator delete(void* block, std::size_t /*size*/) noexcept {
  operator delete(block);
}
#endif
