// The form parser and both field accessors. The first byte chooses the
// accessors' buffer size; the rest is url-encoded form data. Besides the
// sanitizers, the accessors' promises are checked: a terminated buffer
// without CR (and without LF from the single-line accessor), and a result
// code of the table that says whether the field is empty.
#include "fuzz_target.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  // The form of the input before is freed at its end.
  Check(CgiParseForm(reinterpret_cast<const char*>(data + 1), size - 1) == 0);
  for (const CgiFormEntry* entry = CgiFormHead(); entry != nullptr; entry = entry->next)
    for (const bool text : {false, true}) {
      std::vector<char> value(1 + data[0], 'x');
      const int result = (text ? CgiGetTextField : CgiGetField)(entry->name, value.data(), 1 + data[0]);
      const auto end = std::find(value.begin(), value.end(), '\0');
      Check(end != value.end() && std::find(value.begin(), end, '\r') == end);
      Check(text || std::find(value.begin(), end, '\n') == end);
      Check(result == CGI_FIELD_TRUNCATED || (result == CGI_FIELD_OK && end != value.begin()) ||
            (end == value.begin() && (result == CGI_FIELD_EMPTY || result == CGI_FIELD_NOT_FOUND)));
    }
  CgiFreeForm();
  return 0;
}
