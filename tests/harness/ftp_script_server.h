// A scripted FTP server on 127.0.0.1 for the FTP client tests. It serves one
// control connection on its own thread, answers each command from a table
// of rules (first unused matching rule, else a default reply), injects
// faults through the rules' actions, and records exactly what it received.
#pragma once

#include <atomic>
#include <cstddef>
#include <string>
#include <thread>
#include <vector>

namespace harness {

enum class FtpAction {
  kReply,         // send the reply text (empty: nothing)
  kSilence,       // never answer this command
  kDrop,          // send the reply text, then close the control connection
  kSendData,      // reply (150), send the data over the data connection, close it, "226"
  kReceiveData,   // reply (150), read the data connection to its end, "226"
  kNeverConnect,  // reply (150) and never open the data connection
};

struct FtpRule {
  std::string verb;  // command verb, e.g. "PORT"
  std::string reply;
  FtpAction action = FtpAction::kReply;
  int times = 1;  // commands it answers; -1: all
};

class FtpScriptServer {
 public:
  // greeting: the bytes sent first (may be multi-line, may hold Telnet IAC).
  explicit FtpScriptServer(std::string greeting = "220 Scripted server ready\r\n");
  ~FtpScriptServer();
  FtpScriptServer(const FtpScriptServer&) = delete;
  FtpScriptServer& operator=(const FtpScriptServer&) = delete;

  int port() const { return port_; }
  // Rules and settings must be given before the client connects.
  void AddRule(FtpRule rule) { rules_.push_back(std::move(rule)); }
  void set_data(std::string bytes) { data_ = std::move(bytes); }
  // Every reply byte in its own TCP segment.
  void set_byte_per_segment(bool on) { byte_per_segment_ = on; }

  // Waits for the session to end (the client closed or the server dropped
  // it); closes every descriptor the server holds. Idempotent.
  void Stop();

  // Valid after Stop().
  const std::vector<std::string>& commands() const { return commands_; }          // without CR LF
  const std::string& raw() const { return raw_; }                                 // every control byte
  const std::vector<std::size_t>& urgent_marks() const { return urgent_marks_; }  // offsets in raw()
  const std::string& stored() const { return stored_; }                           // bytes of uploads
  bool data_connected() const { return data_connected_; }

 private:
  void Serve();
  void Session(int control);
  bool SendText(int fd, const std::string& text);
  int OpenData();
  std::string DefaultReply(const std::string& verb, FtpAction& action);

  int listener_ = -1;
  int port_ = 0;
  int pasv_listener_ = -1;
  std::string port_arg_;
  std::vector<FtpRule> rules_;
  std::string greeting_;
  std::string data_;
  bool byte_per_segment_ = false;
  std::atomic<bool> stopping_{false};
  std::thread thread_;
  bool stopped_ = false;

  std::vector<std::string> commands_;
  std::string raw_;
  std::vector<std::size_t> urgent_marks_;
  std::string stored_;
  bool data_connected_ = false;
};

// Number of descriptors this process holds (/proc/self/fd).
int CountOpenDescriptors();

}  // namespace harness
