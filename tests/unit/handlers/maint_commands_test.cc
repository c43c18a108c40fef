// The exact command lines and pauses of the maintenance handlers, recorded
// in-process instead of run.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "handlers/handler.h"
#include "harness/in_process.h"

namespace {

using Lines = std::vector<std::string>;
using Pauses = std::vector<unsigned long long>;

TEST(MaintCommands, IholdClnRemovesThePortsHeldImages) {
  harness::InProcess run;
  run.SetForm("NxCgiVer=1&NxModId=65537&PortId=2");

  EXPECT_EQ(run.RunHandler(NxCgi_IholdClnFunc).result, 1);
  EXPECT_EQ(run.commands(), Lines{"rm /tmp/advbuf/keep/mod1/hold/port2/* >/dev/null"});
}

TEST(MaintCommands, AdvSvcRunsTheScriptThenPausesOneSecond) {
  struct Case {
    const char* form;
    const char* command;
  };
  for (const Case& c : {Case{"NxCgiVer=1&AdvSvcStart=3", "/etc/init.d/advsvc start >/dev/null"},
                        Case{"NxCgiVer=1&AdvSvcStart=0", "/etc/init.d/advsvc stop >/dev/null"},
                        Case{"NxCgiVer=1&AdvSvcStart=abc", "/etc/init.d/advsvc stop >/dev/null"}}) {
    SCOPED_TRACE(c.form);
    harness::InProcess run;
    run.SetForm(c.form);

    const harness::InProcessResult result = run.RunHandler(NxCgi_AdvSvcFunc);

    EXPECT_EQ(result.result, 1);
    EXPECT_EQ(result.out, "Content-type: text/html\r\n\r\n");
    EXPECT_EQ(run.commands(), Lines{c.command});
    EXPECT_EQ(run.sleeps(), Pauses{1000000});
  }
}

TEST(MaintCommands, SetTextFileAppendsTheRedirection) {
  harness::InProcess run;
  run.SetForm("CreateOption=1&TextFilePath=/dev/null&TextContents=&DoCommand=ls%20-l%20%2Ftmp");

  EXPECT_EQ(run.RunHandler(NxCgi_SetTextFileFunc).result, 1);
  EXPECT_EQ(run.commands(), Lines{"ls -l /tmp >/dev/null"});
}

TEST(MaintCommands, DoSysCmdPausesOnlyForADecimalPause) {
  struct Case {
    const char* form;
    Pauses pauses;
  };
  for (const Case& c :
       {Case{"NxCgiVer=1&Pause=2&Command=true", {2000000}}, Case{"NxCgiVer=1&Pause=0x5&Command=true", {}},
        Case{"NxCgiVer=1&Pause=-4&Command=true", {}}, Case{"NxCgiVer=1&Pause=1&Command=%3B", {1000000}},
        Case{"NxCgiVer=1&Pause=1", {}}}) {
    SCOPED_TRACE(c.form);
    harness::InProcess run;
    run.SetForm(c.form);

    run.RunHandler(NxCgi_DoSysCmdFunc);

    EXPECT_EQ(run.sleeps(), c.pauses);
  }
}

TEST(MaintCommands, DoSysCmdPageErrorSkipsThePause) {
  harness::InProcess run;
  // Commands are only recorded, so the output file never appears.
  run.SetForm("NxCgiVer=1&RetOpt=2&Pause=5&Command=date");

  const harness::InProcessResult result = run.RunHandler(NxCgi_DoSysCmdFunc);

  EXPECT_EQ(result.result, -1);
  ASSERT_EQ(run.commands().size(), 1u);
  EXPECT_EQ(run.commands()[0].rfind("date > /tmp/dosyscmdout", 0), 0u);
  EXPECT_TRUE(run.sleeps().empty());
}

}  // namespace
