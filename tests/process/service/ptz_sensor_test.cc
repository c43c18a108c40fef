// PTZ and sensor settings through the real executable, with the model
// catalogues as the device keeps them and as malformed files.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include "harness/bytes.h"
#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"

namespace {

using harness::Bytes;

using harness::ErrorPage;
const std::string kHeader = harness::kHtmlHeader;
constexpr std::size_t kPtzConfSize = 262760;
constexpr const char* kPtzConf = "/opt/vsb/etc/NxConf/PtzConf.bin";
constexpr const char* kSensorConf = "/opt/vsb/etc/NxConf/SensorConf.bin";

constexpr std::size_t ModuleBlock(int m) { return 8 + 65688 * m; }
constexpr std::size_t PresetName(int m, int p, int i) { return ModuleBlock(m) + 8 + 16420 * p + 4 + 64 * i; }

struct PtzModel {
  int32_t baud;
  uint32_t line_mode;
  uint32_t size = 1496 + 24;  // what the record says its size is
};

constexpr std::size_t kPtzRecordBytes = 1496 + 24;  // what each record really takes

Bytes PtzCatalogue(const std::vector<PtzModel>& models, uint32_t first_word = 1) {
  Bytes bytes;
  for (std::size_t i = 0; i < models.size(); ++i) {
    Bytes record = harness::PatternBytes(kPtzRecordBytes, 3);
    harness::PutU32(record, 0, i == 0 ? first_word : 7);
    harness::PutU32(record, 4, models[i].size);
    harness::PutU32(record, 48, static_cast<uint32_t>(models[i].baud));
    harness::PutU32(record, 64, 0xabcd0000 | models[i].line_mode);
    bytes += record;
  }
  return bytes;
}

Bytes PtzStart() {
  Bytes bytes = harness::PatternBytes(kPtzConfSize);
  harness::PutU16(bytes, 4, 0xffff);
  return bytes;
}

struct PtzCase {
  const char* test_name;
  std::string form;
  Bytes catalogue;          // root PtzModel.bin; empty: none
  Bytes factory_catalogue;  // /web/img/PtzModel.bin; empty: none
  // What the line settings must hold afterwards; unset: as they were.
  uint16_t device_id;
  std::optional<uint8_t> baud_index;
  std::optional<uint8_t> line_mode;
};

class PtzSet : public testing::TestWithParam<PtzCase> {};

TEST_P(PtzSet, StoresSettingsAndModelDefaults) {
  const PtzCase& c = GetParam();
  harness::DeviceRoot root;
  const Bytes start = PtzStart();
  root.WriteFile(kPtzConf, start);
  // The factory catalogues give way to the case's own, or to none.
  root.Remove("/opt/vsb/etc/NxConf/PtzModel.bin");
  root.Remove("/web/img/PtzModel.bin");
  if (!c.catalogue.empty()) root.WriteFile("/opt/vsb/etc/NxConf/PtzModel.bin", c.catalogue);
  if (!c.factory_catalogue.empty()) root.WriteFile("/web/img/PtzModel.bin", c.factory_catalogue);

  const harness::ProcessResult result = harness::PostCgi("nxptzset.cgi", "NxCgiVer=1&" + c.form, root.path());

  EXPECT_EQ(result.out, kHeader);
  Bytes expected = start;
  harness::PutU16(expected, 4, c.device_id);
  if (c.baud_index) harness::PutU8(expected, 6, *c.baud_index);
  if (c.line_mode) harness::PutU8(expected, 7, *c.line_mode);
  const Bytes saved = root.ReadFile(kPtzConf);
  EXPECT_EQ(harness::DescribeDifference(expected, saved), "");
  EXPECT_EQ(root.Journal(), std::vector<std::string>{"/etc/init.d/uartsvc restart"});
  EXPECT_EQ(root.ReadFile("/tmp/ChkPtzConfChg"),
            std::to_string(static_cast<int32_t>(harness::GetU32(saved, ModuleBlock(0)))) + "\n");
  EXPECT_EQ(result.err, "[/var/run/nxcamctld.pid] nxcamctld pid file is not found.\n");
}

const std::vector<PtzModel> kThreeModels = {{9600, 2}, {19200, 3}, {4800, 4}};
constexpr std::nullopt_t kAsBefore = std::nullopt;

INSTANTIATE_TEST_SUITE_P(Cases, PtzSet,
                         testing::Values(PtzCase{"NoDeviceKeepsModelDefaultMarks",
                                                 "PtzDeviceId=65535&PtzBaudRateIdx=255&PtzLineMode=255",
                                                 PtzCatalogue(kThreeModels),
                                                 {},
                                                 0xffff,
                                                 0xff,
                                                 0xff},
                                         PtzCase{"ModelSuppliesBaudIndexAndLineMode",
                                                 "PtzDeviceId=2&PtzBaudRateIdx=255&PtzLineMode=255",
                                                 PtzCatalogue(kThreeModels),
                                                 {},
                                                 2,
                                                 5,
                                                 4},
                                         PtzCase{"GivenValuesStay",
                                                 "PtzDeviceId=1&PtzBaudRateIdx=3&PtzLineMode=9",
                                                 PtzCatalogue(kThreeModels),
                                                 {},
                                                 1,
                                                 3,
                                                 9},
                                         PtzCase{"BaudNotInTableGivesIndexZero",
                                                 "PtzDeviceId=0&PtzBaudRateIdx=255",
                                                 PtzCatalogue({{14400, 2}}),
                                                 {},
                                                 0,
                                                 0,
                                                 kAsBefore},
                                         PtzCase{"ShortRootCatalogueFallsBackToTheFactoryCopy",
                                                 "PtzDeviceId=1&PtzBaudRateIdx=255", Bytes(1000, 'x'),
                                                 PtzCatalogue({{300, 1}, {57600, 8}}), 1, 9, kAsBefore},
                                         PtzCase{"NoCatalogueAtAllGivesNineThousandSixHundredAndOne",
                                                 "PtzDeviceId=0&PtzBaudRateIdx=255&PtzLineMode=255",
                                                 {},
                                                 {},
                                                 0,
                                                 6,
                                                 1},
                                         PtzCase{"FirstWordOtherThanOneMeansNoModels",
                                                 "PtzDeviceId=1&PtzBaudRateIdx=255&PtzLineMode=255",
                                                 PtzCatalogue(kThreeModels, 2),
                                                 {},
                                                 1,
                                                 6,
                                                 1},
                                         PtzCase{"DeviceIdBeyondTheModels",
                                                 "PtzDeviceId=3&PtzBaudRateIdx=255",
                                                 PtzCatalogue(kThreeModels),
                                                 {},
                                                 3,
                                                 6,
                                                 kAsBefore},
                                         PtzCase{"NegativeDeviceIdSelectsTheFirstModel",
                                                 "PtzDeviceId=0x8000&PtzBaudRateIdx=255",
                                                 PtzCatalogue({{2400, 1}, {4800, 1}}),
                                                 {},
                                                 0x8000,
                                                 4,
                                                 kAsBefore},
                                         PtzCase{"RecordSizeZeroEndsTheWalk",
                                                 "PtzDeviceId=1&PtzBaudRateIdx=255",
                                                 PtzCatalogue({{2400, 1, 0}, {4800, 1}}),
                                                 {},
                                                 1,
                                                 6,
                                                 kAsBefore},
                                         PtzCase{"RecordSizeBelowTheFixedPartEndsTheWalk",
                                                 "PtzDeviceId=1&PtzBaudRateIdx=255",
                                                 PtzCatalogue({{2400, 1, 1495}, {4800, 1}}),
                                                 {},
                                                 1,
                                                 6,
                                                 kAsBefore},
                                         PtzCase{"LastRecordMayReachPastTheEnd",
                                                 "PtzDeviceId=1&PtzBaudRateIdx=255",
                                                 PtzCatalogue({{2400, 1}, {4800, 1, 99999}}),
                                                 {},
                                                 1,
                                                 5,
                                                 kAsBefore},
                                         // 1596 bytes: the second record is cut after its
                                         // line mode word (68 bytes are needed of it).
                                         PtzCase{"CatalogueCutInsideTheLastRecordStillHasIt",
                                                 "PtzDeviceId=1&PtzBaudRateIdx=255&PtzLineMode=255",
                                                 PtzCatalogue(kThreeModels).substr(0, kPtzRecordBytes + 76),
                                                 {},
                                                 1,
                                                 7,
                                                 3},
                                         PtzCase{"CatalogueCutBeforeTheLineModeWordLacksTheModel",
                                                 "PtzDeviceId=1&PtzBaudRateIdx=255&PtzLineMode=255",
                                                 PtzCatalogue(kThreeModels).substr(0, kPtzRecordBytes + 67),
                                                 {},
                                                 1,
                                                 6,
                                                 1}),
                         [](const auto& info) { return std::string(info.param.test_name); });

TEST(PtzSet, ControlModeAndModuleFlagsAndAddresses) {
  harness::DeviceRoot root;
  const Bytes start = PtzStart();
  root.WriteFile(kPtzConf, start);
  EXPECT_EQ(harness::PostCgi(
                "nxptzset.cgi",
                "NxCgiVer=1&PtzCtlMode=2&PtzInstFlag0=1&PtzBaseAddr0=33&PtzInstFlag3=1&PtzBaseAddr2=0x10",
                root.path())
                .out,
            kHeader);
  Bytes expected = start;
  harness::PutU8(expected, 3, 2);
  harness::PutU32(expected, ModuleBlock(0) + 4, 1);
  harness::PutU32(expected, ModuleBlock(0), 33);
  harness::PutU32(expected, ModuleBlock(3) + 4, 1);
  harness::PutU32(expected, ModuleBlock(2), 16);
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(kPtzConf)), "");
  EXPECT_EQ(root.ReadFile("/tmp/ChkPtzConfChg"), "33\n");
}

