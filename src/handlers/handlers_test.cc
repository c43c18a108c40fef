// What only an in-process run sees of a handler: the pauses it makes and the
// exact texts of the commands it runs (recorded, not run). What the commands
// do is for the process rows in tests/cases.
#include <gtest/gtest.h>

#include "handlers/handler.h"
#include "harness/device_root.h"
#include "harness/in_process.h"

namespace {

using Texts = std::vector<std::string>;
using Pauses = std::vector<unsigned long long>;  // microseconds

TEST(Handlers, PausesAndCommands) {
  harness::DeviceRoot root;  // the GPIO lines
  root.MakeCurrent();
  const std::string init = "/etc/init.d/advsvc ";
  // clang-format off
  const std::tuple<CgiHandler, const char*, int, Texts, Pauses> rows[] = {
      {NxCgi_AdvSvcFunc, "NxCgiVer=1&AdvSvcStart=3", 1, {init + "start >/dev/null"}, {1000000}},
      {NxCgi_AdvSvcFunc, "NxCgiVer=1&AdvSvcStart=abc", 1, {init + "stop >/dev/null"}, {1000000}},
      {NxCgi_CamGpCtlFunc, "OpMode=1", 0, {}, {100000}},
      {NxCgi_CamGpCtlFunc, "OpMode=2&uSecDuration=0x20", 0, {}, {32}},
      {NxCgi_CamGpCtlFunc, "OpMode=3&StateCode=5", 0, {}, {}},
      // Pause is in decimal seconds and made also when no command is left.
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&Pause=2&Command=a", 1, {"a > /dev/null &"}, {2000000}},
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&Pause=0x5&Command=a", 1, {"a > /dev/null &"}, {}},
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&Pause=1&Command=%3B", 1, {}, {1000000}}};
  // clang-format on
  for (const auto& [handler, form, result, commands, pauses] : rows) {
    const harness::InProcessResult run = harness::RunInProcess(handler, form);
    EXPECT_EQ(run.result, result) << form;
    EXPECT_EQ(run.commands, commands) << form;
    EXPECT_EQ(run.sleeps, pauses) << form;
  }
}

}  // namespace
