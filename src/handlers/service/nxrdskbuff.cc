// nxrdskbuff.cgi: the keep ratios of the four buffers in RdskBuffConf.bin.
#include <cstdio>
#include <cstring>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/layouts/known_files.h"
#include "handlers/handler.h"

namespace {

constexpr const char* kRdskBuffFile = "RdskBuffConf.bin";
constexpr config::FieldRef kKeepRatio = config::MustFind(config::kRdskBuffConf, "KeepPerTempRatio");

// The process-wide image of the file.
uint8_t g_rdsk_buff_image[config::kRdskBuffConf.size];

}  // namespace

int NxCgi_RdskBuffFunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  if (!CfgFileLoadRecord(kCfgRootModule, kRdskBuffFile, g_rdsk_buff_image)) return -1;
  bool changed = false;
  for (uint32_t i = 0; i < kKeepRatio.count; ++i) {
    char name[32];
    std::snprintf(name, sizeof name, "KeepPerTempRatio%u", i);
    uint32_t value = 0;
    if (!ReadFormNumber(name, &value) || static_cast<int32_t>(value) < 0) continue;
    const config::FieldRef ratio = kKeepRatio.At(i);
    if (config::LoadNumber(g_rdsk_buff_image, ratio) == static_cast<int32_t>(value)) continue;
    config::StoreNumber(g_rdsk_buff_image, ratio, static_cast<int32_t>(value));
    changed = true;
  }
  if (!changed) return 1;
  // A new ratio invalidates the two tables the buffer daemon derived from the old ones.
  const uint32_t tables = kKeepRatio.offset + kKeepRatio.count * kKeepRatio.stride;
  std::memset(g_rdsk_buff_image + tables, 0, sizeof g_rdsk_buff_image - tables);
  CfgFileWrite(kCfgRootModule, kRdskBuffFile, g_rdsk_buff_image);
  return 1;
}
