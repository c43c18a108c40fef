#include "front/nx_cgi_util.h"

#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "cgi/cgi_request.h"
#include "front/handler_table.h"

namespace {

constexpr const char* kSource = "NxCgiUtil";
constexpr int kFieldBufferSize = 128;
// Any name CgiGetField can match through a 128-byte read, plus an index.
constexpr int kIndexedNameSize = kFieldBufferSize + 16;

void Diag(const char* function, int line, const char* format, const char* text) {
  std::fprintf(stderr, "[%s:%s(%d)]\t", function, kSource, line);
  std::fprintf(stderr, format, text);
}

bool ReadField(const char* name, char (&value)[kFieldBufferSize]) {
  return CgiGetField(name, value, kFieldBufferSize) == CGI_FIELD_OK;
}

template <typename T>
int CheckIntegerField(const char* function, T* target, const char* name, char* err_msg) {
  if (target == nullptr) {
    Diag(function, __LINE__, "field %s is NULL\n", name);
    return 0;
  }
  char value[kFieldBufferSize];
  if (!ReadField(name, value)) {
    if (err_msg != nullptr) std::snprintf(err_msg, kCgiErrMsgSize, "field %s is not found\n", name);
    return 0;
  }
  // Cut to the target's width: two's complement, so signed targets are
  // sign-extended from their low bits.
  const T converted = static_cast<T>(static_cast<uint32_t>(StrToNum(value)));
  if (converted == *target) return 0;
  *target = converted;
  return 1;
}

template <typename T>
int CheckIndexedField(const char* function, T* target, const char* name, int index, char* err_msg,
                      int (*check)(T*, const char*, char*)) {
  char indexed_name[kIndexedNameSize];
  const int written = std::snprintf(indexed_name, sizeof indexed_name, "%s%d", name, index);
  if (written < 0 || written >= static_cast<int>(sizeof indexed_name)) {
    std::fprintf(stderr, "[%s:%s(%d)]\t", function, kSource, __LINE__);
    std::fprintf(stderr, "fail to make name(%s) with index(%d)\n", name, index);
    return 0;
  }
  return check(target, indexed_name, err_msg);
}

}  // namespace

uint32_t HexStrToNum(const char* text) {
  if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) text += 2;
  uint32_t value = 0;
  for (;; ++text) {
    const char c = *text;
    uint32_t digit;
    if (c >= '0' && c <= '9') {
      digit = static_cast<uint32_t>(c - '0');
    } else if (c >= 'a' && c <= 'f') {
      digit = static_cast<uint32_t>(c - 'a' + 10);
    } else if (c >= 'A' && c <= 'F') {
      digit = static_cast<uint32_t>(c - 'A' + 10);
    } else {
      break;
    }
    value = value * 16 + digit;
  }
  return value;
}

int32_t StrToNum(const char* text) {
  if (text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
    return static_cast<int32_t>(HexStrToNum(text + 2));
  }
  const long value = std::strtol(text, nullptr, 10);
  if (value > INT32_MAX) return INT32_MAX;
  if (value < INT32_MIN) return INT32_MIN;
  return static_cast<int32_t>(value);
}

int CgiGetNCheckModuleId(uint32_t* module_id, char* err_msg) {
  if (module_id == nullptr) {
    Diag(__func__, __LINE__, "%s", "a_moduleId is NULL\n");
    return 0;
  }
  char value[kFieldBufferSize];
  if (!ReadField("NxModId", value)) {
    std::snprintf(err_msg, kCgiErrMsgSize, "Error NxModId (not found)\n");
    return 0;
  }
  *module_id = static_cast<uint32_t>(StrToNum(value));
  return 1;
}

int CgiGetNCheckPortId(uint32_t* port_id, char* err_msg) {
  if (port_id == nullptr) {
    Diag(__func__, __LINE__, "%s", "a_portId is NULL\n");
    return 0;
  }
  char value[kFieldBufferSize];
  if (!ReadField("PortId", value)) {
    std::snprintf(err_msg, kCgiErrMsgSize, "Error PortId (not found)\n");
    return 0;
  }
  *port_id = static_cast<uint32_t>(StrToNum(value));
  if (*port_id > 3) {
    std::snprintf(err_msg, kCgiErrMsgSize, "Error PortId : %d\n", static_cast<int>(*port_id));
    return 0;
  }
  return 1;
}

