// The exact device texts of the flash-utility and copy commands, recorded
// in-process; the copy is run for real against a sandbox root.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "handlers/handler.h"
#include "harness/in_process.h"
#include "harness/sandbox.h"
#include "platform/product_strings.h"

namespace {

using Lines = std::vector<std::string>;

// Points NXCGI_ROOT at a sandbox for the length of a test.
class WithSandboxRoot : public testing::Test {
 protected:
  WithSandboxRoot() { setenv("NXCGI_ROOT", root_.path().c_str(), 1); }
  ~WithSandboxRoot() override { unsetenv("NXCGI_ROOT"); }

  std::string CopyCommand() const {
    return "cat /proc/driver/kv_basic_conf > /tmp/kvll_conf_" + std::to_string(getpid()) + ".txt";
  }

  harness::SandboxRoot root_;
};

TEST_F(WithSandboxRoot, ChgHwOptionQuotesTheProductString) {
  root_.WriteFile("/proc/driver/kv_basic_conf", "KVF_STR1=\"ABC123\";\n");
  harness::InProcess run;
  run.set_run_commands(true);
  run.SetForm("Offset=3&String=X%27&RmFiles=%2Ftmp%2Fold*");

  const harness::InProcessResult result = run.RunHandler(NxCgi_ChgHwOptionFunc);

  EXPECT_EQ(result.result, 1);
  EXPECT_EQ(run.commands(),
            (Lines{CopyCommand(), "/usr/sbin/fuc -sh sft-string offset=1 data='ABCX'\\''3' >/dev/null",
                   "rm /tmp/old* >/dev/null"}));
  EXPECT_EQ(root_.Journal(), Lines{"/usr/sbin/fuc -sh sft-string offset=1 data=ABCX'3"});
}

TEST_F(WithSandboxRoot, SlotsAboveSevenAreRefused) {
  harness::InProcess run;
  char value[64];
  const harness::Captured captured = run.Capture([&] { EXPECT_EQ(PnCodeUtilKvfStrRead(value, 8), -1); });

  EXPECT_EQ(captured.err, "PnCodeUtilKvfStrRead():KeyOffset=8 error\n");
  EXPECT_TRUE(run.commands().empty());
}

TEST_F(WithSandboxRoot, ReadsEverySlotAndRemovesTheWorkingCopy) {
  root_.WriteFile("/proc/driver/kv_basic_conf", "KVF_STR0=\"\";KVF_STR7=\"seven\";KVF_STR1=\"one \"x\";");
  harness::InProcess run;
  run.set_run_commands(true);
  char value[64];

  EXPECT_EQ(PnCodeUtilKvfStrRead(value, 7), 5);
  EXPECT_STREQ(value, "seven");
  EXPECT_EQ(PnCodeUtilKvfStrRead(value, 0), 0);
  EXPECT_STREQ(value, "");
  EXPECT_EQ(PnCodeUtilKvfStrRead(value, 1), 6);
  EXPECT_STREQ(value, "one \"x");
  EXPECT_FALSE(root_.Exists("/tmp/kvll_conf_" + std::to_string(getpid()) + ".txt"));
}

TEST(DeviceCommands, UartSetQuotesTheModes) {
  harness::InProcess run;
  run.SetForm("NxCgiVer=1&Ttys0_Mode=rs485&Ttys1_Mode=%27");

  EXPECT_EQ(run.RunHandler(NxCgi_UartSetFunc).result, 1);
  EXPECT_EQ(run.commands(), Lines{"/usr/sbin/fuc -sh sft-config offset=0 data='/r,/'\\''' >/dev/null"});
}

}  // namespace
