// The nxconf tool as developers run it: init a device tree into an empty
// directory, dump every binary file it wrote, change fields with set and
// see exactly those bytes change; refusals leave files untouched.
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "config/layouts/known_files.h"
#include "config/record_layout.h"
#include "harness/capture.h"
#include "harness/device_root.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

// A flat view of a JSON text: "fields.Port2.Cond1.SMon" -> "-1"; strings
// decoded, other values as written; array elements by position.
class FlatJson {
 public:
  explicit FlatJson(const std::string& text) : text_(text) {
    Value("");
    Space();
    if (at_ != text_.size()) throw std::runtime_error("trailing text after JSON");
  }
  const std::map<std::string, std::string>& values() const { return values_; }
  std::string Get(const std::string& path) const {
    const auto it = values_.find(path);
    if (it == values_.end()) throw std::runtime_error("no " + path);
    return it->second;
  }

 private:
  void Space() {
    while (at_ < text_.size() && std::isspace(static_cast<unsigned char>(text_[at_]))) ++at_;
  }
  void Expect(char c) {
    Space();
    if (at_ >= text_.size() || text_[at_] != c) throw std::runtime_error(std::string("expected ") + c);
    ++at_;
  }
  bool Peek(char c) {
    Space();
    return at_ < text_.size() && text_[at_] == c;
  }
  std::string String() {
    Expect('"');
    std::string out;
    while (at_ < text_.size() && text_[at_] != '"') {
      char c = text_[at_++];
      if (c == '\\') {
        c = text_[at_++];
        if (c == 'u') {
          out += static_cast<char>(std::stoi(text_.substr(at_, 4), nullptr, 16));
          at_ += 4;
          continue;
        }
        if (c == 'n') c = '\n';
      } else if (static_cast<unsigned char>(c) < 0x20) {
        throw std::runtime_error("raw control character in string");
      }
      out += c;
    }
    Expect('"');
    return out;
  }
  void Value(const std::string& path) {
    const std::string prefix = path.empty() ? "" : path + ".";
    if (Peek('{')) {
      Expect('{');
      if (Peek('}')) return Expect('}');
      do {
        const std::string key = String();
        Expect(':');
        Value(prefix + key);
      } while (Peek(',') && (Expect(','), true));
      return Expect('}');
    }
    if (Peek('[')) {
      Expect('[');
      int index = 0;
      if (Peek(']')) return Expect(']');
      do {
        Value(prefix + std::to_string(index++));
      } while (Peek(',') && (Expect(','), true));
      return Expect(']');
    }
    if (Peek('"')) {
      values_[path] = String();
      return;
    }
    const std::size_t start = at_;
    while (at_ < text_.size() && (std::isdigit(static_cast<unsigned char>(text_[at_])) || text_[at_] == '-'))
      ++at_;
    if (start == at_) throw std::runtime_error("bad value at " + std::to_string(at_));
    values_[path] = text_.substr(start, at_ - start);
  }

  const std::string& text_;
  std::size_t at_ = 0;
  std::map<std::string, std::string> values_;
};

harness::ProcessResult Nxconf(const std::vector<std::string>& args) {
  std::vector<std::string> argv = {harness::NxconfBinary()};
  argv.insert(argv.end(), args.begin(), args.end());
  return harness::RunProgram(argv);
}

// Number of values a dump shows for a layout: every element of every field,
// blocks entered, alternatives with their "when" line.
std::size_t ValueCount(const config::Layout& layout) {
  std::size_t count = 0;
  auto fields = [&](std::span<const config::Field> rows) {
    for (const config::Field& field : rows) {
      count += field.block != nullptr ? field.elements() * ValueCount(*field.block) : field.elements();
    }
  };
  fields(layout.fields);
  for (const config::Alternative& alternative : layout.alternatives) {
    fields(alternative.fields);
    ++count;
  }
  return count;
}

