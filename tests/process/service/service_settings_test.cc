// The fourteen service settings handlers through the real executable: the
// exact bytes each request changes in its service file, every other byte
// unchanged, and the exact answer.
#include <gtest/gtest.h>

#include <string>

#include "harness/bytes.h"
#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"

namespace {

using harness::Bytes;

const std::string kHeader = harness::kHtmlHeader;

std::string ErrorPage(const std::string& cgi) { return harness::ErrorPage(cgi, ""); }

struct ServiceFile {
  const char* name;
  std::size_t size;
};

constexpr ServiceFile kMail{"MailConf.bin", 4572};
constexpr ServiceFile kDiCgi{"DiCgiConf.bin", 4304};
constexpr ServiceFile kFtpSig{"FtpSigSvcConf.bin", 3076};
constexpr ServiceFile kImgHold{"ImgHoldConf.bin", 2840};
constexpr ServiceFile kDOut{"DOutSvcConf.bin", 2808};
constexpr ServiceFile kFtpDur{"FtpDurSvcConf.bin", 3032};
constexpr ServiceFile kAoip{"AoipConf.bin", 788};
constexpr ServiceFile kCall{"CallConf.bin", 704};

// Port entry starts: header size + entry size * port.
constexpr std::size_t MailPort(int p) { return 396 + 1044 * p; }
constexpr std::size_t DiCgiPort(int p) { return 496 + 952 * p; }
constexpr std::size_t FtpSigPort(int p) { return 228 + 712 * p; }
constexpr std::size_t FtpDurPort(int p) { return 232 + 700 * p; }
constexpr std::size_t ImgHoldPort(int p) { return 8 + 708 * p; }
constexpr std::size_t DOutPort(int p) { return 8 + 700 * p; }

// The starting file: a byte pattern, with the counts that the handlers clamp
// set to values inside their limits, so that only the request moves them.
Bytes StartImage(const ServiceFile& file) {
  Bytes bytes = harness::PatternBytes(file.size);
  for (int p = 0; p < 4; ++p) {
    if (file.size == kMail.size) {
      harness::PutU32(bytes, MailPort(p) + 336, 2);  // QueueCount
      harness::PutU32(bytes, MailPort(p) + 340, 4);  // ImageCount
    }
    if (file.size == kFtpSig.size) {
      harness::PutU32(bytes, FtpSigPort(p) + 0, 2);
      harness::PutU32(bytes, FtpSigPort(p) + 4, 4);
    }
  }
  if (file.size == kFtpDur.size) harness::PutU32(bytes, 212, 3);  // SeqModulo
  return bytes;
}

struct ServiceCase {
  const char* test_name;
  const char* cgi;
  ServiceFile file;
  std::string form;
  void (*expect)(Bytes&);     // the changes to the file; null: untouched
  std::string body;           // the answer after the handler's header; "" on success without RetPage
  int module = 1;             // the module whose file the request edits
  std::size_t file_size = 0;  // the size of the file on disk, when not the record's
};

class ServiceSettings : public testing::TestWithParam<ServiceCase> {};

std::string FilePath(const ServiceFile& file, int module) {
  return "/opt/vsb/etc/NxConf/NxModId" + std::to_string(module) + "/" + file.name;
}

TEST_P(ServiceSettings, ChangesExactlyTheGivenFields) {
  const ServiceCase& c = GetParam();
  harness::DeviceRoot root;
  Bytes start = StartImage(c.file);
  if (c.file_size != 0) start = harness::PatternBytes(c.file_size);
  // Every module has its file, so a request for the wrong module would show.
  for (int module = 0; module < 4; ++module) root.WriteFile(FilePath(c.file, module), start);

  const harness::ProcessResult result = harness::PostCgi(c.cgi, c.form, root.path());

  EXPECT_EQ(result.exit_status, 0);
  Bytes expected = start;
  if (c.expect != nullptr) {
    expected.resize(c.file.size);  // a longer file is saved at the record's size
    c.expect(expected);
    EXPECT_EQ(result.out, kHeader + c.body);
  } else {
    EXPECT_EQ(result.out, kHeader + c.body);
  }
  for (int module = 0; module < 4; ++module) {
    const Bytes& want = module == c.module ? expected : start;
    EXPECT_EQ(harness::DescribeDifference(want, root.ReadFile(FilePath(c.file, module))), "")
        << "module " << module;
  }
}

const std::string k63(63, 'q');
const std::string k64(64, 'q');

INSTANTIATE_TEST_SUITE_P(
    Mail, ServiceSettings,
    testing::Values(
        ServiceCase{"AllHeaderFields", "nxmailsvc.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&EnableSvc=1&SmtpServer=smtp.example.com&SmtpPort=2525&AuthLogin=1"
                    "&UserId=u&PassWd=p&Sender=s%40x&Recipient0=a&Recipient1=&Recipient2=",
                    [](Bytes& b) {
                      harness::PutU32(b, 4, 1);
                      harness::PutString(b, 8, "smtp.example.com");
                      harness::PutU8(b, 72, 1);
                      harness::PutU16(b, 74, 2525);
                      harness::PutString(b, 76, "u");
                      harness::PutString(b, 108, "p");
                      harness::PutString(b, 140, "s@x");
                      harness::PutString(b, 204, "a");
                      harness::PutZeros(b, 268, 64);
                      harness::PutZeros(b, 332, 64);
                    },
                    ""},
        ServiceCase{"StringOf63IsStored", "nxmailsvc.cgi", kMail, "NxModId=1&NxCgiVer=1&SmtpServer=" + k63,
                    [](Bytes& b) { harness::PutString(b, 8, std::string(63, 'q')); }, ""},
        ServiceCase{"StringOf64IsIgnored", "nxmailsvc.cgi", kMail, "NxModId=1&NxCgiVer=1&SmtpServer=" + k64,
                    [](Bytes&) {}, ""},
        ServiceCase{"NumbersAreCutToTheirWidth", "nxmailsvc.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&SmtpPort=0x10019&AuthLogin=257&EnableSvc=-1",
                    [](Bytes& b) {
                      harness::PutU16(b, 74, 25);
                      harness::PutU8(b, 72, 1);
                      harness::PutU32(b, 4, 0xffffffff);
                    },
                    ""},
        ServiceCase{"EmptyNumberChangesNothing", "nxmailsvc.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&SmtpPort=", [](Bytes&) {}, ""},
        ServiceCase{"ModuleIsTheLow16Bits", "nxmailsvc.cgi", kMail,
                    "NxModId=65537&NxCgiVer=65537&EnableSvc=1", [](Bytes& b) { harness::PutU32(b, 4, 1); },
                    ""},
        ServiceCase{"ModuleFourFails", "nxmailsvc.cgi", kMail, "NxModId=4&NxCgiVer=1&EnableSvc=1", nullptr,
                    ErrorPage("nxmailsvc.cgi")},
        ServiceCase{"VersionMissingFails", "nxmailsvc.cgi", kMail, "NxModId=1&EnableSvc=1", nullptr,
                    ErrorPage("nxmailsvc.cgi")},
        ServiceCase{"VersionTwoFails", "nxmailsvc.cgi", kMail, "NxModId=1&NxCgiVer=2&EnableSvc=1", nullptr,
                    ErrorPage("nxmailsvc.cgi")},
        ServiceCase{"ShortFileFails", "nxmailsvc.cgi", kMail, "NxModId=1&NxCgiVer=1&EnableSvc=1", nullptr,
                    ErrorPage("nxmailsvc.cgi"), 1, 4571},
        ServiceCase{"LongerFileIsSavedAtRecordSize", "nxmailsvc.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&EnableSvc=7", [](Bytes& b) { harness::PutU32(b, 4, 7); }, "", 1,
                    4573},
        ServiceCase{"PortClampsImageAndQueueCount", "nxmailsvcport.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&PortId=2&ImageCount=15&QueueCount=12",
                    [](Bytes& b) {
                      harness::PutU32(b, MailPort(2) + 340, 10);
                      harness::PutU32(b, MailPort(2) + 336, 10);
                    },
                    ""},
        ServiceCase{"PortQueueCountAboveStoredImageCount", "nxmailsvcport.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&PortId=2&QueueCount=50",
                    [](Bytes& b) { harness::PutU32(b, MailPort(2) + 336, 4); }, ""},
        ServiceCase{"PortTextAndCategoryFields", "nxmailsvcport.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&PortId=3&PauseTime=9&Subject=&TextMessage3=hello&ValueCatType2=9"
                    "&ValueCatType0=5&ValueCatType1=",
                    [](Bytes& b) {
                      harness::PutU32(b, MailPort(3) + 344, 9);
                      harness::PutZeros(b, MailPort(3) + 0, 64);
                      harness::PutString(b, MailPort(3) + 268, "hello");
                      harness::PutU8(b, MailPort(3) + 264, 0);
                      harness::PutU8(b, MailPort(3) + 128, 5);
                    },
                    ""},
        ServiceCase{"PortIdIsTheLow16Bits", "nxmailsvcport.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&PortId=65538&PauseTime=1",
                    [](Bytes& b) { harness::PutU32(b, MailPort(2) + 344, 1); }, ""},
        ServiceCase{
            "PortIdAboveThreeIsPrinted", "nxmailsvcport.cgi", kMail,
            "NxModId=1&NxCgiVer=1&PortId=7&PauseTime=1", nullptr,
            "NxCgi_MailSvcPortCfgFunc PortId = [7]: PortId ERROR!!!<br>\n" + ErrorPage("nxmailsvcport.cgi")},
        ServiceCase{
            "PortIdMissingIsPrintedAsMinusOne", "nxmailsvcport.cgi", kMail,
            "NxModId=1&NxCgiVer=1&PauseTime=1", nullptr,
            "NxCgi_MailSvcPortCfgFunc PortId = [-1]: PortId ERROR!!!<br>\n" + ErrorPage("nxmailsvcport.cgi")},
        ServiceCase{"PortLoadFailureIsPrinted", "nxmailsvcport.cgi", kMail,
                    "NxModId=1&NxCgiVer=1&PortId=1&PauseTime=1", nullptr,
                    "NxCgi_MailSvcPortCfgFunc PortId = [1]: LoadSvcCfgFile() ERROR!!!<br>\n" +
                        ErrorPage("nxmailsvcport.cgi"),
                    1, 100}),
    [](const auto& info) { return std::string(info.param.test_name); });

INSTANTIATE_TEST_SUITE_P(
    DiCgi, ServiceSettings,
    testing::Values(
        ServiceCase{"HeaderFields", "nxdicgi.cgi", kDiCgi,
                    "NxModId=1&NxCgiVer=1&EnableSvc=1&CgiPath=%2Fcgi%0D%0Abin&IpAddrMain=&IpAddrAux3=10.0.0.1"
                    "&SvcPort=8080&SvcMode=2&User=&Passwd=",
                    [](Bytes& b) {
                      harness::PutU32(b, 4, 1);
                      harness::PutString(b, 176, "/cgi\nbin");
                      harness::PutZeros(b, 8, 40);
                      harness::PutString(b, 128, "10.0.0.1");
                      harness::PutU32(b, 168, 8080);
                      harness::PutU32(b, 172, 2);
                    },
                    ""},
        ServiceCase{"LongValuesFitTheLargerBuffer", "nxdicgi.cgi", kDiCgi,
                    "NxModId=1&NxCgiVer=1&CgiPath=" + std::string(200, 'p') +
                        "&User=" + std::string(31, 'u') + "&IpAddrAux1=" + std::string(150, '1'),
                    [](Bytes& b) {
                      harness::PutString(b, 176, std::string(200, 'p'));
                      harness::PutString(b, 432, std::string(31, 'u'));
                    },
                    ""},
        // Ids and version are read through the same 256-byte buffer as the
        // values: 141 characters each.
        ServiceCase{"IdsOfLongTextFitTheLargerBuffer", "nxdicgiport.cgi", kDiCgi,
                    "NxModId=" + std::string(140, '0') + "1&NxCgiVer=" + std::string(140, '0') +
                        "1&PortId=" + std::string(140, '0') + "2&CgiName=long",
                    [](Bytes& b) { harness::PutString(b, DiCgiPort(2), "long"); }, ""},
        ServiceCase{"PortCgiName", "nxdicgiport.cgi", kDiCgi,
                    "NxModId=1&NxCgiVer=1&PortId=65539&CgiName=a%0Ab",
                    [](Bytes& b) { harness::PutString(b, DiCgiPort(3), "a\nb"); }, ""},
        ServiceCase{"PortAboveThreeFailsSilently", "nxdicgiport.cgi", kDiCgi,
                    "NxModId=1&NxCgiVer=1&PortId=4&CgiName=x", nullptr, ErrorPage("nxdicgiport.cgi")}),
    [](const auto& info) { return std::string(info.param.test_name); });

INSTANTIATE_TEST_SUITE_P(
    Ftp, ServiceSettings,
    testing::Values(
        ServiceCase{"EventHeader", "nxftpsig.cgi", kFtpSig,
                    "NxModId=1&NxCgiVer=1&EnableSvc=1&ServerIp=127.0.0.1&BaseDir=%2Fup&BaseFile=&User=anon"
                    "&Passwd=pw&DirNameFlag=16&FileNameFlag=2&PassiveMode=1&DateDescMode=3&FtpCtrlPort=2121"
                    "&FixedPort=20000&SeqModulo=9",
                    [](Bytes& b) {
                      harness::PutU32(b, 4, 1);
                      harness::PutString(b, 8, "127.0.0.1");
                      harness::PutString(b, 136, "/up");
                      harness::PutZeros(b, 200, 10);
                      harness::PutString(b, 72, "anon");
                      harness::PutString(b, 104, "pw");
                      harness::PutU32(b, 212, 16);
                      harness::PutU32(b, 216, 2);
                      harness::PutU8(b, 220, 1);
                      harness::PutU8(b, 221, 3);
                      harness::PutU16(b, 222, 2121);
                      harness::PutU32(b, 224, 20000);
                    },
                    ""},
        ServiceCase{"BaseFileOfNineIsStoredOfTenIgnored", "nxftpsig.cgi", kFtpSig,
                    "NxModId=1&NxCgiVer=1&BaseFile=123456789&ServerIp=" + std::string(64, 's'),
                    [](Bytes& b) { harness::PutString(b, 200, "123456789"); }, ""},
        ServiceCase{"IntervalHeaderLiesFourBytesFurther", "nxftpdur.cgi", kFtpDur,
                    "NxModId=1&NxCgiVer=1&SeqModulo=5&DirNameFlag=16&FileNameFlag=2&PassiveMode=1"
                    "&DateDescMode=3&FtpCtrlPort=2121&FixedPort=20000",
                    [](Bytes& b) {
                      harness::PutU32(b, 212, 5);
                      harness::PutU32(b, 216, 16);
                      harness::PutU32(b, 220, 2);
                      harness::PutU8(b, 224, 1);
                      harness::PutU8(b, 225, 3);
                      harness::PutU16(b, 226, 2121);
                      harness::PutU32(b, 228, 20000);
                    },
                    ""},
        ServiceCase{"SeqModuloZeroBecomesOne", "nxftpdur.cgi", kFtpDur, "NxModId=1&NxCgiVer=1&SeqModulo=0",
                    [](Bytes& b) { harness::PutU32(b, 212, 1); }, ""},
        ServiceCase{"EventPortClamps", "nxftpsigport.cgi", kFtpSig,
                    "NxModId=1&NxCgiVer=1&PortId=1&ImageCount=300&QueueCount=299&PauseTime=5&ReadyTime=6",
                    [](Bytes& b) {
                      harness::PutU32(b, FtpSigPort(1) + 4, 256);
                      harness::PutU32(b, FtpSigPort(1) + 0, 256);
                      harness::PutU32(b, FtpSigPort(1) + 8, 5);
                      harness::PutU32(b, FtpSigPort(1) + 12, 6);
                    },
                    ""},
        ServiceCase{"EventPortQueueAboveStoredImageCount", "nxftpsigport.cgi", kFtpSig,
                    "NxModId=1&NxCgiVer=1&PortId=0&QueueCount=9",
                    [](Bytes& b) { harness::PutU32(b, FtpSigPort(0) + 0, 4); }, ""},
        ServiceCase{"EventPortIdComparesTheWholeValue", "nxftpsigport.cgi", kFtpSig,
                    "NxModId=1&NxCgiVer=1&PortId=65537&PauseTime=5", nullptr, ErrorPage("nxftpsigport.cgi")},
        ServiceCase{"IntervalPort", "nxftpdurport.cgi", kFtpDur, "NxModId=1&NxCgiVer=1&PortId=3&PauseTime=60",
                    [](Bytes& b) { harness::PutU32(b, FtpDurPort(3), 60); }, ""}),
    [](const auto& info) { return std::string(info.param.test_name); });

INSTANTIATE_TEST_SUITE_P(
    Others, ServiceSettings,
    testing::Values(
        ServiceCase{"ImageHold", "nxiholdsvc.cgi", kImgHold, "NxModId=1&NxCgiVer=1&EnableSvc=1",
                    [](Bytes& b) { harness::PutU32(b, 4, 1); }, ""},
        ServiceCase{"ImageHoldPortHasNoClamps", "nxiholdsvcport.cgi", kImgHold,
                    "NxModId=1&NxCgiVer=1&PortId=2&ImageCount=500&QueueCount=600&PauseTime=3",
                    [](Bytes& b) {
                      harness::PutU32(b, ImgHoldPort(2) + 4, 500);
                      harness::PutU32(b, ImgHoldPort(2) + 0, 600);
                      harness::PutU32(b, ImgHoldPort(2) + 8, 3);
                    },
                    ""},
        ServiceCase{"DigitalOutput", "nxdosvc.cgi", kDOut, "NxModId=1&NxCgiVer=0&EnableSvc=0",
                    [](Bytes& b) { harness::PutU32(b, 4, 0); }, ""},
        ServiceCase{"DigitalOutputPort", "nxdosvcport.cgi", kDOut,
                    "NxModId=1&NxCgiVer=1&PortId=1&DoDuration=0x10",
                    [](Bytes& b) { harness::PutU32(b, DOutPort(1), 16); }, ""},
        ServiceCase{"Call", "nxcall.cgi", kCall, "NxModId=1&NxCgiVer=1&EnableSvc=1",
                    [](Bytes& b) { harness::PutU32(b, 4, 1); }, ""},
        ServiceCase{"Aoip", "nxaoip.cgi", kAoip,
                    "NxModId=1&NxCgiVer=1&EnableSvc=1&Server=&RegisterId=1&HttpAoip=2&NvcpAoip=3&VdcpAoip=4"
                    "&ReseAoip=5",
                    [](Bytes& b) {
                      harness::PutU32(b, 4, 1);
                      for (uint32_t i = 0; i < 5; ++i) harness::PutU32(b, 72 + 4 * i, i + 1);
                    },
                    ""},
        ServiceCase{"AoipServer", "nxaoip.cgi", kAoip, "NxModId=1&NxCgiVer=1&Server=sip.example",
                    [](Bytes& b) { harness::PutString(b, 8, "sip.example"); }, ""}),
    [](const auto& info) { return std::string(info.param.test_name); });

TEST(ServiceSettings, MissingFileFailsEveryHandlerOfTheService) {
  harness::DeviceRoot root;
  root.Remove("/opt/vsb/etc/NxConf/NxModId2/ImgHoldConf.bin");
  for (const char* cgi : {"nxiholdsvc.cgi", "nxiholdsvcport.cgi"}) {
    const harness::ProcessResult result =
        harness::PostCgi(cgi, "NxModId=2&NxCgiVer=1&PortId=0&EnableSvc=1&PauseTime=1", root.path());
    EXPECT_EQ(result.out, kHeader + ErrorPage(cgi)) << cgi;
    EXPECT_FALSE(root.Exists("/opt/vsb/etc/NxConf/NxModId2/ImgHoldConf.bin"));
  }
}

TEST(ServiceSettings, TypicalMailPortRequestSavesAndReturnsThePage) {
  harness::DeviceRoot root;
  const Bytes start = StartImage(kMail);
  root.WriteFile(FilePath(kMail, 1), start);
  root.WriteFile("/web/mail.html", "<p>mail</p>\n");
  const harness::ProcessResult result = harness::PostCgi(
      "nxmailsvcport.cgi", "NxModId=1&NxCgiVer=1&PortId=2&ImageCount=5&SaveCfg=YES&RetPage=/mail.html",
      root.path());
  EXPECT_EQ(result.out, std::string(kHeader) +
                            "<script language=javascript>\nvar NXMODID = 1;\nvar PORTID = 2;\n</script>\n"
                            "<p>mail</p>\n");
  EXPECT_EQ(root.Journal(), std::vector<std::string>{"/usr/sbin/savecfg"});
  Bytes expected = start;
  harness::PutU32(expected, MailPort(2) + 340, 5);
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(FilePath(kMail, 1))), "");
}

}  // namespace
