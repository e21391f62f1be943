// Prints the bytes of heap that an agent holds for each of 1,000 services. A program of its own,
// which also runs where the benchmark library is not installed.
#include <cstdio>

#include "bench/Heap.h"

int main() {
  constexpr std::size_t kServices = 1'000;
  bench::MeasureHeapPerService(kServices);  // what is allocated once in a process does not count
  std::printf("%.0f\n", bench::MeasureHeapPerService(kServices));
}
