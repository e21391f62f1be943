#pragma once

#include <log4cplus/logger.h>

#include "platform/platform.h"

/// The source file in the agent's log and assertion records.
inline constexpr const char* kSourceFile = "ServicesAgent";

/// The root logger of log4cplus, obtained when the plug-in is loaded.
extern log4cplus::Logger agentLogger;

/// Returns whether the root logger accepts records of this level. Initializes the logger on first
/// use.
inline bool IsLogged(log4cplus::LogLevel level) {
  if (!qx::Logger::hasBeenInitialized) qx::Logger::initialize();
  return agentLogger.isEnabledFor(level);
}

// A macro, because a record carries the signature of the calling function. `text` is evaluated
// only if the level is enabled.
#define AGENT_LOG(level, text)                                                      \
  do {                                                                              \
    if (IsLogged(level)) {                                                          \
      agentLogger.log(level, text, kSourceFile, __LINE__, &__PRETTY_FUNCTION__[0]); \
    }                                                                               \
  } while (false)
