#pragma once

#include "host/engine/PluginLibrary.h"

namespace test {

/// The built plug-in, loaded once.
inline const host::PluginLibrary& GetPlugin() {
  static const host::PluginLibrary plugin(PLUGIN_PATH);
  return plugin;
}

}  // namespace test
