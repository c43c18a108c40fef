// nxesmtaset.cgi: esmta.conf and smsta.conf edited key by key (quotes and
// comments kept, blank lines dropped by the rewrite), files that cannot be
// read reported as HTML comments, and the transmitter restarted.
#include <gtest/gtest.h>

#include <map>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "harness/device_root.h"
#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

using Lines = std::vector<std::string>;
using Edits = std::map<std::string, std::string>;  // old line -> new line

constexpr const char* kMail = "/opt/vsb/etc/esmta.conf";
constexpr const char* kSms = "/opt/vsb/etc/smsta.conf";
const Lines kRestart = {"/etc/init.d/mailtxd restart"};

const std::string kMailBase =
    "# mail transmitter\n"
    "SERVICE=off\n"
    "SERVER = \"smtp.old\" # relay\n"
    "\n"
    "SENDER='a@b'\n"
    "AUTH_LOGIN=yes\n"
    "USERID=u\n"
    "PASSWD=\"p\" # secret\n"
    "JPEG_SIZE=2\n"
    "JPEG_COUNT=1\n"
    "JPEG_PAUSE=0\n"
    "RECIPIENT0=r0\nRECIPIENT1=\nRECIPIENT2=\nRECIPIENT3=r3\nRECIPIENT4=old4\n"
    "EXTRA_PARM0=\nEXTRA_PARM1=\nEXTRA_PARM2=\nEXTRA_PARM3=\n"
    "EXTRA_PARM4=\nEXTRA_PARM5=\nEXTRA_PARM6=\nEXTRA_PARM7=x7\nEXTRA_PARM8=old8\n";

// CR LF line ends and an empty line, as an editor on a PC leaves them.
const std::string kSmsBase =
    "SERVICE=no\r\nSERVER=sms.old\r\n\r\nSENDER=\r\nAUTH_LOGIN=no\r\nUSERID=su\r\nPASSWD=sp\r\n"
    "RECIPIENT0=\r\nRECIPIENT1=\r\nRECIPIENT2=\r\nRECIPIENT3=\r\nRECIPIENT4=\r\n"
    "EXTRA_PARM0=\r\nEXTRA_PARM1=\r\nEXTRA_PARM2=\r\nEXTRA_PARM3=\r\n"
    "EXTRA_PARM4=\r\nEXTRA_PARM5=\r\nEXTRA_PARM6=\r\nEXTRA_PARM7=\r\nEXTRA_PARM8=\r\n";

// The file as the rewrite leaves it: every non-empty line ended by LF, the
// listed lines replaced.
std::string Rewritten(const std::string& base, const Edits& edits) {
  std::istringstream in(base);
  std::string out;
  for (std::string line; std::getline(in, line);) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    if (line.empty()) continue;
    const auto edit = edits.find(line);
    out += (edit != edits.end() ? edit->second : line) + "\n";
  }
  return out;
}

struct EsmtaCase {
  const char* name;
  std::string query;
  Edits mail;
  Edits sms;
};

void PrintTo(const EsmtaCase& c, std::ostream* out) { *out << c.name; }

const std::string k127(127, 'x');
const std::string k128(128, 'y');

