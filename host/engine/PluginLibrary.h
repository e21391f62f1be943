#pragma once

#include <memory>
#include <stdexcept>
#include <string>

#include "platform/QxBaseDriver.h"

namespace host {

/// A plug-in that could not be loaded or started; the message names the file and the step.
class PluginError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A loaded plug-in. It must outlive all that came from it: agents, and what they throw.
class PluginLibrary {
 public:
  /// Loads the library and asks for its two functions. Throws `PluginError`; nothing stays loaded
  /// then. A file that is no whole ELF file and a plug-in that was linked with another version of
  /// the platform layer are refused before any of their code runs.
  explicit PluginLibrary(const std::string& path);

  /// The same from a copy of the file, so that it is read anew even where it is loaded already.
  static std::unique_ptr<PluginLibrary> LoadCopy(const std::string& path);

  /// A new agent. Throws `PluginError` when the factory throws or gives none.
  std::unique_ptr<IDriver> CreateAgent(IInstanceManager& instanceManager) const;

 private:
  struct Unload {
    void operator()(void* handle) const;
  };

  std::string path_;
  std::unique_ptr<void, Unload> handle_;
  CreationFunc factory_ = nullptr;
};

}  // namespace host
