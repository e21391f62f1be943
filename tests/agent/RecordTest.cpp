// Everything that a log record carries, for every record that the agent writes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "host/CmdMessage.h"
#include "host/Host.h"
#include "platform/IHost.h"
#include "tests/support/Player.h"
#include "tests/support/Recorder.h"

namespace {

class Record : public testing::Test {
 protected:
  Record() {
    // Nobody has set the log up: the agent does.
    qx::SetLogLevel("DEBUG");
    host_.Create(test::GetPlugin());
    host_.Initialize({});
    host_.LateInitialize();
  }
  ~Record() override { host_.Destroy(); }

  void Execute(const std::string& name, const host::CmdMessage::Params& params) {
    host_.Execute(host::CmdMessage(name, params), nullptr);
  }

  /// What was written since the last call: these texts, at this level and by this function.
  void Expect(const std::string& levelAndFunction, const std::vector<std::string>& texts) {
    std::vector<std::string> written;
    for (const qx::LogRecord& record : recorder_.records) {
      EXPECT_EQ(std::to_string(record.level) + ' ' + record.levelName + ' ' + record.function,
                levelAndFunction);
      EXPECT_EQ(record.file, "ServicesAgent");
      EXPECT_GT(record.line, 0);
      written.push_back(record.text);
    }
    EXPECT_EQ(written, texts);
    recorder_.records.clear();
  }

  host::ManualClock clock_{0};
  test::Recorder recorder_;
  host::Host host_{clock_, recorder_};
};

TEST_F(Record, CarriesLevelSourceFileAndSignature) {
#ifdef __clang__
  GTEST_SKIP() << "the signatures are those that GCC writes";
#endif
  Execute("ADD_SERVICE", {{"name", "Valet"}});
  Execute("ADD_SERVICE", {{"type", "shortcut"}});
  Expect("10000 DEBUG void ServicesAgent::OnCmdAddService(const ICmdMessage&)",
         {"Creating Guest Service", "Creating Shortcut Guest Service"});
  Execute("EDIT_SERVICE", {{"guest_service", "<x id='1'/>"}});
  Expect("10000 DEBUG void ServicesAgent::OnCmdEditService(const ICmdMessage&)",
         {"Editing guest service"});
  qx::SetLogLevel("INFO");
  Execute("EDIT_SERVICE", {{"guest_service", "<x id='9'/>"}});
  Expect("40000 ERROR void ServicesAgent::OnCmdEditService(const ICmdMessage&)",
         {"Edit Service, service doesn't exist"});
  Execute("REORDER_SERVICES", {{"order", "1"}});
  Expect("40000 ERROR void ServicesAgent::OnCmdReorderServices(const ICmdMessage&)",
         {"Reorder Services, order doesn't name every service exactly once"});
  Execute("SEND_REQUEST_EVENT", {{"id", "1"}});
  Expect("20000 INFO void ServicesAgent::OnCmdSendRequestEvent(const ICmdMessage&)",
         {"sent request event for:  eventid: 1"});
  Execute("SEND_CANCEL_EVENT", {{"id", "1"}});
  Expect("20000 INFO void ServicesAgent::OnCmdSendCancelEvent(const ICmdMessage&)",
         {"sent cancel event for:  eventid: 10001"});
  Execute("REMOVE_SERVICE", {{"id", "2"}});
  Expect("20000 INFO void ServicesAgent::RemoveProgramming(ID::Item)",
         {"ServicesAgent: RemoveProgramming successful.",
          "ServicesAgent: RemoveProgramming successful."});
  Execute("SEND_REQUEST_EVENT", {{"id", "1"}});
  recorder_.records.clear();
  clock_.Advance(30000);
  EXPECT_TRUE(host_.DeliverExpiry());
  Expect("20000 INFO virtual void ServicesAgent::OnTimerExpired(ID::Timer, time_t)",
         {"Timer Expired on  state changed."});
  qx::SetLogLevel("DEBUG");
  clock_.Advance(30000);
  EXPECT_TRUE(host_.DeliverExpiry());
  Expect("10000 DEBUG virtual void ServicesAgent::OnTimerExpired(ID::Timer, time_t)",
         {"ServicesAgent::OnTimerExpired"});
  const qx::SystemEventData added(static_cast<qx::SystemEventData::Code>(7));
  host_.SendEvent(&added);
  Expect(
      "10000 DEBUG virtual void ServicesAgent::OnSystemEvent(const qx::response::IResponse&, "
      "const qx::SystemEventData*)",
      {"Services Agent: Unknown system event \"OnItemAdded\""});
}

}  // namespace
