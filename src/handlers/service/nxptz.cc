// nxptzset.cgi (the line and model), nxptzmodset.cgi (one module's
// installation) and nxptzportset.cgi (one port's preset names): the three
// editors of PtzConf.bin and its process-wide image.
#include <signal.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/catalogue.h"
#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/layouts/known_files.h"
#include "handlers/handler.h"
#include "handlers/record_edit.h"
#include "platform/command.h"
#include "platform/host_root.h"
#include "platform/numbers.h"
#include "platform/pid_file.h"
#include "platform/regular_file.h"
#include "platform/text_view.h"

namespace {

using config::FieldRef;
using config::MustFind;

constexpr const char* kPtzConfFile = "PtzConf.bin";
constexpr const char* kPtzModelFile = "PtzModel.bin";
constexpr const char* kFactoryPtzModel = "/web/img/PtzModel.bin";
constexpr int kCatalogueCapacity = static_cast<int>(config::kPtzModelFileLimit);
constexpr uint16_t kNoPtzDevice = 0xffff;
constexpr uint8_t kModelDefault = 0xff;
constexpr int kCamctldSignal = 12;  // the camera control daemon's notification signal
constexpr const char* kChangeMark = "/tmp/ChkPtzConfChg";
constexpr const char* kCamctldPidFile = "/var/run/nxcamctld.pid";

constexpr FieldRef kModules = MustFind(config::kPtzConf, "Module");
constexpr FieldRef kDeviceId = MustFind(config::kPtzConf, "PtzDeviceId");
constexpr FieldRef kBaudRateIdx = MustFind(config::kPtzConf, "PtzBaudRateIdx");
constexpr FieldRef kLineMode = MustFind(config::kPtzConf, "PtzLineMode");
constexpr FieldRef kInstFlag = MustFind(config::kPtzModuleBlock, "PtzInstFlag");
constexpr FieldRef kBaseAddr = MustFind(config::kPtzModuleBlock, "PtzBaseAddr");
constexpr FieldRef kPorts = MustFind(config::kPtzModuleBlock, "Port");
constexpr FieldRef kPresetNames = MustFind(config::kPtzPortBlock, "PresetName");
constexpr FieldRef kCatalogMark = MustFind(config::kPtzModel, "CatalogMark");
constexpr FieldRef kDefaultBaud = MustFind(config::kPtzModel, "DefaultBaud");
constexpr FieldRef kDefaultLineMode = MustFind(config::kPtzModel, "DefaultLineMode");
// A model counts when its record was read as far as the words taken from it.
constexpr config::CatalogueShape kPtzModelShape = config::ShapeOf(config::kPtzModel);
constexpr uint32_t kModelWordsEnd = kDefaultLineMode.offset + kDefaultLineMode.width;
static_assert(kDefaultBaud.offset < kDefaultLineMode.offset);

constexpr int32_t kPtzBaudRates[] = {0,     110,   300,   1200,   2400,   4800,   9600,
                                     19200, 38400, 57600, 115200, 230400, 460800, 921600};

uint8_t g_ptz_image[config::kPtzConf.size];

FieldRef Module(uint32_t module) { return kModules.At(module); }

bool LoadPtzConf() { return CfgFileLoadRecord(kCfgRootModule, kPtzConfFile, g_ptz_image); }

bool WritePtzConf() { return CfgFileWrite(kCfgRootModule, kPtzConfFile, g_ptz_image) >= 0; }

bool SavePtzConf(const WorkingCopy& copy) {
  copy.StoreInto(g_ptz_image);
  return WritePtzConf();
}

// The preset index that a form name "PresetName<i>" gives, <i> written as
// "%u" writes it and below count; -1 for any other name.
int PresetIndexOf(std::string_view name, uint32_t count) {
  constexpr std::string_view kPrefix = "PresetName";
  uint32_t index = 0;
  if (!name.starts_with(kPrefix) || !platform::ParseIndex(platform::From(name, kPrefix.size()), &index))
    return -1;
  return index < count ? static_cast<int>(index) : -1;
}

struct ModelDefaults {
  int32_t baud = 9600;
  uint8_t line_mode = 1;
};

// The default baud rate and line mode of the model a device id names.
ModelDefaults FindModelDefaults(uint16_t device_id) {
  ModelDefaults defaults;
  if (device_id == kNoPtzDevice) return defaults;
  auto* buffer = static_cast<uint8_t*>(std::malloc(kCatalogueCapacity));
  if (buffer == nullptr) return defaults;
  const int count = config::ReadCatalogue(kPtzModelFile, kFactoryPtzModel, buffer, kCatalogueCapacity,
                                          static_cast<int>(config::kPtzModel.size));
  const std::span<const uint8_t> bytes(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
  if (bytes.size() >= config::kPtzModel.size && config::LoadNumber(bytes, kCatalogMark) == 1) {
    config::CatalogueRecord models[config::kMaxCatalogueModels];
    const int model_count = config::WalkCatalogue(bytes, kPtzModelShape, kModelWordsEnd, models).count;
    int model = static_cast<int16_t>(device_id);
    if (model < 0) model = 0;
    if (model < model_count) {
      const auto record = bytes.subspan(models[model].offset);
      defaults.baud = static_cast<int32_t>(config::LoadNumber(record, kDefaultBaud));
      defaults.line_mode = static_cast<uint8_t>(config::LoadNumber(record, kDefaultLineMode));
    }
  }
  std::free(buffer);
  return defaults;
}

uint8_t BaudRateIndex(int32_t baud) {
  for (uint8_t i = 0; i < std::size(kPtzBaudRates); ++i) {
    if (kPtzBaudRates[i] == baud) return i;
  }
  return 0;
}

void WriteChangeMark() {
  const platform::HostPath path = platform::MapPath(kChangeMark);
  const int fd = platform::OpenFixedFileForWrite(path.c_str(), true);
  std::FILE* mark = fd >= 0 ? fdopen(fd, "w") : nullptr;
  if (mark == nullptr) {
    if (fd >= 0) close(fd);
    std::fprintf(stderr, "[%s] fopen %s fail \n", "NxCgi_PtzConfSetCgifunc", kChangeMark);
    return;
  }
  std::fprintf(mark, "%d\n", static_cast<int>(config::LoadNumber(g_ptz_image, Module(0).Then(kBaseAddr))));
  std::fclose(mark);
}

void NotifyCamctld() {
  switch (platform::SignalPidFile(kCamctldPidFile, "nxcamctld", kCamctldSignal)) {
    case platform::PidSignal::kSent:
      std::fprintf(stderr, "[nxcamctld] Send SIGUSR1 to nxcamctld.\n");
      break;
    case platform::PidSignal::kNoPidFile:
      std::fprintf(stderr, "[%s] nxcamctld pid file is not found.\n", kCamctldPidFile);
      break;
    case platform::PidSignal::kNotTheDaemon:  // said by SignalPidFile
      break;
    case platform::PidSignal::kNoPid:
    case platform::PidSignal::kKillFailed:
      std::fprintf(stderr, "[nxcamctld] Err : Send SIGUSR1 to nxcamctld.\n");
      break;
  }
}

}  // namespace

int NxCgi_PtzConfSetCgifunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk() || !LoadPtzConf()) return -1;
  WorkingCopy copy(g_ptz_image);
  if (!copy.ok()) return -1;
  const std::span<uint8_t> conf = copy.bytes();

  ApplyFormNumber(conf, MustFind(config::kPtzConf, "PtzCtlMode"), "PtzCtlMode");
  ApplyFormNumber(conf, kDeviceId, "PtzDeviceId");
  const auto device_id = static_cast<uint16_t>(config::LoadNumber(conf, kDeviceId));
  const ModelDefaults defaults = FindModelDefaults(device_id);
  ApplyFormNumber(conf, kBaudRateIdx, "PtzBaudRateIdx");
  ApplyFormNumber(conf, kLineMode, "PtzLineMode");
  if (device_id != kNoPtzDevice) {
    if (config::LoadNumber(conf, kBaudRateIdx) == kModelDefault) {
      config::StoreNumber(conf, kBaudRateIdx, BaudRateIndex(defaults.baud));
    }
    if (config::LoadNumber(conf, kLineMode) == kModelDefault) {
      config::StoreNumber(conf, kLineMode, defaults.line_mode);
    }
  }
  for (uint32_t module = 0; module <= kLastId; ++module) {
    char name[32];
    std::snprintf(name, sizeof name, "PtzInstFlag%u", module);
    ApplyFormNumber(conf, Module(module).Then(kInstFlag), name);
    std::snprintf(name, sizeof name, "PtzBaseAddr%u", module);
    ApplyFormNumber(conf, Module(module).Then(kBaseAddr), name);
  }
  if (!SavePtzConf(copy)) return -1;

  platform::RunServiceScript("/etc/init.d/uartsvc", "restart");
  WriteChangeMark();
  NotifyCamctld();
  return 1;
}

