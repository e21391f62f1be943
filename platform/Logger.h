#pragma once

#include <array>
#include <cstddef>

#include "platform/Types.h"

namespace qx {

/// Sets up log4cplus's root logger so that its records reach the host. [any time]
class PLATFORM_API Logger {
 public:
  static bool hasBeenInitialized;

  /// Harmless when repeated.
  static void initialize();
};

/// The call stack at the place where it is made. Needs no memory and does not fail.
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

/// Writes an assertion record and returns. [call out]
PLATFORM_API void AssertWrite(const char* file, int line, const StackTrace& trace);

}  // namespace qx