TEST(PtzSet, NotifiesTheCameraControlDaemonWithSignal12) {
  harness::DeviceRoot root;
  root.WriteFile(kPtzConf, PtzStart());
  sigset_t signals;
  sigemptyset(&signals);
  sigaddset(&signals, 12);
  sigprocmask(SIG_BLOCK, &signals, nullptr);
  const pid_t daemon = fork();
  if (daemon == 0) {
    timespec limit{10, 0};
    _exit(sigtimedwait(&signals, nullptr, &limit) == 12 ? 0 : 1);
  }
  sigprocmask(SIG_UNBLOCK, &signals, nullptr);
  root.WriteFile("/var/run/nxcamctld.pid", std::to_string(daemon) + "\n");

  const harness::ProcessResult result = harness::PostCgi("nxptzset.cgi", "NxCgiVer=1", root.path());

  int status = 0;
  waitpid(daemon, &status, 0);
  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "the daemon received no signal 12";
  EXPECT_EQ(result.err, "[nxcamctld] Send SIGUSR1 to nxcamctld.\n");
  EXPECT_EQ(result.out, kHeader);
}

TEST(PtzSet, UnusablePidFileIsLoggedAndTheRequestSucceeds) {
  harness::DeviceRoot root;
  root.WriteFile(kPtzConf, PtzStart());
  root.WriteFile("/var/run/nxcamctld.pid", "none\n");
  const harness::ProcessResult result = harness::PostCgi("nxptzset.cgi", "NxCgiVer=1", root.path());
  EXPECT_EQ(result.err, "[nxcamctld] Err : Send SIGUSR1 to nxcamctld.\n");
  EXPECT_EQ(result.out, kHeader);
}

