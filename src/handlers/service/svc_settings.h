// The one pattern of the fourteen service settings handlers: check the ids,
// load the service file, apply the form's fields to a working copy by a
// per-handler field list, store it back and save the file.
#pragma once

#include <cstdint>
#include <span>

#include "config/record_layout.h"

enum class SettingsKind : uint8_t {
  kNumber,  // u8, u16 or u32 by the field's type, through StrToNum
  kString,  // char[width]; one line
  kText,    // char[width]; line breaks kept
};

// What happens to a field besides storing a given value. Caps run right
// after the field is handled, whether it was given or not.
enum class SettingsRule : uint8_t {
  kPlain,
  kEmptyKeeps,      // an empty string changes nothing (others clear the field)
  kCategory,        // a value above 5 is stored as 0
  kCapAt,           // a stored value above `limit` becomes `limit`
  kCapAtField,      // a stored value above the one at `cap` becomes that value
  kZeroBecomesOne,  // a stored 0 becomes 1
};

struct SettingsField {
  const char* name;        // form field and record field name
  config::FieldRef field;  // in the edited block: the header, or one port entry
  SettingsKind kind;
  SettingsRule rule = SettingsRule::kPlain;
  uint32_t limit = 0;
  config::FieldRef cap = {};
};

struct ServiceSettingsHandler {
  int service_id;
  bool port_level;
  bool port_id_low16;     // PortId compared by its low 16 bits, not the whole value
  bool reports_failures;  // prints its failures into the page
  int value_buffer_size;  // every value and id is read through this many bytes
  std::span<const SettingsField> fields;
};

// -1 on failure (nothing written, error-message buffer left empty), 1 on success.
int RunServiceSettings(const ServiceSettingsHandler& handler);
