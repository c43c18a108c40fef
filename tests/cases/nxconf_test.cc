// nxconf as the device builder runs it: init writes the factory tree, dump
// shows a record's fields, set changes exactly a field's bytes, or refuses
// in one line and leaves the file as it was.
#include <gtest/gtest.h>

#include "harness/device_root.h"
#include "harness/process.h"

namespace {

// "<exit status>: <standard output><standard error>" of nxconf.
std::string Nxconf(std::vector<std::string> args) {
  args.insert(args.begin(), harness::BuiltProgram("nxconf"));
  const harness::ProcessResult run = harness::RunProgram(args);
  return std::to_string(run.exit_status) + ": " + run.out + run.err;
}

const std::string kUart = "/opt/vsb/etc/NxConf/UartOutConf.bin",
                  kMail = "/opt/vsb/etc/NxConf/NxModId0/MailConf.bin";

TEST(Nxconf, InitWritesTheFactoryTree) {
  harness::DeviceRoot scratch;
  const std::string root = scratch.path() + "/fresh";
  EXPECT_EQ(Nxconf({"init", root}), "0: nxconf: 55 files written below " + root + "\n");
  EXPECT_EQ(scratch.Read("/fresh/opt/vsb/etc/NxIsensNe.conf"),
            "VERSION=0\nNE_UDP_PORT=12002\nCE_UDP_PORT=12001\nCE_IP_ADDRESS=\n");
  EXPECT_EQ(scratch.Read("/fresh/web/img/PtzModel.bin"),
            scratch.Read("/fresh/opt/vsb/etc/NxConf/PtzModel.bin"));
}

TEST(Nxconf, SetChangesTheFieldsAndDumpShowsThem) {
  harness::DeviceRoot root;
  EXPECT_EQ(Nxconf({"set", root.Host(kUart), "BaudRate=0x1234", "ParityBit=69"}), "0: ");
  EXPECT_EQ(root.Read(kUart), std::string("\0\0\0\0\0\0\x34\x12\x08\x01\x45\0", 12));
  EXPECT_EQ(
      Nxconf({"dump", root.Host(kUart)}),
      "0: {\n  \"file\": \"" + root.Host(kUart) +
          "\",\n  \"type\": \"UartOutConf\",\n  \"size\": 12,\n  \"record_size\": 12,\n  \"fields\": {\n"
          "    \"Rsv0\": 0,\n    \"Mode485On\": 0,\n    \"BaudRate\": 4660,\n    \"DataBit\": 8,\n"
          "    \"StopBit\": 1,\n    \"ParityBit\": 69,\n    \"X10Mode\": 0\n  }\n}\n");
}

TEST(Nxconf, SetRefusesWhatDoesNotFit) {
  harness::DeviceRoot root;
  const std::string before = root.Read(kMail);
  for (const auto& [args, message] : std::vector<std::pair<std::vector<std::string>, std::string>>{
           {{"SmtpPort=65536"}, "value '65536' does not fit SmtpPort (u16, 0..65535)"},
           {{"SmtpServer=" + std::string(64, 'a')},
            "text of 64 characters does not fit SmtpServer (char[64], at most 63)"},
           {{"Port1=0"}, "Port1 is a block; name one of its fields"},
           {{"SmtpPort=26", "Nope=1"}, "unknown field 'Nope'"}}) {
    std::vector<std::string> set = {"set", root.Host(kMail)};
    set.insert(set.end(), args.begin(), args.end());
    EXPECT_EQ(Nxconf(set), "1: nxconf: " + root.Host(kMail) + ": " + message + "\n");
    EXPECT_EQ(root.Read(kMail), before) << message;
  }
  EXPECT_TRUE(
      Nxconf({"frobnicate"}).starts_with("1: nxconf: unknown command 'frobnicate'; usage: nxconf dump FILE"));
}

}  // namespace