TEST(PtzSet, FailuresLeaveTheFileAndRunNothing) {
  harness::DeviceRoot root;
  const Bytes start = PtzStart();
  root.WriteFile(kPtzConf, start.substr(0, kPtzConfSize - 1));
  EXPECT_EQ(harness::PostCgi("nxptzset.cgi", "NxCgiVer=1&PtzCtlMode=1", root.path()).out,
            kHeader + ErrorPage("nxptzset.cgi", ""));
  root.WriteFile(kPtzConf, start);
  EXPECT_EQ(harness::PostCgi("nxptzset.cgi", "NxCgiVer=2&PtzCtlMode=1", root.path()).out,
            kHeader + ErrorPage("nxptzset.cgi", ""));
  EXPECT_EQ(root.ReadFile(kPtzConf), start);
  EXPECT_TRUE(root.Journal().empty());
  EXPECT_FALSE(root.Exists("/tmp/ChkPtzConfChg"));
}

TEST(PtzModSet, ChangesOnlyThatModule) {
  harness::DeviceRoot root;
  const Bytes start = PtzStart();
  root.WriteFile(kPtzConf, start);
  EXPECT_EQ(harness::PostCgi("nxptzmodset.cgi", "NxCgiVer=1&NxModId=2&PtzBaseAddr=5", root.path()).out,
            kHeader);
  Bytes expected = start;
  harness::PutU32(expected, ModuleBlock(2), 5);
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(kPtzConf)), "");

  EXPECT_EQ(harness::PostCgi("nxptzmodset.cgi", "NxCgiVer=1&NxModId=7&PtzInstFlag=1", root.path()).out,
            kHeader + ErrorPage("nxptzmodset.cgi", "Invalid NxModId = 7<br>\n"));
  EXPECT_EQ(harness::PostCgi("nxptzmodset.cgi", "NxCgiVer=1&PtzInstFlag=1", root.path()).out,
            kHeader + ErrorPage("nxptzmodset.cgi", "Invalid NxModId = -1<br>\n"));
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(kPtzConf)), "");
}

