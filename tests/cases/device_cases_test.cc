// The device handlers through the real executable, one row a request: GPIO
// patterns and camera switches, the mail transmitter's text files, the
// sensor link file, the serial settings, and the product string and port
// modes stored by the flash utility (whose stub journals its arguments).
#include <gtest/gtest.h>

#include <cstdlib>
#include <regex>
#include <sstream>

#include "harness/cgi_case.h"
#include "harness/device_root.h"
#include "harness/process.h"

namespace {

using harness::Alert;
using harness::CgiCase;
using harness::File;
using harness::Gone;
using harness::kHeader;
using harness::kNoContent;
using harness::U16;
using harness::U8;
using Puts = std::vector<harness::Put>;
using Lines = std::vector<std::string>;

const Puts kNone;
const std::string kGpio = "/dev/kv_gpio", kCam = "/opt/vsb/etc/NxConf/camgpctl.conf";
const std::string kMail = "/opt/vsb/etc/esmta.conf", kSms = "/opt/vsb/etc/smsta.conf";
const std::string kIsens = "/opt/vsb/etc/NxIsensNe.conf", kUart = "/opt/vsb/etc/NxConf/UartOutConf.bin";
const std::string kBasic = "/proc/driver/kv_basic_conf";
const Lines kCamApply = {"/opt/vsb/bin/camgpctl"}, kMailRestart = {"/etc/init.d/mailtxd restart"};
const Lines kUartRestart = {"/etc/init.d/uartsvc restart"};
const std::string kRedirect =
    "<html>\n<head>\n<script language=javascript>\nlocation.href=\"/x.html\";\n</script>\n</head>\n<body>\n"
    "</body>\n</html>\n";

// A line the node held before: device modes append.
CgiCase Gpio(const char* name, const std::string& form, const std::string& lines) {
  const std::string earlier = "0x00000001\n";
  return {name,      "nxcamgpctl.cgi", form, Puts{File(kGpio, earlier)}, Puts{File(kGpio, earlier + lines)},
          kNoContent};
}

// The settings mode: camgpctl.conf becomes `after` and is applied (nullptr:
// the request fails).
CgiCase Cam(const char* name, Puts before, const std::string& form, const char* after,
            const std::string& page = "") {
  if (after == nullptr)
    return {name, "nxcamgpctl.cgi", form, before, kNone, kHeader + Alert("nxcamgpctl.cgi", "")};
  return {name, "nxcamgpctl.cgi", form, before, Puts{File(kCam, after)}, kHeader + page, kCamApply};
}

// A configuration text as the rewrite leaves it: CR and empty lines dropped,
// each line equal to an edit's first text replaced by its second.
std::string Rewritten(const std::string& text, const Lines& edits) {
  std::istringstream in(text);
  std::string out;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    for (std::size_t i = 0; i < edits.size(); i += 2) line = line == edits[i] ? edits[i + 1] : line;
    if (!line.empty()) out += line + "\n";
  }
  return out;
}

// Hand-edited files: quotes, comments, an empty line, more indexed keys than
// the form knows; the SMS file with CR LF line ends.
const std::string kMailText =
    "# mail\nSERVICE=off\nSERVER = \"smtp.old\" # relay\n\nSENDER='a@b'\nAUTH_LOGIN=yes\nUSERID=u\n"
    "PASSWD=\"p\" # secret\nJPEG_SIZE=2\nJPEG_COUNT=1\nJPEG_PAUSE=0\nRECIPIENT0=r0\nRECIPIENT3=r3\n"
    "RECIPIENT4=old4\nEXTRA_PARM0=\nEXTRA_PARM7=x7\nEXTRA_PARM8=old8\n";
const std::string kSmsText =
    "SERVICE=no\r\nSERVER=sms.old\r\n\r\nSENDER=\r\nAUTH_LOGIN=no\r\nUSERID=su\r\nPASSWD=sp\r\nRECIPIENT1="
    "\r\n"
    "RECIPIENT4=\r\nEXTRA_PARM7=\r\nEXTRA_PARM8=\r\n";
const Puts kMailFiles = {File(kMail, kMailText), File(kSms, kSmsText)};

