#include "host/engine/PluginLibrary.h"

#include <dlfcn.h>
#include <sys/mman.h>
#include <unistd.h>

#include <boost/algorithm/string/replace.hpp>
#include <string_view>
#include <system_error>

#include "host/engine/ElfFile.h"
#include "host/engine/File.h"

namespace host {
namespace {

template <typename Function>
Function FindFunction(void* handle, const std::string& path, const char* name) {
  void* const symbol = dlsym(handle, name);
  if (symbol == nullptr) throw PluginError(path + ": exports no " + name);
  return reinterpret_cast<Function>(symbol);
}

/// Refuses a plug-in that was linked with another version of the platform layer than this host,
/// before the dynamic linker loads that version beside this host's. Another layer has another name,
/// and a plug-in that leaves its layer's names open needs none.
void CheckLayer(const std::string& file, const std::string& path) {
  constexpr std::string_view kEnding = ".so";
  constexpr std::string_view kSoname = PLATFORM_SONAME;
  constexpr std::string_view kLayer = kSoname.substr(0, kSoname.find(kEnding) + kEnding.size());
  std::string other;
  try {
    for (const std::string_view library : FindNeededLibraries(file)) {
      if (library.substr(0, kLayer.size()) == kLayer && library != kSoname) other = library;
    }
  } catch (const std::runtime_error& error) {
    throw PluginError("cannot load the plug-in: " + path + ": " + error.what());
  }
  if (!other.empty()) {
    throw PluginError(path + ": needs another version of the platform layer, " + other +
                      "; this host has " + std::string(kSoname));
  }
}

}  // namespace

PluginLibrary::Copy::Copy(const std::string& content)
    : file_(memfd_create("plug-in", MFD_CLOEXEC)) {
  if (file_ < 0) ThrowFileError("make", "a copy in memory");
  // With the process's number, so that a debugger finds it, too.
  path_ = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file_);
  try {
    WriteFile(path_, content, FileMode::kTruncate);
  } catch (const std::system_error&) {
    close(file_);
    throw;
  }
}

PluginLibrary::Copy::~Copy() { close(file_); }

void PluginLibrary::Unload::operator()(void* handle) const { dlclose(handle); }

PluginLibrary::PluginLibrary(const std::string& path) : path_(path) {
  try {
    const std::string file = ReadRegularFile(path);
    CheckLayer(file, path);
    copy_.emplace(file);
  } catch (const PluginError&) {
    throw;
  } catch (const std::runtime_error& error) {
    throw PluginError(std::string("cannot load the plug-in: ") + error.what());
  }
  handle_.reset(dlopen(copy_->GetPath().c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!handle_) {
    throw PluginError("cannot load the plug-in: " + WithOriginalPath(dlerror()));
  }
  const auto getNames = FindFunction<GetAgentNameFunc>(handle_.get(), path_, "GetAgentName");
  const auto getFactory =
      FindFunction<GetCreationFuncFunc>(handle_.get(), path_, "GetCreationFunc");
  // What they throw would outlive the library that it is of.
  try {
    getNames(names_);
    factory_ = getFactory();
  } catch (const std::exception& error) {
    throw PluginError(path_ + ": GetAgentName or GetCreationFunc failed: " + error.what());
  } catch (...) {
    throw PluginError(path_ + ": GetAgentName or GetCreationFunc failed");
  }
  if (factory_ == nullptr) throw PluginError(path_ + ": GetCreationFunc gives no factory");
}

std::string PluginLibrary::WithOriginalPath(const std::string& text) const {
  return boost::replace_all_copy(text, copy_->GetPath(), path_);
}

std::unique_ptr<IDriver> PluginLibrary::CreateAgent(IInstanceManager& instanceManager) const {
  std::unique_ptr<IDriver> agent;
  try {
    agent.reset(factory_(instanceManager));
  } catch (const std::exception& error) {
    throw PluginError(path_ + ": the agent's construction failed: " + error.what());
  } catch (...) {
    throw PluginError(path_ + ": the agent's construction failed");
  }
  if (!agent) throw PluginError(path_ + ": the factory gives no agent");
  return agent;
}

}  // namespace host
