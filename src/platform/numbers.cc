#include "platform/numbers.h"

#include <cstdlib>

namespace platform {

std::int32_t ClampedDecimal(const char* text) {
  const long value = std::strtol(text, nullptr, 10);
  if (value > INT32_MAX) return INT32_MAX;
  if (value < INT32_MIN) return INT32_MIN;
  return static_cast<std::int32_t>(value);
}

}  // namespace platform
