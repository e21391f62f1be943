#pragma once

namespace test {

// The memory of the process, operator new's and pugixml's, as something that can run out. It is
// the whole process's: the plug-in and the platform layer take theirs from here too.

/// How many blocks are taken and not given back.
long CountLiveBlocks();

/// While it lives, memory runs out for the thread that made it.
class FailingMemory {
 public:
  /// The allocation after the next `granted` ones fails: it alone, or with all that follow it.
  FailingMemory(long granted, bool forGood);
  ~FailingMemory();
  FailingMemory(const FailingMemory&) = delete;
  FailingMemory& operator=(const FailingMemory&) = delete;

  /// Whether any allocation has failed since the last one of these was made.
  static bool HasFailed();
};

}  // namespace test
