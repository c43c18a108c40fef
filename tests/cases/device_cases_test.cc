// The device handlers through the real executable, one row a request: GPIO
// patterns and camera switches, the mail transmitter's text files, the
// sensor link file, the serial settings, and the product string and port
// modes stored by the flash utility (whose stub journals its arguments).
#include <gtest/gtest.h>

#include <regex>
#include <sstream>

#include "harness/cgi_case.h"
#include "harness/device_root.h"
#include "harness/process.h"

namespace {

using namespace harness;  // the row builders

const std::string kGpio = "/dev/kv_gpio", kCam = "/opt/vsb/etc/NxConf/camgpctl.conf";
const std::string kMail = "/opt/vsb/etc/esmta.conf", kSms = "/opt/vsb/etc/smsta.conf";
const std::string kIsens = "/opt/vsb/etc/NxIsensNe.conf", kUart = "/opt/vsb/etc/NxConf/UartOutConf.bin";
const std::string kBasic = "/proc/driver/kv_basic_conf", kToX = Redirect("/x.html");
const Lines kMailRestart = {"/etc/init.d/mailtxd restart"}, kUartRestart = {"/etc/init.d/uartsvc restart"};
const char* const kHw = "nxchghwoption.cgi";

// A refusal that changes nothing: the handler's header, then the alert page.
CgiCase No(const char* name, const char* cgi, const std::string& form, const std::string& error = "",
           const Puts& before = {}) {
  return CgiCase(name, cgi, form, before, {}, kHeader + Alert(cgi, error));
}

// A line the node held before: device modes append.
CgiCase Gpio(const char* name, const std::string& form, const std::string& lines) {
  const std::string earlier = "0x00000001\n";
  return CgiCase(name, "nxcamgpctl.cgi", form, {File(kGpio, earlier)}, {File(kGpio, earlier + lines)},
                 kNoContent);
}

// The settings mode: camgpctl.conf becomes `after` and is applied.
CgiCase Cam(const char* name, const std::string& before, const std::string& form, const std::string& after,
            const std::string& page = "") {
  return CgiCase(name, "nxcamgpctl.cgi", form, {File(kCam, before)}, {File(kCam, after)}, kHeader + page,
                 {"/opt/vsb/bin/camgpctl"});
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
    "\r\nRECIPIENT4=\r\nEXTRA_PARM7=\r\nEXTRA_PARM8=\r\n";

CgiCase Mail(const char* name, const std::string& form, const Lines& mail, const Lines& sms) {
  return CgiCase(name, "nxesmtaset.cgi", form, {File(kMail, kMailText), File(kSms, kSmsText)},
                 {File(kMail, Rewritten(kMailText, mail)), File(kSms, Rewritten(kSmsText, sms))}, kHeader,
                 kMailRestart);
}

std::string Isens(const std::string& ne, const std::string& ce, const std::string& ip, int version = 3) {
  return "VERSION=" + std::to_string(version) + "\nNE_UDP_PORT=" + ne + "\nCE_UDP_PORT=" + ce +
         "\nCE_IP_ADDRESS=" + ip + "\n";
}
const std::string kIsensText =
    "# link\nVERSION = 3\nNE_UDP_PORT=\"12002\" # ours\n\nCE_UDP_PORT 12001\nCE_IP_ADDRESS='10.1.2.3'\n";
const std::string kNoAddress = "VERSION=5\nNE_UDP_PORT=1\nCE_UDP_PORT=2\n";

// The sensor link file from `text` to `after` ("": unchanged).
CgiCase Link(const char* name, const std::string& text, const std::string& form, const std::string& after) {
  return CgiCase(name, "nxisensconf.cgi", form, {File(kIsens, text)},
                 after.empty() ? Puts{} : Puts{File(kIsens, after)}, kHeader);
}

// The flash utility's journal line.
CgiCase Fuc(const char* name, const char* cgi, const std::string& form, const std::string& args,
            const Puts& before) {
  return CgiCase(name, cgi, form, before, {}, kHeader, {"/usr/sbin/fuc -sh " + args});
}
CgiCase Hw(const char* name, const std::string& form, const std::string& data, const Puts& before = {}) {
  return Fuc(name, kHw, form, "sft-string offset=1 data=" + data, before);
}
CgiCase Ports(const char* name, const std::string& form, const std::string& data) {
  return Fuc(name, "nxuartset.cgi", form, "sft-config offset=0 data=" + data, {});
}
// The driver text with the product string after `lead` bytes of other text.
Puts Product(const std::string& product, std::size_t lead = 0) {
  return {File(kBasic, std::string(lead, '#') + "KVF_STR1=\"" + product + "\";")};
}
CgiCase Ctr(const char* name, const std::string& form, const std::string& error) {
  return CgiCase(name, "nxuoutctr.cgi", form, {}, {}, Alert("nxuoutctr.cgi", error), {}, "");
}

const std::string k127(127, 'b'), k128(128, 'c');
const Puts kUartStart = {File(kUart, Pattern(12))};
const Puts kOld = {File("/tmp/old1.txt", "1"), File("/tmp/old2.txt", "2"), File("/tmp/keep.txt", "3")};
const std::string kNoRead = "PnCodeUtilRead() error<br>\n";

class Device : public testing::TestWithParam<CgiCase> {};
TEST_P(Device, Request) { RunCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Requests, Device,
    testing::Values(
        // The pulse length is a pause, not seen here.
        Gpio("PulseHighStartsWithTheComplement", "OpMode=1&ToggleCode=0x0F&uSecDuration=1",
             "0xfffffff0\n0x000000ff\n"),
        Gpio("PulseLow", "OpMode=2&ToggleCode=4&uSecDuration=5", "0x00000004\n0x00000000\n"),
        Gpio("SetDecimalAndNoEpilogue", "OpMode=0x3&StateCode=-1&ToggleCode=7&SaveCfg=YES&RetReDir=/x.html",
             "0xffffffff\n"),
        CgiCase("UnknownOpMode", "nxcamgpctl.cgi", "OpMode=7", {}, {},
                Alert("nxcamgpctl.cgi", "Invalid OpMode error <br>\n")),
        CgiCase("NoGpioNode", "nxcamgpctl.cgi", "OpMode=3&StateCode=1", {Gone(kGpio)}, {},
                Alert("nxcamgpctl.cgi", "/dev/kv_gpio device open error<br>\n")),
        Cam("AllFourSwitches", "# switches\nFLK = \"0\" # flicker\nAGC=1\n\nBLC='0'\nELC=0 ; x\n",
            "CamGpioFlk=1&CamGpioAgc=0&CamGpioBlc=2&CamGpioElc=x%20y",
            "# switches\nFLK = \"1\" # flicker\nAGC=0\nBLC='2'\nELC=x y; x\n"),
        Cam("OpModeZeroKeepsEmptyLongAndUnknownKeys", "FLK=0\nAGC=1\nBLC=3\n",
            "OpMode=0&StateCode=4&CamGpioFlk=" + k128 +
                "&CamGpioBlc=&CamGpioAgc=7&CamGpioElc=5&RetReDir=/x.html",
            "FLK=0\nAGC=7\nBLC=3\n", kToX),
        No("MissingSwitchFile", "nxcamgpctl.cgi", "CamGpioFlk=1", "", {Gone(kCam)}),
        No("UnreadableSwitchFileIsNotEmptied", "nxcamgpctl.cgi", "CamGpioFlk=1", "",
           {Gone(kCam), File(kCam + "/x", "")}),
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
        CgiCase("MissingMailFileEndsTheRequest", "nxesmtaset.cgi",
                "Service=yes&SmsService=yes&RetReDir=/x.html", {File(kSms, kSmsText), Gone(kMail)}, {},
                kHeader + "<!--Failed to create cfg[/opt/vsb/etc/esmta.conf]-->" + kToX),
        CgiCase("UnreadableSmsFileIsOnlyReported", "nxesmtaset.cgi", "Service=yes&SmsService=yes",
                {File(kMail, kMailText), Gone(kSms), File(kSms + "/x", "")},
                {File(kMail, Rewritten(kMailText, {"SERVICE=off", "SERVICE=yes"}))},
                kHeader + "<!--Failed to create cfg[/opt/vsb/etc/smsta.conf]-->", kMailRestart),
        Link("RepeatedValuesChangeNothing", kIsensText,
             "NxCgiVer=1&NeUdpPort=12002&CeUdpPort=0x2ee1&CeIpAddress=10.1.2.3", ""),
        Link("EmptyAndTooLongCountAsAbsent", kIsensText, "NxCgiVer=1&NeUdpPort=&CeIpAddress=" + k128, ""),
        Link("AddressRewritesAllFour", kIsensText, "NxCgiVer=1&CeIpAddress=192.168.0.9",
             Isens("12002", "12001", "192.168.0.9")),
        Link("PortsCutTo16Bits", kIsensText, "NxCgiVer=0&NeUdpPort=70000&CeUdpPort=0x9",
             Isens("4464", "9", "10.1.2.3")),
        Link("AddressCutTo99", kIsensText, "NxCgiVer=1&CeIpAddress=" + k127,
             Isens("12002", "12001", std::string(99, 'b'))),
        Link("MissingKeyGivesDefaultsThenForm", kNoAddress, "NxCgiVer=1&CeUdpPort=7",
             Isens("12002", "7", "", 0)),
        Link("TooLongAddressInFileGivesDefaults",
             kNoAddress + "CE_IP_ADDRESS=" + std::string(100, 'a') + "\n", "NxCgiVer=1",
             Isens("12002", "12001", "", 0)),
        No("VersionTwo", "nxisensconf.cgi", "NxCgiVer=2&CeIpAddress=1.2.3.4", "Error NxCgiVer : 0002\n"),
        No("NoVersion", "nxisensconf.cgi", "CeIpAddress=1.2.3.4", "Error NxCgiVer  (not found)\n"),
        No("NoLinkFile", "nxisensconf.cgi", "NxCgiVer=1&CeIpAddress=1.2.3.4", "", {Gone(kIsens)}),
        CgiCase(
            "UartOutFieldsCutToWidth", "nxuoutset.cgi",
            "NxCgiVer=1&Mode485On=0x12345&BaudRate=70000&DataBit=300&StopBit=-1&ParityBit=Odd&X10Mode=0x1ff",
            kUartStart,
            {U16(kUart, 4, 0x2345), U16(kUart, 6, 4464), U8(kUart, 8, 0x2c), U8(kUart, 9, 0xff),
             U8(kUart, 10, 'O'), U8(kUart, 11, 0xff)},
            kHeader, kUartRestart),
        CgiCase("UartOutEmptyKeeps", "nxuoutset.cgi",
                "NxCgiVer=0x10001&BaudRate=&ParityBit=&DataBit=7&SaveCfg=YES", kUartStart, {U8(kUart, 8, 7)},
                kHeader, {kUartRestart[0], "/usr/sbin/savecfg"}),
        No("UartOutVersionTwo", "nxuoutset.cgi", "NxCgiVer=2&DataBit=7"),
        No("UartOutShortFile", "nxuoutset.cgi", "NxCgiVer=1&DataBit=7", "", {File(kUart, Pattern(11))}),
        Ctr("UartCtrNoVersion", "Length=0", "Invalied NxCgiVer=65535"),
        Ctr("UartCtrLengthWithoutData", "NxCgiVer=1&Length=1", "Have No Data"),
        Ctr("UartCtrTooFewPieces", "NxCgiVer=1&Length=3&Data=,,7,8", "Invalied Data=,,7"),
        Ports("FirstPortOnly", "NxCgiVer=1&Ttys0_Mode=rs485", "/r,/."),
        Ports("EmptyModes", "NxCgiVer=0&Ttys0_Mode=&Ttys1_Mode=4w", "/.,/4"),
        Ports("QuoteAndShellText", "NxCgiVer=1&Ttys0_Mode=%27x&Ttys1_Mode=%24(touch%20X)", "/',/$"),
        CgiCase("PortsBadVersion", "nxuartset.cgi", "NxCgiVer=2&Ttys0_Mode=r&SaveCfg=YES", {}, {},
                kHeader + " CgiVer is error 0002\n"),
        Hw("ReplacesInside", "Offset=3&String=XY", "ABCXY3"),
        Hw("ReplacesToTheEnd", "Offset=0x4&String=XY", "ABC1XY"),
        Hw("OffsetLow16Bits", "Offset=65537&String=Q", "AQC123"),
        Hw("NoOffsetAndBlanks", "String=A%20B", "A B123"),
        Hw("QuotesStayText", "Offset=1&String=%27%3Btouch%20%24NXCGI_ROOT%2FX%3B%24(id)%60id%60%27",
           "p';touch $NXCGI_ROOT/X;$(id)`id`'" + std::string(7, 'p'), Product(std::string(40, 'p'))),
        Hw("ProductOf63", "Offset=62&String=Q", std::string(62, 'p') + "Q", Product(std::string(63, 'p'))),
        Hw("Within1023Bytes", "String=Q", "QBC", Product("ABC", 1008)),
        CgiCase("RmFilesAfterStoring", kHw,
                "Offset=0&String=Z&RmFiles=/tmp/old%5B1%5D.txt%20%20/tmp/ol?2.*&RetReDir=/x.html", kOld,
                {Gone("/tmp/old1.txt"), Gone("/tmp/old2.txt")}, kHeader + kToX,
                {"/usr/sbin/fuc -sh sft-string offset=1 data=ZBC123"}),
        CgiCase(
            "RmFilesNeverReachAShell", kHw,
            "String=Z&RmFiles=/tmp/keep.txt%3Btouch%20%24NXCGI_ROOT/tmp/R%20%24(touch%20%24NXCGI_ROOT/tmp/S)",
            kOld, {}, kHeader, {"/usr/sbin/fuc -sh sft-string offset=1 data=ZBC123"}),
        No("TooLongRemovesNothing", kHw, "Offset=5&String=XY&RmFiles=/tmp/old*.txt",
           "Too long string parameter error<br>\n", kOld),
        No("EmptyString", kHw, "Offset=1&String=", "Have no string parameter error<br>\n"),
        No("NoDriverText", kHw, "String=XY", kNoRead, {Gone(kBasic)}),
        No("ProductOf64", kHw, "String=Q", kNoRead, Product(std::string(64, 'p'))),
        No("BeyondFirst1023Bytes", kHw, "String=Q", kNoRead, Product("ABC", 1014)),
        CgiCase("OnlySlotTen", kHw, "String=XY", {File(kBasic, "KVF_STR10=\"TENTEN\";\n")}, {},
                kHeader + Alert(kHw, kNoRead), {},
                "kvt_get_and_init_pn_code():strstr(KVF_STR1=\") error for start\n")),
    [](const auto& info) { return std::string(info.param.name); });

// The sensor link handler's diagnostics, line numbers left out (they are the
// source's business). No isensd runs, so its pid file is missing.
TEST(DeviceAlone, SensorLinkDiagnostics) {
  const std::string no_pid = "[SendSignalToIsensd:IsensCfgCgi(N)]\tfail to open isensd pid info file";
  for (const auto& [text, form, err] : std::vector<std::array<std::string, 3>>{
           {kIsensText, "NxCgiVer=1&CeIpAddress=192.168.0.9", no_pid},
           {kIsensText, "NxCgiVer=1&CeIpAddress=10.1.2.3", ""},
           {kNoAddress, "NxCgiVer=1&CeUdpPort=7",
            "[LoadStringFieldOfTcfg:TcfgFieldUtil(N)]\tthere is no field(CE_IP_ADDRESS)\n" + no_pid},
           {kIsensText, "NxCgiVer=2", "[NxCgi_IsensConf:IsensCfgCgi(N)]\tError CgiVer: 2\n"}}) {
    DeviceRoot root;
    root.Write(kIsens, text);
    const std::string got = Post("nxisensconf.cgi", form, root.path()).err;
    EXPECT_EQ(std::regex_replace(got, std::regex(R"(\(\d+\)\]\t)"), "(N)]\t"), err) << form;
  }
}

}  // namespace
