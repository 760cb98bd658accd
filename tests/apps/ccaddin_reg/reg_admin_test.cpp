#include "reg_admin.h"

#include <gtest/gtest.h>

#include "platform/text_encoding.h"
#include "support/golden_text.h"
#include "support/processes.h"
#include "support/test_registry.h"

namespace ccaddin {
namespace {

using testing::TestRegistry;

using Result = testing::CommandResult;

Result Admin(const std::vector<std::string>& args) {
  return testing::RunInProcess(RunRegAdmin, args);
}

void ExpectFailure(const Result& r, int code, const std::string& part) {
  EXPECT_TRUE(testing::FailedWith(r, code, "ccaddin-reg", part));
}

class RegAdminTest : public ::testing::Test {
 protected:
  RegAdminTest() : reg_(TestRegistry::Start::kNoDatabase) {}
  TestRegistry reg_;
};

TEST_F(RegAdminTest, InitCreatesTheKeyOnceAndKeepsValues) {
  ExpectFailure(Admin({"list"}), kExitFailed, "ccaddin-reg init");
  ASSERT_EQ(Admin({"init"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "Mode", "1"}).code, kExitOk);
  const Result again = Admin({"init"});
  EXPECT_EQ(again.code, kExitOk);
  EXPECT_NE(again.out.find(reg_.path()), std::string::npos);
  EXPECT_EQ(reg_.Text("Mode"), "1");
}

TEST_F(RegAdminTest, SetGetListAndDelete) {
  ASSERT_EQ(Admin({"init"}).code, kExitOk);
  EXPECT_EQ(Admin({"set", "IdlePrompt1", "Caf\xC3\xA9 \xE2\x82\xAC"}).code, kExitOk);  // UTF-8
  EXPECT_EQ(reg_.Text("IdlePrompt1"), "Caf\xE9 \x80");  // stored as Windows-1252
  EXPECT_EQ(Admin({"set", "--", "LeftTwips", "-120"}).code, kExitOk);
  EXPECT_EQ(Admin({"set", "--type", "dword", "SaveReceipts", "1"}).code, kExitOk);

  Result r = Admin({"get", "idleprompt1"});
  EXPECT_EQ(r.code, kExitOk);
  EXPECT_EQ(r.out, "Caf\xC3\xA9 \xE2\x82\xAC\n");
  r = Admin({"get", "SaveReceipts"});
  EXPECT_EQ(r.out, "dword:00000001\n");
  EXPECT_NE(r.err.find("REG_DWORD"), std::string::npos);  // and why it has no effect

  r = Admin({"list"});
  EXPECT_EQ(testing::SplitLines(r.out),
            (std::vector<std::string>{
                "IdlePrompt1 = Caf\xC3\xA9 \xE2\x82\xAC", "LeftTwips = -120",
                "SaveReceipts = dword:00000001  (REG_DWORD: ignored by the add-in)"}));

  r = Admin({"set", "SaveRecipts", "1"});  // a typing mistake still stores, with a note
  EXPECT_EQ(r.code, kExitOk);
  EXPECT_NE(r.err.find("not one of the add-in's settings"), std::string::npos);

  EXPECT_EQ(Admin({"delete", "SaveRecipts"}).code, kExitOk);
  ExpectFailure(Admin({"delete", "SaveRecipts"}), kExitFailed, "no value SaveRecipts");
  ExpectFailure(Admin({"get", "Nothing"}), kExitFailed, "no value Nothing");
  ExpectFailure(Admin({"set", "IdlePrompt2", "\xE6\x97\xA5"}), kExitFailed, "Windows-1252");
  ExpectFailure(Admin({"set", "--type", "dword", "X", "4294967296"}), kExitFailed, "not a number");
  EXPECT_EQ(reg_.All().size(), 3u);
}

TEST_F(RegAdminTest, UsageErrorsExitWithOne) {
  ExpectFailure(Admin({}), kExitUsage, "no command");
  ExpectFailure(Admin({"frobnicate"}), kExitUsage, "unknown command");
  ExpectFailure(Admin({"get"}), kExitUsage, "wrong number of arguments");
  ExpectFailure(Admin({"set", "A"}), kExitUsage, "wrong number of arguments");
  ExpectFailure(Admin({"list", "extra"}), kExitUsage, "wrong number of arguments");
  ExpectFailure(Admin({"--verbose", "list"}), kExitUsage, "unknown option --verbose");
  ExpectFailure(Admin({"list", "--type", "sz"}), kExitUsage, "unknown option --type");
  ExpectFailure(Admin({"--db"}), kExitUsage, "needs a value");
  ASSERT_EQ(Admin({"init"}).code, kExitOk);
  ExpectFailure(Admin({"set", "--type", "text", "A", "1"}), kExitUsage, "unknown type");
  ExpectFailure(Admin({"export", "--format", "6"}), kExitUsage, "unknown format");
  const Result help = Admin({"--help"});
  EXPECT_EQ(help.code, kExitOk);
  EXPECT_NE(help.out.find("export [--format 4|5] [FILE]"), std::string::npos);
}

TEST_F(RegAdminTest, ShowPrintsEverySettingAsTheComponentLoadsIt) {
  // Without a database every setting shows its default, and stderr says why.
  Result r = Admin({"show"});
  EXPECT_EQ(r.code, kExitOk);
  EXPECT_NE(r.err.find("no registry database"), std::string::npos);
  EXPECT_TRUE(testing::MatchesGolden(r.out, "settings/defaults_shown.txt"));

  ASSERT_EQ(Admin({"init"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "ConfigFileLocation", "/etc/ccaddin"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "WindowsFontSize", "abc"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "PrinterStopbit", "1.5"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "--type", "dword", "SaveReceipts", "1"}).code, kExitOk);
  r = Admin({"show"});
  EXPECT_EQ(r.err, "");
  const std::vector<std::string> lines = testing::SplitLines(r.out);
  const auto has = [&](const std::string& line) {
    return std::find(lines.begin(), lines.end(), line) != lines.end();
  };
  EXPECT_TRUE(has("strConfigFileLocation = /etc/ccaddin/"));
  EXPECT_TRUE(has("lWindowsFontSize = 0"));
  EXPECT_TRUE(has("dPrinterStopbit = 1.5"));
  EXPECT_TRUE(has("bSaveReceipts = False"));  // a REG_DWORD is ignored
}

TEST_F(RegAdminTest, ExportAndImportRoundTripInBothFormats) {
  ASSERT_EQ(Admin({"init"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "ConfigFileLocation", "C:\\cfg\\ \"quoted\""}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "BaseCurrencyName", "Euro \xE2\x82\xAC"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "--type", "dword", "Flag", "0x8000000A"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "--type", "binary", "Blob", "00ff10"}).code, kExitOk);
  const auto original = reg_.All();

