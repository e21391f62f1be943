#pragma once

#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

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
  /// Loads a copy of the file in memory and asks for its two functions: what is written to the file
  /// later changes nothing, and another `PluginLibrary` reads it anew. Throws `PluginError`;
  /// nothing stays loaded then. A file that is no whole ELF file and a plug-in that was linked with
  /// another version of the platform layer are refused before any of their code runs. Libraries
  /// that the plug-in searches for beside itself ($ORIGIN) are not found from the copy.
  explicit PluginLibrary(const std::string& path);

  /// What `GetAgentName` gave: the names of the plug-in's agents.
  const std::vector<std::string>& GetAgentNames() const { return names_; }

  /// Replaces the path of the copy in `text` by that of the file, for messages and call stacks.
  std::string WithOriginalPath(const std::string& text) const;

  /// A new agent. Throws `PluginError` when the factory throws or gives none.
  std::unique_ptr<IDriver> CreateAgent(IInstanceManager& instanceManager) const;

 private:
  /// A file in memory. It lives as long as the library: a later copy has another path, or the
  /// dynamic linker would take it for the same library.
  class Copy {
   public:
    explicit Copy(const std::string& content);
    ~Copy();
    Copy(const Copy&) = delete;
    Copy& operator=(const Copy&) = delete;

    const std::string& GetPath() const { return path_; }

   private:
    int file_;
    std::string path_;
  };
  struct Unload {
    void operator()(void* handle) const;
  };

  std::string path_;
  std::optional<Copy> copy_;
  std::unique_ptr<void, Unload> handle_;
  std::vector<std::string> names_;
  CreationFunc factory_ = nullptr;
};

}  // namespace host
