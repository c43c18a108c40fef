#include "handlers/service/svc_settings.h"

#include <cstdio>
#include <cstring>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/field_access.h"
#include "config/svc_cfg_file.h"
#include "handlers/record_edit.h"

namespace {

struct Ids {
  int module = 0;
  int port = 0;
  int port_as_printed = -1;  // as the mail port handler reports it
};

// The ids are read through the handler's value buffer, as its fields are.
bool ReadIds(const ServiceSettingsHandler& handler, Ids* ids) {
  char text[kWideFieldBufferSize];
  const std::span<char> buffer(text, static_cast<std::size_t>(handler.value_buffer_size));
  const IdField module = ReadModuleIdField(buffer);
  if (!IsValidId(module)) return false;
  ids->module = static_cast<int>(module.value);
  if (!IsAcceptedVersion(ReadVersionField(buffer))) return false;
  if (!handler.port_level) return true;

  const IdField port =
      ReadPortIdField(handler.port_id_low16 ? PortIdBits::kLow16 : PortIdBits::kWhole, buffer);
  ids->port_as_printed = port.ValueOr(-1);
  if (!IsValidId(port)) {
    if (handler.reports_failures) {
      std::printf("NxCgi_MailSvcPortCfgFunc PortId = [%d]: PortId ERROR!!!<br>\n", ids->port_as_printed);
    }
    return false;
  }
  ids->port = static_cast<int>(port.value);
  return true;
}

void ApplyField(const SettingsField& setting, std::span<uint8_t> block, int buffer_size) {
  const config::FieldRef& field = setting.field;
  char value[kWideFieldBufferSize];
  const int result = setting.kind == SettingsKind::kText ? CgiGetTextField(setting.name, value, buffer_size)
                                                         : CgiGetField(setting.name, value, buffer_size);
  if (setting.kind == SettingsKind::kNumber) {
    if (result == CGI_FIELD_OK) {
      auto number = static_cast<uint32_t>(StrToNum(value));
      if (setting.rule == SettingsRule::kCategory && number > 5) number = 0;
      config::StoreNumber(block, field, number);
    }
  } else if (result == CGI_FIELD_OK) {
    config::StoreText(block, field, value);  // a value too long for the field is ignored
  } else if (result == CGI_FIELD_EMPTY && setting.rule != SettingsRule::kEmptyKeeps) {
    config::ClearField(block, field);
  }

  const int64_t stored = config::LoadNumber(block, field);
  switch (setting.rule) {
    case SettingsRule::kCapAt:
      if (stored > setting.limit) config::StoreNumber(block, field, setting.limit);
      break;
    case SettingsRule::kCapAtField:
      if (stored > config::LoadNumber(block, setting.cap)) {
        config::StoreNumber(block, field, config::LoadNumber(block, setting.cap));
      }
      break;
    case SettingsRule::kZeroBecomesOne:
      if (stored == 0) config::StoreNumber(block, field, 1);
      break;
    default:
      break;
  }
}

void ReportFailure(const ServiceSettingsHandler& handler, const char* what, const Ids& ids) {
  if (handler.reports_failures) {
    std::printf("NxCgi_MailSvcPortCfgFunc PortId = [%d]: %s ERROR!!!<br>\n", ids.port_as_printed, what);
  }
}

}  // namespace

int RunServiceSettings(const ServiceSettingsHandler& handler) {
  CgiPrintContentType("text/html");
  Ids ids;
  if (!ReadIds(handler, &ids)) return -1;

  if (LoadSvcCfgFile(ids.module, handler.service_id, ids.port) == nullptr) {
    ReportFailure(handler, "LoadSvcCfgFile()", ids);
    return -1;
  }
  const std::span<uint8_t> image = SvcImage(handler.service_id);
  WorkingCopy copy(image);
  if (!copy.ok()) {
    // The message has no blank before ERROR.
    if (handler.reports_failures) {
      std::printf("NxCgi_MailSvcPortCfgFunc PortId = [%d]: malloc()ERROR!!!<br>\n", ids.port_as_printed);
    }
    return -1;
  }
  std::span<uint8_t> block = copy.bytes();
  if (handler.port_level) {
    const config::FieldRef ports = config::FindField(*FindSvcFile(handler.service_id)->layout, "Port");
    block = block.subspan(ports.At(static_cast<uint32_t>(ids.port)).offset, ports.width);
  }
  for (const SettingsField& field : handler.fields) ApplyField(field, block, handler.value_buffer_size);

  copy.StoreInto(image);
  SaveSvcCfgFile(ids.module, handler.service_id);
  return 1;
}
