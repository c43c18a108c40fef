// The answer writer: the input is an error text and, after the first NUL, a
// url-encoded form. The text goes into the alert page, the form's RetPage,
// RetReDir and ids into the epilogue. Whatever they hold, each script block
// the writer opens ends at its own "</script>" and holds ids written as
// numbers or one string that nothing from the input ends.
#include "front/response_epilogue.h"
#include "fuzz_target.h"

const Sandbox sandbox;

// The body is head, a string whose every quote and final character are escaped, and tail.
bool OneString(std::string_view body, std::string_view head, std::string_view tail) {
  if (!body.starts_with(head) || !body.substr(head.size()).ends_with(tail)) return false;
  body = body.substr(head.size(), body.size() - head.size() - tail.size());
  for (std::size_t i = 0; i < body.size(); ++i) {
    if (body[i] == '"' || (body[i] == '\\' && ++i == body.size())) return false;
  }
  return true;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, std::size_t size) {
  const std::string input(reinterpret_cast<const char*>(data), size);
  const std::size_t split = std::min(input.find('\0'), input.size());
  char* text = nullptr;
  std::size_t length = 0;
  std::FILE* const saved = std::exchange(stdout, open_memstream(&text, &length));
  WriteAlert("nxevtnote.cgi", input.substr(0, split).c_str());
  if (split < size && CgiParseForm(input.data() + split + 1, size - split - 1) == 0)
    CgiResponseEpilogue("nxevtnote.cgi");
  CgiFreeForm();
  std::fclose(std::exchange(stdout, saved));
  const std::string_view answer(text, length), open = "<script language=javascript>\n";
  static const std::regex ids("(var (NXMODID|PORTID) = -?(0[xX][0-9a-fA-F]+|[0-9]+);\n)*");
  // The next block is looked for after the end of this one: its string may hold an opening tag.
  for (std::size_t at = answer.find(open), end = 0; at != answer.npos; at = answer.find(open, end)) {
    const std::size_t body_at = at + open.size();
    end = answer.find("</", body_at);
    Check(end != answer.npos && answer.substr(end).starts_with("</script>\n") &&
          answer.find("<!--", body_at) > end);
    const std::string_view body = answer.substr(body_at, end - body_at);
    Check(std::regex_match(body.begin(), body.end(), ids) ||
          OneString(body, "alert(\"", "\");\nhistory.go(-1);\n") ||
          OneString(body, "location.href=\"", "\";\n"));
  }
  std::free(text);
  return 0;
}
