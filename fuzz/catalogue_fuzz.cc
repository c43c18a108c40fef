// The PTZ and sensor model catalogues. The input's first byte chooses the
// catalogue (bit 0: sensor) and whether it stands in the configuration root
// or only as the factory copy (bit 1); the second byte is the model the
// request selects (255: none); the rest is the catalogue file. The walker is
// checked directly, then the handler reads the file and looks the model's
// defaults up.
#include "config/catalogue.h"
#include "config/layouts/ptz_model.h"
#include "config/layouts/sensor_model.h"
#include "fuzz_target.h"

const Sandbox sandbox;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const bool ptz = (data[0] & 1) == 0;
  const std::string file = ptz ? "PtzModel.bin" : "SensorModel.bin";
  const std::span<const uint8_t> bytes(data + 2, size - 2);
  // Every record the walker counts has the part its reader needs (the bytes
  // the handler reads from a model) inside the bytes, and records follow
  // each other.
  const uint32_t needed = ptz ? 68 : 44;
  config::CatalogueRecord r[config::kMaxCatalogueModels];
  const auto shape = config::ShapeOf(ptz ? config::kPtzModel : config::kSensorModel);
  const int count = config::WalkCatalogue(bytes, shape, needed, r).count;
  for (int i = 0; i < count; ++i)
    Check(count <= config::kMaxCatalogueModels &&
          r[i].offset + uint64_t{std::max(needed, r[i].present)} <= bytes.size() &&
          (i == 0 || r[i].offset > r[i - 1].offset));
  const std::string in_root = sandbox.root + "/opt/vsb/etc/NxConf/" + file;
  if (data[0] & 2) std::remove(in_root.c_str());
  std::ofstream(data[0] & 2 ? sandbox.root + "/web/img/" + file : in_root, std::ios::binary)
      << std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size());
  const std::string form =
      (ptz ? "NxCgiVer=1&PtzBaudRateIdx=255&PtzLineMode=255&PtzDeviceId="
           : "NxCgiVer=1&SnsAimPosition=1&LinkedModId=2&OsdStartX=3&RelayIpAddr=10.0.0.1&"
             "SnsInitStream=ab&SensorModel=") +
      std::to_string(data[1] == 255 ? (ptz ? 65535 : -1) : data[1]);
  RunCgi(ptz ? "nxptzset.cgi" : "nxsnsset.cgi", form.data(), form.size());
  return 0;
}
