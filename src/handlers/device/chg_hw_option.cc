#include <cstdio>
#include <cstring>
#include <string_view>

#include "cgi/cgi_request.h"
#include "front/handler_table.h"
#include "front/nx_cgi_util.h"
#include "handlers/device/device_handlers.h"
#include "handlers/device/pn_code_util.h"
#include "handlers/device/shell_word.h"
#include "handlers/form_fields.h"
#include "platform/command.h"

namespace {

constexpr int kOffsetSize = 256;
constexpr int kStringSize = 256;
constexpr int kRmFilesSize = 253;

}  // namespace

int NxCgi_ChgHwOptionFunc(char* err_msg) {
  CgiPrintContentType("text/html");

  char product[device::kProductStringSize];
  if (PnCodeUtilRead(product) == -1) {
    std::snprintf(err_msg, kCgiErrMsgSize, "PnCodeUtilRead() error<br>\n");
    return -1;
  }

  char offset_text[kOffsetSize];
  const std::size_t offset =
      ReadGivenField("Offset", offset_text) ? static_cast<uint16_t>(StrToNum(offset_text)) : 0;
  char string[kStringSize];
  if (!ReadGivenField("String", string)) {
    std::snprintf(err_msg, kCgiErrMsgSize, "Have no string parameter error<br>\n");
    return -1;
  }
  // The new text lies wholly inside the product string, whose length never
  // changes.
  const std::string_view replacement(string);
  const std::size_t product_length = std::strlen(product);
  if (product_length < offset + replacement.size()) {
    std::snprintf(err_msg, kCgiErrMsgSize, "Too long string parameter error<br>\n");
    return -1;
  }
  std::memcpy(product + offset, replacement.data(), replacement.size());

  platform::ShellCommand store;
  store.Path("/usr/sbin/fuc").Text(" -sh sft-string offset=1 data=");
  device::AppendQuotedWord(store, product);
  store.Text(" >/dev/null");
  platform::RunCommand(store);

  // RmFiles is shell text by design: file names with wildcards.
  char rm_files[kRmFilesSize];
  if (ReadGivenField("RmFiles", rm_files)) {
    platform::ShellCommand remove;
    remove.Text("rm ").Text(rm_files).Text(" >/dev/null");
    platform::RunCommand(remove);
  }
  return 1;
}
