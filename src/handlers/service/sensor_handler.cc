#include "handlers/service/sensor_handler.h"

#include <arpa/inet.h>

#include <cstdlib>
#include <cstring>

#include "cgi/cgi_request.h"
#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/layouts/known_files.h"
#include "config/svc_cfg_file.h"
#include "front/nx_cgi_util.h"
#include "handlers/form_fields.h"
#include "handlers/service/model_catalogue.h"
#include "platform/command.h"

namespace {

using config::FieldRef;
using config::MustFind;

constexpr const char* kSensorConfFile = "SensorConf.bin";
constexpr const char* kSensorModelFile = "SensorModel.bin";
constexpr const char* kFactorySensorModel = "/web/img/SensorModel.bin";
constexpr int kCatalogueCapacity = 6080;

constexpr FieldRef kSensorModel = MustFind(config::kSensorConf, "SensorModel");
constexpr FieldRef kRelayIpAddr = MustFind(config::kSensorConf, "RelayIpAddr");
constexpr FieldRef kInitStream = MustFind(config::kSensorConf, "SnsInitStream");
constexpr FieldRef kInitStreamLength = MustFind(config::kSensorConf, "SnsInitStreamLen");
constexpr FieldRef kRecordSize = MustFind(config::kSensorModel, "RecordSize");
constexpr FieldRef kModelType = MustFind(config::kSensorModel, "ModelType");

uint8_t g_sensor_image[config::kSensorConf.size];

struct NamedField {
  const char* name;
  FieldRef field;
};

consteval NamedField Field(const char* name) { return {name, MustFind(config::kSensorConf, name)}; }

// The field sets, each in the order the handler applies it.
constexpr NamedField kAimingFields[] = {Field("SnsAimPosition"), Field("CamAimPosition"),
                                        Field("AddVehicleLeng")};
constexpr NamedField kLinkedFields[] = {Field("LinkedModId"), Field("LinkedPortId")};
constexpr NamedField kOsdFields[] = {Field("OsdStartX"), Field("OsdStartY"), Field("LinkedModId"),
                                     Field("LinkedPortId")};
constexpr NamedField kRelayPorts[] = {Field("RelayTcpPort"), Field("RelayUdpPort")};
constexpr NamedField kCommonFields[] = {Field("EnableDelay"), Field("ProcessDelay"), Field("LowerLimit"),
                                        Field("UpperLimit")};

void Apply(std::span<uint8_t> conf, std::span<const NamedField> fields) {
  for (const NamedField& field : fields) ApplyFormNumber(conf, field.field, field.name);
}

void ApplyRelayAddress(std::span<uint8_t> conf) {
  char text[128];
  if (CgiGetField("RelayIpAddr", text, sizeof text) != CGI_FIELD_OK) return;
  in_addr address;
  if (inet_pton(AF_INET, text, &address) != 1) return;
  std::memcpy(conf.data() + kRelayIpAddr.offset, &address.s_addr, 4);  // network byte order
}

enum class FieldSet { kAiming, kLinked, kOsd, kRelay, kNone, kNoMemory };

FieldSet FieldSetOfType(int64_t type) {
  switch (type) {
    case 0:
      return FieldSet::kAiming;
    case 1:
      return FieldSet::kLinked;
    case 3:
      return FieldSet::kOsd;
    case 4:
      return FieldSet::kRelay;
    default:
      return FieldSet::kNone;
  }
}

// Stores a given SensorModel (-1 when the catalogue lacks it) and returns the
// field set of the stored model: the aiming set when there is none.
FieldSet SelectFieldSet(std::span<uint8_t> conf) {
  auto* buffer = static_cast<uint8_t*>(std::malloc(kCatalogueCapacity));
  if (buffer == nullptr) return FieldSet::kNoMemory;
  const int count = ReadCatalogue(kSensorModelFile, kFactorySensorModel, buffer, kCatalogueCapacity,
                                  static_cast<int>(config::kSensorModel.size));
  const std::span<const uint8_t> bytes(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
  ModelCatalogue catalogue;
  if (bytes.size() >= config::kSensorModel.size) {
    catalogue = WalkCatalogue(bytes, config::kSensorModel.size, kRecordSize.offset);
  }

  uint32_t given = 0;
  if (ReadFormNumber("SensorModel", &given)) {
    config::StoreNumber(conf, kSensorModel, static_cast<int32_t>(given) < catalogue.count ? given : -1);
  }
  const int64_t model = config::LoadNumber(conf, kSensorModel);
  FieldSet set = FieldSet::kAiming;
  if (model >= 0 && model < catalogue.count) {
    set = FieldSetOfType(config::LoadNumber(bytes.subspan(catalogue.offsets[model]), kModelType));
  }
  std::free(buffer);
  return set;
}

}  // namespace

int NxCgi_SensorSetCgifunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  if (CfgFileReadForEdit(kCfgRootModule, kSensorConfFile, g_sensor_image) !=
      static_cast<int>(sizeof g_sensor_image)) {
    return -1;
  }
  WorkingCopy copy(g_sensor_image);
  if (!copy.ok()) return -1;
  const std::span<uint8_t> conf = copy.bytes();

  switch (SelectFieldSet(conf)) {
    case FieldSet::kNoMemory:
      return -1;
    case FieldSet::kAiming:
      Apply(conf, kAimingFields);
      break;
    case FieldSet::kLinked:
      Apply(conf, kLinkedFields);
      break;
    case FieldSet::kOsd:
      Apply(conf, kOsdFields);
      break;
    case FieldSet::kRelay:
      ApplyRelayAddress(conf);
      Apply(conf, kRelayPorts);
      break;
    case FieldSet::kNone:
      break;
  }
  Apply(conf, kCommonFields);
  char stream[128];
  if (CgiGetField("SnsInitStream", stream, sizeof stream) == CGI_FIELD_OK) {
    config::StoreText(conf, kInitStream, stream);  // 120 characters or more are ignored
  }
  config::StoreNumber(conf, kInitStreamLength, config::LoadText(conf, kInitStream).size());

  copy.StoreInto(g_sensor_image);
  if (CfgFileWrite(kCfgRootModule, kSensorConfFile, g_sensor_image) < 0) return -1;
  platform::ShellCommand restart;
  restart.Path("/etc/init.d/uartsvc").Text(" restart >/dev/null");
  platform::RunCommand(restart);
  return 1;
}