std::size_t CountPrefix(const FlatJson& json, const std::string& prefix) {
  std::size_t count = 0;
  for (const auto& [path, value] : json.values()) count += path.starts_with(prefix);
  return count;
}

// Every binary file init writes: device path and its entry.
std::vector<std::pair<std::string, const config::KnownFile*>> BinaryFiles() {
  std::vector<std::pair<std::string, const config::KnownFile*>> files;
  for (const config::KnownFile& file : config::kKnownFiles) {
    const std::string name(file.file_name);
    if (file.scope == config::FileScope::kModule) {
      for (int m = 0; m < 4; ++m)
        files.emplace_back("/opt/vsb/etc/NxConf/NxModId" + std::to_string(m) + "/" + name, &file);
    } else {
      files.emplace_back("/opt/vsb/etc/NxConf/" + name, &file);
      if (file.kind == config::FileKind::kCatalogue) files.emplace_back("/web/img/" + name, &file);
    }
  }
  return files;
}

bool HasKey(const std::string& text, const std::string& key) {
  return text.starts_with(key + "=") || text.find("\n" + key + "=") != std::string::npos;
}

class NxconfTest : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = sandbox_.path() + "/device";
    const harness::ProcessResult init = Nxconf({"init", root_});
    ASSERT_EQ(init.exit_status, 0) << init.err;
    ASSERT_EQ(init.err, "");
  }
  std::string Host(const std::string& device_path) const { return root_ + device_path; }
  std::string Read(const std::string& device_path) const { return harness::ReadWholeFile(Host(device_path)); }
  FlatJson Dump(const std::string& device_path) {
    const harness::ProcessResult dump = Nxconf({"dump", Host(device_path)});
    EXPECT_EQ(dump.exit_status, 0) << device_path << ": " << dump.err;
    dump_text_ = dump.out;
    return FlatJson(dump_text_);
  }

  harness::SandboxRoot sandbox_;
  std::string root_;
  std::string dump_text_;
};

TEST_F(NxconfTest, InitWritesEveryFileOfTheDeviceTree) {
  for (const auto& [device_path, file] : BinaryFiles()) {
    const std::string bytes = Read(device_path);
    if (file->kind == config::FileKind::kRecord) {
      EXPECT_EQ(bytes.size(), file->layout->size) << device_path;
    } else {
      EXPECT_GT(bytes.size(), file->layout->size) << device_path;
    }
  }
  EXPECT_EQ(Read("/opt/vsb/etc/NxConf/PtzModel.bin"), Read("/web/img/PtzModel.bin"));
  EXPECT_EQ(Read("/opt/vsb/etc/NxConf/SensorModel.bin"), Read("/web/img/SensorModel.bin"));
  EXPECT_EQ(Read("/opt/vsb/etc/NxIsensNe.conf"),
            "VERSION=0\nNE_UDP_PORT=12002\nCE_UDP_PORT=12001\nCE_IP_ADDRESS=\n");
  const std::string esmta = Read("/opt/vsb/etc/esmta.conf");
  const std::string smsta = Read("/opt/vsb/etc/smsta.conf");
  for (const char* key : {"SERVICE", "SERVER", "SENDER", "AUTH_LOGIN", "USERID", "PASSWD", "RECIPIENT0",
                          "RECIPIENT3", "EXTRA_PARM0", "EXTRA_PARM7"}) {
    EXPECT_TRUE(HasKey(esmta, key)) << key;
    EXPECT_TRUE(HasKey(smsta, key)) << key;
  }
  for (const char* key : {"JPEG_SIZE=", "JPEG_COUNT=", "JPEG_PAUSE="}) {
    EXPECT_NE(esmta.find(key), std::string::npos) << key;
    EXPECT_EQ(smsta.find(key), std::string::npos) << key;
  }
  const std::string camgpctl = Read("/opt/vsb/etc/NxConf/camgpctl.conf");
  for (const char* key : {"FLK=", "AGC=", "BLC=", "ELC="})
    EXPECT_NE(camgpctl.find(key), std::string::npos) << key;
  EXPECT_TRUE(Read("/etc/sysconfig/names.conf").starts_with("SERVER_NAME="));
  EXPECT_NE(Read("/proc/driver/kv_basic_conf").find("KVF_STR1=\"ABC123\";"), std::string::npos);
  for (const char* directory :
       {"/web", "/web/img", "/var/run", "/var/log", "/tmp", "/etc/init.d", "/usr/sbin", "/opt/vsb/bin",
        "/dev", "/tmp/advbuf/keep/mod0/hold/port0", "/tmp/advbuf/keep/mod3/hold/port3"}) {
    EXPECT_TRUE(std::filesystem::is_directory(Host(directory))) << directory;
  }
}

