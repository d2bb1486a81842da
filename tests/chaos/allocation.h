// Memory that runs out for the library and the bus, and for nothing else: operator new of this
// program, which also counts the blocks in use.
//
// Only allocations made inside the library count: those of a thread in the scope of an
// InsideLibrary, and those of the threads of the bus. In the scope of an OutsideLibrary, such as a
// client's callback, none do.
//
// Under a sanitizer, which has an operator new of its own, nothing fails and nothing is counted.

#ifndef TESTS_CHAOS_ALLOCATION_H
#define TESTS_CHAOS_ALLOCATION_H

#include <cstddef>
#include <cstdint>

namespace chaos {

class InsideLibrary {
 public:
  InsideLibrary();
  ~InsideLibrary();
  InsideLibrary(const InsideLibrary&) = delete;
  InsideLibrary& operator=(const InsideLibrary&) = delete;

 private:
  const int before_;
};

class OutsideLibrary {
 public:
  OutsideLibrary();
  ~OutsideLibrary();
  OutsideLibrary(const OutsideLibrary&) = delete;
  OutsideLibrary& operator=(const OutsideLibrary&) = delete;

 private:
  const int before_;
};

// From now on one of so many allocations inside the library fails, chosen by the seed; 0 for none.
void failAllocations(std::uint64_t seed, unsigned oneOf);

struct Memory {
  std::uint64_t failed = 0;  // allocations, so far
  long long blocks = 0;      // in use
  long long bytes = 0;       // in use; 0 where the system does not say
};
Memory memory();

}  // namespace chaos

#endif  // TESTS_CHAOS_ALLOCATION_H
