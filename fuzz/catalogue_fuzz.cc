// The PTZ and sensor model catalogues. The input's first byte chooses the
// catalogue (bit 0) and whether it stands in the configuration root or only
// as the factory copy (bit 1); the second byte is the model the request
// selects; the rest is the catalogue file. The walker is checked directly,
// then the handler reads the file and looks the model's defaults up.
#include <cstdint>
#include <cstdio>
#include <span>
#include <string>

#include "cgi/cgi_request.h"
#include "config/catalogue.h"
#include "config/layouts/ptz_model.h"
#include "config/layouts/sensor_model.h"
#include "front/dispatcher.h"
#include "fuzz_sandbox.h"
#include "fuzz_target.h"
#include "platform/le_bytes.h"

namespace {

void Check(bool condition) {
  if (!condition) __builtin_trap();
}

// Every record the walker counts has the part its reader needs inside the
// bytes, and records follow each other.
void CheckWalk(std::span<const uint8_t> bytes, const config::Layout& fixed_part, uint32_t needed) {
  config::CatalogueRecord records[config::kMaxCatalogueModels];
  const config::CatalogueWalk walk =
      config::WalkCatalogue(bytes, config::ShapeOf(fixed_part), needed, records);
  Check(walk.count >= 0 && walk.count <= config::kMaxCatalogueModels);
  for (int i = 0; i < walk.count; ++i) {
    Check(static_cast<uint64_t>(records[i].offset) + needed <= bytes.size());
    Check(static_cast<uint64_t>(records[i].offset) + records[i].present <= bytes.size());
    if (i > 0) Check(records[i].offset > records[i - 1].offset);
  }
}

struct CatalogueCase {
  const char* file_name;
  const char* cgi_name;
  const char* form_format;  // with the model number
  const config::Layout* fixed_part;
  uint32_t needed;  // the words the handler reads from a model
};

constexpr CatalogueCase kCases[] = {
    {"PtzModel.bin", "nxptzset.cgi", "NxCgiVer=1&PtzDeviceId=%d&PtzBaudRateIdx=255&PtzLineMode=255",
     &config::kPtzModel, 68},
    {"SensorModel.bin", "nxsnsset.cgi",
     "NxCgiVer=1&SensorModel=%d&SnsAimPosition=1&LinkedModId=2&OsdStartX=3&RelayIpAddr=10.0.0.1&"
     "SnsInitStream=ab",
     &config::kSensorModel, 44},
};

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  fuzz::SetUpSandbox();
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  fuzz::SetUpSandbox();
  const CatalogueCase& c = kCases[data[0] & 1];
  const bool factory_only = (data[0] & 2) != 0;
  // 0..254 select models; 255 stands for "none" (-1, or 0xFFFF for PTZ).
  const int model = data[1] == 255 ? (c.fixed_part == &config::kPtzModel ? 65535 : -1) : data[1];
  const std::span<const uint8_t> bytes(data + 2, size - 2);

  CheckWalk(bytes, *c.fixed_part, c.needed);
  fuzz::EnterSandbox();

  const std::string root_copy = std::string("/opt/vsb/etc/NxConf/") + c.file_name;
  const std::string factory_copy = std::string("/web/img/") + c.file_name;
  if (factory_only) {
    std::remove(fuzz::SandboxHostPath(root_copy).c_str());
    fuzz::WriteSandboxFile(factory_copy, bytes.data(), bytes.size());
  } else {
    fuzz::WriteSandboxFile(root_copy, bytes.data(), bytes.size());
  }

  fuzz::ResetProductState();
  char form[256];
  const int length = std::snprintf(form, sizeof form, c.form_format, model);
  CgiParseForm(form, static_cast<std::size_t>(length));
  char argv0[64];
  std::snprintf(argv0, sizeof argv0, "/web/cgi-bin/%s", c.cgi_name);
  char* argv[] = {argv0, nullptr};
  CgiDispatch(1, argv);
  fuzz::ResetProductState();
  fuzz::RestoreSandbox();
  fuzz::LeaveSandbox();
  return 0;
}
