// NxCgiUtil, the validation module of the form fields: get-and-check for the
// identification fields (NxModId, PortId, NxCgiVer) and compare-and-update
// for typed record fields, which report whether the stored value changed so
// that a caller writes its record back only then. Built on the form
// vocabulary (form_fields.h): the same buffer size, conversion and rules.
#pragma once

#include <cstddef>
#include <cstdint>

#include "cgi/form_fields.h"

// 1 when read (and in range), 0 otherwise with the reason in err_msg. The
// converted value is stored before the range test.
int CgiGetNCheckModuleId(uint32_t* module_id, char* err_msg);
int CgiGetNCheckPortId(uint32_t* port_id, char* err_msg);
int CgiGetNCheckVersion(uint16_t* version, char* err_msg);

// Compare-and-update: reads the named field into the target and returns 1
// when the stored value changed. err_msg may be null.
int CgiCheckFieldOfUCharType(uint8_t* target, const char* name, char* err_msg);
int CgiCheckFieldOfCharType(char* target, const char* name, char* err_msg);
int CgiCheckFieldOfUShortType(uint16_t* target, const char* name, char* err_msg);
int CgiCheckFieldOfShortType(int16_t* target, const char* name, char* err_msg);
int CgiCheckFieldOfUIntType(uint32_t* target, const char* name, char* err_msg);
int CgiCheckFieldOfIntType(int32_t* target, const char* name, char* err_msg);
int CgiCheckFieldOfStringType(char* target, std::size_t size, const char* name, char* err_msg);

// The same for the field named name followed by the decimal index.
int CgiCheckFieldOfUCharTypeWithIndex(uint8_t* target, const char* name, int index, char* err_msg);
int CgiCheckFieldOfCharTypeWithIndex(char* target, const char* name, int index, char* err_msg);
int CgiCheckFieldOfUShortTypeWithIndex(uint16_t* target, const char* name, int index, char* err_msg);
int CgiCheckFieldOfShortTypeWithIndex(int16_t* target, const char* name, int index, char* err_msg);
int CgiCheckFieldOfUIntTypeWithIndex(uint32_t* target, const char* name, int index, char* err_msg);
int CgiCheckFieldOfIntTypeWithIndex(int32_t* target, const char* name, int index, char* err_msg);
