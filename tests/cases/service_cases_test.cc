// The service configuration handlers through the real executable, one row a
// request: service settings, conditions, buffers and links, PTZ, sensor.
#include <gtest/gtest.h>

#include "harness/cgi_case.h"
#include "harness/device_root.h"

namespace {

using namespace harness;  // the row builders

std::string Cfg(int module, const std::string& name) {
  return "/opt/vsb/etc/NxConf/" + (module < 0 ? name : "NxModId" + std::to_string(module) + "/" + name);
}

const std::string kMail = Cfg(1, "MailConf.bin"), kDiCgi = Cfg(1, "DiCgiConf.bin");
const std::string kFtpSig = Cfg(1, "FtpSigSvcConf.bin"), kFtpDur = Cfg(1, "FtpDurSvcConf.bin");
const std::string kHold = Cfg(1, "ImgHoldConf.bin"), kDOut = Cfg(1, "DOutSvcConf.bin");
const std::string kAoip = Cfg(1, "AoipConf.bin"), kCall = Cfg(1, "CallConf.bin");
const std::string kM1 = "NxModId=1&NxCgiVer=1&";

Puts Cat(Puts puts, const Puts& more) {
  puts.insert(puts.end(), more.begin(), more.end());
  return puts;
}

CgiCase Ok(const char* name, const char* cgi, std::string form, const Puts& before, const Puts& after) {
  return CgiCase(name, cgi, form, before, after, kHeader);
}

// A refused request: the handler's header, what it prints, the alert page.
CgiCase No(const char* name, const char* cgi, const std::string& form, const Puts& before = {},
           const std::string& printed = "") {
  return CgiCase(name, cgi, form, before, {}, kHeader + printed + Alert(cgi, ""));
}

// A pattern file; in each of its four ports (`stride` apart, 0: none) the
// clamped counts lie inside their limits: QueueCount 2 at `queue`, ImageCount
// 4 after it.
Puts Start(const std::string& path, std::size_t size, std::size_t queue = 0, std::size_t stride = 0) {
  Puts puts = {File(path, Pattern(size))};
  for (std::size_t p = 0; stride != 0 && p < 4; ++p)
    puts = Cat(puts, {U32(path, queue + stride * p, 2), U32(path, queue + stride * p + 4, 4)});
  return puts;
}

const Puts kMailStart = Start(kMail, 4572, 396 + 336, 1044), kFtpSigStart = Start(kFtpSig, 3076, 228, 712);
// (The pattern's SeqModulo is not 0, which a save would make 1.)
const Puts kDiCgiStart = Start(kDiCgi, 4304), kFtpDurStart = Start(kFtpDur, 3032);
const std::string q63(63, 'q'), q64(64, 'q'), z140(140, '0');
constexpr std::size_t MailPort(int p) { return 396 + 1044 * p; }

// nxcondcfg.cgi on module 2, whose nine service files are patterns, so that
// every reset shows. The service files by SvcId, with their sizes.
constexpr std::pair<const char*, std::size_t> kCondFiles[] = {
    {"MailConf.bin", 4572},      {"DiCgiConf.bin", 4304},   {"FtpSigSvcConf.bin", 3076},
    {"nTimeConf.bin", 772},      {"ImgHoldConf.bin", 2840}, {"DOutSvcConf.bin", 2808},
    {"FtpDurSvcConf.bin", 3032}, {"AoipConf.bin", 788},     {"CallConf.bin", 704}};
std::string C2(int svc) { return Cfg(2, kCondFiles[svc].first); }

const Puts kCondStart = [] {
  Puts puts;
  for (const auto& [name, size] : kCondFiles) puts.push_back(File(Cfg(2, name), Pattern(size)));
  return puts;
}();

// Every save of a 232-byte condition record: the times not given become -1,
// the flags 0, the fixed words their values; then `extra`, at offsets in the
// record.
Puts Reset(const std::string& path, std::size_t record, Puts extra = {}) {
  Puts puts = {{path, record + 8, "\xff\xff\xff"}, U8(path, record + 100, 0)};
  for (std::size_t at = 20; at <= 60; at += 4)
    puts.push_back(U32(path, record + at, at == 28 || at == 52 ? 1 : at == 40 ? 0 : -1));
  for (std::size_t at : {64, 68, 76, 84, 88, 92}) puts.push_back(U32(path, record + at, 0));
  for (Put& put : extra) puts.push_back({path, record + put.offset, put.bytes});
  return puts;
}

CgiCase Cond(const char* name, const std::string& form, const Puts& after) {
  return CgiCase(name, "nxcondcfg.cgi", "NxCgiVer=1&NxModId=2&" + form, kCondStart, after, kHeader);
}
CgiCase CondNo(const char* name, const std::string& f) { return No(name, "nxcondcfg.cgi", f, kCondStart); }

const std::string kBuf = Cfg(1, "ImgBufConf.bin"), kRdsk = Cfg(-1, "RdskBuffConf.bin");
const std::string kDial = Cfg(-1, "DialUpConf.bin");
const Puts kBufStart = {File(kBuf, Pattern(36))};
// Four keep ratios (the second 8, the third 9), then two tables derived from them.
const Puts kRdskStart = {File(kRdsk, Pattern(48)), U32(kRdsk, 4, 8), U32(kRdsk, 8, 9)};

// nxibufdev.cgi answers its failures in the page alone.
CgiCase BufSays(const char* name, const std::string& form, const std::string& text, std::size_t size = 36) {
  return CgiCase(name, "nxibufdev.cgi", form, {File(kBuf, Pattern(size))}, {}, kHeader + text);
}

using Words = std::vector<std::vector<uint32_t>>;

// Catalogue records of `size` pattern bytes, each with its words at the
// offsets `at`.
std::string Records(std::size_t size, const std::vector<std::size_t>& at, const Words& records) {
  std::string bytes;
  for (const auto& words : records) {
    std::string record = Pattern(size);
    for (std::size_t i = 0; i < at.size(); ++i) record.replace(at[i], 4, U32("", 0, words[i]).bytes);
    bytes += record;
  }
  return bytes;
}

// PTZ models of 1520 bytes (a 1496-byte fixed part, 24 of data): {catalogue
// mark (the first record's counts), RecordSize, default baud rate, default
// line mode (its low byte)}.
std::string PtzCat(const Words& models) { return Records(1520, {0, 4, 48, 64}, models); }

const std::string kPtz = Cfg(-1, "PtzConf.bin"), kMark = "/tmp/ChkPtzConfChg";
// No device (0xffff), module 0's base address 77.
const Puts kPtzStart = {File(kPtz, Pattern(262760)), U16(kPtz, 4, 0xffff), U32(kPtz, 8, 77)};
const std::vector<std::string> kUart = {"/etc/init.d/uartsvc restart"};
const std::string kNoPid = "[/var/run/nxcamctld.pid] nxcamctld pid file is not found.\n";
const std::string kThree = PtzCat({{1, 1520, 9600, 2}, {7, 1520, 19200, 0xabcd0003}, {7, 1520, 4800, 4}});

// A catalogue in the root and its factory copy; "": none.
Puts Catalogues(const std::string& name, const std::string& root, const std::string& factory) {
  return {root.empty() ? Gone(Cfg(-1, name)) : File(Cfg(-1, name), root),
          factory.empty() ? Gone("/web/img/" + name) : File("/web/img/" + name, factory)};
}

// nxptzset.cgi for a device id, with these catalogues ("": none), asking
// for the model's baud rate and line mode (255) unless `form` gives them: the
// baud index and line mode it stores, the restart, the change mark holding
// module 0's base address, the note that no daemon runs.
CgiCase PtzSet(const char* name, int device, const std::string& root, const std::string& factory, int baud,
               int line, const std::string& form = "PtzBaudRateIdx=255&PtzLineMode=255") {
  return CgiCase(name, "nxptzset.cgi", "NxCgiVer=1&PtzDeviceId=" + std::to_string(device) + "&" + form,
                 Cat(kPtzStart, Catalogues("PtzModel.bin", root, factory)),
                 {U16(kPtz, 4, device), U8(kPtz, 6, baud), U8(kPtz, 7, line), File(kMark, "77\n")}, kHeader,
                 kUart, kNoPid);
}

// The preset names of module 2's port 3, 64 bytes each.
constexpr std::size_t kNames = 8 + 65688 * 2 + 8 + 16420 * 3 + 4;

// Sensor models of 300 bytes (a 288-byte fixed part, 12 of data): {RecordSize,
// model type}.
std::string SnsCat(const Words& models) { return Records(300, {0, 40}, models); }

const std::string kSns = Cfg(-1, "SensorConf.bin"), s119(119, 's');
const std::string kTypes043 = SnsCat({{300, 0}, {300, 4}, {300, 3}});
const std::string kAll =
    "SnsAimPosition=11&CamAimPosition=12&AddVehicleLeng=13&OsdStartX=21&OsdStartY=22&LinkedModId=0x10002"
    "&LinkedPortId=259&RelayIpAddr=192.168.0.10&RelayTcpPort=8000&RelayUdpPort=8001&LowerLimit=1&UpperLimit=2"
    "&EnableDelay=3&ProcessDelay=4";
// What kAll gives: the fields every type takes, and those of each set.
const Puts kCommon = {U32(kSns, 20, 1), U32(kSns, 24, 2), U32(kSns, 28, 3), U32(kSns, 32, 4)};
const Puts kAiming = Cat(kCommon, {U32(kSns, 8, 11), U32(kSns, 12, 12), U32(kSns, 16, 13)});
const Puts kLinked = Cat(kCommon, {U16(kSns, 16, 2), U8(kSns, 18, 3)});
const Puts kRelay = Cat(kCommon, {U32(kSns, 8, 0x0a00a8c0), U16(kSns, 12, 8000), U16(kSns, 14, 8001)});

// nxsnsset.cgi with a root catalogue ("": none, nor a factory copy) and a
// stored model; the stored stream "init" gets its length 4 on every save.
CgiCase Sns(const char* name, const std::string& form, const std::string& cat, int32_t stored,
            const Puts& after) {
  return CgiCase(name, "nxsnsset.cgi", "NxCgiVer=1&" + form,
                 Cat({File(kSns, Pattern(160)), U32(kSns, 4, stored), Str(kSns, 40, "init")},
                     Catalogues("SensorModel.bin", cat, "")),
                 Cat({U32(kSns, 36, 4)}, after), kHeader, kUart);
}

class Service : public testing::TestWithParam<CgiCase> {};
TEST_P(Service, Request) { RunCase(GetParam()); }

INSTANTIATE_TEST_SUITE_P(
    Requests, Service,
    testing::Values(
        // Service settings and their ports.
        Ok("MailHeader", "nxmailsvc.cgi",
           kM1 + "EnableSvc=1&SmtpServer=smtp.example.com&SmtpPort=2525&AuthLogin=1&UserId=u&PassWd=p"
                 "&Sender=s%40x&Recipient0=a&Recipient1=&Recipient2=",
           kMailStart,
           {U32(kMail, 4, 1), Str(kMail, 8, "smtp.example.com"), U8(kMail, 72, 1), U16(kMail, 74, 2525),
            Str(kMail, 76, "u"), Str(kMail, 108, "p"), Str(kMail, 140, "s@x"), Str(kMail, 204, "a"),
            Zeros(kMail, 268, 128)}),
        Ok("TextOf63StoredOf64IgnoredNumbersCut", "nxmailsvc.cgi",
           kM1 + "SmtpPort=0x10019&AuthLogin=257&EnableSvc=-1&SmtpServer=" + q63 + "&Sender=" + q64,
           kMailStart, {Str(kMail, 8, q63), U16(kMail, 74, 25), U8(kMail, 72, 1), U32(kMail, 4, -1)}),
        No("MailModuleFourFails", "nxmailsvc.cgi", "NxModId=4&NxCgiVer=1&EnableSvc=1"),
        No("MailVersionTwoFails", "nxmailsvc.cgi", "NxModId=1&NxCgiVer=2&EnableSvc=1"),
        No("MailShortFileFails", "nxmailsvc.cgi", kM1 + "EnableSvc=1", {File(kMail, Pattern(4571))}),
        Ok("LongerFileSavedAtSizeIdsLow16", "nxmailsvc.cgi", "NxModId=65537&NxCgiVer=65537&EnableSvc=7",
           {File(kMail, Pattern(4573))}, {File(kMail, Pattern(4572)), U32(kMail, 4, 7)}),
        // One above each cap; an empty number changes nothing.
        Ok("MailPortCapsImageAndQueueCount", "nxmailsvcport.cgi",
           kM1 + "PortId=2&ImageCount=11&QueueCount=12&PauseTime=", kMailStart,
           {U32(kMail, MailPort(2) + 340, 10), U32(kMail, MailPort(2) + 336, 10)}),
        Ok("MailPortQueueCountCappedByStoredImageCount", "nxmailsvcport.cgi",
           kM1 + "PortId=65538&QueueCount=50", kMailStart, {U32(kMail, MailPort(2) + 336, 4)}),
        Ok("MailPortTextsAndCategories", "nxmailsvcport.cgi",
           kM1 + "PortId=3&PauseTime=9&Subject=&TextMessage3=hello&ValueCatType2=6&ValueCatType0=5&"
                 "ValueCatType1=",
           kMailStart,
           {U32(kMail, MailPort(3) + 344, 9), Zeros(kMail, MailPort(3), 64),
            Str(kMail, MailPort(3) + 268, "hello"), U8(kMail, MailPort(3) + 264, 0),
            U8(kMail, MailPort(3) + 128, 5)}),
        No("MailPortIdAboveThreeIsPrinted", "nxmailsvcport.cgi", kM1 + "PortId=4", {},
           "NxCgi_MailSvcPortCfgFunc PortId = [4]: PortId ERROR!!!<br>\n"),
        No("MailPortIdMissingIsPrintedAsMinusOne", "nxmailsvcport.cgi", kM1 + "PauseTime=1", {},
           "NxCgi_MailSvcPortCfgFunc PortId = [-1]: PortId ERROR!!!<br>\n"),
        No("MailPortLoadFailureIsPrinted", "nxmailsvcport.cgi", kM1 + "PortId=1", {File(kMail, "short")},
           "NxCgi_MailSvcPortCfgFunc PortId = [1]: LoadSvcCfgFile() ERROR!!!<br>\n"),
        // The page after the save is the epilogue's business (see the maintenance cases).
        CgiCase("MailPortWithEpilogue", "nxmailsvcport.cgi", kM1 + "PortId=3&ImageCount=5&SaveCfg=YES",
                kMailStart, {U32(kMail, MailPort(3) + 340, 5)}, kHeader, {"/usr/sbin/savecfg"}),
        Ok("DiCgiHeader", "nxdicgi.cgi",
           "NxModId=1&NxCgiVer=1&EnableSvc=1&CgiPath=%2Fcgi%0D%0Abin&IpAddrMain=&IpAddrAux3=10.0.0.1"
           "&SvcPort=8080&SvcMode=2&User=&Passwd=",
           kDiCgiStart,
           {U32(kDiCgi, 4, 1), Str(kDiCgi, 176, "/cgi\nbin"), Zeros(kDiCgi, 8, 40),
            Str(kDiCgi, 128, "10.0.0.1"), U32(kDiCgi, 168, 8080), U32(kDiCgi, 172, 2)}),
        Ok("DiCgiValuesAndIdsOfLongTexts", "nxdicgiport.cgi",
           "NxModId=" + z140 + "1&NxCgiVer=" + z140 + "1&PortId=" + z140 +
               "65538&CgiName=" + std::string(200, 'c'),
           kDiCgiStart, {Str(kDiCgi, 496 + 952 * 2, std::string(200, 'c'))}),
        Ok("EventUploadHeader", "nxftpsig.cgi",
           "NxModId=1&NxCgiVer=1&EnableSvc=1&ServerIp=127.0.0.1&BaseDir=%2Fup&BaseFile=123456789&User=anon"
           "&Passwd=pw&DirNameFlag=16&FileNameFlag=2&PassiveMode=1&DateDescMode=3&FtpCtrlPort=2121"
           "&FixedPort=20000&SeqModulo=9",
           kFtpSigStart,
           {U32(kFtpSig, 4, 1), Str(kFtpSig, 8, "127.0.0.1"), Str(kFtpSig, 136, "/up"),
            Str(kFtpSig, 200, "123456789"), Str(kFtpSig, 72, "anon"), Str(kFtpSig, 104, "pw"),
            U32(kFtpSig, 212, 16), U32(kFtpSig, 216, 2), U8(kFtpSig, 220, 1), U8(kFtpSig, 221, 3),
            U16(kFtpSig, 222, 2121), U32(kFtpSig, 224, 20000)}),
        Ok("IntervalUploadHeaderLiesFourBytesFurther", "nxftpdur.cgi",
           kM1 + "SeqModulo=0&DirNameFlag=16&PassiveMode=1&FixedPort=20000&BaseFile=0123456789", kFtpDurStart,
           {U32(kFtpDur, 212, 1), U32(kFtpDur, 216, 16), U8(kFtpDur, 224, 1), U32(kFtpDur, 228, 20000)}),
        Ok("EventUploadPortCaps", "nxftpsigport.cgi",
           kM1 + "PortId=1&ImageCount=257&QueueCount=299&PauseTime=5&ReadyTime=6", kFtpSigStart,
           {U32(kFtpSig, 228 + 712 + 4, 256), U32(kFtpSig, 228 + 712, 256), U32(kFtpSig, 228 + 712 + 8, 5),
            U32(kFtpSig, 228 + 712 + 12, 6)}),
        No("EventUploadPortIdIsTheWholeNumber", "nxftpsigport.cgi", kM1 + "PortId=65537&PauseTime=5"),
        Ok("IntervalUploadPort", "nxftpdurport.cgi", kM1 + "PortId=3&PauseTime=60", kFtpDurStart,
           {U32(kFtpDur, 232 + 700 * 3, 60)}),
        Ok("ImageHold", "nxiholdsvc.cgi", kM1 + "EnableSvc=9", {}, {U32(kHold, 4, 9)}),
        Ok("ImageHoldPortHasNoCaps", "nxiholdsvcport.cgi",
           kM1 + "PortId=2&ImageCount=500&QueueCount=600&PauseTime=3", {},
           {U32(kHold, 8 + 708 * 2 + 4, 500), U32(kHold, 8 + 708 * 2, 600), U32(kHold, 8 + 708 * 2 + 8, 3)}),
        Ok("DigitalOutput", "nxdosvc.cgi", "NxModId=1&NxCgiVer=0&EnableSvc=5", {}, {U32(kDOut, 4, 5)}),
        Ok("DigitalOutputPort", "nxdosvcport.cgi", kM1 + "PortId=1&DoDuration=0x10", {},
           {U32(kDOut, 8 + 700, 16)}),
        Ok("Call", "nxcall.cgi", kM1 + "EnableSvc=6", {}, {U32(kCall, 4, 6)}),
        Ok("AoipEmptyServerKept", "nxaoip.cgi",
           kM1 + "EnableSvc=7&Server=&RegisterId=1&HttpAoip=2&NvcpAoip=3&VdcpAoip=4&ReseAoip=5",
           {Str(kAoip, 8, "sip")},
           {U32(kAoip, 4, 7), U32(kAoip, 72, 1), U32(kAoip, 76, 2), U32(kAoip, 80, 3), U32(kAoip, 84, 4),
            U32(kAoip, 88, 5)}),
        No("ImageHoldMissingFileFails", "nxiholdsvcport.cgi", kM1 + "PortId=0&PauseTime=1", {Gone(kHold)}),
        // Conditions of every service: the record each request saves.
        Cond("CondOnlyIdsResetsTimesAndFlags", "SvcId=0&MinId=1&CondId=0", Reset(C2(0), 744 + 1044)),
        Cond("CondAllFields",
             "SvcId=0&MinId=3&CondId=1&Used=1&Desc=front%20door&SMon=1&SDay=2&SHour=3&SMin=4&EMon=5&EDay=6"
             "&EHour=7&EMin=8&Weekday=0x7f&LevelHig=1&LevelHig_AuxEvent=2&LevelLow=3&EdgeRise=4&EdgeFall=5",
             Reset(C2(0), 744 + 1044 * 3 + 232,
                   {U32("", 4, 1), Str("", 104, "front door"), U32("", 20, 1), U32("", 32, 2), U32("", 44, 3),
                    U32("", 56, 4), U32("", 24, 5), U32("", 36, 6), U32("", 48, 7), U32("", 60, 8),
                    U32("", 64, 127), U32("", 84, 1), U32("", 88, 2), U32("", 92, 3), U32("", 68, 4),
                    U32("", 76, 5)})),
        Cond("CondEventUploadThirdRecord", "SvcId=2&MinId=3&CondId=2&SMon=12",
             Reset(C2(2), 244 + 712 * 3 + 464, {U32("", 20, 12)})),
        Cond("CondEmptyTimeCountsAsNotGiven", "SvcId=1&MinId=0&CondId=0&SMon=&EMin=-5",
             Reset(C2(1), 752, {U32("", 60, -5)})),
        Cond("CondDescOf127IsStored", "SvcId=4&MinId=2&CondId=1&Desc=" + std::string(127, 'd'),
             Reset(C2(4), 20 + 708 * 2 + 232, {Str("", 104, std::string(127, 'd'))})),
        Cond("CondDescOf128Kept", "SvcId=5&MinId=1&CondId=0&Desc=" + std::string(128, 'd'),
             Reset(C2(5), 12 + 700)),
        Cond("CondIntervalUpload", "SvcId=6&MinId=3&CondId=0", Reset(C2(6), 236 + 700 * 3)),
        Cond("CondOneTableIgnoresEntry", "SvcId=8&MinId=5&CondId=0&Used=3", Reset(C2(8), 8, {U32("", 4, 3)})),
        CondNo("CondIdThree", "NxCgiVer=1&NxModId=2&SvcId=0&MinId=0&CondId=3"),
        CondNo("CondIdMissing", "NxCgiVer=1&NxModId=2&SvcId=0&MinId=0"),
        CondNo("SvcIdNine", "NxCgiVer=1&NxModId=2&SvcId=9&MinId=0&CondId=0"),
        CondNo("MinIdSix", "NxCgiVer=1&NxModId=2&SvcId=8&MinId=6&CondId=0"),
        CondNo("MinIdFourOfAPortService", "NxCgiVer=1&NxModId=2&SvcId=0&MinId=4&CondId=0"),
        // Image buffers, RAM-disk keep ratios, the dial-up medium.
        Ok("BufPort", "nxibufdevport.cgi", "NxModId=65537&NxCgiVer=1&PortId=2&PreBuffDepth=5&PerPauseTime=6",
           kBufStart, {U32(kBuf, 20, 5), U32(kBuf, 24, 6)}),
        No("BufPortAboveThreeFails", "nxibufdevport.cgi", kM1 + "PortId=4&PreBuffDepth=5", kBufStart),
        No("BufPortShort", "nxibufdevport.cgi", kM1 + "PortId=0&PreBuffDepth=5", {File(kBuf, Pattern(35))}),
        Ok("BufAllPorts", "nxibufdev.cgi", kM1 + "BuffDepth0=1&PauseTime0=2&BuffDepth2=5&PauseTime3=9",
           kBufStart, {U32(kBuf, 4, 1), U32(kBuf, 8, 2), U32(kBuf, 20, 5), U32(kBuf, 32, 9)}),
        BufSays("BufAllVersionMissing", "NxModId=1&BuffDepth0=1", "Invalid CgiVer = ffff<br>\n"),
        BufSays("BufAllModuleMissing", "NxCgiVer=1&BuffDepth0=1", "Invalid NxModId = -1<br>\n"),
        BufSays("BufAllShortFile", kM1 + "BuffDepth0=1", "CfgFileRead(ImgBufConf.bin) error <br>\n", 20),
        Ok("RdskEqualRatioWritesNothing", "nxrdskbuff.cgi", "NxCgiVer=1&KeepPerTempRatio1=8", kRdskStart, {}),
        Ok("RdskNegativeRatioIsIgnored", "nxrdskbuff.cgi", "NxCgiVer=1&KeepPerTempRatio2=-5", kRdskStart, {}),
        Ok("RdskNewRatioClearsBothTables", "nxrdskbuff.cgi", "NxCgiVer=1&KeepPerTempRatio2=0", kRdskStart,
           {U32(kRdsk, 8, 0), Zeros(kRdsk, 16, 32)}),
        No("RdskVersionMissingFails", "nxrdskbuff.cgi", "KeepPerTempRatio2=0", kRdskStart),
        Ok("DialUpMediaType", "nxdialup.cgi", "NxCgiVer=1&MediaType=3", {File(kDial, Pattern(8))},
           {U32(kDial, 4, 3)}),
        No("DialUpShortFileFails", "nxdialup.cgi", "NxCgiVer=1&MediaType=3", {File(kDial, Pattern(7))}),
        // PTZ: the model catalogue's defaults, the modules, the preset names.
        PtzSet("PtzNoDeviceKeepsModelDefaultMarks", 0xffff, kThree, "", 0xff, 0xff),
        PtzSet("PtzModelGivesBaudIndexAndLineMode", 2, kThree, "", 5, 4),
        PtzSet("PtzGivenValuesStay", 1, kThree, "", 3, 9, "PtzBaudRateIdx=3&PtzLineMode=9"),
        PtzSet("PtzBaudNotInTableGivesIndexZero", 0, PtzCat({{1, 1520, 14400, 2}}), "", 0, 2),
        PtzSet("PtzShortRootCatalogueGivesWayToFactoryCopy", 1, std::string(1000, 'x'),
               PtzCat({{1, 1520, 300, 1}, {7, 1520, 57600, 8}}), 9, 8),
        // The root copy must be shorter than the 173824 bytes the handler reads.
        PtzSet("PtzFullRootCopyGivesWay", 0, PtzCat({{1, 173824, 2400, 1}}) + std::string(173824 - 1520, 0),
               PtzCat({{1, 1520, 57600, 8}}), 9, 8),
        PtzSet("PtzNoCatalogueGives9600AndLineModeOne", 0, "", "", 6, 1),
        PtzSet("PtzMarkOtherThanOneMeansNoModels", 1, "\x02" + kThree.substr(1), "", 6, 1),
        PtzSet("PtzDeviceIdBeyondTheModels", 3, kThree, "", 6, 1),
        // -4: taken as an index, it would pick a record before the walk's (-32768 would read zeros there,
        // which look like model 0).
        PtzSet("PtzNegativeIdIsModel0", 0xfffc, PtzCat({{1, 1520, 2400, 2}, {7, 1520, 4800, 3}}), "", 4, 2),
        PtzSet("PtzSizeBelowFixedPart", 1, PtzCat({{1, 1495, 2400, 2}, {7, 1520, 4800, 3}}), "", 6, 1),
        // The second record read exactly as far as its line mode word, and one byte less.
        PtzSet("PtzRecordReadUpToItsLineModeCounts", 1, kThree.substr(0, 1520 + 68), "", 7, 3),
        PtzSet("PtzRecordCutInsideItsLineModeDoesNot", 1, kThree.substr(0, 1520 + 67), "", 6, 1),
        CgiCase("PtzControlModeModulesUnusablePidFile", "nxptzset.cgi",
                "NxCgiVer=1&PtzCtlMode=2&PtzInstFlag0=1&PtzBaseAddr0=33&PtzInstFlag3=1&PtzBaseAddr2=0x10",
                Cat(kPtzStart, {File("/var/run/nxcamctld.pid", "none\n")}),
                {U8(kPtz, 3, 2), U32(kPtz, 8 + 4, 1), U32(kPtz, 8, 33), U32(kPtz, 8 + 65688 * 3 + 4, 1),
                 U32(kPtz, 8 + 65688 * 2, 16), File(kMark, "33\n")},
                kHeader, kUart, "[nxcamctld] Err : Send SIGUSR1 to nxcamctld.\n"),
        No("PtzShortFileFails", "nxptzset.cgi", "NxCgiVer=1&PtzCtlMode=1", {File(kPtz, Pattern(262759))}),
        No("PtzVersionTwoFails", "nxptzset.cgi", "NxCgiVer=2&PtzCtlMode=1", kPtzStart),
        Ok("PtzModuleSetChangesOnlyThatModule", "nxptzmodset.cgi", "NxCgiVer=1&NxModId=2&PtzBaseAddr=5",
           kPtzStart, {U32(kPtz, 8 + 65688 * 2, 5)}),
        CgiCase("PtzModuleSetModuleSeven", "nxptzmodset.cgi", "NxCgiVer=1&NxModId=7&PtzInstFlag=1", kPtzStart,
                {}, kHeader + Alert("nxptzmodset.cgi", "Invalid NxModId = 7<br>\n")),
        // An empty name clears it; 64 characters are too many.
        Ok("PtzPresetNamesOfOnePort", "nxptzportset.cgi",
           "NxCgiVer=1&NxModId=2&PortId=3&PresetName7=&PresetName0=home&PresetName255=" +
               std::string(63, 'z') + "&PresetName9=" + std::string(64, 'y') + "&PresetName0=later",
           kPtzStart,
           {Zeros(kPtz, kNames + 64 * 7, 64), Str(kPtz, kNames, "home"),
            Str(kPtz, kNames + 64 * 255, std::string(63, 'z'))}),
        No("PtzPortSetShortFileWritesNothing", "nxptzportset.cgi",
           "NxCgiVer=1&NxModId=2&PortId=3&PresetName0=a", {File(kPtz, Pattern(262759))}),
        CgiCase("PtzPortSetModuleFourIsPrinted", "nxptzportset.cgi",
                "NxCgiVer=1&NxModId=4&PortId=0&PresetName0=a", kPtzStart, {},
                kHeader + "Invalid NxModId = 4<br>\n"),
        CgiCase("PtzPortSetPortMissingIsPrinted", "nxptzportset.cgi", "NxCgiVer=1&NxModId=1&PresetName0=a",
                kPtzStart, {}, kHeader + "Invalid PortId = -1<br>\n"),
        // Sensor: the model type decides which fields a request takes.
        Sns("SensorModelEqualToTheCountStoresMinusOne", "SensorModel=3&" + kAll, kTypes043, 0,
            Cat(kAiming, {U32(kSns, 4, -1)})),
        Sns("SensorOsdModelTakesOsdAndLinkedFieldsInitStreamOf119",
            "SensorModel=2&SnsInitStream=" + s119 + "&" + kAll, kTypes043, -1,
            Cat(kLinked, {U32(kSns, 4, 2), U32(kSns, 8, 21), U32(kSns, 12, 22), Str(kSns, 40, s119),
                          U32(kSns, 36, 119)})),
        Sns("SensorLinkedModelInitStreamOf120", "SensorModel=1&SnsInitStream=" + s119 + "s&" + kAll,
            SnsCat({{300, 0}, {300, 1}}), -1, Cat(kLinked, {U32(kSns, 4, 1)})),
        Sns("SensorTypeTwoTakesOnlyTheCommonFields", "SensorModel=0&" + kAll, SnsCat({{300, 2}}), -1,
            Cat(kCommon, {U32(kSns, 4, 0)})),
        Sns("SensorStoredModelRulesBadAddressIgnored", "RelayIpAddr=192.168.0&RelayTcpPort=8000", kTypes043,
            1, {U16(kSns, 12, 8000)}),
        // The second record, a relay, read exactly as far as its type word, and one byte less.
        Sns("SensorRelayRecordReadUpToItsTypeCounts", "SensorModel=1&" + kAll, kTypes043.substr(0, 300 + 44),
            -1, Cat(kRelay, {U32(kSns, 4, 1)})),
        Sns("SensorRecordCutInsideItsTypeDoesNot", "SensorModel=1&" + kAll, kTypes043.substr(0, 300 + 43), 0,
            Cat(kAiming, {U32(kSns, 4, -1)})),
        Sns("SensorNoCatalogueStoresMinusOne", "SensorModel=0&SnsAimPosition=5", "", 1,
            {U32(kSns, 4, -1), U32(kSns, 8, 5)}),
        No("SensorShortFileFails", "nxsnsset.cgi", "NxCgiVer=1&LowerLimit=1", {File(kSns, Pattern(159))}),
        No("SensorVersionMissingFails", "nxsnsset.cgi", "LowerLimit=1", {File(kSns, Pattern(160))})),
    testing::PrintToStringParamName());

}  // namespace
