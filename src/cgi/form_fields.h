// The form vocabulary every handler reads with: the field buffer sizes, the
// number conversion, and the rules of the identification fields (the
// interface version NxCgiVer, the module id NxModId, the port id PortId).
// A field counts as given only when it is present, not empty and not cut
// short by the buffer it is read into.
#pragma once

#include <cstdint>
#include <span>

// Form values are read through a buffer of this size (127 characters and the
// terminator), or of the wide size where a handler's values are long texts.
inline constexpr int kFieldBufferSize = 128;
inline constexpr int kWideFieldBufferSize = 256;

// "0x"/"0X" prefix: hexadecimal; anything else: base-10 strtol clamped to the
// 32-bit signed range.
int32_t StrToNum(const char* text);
// Hexadecimal digits after one optional "0x"/"0X", modulo 2^32, up to the
// first other character; no digit gives 0.
uint32_t HexStrToNum(const char* text);

// Reads a field into the buffer; true only when it was given.
bool ReadGivenField(const char* name, std::span<char> buffer);

// A given field's number (StrToNum), read through the caller's buffer (which
// then holds the text, for messages) or through a kFieldBufferSize one.
bool ReadFormNumber(const char* name, std::span<char> text, uint32_t* value);
bool ReadFormNumber(const char* name, uint32_t* value);

// An identification field as read: given or not, and the number its rule
// keeps of it.
struct IdField {
  bool given = false;
  uint32_t value = 0;

  // The value as messages show it, `absent` when not given.
  int ValueOr(int absent) const { return given ? static_cast<int>(value) : absent; }
};

// Module and port ids run from 0 to 3.
inline constexpr uint32_t kLastId = 3;

// NxCgiVer: the low 16 bits of its number; accepted when they are 0 or 1.
IdField ReadVersionField(std::span<char> text);
IdField ReadVersionField();
constexpr bool IsAcceptedVersion(const IdField& version) { return version.given && version.value <= 1; }
// The version test of handlers that need nothing of the field but the verdict.
inline bool FormVersionOk() { return IsAcceptedVersion(ReadVersionField()); }

// NxModId: the low 16 bits of its number.
IdField ReadModuleIdField(std::span<char> text);
IdField ReadModuleIdField();

// PortId: the whole 32-bit number, or, for the handlers that say so, its low
// 16 bits.
enum class PortIdBits { kWhole, kLow16 };
IdField ReadPortIdField(PortIdBits bits, std::span<char> text);
IdField ReadPortIdField(PortIdBits bits);

constexpr bool IsValidId(const IdField& id) { return id.given && id.value <= kLastId; }
