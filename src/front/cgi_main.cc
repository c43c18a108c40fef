#include "front/cgi_main.h"

#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "cgi/cgi_request.h"
#include "front/dispatcher.h"

namespace {

const char* EnvOrEmpty(const char* name) {
  const char* value = std::getenv(name);
  return value != nullptr ? value : "";
}

bool ReadExactly(int fd, char* buffer, std::size_t size) {
  std::size_t done = 0;
  while (done < size) {
    const ssize_t got = read(fd, buffer + done, size - done);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    done += static_cast<std::size_t>(got);
  }
  return true;
}

// Reads the posted form body; false when the request must end with -1.
bool ReadPostedForm(long content_length) {
  if (content_length < 0) return false;
  char* body = static_cast<char*>(std::malloc(static_cast<std::size_t>(content_length)));
  if (body == nullptr) return false;
  bool ok = ReadExactly(STDIN_FILENO, body, static_cast<std::size_t>(content_length));
  if (ok) ok = CgiParseForm(body, static_cast<std::size_t>(content_length)) == 0;
  std::free(body);
  return ok;
}

}  // namespace

int CgiMain(int argc, char** argv) {
  const char* request_method = EnvOrEmpty("REQUEST_METHOD");
  const char* query_string = EnvOrEmpty("QUERY_STRING");
  const char* content_type = EnvOrEmpty("CONTENT_TYPE");
  long content_length = std::strtol(EnvOrEmpty("CONTENT_LENGTH"), nullptr, 10);

  if (CgiStrEqNoCase(request_method, "post")) {
    if (CgiStrEqNoCase(content_type, "application/x-www-form-urlencoded") && content_length != 0) {
      if (!ReadPostedForm(content_length)) {
        CgiFreeForm();
        return -1;
      }
    }
  } else if (CgiStrEqNoCase(request_method, "get")) {
    content_length = static_cast<long>(std::strlen(query_string));
    if (CgiParseForm(query_string, static_cast<std::size_t>(content_length)) != 0) {
      CgiFreeForm();
      return -1;
    }
  }

  const int result = CgiDispatch(argc, argv);
  CgiFreeForm();
  return result;
}
