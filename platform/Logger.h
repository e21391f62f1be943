#pragma once

#include <array>
#include <cstddef>

#include "platform/Types.h"

namespace qx {

/// Gives log4cplus's root logger the appender that hands records to the current host. [any time]
class PLATFORM_API Logger {
 public:
  static bool hasBeenInitialized;

  /// Adds the appender and sets the flag. Does nothing when the flag is set. Throws
  /// `std::bad_alloc`.
  static void initialize();
};

/// The call stack at the place of its construction, up to 32 frames. Allocates no memory and does
/// not fail. [any time]
class PLATFORM_API StackTrace {
 public:
  StackTrace();

  /// The number of frames, the innermost one first.
  std::size_t GetSize() const;
  /// The return address in a frame. Throws `std::out_of_range` for an index of `GetSize()` or more.
  const void* GetFrame(std::size_t index) const;

 private:
  std::array<void*, 32> frames_;
  std::size_t size_;
};

/// Hands a failed assertion to the current host, or writes a line to standard error when no host is
/// attached, and returns. [call out]
PLATFORM_API void AssertWrite(const char* file, int line, const StackTrace& trace);

}  // namespace qx
