// A scripted FTP server on 127.0.0.1 for the FTP client's scenarios. It
// serves one control connection on a thread of its own, answers each command
// by the first unused rule of its verb (else by a default reply), and records
// what it received. Data connections follow the client's PORT or PASV (to the
// listener of the control connection).
#pragma once

#include <string>
#include <thread>
#include <vector>

namespace harness {

// kReply: send the reply (a "150" reply to RETR, NLST, STOR or APPE moves the
// data); kSilent: never answer; kDrop: reply, then close the control
// connection; kNoData: reply, but never open the data connection; kIntrude:
// as kReply, but first a connection from 127.0.0.2 to the client's PORT
// sends "injected".
enum class FtpAct { kReply, kSilent, kDrop, kNoData, kIntrude };

struct FtpRule {
  std::string verb;   // "MKD"
  std::string reply;  // sent as it is
  FtpAct act = FtpAct::kReply;
};

struct FtpScript {
  std::string greeting = "220 Scripted server ready\r\n";
  std::vector<FtpRule> rules = {};
  std::string data = {};  // what RETR and NLST send
  int drip_ms = 0;        // the pause after each byte of the greeting
};

struct FtpScriptServer {
  explicit FtpScriptServer(FtpScript script);
  // Waits for the session to end (10 s of silence end it too); once.
  void Stop() { thread.join(); }
  void Session();

  FtpScript script;
  int listener = -1, port = 0;
  // Valid after Stop(): the command lines as they came, each ended by "|"
  // (Telnet bytes too, "<urgent>" where the urgent mark was), and the bytes
  // of the uploads.
  std::string commands;
  std::string stored;
  std::jthread thread;  // last: joined before the rest goes
};

}  // namespace harness