int CgiGetNCheckVersion(uint16_t* version, char* err_msg) {
  if (version == nullptr) {
    Diag(__func__, __LINE__, "%s", "a_version is NULL\n");
    return 0;
  }
  char value[kFieldBufferSize];
  if (!ReadField("NxCgiVer", value)) {
    std::snprintf(err_msg, kCgiErrMsgSize, "Error NxCgiVer  (not found)\n");
    return 0;
  }
  *version = static_cast<uint16_t>(StrToNum(value));
  if (*version > 1) {
    std::snprintf(err_msg, kCgiErrMsgSize, "Error NxCgiVer : %04x\n", *version);
    return 0;
  }
  return 1;
}

int CgiCheckFieldOfUCharType(uint8_t* target, const char* name, char* err_msg) {
  return CheckIntegerField(__func__, target, name, err_msg);
}

int CgiCheckFieldOfCharType(char* target, const char* name, char* err_msg) {
  // Compared as unsigned bytes, as on the device where char is unsigned.
  return CheckIntegerField(__func__, reinterpret_cast<unsigned char*>(target), name, err_msg);
}

int CgiCheckFieldOfUShortType(uint16_t* target, const char* name, char* err_msg) {
  return CheckIntegerField(__func__, target, name, err_msg);
}

int CgiCheckFieldOfShortType(int16_t* target, const char* name, char* err_msg) {
  return CheckIntegerField(__func__, target, name, err_msg);
}

int CgiCheckFieldOfUIntType(uint32_t* target, const char* name, char* err_msg) {
  return CheckIntegerField(__func__, target, name, err_msg);
}

int CgiCheckFieldOfIntType(int32_t* target, const char* name, char* err_msg) {
  return CheckIntegerField(__func__, target, name, err_msg);
}

int CgiCheckFieldOfStringType(char* target, std::size_t size, const char* name, char* err_msg) {
  if (target == nullptr) {
    Diag(__func__, __LINE__, "field %s is NULL\n", name);
    return 0;
  }
  char value[kFieldBufferSize];
  if (!ReadField(name, value)) {
    if (err_msg != nullptr) std::snprintf(err_msg, kCgiErrMsgSize, "field %s is not found\n", name);
    return 0;
  }
  if (size == 0 || std::strncmp(value, target, size) == 0) return 0;
  const std::size_t length = std::strlen(value);
  const std::size_t copied = length < size ? length : size - 1;
  std::memcpy(target, value, copied);
  target[copied] = '\0';
  return 1;
}

int CgiCheckFieldOfUCharTypeWithIndex(uint8_t* target, const char* name, int index, char* err_msg) {
  return CheckIndexedField(__func__, target, name, index, err_msg, CgiCheckFieldOfUCharType);
}

int CgiCheckFieldOfCharTypeWithIndex(char* target, const char* name, int index, char* err_msg) {
  return CheckIndexedField(__func__, target, name, index, err_msg, CgiCheckFieldOfCharType);
}

int CgiCheckFieldOfUShortTypeWithIndex(uint16_t* target, const char* name, int index, char* err_msg) {
  return CheckIndexedField(__func__, target, name, index, err_msg, CgiCheckFieldOfUShortType);
}

int CgiCheckFieldOfShortTypeWithIndex(int16_t* target, const char* name, int index, char* err_msg) {
  return CheckIndexedField(__func__, target, name, index, err_msg, CgiCheckFieldOfShortType);
}

int CgiCheckFieldOfUIntTypeWithIndex(uint32_t* target, const char* name, int index, char* err_msg) {
  return CheckIndexedField(__func__, target, name, index, err_msg, CgiCheckFieldOfUIntType);
}

int CgiCheckFieldOfIntTypeWithIndex(int32_t* target, const char* name, int index, char* err_msg) {
  return CheckIndexedField(__func__, target, name, index, err_msg, CgiCheckFieldOfIntType);
}
