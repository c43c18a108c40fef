// nxibufdev.cgi and nxibufdevport.cgi: the image pre-buffer depth and pause
// of a module's ports in ImgBufConf.bin.
#include <cstdio>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/cfg_file.h"
#include "config/layouts/known_files.h"
#include "handlers/handler.h"
#include "handlers/record_edit.h"

namespace {

constexpr const char* kImgBufFile = "ImgBufConf.bin";

constexpr config::FieldRef kBuffDepth = config::MustFind(config::kImgBufConf, "BuffDepth");
constexpr config::FieldRef kPauseTime = config::MustFind(config::kImgBufConf, "PauseTime");

// The process-wide image of the file, as the service files have theirs.
uint8_t g_img_buf_image[config::kImgBufConf.size];

}  // namespace

int NxCgi_ImgBufDevPortFunc(char*) {
  CgiPrintContentType("text/html");
  const IdField module = ReadModuleIdField();
  if (!IsValidId(module) || !FormVersionOk()) return -1;
  const IdField port = ReadPortIdField(PortIdBits::kWhole);
  if (!IsValidId(port) || !CfgFileLoadRecord(static_cast<int>(module.value), kImgBufFile, g_img_buf_image))
    return -1;
  WorkingCopy copy(g_img_buf_image);
  if (!copy.ok()) return -1;
  ApplyFormNumber(copy.bytes(), kBuffDepth.At(port.value), "PreBuffDepth");
  ApplyFormNumber(copy.bytes(), kPauseTime.At(port.value), "PerPauseTime");
  copy.StoreInto(g_img_buf_image);
  CfgFileWrite(static_cast<int>(module.value), kImgBufFile, g_img_buf_image);
  return 1;
}

// Answers its failures in the page and returns 0, so no alert page follows.
int NxCgi_ImgBufDevFunc(char*) {
  CgiPrintContentType("text/html");
  const IdField module = ReadModuleIdField();
  if (!IsValidId(module)) {
    std::printf("Invalid NxModId = %d<br>\n", module.ValueOr(-1));
    return 0;
  }
  const IdField version = ReadVersionField();
  if (!IsAcceptedVersion(version)) {
    std::printf("Invalid CgiVer = %04x<br>\n", version.ValueOr(0xffff));
    return 0;
  }
  if (!CfgFileLoadRecord(static_cast<int>(module.value), kImgBufFile, g_img_buf_image)) {
    std::printf("CfgFileRead(%s) error <br>\n", kImgBufFile);
    return 0;
  }
  WorkingCopy copy(g_img_buf_image);
  if (!copy.ok()) {
    std::printf("malloc(%d) error<br>\n", static_cast<int>(config::kImgBufConf.size));
    return 0;
  }
  for (uint32_t port = 0; port <= kLastId; ++port) {
    // "BuffDepth0" and "PauseTime0" with the final digit raised by the port.
    char buff_depth[] = "BuffDepth0";
    char pause_time[] = "PauseTime0";
    buff_depth[sizeof buff_depth - 2] = static_cast<char>('0' + port);
    pause_time[sizeof pause_time - 2] = static_cast<char>('0' + port);
    ApplyFormNumber(copy.bytes(), kBuffDepth.At(port), buff_depth);
    ApplyFormNumber(copy.bytes(), kPauseTime.At(port), pause_time);
  }
  copy.StoreInto(g_img_buf_image);
  CfgFileWrite(static_cast<int>(module.value), kImgBufFile, g_img_buf_image);
  return 1;
}
