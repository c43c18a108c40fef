#include "tools/nxconf/factory_defaults.h"

#include <cstring>

#include "config/field_access.h"
#include "config/layouts/known_files.h"
#include "tools/nxconf/record_access.h"

namespace nxconf {
namespace {

constexpr DefaultRow kRows[] = {
    // Condition records: no time window given.
    {&config::kSvcCond, "SMon", "-1"},
    {&config::kSvcCond, "EMon", "-1"},
    {&config::kSvcCond, "SDay", "-1"},
    {&config::kSvcCond, "EDay", "-1"},
    {&config::kSvcCond, "SHour", "-1"},
    {&config::kSvcCond, "EHour", "-1"},
    {&config::kSvcCond, "SMin", "-1"},
    {&config::kSvcCond, "EMin", "-1"},
    // Services are off (EnableSvc 0); the servers' usual ports.
    {&config::kMailConf, "SmtpPort", "25"},
    {&config::kFtpSigSvcConf, "ServerIp", "127.0.0.1"},
    {&config::kFtpSigSvcConf, "FtpCtrlPort", "21"},
    {&config::kFtpDurSvcConf, "ServerIp", "127.0.0.1"},
    {&config::kFtpDurSvcConf, "FtpCtrlPort", "21"},
    {&config::kFtpDurSvcConf, "SeqModulo", "1"},
    // No PTZ device; line settings from the model once one is chosen.
    {&config::kPtzConf, "PtzDeviceId", "0xFFFF"},
    {&config::kPtzConf, "PtzBaudRateIdx", "0xFF"},
    {&config::kPtzConf, "PtzLineMode", "0xFF"},
    // No sensor model.
    {&config::kSensorConf, "SensorModel", "-1"},
    // Serial output: 9600 baud, 8 data bits, 1 stop bit, no parity ('N').
    {&config::kUartOutConf, "BaudRate", "9600"},
    {&config::kUartOutConf, "DataBit", "8"},
    {&config::kUartOutConf, "StopBit", "1"},
    {&config::kUartOutConf, "ParityBit", "78"},
};

void ApplyFixed(std::span<std::uint8_t> bytes, const config::Field& field, std::uint32_t at) {
  config::FieldRef ref;
  ref.offset = at;
  ref.type = field.type;
  ref.width = field.width;
  if (field.type == config::FieldType::kRaw) {
    std::memset(bytes.data() + at, static_cast<int>(field.fixed_value & 0xFF), field.width);
  } else {
    config::StoreNumber(bytes, ref, field.fixed_value);
  }
}

void ApplyDefaults(std::span<std::uint8_t> bytes, const config::Layout& layout, std::uint32_t base) {
  for (const config::Field& field : layout.fields) {
    for (std::uint32_t i = 0; i < field.elements(); ++i) {
      const std::uint32_t at = base + field.ElementOffset(i);
      if (field.type == config::FieldType::kBlock) {
        ApplyDefaults(bytes, *field.block, at);
      } else if (field.role == config::FieldRole::kFixed) {
        ApplyFixed(bytes, field, at);
      }
    }
  }
  for (const DefaultRow& row : kRows) {
    if (row.layout != &layout) continue;
    config::FieldRef ref = config::FindField(layout, row.path);
    ref.offset += base;
    StoreValue(bytes, ref, row.path, row.value, "factory defaults");
  }
}

}  // namespace

std::span<const DefaultRow> FactoryDefaultRows() { return kRows; }

Bytes DefaultRecord(const config::Layout& layout) {
  Bytes bytes(layout.size, 0);
  ApplyDefaults(bytes, layout, 0);
  return bytes;
}

}  // namespace nxconf
