#include "tests/support/Player.h"

#include <sstream>

namespace test {
namespace {

constexpr std::int64_t kFirstMoment = 1709283600;

}  // namespace

const host::PluginLibrary& GetPlugin() {
  static const host::PluginLibrary plugin(PLUGIN_PATH);
  return plugin;
}

Player::Player()
    : clock_(kFirstMoment),
      session_(GetPlugin(), clock_, [this](const std::string& line) { lines_ += line + '\n'; }) {
  session_.Start();
}

std::string Player::Play(const std::string& steps) {
  lines_.clear();
  std::istringstream stream(steps);
  for (std::string step; std::getline(stream, step);) session_.RunStep(step);
  return lines_;
}

std::string Play(const std::string& steps) { return Player().Play(steps); }

}  // namespace test
