// What only an in-process run sees of a handler: the pauses it makes and the
// exact texts of the commands it runs (recorded, not run).
#include <gtest/gtest.h>

#include "handlers/handler.h"
#include "harness/device_root.h"
#include "harness/in_process.h"

namespace {

using Texts = std::vector<std::string>;
using Pauses = std::vector<unsigned long long>;  // microseconds

TEST(Handlers, PausesAndCommands) {
  harness::DeviceRoot root;  // the GPIO lines and the product string's working copy
  setenv("NXCGI_ROOT", root.path().c_str(), 1);
  const std::string pid = std::to_string(getpid()), init = "/etc/init.d/advsvc ";
  // clang-format off
  const std::tuple<CgiHandler, const char*, int, Texts, Pauses> rows[] = {
      {NxCgi_AdvSvcFunc, "NxCgiVer=1&AdvSvcStart=3", 1, {init + "start >/dev/null"}, {1000000}},
      {NxCgi_AdvSvcFunc, "NxCgiVer=1&AdvSvcStart=abc", 1, {init + "stop >/dev/null"}, {1000000}},
      {NxCgi_CamGpCtlFunc, "OpMode=1", 0, {}, {100000}},
      {NxCgi_CamGpCtlFunc, "OpMode=2&uSecDuration=0x20", 0, {}, {32}},
      {NxCgi_CamGpCtlFunc, "OpMode=3&StateCode=5", 0, {}, {}},
      // The last command runs in the background unless RetOpt is 1; Pause is in decimal seconds.
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&Pause=2&Command=a;;b c", 1, {"a > /dev/null", "b c > /dev/null &"}, {2000000}},
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&RetOpt=1&Pause=0x5&Command=a;b", 1, {"a > /dev/null", "b > /dev/null"}, {}},
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&Pause=-4&Command=a", 1, {"a > /dev/null &"}, {}},
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&Pause=1&Command=%3B", 1, {}, {1000000}},
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&Pause=1", -1, {}, {}},
      {NxCgi_DoSysCmdFunc, "NxCgiVer=1&RetOpt=2&Pause=5&Command=date;x", -1, {"date > /tmp/dosyscmdout" + pid}, {}},
      {NxCgi_ChgHwOptionFunc, "Offset=3&String=X%27&RmFiles=%2Ftmp%2Fold*", 1,
       {"cat /proc/driver/kv_basic_conf > /tmp/kvll_conf_" + pid + ".txt",
        "/usr/sbin/fuc -sh sft-string offset=1 data='ABCX'\\''3' >/dev/null", "rm /tmp/old* >/dev/null"}, {}}};
  // clang-format on
  for (const auto& [handler, form, result, commands, pauses] : rows) {
    // The copy command is only recorded: the copy it would make is put in place.
    root.Write("/tmp/kvll_conf_" + pid + ".txt", "KVF_STR1=\"ABC123\";\n");
    const harness::InProcessResult run = harness::RunInProcess(handler, form);
    EXPECT_EQ(run.result, result) << form;
    EXPECT_EQ(run.commands, commands) << form;
    EXPECT_EQ(run.sleeps, pauses) << form;
  }
  unsetenv("NXCGI_ROOT");
}

}  // namespace
