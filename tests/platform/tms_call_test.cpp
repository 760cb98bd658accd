#include "platform/tms_call.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <string>
#include <thread>

#include "platform/virtual_env.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

struct Site {
  std::string currency = "GBP";
  std::string acquirer = "Barclays";
  std::string fuel;
  bool swipe_on_till = false;
  std::string com_port = "COM1";
  std::string device = "VeriFone VX810";
};

// Runs UpdateTmsScript on `script` in a fresh folder and returns the rewritten text.
std::string Rewrite(const std::string& script, const Site& site = {},
                    std::string* folder_out = nullptr) {
  testing::TempDir dir;
  dir.Write(TTmsCall::kScriptName, script);
  TTmsCall call;
  call.UpdateTmsScript("M123", "C45", dir.path().string(), site.currency, site.acquirer, site.fuel,
                       site.swipe_on_till, site.com_port, site.device);
  if (folder_out) *folder_out = dir.folder();
  return dir.Read(TTmsCall::kScriptName);
}

TEST(TmsCall, EveryConstantLineTakesItsCanonicalFormWhateverItsCase) {
  const std::string script =
      "' terminal management\r\n"
      "const zontalkexe = \"C:\\old\\zontalkclient.exe\"\r\n"
      "  Const ZONTALCOPYEXE=\"x\"\r\n"
      "Const ConfigFileDir=\"x\"\r\n"
      "CONST COPYFILE_FROMDIR=\"x\"\r\n"
      "Const COPYFILE_TODIR=\"x\"\r\n"
      "Const COPYFILE_LOGFILE=\"x\"\r\n"
      "Const QlMerchantId=\"0\"\r\n"
      "Const QLCLIENTID=\"0\"\r\n"
      "Const APPLICATION_DOWNLOADVX810=\"ABC123\"\r\n"
      "Const APPLICATION_FUELFILES=\"x\"\r\n"
      "Const Application_OfflineFile=\"XYZ999\"\r\n"
      "Const COMPORT=9\r\n"
      "WScript.Echo ZONTALKEXE\r\n";
  std::string l;
  const std::string out = Rewrite(script, {}, &l);
  EXPECT_EQ(out,
            "' terminal management\n"
            "Const ZONTALKEXE=\"" +
                l +
                "zontalkclient.exe\"\n"
                "Const ZONTALCOPYEXE=\"" +
                l +
                "zontalkcopyfiles.exe\"\n"
                "Const CONFIGFILEDIR=\"" +
                l +
                "\"\n"
                "Const COPYFILE_FROMDIR=\"" +
                l +
                "work/\"\n"
                "Const COPYFILE_TODIR=\"" +
                l +
                "\"\n"
                "Const COPYFILE_LOGFILE=\"" +
                l +
                "zoncopyfile.log\"\n"
                "Const QLMERCHANTID=\"M123\"\n"
                "Const QLCLIENTID=\"C45\"\n"
                "CONST APPLICATION_DOWNLOADVX810=\"ABCPUBP\"\n"
                "Const APPLICATION_FUELFILES=\"\"\n"
                "CONST APPLICATION_OFFLINEFILE=\"XYZUUGE\"\n"
                "Const COMPORT=1\n"
                "WScript.Echo ZONTALKEXE\n");
}

TEST(TmsCall, SiteCodesFollowCurrencyAcquirerBrandSwipeAndDevice) {
  struct Case {
    Site site;
    const char* application;
    const char* fuel;
    const char* offline;
  };
  const Case cases[] = {
      {{"GBP", "Barclays", "", false}, "PUBP", "", "UUGE"},
      {{"EUR", "AIB", "Texaco", true}, "PIAT", "TEXFIFE", "UIGE"},
      {{"GBP", "Elavon", "Maxol", false}, "PUEP", "MAXFUFE", "UUGE"},
      {{"EUR", "Streamline", "Topaz", false}, "PISP", "TPZFIFE", "UIGE"},
      {{"GBP", "Lloyds", "DCI", true}, "PULT", "DCIFUFE", "UUGE"},
      {{"GBP", "HSBC", "Morgan", false}, "PUHP", "MGNFUFE", "UUGE"},
      {{"EUR", "AIB", "Top", false}, "PIAP", "TOPFIFE", "UIGE"},
      // Comparisons are exact: other spellings get no letter or brand, and "eur" is not euro.
      {{"eur", "barclays", "texaco", true}, "PUT", "UFE", "UUGE"},
      {{"GBP", "Barclays", "", false, "COM1", "VeriFone SC5000"}, "", "", "UUGE"},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.site.currency + " " + c.site.acquirer + " " + c.site.fuel + " " + c.site.device);
    EXPECT_EQ(Rewrite("Const APPLICATION_DOWNLOADVX810=\"VX8...\"\n"
                      "Const APPLICATION_FUELFILES=\"\"\n"
                      "Const APPLICATION_OFFLINEFILE=\"OFF...\"\n",
                      c.site),
              std::string("CONST APPLICATION_DOWNLOADVX810=\"VX8") + c.application + "\"\n" +
                  "Const APPLICATION_FUELFILES=\"" + c.fuel + "\"\n" +
                  "CONST APPLICATION_OFFLINEFILE=\"OFF" + c.offline + "\"\n");
  }
}

