#include "tests/support/FailingMemory.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <pugixml.hpp>

namespace {

constexpr long kNever = -1;

std::atomic<long> liveBlocks{0};
thread_local long grantedBlocks = kNever;
thread_local bool failsForGood = false;
thread_local bool hasFailed = false;

/// Null when memory has run out.
void* Take(std::size_t size) noexcept {
  if (grantedBlocks == 0) {
    hasFailed = true;
    if (!failsForGood) grantedBlocks = kNever;
    return nullptr;
  }
  if (grantedBlocks > 0) --grantedBlocks;
  void* const block = std::malloc(size != 0 ? size : 1);
  if (block != nullptr) ++liveBlocks;
  return block;
}

void* TakeOrThrow(std::size_t size) {
  void* const block = Take(size);
  if (block == nullptr) throw std::bad_alloc();
  return block;
}

void GiveBack(void* block) noexcept {
  if (block == nullptr) return;
  --liveBlocks;
  std::free(block);
}

const bool isPugixmlServed = [] {
  pugi::set_memory_management_functions(&Take, &GiveBack);
  return true;
}();

}  // namespace

void* operator new(std::size_t size) { return TakeOrThrow(size); }
void* operator new[](std::size_t size) { return TakeOrThrow(size); }
void* operator new(std::size_t size, const std::nothrow_t&) noexcept { return Take(size); }
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept { return Take(size); }
void operator delete(void* block) noexcept { GiveBack(block); }
void operator delete[](void* block) noexcept { GiveBack(block); }
void operator delete(void* block, std::size_t) noexcept { GiveBack(block); }
void operator delete[](void* block, std::size_t) noexcept { GiveBack(block); }
void operator delete(void* block, const std::nothrow_t&) noexcept { GiveBack(block); }
void operator delete[](void* block, const std::nothrow_t&) noexcept { GiveBack(block); }

namespace test {

long CountLiveBlocks() { return liveBlocks; }

FailingMemory::FailingMemory(long granted, bool forGood) {
  hasFailed = false;
  failsForGood = forGood;
  grantedBlocks = granted;
}

FailingMemory::~FailingMemory() { grantedBlocks = kNever; }

bool FailingMemory::HasFailed() { return isPugixmlServed && hasFailed; }

}  // namespace test