TEST(PtzPortSet, PresetNamesOfOnePort) {
  harness::DeviceRoot root;
  const Bytes start = PtzStart();
  root.WriteFile(kPtzConf, start);
  const std::string form =
      "NxCgiVer=1&NxModId=2&PortId=3&PresetName7=&PresetName0=home&PresetName255=" + std::string(63, 'z') +
      "&PresetName9=" + std::string(64, 'y');
  EXPECT_EQ(harness::PostCgi("nxptzportset.cgi", form, root.path()).out, kHeader);
  Bytes expected = start;
  harness::PutZeros(expected, PresetName(2, 3, 7), 64);
  harness::PutString(expected, PresetName(2, 3, 0), "home");
  harness::PutString(expected, PresetName(2, 3, 255), std::string(63, 'z'));
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(kPtzConf)), "");
}

TEST(PtzPortSet, InvalidIdsArePrintedInThePage) {
  harness::DeviceRoot root;
  const Bytes start = PtzStart();
  root.WriteFile(kPtzConf, start);
  EXPECT_EQ(
      harness::PostCgi("nxptzportset.cgi", "NxCgiVer=1&NxModId=4&PortId=0&PresetName0=a", root.path()).out,
      kHeader + "Invalid NxModId = 4<br>\n");
  EXPECT_EQ(harness::PostCgi("nxptzportset.cgi", "NxCgiVer=1&NxModId=1&PresetName0=a", root.path()).out,
            kHeader + "Invalid PortId = -1<br>\n");
  EXPECT_EQ(root.ReadFile(kPtzConf), start);
}

// Sensor settings.

struct SensorModel {
  uint32_t type;
  uint32_t size = 288 + 12;  // what the record says its size is
};

constexpr std::size_t kSensorRecordBytes = 288 + 12;

Bytes SensorCatalogue(const std::vector<SensorModel>& models) {
  Bytes bytes;
  for (const SensorModel& model : models) {
    Bytes record = harness::PatternBytes(kSensorRecordBytes, 4);
    harness::PutU32(record, 0, model.size);
    harness::PutU32(record, 40, model.type);
    bytes += record;
  }
  return bytes;
}

