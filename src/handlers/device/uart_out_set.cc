// nxuoutset.cgi: the serial output service's line settings in
// UartOutConf.bin, then the service restarted.
#include <cstdint>

#include "cgi/cgi_request.h"
#include "config/cfg_file.h"
#include "config/field_access.h"
#include "config/layouts/uart_out_conf.h"
#include "handlers/device/device_handlers.h"
#include "handlers/form_fields.h"
#include "platform/command.h"

namespace {

constexpr const char* kUartOutFile = "UartOutConf.bin";
constexpr int kFieldSize = 128;

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
  char text[kFieldSize];
  if (ReadGivenField(row.form_name, text)) {
    config::StoreNumber(record, row.field, static_cast<unsigned char>(text[0]));
  }
}

}  // namespace

// Fails with an empty error buffer in every case.
int NxCgi_UartOutSetFunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;
  if (CfgFileRead(kCfgRootModule, kUartOutFile, g_uart_out_image) !=
      static_cast<int>(sizeof g_uart_out_image)) {
    return -1;
  }
  WorkingCopy copy(g_uart_out_image);
  if (!copy.ok()) return -1;
  for (const SettingRow& row : kSettings) ApplySetting(copy.bytes(), row);
  copy.StoreInto(g_uart_out_image);
  if (CfgFileWrite(kCfgRootModule, kUartOutFile, g_uart_out_image) < 0) return -1;

  platform::ShellCommand restart;
  restart.Path("/etc/init.d/uartsvc").Text(" restart >/dev/null");
  platform::RunCommand(restart);
  return 1;
}