TEST_F(NxconfTest, DumpShowsEveryFieldOfEveryRecordFile) {
  for (const auto& [device_path, file] : BinaryFiles()) {
    if (file->kind != config::FileKind::kRecord) continue;
    const FlatJson json = Dump(device_path);
    EXPECT_EQ(json.Get("type"), file->layout->name);
    EXPECT_EQ(json.Get("size"), std::to_string(file->layout->size));
    EXPECT_EQ(CountPrefix(json, "fields."), ValueCount(*file->layout)) << device_path;
  }
}

TEST_F(NxconfTest, DumpShowsTheFactoryDefaults) {
  const FlatJson mail = Dump("/opt/vsb/etc/NxConf/NxModId2/MailConf.bin");
  EXPECT_EQ(mail.Get("fields.EnableSvc"), "0");
  EXPECT_EQ(mail.Get("fields.SmtpPort"), "25");
  for (int p = 0; p < 4; ++p) {
    for (int c = 0; c < 3; ++c) {
      const std::string cond = "fields.Port" + std::to_string(p) + ".Cond" + std::to_string(c) + ".";
      for (const char* time : {"SMon", "EMon", "SDay", "EDay", "SHour", "EHour", "SMin", "EMin"}) {
        EXPECT_EQ(mail.Get(cond + time), "-1") << cond << time;
      }
      EXPECT_EQ(mail.Get(cond + "Fixed8"), "ffffff");
      EXPECT_EQ(mail.Get(cond + "Fixed28"), "1");
      EXPECT_EQ(mail.Get(cond + "Fixed52"), "1");
      EXPECT_EQ(mail.Get(cond + "Weekday"), "0");
    }
  }
  const FlatJson sig = Dump("/opt/vsb/etc/NxConf/NxModId0/FtpSigSvcConf.bin");
  EXPECT_EQ(sig.Get("fields.ServerIp"), "127.0.0.1");
  EXPECT_EQ(sig.Get("fields.FtpCtrlPort"), "21");
  const FlatJson dur = Dump("/opt/vsb/etc/NxConf/NxModId3/FtpDurSvcConf.bin");
  EXPECT_EQ(dur.Get("fields.SeqModulo"), "1");
  EXPECT_EQ(dur.Get("fields.FtpCtrlPort"), "21");
  const FlatJson call = Dump("/opt/vsb/etc/NxConf/NxModId1/CallConf.bin");
  EXPECT_EQ(call.Get("fields.Cond2.SMin"), "-1");
  const FlatJson ptz = Dump("/opt/vsb/etc/NxConf/PtzConf.bin");
  EXPECT_EQ(ptz.Get("fields.PtzDeviceId"), "65535");
  EXPECT_EQ(ptz.Get("fields.Module3.Port3.PresetName255"), "");
  EXPECT_EQ(Dump("/opt/vsb/etc/NxConf/SensorConf.bin").Get("fields.SensorModel"), "-1");
}

