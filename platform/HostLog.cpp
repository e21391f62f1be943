#include "platform/HostLog.h"

#include <log4cplus/configurator.h>
#include <log4cplus/logger.h>
#include <log4cplus/loglevel.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

#include "platform/IHost.h"
#include "platform/Logger.h"

namespace qx {

void SetLogLevel(const std::string& name) {
  // Not log4cplus's own look-up, which complains of an unknown name on the standard error.
  static constexpr std::pair<const char*, log4cplus::LogLevel> kLevels[] = {
      {"TRACE", log4cplus::TRACE_LOG_LEVEL}, {"DEBUG", log4cplus::DEBUG_LOG_LEVEL},
      {"INFO", log4cplus::INFO_LOG_LEVEL},   {"WARN", log4cplus::WARN_LOG_LEVEL},
      {"ERROR", log4cplus::ERROR_LOG_LEVEL}, {"FATAL", log4cplus::FATAL_LOG_LEVEL},
      {"OFF", log4cplus::OFF_LOG_LEVEL},
  };
  const auto* const level = std::find_if(std::begin(kLevels), std::end(kLevels),
                                         [&](const auto& entry) { return name == entry.first; });
  if (level == std::end(kLevels)) throw std::invalid_argument("'" + name + "' is no log level");
  log4cplus::Logger::getRoot().setLogLevel(level->second);
}

std::string GetLogLevel() {
  return log4cplus::getLogLevelManager().toString(log4cplus::Logger::getRoot().getLogLevel());
}

void ConfigureLog(const std::string& path) {
  Logger::initialize();
  if (!std::ifstream(path)) {
    throw std::runtime_error(path + ": cannot read it: " + std::strerror(errno));
  }
  log4cplus::PropertyConfigurator(path).configure();
  Logger::hasBeenInitialized = false;  // the file may have removed the host's appender
  Logger::initialize();
}

void WriteHostError(const std::string& text) {
  Logger::initialize();
  struct WithoutHost {
    WithoutHost() { SetCurrentHost(nullptr); }
    ~WithoutHost() { SetCurrentHost(host); }
    IHost* const host = GetCurrentHost();
  } const withoutHost;
  log4cplus::Logger::getRoot().log(log4cplus::ERROR_LOG_LEVEL, text, "host");
}

}  // namespace qx
