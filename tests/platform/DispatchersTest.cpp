#include <gtest/gtest.h>

#include <functional>

#include "platform/Dispatchers.h"

namespace {

TEST(Dispatchers, TakeANameOnce) {
  CmdDispatcher commands;
  UICmdDispatcher requests;
  const auto plain = [&] { commands.RegisterCmd1("A", [](const ICmdMessage&) {}); };
  const auto answering = [&] {
    commands.RegisterCmd2("A", [](const ICmdMessage&, ICmdReturn*) {});
  };
  const auto request = [&] {
    requests.RegisterUICmd("A", [](const ICmdMessage&) { return qx::CreateXmlNode(); });
  };
  plain();
  request();
  for (const std::function<void()>& again :
       {std::function<void()>(plain), {answering}, {request}}) {
    try {
      again();
      ADD_FAILURE() << "taken twice";
    } catch (const std::logic_error& error) {
      EXPECT_STREQ(error.what(), "command A is registered already");
    }
  }
}

}  // namespace
