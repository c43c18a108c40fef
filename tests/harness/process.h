// Runs programs as the tests need them: the real nxcgi under a CGI name as
// the web server starts it (a clean CGI environment, the form as query or
// body, a host root), and any other program; gives the exit status and the
// exact bytes written.
#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace harness {

using Env = std::vector<std::pair<std::string, std::string>>;

struct ProcessResult {
  int exit_status = -1;  // 0..255, or -1 when a signal ended it
  std::string out;
  std::string err;
};

struct CgiRequest {
  std::string cgi;              // "nxmailsvc.cgi"; started as /cgi-bin/<cgi>
  std::string form{};           // the body of a POST, the query of a GET
  std::string root{};           // NXCGI_ROOT
  std::string method = "POST";  // empty: REQUEST_METHOD unset
  std::string content_type = "application/x-www-form-urlencoded";
  std::optional<std::string> content_length{};  // default: the body's length
  Env env{};
  std::string argv0{};  // default: /cgi-bin/<cgi>
};

ProcessResult RunCgi(const CgiRequest& request);
ProcessResult Post(const std::string& cgi, const std::string& form, const std::string& root);

// How many lock requests wait for the file open at the descriptor ("->"
// lines of /proc/locks, which names a file as device:inode).
int FileLockWaiters(int fd);

// Everything in the file from its start; the file is closed.
std::string Contents(std::FILE* file);

// A program of the build (bin/<name>).
std::string BuiltProgram(const std::string& name);
ProcessResult RunProgram(const std::vector<std::string>& argv, const Env& env = {},
                         const std::string& input = {});

}  // namespace harness
