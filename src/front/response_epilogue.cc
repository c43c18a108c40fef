#include "front/response_epilogue.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "cgi/answer_text.h"
#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "platform/command.h"
#include "platform/fixed_text.h"
#include "platform/host_root.h"
#include "platform/numbers.h"
#include "platform/regular_file.h"

namespace {

bool FieldIsYes(const char* name) {
  char value[kFieldBufferSize];
  return ReadGivenField(name, value) && std::strcmp(value, "YES") == 0;
}

// The page's file, resolved (".." components, symbolic links), only when it
// lies below the web root and is a regular file; -1 otherwise.
int OpenWebPage(const char* page_path) {
  char* const root = realpath(platform::MapPath(kWebRoot).c_str(), nullptr);
  char* const page = realpath(platform::MapPath(page_path).c_str(), nullptr);
  const std::string_view root_text = root != nullptr ? root : "";
  const std::string_view page_text = page != nullptr ? page : "";
  const bool below = !root_text.empty() && page_text.size() > root_text.size() + 1 &&
                     page_text.starts_with(root_text) && page_text[root_text.size()] == '/';
  const int fd = below ? platform::OpenRegularFile(page) : -1;
  std::free(root);
  std::free(page);
  return fd;
}

void CopyPageToOutput(const char* page_path) {
  const int page = OpenWebPage(page_path);
  if (page < 0) {
    std::fputs("Page Open Error (", stdout);
    PrintHtmlText(page_path);
    std::fputs(")", stdout);
    return;
  }
  std::fflush(stdout);
  char block[4096];
  ssize_t got;
  while ((got = read(page, block, sizeof block)) > 0)
    std::fwrite(block, 1, static_cast<std::size_t>(got), stdout);
  close(page);
}

// An id as submitted when JavaScript reads it as one number (an optional
// minus, then decimal digits or 0x and hexadecimal digits); anything else
// as the number the id checks read from it.
void PrintIdVariable(const char* variable, const char* id) {
  std::string_view digits = id;
  if (digits.starts_with('-')) digits.remove_prefix(1);
  const bool hex = digits.size() > 2 && (digits.starts_with("0x") || digits.starts_with("0X"));
  if (hex) digits.remove_prefix(2);
  bool plain = !digits.empty();
  for (const char c : digits) plain = plain && (hex ? platform::HexDigitValue(c) >= 0 : c >= '0' && c <= '9');
  if (plain) {
    std::printf("var %s = %s;\n", variable, id);
  } else {
    std::printf("var %s = %d;\n", variable, StrToNum(id));
  }
}

void WriteReturnPage(const char* ret_page) {
  // "/web" + "/" + 127 characters: at most 132.
  platform::FixedText<133> page_path;
  page_path.Append(kWebRoot);
  if (ret_page[0] != '/') page_path.Append("/");
  page_path.Append(ret_page);

  char value[kFieldBufferSize];
  std::printf("<script language=javascript>\n");
  if (ReadGivenField("NxModId", value)) PrintIdVariable("NXMODID", value);
  if (ReadGivenField("PortId", value)) PrintIdVariable("PORTID", value);
  std::printf("</script>\n");
  CopyPageToOutput(page_path.c_str());
}

// A target on the same site, judged as a browser reads it (blanks and
// control characters in front dropped, tabs and line breaks removed, a
// backslash taken as a slash): a path from the site's root but not "//host",
// or a relative reference without a scheme ("javascript:", "http:").
bool IsSameSiteTarget(std::string_view target) {
  platform::FixedText<kFieldBufferSize> read;
  for (const char c : target) {
    if (c == '\t' || c == '\n' || c == '\r') continue;
    if (read.size() == 0 && static_cast<unsigned char>(c) <= ' ') continue;
    const char slash = c == '\\' ? '/' : c;
    read.Append(std::string_view(&slash, 1));
  }
  const std::string_view url = read.view();
  if (url.starts_with('/')) return !url.starts_with("//");
  const std::size_t scheme_end =
      url.find_first_not_of("abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789+.-");
  const bool has_scheme = scheme_end != std::string_view::npos && scheme_end > 0 && url[scheme_end] == ':' &&
                          std::isalpha(static_cast<unsigned char>(url[0]));
  return !has_scheme;
}

void WriteRedirect(const char* target) {
  std::printf("<html>\n");
  std::printf("<head>\n");
  std::printf("<script language=javascript>\n");
  std::fputs("location.href=\"", stdout);
  PrintScriptStringText(target);
  std::fputs("\";\n", stdout);
  std::printf("</script>\n");
  std::printf("</head>\n");
  std::printf("<body>\n");
  std::printf("</body>\n");
  std::printf("</html>\n");
}

}  // namespace

void WriteAlert(const char* cgi_name, const char* message) {
  std::printf("<html>\n");
  std::printf("<head>\n");
  std::printf("<script language=javascript>\n");
  std::printf("alert(\"%s Cgi Func:[", cgi_name);
  PrintScriptStringText(message);
  std::printf("] return ERROR!!!\");\n");
  std::printf("history.go(-1);\n");
  std::printf("</script>\n");
  std::printf("</head>\n");
  std::printf("</html>\n");
}

int CgiResponseEpilogue(const char* cgi_name) {
  if (FieldIsYes("SaveCfg")) {
    platform::ShellCommand save;
    save.Path("/usr/sbin/savecfg").Text(" > /dev/null 2>/dev/null");
    platform::RunCommand(save);
  }
  // The configuration-changed mark, made (or its time renewed) and removed
  // as touch and rm would, but never through a link planted at its name.
  const platform::HostPath mark = platform::MapPath("/tmp/NxConfChg");
  if (FieldIsYes("NxMkChg")) {
    const int fd = platform::OpenFixedFileForWrite(mark.c_str(), false);
    if (fd >= 0) {
      futimens(fd, nullptr);
      close(fd);
    }
  }
  if (FieldIsYes("NxRmChg")) unlink(mark.c_str());

  char value[kFieldBufferSize];
  if (ReadGivenField("RetPage", value)) WriteReturnPage(value);
  if (ReadGivenField("RetReDir", value)) {
    if (IsSameSiteTarget(value)) {
      WriteRedirect(value);
    } else {
      platform::FixedText<kFieldBufferSize + 32> message;
      message.AppendFormat("Invalid RetReDir = [%s]", value);
      WriteAlert(cgi_name, message.c_str());
    }
  }
  return 0;
}