CgiCase Mail(const char* name, const std::string& form, const Lines& mail, const Lines& sms) {
  return {name,
          "nxesmtaset.cgi",
          form,
          kMailFiles,
          Puts{File(kMail, Rewritten(kMailText, mail)), File(kSms, Rewritten(kSmsText, sms))},
          kHeader,
          kMailRestart};
}

std::string Isens(const std::string& ne, const std::string& ce, const std::string& ip, int version = 3) {
  return "VERSION=" + std::to_string(version) + "\nNE_UDP_PORT=" + ne + "\nCE_UDP_PORT=" + ce +
         "\nCE_IP_ADDRESS=" + ip + "\n";
}
const std::string kIsensText =
    "# link\nVERSION = 3\nNE_UDP_PORT=\"12002\" # ours\n\nCE_UDP_PORT 12001\nCE_IP_ADDRESS='10.1.2.3'\n";
const std::string kNoAddress = "VERSION=5\nNE_UDP_PORT=1\nCE_UDP_PORT=2\n";

// The sensor link file from `text` to `after` (nullptr: unchanged).
CgiCase Link(const char* name, const std::string& text, const std::string& form, const char* after,
             const std::string& answer = kHeader) {
  return {name,  "nxisensconf.cgi", form, Puts{File(kIsens, text)}, after ? Puts{File(kIsens, after)} : kNone,
          answer};
}

// The flash utility's journal line, or a refusal of the product string.
CgiCase Fuc(const char* name, const char* cgi, const std::string& form, const std::string& args,
            Puts before) {
  return {name, cgi, form, before, kNone, kHeader, Lines{"/usr/sbin/fuc -sh " + args}};
}
CgiCase Hw(const char* name, const std::string& form, const std::string& data, Puts before = {}) {
  return Fuc(name, "nxchghwoption.cgi", form, "sft-string offset=1 data=" + data, before);
}
CgiCase HwRefused(const char* name, const std::string& form, const std::string& error, Puts before = {}) {
  return {name, "nxchghwoption.cgi", form, before, kNone, kHeader + Alert("nxchghwoption.cgi", error)};
}
CgiCase Ports(const char* name, const std::string& form, const std::string& data) {
  return Fuc(name, "nxuartset.cgi", form, "sft-config offset=0 data=" + data, kNone);
}
// The driver text with the product string after `lead` bytes of other text.
Puts Product(const std::string& product, std::size_t lead = 0) {
  return {File(kBasic, std::string(lead, '#') + "KVF_STR1=\"" + product + "\";")};
}
CgiCase Ctr(const char* name, const std::string& form, const std::string& error) {
  return {name, "nxuoutctr.cgi", form, kNone, kNone, Alert("nxuoutctr.cgi", error), {}, ""};
}

const std::string k127(127, 'b'), k128(128, 'c');
const Puts kUartStart = {File(kUart, harness::Pattern(12))};
const Puts kOld = {File("/tmp/old1.txt", "1"), File("/tmp/old2.txt", "2"), File("/tmp/keep.txt", "3")};
const std::string kNoRead = "PnCodeUtilRead() error<br>\n";

