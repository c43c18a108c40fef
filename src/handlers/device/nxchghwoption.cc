// nxchghwoption.cgi: part of the product string overwritten and stored by
// the flash utility.
#include <cstdio>
#include <cstring>
#include <string_view>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "handlers/handler.h"
#include "platform/command.h"
#include "platform/file_patterns.h"
#include "platform/product_strings.h"

namespace {

// RmFiles is read through a buffer three bytes shorter than the others.
constexpr int kRmFilesSize = 253;

}  // namespace

int NxCgi_ChgHwOptionFunc(char* err_msg) {
  CgiPrintContentType("text/html");

  char product[platform::kProductStringSize];
  if (PnCodeUtilRead(product) == -1) {
    CgiSetErrMsg(err_msg, "PnCodeUtilRead() error<br>\n");
    return -1;
  }

  char offset_text[kWideFieldBufferSize];
  const std::size_t offset =
      ReadGivenField("Offset", offset_text) ? static_cast<uint16_t>(StrToNum(offset_text)) : 0;
  char string[kWideFieldBufferSize];
  if (!ReadGivenField("String", string)) {
    CgiSetErrMsg(err_msg, "Have no string parameter error<br>\n");
    return -1;
  }
  // The new text lies wholly inside the product string, whose length never
  // changes.
  const std::string_view replacement(string);
  const std::size_t product_length = std::strlen(product);
  if (product_length < offset + replacement.size()) {
    CgiSetErrMsg(err_msg, "Too long string parameter error<br>\n");
    return -1;
  }
  std::memcpy(product + offset, replacement.data(), replacement.size());

  platform::ShellCommand store;
  store.Path("/usr/sbin/fuc").Text(" -sh sft-string offset=1 data=").QuotedWord(product).Text(" >/dev/null");
  platform::RunCommand(store);

  // RmFiles: file names with wildcards, never shell text.
  char rm_files[kRmFilesSize];
  if (ReadGivenField("RmFiles", rm_files)) platform::RemoveMatchingFiles(rm_files);
  return 1;
}
