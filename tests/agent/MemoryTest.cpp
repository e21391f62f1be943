// The heap after what a property could send in years.
#include <gtest/gtest.h>
#include <malloc.h>

#include <string>

#include "host/CmdMessage.h"
#include "host/Host.h"
#include "tests/support/Player.h"

namespace {

// Sanitizers have a heap of their own, which they judge themselves, and take their time.
#ifdef __SANITIZE_ADDRESS__
constexpr int kRounds = 2000;
constexpr std::size_t kGreat = 1000000;
#else
constexpr int kRounds = 100000;
constexpr std::size_t kGreat = 10000000;
#endif

std::size_t BytesInUse() {
  const auto info = mallinfo2();
  return info.uordblks + info.hblkhd;
}

/// An agent that nobody listens to.
class Memory : public testing::Test, private host::IHostListener {
 protected:
  Memory() {
    host_.Create(test::GetPlugin());
    host_.Initialize({});
    host_.LateInitialize();
  }

  std::size_t Execute(const std::string& name, const host::CmdMessage::Params& params = {}) {
    host::CmdReturn answer;
    host_.Execute(host::CmdMessage(name, params), &answer);
    return answer.GetValue().value_or("").size();
  }

  host::ManualClock clock_{1709283600};
  host::Host host_{clock_, *this};

 private:
  void OnHostCall(const host::HostCall&) override {}
};

TEST_F(Memory, IsBackWhereItWasAfterAMillionCommands) {
  const auto round = [&] {
    Execute("ADD_SERVICE", {{"name", "Valet parking at the front door"}, {"delay", "0"}});
    Execute("ADD_SERVICE", {{"type", "shortcut"}, {"shortcut_id", "42"}});
    Execute("EDIT_SERVICE", {{"guest_service", "<guest_service id='1' name='Valet'/>"}});
    Execute("EDIT_SERVICE", {{"guest_service", "<guest_service id='1' name="}});
    Execute("SEND_REQUEST_EVENT", {{"id", "1"}, {"operarequest", "VAL01"}});
    Execute("REORDER_SERVICES", {{"order", "2,1"}});
    EXPECT_ANY_THROW(Execute("REORDER_SERVICES", {{"order", "2;1"}}));
    EXPECT_GT(Execute("GET_ALL_SERVICES"), 200U);
    clock_.Advance(30000);
    host_.DeliverExpiry();
    Execute("REMOVE_SERVICE", {{"id", "1"}});
    Execute("REMOVE_SERVICE", {{"id", "2"}});
  };
  round();
  const std::size_t before = BytesInUse();
  for (int i = 0; i < kRounds; ++i) round();
  EXPECT_EQ(host_.Persist()->OuterXml(), "<guest_services/>");
  EXPECT_LE(BytesInUse(), before + 4096);
}

TEST_F(Memory, IsBackWhereItWasAfterGreatTexts) {
  const auto round = [&] {
    Execute("ADD_SERVICE", {{"name", std::string(kGreat, '&')}});
    EXPECT_GT(Execute("GET_ALL_SERVICES"), 5 * kGreat);
    EXPECT_GT(host_.Persist()->OuterXml().size(), 5 * kGreat);
    const std::string name(kGreat, 'x');
    Execute("EDIT_SERVICE", {{"guest_service", "<guest_service id='1' name='" + name + "'/>"}});
    Execute("SEND_REQUEST_EVENT", {{"id", "1"}});
    const std::size_t size = Execute("GET_SERVICE", {{"id", "1"}});
    EXPECT_GT(size, kGreat);
    EXPECT_LT(size, kGreat + 300);
    Execute("REMOVE_SERVICE", {{"id", "1"}});
    EXPECT_ANY_THROW(Execute("REORDER_SERVICES", {{"order", std::string(kGreat / 10, ',')}}));
  };
  round();
  const std::size_t before = BytesInUse();
  round();
  EXPECT_LE(BytesInUse(), before + 4096);
}

TEST_F(Memory, IsBackWhereItWasAfterAMillionNestedElements) {
  std::string deep;
  for (int i = 0; i < 1000000; ++i) deep += "<a id='1'>";
  std::string closed = deep;
  for (int i = 0; i < 1000000; ++i) closed += "</a>";
  Execute("ADD_SERVICE", {{"name", "Valet"}});
  const std::string list = host_.Persist()->OuterXml();
  const auto round = [&] {
    for (const std::string* text : {&deep, &closed}) {
      Execute("EDIT_SERVICE", {{"guest_service", *text}});
      Execute("EDIT_SERVICE", {{"type", "shortcut"}, {"shortcut", *text}});
    }
  };
  round();
  const std::size_t before = BytesInUse();
  round();
  EXPECT_LE(BytesInUse(), before + 4096);
  EXPECT_EQ(host_.Persist()->OuterXml(), list);
}

}  // namespace
