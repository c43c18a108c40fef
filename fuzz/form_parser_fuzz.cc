// The form parser and both field accessors. The first byte chooses the
// accessors' buffer size; the rest is url-encoded form data. Besides the
// sanitizers, the accessors' promises are checked: a result code of the
// table, a terminated buffer, no CR or LF from the single-line accessor.
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "cgi/cgi_request.h"
#include "fuzz_target.h"

namespace {

void Check(bool condition) {
  if (!condition) __builtin_trap();
}

void CheckField(const char* name, std::vector<char>& buffer, bool text) {
  const int size = static_cast<int>(buffer.size());
  std::memset(buffer.data(), 'x', buffer.size());
  const int result =
      text ? CgiGetTextField(name, buffer.data(), size) : CgiGetField(name, buffer.data(), size);
  Check(result == CGI_FIELD_OK || result == CGI_FIELD_TRUNCATED || result == CGI_FIELD_EMPTY ||
        result == CGI_FIELD_NOT_FOUND);
  const void* end = std::memchr(buffer.data(), '\0', buffer.size());
  Check(end != nullptr);
  const std::size_t length = static_cast<const char*>(end) - buffer.data();
  if (result == CGI_FIELD_EMPTY || result == CGI_FIELD_NOT_FOUND) Check(length == 0);
  if (result == CGI_FIELD_OK) Check(length > 0);
  if (!text) Check(std::strpbrk(buffer.data(), "\r\n") == nullptr);
  if (text) Check(std::strchr(buffer.data(), '\r') == nullptr);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) { return 0; }

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  std::vector<char> buffer(1 + data[0]);
  const char* form = reinterpret_cast<const char*>(data + 1);
  const std::size_t length = size - 1;

  char* decoded = nullptr;
  Check(CgiUnescape(form, length, &decoded) == 0);
  Check(std::strlen(decoded) <= length);
  std::free(decoded);

  CgiFreeForm();
  Check(CgiParseForm(form, length) == 0);
  const CgiFormEntry* previous = nullptr;
  for (const CgiFormEntry* entry = CgiFormHead(); entry != nullptr; entry = entry->next) {
    Check(CgiFindEntry(entry->name) != nullptr);
    CheckField(entry->name, buffer, false);
    CheckField(entry->name, buffer, true);
    if (previous != nullptr) {
      Check(CgiStrEqNoCase(previous->name, entry->name) == CgiStrEqNoCase(entry->name, previous->name));
    }
    previous = entry;
  }
  CheckField("NxModId", buffer, false);
  CgiFreeForm();
  return 0;
}