class Device : public testing::TestWithParam<CgiCase> {};
TEST_P(Device, Request) { harness::RunCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Requests, Device,
    testing::Values(
        // The pulse length is a pause, not seen here.
        Gpio("PulseHighStartsWithTheComplement", "OpMode=1&ToggleCode=0x0F&uSecDuration=1",
             "0xfffffff0\n0x000000ff\n"),
        Gpio("PulseLow", "OpMode=2&ToggleCode=4&uSecDuration=5", "0x00000004\n0x00000000\n"),
        Gpio("SetDecimalAndNoEpilogue", "OpMode=0x3&StateCode=-1&ToggleCode=7&SaveCfg=YES&RetReDir=/x.html",
             "0xffffffff\n"),
        CgiCase{"UnknownOpMode", "nxcamgpctl.cgi", "OpMode=7", kNone, kNone,
                Alert("nxcamgpctl.cgi", "Invalid OpMode error <br>\n")},
        CgiCase{"NoGpioNode", "nxcamgpctl.cgi", "OpMode=3&StateCode=1", Puts{Gone(kGpio)}, kNone,
                Alert("nxcamgpctl.cgi", "/dev/kv_gpio device open error<br>\n")},
        Cam("AllFourSwitches",
            Puts{File(kCam, "# switches\nFLK = \"0\" # flicker\nAGC=1\n\nBLC='0'\nELC=0 ; x\n")},
            "CamGpioFlk=1&CamGpioAgc=0&CamGpioBlc=2&CamGpioElc=x%20y",
            "# switches\nFLK = \"1\" # flicker\nAGC=0\nBLC='2'\nELC=x y; x\n"),
        Cam("OpModeZeroKeepsEmptyLongAndUnknownKeys", Puts{File(kCam, "FLK=0\nAGC=1\nBLC=3\n")},
            "OpMode=0&StateCode=4&CamGpioFlk=" + k128 +
                "&CamGpioBlc=&CamGpioAgc=7&CamGpioElc=5&RetReDir=/x.html",
            "FLK=0\nAGC=7\nBLC=3\n", kRedirect),
        Cam("MissingSwitchFile", Puts{Gone(kCam)}, "CamGpioFlk=1", nullptr),
        Cam("UnreadableSwitchFileIsNotEmptied", Puts{Gone(kCam), File(kCam + "/x", "")}, "CamGpioFlk=1",
            nullptr),
        Mail("ServiceIsExactlyYes", "Service=Yes&SmsService=yes", {"SERVICE=off", "SERVICE=no"},
             {"SERVICE=no", "SERVICE=yes"}),
        Mail("EmptyKeepsOrClears",
             "Service=&AuthLogin=&JpegSize=&Server=&Sender=&Passwd=&Recipient0=&SmsUserId=",
             {"SERVER = \"smtp.old\" # relay", "SERVER = \"\" # relay", "SENDER='a@b'", "SENDER=''",
              "PASSWD=\"p\" # secret", "PASSWD=\"\" # secret", "RECIPIENT0=r0", "RECIPIENT0="},
             {"USERID=su", "USERID="}),
        Mail("ValuesAsGivenAndFourRecipients",
             "Server=" + k128 + "&Sender=" + k127 +
                 "&AuthLogin=yes%20please&JpegCount=0x4&Recipient3=d&Recipient4=q"
                 "&ExtraParm1=z&ExtraParm7=e7&ExtraParm8=q&SmsServer=s&SmsRecipient1=s1&SmsRecipient4=q&"
                 "SmsExtraParm7=7",
             {"SENDER='a@b'", "SENDER='" + k127 + "'", "AUTH_LOGIN=yes", "AUTH_LOGIN=yes please",
              "JPEG_COUNT=1", "JPEG_COUNT=0x4", "RECIPIENT3=r3", "RECIPIENT3=d", "EXTRA_PARM7=x7",
              "EXTRA_PARM7=e7"},
             {"SERVER=sms.old", "SERVER=s", "RECIPIENT1=", "RECIPIENT1=s1", "EXTRA_PARM7=", "EXTRA_PARM7=7"}),
        CgiCase{"MissingMailFileEndsTheRequest", "nxesmtaset.cgi",
                "Service=yes&SmsService=yes&RetReDir=/x.html", Puts{File(kSms, kSmsText), Gone(kMail)}, kNone,
                kHeader + "<!--Failed to create cfg[/opt/vsb/etc/esmta.conf]-->" + kRedirect},
        CgiCase{"UnreadableSmsFileIsOnlyReported", "nxesmtaset.cgi", "Service=yes&SmsService=yes",
                Puts{File(kMail, kMailText), Gone(kSms), File(kSms + "/x", "")},
                Puts{File(kMail, Rewritten(kMailText, Lines{"SERVICE=off", "SERVICE=yes"}))},
                kHeader + "<!--Failed to create cfg[/opt/vsb/etc/smsta.conf]-->", kMailRestart},
        Link("RepeatedValuesChangeNothing", kIsensText,
             "NxCgiVer=1&NeUdpPort=12002&CeUdpPort=0x2ee1&CeIpAddress=10.1.2.3", nullptr),
        Link("EmptyAndTooLongCountAsAbsent", kIsensText, "NxCgiVer=1&NeUdpPort=&CeIpAddress=" + k128,
             nullptr),
        Link("AddressRewritesAllFour", kIsensText, "NxCgiVer=1&CeIpAddress=192.168.0.9",
             Isens("12002", "12001", "192.168.0.9").c_str()),
        Link("PortsCutTo16Bits", kIsensText, "NxCgiVer=0&NeUdpPort=70000&CeUdpPort=0x9",
             Isens("4464", "9", "10.1.2.3").c_str()),
        Link("AddressCutTo99", kIsensText, "NxCgiVer=1&CeIpAddress=" + k127,
             Isens("12002", "12001", std::string(99, 'b')).c_str()),
        Link("MissingKeyGivesDefaultsThenForm", kNoAddress, "NxCgiVer=1&CeUdpPort=7",
             Isens("12002", "7", "", 0).c_str()),
        Link("TooLongAddressInFileGivesDefaults",
             kNoAddress + "CE_IP_ADDRESS=" + std::string(100, 'a') + "\n", "NxCgiVer=1",
             Isens("12002", "12001", "", 0).c_str()),
        Link("VersionTwo", kIsensText, "NxCgiVer=2&CeIpAddress=1.2.3.4", nullptr,
             kHeader + Alert("nxisensconf.cgi", "Error NxCgiVer : 0002\n")),
        Link("NoVersion", kIsensText, "CeIpAddress=1.2.3.4", nullptr,
             kHeader + Alert("nxisensconf.cgi", "Error NxCgiVer  (not found)\n")),
        CgiCase{"NoLinkFile", "nxisensconf.cgi", "NxCgiVer=1&CeIpAddress=1.2.3.4", Puts{Gone(kIsens)}, kNone,
                kHeader + Alert("nxisensconf.cgi", "")},
        CgiCase{
            "UartOutFieldsCutToWidth", "nxuoutset.cgi",
            "NxCgiVer=1&Mode485On=0x12345&BaudRate=70000&DataBit=300&StopBit=-1&ParityBit=Odd&X10Mode=0x1ff",
            kUartStart,
            Puts{U16(kUart, 4, 0x2345), U16(kUart, 6, 4464), U8(kUart, 8, 0x2c), U8(kUart, 9, 0xff),
                 U8(kUart, 10, 'O'), U8(kUart, 11, 0xff)},
            kHeader, kUartRestart},
        CgiCase{"UartOutEmptyKeeps", "nxuoutset.cgi",
                "NxCgiVer=0x10001&BaudRate=&ParityBit=&DataBit=7&SaveCfg=YES", kUartStart,
                Puts{U8(kUart, 8, 7)}, kHeader, Lines{kUartRestart[0], "/usr/sbin/savecfg"}},
        CgiCase{"UartOutVersionTwo", "nxuoutset.cgi", "NxCgiVer=2&DataBit=7", kNone, kNone,
                kHeader + Alert("nxuoutset.cgi", "")},
        CgiCase{"UartOutShortFile", "nxuoutset.cgi", "NxCgiVer=1&DataBit=7",
                Puts{File(kUart, harness::Pattern(11))}, kNone, kHeader + Alert("nxuoutset.cgi", "")},
        Ctr("UartCtrNoVersion", "Length=0", "Invalied NxCgiVer=65535"),
        Ctr("UartCtrVersionLow16", "NxCgiVer=0x1ffff", "Invalied NxCgiVer=65535"),
        Ctr("UartCtrLengthWithoutData", "NxCgiVer=1&Length=1", "Have No Data"),
        Ctr("UartCtrTooFewPieces", "NxCgiVer=1&Length=3&Data=,,7,8", "Invalied Data=,,7"),
        Ports("FirstPortOnly", "NxCgiVer=1&Ttys0_Mode=rs485", "/r,/."),
        Ports("EmptyModes", "NxCgiVer=0&Ttys0_Mode=&Ttys1_Mode=4w", "/.,/4"),
        Ports("QuoteAndShellText", "NxCgiVer=1&Ttys0_Mode=%27x&Ttys1_Mode=%24(touch%20X)", "/',/$"),
        CgiCase{"PortsBadVersion", "nxuartset.cgi", "NxCgiVer=2&Ttys0_Mode=r&SaveCfg=YES", kNone, kNone,
                kHeader + " CgiVer is error 0002\n"},
        Hw("ReplacesInside", "Offset=3&String=XY", "ABCXY3"),
        Hw("ReplacesToTheEnd", "Offset=0x4&String=XY", "ABC1XY"),
        Hw("OffsetLow16Bits", "Offset=65537&String=Q", "AQC123"),
        Hw("NoOffsetAndBlanks", "String=A%20B", "A B123"),
        Hw("QuotesStayText", "Offset=1&String=%27%3Btouch%20%24NXCGI_ROOT%2FX%3B%24(id)%60id%60%27",
           "p';touch $NXCGI_ROOT/X;$(id)`id`'" + std::string(7, 'p'), Product(std::string(40, 'p'))),
        Hw("ProductOf63", "Offset=62&String=Q", std::string(62, 'p') + "Q", Product(std::string(63, 'p'))),
        Hw("Within1023Bytes", "String=Q", "QBC", Product("ABC", 1008)),
        CgiCase{"RmFilesAfterStoring", "nxchghwoption.cgi",
                "Offset=0&String=Z&RmFiles=%24NXCGI_ROOT/tmp/old*.txt&RetReDir=/x.html", kOld,
                Puts{Gone("/tmp/old1.txt"), Gone("/tmp/old2.txt")}, kHeader + kRedirect,
                Lines{"/usr/sbin/fuc -sh sft-string offset=1 data=ZBC123"}},
        HwRefused("TooLongRemovesNothing", "Offset=5&String=XY&RmFiles=%24NXCGI_ROOT/tmp/old*.txt",
                  "Too long string parameter error<br>\n", kOld),
        HwRefused("EmptyString", "Offset=1&String=", "Have no string parameter error<br>\n"),
        HwRefused("NoDriverText", "String=XY", kNoRead, Puts{Gone(kBasic)}),
        HwRefused("ProductOf64", "String=Q", kNoRead, Product(std::string(64, 'p'))),
        HwRefused("BeyondFirst1023Bytes", "String=Q", kNoRead, Product("ABC", 1014)),
        [] {
          CgiCase c =
              HwRefused("OnlySlotTen", "String=XY", kNoRead, Puts{File(kBasic, "KVF_STR10=\"TENTEN\";\n")});
          c.err = "kvt_get_and_init_pn_code():strstr(KVF_STR1=\") error for start\n";
          return c;
        }()),
    [](const auto& info) { return std::string(info.param.name); });

