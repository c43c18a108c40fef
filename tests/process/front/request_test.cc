// The request layer as the web server sees it: the real executable started
// under a CGI name with a CGI environment.
#include <gtest/gtest.h>

#include <string>

#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

struct ReadFailureCase {
  const char* name;
  const char* body;
  const char* content_length;
};

class FormReadFailure : public testing::TestWithParam<ReadFailureCase> {};

TEST_P(FormReadFailure, EndsWithStatusMinusOneAndWritesNothing) {
  harness::SandboxRoot root;
  harness::CgiRequest request;
  request.argv0 = "/cgi-bin/nxmailsvc.cgi";
  request.method = "POST";
  request.body = GetParam().body;
  request.content_length = GetParam().content_length;
  request.root = root.path();
  const harness::ProcessResult result = harness::RunCgi(request);
  EXPECT_EQ(result.exit_status, 255);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "");
}

INSTANTIATE_TEST_SUITE_P(
    Cases, FormReadFailure,
    testing::Values(ReadFailureCase{"short_body", "NxModId=1", "20"}, ReadFailureCase{"no_body", "", "5"},
                    ReadFailureCase{"negative_length", "a=1", "-3"},
                    ReadFailureCase{"unallocatable_length", "a=1", "9223372036854775807"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(ProgramName, ComparisonIsCaseSensitive) {
  harness::SandboxRoot root;
  const harness::ProcessResult result = harness::GetCgi("NXUOUTCTR.CGI", "NxCgiVer=1", root.path());
  EXPECT_EQ(result.exit_status, 0);
  EXPECT_EQ(result.out, "NOT Found Cgi Func: NXUOUTCTR.CGI<br>\n");
}

TEST(ProgramName, NameWithoutDirectoryAndUnknownNames) {
  harness::CgiRequest request;
  request.argv0 = "nxnosuch.cgi";
  EXPECT_EQ(harness::RunCgi(request).out, "NOT Found Cgi Func: nxnosuch.cgi<br>\n");
  request.argv0 = "/usr/lib/cgi-bin/";
  EXPECT_EQ(harness::RunCgi(request).out, "NOT Found Cgi Func: <br>\n");
}

TEST(RequestMethod, UnknownMethodsAndPostsOfOtherTypesLeaveTheFormEmpty) {
  for (const char* method : {"PUT", "HEAD", ""}) {
    harness::CgiRequest request;
    request.argv0 = "/cgi-bin/nxnosuch.cgi";
    request.method = method;
    request.query = "a=1";
    const harness::ProcessResult result = harness::RunCgi(request);
    EXPECT_EQ(result.exit_status, 0) << method;
    EXPECT_EQ(result.out, "NOT Found Cgi Func: nxnosuch.cgi<br>\n") << method;
  }
  harness::CgiRequest request;
  request.argv0 = "/cgi-bin/nxnosuch.cgi";
  request.method = "POST";
  request.content_type = "application/x-www-form-urlencoded; charset=UTF-8";
  request.body = "a=1";
  request.content_length = "99";  // never read: the type does not match
  EXPECT_EQ(harness::RunCgi(request).exit_status, 0);
}

TEST(RequestMethod, GetIgnoresContentLength) {
  harness::CgiRequest request;
  request.argv0 = "/cgi-bin/nxnosuch.cgi";
  request.method = "get";
  request.query = "a=1";
  request.content_length = "-5";
  EXPECT_EQ(harness::RunCgi(request).exit_status, 0);
}

}  // namespace