struct SensorCase {
  const char* test_name;
  std::string form;
  Bytes catalogue;  // empty: none
  int32_t stored_model;
  void (*expect)(Bytes&);
};

class SensorSet : public testing::TestWithParam<SensorCase> {};

TEST_P(SensorSet, WritesTheFieldSetOfTheModelType) {
  const SensorCase& c = GetParam();
  harness::DeviceRoot root;
  Bytes start = harness::PatternBytes(160);
  harness::PutU32(start, 4, static_cast<uint32_t>(c.stored_model));
  harness::PutString(start, 40, "init");
  root.WriteFile(kSensorConf, start);
  root.Remove("/opt/vsb/etc/NxConf/SensorModel.bin");
  root.Remove("/web/img/SensorModel.bin");
  if (!c.catalogue.empty()) root.WriteFile("/opt/vsb/etc/NxConf/SensorModel.bin", c.catalogue);

  const harness::ProcessResult result = harness::PostCgi("nxsnsset.cgi", "NxCgiVer=1&" + c.form, root.path());

  EXPECT_EQ(result.out, kHeader);
  Bytes expected = start;
  harness::PutU32(expected, 36, 4);  // the length of the stored stream, recomputed on every save
  c.expect(expected);
  EXPECT_EQ(harness::DescribeDifference(expected, root.ReadFile(kSensorConf)), "");
  EXPECT_EQ(root.Journal(), std::vector<std::string>{"/etc/init.d/uartsvc restart"});
}

const Bytes kTypes0433 = SensorCatalogue({{0}, {4}, {3}});
const std::string kAllFields =
    "SnsAimPosition=11&CamAimPosition=12&AddVehicleLeng=13&OsdStartX=21&OsdStartY=22&LinkedModId=0x10002"
    "&LinkedPortId=259&RelayIpAddr=192.168.0.10&RelayTcpPort=8000&RelayUdpPort=8001&LowerLimit=1&UpperLimit=2"
    "&EnableDelay=3&ProcessDelay=4";