TEST(TmsCall, ShortValuesComPortRuleAndFirstMatchingConstant) {
  // Too short to hold three kept characters: left exactly as it stood.
  EXPECT_EQ(Rewrite("  Const APPLICATION_OFFLINEFILE=\"A\"  \r\n"),
            "  Const APPLICATION_OFFLINEFILE=\"A\"  \n");
  EXPECT_EQ(Rewrite("Const APPLICATION_DOWNLOADVX810=\"AB\n"),
            "Const APPLICATION_DOWNLOADVX810=\"AB\n");
  // Leading and trailing spaces do not count; exactly three kept characters are enough.
  EXPECT_EQ(Rewrite("   Const APPLICATION_DOWNLOADVX810=\"ABC   \n"),
            "CONST APPLICATION_DOWNLOADVX810=\"ABCPUBP\"\n");

  Site site;
  site.com_port = "COM12";
  EXPECT_EQ(Rewrite("Const ComPort=1\n", site), "Const COMPORT=12\n");
  site.com_port = "CO3";
  EXPECT_EQ(Rewrite("Const ComPort=1\n", site), "Const ComPort=1\n");

  // A line that mentions two constants takes the one earlier in the list.
  EXPECT_EQ(Rewrite("Const COMPORT=4 ' was Const QLCLIENTID\n"), "Const QLCLIENTID=\"C45\"\n");
}

TEST(TmsCall, ScriptWithoutConstantsOnlyGetsItsLineEndsNormalisedAndNoneIsNotCreated) {
  EXPECT_EQ(Rewrite("Option Explicit\r\n\r\nDim x\r\nx = 1"), "Option Explicit\n\nDim x\nx = 1\n");
  EXPECT_EQ(Rewrite(""), "");

  testing::TempDir dir;  // no script at all: nothing is created
  TTmsCall call;
  call.UpdateTmsScript("M", "C", dir.folder(), "GBP", "AIB", "", false, "COM1", "");
  EXPECT_TRUE(fs::is_empty(dir.path()));
  EXPECT_NE(call.strErrorMessage(), "");
}

TEST(TmsCall, RewriteKeepsPermissionsAndLinksAndLeavesNothingBehind) {
  testing::TempDir dir;
  const std::string real = dir.Write("installed.vbs", "#!/bin/sh\nConst QLMERCHANTID=\"0\"\n");
  fs::permissions(real, fs::perms(0750));
  fs::create_symlink(real, dir.file(TTmsCall::kScriptName));
  TTmsCall call;
  call.UpdateTmsScript("M9", "C9", dir.folder(), "GBP", "HSBC", "", false, "COM2", "");
  EXPECT_EQ(dir.Read("installed.vbs"), "#!/bin/sh\nConst QLMERCHANTID=\"M9\"\n");
  EXPECT_TRUE(fs::is_symlink(dir.file(TTmsCall::kScriptName)));
  EXPECT_EQ(fs::status(real).permissions(), fs::perms(0750));
  EXPECT_EQ(std::distance(fs::directory_iterator(dir.path()), fs::directory_iterator()), 2);
  EXPECT_EQ(call.strErrorMessage(), "");
}

TEST(TmsCall, DoTmsCallStartsTheScriptThroughTheEnv) {
  VirtualEnv env;
  ScopedEnv scoped(&env);
  TTmsCall call;
  call.DoTmsCall("/opt/site");
  call.DoTmsCall("/opt/site/");
  EXPECT_EQ(env.started(),
            (std::vector<std::string>{"/opt/site/tmscall.vbs", "/opt/site/tmscall.vbs"}));
  EXPECT_EQ(call.strErrorMessage(), "");
  env.SetStartError("Permission denied");
  call.DoTmsCall("/opt/site");
  EXPECT_EQ(call.strErrorMessage(), "TTmsCall.DoTmsCall() Failed - Permission denied");
}

