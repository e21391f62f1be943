#include "bench/Heap.h"

#include <malloc.h>

#include "bench/Property.h"
#include "bench/RunningAgent.h"

namespace bench {
namespace {

std::size_t HeapOfAgent(std::size_t count) {
  const std::string& state = GetState(count);
  const std::size_t before = mallinfo2().uordblks;
  const RunningAgent agent(state);
  return mallinfo2().uordblks - before;
}

}  // namespace

double MeasureHeapPerService(std::size_t count) {
  constexpr std::size_t kFew = 10;
  const std::size_t bytes = HeapOfAgent(count) - HeapOfAgent(kFew);
  return static_cast<double>(bytes) / static_cast<double>(count - kFew);
}

}  // namespace bench
