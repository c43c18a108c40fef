// nxsnsset.cgi: the external sensor's settings in SensorConf.bin; which
// fields apply depends on the type of the selected catalogue model.
#include <arpa/inet.h>

#include <cstdlib>
#include <cstring>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/catalogue.h"
#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/layouts/known_files.h"
#include "handlers/handler.h"
#include "handlers/record_edit.h"
#include "platform/command.h"

namespace {

using config::FieldRef;
using config::MustFind;

constexpr const char* kSensorConfFile = "SensorConf.bin";
constexpr const char* kSensorModelFile = "SensorModel.bin";
constexpr const char* kFactorySensorModel = "/web/img/SensorModel.bin";
constexpr int kCatalogueCapacity = static_cast<int>(config::kSensorModelFileLimit);

constexpr FieldRef kSensorModel = MustFind(config::kSensorConf, "SensorModel");
constexpr FieldRef kRelayIpAddr = MustFind(config::kSensorConf, "RelayIpAddr");
constexpr FieldRef kInitStream = MustFind(config::kSensorConf, "SnsInitStream");
constexpr FieldRef kInitStreamLength = MustFind(config::kSensorConf, "SnsInitStreamLen");
constexpr FieldRef kModelType = MustFind(config::kSensorModel, "ModelType");
// A model counts when its record was read as far as its type word.
constexpr config::CatalogueShape kSensorModelShape = config::ShapeOf(config::kSensorModel);
constexpr uint32_t kModelWordsEnd = kModelType.offset + kModelType.width;

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
  char text[kFieldBufferSize];
  if (!ReadGivenField("RelayIpAddr", text)) return;
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
  const int count = config::ReadCatalogue(kSensorModelFile, kFactorySensorModel, buffer, kCatalogueCapacity,
                                          static_cast<int>(config::kSensorModel.size));
  const std::span<const uint8_t> bytes(buffer, count > 0 ? static_cast<std::size_t>(count) : 0);
  config::CatalogueRecord models[config::kMaxCatalogueModels];
  int model_count = 0;
  if (bytes.size() >= config::kSensorModel.size) {
    model_count = config::WalkCatalogue(bytes, kSensorModelShape, kModelWordsEnd, models).count;
  }

  uint32_t given = 0;
  if (ReadFormNumber("SensorModel", &given)) {
    config::StoreNumber(conf, kSensorModel, static_cast<int32_t>(given) < model_count ? given : -1);
  }
  const int64_t model = config::LoadNumber(conf, kSensorModel);
  FieldSet set = FieldSet::kAiming;
  if (model >= 0 && model < model_count) {
    set = FieldSetOfType(config::LoadNumber(bytes.subspan(models[model].offset), kModelType));
  }
  std::free(buffer);
  return set;
}

}  // namespace

int NxCgi_SensorSetCgifunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  if (!CfgFileLoadRecord(kCfgRootModule, kSensorConfFile, g_sensor_image)) return -1;
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
  char stream[kFieldBufferSize];
  if (ReadGivenField("SnsInitStream", stream)) {
    config::StoreText(conf, kInitStream, stream);  // 120 characters or more are ignored
  }
  config::StoreNumber(conf, kInitStreamLength, config::LoadText(conf, kInitStream).size());

  copy.StoreInto(g_sensor_image);
  if (CfgFileWrite(kCfgRootModule, kSensorConfFile, g_sensor_image) < 0) return -1;
  platform::RunServiceScript("/etc/init.d/uartsvc", "restart");
  return 1;
}