const EsmtaCase kCases[] = {
    {"NoFieldsRewritesBoth", "", {}, {}},
    {"ServiceExactlyYes",
     "Service=yes&SmsService=yes",
     {{"SERVICE=off", "SERVICE=yes"}},
     {{"SERVICE=no", "SERVICE=yes"}}},
    {"ServiceCapitalYesIsNo", "Service=Yes&SmsService=YES", {{"SERVICE=off", "SERVICE=no"}}, {}},
    {"ServiceOneIsNo", "Service=1", {{"SERVICE=off", "SERVICE=no"}}, {}},
    {"EmptyServiceKeeps", "Service=&SmsService=", {}, {}},
    {"EmptyServerClears",
     "Server=&SmsServer=",
     {{"SERVER = \"smtp.old\" # relay", "SERVER = \"\" # relay"}},
     {{"SERVER=sms.old", "SERVER="}}},
    {"EmptyKeepersKeep", "AuthLogin=&SmsAuthLogin=&JpegSize=&JpegCount=&JpegPause=", {}, {}},
    {"EmptyClearersClear",
     "Sender=&UserId=&Passwd=&Recipient0=&ExtraParm7=&SmsUserId=&SmsPasswd=",
     {{"SENDER='a@b'", "SENDER=''"},
      {"USERID=u", "USERID="},
      {"PASSWD=\"p\" # secret", "PASSWD=\"\" # secret"},
      {"RECIPIENT0=r0", "RECIPIENT0="},
      {"EXTRA_PARM7=x7", "EXTRA_PARM7="}},
     {{"USERID=su", "USERID="}, {"PASSWD=sp", "PASSWD="}}},
    {"ValuesAsSubmitted",
     "Server=mail.example.com&Sender=cam%40example.com&AuthLogin=yes%20please&UserId=me&Passwd=p%23w"
     "&JpegSize=3&JpegCount=0x4&JpegPause=-5",
     {{"SERVER = \"smtp.old\" # relay", "SERVER = \"mail.example.com\" # relay"},
      {"SENDER='a@b'", "SENDER='cam@example.com'"},
      {"AUTH_LOGIN=yes", "AUTH_LOGIN=yes please"},
      {"USERID=u", "USERID=me"},
      {"PASSWD=\"p\" # secret", "PASSWD=\"p#w\" # secret"},
      {"JPEG_SIZE=2", "JPEG_SIZE=3"},
      {"JPEG_COUNT=1", "JPEG_COUNT=0x4"},
      {"JPEG_PAUSE=0", "JPEG_PAUSE=-5"}},
     {}},
    {"SmsFieldsOnlyToSms",
     "SmsServer=sms.new&SmsSender=%2B4912345&SmsAuthLogin=yes&SmsUserId=id&SmsPasswd=pw",
     {},
     {{"SERVER=sms.old", "SERVER=sms.new"},
      {"SENDER=", "SENDER=+4912345"},
      {"AUTH_LOGIN=no", "AUTH_LOGIN=yes"},
      {"USERID=su", "USERID=id"},
      {"PASSWD=sp", "PASSWD=pw"}}},
    {"IndexedFieldsUpToTheirCount",
     "Recipient0=a&Recipient3=d&Recipient4=q&ExtraParm0=e0&ExtraParm7=e7&ExtraParm8=q"
     "&SmsRecipient1=s1&SmsRecipient4=q&SmsExtraParm7=s7&SmsExtraParm8=q",
     {{"RECIPIENT0=r0", "RECIPIENT0=a"},
      {"RECIPIENT3=r3", "RECIPIENT3=d"},
      {"EXTRA_PARM0=", "EXTRA_PARM0=e0"},
      {"EXTRA_PARM7=x7", "EXTRA_PARM7=e7"}},
     {{"RECIPIENT1=", "RECIPIENT1=s1"}, {"EXTRA_PARM7=", "EXTRA_PARM7=s7"}}},
    {"LongValues",
     "Server=" + k128 + "&Sender=" + k127 + "&SmsServer=" + k128,
     {{"SENDER='a@b'", "SENDER='" + k127 + "'"}},
     {}},
};

class EsmtaSetTest : public testing::TestWithParam<EsmtaCase> {};

TEST_P(EsmtaSetTest, BothFilesAndRestart) {
  const EsmtaCase& c = GetParam();
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  root.WriteFile(kMail, kMailBase);
  root.WriteFile(kSms, kSmsBase);

  const harness::ProcessResult result = harness::GetCgi("nxesmtaset.cgi", c.query, root.path());

  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, harness::kHtmlHeader);
  EXPECT_EQ(root.ReadFile(kMail), Rewritten(kMailBase, c.mail));
  EXPECT_EQ(root.ReadFile(kSms), Rewritten(kSmsBase, c.sms));
  EXPECT_EQ(root.Journal(), kRestart);
}

INSTANTIATE_TEST_SUITE_P(Cases, EsmtaSetTest, testing::ValuesIn(kCases),
                         [](const testing::TestParamInfo<EsmtaCase>& info) { return info.param.name; });

