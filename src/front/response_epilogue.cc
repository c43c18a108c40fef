#include "front/response_epilogue.h"

#include <cstdio>
#include <cstring>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "platform/command.h"
#include "platform/fixed_text.h"
#include "platform/host_root.h"

namespace {

bool FieldIsYes(const char* name) {
  char value[kFieldBufferSize];
  return ReadGivenField(name, value) && std::strcmp(value, "YES") == 0;
}

void RunFixedCommand(const char* program, const char* device_path, const char* suffix) {
  platform::ShellCommand command;
  command.Text(program).Path(device_path).Text(suffix);
  platform::RunCommand(command);
}

void CopyPageToOutput(const char* page_path) {
  const platform::HostPath host_path = platform::MapPath(page_path);
  std::FILE* page = std::fopen(host_path.c_str(), "r");
  if (page == nullptr) {
    std::printf("Page Open Error (%s)", page_path);
    return;
  }
  char block[4096];
  std::size_t got;
  while ((got = std::fread(block, 1, sizeof block, page)) > 0) std::fwrite(block, 1, got, stdout);
  std::fclose(page);
}

void WriteReturnPage(const char* ret_page) {
  // "/web" + "/" + 127 characters: at most 132.
  platform::FixedText<133> page_path;
  page_path.Append(kWebRoot);
  if (ret_page[0] != '/') page_path.Append("/");
  page_path.Append(ret_page);

  char value[kFieldBufferSize];
  std::printf("<script language=javascript>\n");
  if (ReadGivenField("NxModId", value)) std::printf("var NXMODID = %s;\n", value);
  if (ReadGivenField("PortId", value)) std::printf("var PORTID = %s;\n", value);
  std::printf("</script>\n");
  CopyPageToOutput(page_path.c_str());
}

void WriteRedirect(const char* target) {
  std::printf("<html>\n");
  std::printf("<head>\n");
  std::printf("<script language=javascript>\n");
  std::printf("location.href=\"%s\";\n", target);
  std::printf("</script>\n");
  std::printf("</head>\n");
  std::printf("<body>\n");
  std::printf("</body>\n");
  std::printf("</html>\n");
}

}  // namespace

int CgiResponseEpilogue() {
  if (FieldIsYes("SaveCfg")) RunFixedCommand("", "/usr/sbin/savecfg", " > /dev/null 2>/dev/null");
  if (FieldIsYes("NxMkChg")) RunFixedCommand("touch ", "/tmp/NxConfChg", "");
  if (FieldIsYes("NxRmChg")) RunFixedCommand("rm ", "/tmp/NxConfChg", "");

  char value[kFieldBufferSize];
  if (ReadGivenField("RetPage", value)) WriteReturnPage(value);
  if (ReadGivenField("RetReDir", value)) WriteRedirect(value);
  return 0;
}
