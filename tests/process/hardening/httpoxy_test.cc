// A request's "Proxy:" header reaches the CGI environment as HTTP_PROXY;
// the commands the system runs must not take it for their proxy. The
// save command here records the environment it was given.
#include <gtest/gtest.h>

#include <string>

#include "harness/bytes.h"
#include "harness/expected_pages.h"
#include "harness/process.h"
#include "harness/sandbox.h"

namespace {

TEST(Httpoxy, CommandsRunWithoutTheProxyHeaderAndWithTheRestOfTheEnvironment) {
  harness::SandboxRoot root;
  harness::Bytes mail = harness::PatternBytes(4572);
  harness::PutU32(mail, 396 + 336, 2);  // QueueCount and ImageCount of port 0 within their limits
  harness::PutU32(mail, 396 + 340, 4);
  root.WriteFile("/opt/vsb/etc/NxConf/NxModId1/MailConf.bin", mail);
  root.WriteFile("/usr/sbin/savecfg", "#!/bin/sh\nenv > \"$NXCGI_ROOT/var/log/savecfg.env\"\n", 0755);

  harness::CgiRequest request;
  request.argv0 = "/cgi-bin/nxmailsvcport.cgi";
  request.query = "NxModId=1&NxCgiVer=1&PortId=0&PauseTime=3&SaveCfg=YES";
  request.root = root.path();
  request.env = {{"HTTP_PROXY", "http://client.example:8080"},
                 {"http_proxy", "http://client.example:8080"},
                 {"HTTP_USER_AGENT", "browser"}};
  const harness::ProcessResult result = harness::RunCgi(request);
  EXPECT_EQ(result.out, harness::kHtmlHeader);

  const std::string env = "\n" + root.ReadFile("/var/log/savecfg.env");
  EXPECT_EQ(env.find("\nHTTP_PROXY="), std::string::npos) << env;
  EXPECT_EQ(env.find("\nhttp_proxy="), std::string::npos) << env;
  EXPECT_NE(env.find("\nHTTP_USER_AGENT=browser\n"), std::string::npos) << env;
  EXPECT_NE(env.find("\nQUERY_STRING=" + request.query + "\n"), std::string::npos) << env;
  EXPECT_EQ(harness::GetU32(root.ReadFile("/opt/vsb/etc/NxConf/NxModId1/MailConf.bin"), 396 + 344), 3u);
}

}  // namespace
