#include "handlers/service/buffer_handlers.h"

#include <cstdio>
#include <cstring>

#include "cgi/cgi_request.h"
#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/layouts/known_files.h"
#include "config/svc_cfg_file.h"
#include "handlers/form_fields.h"

namespace {

constexpr const char* kImgBufFile = "ImgBufConf.bin";
constexpr const char* kRdskBuffFile = "RdskBuffConf.bin";
constexpr const char* kDialUpFile = "DialUpConf.bin";

constexpr config::FieldRef kBuffDepth = config::MustFind(config::kImgBufConf, "BuffDepth");
constexpr config::FieldRef kPauseTime = config::MustFind(config::kImgBufConf, "PauseTime");
constexpr config::FieldRef kKeepRatio = config::MustFind(config::kRdskBuffConf, "KeepPerTempRatio");
constexpr config::FieldRef kMediaType = config::MustFind(config::kDialUpConf, "MediaType");

// Process-wide images of the three files, as the service files have theirs.
uint8_t g_img_buf_image[config::kImgBufConf.size];
uint8_t g_rdsk_buff_image[config::kRdskBuffConf.size];
uint8_t g_dial_up_image[config::kDialUpConf.size];

bool ReadWhole(int module, const char* file_name, std::span<uint8_t> image) {
  return CfgFileReadForEdit(module, file_name, image) == static_cast<int>(image.size());
}

void Write(int module, const char* file_name, std::span<const uint8_t> image) {
  CfgFileWrite(module, file_name, image);
}

// NxModId by its low 16 bits; -1 when absent.
int ReadModule() {
  uint32_t value = 0;
  return ReadFormNumber("NxModId", &value) ? static_cast<int>(value & 0xffff) : -1;
}

}  // namespace

int NxCgi_ImgBufDevPortFunc(char*) {
  CgiPrintContentType("text/html");
  const int module = ReadModule();
  uint32_t port = 0;
  if (module < 0 || module > 3 || !FormVersionOk() || !ReadFormNumber("PortId", &port) || port > 3) return -1;
  if (!ReadWhole(module, kImgBufFile, g_img_buf_image)) return -1;
  WorkingCopy copy(g_img_buf_image);
  if (!copy.ok()) return -1;
  ApplyFormNumber(copy.bytes(), kBuffDepth.At(port), "PreBuffDepth");
  ApplyFormNumber(copy.bytes(), kPauseTime.At(port), "PerPauseTime");
  copy.StoreInto(g_img_buf_image);
  Write(module, kImgBufFile, g_img_buf_image);
  return 1;
}

// Answers its failures in the page and returns 0, so no alert page follows.
int NxCgi_ImgBufDevFunc(char*) {
  CgiPrintContentType("text/html");
  const int module = ReadModule();
  if (module < 0 || module > 3) {
    std::printf("Invalid NxModId = %d<br>\n", module);
    return 0;
  }
  uint32_t version = 0xffff;
  if (!ReadFormNumber("NxCgiVer", &version) || (version & 0xffff) > 1) {
    std::printf("Invalid CgiVer = %04x<br>\n", version & 0xffff);
    return 0;
  }
  if (!ReadWhole(module, kImgBufFile, g_img_buf_image)) {
    std::printf("CfgFileRead(%s) error <br>\n", kImgBufFile);
    return 0;
  }
  WorkingCopy copy(g_img_buf_image);
  if (!copy.ok()) {
    std::printf("malloc(%d) error<br>\n", static_cast<int>(config::kImgBufConf.size));
    return 0;
  }
  for (uint32_t port = 0; port < 4; ++port) {
    // "BuffDepth0" and "PauseTime0" with the final digit raised by the port.
    char buff_depth[] = "BuffDepth0";
    char pause_time[] = "PauseTime0";
    buff_depth[sizeof buff_depth - 2] = static_cast<char>('0' + port);
    pause_time[sizeof pause_time - 2] = static_cast<char>('0' + port);
    ApplyFormNumber(copy.bytes(), kBuffDepth.At(port), buff_depth);
    ApplyFormNumber(copy.bytes(), kPauseTime.At(port), pause_time);
  }
  copy.StoreInto(g_img_buf_image);
  Write(module, kImgBufFile, g_img_buf_image);
  return 1;
}

int NxCgi_RdskBuffFunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  if (!ReadWhole(kCfgRootModule, kRdskBuffFile, g_rdsk_buff_image)) return -1;
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
  Write(kCfgRootModule, kRdskBuffFile, g_rdsk_buff_image);
  return 1;
}

int NxCgi_DialUpFunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  if (!ReadWhole(kCfgRootModule, kDialUpFile, g_dial_up_image)) return -1;
  ApplyFormNumber(g_dial_up_image, kMediaType, "MediaType");
  Write(kCfgRootModule, kDialUpFile, g_dial_up_image);
  return 1;
}
