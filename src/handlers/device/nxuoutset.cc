// nxuoutset.cgi: the serial output service's line settings in
// UartOutConf.bin, then the service restarted.
#include <cstdint>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/layouts/uart_out_conf.h"
#include "handlers/handler.h"
#include "handlers/record_edit.h"
#include "platform/command.h"

namespace {

constexpr const char* kUartOutFile = "UartOutConf.bin";

struct SettingRow {
  const char* form_name;
  config::FieldRef field;
  bool first_character;  // the text's first character, not a number
};

constexpr SettingRow kSettings[] = {
    {"Mode485On", config::MustFind(config::kUartOutConf, "Mode485On"), false},
    {"BaudRate", config::MustFind(config::kUartOutConf, "BaudRate"), false},
    {"DataBit", config::MustFind(config::kUartOutConf, "DataBit"), false},
    {"StopBit", config::MustFind(config::kUartOutConf, "StopBit"), false},
    {"ParityBit", config::MustFind(config::kUartOutConf, "ParityBit"), true},
    {"X10Mode", config::MustFind(config::kUartOutConf, "X10Mode"), false},
};

// The process-wide image of the file.
uint8_t g_uart_out_image[config::kUartOutConf.size];

void ApplySetting(std::span<uint8_t> record, const SettingRow& row) {
  if (!row.first_character) {
    ApplyFormNumber(record, row.field, row.form_name);
    return;
  }
  char text[kFieldBufferSize];
  if (ReadGivenField(row.form_name, text)) {
    config::StoreNumber(record, row.field, static_cast<unsigned char>(text[0]));
  }
}

}  // namespace

// Fails with an empty error buffer in every case.
int NxCgi_UartOutSetFunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  if (!CfgFileLoadRecord(kCfgRootModule, kUartOutFile, g_uart_out_image)) return -1;
  WorkingCopy copy(g_uart_out_image);
  if (!copy.ok()) return -1;
  for (const SettingRow& row : kSettings) ApplySetting(copy.bytes(), row);
  copy.StoreInto(g_uart_out_image);
  if (CfgFileWrite(kCfgRootModule, kUartOutFile, g_uart_out_image) < 0) return -1;

  platform::RunServiceScript("/etc/init.d/uartsvc", "restart");
  return 1;
}
