// Typed name=value fields of a Tcfg: append a line for a field, or load a
// field's value into a string or an integer. 1 on success, 0 on failure.
#pragma once

#include <cstddef>
#include <cstdint>

#include "config/text/tcfg_util.h"

// Appends the line "name=value".
int AppendStringFieldOfTcfg(Tcfg* cfg, const char* name, const char* value);
// Appends the line "name=<decimal value>".
int AppendIntFieldOfTcfg(Tcfg* cfg, const char* name, int32_t value);

// The field's value into the buffer; an empty value counts as found.
int LoadStringFieldOfTcfg(Tcfg* cfg, const char* name, char* buffer, std::size_t buffer_size);
// The field's value in decimal (no digits load as 0). The target changes
// only on success; the narrower forms keep the low bits.
int LoadIntFieldOfTcfg(Tcfg* cfg, const char* name, int32_t* value);
int LoadUIntFieldOfTcfg(Tcfg* cfg, const char* name, uint32_t* value);
int LoadUShortFieldOfTcfg(Tcfg* cfg, const char* name, uint16_t* value);
int LoadShortFieldOfTcfg(Tcfg* cfg, const char* name, int16_t* value);