void ExpectCommonFields(Bytes& b) {
  harness::PutU32(b, 20, 1);
  harness::PutU32(b, 24, 2);
  harness::PutU32(b, 28, 3);
  harness::PutU32(b, 32, 4);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, SensorSet,
    testing::Values(
        SensorCase{"ModelBeyondTheCatalogueStoresMinusOne", "SensorModel=3&" + kAllFields, kTypes0433, 0,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 0xffffffff);
                     harness::PutU32(b, 8, 11);
                     harness::PutU32(b, 12, 12);
                     harness::PutU32(b, 16, 13);
                     ExpectCommonFields(b);
                   }},
        SensorCase{"RelayModel", "SensorModel=1&" + kAllFields, kTypes0433, -1,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 1);
                     harness::PutU8(b, 8, 0xc0);
                     harness::PutU8(b, 9, 0xa8);
                     harness::PutU8(b, 10, 0x00);
                     harness::PutU8(b, 11, 0x0a);
                     harness::PutU16(b, 12, 8000);
                     harness::PutU16(b, 14, 8001);
                     ExpectCommonFields(b);
                   }},
        SensorCase{"OsdModelTakesOsdAndLinkedFields", "SensorModel=2&" + kAllFields, kTypes0433, -1,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 2);
                     harness::PutU32(b, 8, 21);
                     harness::PutU32(b, 12, 22);
                     harness::PutU16(b, 16, 2);
                     harness::PutU8(b, 18, 3);
                     ExpectCommonFields(b);
                   }},
        SensorCase{"LinkedModel", "SensorModel=1&" + kAllFields, SensorCatalogue({{0}, {1}}), -1,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 1);
                     harness::PutU16(b, 16, 2);
                     harness::PutU8(b, 18, 3);
                     ExpectCommonFields(b);
                   }},
        SensorCase{"TypeTwoTakesOnlyTheCommonFields", "SensorModel=0&" + kAllFields, SensorCatalogue({{2}}),
                   -1,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 0);
                     ExpectCommonFields(b);
                   }},
        SensorCase{"StoredModelDecidesWithoutTheField", kAllFields, kTypes0433, 1,
                   [](Bytes& b) {
                     harness::PutU8(b, 8, 0xc0);
                     harness::PutU8(b, 9, 0xa8);
                     harness::PutU8(b, 10, 0x00);
                     harness::PutU8(b, 11, 0x0a);
                     harness::PutU16(b, 12, 8000);
                     harness::PutU16(b, 14, 8001);
                     ExpectCommonFields(b);
                   }},
        // 348 bytes: the second record is cut after its type word (44 bytes
        // are needed of it).
        SensorCase{"CatalogueCutInsideTheLastRecordStillHasIt", "SensorModel=1&" + kAllFields,
                   kTypes0433.substr(0, kSensorRecordBytes + 48), -1,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 1);
                     harness::PutU8(b, 8, 0xc0);
                     harness::PutU8(b, 9, 0xa8);
                     harness::PutU8(b, 10, 0x00);
                     harness::PutU8(b, 11, 0x0a);
                     harness::PutU16(b, 12, 8000);
                     harness::PutU16(b, 14, 8001);
                     ExpectCommonFields(b);
                   }},
        SensorCase{"CatalogueCutBeforeTheTypeWordLacksTheModel", "SensorModel=1&" + kAllFields,
                   kTypes0433.substr(0, kSensorRecordBytes + 43), 0,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 0xffffffff);
                     harness::PutU32(b, 8, 11);
                     harness::PutU32(b, 12, 12);
                     harness::PutU32(b, 16, 13);
                     ExpectCommonFields(b);
                   }},
        SensorCase{"BadRelayAddressChangesNothing", "RelayIpAddr=192.168.0", kTypes0433, 1, [](Bytes&) {}},
        SensorCase{"NoCatalogueStoresMinusOneAndTheAimingSet",
                   "SensorModel=0&SnsAimPosition=5",
                   {},
                   1,
                   [](Bytes& b) {
                     harness::PutU32(b, 4, 0xffffffff);
                     harness::PutU32(b, 8, 5);
                   }},
        SensorCase{"InitStreamLengthIsStored", "SnsInitStream=0123456789", kTypes0433, 0,
                   [](Bytes& b) {
                     harness::PutString(b, 40, "0123456789");
                     harness::PutU32(b, 36, 10);
                   }},
        SensorCase{"InitStreamOf120IsIgnored", "SnsInitStream=" + std::string(120, 's'), kTypes0433, 0,
                   [](Bytes&) {}},
        SensorCase{"InitStreamOf119IsStored", "SnsInitStream=" + std::string(119, 's'), kTypes0433, 0,
                   [](Bytes& b) {
                     harness::PutString(b, 40, std::string(119, 's'));
                     harness::PutU32(b, 36, 119);
                   }},
        SensorCase{"ZeroSizedRecordEndsTheWalk", "SensorModel=1", SensorCatalogue({{0, 0}, {4}}), 0,
                   [](Bytes& b) { harness::PutU32(b, 4, 0xffffffff); }}),
    [](const auto& info) { return std::string(info.param.test_name); });

TEST(SensorSet, FailuresLeaveTheFileAndRestartNothing) {
  harness::DeviceRoot root;
  root.WriteFile(kSensorConf, harness::PatternBytes(159));
  EXPECT_EQ(harness::PostCgi("nxsnsset.cgi", "NxCgiVer=1&LowerLimit=1", root.path()).out,
            kHeader + ErrorPage("nxsnsset.cgi", ""));
  root.WriteFile(kSensorConf, harness::PatternBytes(160));
  EXPECT_EQ(harness::PostCgi("nxsnsset.cgi", "LowerLimit=1", root.path()).out,
            kHeader + ErrorPage("nxsnsset.cgi", ""));
  EXPECT_EQ(root.ReadFile(kSensorConf), harness::PatternBytes(160));
  EXPECT_TRUE(root.Journal().empty());
}

}  // namespace
