// The fixed pieces of answers, as the front end writes them.
#pragma once

#include <string>

namespace harness {

inline const std::string kHtmlHeader = "Content-type: text/html\r\n\r\n";
inline const std::string kNoContent = "HTTP/1.1 204 OK\r\n" + kHtmlHeader;

// The dispatcher's alert page for a handler that failed.
inline std::string ErrorPage(const std::string& cgi_name, const std::string& message) {
  return kHtmlHeader + "<html>\n<head>\n<script language=javascript>\nalert(\"" + cgi_name + " Cgi Func:[" +
         message + "] return ERROR!!!\");\nhistory.go(-1);\n</script>\n</head>\n</html>\n";
}

}  // namespace harness