TEST_F(NxconfTest, DumpWalksTheCatalogueRecords) {
  const FlatJson ptz = Dump("/opt/vsb/etc/NxConf/PtzModel.bin");
  std::vector<std::string> bauds;
  std::size_t total = 0;
  for (int r = 0; ptz.values().count("records." + std::to_string(r) + ".size"); ++r) {
    const std::string record = "records." + std::to_string(r) + ".";
    bauds.push_back(ptz.Get(record + "fields.DefaultBaud"));
    EXPECT_EQ(ptz.Get(record + "fields.ModelNumber"), std::to_string(r));
    EXPECT_EQ(ptz.Get(record + "offset"), std::to_string(total));
    total += std::stoul(ptz.Get(record + "size"));
  }
  EXPECT_EQ(total, Read("/opt/vsb/etc/NxConf/PtzModel.bin").size());
  EXPECT_EQ(ptz.Get("records.0.fields.CatalogMark"), "1");
  ASSERT_GE(bauds.size(), 4u);
  EXPECT_EQ(bauds[2], "4800");
  EXPECT_NE(std::find(bauds.begin(), bauds.end(), "14400"), bauds.end());

  const FlatJson sensors = Dump("/opt/vsb/etc/NxConf/SensorModel.bin");
  std::set<std::string> types;
  total = 0;
  for (int r = 0; sensors.values().count("records." + std::to_string(r) + ".size"); ++r) {
    types.insert(sensors.Get("records." + std::to_string(r) + ".fields.ModelType"));
    total += std::stoul(sensors.Get("records." + std::to_string(r) + ".size"));
  }
  EXPECT_EQ(total, Read("/opt/vsb/etc/NxConf/SensorModel.bin").size());
  EXPECT_EQ(types, (std::set<std::string>{"0", "1", "2", "3", "4"}));
}

struct SetCase {
  const char* device_path;
  const char* field;
  const char* value;
  std::string expected_bytes;  // the field's bytes afterwards
  const char* shown;           // the value the dump shows
};

std::string Padded(std::string text, std::size_t width) {
  text.resize(width, '\0');
  return text;
}

TEST_F(NxconfTest, SetChangesExactlyTheFieldsBytes) {
  const SetCase cases[] = {
      {"/opt/vsb/etc/NxConf/NxModId1/MailConf.bin", "Port2.ImageCount", "5", {5, 0, 0, 0}, "5"},
      {"/opt/vsb/etc/NxConf/NxModId1/MailConf.bin", "Port0.Cond1.SMon", "-2", "\xfe\xff\xff\xff", "-2"},
      {"/opt/vsb/etc/NxConf/NxModId1/MailConf.bin", "SmtpServer", "smtp.example.com",
       Padded("smtp.example.com", 64), "smtp.example.com"},
      {"/opt/vsb/etc/NxConf/NxModId1/MailConf.bin", "SmtpPort", "0x1234", "\x34\x12", "4660"},
      {"/opt/vsb/etc/NxConf/NxModId0/DiCgiConf.bin", "IpAddrAux2", "10.0.0.2", Padded("10.0.0.2", 40),
       "10.0.0.2"},
      {"/opt/vsb/etc/NxConf/NxModId3/CallConf.bin", "Cond2.Desc", "night", Padded("night", 128), "night"},
      {"/opt/vsb/etc/NxConf/PtzConf.bin", "Module1.Port2.PresetName7", "Gate", Padded("Gate", 64), "Gate"},
      {"/opt/vsb/etc/NxConf/PtzConf.bin", "PtzDeviceId", "258", {2, 1}, "258"},
      {"/opt/vsb/etc/NxConf/SensorConf.bin", "RelayIpAddr", "192.168.0.10",
       std::string("\xc0\xa8\x00\x0a", 4), "192.168.0.10"},
      {"/opt/vsb/etc/NxConf/SensorConf.bin", "Type3.OsdStartY", "7", {7, 0, 0, 0}, "7"},
      {"/opt/vsb/etc/NxConf/UartOutConf.bin", "ParityBit", "69", "E", "69"},
      {"/opt/vsb/etc/NxConf/NxModId2/ImgBufConf.bin", "PauseTime3", "4294967295", "\xff\xff\xff\xff",
       "4294967295"},
  };
  for (const SetCase& c : cases) {
    SCOPED_TRACE(std::string(c.device_path) + " " + c.field);
    const config::KnownFile* file =
        config::FindKnownFile(std::filesystem::path(c.device_path).filename().string());
    ASSERT_NE(file, nullptr);
    const config::FieldRef ref = config::FindField(*file->layout, c.field);
    ASSERT_TRUE(ref.found());
    ASSERT_EQ(c.expected_bytes.size(), ref.width);
    const std::string before = Read(c.device_path);
    const harness::ProcessResult set =
        Nxconf({"set", Host(c.device_path), std::string(c.field) + "=" + c.value});
    ASSERT_EQ(set.exit_status, 0) << set.err;
    EXPECT_EQ(set.out + set.err, "");
    std::string expected = before;
    expected.replace(ref.offset, ref.width, c.expected_bytes);
    EXPECT_EQ(Read(c.device_path), expected);
    const std::string dump_path =
        std::string("fields.") + (std::string(c.field) == "RelayIpAddr" ? "Type4.RelayIpAddr" : c.field);
    EXPECT_EQ(Dump(c.device_path).Get(dump_path), c.shown);
  }
}

