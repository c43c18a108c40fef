// nxisensconf.cgi: the sensor link file rewritten from the form (or left
// alone), with the exact diagnostics. No isensd runs here, so its pid file is
// missing; the signal itself is checked by the peer tests.
#include <gtest/gtest.h>

#include <ostream>
#include <regex>
#include <string>

#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

constexpr const char* kConf = "/opt/vsb/etc/NxIsensNe.conf";
constexpr const char* kCgi = "nxisensconf.cgi";

// A hand-edited file: quotes, blanks around "=", a comment, an empty line.
const std::string kHandEdited =
    "# sensor link\nVERSION = 3\nNE_UDP_PORT=\"12002\" # ours\n\nCE_UDP_PORT "
    "12001\nCE_IP_ADDRESS='10.1.2.3'\n";
const std::string kNoAddress = "VERSION=5\nNE_UDP_PORT=1\nCE_UDP_PORT=2\n";
const std::string kDefaults = "VERSION=0\nNE_UDP_PORT=12002\nCE_UDP_PORT=12001\nCE_IP_ADDRESS=\n";

std::string Written(const std::string& ne, const std::string& ce, const std::string& address,
                    const std::string& version = "3") {
  return "VERSION=" + version + "\nNE_UDP_PORT=" + ne + "\nCE_UDP_PORT=" + ce + "\nCE_IP_ADDRESS=" + address +
         "\n";
}

const std::string kNoPidFile = "[SendSignalToIsensd:IsensCfgCgi(N)]\tfail to open isensd pid info file";
const std::string kNoAddressField =
    "[LoadStringFieldOfTcfg:TcfgFieldUtil(N)]\tthere is no field(CE_IP_ADDRESS)\n";

// Line numbers are the source's business; the rest of each line is checked.
std::string WithoutLineNumbers(const std::string& text) {
  static const std::regex kLine(R"(\((\d+)\)\]\t)");
  return std::regex_replace(text, kLine, "(N)]\t");
}

struct IsensCase {
  const char* name;
  const char* file;  // null: no file
  std::string query;
  const char* file_after;  // null: as before (or still missing)
  std::string error;       // the alert's text; empty: success
  std::string diagnostics;
};

void PrintTo(const IsensCase& c, std::ostream* out) { *out << c.name; }

const std::string k100(100, 'a');
const std::string k127(127, 'b');
const std::string k128(128, 'c');
const std::string k99a = Written("12002", "12001", std::string(99, 'a'));
const std::string k99b = Written("12002", "12001", std::string(99, 'b'));
const std::string kOnlyAddress = Written("12002", "12001", "192.168.0.9");
const std::string kNePort = Written("4464", "12001", "10.1.2.3");
const std::string kBoth = Written("16", "9", "10.1.2.3");
const std::string kDefaultsCe7 = Written("12002", "7", "", "0");
const std::string kLongAddressFile = "VERSION=1\nNE_UDP_PORT=1\nCE_UDP_PORT=2\nCE_IP_ADDRESS=" + k100 + "\n";