// Waits for `path` to appear (the script writes it last, by renaming).
bool WaitFor(const std::string& path, std::chrono::seconds limit = 5s) {
  const auto deadline = Clock::now() + limit;
  while (!fs::exists(path)) {
    if (Clock::now() > deadline) return false;
    std::this_thread::sleep_for(10ms);
  }
  return true;
}

TEST(TmsCall, RealStartIsDetachedHiddenAndLeavesNoZombie) {
  testing::TempDir dir;
  const std::string report = dir.file("report");
  // The shape an installation uses on Linux: the rewritten Const lines are commands.
  dir.Write(TTmsCall::kScriptName,
            "#!/bin/sh\n"
            "Const() { export \"$1\"; }\n"
            "Const QLMERCHANTID=\"old\"\n"
            "Const COMPORT=1\n"
            "r=" +
                report +
                "\n"
                "echo \"merchant=$QLMERCHANTID port=$COMPORT\" > $r.tmp\n"
                "echo \"ppid=$PPID\" >> $r.tmp\n"
                "echo \"sid=$(cut -d' ' -f6 /proc/$$/stat)\" >> $r.tmp\n"
                "echo \"stdin=$(readlink /proc/$$/fd/0)\" >> $r.tmp\n"
                "ls -l /proc/$$/fd >> $r.tmp\n"
                "mv $r.tmp $r\n"
                "sleep 2\n"
                "touch $r.finished\n");
  fs::permissions(dir.file(TTmsCall::kScriptName), fs::perms(0755));
  // A descriptor the till left inheritable must not reach the script.
  const int leak = open(dir.Write("leak-probe", "").c_str(), O_RDONLY);
  ASSERT_GE(leak, 0);

  TTmsCall call;
  call.UpdateTmsScript("M77", "C1", dir.folder(), "GBP", "AIB", "", false, "COM4", "");
  const auto start = Clock::now();
  call.DoTmsCall(dir.folder());
  EXPECT_LT(Clock::now() - start, 1s) << "nothing may wait for the script";
  EXPECT_EQ(call.strErrorMessage(), "");
  close(leak);

  // No child is left to reap: the intermediate process was reaped, the script adopted.
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
  EXPECT_EQ(errno, ECHILD);

  ASSERT_TRUE(WaitFor(report));
  EXPECT_FALSE(fs::exists(report + ".finished"));
  const std::string text = dir.Read("report");
  EXPECT_NE(text.find("merchant=M77 port=4\n"), std::string::npos) << text;
  // Adopted by init (or a subreaper), in a session of its own.
  ASSERT_NE(text.find("\nppid="), std::string::npos);
  ASSERT_NE(text.find("\nsid="), std::string::npos);
  EXPECT_EQ(text.find("ppid=" + std::to_string(getpid()) + "\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("sid=" + std::to_string(getsid(0)) + "\n"), std::string::npos) << text;
  EXPECT_NE(text.find("stdin=/dev/null\n"), std::string::npos) << text;
  EXPECT_EQ(text.find("leak-probe"), std::string::npos) << text;
}

TEST(TmsCall, RealStartFailuresAreReportedNotRaised) {
  testing::TempDir dir;
  TTmsCall call;
  call.DoTmsCall(dir.folder());
  EXPECT_EQ(call.strErrorMessage(), "TTmsCall.DoTmsCall() Failed - No such file or directory");

  dir.Write(TTmsCall::kScriptName, "#!/bin/sh\ntouch " + dir.file("ran") + "\n");
  call.DoTmsCall(dir.folder());
  EXPECT_EQ(call.strErrorMessage(), "TTmsCall.DoTmsCall() Failed - Permission denied");

  // Executable but without an interpreter line: nothing on Linux knows how to run it.
  dir.Write(TTmsCall::kScriptName, "Const COMPORT=1\n");
  fs::permissions(dir.file(TTmsCall::kScriptName), fs::perms(0755));
  call.DoTmsCall(dir.folder());
  EXPECT_EQ(call.strErrorMessage(), "TTmsCall.DoTmsCall() Failed - Exec format error");
  EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "failed starts leave no zombie either";
  EXPECT_FALSE(fs::exists(dir.file("ran")));
}

}  // namespace
}  // namespace ccaddin
