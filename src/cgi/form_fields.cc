#include "cgi/form_fields.h"

#include "cgi/cgi_request.h"
#include "platform/numbers.h"

namespace {

IdField ReadId(const char* name, std::span<char> text, bool low16) {
  IdField field;
  field.given = ReadFormNumber(name, text, &field.value);
  if (low16) field.value &= 0xffff;
  return field;
}

}  // namespace

uint32_t HexStrToNum(const char* text) {
  if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text += 2;
  uint32_t value = 0;
  for (int digit = platform::HexDigitValue(*text); digit >= 0; digit = platform::HexDigitValue(*++text)) {
    value = value * 16 + static_cast<uint32_t>(digit);
  }
  return value;
}

int32_t StrToNum(const char* text) {
  if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    return static_cast<int32_t>(HexStrToNum(text + 2));
  }
  return platform::ClampedDecimal(text);
}

bool ReadGivenField(const char* name, std::span<char> buffer) {
  return CgiGetField(name, buffer.data(), static_cast<int>(buffer.size())) == CGI_FIELD_OK;
}

bool ReadFormNumber(const char* name, std::span<char> text, uint32_t* value) {
  if (!ReadGivenField(name, text)) return false;
  *value = static_cast<uint32_t>(StrToNum(text.data()));
  return true;
}

bool ReadFormNumber(const char* name, uint32_t* value) {
  char text[kFieldBufferSize];
  return ReadFormNumber(name, text, value);
}

IdField ReadVersionField(std::span<char> text) { return ReadId("NxCgiVer", text, true); }

IdField ReadVersionField() {
  char text[kFieldBufferSize];
  return ReadVersionField(text);
}

IdField ReadModuleIdField(std::span<char> text) { return ReadId("NxModId", text, true); }

IdField ReadModuleIdField() {
  char text[kFieldBufferSize];
  return ReadModuleIdField(text);
}

IdField ReadPortIdField(PortIdBits bits, std::span<char> text) {
  return ReadId("PortId", text, bits == PortIdBits::kLow16);
}

IdField ReadPortIdField(PortIdBits bits) {
  char text[kFieldBufferSize];
  return ReadPortIdField(bits, text);
}
