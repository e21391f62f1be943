// Everything that a log record carries, for every record that the agent writes.
#include <gtest/gtest.h>

#include <string>

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

  /// The records since the last call, one a line.
  std::string Take() {
    std::string text;
    for (const qx::LogRecord& record : recorder_.records) {
      EXPECT_GT(record.line, 0) << record.text;
      text += std::to_string(record.level) + ' ' + record.levelName + ' ' + record.file + ' ' +
              record.function + ": " + record.text + '\n';
    }
    recorder_.records.clear();
    return text;
  }

  host::ManualClock clock_{0};
  test::Recorder recorder_;
  host::Host host_{clock_, recorder_};
};

TEST_F(Record, CarriesLevelSourceFileAndSignature) {
#ifndef __GNUC__
  GTEST_SKIP() << "the signatures are those that GCC writes";
#elif defined(__clang__)
  GTEST_SKIP() << "the signatures are those that GCC writes";
#endif
  Execute("ADD_SERVICE", {{"name", "Valet"}});
  Execute("ADD_SERVICE", {{"type", "shortcut"}});
  EXPECT_EQ(Take(),
            "10000 DEBUG ServicesAgent void ServicesAgent::OnCmdAddService(const ICmdMessage&): "
            "Creating Guest Service\n"
            "10000 DEBUG ServicesAgent void ServicesAgent::OnCmdAddService(const ICmdMessage&): "
            "Creating Shortcut Guest Service\n");
  Execute("EDIT_SERVICE", {{"guest_service", "<x id='9'/>"}});
  EXPECT_EQ(Take(),
            "10000 DEBUG ServicesAgent void ServicesAgent::OnCmdEditService(const ICmdMessage&): "
            "Editing guest service\n"
            "40000 ERROR ServicesAgent void ServicesAgent::OnCmdEditService(const ICmdMessage&): "
            "Edit Service, service doesn't exist\n");
  Execute("REORDER_SERVICES", {{"order", "1"}});
  EXPECT_EQ(Take(),
            "40000 ERROR ServicesAgent void ServicesAgent::OnCmdReorderServices(const "
            "ICmdMessage&): Reorder Services, order doesn't name every service exactly once\n");
  Execute("SEND_REQUEST_EVENT", {{"id", "1"}});
  Execute("SEND_CANCEL_EVENT", {{"id", "1"}});
  EXPECT_EQ(Take(),
            "20000 INFO ServicesAgent void ServicesAgent::OnCmdSendRequestEvent(const "
            "ICmdMessage&): sent request event for: Valet eventid: 1\n"
            "20000 INFO ServicesAgent void ServicesAgent::OnCmdSendCancelEvent(const "
            "ICmdMessage&): sent cancel event for: Valet eventid: 10001\n");
  Execute("SEND_REQUEST_EVENT", {{"id", "1"}});
  clock_.Advance(30000);
  recorder_.records.clear();
  EXPECT_TRUE(host_.DeliverExpiry());
  EXPECT_EQ(Take(),
            "10000 DEBUG ServicesAgent virtual void ServicesAgent::OnTimerExpired(ID::Timer, "
            "time_t): ServicesAgent::OnTimerExpired\n"
            "20000 INFO ServicesAgent virtual void ServicesAgent::OnTimerExpired(ID::Timer, "
            "time_t): Timer Expired on Valet state changed.\n");
  Execute("REMOVE_SERVICE", {{"id", "2"}});
  const std::string removal =
      "20000 INFO ServicesAgent void ServicesAgent::RemoveProgramming(ID::Item): "
      "ServicesAgent: RemoveProgramming successful.\n";
  EXPECT_EQ(Take(), removal + removal);
  const qx::SystemEventData added(static_cast<qx::SystemEventData::Code>(7));
  host_.SendEvent(&added);
  EXPECT_EQ(Take(),
            "10000 DEBUG ServicesAgent virtual void ServicesAgent::OnSystemEvent(const "
            "qx::response::IResponse&, const qx::SystemEventData*): Services Agent: Unknown system "
            "event \"OnItemAdded\"\n");
}

}  // namespace
