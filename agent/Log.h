#pragma once

#include <log4cplus/logger.h>

#include "platform/platform.h"

/// The source file that the agent's log and assertion records carry.
inline constexpr const char* kSourceFile = "ServicesAgent";

/// log4cplus's root logger, bound when the library is loaded.
extern log4cplus::Logger agentLogger;

/// Whether a record of this level is wanted; sets the log up where nobody has.
inline bool IsLogged(log4cplus::LogLevel level) {
  if (!qx::Logger::hasBeenInitialized) qx::Logger::initialize();
  return agentLogger.isEnabledFor(level);
}

// A macro, since a record carries the signature of the function that writes it. `text` is made
// only where it is wanted.
#define AGENT_LOG(level, text)                                                      \
  do {                                                                              \
    if (IsLogged(level)) {                                                          \
      agentLogger.log(level, text, kSourceFile, __LINE__, &__PRETTY_FUNCTION__[0]); \
    }                                                                               \
  } while (false)
