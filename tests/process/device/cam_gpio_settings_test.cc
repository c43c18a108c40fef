// nxcamgpctl.cgi in its settings mode: the four camera switches of
// camgpctl.conf replaced in place, the apply tool run, and a file that
// cannot be read left alone.
#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

using Lines = std::vector<std::string>;

constexpr const char* kConf = "/opt/vsb/etc/NxConf/camgpctl.conf";
constexpr const char* kGpio = "/dev/kv_gpio";
const Lines kApply = {"/opt/vsb/bin/camgpctl"};

const std::string kBase = "# camera switches\nFLK = \"0\" # flicker\nAGC=1\n\nBLC='0'\nELC=0 ; backlight\n";

struct SettingsCase {
  const char* name;
  std::string query;
  std::string file_after;
};

void PrintTo(const SettingsCase& c, std::ostream* out) { *out << c.name; }

const std::string kUnchanged =
    "# camera switches\nFLK = \"0\" # flicker\nAGC=1\nBLC='0'\nELC=0 ; backlight\n";

const SettingsCase kCases[] = {
    {"AllFour", "CamGpioFlk=1&CamGpioAgc=0&CamGpioBlc=2&CamGpioElc=x%20y",
     "# camera switches\nFLK = \"1\" # flicker\nAGC=0\nBLC='2'\nELC=x y; backlight\n"},
    {"OneOnly", "CamGpioBlc=0x10",
     "# camera switches\nFLK = \"0\" # flicker\nAGC=1\nBLC='0x10'\nELC=0 ; backlight\n"},
    {"NoneStillRewritesAndApplies", "", kUnchanged},
    {"OpModeZeroIsSettings", "OpMode=0&ToggleCode=3&StateCode=4&CamGpioAgc=7",
     "# camera switches\nFLK = \"0\" # flicker\nAGC=7\nBLC='0'\nELC=0 ; backlight\n"},
    {"EmptyFieldsKeep", "CamGpioFlk=&CamGpioAgc=", kUnchanged},
    {"LongValueKeeps", "CamGpioFlk=" + std::string(128, '9'), kUnchanged},
};

class CamGpioSettingsTest : public testing::TestWithParam<SettingsCase> {};

TEST_P(CamGpioSettingsTest, FileAndApplyTool) {
  const SettingsCase& c = GetParam();
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  root.WriteFile(kConf, kBase);
  root.Remove(kGpio);

  const harness::ProcessResult result = harness::GetCgi("nxcamgpctl.cgi", c.query, root.path());

  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, harness::kHtmlHeader);
  EXPECT_EQ(root.ReadFile(kConf), c.file_after);
  EXPECT_EQ(root.Journal(), kApply);
  EXPECT_FALSE(root.Exists(kGpio));
}

INSTANTIATE_TEST_SUITE_P(Cases, CamGpioSettingsTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<SettingsCase>& info) { return info.param.name; });

TEST(CamGpioSettings, KeyMissingFromTheFileIsNotAdded) {
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  root.WriteFile(kConf, "FLK=0\nAGC=1\n");

  const harness::ProcessResult result =
      harness::GetCgi("nxcamgpctl.cgi", "CamGpioElc=5&CamGpioAgc=2&RetReDir=/cam.html", root.path());

  EXPECT_EQ(result.out, harness::kHtmlHeader +
                            "<html>\n<head>\n<script language=javascript>\nlocation.href=\"/cam.html\";\n"
                            "</script>\n</head>\n<body>\n</body>\n</html>\n");
  EXPECT_EQ(root.ReadFile(kConf), "FLK=0\nAGC=2\n");
  EXPECT_EQ(root.Journal(), kApply);
}

TEST(CamGpioSettings, MissingFileFailsWithoutApplying) {
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  root.Remove(kConf);

  const harness::ProcessResult result = harness::GetCgi("nxcamgpctl.cgi", "CamGpioFlk=1", root.path());

  EXPECT_EQ(result.out, harness::kHtmlHeader + harness::ErrorPage("nxcamgpctl.cgi", ""));
  EXPECT_TRUE(result.err.ends_with("Failed to create cfg")) << result.err;
  EXPECT_FALSE(root.Exists(kConf));
  EXPECT_TRUE(root.Journal().empty());
}

// A directory in place of the file: it exists, but loading it fails, and a
// save then would have emptied the file.
TEST(CamGpioSettings, UnreadableFileFailsWithoutSaving) {
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  root.Remove(kConf);
  root.MakeDirectory(kConf);

  const harness::ProcessResult result = harness::GetCgi("nxcamgpctl.cgi", "CamGpioFlk=1", root.path());

  EXPECT_EQ(result.out, harness::kHtmlHeader + harness::ErrorPage("nxcamgpctl.cgi", ""));
  EXPECT_TRUE(root.Journal().empty());
}

}  // namespace