TEST_F(NxconfTest, SetTakesSeveralFieldsAndCatalogueRecords) {
  const std::string path = "/opt/vsb/etc/NxConf/PtzModel.bin";
  const std::string before = Read(path);
  const harness::ProcessResult set =
      Nxconf({"set", Host(path), "Record3.DefaultBaud=4800", "Record0.DefaultLineMode=2"});
  ASSERT_EQ(set.exit_status, 0) << set.err;
  const FlatJson json = Dump(path);
  EXPECT_EQ(json.Get("records.3.fields.DefaultBaud"), "4800");
  EXPECT_EQ(json.Get("records.0.fields.DefaultLineMode"), "2");
  EXPECT_EQ(Read(path).size(), before.size());
}

struct Refusal {
  std::vector<std::string> args;  // after "set FILE"
  const char* message_part;
};

TEST_F(NxconfTest, SetRefusesWhatDoesNotFitAndLeavesTheFileUntouched) {
  const std::string path = "/opt/vsb/etc/NxConf/NxModId0/MailConf.bin";
  const Refusal refusals[] = {
      {{"Nope=1"}, "unknown field 'Nope'"},
      {{"Port4.ImageCount=1"}, "unknown field 'Port4.ImageCount'"},
      {{"SmtpPort=65536"}, "does not fit SmtpPort (u16, 0..65535)"},
      {{"AuthLogin=256"}, "does not fit AuthLogin (u8, 0..255)"},
      {{"EnableSvc=-1"}, "does not fit EnableSvc (u32"},
      {{"EnableSvc=4294967296"}, "does not fit EnableSvc"},
      {{"EnableSvc=12abc"}, "does not fit EnableSvc"},
      {{"Port0.Cond0.SMon=2147483648"}, "does not fit Port0.Cond0.SMon (i32"},
      {{"Port0.Cond0.SMon=-2147483649"}, "does not fit Port0.Cond0.SMon"},
      {{"SmtpServer=" + std::string(64, 'a')},
       "text of 64 characters does not fit SmtpServer (char[64], at most 63)"},
      {{"Pad73=0102"}, "does not fit Pad73 (raw"},
      {{"Recipient=x"}, "Recipient is an array of 3"},
      {{"Port1=0"}, "Port1 is a block"},
      {{"SmtpPort"}, "is not FIELD=VALUE"},
      {{"SmtpPort=26", "Nope=1"}, "unknown field 'Nope'"},
  };
  const std::string before = Read(path);
  for (const Refusal& refusal : refusals) {
    std::vector<std::string> args = {"set", Host(path)};
    args.insert(args.end(), refusal.args.begin(), refusal.args.end());
    const harness::ProcessResult set = Nxconf(args);
    EXPECT_EQ(set.exit_status, 1) << refusal.args.front();
    EXPECT_EQ(set.out, "");
    EXPECT_TRUE(set.err.starts_with("nxconf: ")) << set.err;
    EXPECT_NE(set.err.find(refusal.message_part), std::string::npos) << set.err;
    EXPECT_EQ(set.err.find('\n'), set.err.size() - 1) << set.err;  // one line
    EXPECT_EQ(Read(path), before) << refusal.args.front();
  }
}