// The request queue's key is machine-wide and the daemons tests and the
// simulator make it, so the request runs in an IPC namespace of its own.
TEST(DeviceAlone, UartCtrWithoutService) {
  harness::DeviceRoot root;
  const harness::ProcessResult r = harness::RunProgram(
      {"unshare", "--ipc", "bash", "-c", "exec -a nxuoutctr.cgi \"$0\"", harness::BuiltProgram("nxcgi")},
      {{"NXCGI_ROOT", root.path()}, {"REQUEST_METHOD", "GET"}, {"QUERY_STRING", "NxCgiVer=1"}});
  if (std::getenv("NXCGI_EXEC_WRAPPER") != nullptr || r.err.starts_with("unshare:")) GTEST_SKIP() << r.err;
  EXPECT_EQ(r.out, Alert("nxuoutctr.cgi", "Serial output service not reachable: request not sent"));
}

// The sensor link handler's diagnostics, line numbers left out (they are the
// source's business). No isensd runs, so its pid file is missing.
TEST(DeviceAlone, SensorLinkDiagnostics) {
  const std::string no_pid = "[SendSignalToIsensd:IsensCfgCgi(N)]\tfail to open isensd pid info file";
  const std::string no_field = "[LoadStringFieldOfTcfg:TcfgFieldUtil(N)]\tthere is no field(CE_IP_ADDRESS)\n";
  struct Diag {
    std::string text, form, err;
  };
  for (const Diag& d :
       {Diag{kIsensText, "NxCgiVer=1&CeIpAddress=192.168.0.9", no_pid},
        Diag{kIsensText, "NxCgiVer=1&CeIpAddress=10.1.2.3", ""},
        Diag{kNoAddress, "NxCgiVer=1&CeUdpPort=7", no_field + no_pid},
        Diag{kIsensText, "NxCgiVer=2", "[NxCgi_IsensConf:IsensCfgCgi(N)]\tError CgiVer: 2\n"}}) {
    harness::DeviceRoot root;
    root.Write(kIsens, d.text);
    const std::string err = harness::Post("nxisensconf.cgi", d.form, root.path()).err;
    EXPECT_EQ(std::regex_replace(err, std::regex(R"(\(\d+\)\]\t)"), "(N)]\t"), d.err) << d.form;
  }
}

}  // namespace
