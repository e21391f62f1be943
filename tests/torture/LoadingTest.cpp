// What loading, starting, stopping and unloading leave behind.
#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/torture/FailingMemory.h"
#include "tests/torture/World.h"

namespace test {
namespace {

long CountOpenFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

/// Whether any part of the file is mapped into the process.
bool IsMapped(const std::string& path) {
  std::ifstream maps("/proc/self/maps");
  const std::string all{std::istreambuf_iterator<char>(maps), {}};
  EXPECT_NE(all.find("libc.so"), std::string::npos) << "/proc/self/maps is not what it should be";
  return all.find(std::filesystem::canonical(path).string()) != std::string::npos;
}

/// A guest's request among it, so that all of the plug-in is at work.
void LoadUseUnload() {
  const host::PluginLibrary plugin(PLUGIN_PATH);
  EXPECT_TRUE(IsMapped(PLUGIN_PATH));
  World world(plugin, Stage::kRunning);
  world.Command("SEND_REQUEST_EVENT", {{"id", "2"}, {"operarequest", "CODE"}});
  world.Sweep();
  EXPECT_EQ(world.GetEntries().size(), 5U);
  EXPECT_EQ(world.GetHost().Destroy(), "");
}

TEST(Loading, AThousandTimesLeavesNothingBehind) {
  constexpr int kWarmUp = 10;
  constexpr int kTimes = 1000;
  for (int i = 0; i < kWarmUp; ++i) LoadUseUnload();
  const long blocks = CountLiveBlocks();
  const long files = CountOpenFiles();
  const std::size_t heap = mallinfo2().uordblks;
  for (int i = 0; i < kTimes; ++i) LoadUseUnload();
  EXPECT_EQ(CountLiveBlocks(), blocks);
  EXPECT_EQ(CountOpenFiles(), files);
  EXPECT_FALSE(IsMapped(PLUGIN_PATH));
  // The C library may keep a little for itself, but not a block each time.
  constexpr std::size_t kSmallestBlock = 16;
  EXPECT_LT(mallinfo2().uordblks, heap + kTimes * kSmallestBlock);
}

}  // namespace
}  // namespace test