  for (const char* format : {"4", "5"}) {
    const std::string file = reg_.dir().file(std::string("settings") + format + ".reg");
    ASSERT_EQ(Admin({"export", "--format", format, file}).code, kExitOk);
    // Into a second, empty database; both then export the same bytes.
    const std::string other = reg_.dir().file(std::string("other") + format + ".db");
    ASSERT_EQ(Admin({"--db", other, "init"}).code, kExitOk);
    const Result r = Admin({"--db", other, "import", file});
    EXPECT_EQ(r.code, kExitOk) << r.err;
    EXPECT_NE(r.out.find("4 values set"), std::string::npos);
    EXPECT_EQ(Admin({"--db", other, "export", "--format", "5"}).out,
              Admin({"export", "--format", "5"}).out);
  }
  // The version 5 file is what regedit writes: UTF-16LE with a byte order mark.
  EXPECT_TRUE(reg_.dir().Read("settings5.reg").starts_with(std::string("\xFF\xFEW\0i\0", 6)));
  EXPECT_TRUE(reg_.dir().Read("settings4.reg").starts_with("REGEDIT4\r\n"));
  // Without a file: REGEDIT4 on standard output.
  EXPECT_EQ(Admin({"export"}).out, reg_.dir().Read("settings4.reg"));
  EXPECT_EQ(reg_.All(), original);
}

TEST_F(RegAdminTest, ImportIsAllOrNothing) {
  ASSERT_EQ(Admin({"init"}).code, kExitOk);
  ASSERT_EQ(Admin({"set", "Mode", "0"}).code, kExitOk);
  const std::string file =
      reg_.dir().Write("bad.reg",
                       "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tamberin\\ccaddin]\r\n"
                       "\"Mode\"=\"1\"\r\n\"SaveReceipts\"=\"1\"\r\n\"ComPort\"=\"C:\\COM1\"\r\n");
  ExpectFailure(Admin({"import", file}), kExitFailed, file + ":6: ");
  EXPECT_EQ(reg_.Text("Mode"), "0");
  EXPECT_EQ(reg_.All().size(), 1u);
  ExpectFailure(Admin({"import", reg_.dir().file("missing.reg")}), kExitFailed, "cannot read");

  // The same file with the escape fixed goes in whole, removals included.
  reg_.dir().Write("good.reg",
                   "REGEDIT4\r\n\r\n[HKEY_LOCAL_MACHINE\\SOFTWARE\\Tamberin\\ccaddin]\r\n"
                   "\"Mode\"=-\r\n\"SaveReceipts\"=\"1\"\r\n\"ComPort\"=\"C:\\\\COM1\"\r\n");
  const Result r = Admin({"import", reg_.dir().file("good.reg")});
  EXPECT_EQ(r.code, kExitOk) << r.err;
  EXPECT_EQ(reg_.Text("Mode"), std::nullopt);
  EXPECT_EQ(reg_.Text("ComPort"), "C:\\COM1");
}

TEST_F(RegAdminTest, CorruptDatabaseIsReportedAndLeftAlone) {
  const std::string junk(2048, '\x01');
  reg_.dir().Write("registry.db", junk);
  ExpectFailure(Admin({"list"}), kExitFailed, "file is not a database");
  ExpectFailure(Admin({"set", "Mode", "1"}), kExitFailed, "file is not a database");
  ExpectFailure(Admin({"init"}), kExitFailed, "left untouched");
  const Result r = Admin({"show"});
  EXPECT_EQ(r.code, kExitOk);
  EXPECT_NE(r.err.find("file is not a database; every setting takes its default"),
            std::string::npos);
  EXPECT_EQ(reg_.dir().Read("registry.db"), junk);
}

// The built program, as an installer runs it from a fresh build.
TEST_F(RegAdminTest, TheBuiltCommandRunsAndReportsThroughItsExitStatus) {
  const auto run = [&](const std::string& args, std::string* out) {
    const testing::CommandResult r = testing::RunShell(std::string(CCADDIN_REG_BINARY) + " --db '" +
                                                       reg_.path() + "' " + args + " 2>/dev/null");
    *out = r.out;
    return r.code;
  };
  std::string out;
  EXPECT_EQ(run("get Mode", &out), kExitFailed);
  EXPECT_EQ(run("init", &out), kExitOk);
  EXPECT_EQ(run("set Mode 1", &out), kExitOk);
  EXPECT_EQ(run("show", &out), kExitOk);
  EXPECT_NE(out.find("bTestMode = True\n"), std::string::npos);
  EXPECT_EQ(run("nonsense", &out), kExitUsage);
}

}  // namespace
}  // namespace ccaddin
