// nxdialup.cgi: the dial-up link's medium in DialUpConf.bin.
#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/cfg_file.h"
#include "config/layouts/known_files.h"
#include "handlers/handler.h"
#include "handlers/record_edit.h"

namespace {

constexpr const char* kDialUpFile = "DialUpConf.bin";
constexpr config::FieldRef kMediaType = config::MustFind(config::kDialUpConf, "MediaType");

// The process-wide image of the file.
uint8_t g_dial_up_image[config::kDialUpConf.size];

}  // namespace

int NxCgi_DialUpFunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  if (!CfgFileLoadRecord(kCfgRootModule, kDialUpFile, g_dial_up_image)) return -1;
  ApplyFormNumber(g_dial_up_image, kMediaType, "MediaType");
  CfgFileWrite(kCfgRootModule, kDialUpFile, g_dial_up_image);
  return 1;
}
