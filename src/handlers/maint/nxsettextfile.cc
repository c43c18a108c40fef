// nxsettextfile.cgi: writes a text file, then optionally runs a command.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "cgi/cgi_request.h"
#include "cgi/form_fields.h"
#include "handlers/handler.h"
#include "platform/command.h"
#include "platform/host_root.h"

namespace {

constexpr std::size_t kContentsSize = 2048;

struct FreeDeleter {
  void operator()(char* buffer) const { std::free(buffer); }
};

// The written file is arbitrary user text, not a configuration file of the
// system: it is written in place, as asked.
bool WriteTextFile(const char* device_path, const char* contents) {
  const platform::HostPath path = platform::MapPath(device_path);
  const int fd = open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644);
  if (fd < 0) return false;
  const std::size_t length = std::strlen(contents);
  const bool written = length == 0 || write(fd, contents, length) == static_cast<ssize_t>(length);
  close(fd);
  return written;
}

}  // namespace

int NxCgi_SetTextFileFunc(char* err_msg) {
  CgiPrintContentType("text/html");

  char option[kWideFieldBufferSize];
  const int32_t create_option = ReadGivenField("CreateOption", option) ? StrToNum(option) : 0;

  char path[kWideFieldBufferSize];
  if (!ReadGivenField("TextFilePath", path)) {
    CgiSetErrMsg(err_msg, "Invalid TextFilePath = [%s]<br>\n", path);
    return -1;
  }
  struct stat status;
  if (create_option == 0 && stat(platform::MapPath(path).c_str(), &status) != 0) {
    CgiSetErrMsg(err_msg, "File not exist File Path = [%s]<br>\n", path);
    return -1;
  }

  std::unique_ptr<char, FreeDeleter> contents(static_cast<char*>(std::calloc(kContentsSize, 1)));
  if (!contents) {
    CgiSetErrMsg(err_msg, "malloc error<br>\n");
    return -1;
  }
  const int read = CgiGetTextField("TextContents", contents.get(), static_cast<int>(kContentsSize));
  if (read != CGI_FIELD_OK && read != CGI_FIELD_EMPTY) {
    CgiSetErrMsg(err_msg, "Invalid TextContents = [%s]<br>\n", contents.get());
    return -1;
  }
  if (!WriteTextFile(path, contents.get())) return -1;

  char command_text[kWideFieldBufferSize];
  if (ReadGivenField("DoCommand", command_text)) {
    platform::ShellCommand command;
    command.Text(command_text).Text(" >/dev/null");
    platform::RunCommand(command);
  }
  return 1;
}
