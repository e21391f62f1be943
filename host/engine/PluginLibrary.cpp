#include "host/engine/PluginLibrary.h"

#include <dlfcn.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <vector>

#include "host/engine/ElfFile.h"

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
void CheckLayer(const std::string& path) {
  constexpr std::string_view kEnding = ".so";
  constexpr std::string_view kSoname = PLATFORM_SONAME;
  constexpr std::string_view kLayer = kSoname.substr(0, kSoname.find(kEnding) + kEnding.size());
  std::string other;
  try {
    const std::string file = ReadRegularFile(path);
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

void PluginLibrary::Unload::operator()(void* handle) const { dlclose(handle); }

PluginLibrary::PluginLibrary(const std::string& path) : path_(path) {
  CheckLayer(path);
  // With a slash, so that the library search path is not consulted.
  const std::string file = path.find('/') == std::string::npos ? "./" + path : path;
  handle_.reset(dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL));
  if (!handle_) throw PluginError("cannot load the plug-in: " + std::string(dlerror()));
  const auto getNames = FindFunction<GetAgentNameFunc>(handle_.get(), path_, "GetAgentName");
  const auto getFactory =
      FindFunction<GetCreationFuncFunc>(handle_.get(), path_, "GetCreationFunc");
  // What they throw would outlive the library that it is of.
  try {
    std::vector<std::string> names;  // asked for as by any host; this one lists none
    getNames(names);
    factory_ = getFactory();
  } catch (const std::exception& error) {
    throw PluginError(path_ + ": GetAgentName or GetCreationFunc failed: " + error.what());
  } catch (...) {
    throw PluginError(path_ + ": GetAgentName or GetCreationFunc failed");
  }
  if (factory_ == nullptr) throw PluginError(path_ + ": GetCreationFunc gives no factory");
}

std::unique_ptr<PluginLibrary> PluginLibrary::LoadCopy(const std::string& path) {
  namespace fs = std::filesystem;
  std::string copy = (fs::temp_directory_path() / "guest-services-agent-XXXXXX").string();
  const int file = mkstemp(copy.data());
  if (file < 0) throw PluginError(copy + ": cannot make it: " + std::strerror(errno));
  close(file);
  std::unique_ptr<PluginLibrary> library;
  try {
    fs::copy_file(path, copy, fs::copy_options::overwrite_existing);
    library = std::make_unique<PluginLibrary>(copy);
  } catch (const std::exception& error) {
    fs::remove(copy);
    throw PluginError(path + ": cannot load a copy of it: " + error.what());
  }
  fs::remove(copy);  // what is mapped stays
  library->path_ = path;
  return library;
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
