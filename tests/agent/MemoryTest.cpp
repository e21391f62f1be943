// What years of commands, great texts, and loading and unloading leave behind: nothing.
#include <gtest/gtest.h>
#include <malloc.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <string>

#include "platform/HostLog.h"
#include "tests/support/Acts.h"
#include "tests/support/FailingMemory.h"

namespace test {
namespace {

// Sanitizers have a heap of their own, and take their time.
#ifdef __SANITIZE_ADDRESS__
constexpr int kManyRounds = 2000;
constexpr std::size_t kGreat = 1000000;
#else
constexpr int kManyRounds = 100000;
constexpr std::size_t kGreat = 10000000;
#endif

/// In the name of a loaded plug-in, which is a copy in memory.
constexpr const char* kCopy = "/memfd:plug-in";

/// Whether any part of a file is mapped whose path contains `text`.
bool IsMapped(const std::string& text) {
  std::ifstream maps("/proc/self/maps");
  const std::string all{std::istreambuf_iterator<char>(maps), {}};
  EXPECT_NE(all.find("libc.so"), std::string::npos) << "/proc/self/maps is not what it should be";
  return all.find(text) != std::string::npos;
}

long CountOpenFiles() {
  const std::filesystem::directory_iterator files("/proc/self/fd");
  return std::distance(begin(files), end(files));
}

std::size_t CountBytes() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

/// Expects that nothing is left of these rounds but what the first ones set up for good.
void ExpectNothingLeft(int rounds, const std::function<void()>& round) {
  for (int i = 0; i <= rounds / 100; ++i) round();
  const long blocks = CountLiveBlocks();
  const long files = CountOpenFiles();
  const std::size_t bytes = CountBytes();
  for (int i = 0; i < rounds; ++i) round();
  EXPECT_EQ(CountLiveBlocks(), blocks);
  EXPECT_EQ(CountOpenFiles(), files);
  // The C library may keep a little for itself.
  EXPECT_LE(CountBytes(), bytes + 4096);
}

/// An agent with an empty list.
class Memory : public testing::Test {
 protected:
  Memory() {
    world_.Start(Stage::kRunning, "<guest_services/>");
    qx::SetLogLevel("INFO");
  }

  World world_{Stage::kNone};
};

TEST_F(Memory, HasNothingLeftOfAMillionCommands) {
  ExpectNothingLeft(kManyRounds, [&] {
    world_.Run("ADD_SERVICE name='Valet parking at the front door' delay=0");
    world_.Run("ADD_SERVICE type=shortcut shortcut_id=42");
    world_.Run("EDIT_SERVICE guest_service='<guest_service id=\"1\" name=\"Valet\"/>'");
    world_.Run("EDIT_SERVICE guest_service='<guest_service id=\"1\" name='");
    world_.Run("SEND_REQUEST_EVENT id=1 operarequest=VAL01");
    world_.Run("REORDER_SERVICES order=2,1");
    EXPECT_ANY_THROW(world_.Run("REORDER_SERVICES order=2;1"));
    EXPECT_GT(world_.Run("GET_ALL_SERVICES").size(), 200U);
    world_.Sweep();
    world_.Run("REMOVE_SERVICE id=1");
    world_.Run("REMOVE_SERVICE id=2");
    world_.TakeFiredEvents();
  });
  EXPECT_EQ(world_.GetEntries(), Entries());
}

TEST_F(Memory, HasNothingLeftOfGreatTexts) {
  const std::string name = "<guest_service id=\"1\" name=\"" + std::string(kGreat, 'x') + "\"/>";
  std::string deep, ends;
  for (int i = 0; i < 1000000; ++i) (deep += "<a id=\"1\">", ends += "</a>");
  ExpectNothingLeft(1, [&] {
    world_.Run("ADD_SERVICE name=" + std::string(kGreat, '&'));
    EXPECT_GT(world_.Run("GET_ALL_SERVICES").size(), 5 * kGreat);
    EXPECT_GT(world_.GetEntries().at(0).size(), 5 * kGreat);
    for (const std::string& text : {name, deep, deep + ends}) {
      world_.Run("EDIT_SERVICE guest_service='" + text + '\'');
      world_.Run("EDIT_SERVICE type=shortcut shortcut='" + text + '\'');
    }
    world_.Run("SEND_REQUEST_EVENT id=1");
    const std::size_t size = world_.Run("GET_SERVICE id=1").size();
    EXPECT_TRUE(size > kGreat && size < kGreat + 300) << size;
    world_.Run("REMOVE_SERVICE id=1");
    EXPECT_ANY_THROW(world_.Run("REORDER_SERVICES order=" + std::string(kGreat / 10, ',')));
    world_.TakeFiredEvents();
  });
}

TEST(Loading, AThousandTimesLeavesNothingBehind) {
  ExpectNothingLeft(1000, [] {
    const host::PluginLibrary plugin(PLUGIN_PATH);
    EXPECT_TRUE(IsMapped(kCopy));
    World world(Stage::kRunning, plugin);
    // A guest's request, too, so that all of the plug-in is at work.
    world.Run("SEND_REQUEST_EVENT id=2 operarequest=CODE");
    world.Sweep();
    EXPECT_EQ(world.GetEntries().size(), 5U);
    EXPECT_EQ(world.Stop(), "");
  });
  EXPECT_FALSE(IsMapped(kCopy));
}

}  // namespace
}  // namespace test
