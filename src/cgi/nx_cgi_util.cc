#include "cgi/nx_cgi_util.h"

#include <cstdio>
#include <cstring>

#include "cgi/err_msg.h"
#include "platform/diag.h"

namespace {

constexpr const char* kSource = "NxCgiUtil";
// Any name CgiGetField can match through a field buffer, plus an index.
constexpr int kIndexedNameSize = kFieldBufferSize + 16;

template <typename T>
int CheckIntegerField(const char* function, T* target, const char* name, char* err_msg) {
  if (target == nullptr) {
    NX_DIAG_AT(kSource, function, __LINE__, "field %s is NULL\n", name);
    return 0;
  }
  char value[kFieldBufferSize];
  if (!ReadGivenField(name, value)) {
    if (err_msg != nullptr) CgiSetErrMsg(err_msg, "field %s is not found\n", name);
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
    NX_DIAG_AT(kSource, function, __LINE__, "fail to make name(%s) with index(%d)\n", name, index);
    return 0;
  }
  return check(target, indexed_name, err_msg);
}

}  // namespace

int CgiGetNCheckModuleId(uint32_t* module_id, char* err_msg) {
  if (module_id == nullptr) {
    NX_DIAG(kSource, "a_moduleId is NULL\n");
    return 0;
  }
  // The whole number, with no range test: handlers that test the module id
  // use the module id rule of the form vocabulary.
  if (!ReadFormNumber("NxModId", module_id)) {
    CgiSetErrMsg(err_msg, "Error NxModId (not found)\n");
    return 0;
  }
  return 1;
}

int CgiGetNCheckPortId(uint32_t* port_id, char* err_msg) {
  if (port_id == nullptr) {
    NX_DIAG(kSource, "a_portId is NULL\n");
    return 0;
  }
  const IdField port = ReadPortIdField(PortIdBits::kWhole);
  if (!port.given) {
    CgiSetErrMsg(err_msg, "Error PortId (not found)\n");
    return 0;
  }
  *port_id = port.value;
  if (!IsValidId(port)) {
    CgiSetErrMsg(err_msg, "Error PortId : %d\n", static_cast<int>(port.value));
    return 0;
  }
  return 1;
}

int CgiGetNCheckVersion(uint16_t* version, char* err_msg) {
  if (version == nullptr) {
    NX_DIAG(kSource, "a_version is NULL\n");
    return 0;
  }
  const IdField read = ReadVersionField();
  if (!read.given) {
    CgiSetErrMsg(err_msg, "Error NxCgiVer  (not found)\n");
    return 0;
  }
  *version = static_cast<uint16_t>(read.value);
  if (!IsAcceptedVersion(read)) {
    CgiSetErrMsg(err_msg, "Error NxCgiVer : %04x\n", *version);
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
    NX_DIAG(kSource, "field %s is NULL\n", name);
    return 0;
  }
  char value[kFieldBufferSize];
  if (!ReadGivenField(name, value)) {
    if (err_msg != nullptr) CgiSetErrMsg(err_msg, "field %s is not found\n", name);
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