TEST(EsmtaSet, KeyMissingFromTheFileIsNotAdded) {
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  root.WriteFile(kMail, "SERVICE=no\nSERVER=old\n");
  root.WriteFile(kSms, "SERVICE=no\n");

  const harness::ProcessResult result =
      harness::GetCgi("nxesmtaset.cgi", "Passwd=x&Server=new&SmsServer=s&JpegSize=1", root.path());

  EXPECT_EQ(result.out, harness::kHtmlHeader);
  EXPECT_EQ(root.ReadFile(kMail), "SERVICE=no\nSERVER=new\n");
  EXPECT_EQ(root.ReadFile(kSms), "SERVICE=no\n");
  EXPECT_EQ(root.Journal(), kRestart);
}

enum class FileState { kPresent, kMissing, kUnreadable };

struct FileProblemCase {
  const char* name;
  FileState mail;
  FileState sms;
  const char* comment;
};

void PrintTo(const FileProblemCase& c, std::ostream* out) { *out << c.name; }

const FileProblemCase kProblemCases[] = {
    {"MailMissing", FileState::kMissing, FileState::kPresent,
     "<!--Failed to create cfg[/opt/vsb/etc/esmta.conf]-->"},
    {"MailUnreadable", FileState::kUnreadable, FileState::kPresent,
     "<!--Failed to create cfg[/opt/vsb/etc/esmta.conf]-->"},
    {"BothMissing", FileState::kMissing, FileState::kMissing,
     "<!--Failed to create cfg[/opt/vsb/etc/esmta.conf]-->"},
    {"SmsMissing", FileState::kPresent, FileState::kMissing,
     "<!--Failed to create cfg[/opt/vsb/etc/smsta.conf]-->"},
    {"SmsUnreadable", FileState::kPresent, FileState::kUnreadable,
     "<!--Failed to create cfg[/opt/vsb/etc/smsta.conf]-->"},
};

void Prepare(const harness::SandboxRoot& root, const char* path, const std::string& contents,
             FileState state) {
  root.Remove(path);
  if (state == FileState::kPresent) root.WriteFile(path, contents);
  // A directory: it exists, but reading it fails.
  if (state == FileState::kUnreadable) root.MakeDirectory(path);
}

class EsmtaFileProblemTest : public testing::TestWithParam<FileProblemCase> {};

// A mail file that cannot be read ends the request before the SMS file and
// the restart; an SMS file that cannot be read is only reported.
TEST_P(EsmtaFileProblemTest, CommentInThePageThenTheEpilogue) {
  const FileProblemCase& c = GetParam();
  harness::SandboxRoot root;
  harness::MakeDeviceRoot(root);
  Prepare(root, kMail, kMailBase, c.mail);
  Prepare(root, kSms, kSmsBase, c.sms);

  const harness::ProcessResult result =
      harness::GetCgi("nxesmtaset.cgi", "Service=yes&SmsService=yes&RetReDir=/mail.html", root.path());

  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, harness::kHtmlHeader + c.comment +
                            "<html>\n<head>\n<script language=javascript>\nlocation.href=\"/mail.html\";\n"
                            "</script>\n</head>\n<body>\n</body>\n</html>\n");
  const bool mail_ok = c.mail == FileState::kPresent;
  if (mail_ok) {
    EXPECT_EQ(root.ReadFile(kMail), Rewritten(kMailBase, {{"SERVICE=off", "SERVICE=yes"}}));
    EXPECT_EQ(root.Journal(), kRestart);
  } else {
    EXPECT_TRUE(root.Journal().empty());
  }
  if (c.sms == FileState::kPresent) {
    // Untouched when the mail part ended the request: not even rewritten.
    EXPECT_EQ(root.ReadFile(kSms), mail_ok ? Rewritten(kSmsBase, {{"SERVICE=no", "SERVICE=yes"}}) : kSmsBase);
  }
  // A missing file is never created.
  EXPECT_EQ(root.Exists(kMail), c.mail != FileState::kMissing);
  EXPECT_EQ(root.Exists(kSms), c.sms != FileState::kMissing);
}

INSTANTIATE_TEST_SUITE_P(Cases, EsmtaFileProblemTest, testing::ValuesIn(kProblemCases),
                         [](const testing::TestParamInfo<FileProblemCase>& info) { return info.param.name; });

}  // namespace
