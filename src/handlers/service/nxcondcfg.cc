// nxcondcfg.cgi: rewrites one condition record of any service's file.
#include <cstring>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "config/field_access.h"
#include "config/svc_cfg_file.h"
#include "handlers/handler.h"
#include "handlers/record_edit.h"

namespace {

// What a field becomes when the form does not give it.
enum class WhenNotGiven : uint8_t { kKeep, kMinusOne, kZero };

struct ConditionField {
  const char* name;
  config::FieldRef field;
  WhenNotGiven when_not_given;
};

consteval ConditionField Field(const char* name, WhenNotGiven when_not_given) {
  return {name, config::MustFind(config::kSvcCond, name), when_not_given};
}

// In the order the handler applies them.
constexpr ConditionField kConditionFields[] = {
    Field("Used", WhenNotGiven::kKeep),
    Field("Desc", WhenNotGiven::kKeep),
    Field("SMon", WhenNotGiven::kMinusOne),
    Field("SDay", WhenNotGiven::kMinusOne),
    Field("SHour", WhenNotGiven::kMinusOne),
    Field("SMin", WhenNotGiven::kMinusOne),
    Field("EMon", WhenNotGiven::kMinusOne),
    Field("EDay", WhenNotGiven::kMinusOne),
    Field("EHour", WhenNotGiven::kMinusOne),
    Field("EMin", WhenNotGiven::kMinusOne),
    Field("Weekday", WhenNotGiven::kZero),
    Field("LevelHig", WhenNotGiven::kZero),
    Field("LevelHig_AuxEvent", WhenNotGiven::kZero),
    Field("LevelLow", WhenNotGiven::kZero),
    Field("EdgeRise", WhenNotGiven::kZero),
    Field("EdgeFall", WhenNotGiven::kZero),
};

bool ReadSigned(const char* name, int32_t* value) {
  uint32_t number = 0;
  if (!ReadFormNumber(name, &number)) return false;
  *value = static_cast<int32_t>(number);
  return true;
}

void ApplyField(const ConditionField& condition, std::span<uint8_t> record) {
  char text[kFieldBufferSize];
  const bool given = CgiGetField(condition.name, text, sizeof text) == CGI_FIELD_OK;
  if (condition.field.type == config::FieldType::kChar) {
    if (given) config::StoreText(record, condition.field, text);  // 128 characters or more keep the old text
    return;
  }
  if (given) {
    config::StoreNumber(record, condition.field, StrToNum(text));
  } else if (condition.when_not_given == WhenNotGiven::kMinusOne) {
    config::StoreNumber(record, condition.field, -1);
  } else if (condition.when_not_given == WhenNotGiven::kZero) {
    config::StoreNumber(record, condition.field, 0);
  }
}

// The values the daemons expect in every saved record, as the layout marks them.
void WriteFixedValues(std::span<uint8_t> record) {
  for (const config::Field& field : config::kSvcCond.fields) {
    if (field.role != config::FieldRole::kFixed) continue;
    if (field.type == config::FieldType::kRaw) {
      std::memset(record.data() + field.offset, static_cast<int>(field.fixed_value & 0xff), field.width);
    } else {
      config::StoreNumber(record, config::FindField(config::kSvcCond, field.name), field.fixed_value);
    }
  }
}

}  // namespace

int NxCgi_SvcCondCfgFunc(char*) {
  CgiPrintContentType("text/html");
  if (!FormVersionOk()) return -1;

  const IdField module = ReadModuleIdField();
  int32_t service = 0;
  const bool service_given = ReadSigned("SvcId", &service);
  int32_t entry = -1;
  int32_t condition = -1;
  ReadSigned("MinId", &entry);
  ReadSigned("CondId", &condition);
  if (!IsValidId(module) || !service_given || service < 0 || service > 8 || entry < 0 || entry > 5 ||
      condition < 0 || condition > 2) {
    return -1;
  }
  // A service with port entries has four: the load refuses a fifth or sixth.
  uint8_t* table = LoadSvcCfgFile(static_cast<int>(module.value), service, entry);
  if (table == nullptr) return -1;
  const std::span<uint8_t> record(table + config::kSvcCond.size * static_cast<uint32_t>(condition),
                                  config::kSvcCond.size);

  WorkingCopy copy(record);
  if (!copy.ok()) return -1;
  for (const ConditionField& field : kConditionFields) ApplyField(field, copy.bytes());
  WriteFixedValues(copy.bytes());
  copy.StoreInto(record);
  SaveSvcCfgFile(static_cast<int>(module.value), service);
  return 1;
}