TEST_F(NxconfTest, BadInputIsOneLineAndStatusOne) {
  const std::string mail = Host("/opt/vsb/etc/NxConf/NxModId0/MailConf.bin");
  const std::string scratch = sandbox_.path() + "/scratch";
  std::filesystem::create_directories(scratch);
  const std::string whole = harness::ReadWholeFile(mail);
  sandbox_.WriteFile("/scratch/MailConf.bin", whole.substr(0, whole.size() - 1));
  sandbox_.WriteFile("/scratch/Other.bin", whole);
  std::string bad_catalogue = Read("/opt/vsb/etc/NxConf/SensorModel.bin");
  bad_catalogue[0] = 10;  // a record size below the fixed part
  bad_catalogue[1] = 0;
  sandbox_.WriteFile("/scratch/SensorModel.bin", bad_catalogue);
  sandbox_.WriteFile("/scratch/PtzModel.bin", Read("/opt/vsb/etc/NxConf/PtzModel.bin").substr(0, 1000));

  const std::vector<std::vector<std::string>> cases = {
      {},
      {"frobnicate"},
      {"dump"},
      {"dump", scratch + "/Missing.bin"},
      {"dump", scratch + "/Other.bin"},
      {"dump", scratch + "/MailConf.bin"},
      {"dump", mail, "--type", "PtzConf"},
      {"dump", mail, "--type", "NoSuchType"},
      {"dump", mail, "--type"},
      {"dump", scratch},
      {"dump", scratch + "/SensorModel.bin"},
      {"dump", scratch + "/PtzModel.bin"},
      {"set", mail},
      {"init"},
  };
  for (const auto& args : cases) {
    const harness::ProcessResult result = Nxconf(args);
    const std::string shown = args.empty() ? "(none)" : args.front() + (args.size() > 1 ? " " + args[1] : "");
    EXPECT_EQ(result.exit_status, 1) << shown;
    EXPECT_EQ(result.out, "") << shown;
    EXPECT_TRUE(result.err.starts_with("nxconf: ")) << shown << ": " << result.err;
    EXPECT_EQ(std::count(result.err.begin(), result.err.end(), '\n'), 1) << shown << ": " << result.err;
  }
  // A longer file is read as its record, like the loaders do.
  sandbox_.WriteFile("/scratch/MailConf.bin", whole + "tail");
  const harness::ProcessResult longer = Nxconf({"dump", scratch + "/MailConf.bin"});
  EXPECT_EQ(longer.exit_status, 0);
  EXPECT_EQ(FlatJson(longer.out).Get("extra_bytes"), "4");
  // --type names the layout of a file whose name says nothing.
  EXPECT_EQ(Nxconf({"dump", scratch + "/Other.bin", "--type", "MailConf"}).exit_status, 0);
}

TEST(DeviceRoot, SandboxRootGetsTheFactoryTreeAndKeepsItsStubs) {
  harness::SandboxRoot sandbox;
  harness::MakeDeviceRoot(sandbox);
  EXPECT_EQ(sandbox.ReadFile("/opt/vsb/etc/NxConf/NxModId3/MailConf.bin").size(), 4572u);
  EXPECT_TRUE(sandbox.Exists("/web/img/PtzModel.bin"));
  EXPECT_TRUE(sandbox.ReadFile("/usr/sbin/savecfg").starts_with("#!/bin/sh"));
}

}  // namespace
