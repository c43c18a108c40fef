// Runs the real executable as the web server would: under a CGI name
// (argv[0]), with a clean CGI environment, a body on standard input and a
// host root, and returns the exit status and the exact bytes written.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace harness {

struct CgiRequest {
  std::string argv0;           // e.g. "/cgi-bin/nxmailsvc.cgi"
  std::string method = "GET";  // REQUEST_METHOD; empty leaves it unset
  std::string query;           // QUERY_STRING
  std::string body;            // standard input
  std::string content_type = "application/x-www-form-urlencoded";
  std::optional<std::string> content_length;             // default: the body's length for POST
  std::string root;                                      // NXCGI_ROOT; empty leaves it unset
  std::vector<std::pair<std::string, std::string>> env;  // further variables
  std::string binary;                                    // default: the built nxcgi
};

struct ProcessResult {
  int exit_status = -1;  // 0..255, or -1 when killed by a signal
  std::string out;
  std::string err;
};

ProcessResult RunCgi(const CgiRequest& request);

// Shorthands for the common cases.
ProcessResult GetCgi(const std::string& cgi_name, const std::string& query, const std::string& root);
ProcessResult PostCgi(const std::string& cgi_name, const std::string& body, const std::string& root);

// Runs any program with arguments and environment additions; used for the
// tools (nxconf) and helper scripts.
ProcessResult RunProgram(const std::vector<std::string>& argv,
                         const std::vector<std::pair<std::string, std::string>>& env = {},
                         const std::string& input = {});

}  // namespace harness