const IsensCase kCases[] = {
    {"RepeatedValuesChangeNothing", kHandEdited.c_str(),
     "NxCgiVer=1&NeUdpPort=12002&CeUdpPort=0x2ee1&CeIpAddress=10.1.2.3", nullptr, "", ""},
    {"NoFieldsChangeNothing", kHandEdited.c_str(), "NxCgiVer=1", nullptr, "", ""},
    {"EmptyFieldsCountAsAbsent", kHandEdited.c_str(), "NxCgiVer=1&NeUdpPort=&CeIpAddress=", nullptr, "", ""},
    {"OnlyAddressRewritesAllFour", kHandEdited.c_str(), "NxCgiVer=1&CeIpAddress=192.168.0.9",
     kOnlyAddress.c_str(), "", kNoPidFile},
    {"NePortCutTo16Bits", kHandEdited.c_str(), "NxCgiVer=0&NeUdpPort=70000", kNePort.c_str(), "", kNoPidFile},
    {"HexAndDecimalPorts", kHandEdited.c_str(), "NxCgiVer=1&NeUdpPort=0x10&CeUdpPort=9", kBoth.c_str(), "",
     kNoPidFile},
    {"Address100CutTo99", kHandEdited.c_str(), "NxCgiVer=1&CeIpAddress=" + k100, k99a.c_str(), "",
     kNoPidFile},
    {"Address127CutTo99", kHandEdited.c_str(), "NxCgiVer=1&CeIpAddress=" + k127, k99b.c_str(), "",
     kNoPidFile},
    {"Address128IsAbsent", kHandEdited.c_str(), "NxCgiVer=1&CeIpAddress=" + k128, nullptr, "", ""},
    {"MissingKeyDefaultsThenForm", kNoAddress.c_str(), "NxCgiVer=1&CeUdpPort=7", kDefaultsCe7.c_str(), "",
     kNoAddressField + kNoPidFile},
    {"MissingKeyDefaultsOnly", kNoAddress.c_str(), "NxCgiVer=1&NeUdpPort=12002", kDefaults.c_str(), "",
     kNoAddressField},
    {"TooLongAddressInFileDefaults", kLongAddressFile.c_str(), "NxCgiVer=1", kDefaults.c_str(), "",
     "insufficient string buffer size\n" + kNoAddressField},
    {"MissingFileFails", nullptr, "NxCgiVer=1&CeIpAddress=1.2.3.4", nullptr, "",
     "[new_cfg:tcfg_util(N)]\t/opt/vsb/etc/NxIsensNe.conf does not exist\n"
     "[LoadNxIsensNeCfg:KvtNxIsensNeCfg(N)]\tfail to create cfg file: /opt/vsb/etc/NxIsensNe.conf\n"
     "[NewNxIsensNeCfg:KvtNxIsensNeCfg(N)]\tcannot load nx isens ne cfg\n"
     "[NxCgi_IsensConf:IsensCfgCgi(N)]\tfail to create isens ne cfg"},
    {"VersionMissing", kHandEdited.c_str(), "CeIpAddress=1.2.3.4", nullptr, "Error NxCgiVer  (not found)\n",
     "[NxCgi_IsensConf:IsensCfgCgi(N)]\tError CgiVer: 65535\n"},
    {"VersionTwo", kHandEdited.c_str(), "NxCgiVer=2&CeIpAddress=1.2.3.4", nullptr, "Error NxCgiVer : 0002\n",
     "[NxCgi_IsensConf:IsensCfgCgi(N)]\tError CgiVer: 2\n"},
};

class IsensConfTest : public testing::TestWithParam<IsensCase> {};

TEST_P(IsensConfTest, FileAnswerAndDiagnostics) {
  const IsensCase& c = GetParam();
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  if (c.file == nullptr) {
    root.Remove(kConf);
  } else {
    root.WriteFile(kConf, c.file);
  }

  const harness::ProcessResult result = harness::GetCgi(kCgi, c.query, root.path());

  EXPECT_EQ(result.exit_status, 0);
  // Any failure, including a missing file, shows the alert page.
  const bool fails = c.file == nullptr || !c.error.empty();
  EXPECT_EQ(result.out,
            fails ? harness::kHtmlHeader + harness::ErrorPage(kCgi, c.error) : harness::kHtmlHeader);
  EXPECT_EQ(WithoutLineNumbers(result.err), c.diagnostics);
  if (c.file == nullptr) {
    EXPECT_FALSE(root.Exists(kConf));
  } else {
    EXPECT_EQ(root.ReadFile(kConf), c.file_after != nullptr ? c.file_after : c.file);
  }
  EXPECT_TRUE(root.Journal().empty());
}

INSTANTIATE_TEST_SUITE_P(Cases, IsensConfTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<IsensCase>& info) { return info.param.name; });

}  // namespace