int NxCgi_PtzModSetCgifunc(char* err_msg) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  const IdField module = ReadModuleIdField();
  if (!IsValidId(module)) {
    CgiSetErrMsg(err_msg, "Invalid NxModId = %d<br>\n", module.ValueOr(-1));
    return -1;
  }
  if (!LoadPtzConf()) return -1;
  WorkingCopy copy(g_ptz_image);
  if (!copy.ok()) return -1;
  ApplyFormNumber(copy.bytes(), Module(module.value).Then(kInstFlag), "PtzInstFlag");
  ApplyFormNumber(copy.bytes(), Module(module.value).Then(kBaseAddr), "PtzBaseAddr");
  return SavePtzConf(copy) ? 1 : -1;
}

// Answers invalid ids in the page and returns 0, so no alert page follows.
int NxCgi_PtzPortSetCgifunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  const IdField module = ReadModuleIdField();
  if (!IsValidId(module)) {
    std::printf("Invalid NxModId = %d<br>\n", module.ValueOr(-1));
    return 0;
  }
  const IdField port = ReadPortIdField(PortIdBits::kLow16);
  if (!IsValidId(port)) {
    std::printf("Invalid PortId = %d<br>\n", port.ValueOr(-1));
    return 0;
  }
  const FieldRef names = Module(module.value).Then(kPorts.At(port.value)).Then(kPresetNames);
  // Only the port's names are read and written: the rest of the file (256
  // KiB) is copied by the kernel when it is saved.
  const std::span<uint8_t> port_names =
      std::span(g_ptz_image).subspan(names.offset, names.count * names.stride);
  if (!CfgFileLoadSlice(kCfgRootModule, kPtzConfFile, sizeof g_ptz_image, names.offset, port_names))
    return -1;
  // The names are edited where they were read: the slice is this request's own.
  FieldRef slice_names = names;
  slice_names.offset = 0;
  // A form names a few of the 256 presets: walk the form once rather than
  // look up every name. The first field of a name is the one that counts (a
  // name gives one index, an index one name), so later ones are skipped
  // without a lookup: a form of many repeated names takes linear time.
  std::array<bool, kPresetNames.count> taken{};  // no heap: the product links without libstdc++
  for (const CgiFormEntry* entry = CgiFormHead(); entry != nullptr; entry = entry->next) {
    const int index = PresetIndexOf(entry->name, names.count);
    if (index < 0 || taken[static_cast<std::size_t>(index)]) continue;
    taken[static_cast<std::size_t>(index)] = true;
    char value[kFieldBufferSize];
    const int result = CgiGetEntryValue(entry, value, sizeof value);
    const FieldRef name = slice_names.At(static_cast<uint32_t>(index));
    if (result == CGI_FIELD_OK) {
      config::StoreText(port_names, name, value);  // 64 characters or more are ignored
    } else if (result == CGI_FIELD_EMPTY) {
      config::ClearField(port_names, name);
    }
  }
  return CfgFilePatch(kCfgRootModule, kPtzConfFile, sizeof g_ptz_image, names.offset, port_names) >= 0 ? 1
                                                                                                       : -1;
}
