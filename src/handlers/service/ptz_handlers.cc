#include "handlers/service/ptz_handlers.h"

#include <signal.h>

#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

#include "cgi/cgi_request.h"
#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/layouts/known_files.h"
#include "config/svc_cfg_file.h"
#include "front/handler_table.h"
#include "handlers/form_fields.h"
#include "handlers/service/model_catalogue.h"
#include "platform/command.h"
#include "platform/host_root.h"
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
constexpr FieldRef kRecordSize = MustFind(config::kPtzModel, "RecordSize");
constexpr FieldRef kDefaultBaud = MustFind(config::kPtzModel, "DefaultBaud");
constexpr FieldRef kDefaultLineMode = MustFind(config::kPtzModel, "DefaultLineMode");

constexpr int32_t kPtzBaudRates[] = {0,     110,   300,   1200,   2400,   4800,   9600,
                                     19200, 38400, 57600, 115200, 230400, 460800, 921600};

uint8_t g_ptz_image[config::kPtzConf.size];

FieldRef Module(int module) { return kModules.At(static_cast<uint32_t>(module)); }

// NxModId or PortId by its low 16 bits; -1 when absent.
int ReadLow16(const char* name) {
  uint32_t value = 0;
  return ReadFormNumber(name, &value) ? static_cast<int>(value & 0xffff) : -1;
}

bool LoadPtzConf() {
  return CfgFileReadForEdit(kCfgRootModule, kPtzConfFile, g_ptz_image) ==
         static_cast<int>(sizeof g_ptz_image);
}

bool WritePtzConf() { return CfgFileWrite(kCfgRootModule, kPtzConfFile, g_ptz_image) >= 0; }

bool SavePtzConf(const WorkingCopy& copy) {
  copy.StoreInto(g_ptz_image);
  return WritePtzConf();
}

// The preset index that a form name "PresetName<i>" gives, <i> written as
// "%u" writes it and below count; -1 for any other name.
int PresetIndexOf(std::string_view name, uint32_t count) {
  constexpr std::string_view kPrefix = "PresetName";
  if (!name.starts_with(kPrefix)) return -1;
  const std::string_view digits = platform::From(name, kPrefix.size());
  if (digits.empty() || digits.size() > 9 || (digits.size() > 1 && digits[0] == '0')) return -1;
  uint32_t index = 0;
  for (const char digit : digits) {
    if (digit < '0' || digit > '9') return -1;
    index = index * 10 + static_cast<uint32_t>(digit - '0');
  }
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
  const int count = ReadCatalogue(kPtzModelFile, kFactoryPtzModel, buffer, kCatalogueCapacity,
                                  static_cast<int>(config::kPtzModel.size));
  const std::span<const uint8_t> bytes(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
  if (bytes.size() >= config::kPtzModel.size && config::LoadNumber(bytes, kCatalogMark) == 1) {
    const ModelCatalogue catalogue = WalkCatalogue(bytes, config::kPtzModel.size, kRecordSize.offset);
    int model = static_cast<int16_t>(device_id);
    if (model < 0) model = 0;
    if (model < catalogue.count) {
      const auto record = bytes.subspan(catalogue.offsets[model]);
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
  std::FILE* mark = std::fopen(path.c_str(), "w");
  if (mark == nullptr) {
    std::fprintf(stderr, "[%s] fopen %s fail \n", "NxCgi_PtzConfSetCgifunc", kChangeMark);
    return;
  }
  std::fprintf(mark, "%d\n", static_cast<int>(config::LoadNumber(g_ptz_image, Module(0).Then(kBaseAddr))));
  std::fclose(mark);
}

void NotifyCamctld() {
  const platform::HostPath path = platform::MapPath(kCamctldPidFile);
  std::FILE* pid_file = std::fopen(path.c_str(), "r");
  if (pid_file == nullptr) {
    std::fprintf(stderr, "[%s] nxcamctld pid file is not found.\n", kCamctldPidFile);
    return;
  }
  int pid = 0;
  const bool read = std::fscanf(pid_file, "%d", &pid) == 1;
  std::fclose(pid_file);
  // A pid of 0 or below would signal a whole process group.
  if (!read || pid <= 0 || kill(pid, kCamctldSignal) != 0) {
    std::fprintf(stderr, "[nxcamctld] Err : Send SIGUSR1 to nxcamctld.\n");
    return;
  }
  std::fprintf(stderr, "[nxcamctld] Send SIGUSR1 to nxcamctld.\n");
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
  for (int module = 0; module < 4; ++module) {
    char name[32];
    std::snprintf(name, sizeof name, "PtzInstFlag%d", module);
    ApplyFormNumber(conf, Module(module).Then(kInstFlag), name);
    std::snprintf(name, sizeof name, "PtzBaseAddr%d", module);
    ApplyFormNumber(conf, Module(module).Then(kBaseAddr), name);
  }
  if (!SavePtzConf(copy)) return -1;

  platform::ShellCommand restart;
  restart.Path("/etc/init.d/uartsvc").Text(" restart >/dev/null");
  platform::RunCommand(restart);
  WriteChangeMark();
  NotifyCamctld();
  return 1;
}

int NxCgi_PtzModSetCgifunc(char* err_msg) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  const int module = ReadLow16("NxModId");
  if (module < 0 || module > 3) {
    std::snprintf(err_msg, kCgiErrMsgSize, "Invalid NxModId = %d<br>\n", module);
    return -1;
  }
  if (!LoadPtzConf()) return -1;
  WorkingCopy copy(g_ptz_image);
  if (!copy.ok()) return -1;
  ApplyFormNumber(copy.bytes(), Module(module).Then(kInstFlag), "PtzInstFlag");
  ApplyFormNumber(copy.bytes(), Module(module).Then(kBaseAddr), "PtzBaseAddr");
  return SavePtzConf(copy) ? 1 : -1;
}

// Answers invalid ids in the page and returns 0, so no alert page follows.
int NxCgi_PtzPortSetCgifunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  const int module = ReadLow16("NxModId");
  if (module < 0 || module > 3) {
    std::printf("Invalid NxModId = %d<br>\n", module);
    return 0;
  }
  const int port = ReadLow16("PortId");
  if (port < 0 || port > 3) {
    std::printf("Invalid PortId = %d<br>\n", port);
    return 0;
  }
  if (!LoadPtzConf()) return -1;
  const FieldRef names = Module(module).Then(kPorts.At(static_cast<uint32_t>(port))).Then(kPresetNames);
  // The working copy holds the port's names only, not the whole file (256 KiB).
  const std::span<uint8_t> port_names =
      std::span(g_ptz_image).subspan(names.offset, names.count * names.stride);
  WorkingCopy copy(port_names);
  if (!copy.ok()) return -1;
  FieldRef copy_names = names;
  copy_names.offset = 0;
  // A form names a few of the 256 presets: walk the form rather than look up
  // every name. The first field of a name is the one that counts.
  for (const CgiFormEntry* entry = CgiFormHead(); entry != nullptr; entry = entry->next) {
    const int index = PresetIndexOf(entry->name, names.count);
    if (index < 0 || CgiFindEntry(entry->name) != entry) continue;
    char value[128];
    const int result = CgiGetField(entry->name, value, sizeof value);
    const FieldRef name = copy_names.At(static_cast<uint32_t>(index));
    if (result == CGI_FIELD_OK) {
      config::StoreText(copy.bytes(), name, value);  // 64 characters or more are ignored
    } else if (result == CGI_FIELD_EMPTY) {
      config::ClearField(copy.bytes(), name);
    }
  }
  copy.StoreInto(port_names);
  return WritePtzConf() ? 1 : -1;
}
