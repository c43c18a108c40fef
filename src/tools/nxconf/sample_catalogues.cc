#include "tools/nxconf/sample_catalogues.h"

#include <cstdint>
#include <string_view>

#include "config/layouts/ptz_model.h"
#include "config/layouts/sensor_model.h"
#include "platform/le_bytes.h"

namespace nxconf {
namespace {

struct PtzSample {
  std::string_view name;
  std::int32_t baud;
  std::uint32_t line_mode;
};

// Model numbers are the positions: model 2 has 4800 baud (table index 5),
// model 3 has 14400 baud, which the baud-rate table lacks.
constexpr PtzSample kPtzSamples[] = {
    {"Pelco-D", 2400, 1},      {"Pelco-P", 9600, 1},    {"Vicon", 4800, 2},
    {"Legacy-14k4", 14400, 1}, {"Fast-38k4", 38400, 3},
};

// Two commands of the first pair descriptor: stop, pan left.
constexpr std::uint8_t kStopCommand[] = {0xFF, 0x01, 0x00, 0x00, 0x00, 0x00, 0x01};
constexpr std::uint8_t kPanLeftCommand[] = {0xFF, 0x01, 0x00, 0x04, 0x20, 0x00, 0x25};

struct SensorSample {
  std::string_view name;
  std::uint32_t type;
  std::string_view unit;
};

constexpr SensorSample kSensorSamples[] = {
    {"Loop-Detector", 0, "cm"},  {"Linked-Radar", 1, "km/h"}, {"Plain-Counter", 2, "n"},
    {"Osd-Radar", 3, "km/h"},    {"Relay-Bridge", 4, "ms"},   {"Loop-Detector-2", 0, "cm"},
    {"Linked-Laser", 1, "m"},    {"Plain-Gate", 2, "n"},      {"Osd-Laser", 3, "m"},
    {"Relay-Bridge-2", 4, "ms"},
};

void Append(Bytes& bytes, std::string_view text) { bytes.insert(bytes.end(), text.begin(), text.end()); }

}  // namespace

Bytes SamplePtzModelCatalogue() {
  constexpr config::FieldRef kMark = config::MustFind(config::kPtzModel, "CatalogMark");
  constexpr config::FieldRef kSize = config::MustFind(config::kPtzModel, "RecordSize");
  constexpr config::FieldRef kNumber = config::MustFind(config::kPtzModel, "ModelNumber");
  constexpr config::FieldRef kBaud = config::MustFind(config::kPtzModel, "DefaultBaud");
  constexpr config::FieldRef kLineMode = config::MustFind(config::kPtzModel, "DefaultLineMode");
  constexpr config::FieldRef kFirstLength = config::MustFind(config::kPtzModel, "PairDesc0.FirstLength");
  constexpr config::FieldRef kSecondLength = config::MustFind(config::kPtzModel, "PairDesc0.SecondLength");
  constexpr config::FieldRef kNameLength = config::MustFind(config::kPtzModel, "SingleDesc0.Length");
  Bytes catalogue;
  std::uint32_t number = 0;
  for (const PtzSample& sample : kPtzSamples) {
    Bytes record(config::kPtzModel.size, 0);
    platform::StoreU32(record, kMark.offset, 1);
    platform::StoreU32(record, kNumber.offset, number++);
    platform::StoreI32(record, kBaud.offset, sample.baud);
    platform::StoreU32(record, kLineMode.offset, sample.line_mode);
    platform::StoreU8(record, kFirstLength.offset, sizeof kStopCommand);
    platform::StoreU8(record, kSecondLength.offset, sizeof kPanLeftCommand);
    platform::StoreU8(record, kNameLength.offset, static_cast<std::uint8_t>(sample.name.size()));
    record.insert(record.end(), std::begin(kStopCommand), std::end(kStopCommand));
    record.insert(record.end(), std::begin(kPanLeftCommand), std::end(kPanLeftCommand));
    Append(record, sample.name);
    platform::StoreU32(record, kSize.offset, static_cast<std::uint32_t>(record.size()));
    catalogue.insert(catalogue.end(), record.begin(), record.end());
  }
  return catalogue;
}

Bytes SampleSensorModelCatalogue() {
  constexpr config::FieldRef kSize = config::MustFind(config::kSensorModel, "RecordSize");
  constexpr config::FieldRef kType = config::MustFind(config::kSensorModel, "ModelType");
  constexpr config::FieldRef kNameLength = config::MustFind(config::kSensorModel, "VarLength0");
  constexpr config::FieldRef kUnitLength = config::MustFind(config::kSensorModel, "VarLength1");
  Bytes catalogue;
  for (const SensorSample& sample : kSensorSamples) {
    Bytes record(config::kSensorModel.size, 0);
    platform::StoreU32(record, kType.offset, sample.type);
    platform::StoreU32(record, kNameLength.offset, static_cast<std::uint32_t>(sample.name.size()));
    platform::StoreU32(record, kUnitLength.offset, static_cast<std::uint32_t>(sample.unit.size()));
    Append(record, sample.name);
    Append(record, sample.unit);
    platform::StoreU32(record, kSize.offset, static_cast<std::uint32_t>(record.size()));
    catalogue.insert(catalogue.end(), record.begin(), record.end());
  }
  return catalogue;
}

}  // namespace nxconf
