// The sensor link configuration module on its own: the paths the handler
// never takes (creation on load, argument errors, saving without a file) and
// the record print.
#include "config/sensor_link_file.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "unit/config/text/tcfg_test_support.h"

namespace {

using tcfg_test::Err;

constexpr const char* kConf = "/opt/vsb/etc/NxIsensNe.conf";
const std::string kDefaults = "VERSION=0\nNE_UDP_PORT=12002\nCE_UDP_PORT=12001\nCE_IP_ADDRESS=\n";

class IsensNeCfgTest : public tcfg_test::DeviceRootTest {};

TEST_F(IsensNeCfgTest, LoadReadsAHandEditedFile) {
  root_.WriteFile(
      kConf,
      "# link\nVERSION = 4\nNE_UDP_PORT=\"5000\" # ours\nCE_UDP_PORT 6000\nCE_IP_ADDRESS='10.0.0.7'\n");
  NxIsensNeCfg cfg{};
  int result = 0;
  EXPECT_EQ(Err([&] { result = LoadNxIsensNeCfg(&cfg, 0); }), "");
  EXPECT_EQ(result, 1);
  EXPECT_EQ(cfg.version, 4);
  EXPECT_EQ(cfg.ne_udp_port, 5000);
  EXPECT_EQ(cfg.ce_udp_port, 6000);
  EXPECT_STREQ(cfg.ce_ip_address, "10.0.0.7");
}

TEST_F(IsensNeCfgTest, LoadWithCreateFlagMakesTheDefaultFile) {
  NxIsensNeCfg cfg;
  std::memset(&cfg, 0x5a, sizeof cfg);
  int result = 0;
  EXPECT_EQ(Err([&] { result = LoadNxIsensNeCfg(&cfg, 1); }),
            "[new_cfg:tcfg_util(L)]\t/opt/vsb/etc/NxIsensNe.conf does not exist\n");
  EXPECT_EQ(result, 1);
  EXPECT_EQ(root_.ReadFile(kConf), kDefaults);
  EXPECT_EQ(cfg.version, 0);
  EXPECT_EQ(cfg.ne_udp_port, 12002);
  EXPECT_EQ(cfg.ce_udp_port, 12001);
  EXPECT_STREQ(cfg.ce_ip_address, "");
}

TEST_F(IsensNeCfgTest, NewWithoutCreateFlagFailsOnAMissingFile) {
  NxIsensNeCfg* cfg = nullptr;
  EXPECT_EQ(Err([&] { cfg = NewNxIsensNeCfg(0); }),
            "[new_cfg:tcfg_util(L)]\t/opt/vsb/etc/NxIsensNe.conf does not exist\n"
            "[LoadNxIsensNeCfg:KvtNxIsensNeCfg(L)]\tfail to create cfg file: /opt/vsb/etc/NxIsensNe.conf\n"
            "[NewNxIsensNeCfg:KvtNxIsensNeCfg(L)]\tcannot load nx isens ne cfg\n");
  EXPECT_EQ(cfg, nullptr);
  EXPECT_FALSE(root_.Exists(kConf));
}

TEST_F(IsensNeCfgTest, ArgumentErrors) {
  NxIsensNeCfg cfg{};
  int result = -1;
  EXPECT_EQ(Err([&] { result = LoadNxIsensNeCfg(nullptr, 1); }),
            "[LoadNxIsensNeCfg:KvtNxIsensNeCfg(L)]\tnx isens ne cfg is NULL\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = SetDefaultNxIsensNeCfg(nullptr, kConf); }),
            "[SetDefaultNxIsensNeCfg:KvtNxIsensNeCfg(L)]\targument is NULL");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = SetDefaultNxIsensNeCfg(&cfg, ""); }),
            "[SetDefaultNxIsensNeCfg:KvtNxIsensNeCfg(L)]\t is invalid path\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = SaveNxIsensNeCfg(nullptr); }),
            "[SaveNxIsensNeCfg:KvtNxIsensNeCfg(L)]\targument is NULL\n");
  EXPECT_EQ(result, 0);
  EXPECT_EQ(Err([&] { result = SaveNxIsensNeCfgIntoTextCfgFile(&cfg, nullptr); }),
            "[SaveNxIsensNeCfgIntoTextCfgFile:KvtNxIsensNeCfg(L)]\targument is NULL");
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(root_.Exists(kConf));
}

TEST_F(IsensNeCfgTest, SaveNeedsTheFile) {
  NxIsensNeCfg cfg{1, 2, 3, "4.4.4.4"};
  int result = -1;
  EXPECT_EQ(Err([&] { result = SaveNxIsensNeCfg(&cfg); }),
            "[new_cfg:tcfg_util(L)]\t/opt/vsb/etc/NxIsensNe.conf does not exist\n"
            "[SaveNxIsensNeCfg:KvtNxIsensNeCfg(L)]\tfail to create cfg /opt/vsb/etc/NxIsensNe.conf\n");
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(root_.Exists(kConf));

  root_.WriteFile(kConf, "# replaced whole\nVERSION=9\n");
  EXPECT_EQ(SaveNxIsensNeCfg(&cfg), 1);
  EXPECT_EQ(root_.ReadFile(kConf), "VERSION=1\nNE_UDP_PORT=2\nCE_UDP_PORT=3\nCE_IP_ADDRESS=4.4.4.4\n");
}

TEST_F(IsensNeCfgTest, SetDefaultCreatesTheFileAtItsPath) {
  NxIsensNeCfg cfg{7, 8, 9, "1.1.1.1"};
  EXPECT_EQ(SetDefaultNxIsensNeCfg(&cfg, "/var/run/other.conf"), 1);
  EXPECT_EQ(root_.ReadFile("/var/run/other.conf"), kDefaults);
  EXPECT_EQ(cfg.ne_udp_port, 12002);
}

TEST(IsensNeCfgPrint, ShowsPortsAndAddress) {
  const NxIsensNeCfg cfg{0, 12002, 12001, "192.168.1.20"};
  EXPECT_EQ(
      harness::CaptureStdio([&] { PrintNxIsensNeCfg(&cfg, "Caller", 42); }).err,
      "[NxIsensNeCfg Info (Caller:42)]\n\t ne udp port: 12002\n\t ce ip address: 192.168.1.20, ce udp port: "
      "12001\n");
}

}  // namespace
