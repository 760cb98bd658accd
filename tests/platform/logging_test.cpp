#include "platform/logging.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "platform/virtual_env.h"
#include "support/processes.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

namespace fs = std::filesystem;
using testing::TempDir;

std::vector<std::string> SplitCrLf(const std::string& content) {
  std::vector<std::string> lines;
  size_t start = 0;
  while (start < content.size()) {
    const size_t end = content.find("\r\n", start);
    if (end == std::string::npos) {
      lines.push_back(content.substr(start) + "<no line end>");
      break;
    }
    lines.push_back(content.substr(start, end - start));
    start = end + 2;
  }
  return lines;
}

// A writer configured the way the journal and the serial error log configure theirs.
Logging JournalWriter(const std::string& folder, const std::string& file = "journal.log") {
  Logging log;
  log.strLogPath(folder);
  log.strLogFile(file);
  log.bLoggingEnabled(true);
  log.bArchiveLogFile(true);
  return log;
}

// Grows `path` to exactly `size` bytes of filler lines.
void FillTo(const std::string& path, size_t size) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  out << std::string(size, 'x');
}

class LoggingTest : public ::testing::Test {
 protected:
  VirtualEnv env_{MakeDateTime(2026, 11, 16, 17, 58, 1)};
  ScopedEnv scoped_{&env_};
  TempDir dir_;
};

TEST_F(LoggingTest, LinePrefixIsDayEnglishMonthYearThenTime) {
  Logging log = JournalWriter(dir_.folder());
  const char* months[] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                          "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
  for (int month = 1; month <= 12; ++month) {
    env_.SetNow(MakeDateTime(2026, month, 28, 23, 59, 59));
    log.Logit("m");
  }
  env_.SetNow(MakeDateTime(2027, 3, 7, 9, 5, 2));
  log.Logit("");
  const std::vector<std::string> lines = SplitCrLf(dir_.Read("journal.log"));
  ASSERT_EQ(lines.size(), 13u);
  for (int month = 0; month < 12; ++month) {
    EXPECT_EQ(lines[month], std::string("28 ") + months[month] + " 2026: 23:59:59 : m");
  }
  EXPECT_EQ(lines[12], "07 Mar 2027: 09:05:02 : ");
}

TEST_F(LoggingTest, TargetFileFollowsFolderFileOrFullPath) {
  Logging log = JournalWriter(dir_.folder());
  log.bLoggingEnabled(false);
  log.Logit("hidden");
  log.Logit2("hidden");
  EXPECT_TRUE(fs::is_empty(dir_.path()));

  Logging bare = JournalWriter(dir_.path().string(), "a.log");  // no trailing separator
  bare.Logit("x");
  EXPECT_EQ(bare.strLogPath(), dir_.folder());
  EXPECT_EQ(dir_.Read("a.log"), "16 Nov 2026: 17:58:01 : x\r\n");

  Logging direct = JournalWriter(dir_.folder(), "unused.log");
  direct.strLogFileDirAndName(dir_.file("direct.log"));
  direct.Logit("y");
  EXPECT_EQ(dir_.Read("direct.log"), "16 Nov 2026: 17:58:01 : y\r\n");
  EXPECT_FALSE(fs::exists(dir_.file("unused.log")));
}

TEST_F(LoggingTest, LogitShowsControlCharactersAndLogit2WritesThemRaw) {
  Logging log = JournalWriter(dir_.folder());
  log.Logit(
      "\x02"
      "AB\x03\t\x7f");
  log.Logit2(
      "\x02"
      "AB\x03");
  EXPECT_EQ(dir_.Read("journal.log"),
            "16 Nov 2026: 17:58:01 : <STX>AB<ETX><ASCII 9><ASCII 127>\r\n"
            "16 Nov 2026: 17:58:01 : \x02"
            "AB\x03\r\n");
}

TEST(ProcessLogMsg, ControlBytesAreNamedAndOthersOutsidePrintableAsciiNumbered) {
  const std::pair<int, const char*> cases[] = {
      {0, "<NUL>"},         {1, "<SOH>"},        {2, "<STX>"}, {3, "<ETX>"}, {4, "<EOT>"},
      {5, "<ENQ>"},         {6, "<ACK>"},        {7, "<BEL>"}, {10, "<LF>"}, {13, "<CR>"},
      {16, "<DLE>"},        {21, "<NAK>"},       {28, "<FS>"}, {30, "<RS>"}, {31, "<US>"},
      {8, "<ASCII 8>"},     {29, "<ASCII 29>"},  {32, " "},    {126, "~"},   {127, "<ASCII 127>"},
      {163, "<ASCII 163>"}, {255, "<ASCII 255>"}};
  for (const auto& [code, shown] : cases) {
    EXPECT_EQ(Logging::ProcessLogMsg(std::string(1, static_cast<char>(code)) + "a"),
              std::string(shown) + "a")
        << code;
  }
}

TEST_F(LoggingTest, MaskingKeepsTwelveDigitsAndHidesLongerRuns) {
  Logging log = JournalWriter(dir_.folder());
  log.bObscureNumericStrings(true);
  log.Logit("ref 123456789012 pan 1234567890123 end");
  log.Logit("card 4111111111111111");
  log.Logit("1234567890123 4111111111111111");
  log.Logit("a1234567890123456789b");
  log.Logit2("raw 4111111111111111");
  log.bObscureNumericStrings(false);
  log.Logit("4111111111111111");
  EXPECT_EQ(dir_.Read("journal.log"),
            "16 Nov 2026: 17:58:01 : ref 123456789012 pan *********0123 end\r\n"
            "16 Nov 2026: 17:58:01 : card ************1111\r\n"
            "16 Nov 2026: 17:58:01 : *********0123 ************1111\r\n"
            "16 Nov 2026: 17:58:01 : a***************6789b\r\n"
            "16 Nov 2026: 17:58:01 : raw ************1111\r\n"
            "16 Nov 2026: 17:58:01 : 4111111111111111\r\n");
}

TEST_F(LoggingTest, FilePastOneMebibyteMovesToADatedNameBeforeTheLine) {
  struct Case {
    size_t size;
    bool archive_wanted;
    bool archived;
  };
  const Case cases[] = {
      {1'048'576, true, false}, {1'048'577, true, true}, {2'000'000, false, false}};
  const fs::path archived = dir_.path() / "old" / "20261116_175801_journal.log";
  for (const Case& c : cases) {
    SCOPED_TRACE(::testing::Message() << c.size << " bytes, archiving " << c.archive_wanted);
    fs::remove_all(dir_.path() / "old");
    Logging log = JournalWriter(dir_.folder());
    log.bArchiveLogFile(c.archive_wanted);
    FillTo(dir_.file("journal.log"), c.size);
    log.Logit("next");
    EXPECT_EQ(fs::exists(archived), c.archived);
    if (c.archived) {
      EXPECT_EQ(fs::file_size(archived), c.size);
      EXPECT_EQ(dir_.Read("journal.log"), "16 Nov 2026: 17:58:01 : next\r\n");
    } else {
      EXPECT_EQ(fs::file_size(dir_.file("journal.log")), c.size + 30u);
    }
  }
}

TEST_F(LoggingTest, ArchivingWatchesFolderFileEvenWithFullPathSet) {
  Logging log = JournalWriter(dir_.folder());
  log.strLogFileDirAndName(dir_.file("direct.log"));
  FillTo(dir_.file("direct.log"), 2'000'000);
  FillTo(dir_.file("journal.log"), 2'000'000);
  log.Logit("next");
  EXPECT_TRUE(fs::exists(dir_.path() / "old" / "20261116_175801_journal.log"));
  EXPECT_EQ(fs::file_size(dir_.file("direct.log")), 2'000'000u + 30u);
}

TEST_F(LoggingTest, FailedArchiveStillWritesTheLine) {
  Logging log = JournalWriter(dir_.folder());
  dir_.Write("old", "a file where the archive folder should be");
  FillTo(dir_.file("journal.log"), 1'048'577);
  log.Logit("next");
  EXPECT_EQ(fs::file_size(dir_.file("journal.log")), 1'048'577u + 30u);
}

// Two writers that archive within the same second must not let the second move (of the
// fresh file the first writer started) replace the first writer's archive.
TEST_F(LoggingTest, SecondArchiveInTheSameSecondNeverReplacesTheFirst) {
  Logging first = JournalWriter(dir_.folder());
  Logging second = JournalWriter(dir_.folder());
  FillTo(dir_.file("journal.log"), 1'048'577);
  first.Logit("first");
  FillTo(dir_.file("journal.log"), 1'048'600);
  second.Logit("second");
  EXPECT_EQ(fs::file_size(dir_.path() / "old" / "20261116_175801_journal.log"), 1'048'577u);
  EXPECT_EQ(fs::file_size(dir_.file("journal.log")), 1'048'600u + 32u);
  env_.Advance(1000);
  second.Logit("later");
  EXPECT_TRUE(fs::exists(dir_.path() / "old" / "20261116_175802_journal.log"));
  EXPECT_EQ(dir_.Read("journal.log"), "16 Nov 2026: 17:58:02 : later\r\n");
}

TEST_F(LoggingTest, UnwritableTargetsLoseTheLineQuietly) {
  dir_.Write("plain", "not a folder");
  fs::create_directory(dir_.path() / "a-folder");

  Logging missing = JournalWriter(dir_.folder() + "missing/");
  missing.Logit("x");
  EXPECT_FALSE(fs::exists(dir_.path() / "missing"));

  Logging under_file = JournalWriter(dir_.folder() + "plain/");
  under_file.Logit("x");
  EXPECT_EQ(dir_.Read("plain"), "not a folder");

  Logging into_folder = JournalWriter(dir_.folder(), "a-folder");
  into_folder.Logit("x");
  EXPECT_TRUE(fs::is_directory(dir_.path() / "a-folder"));

  Logging disk_full;
  disk_full.bLoggingEnabled(true);
  disk_full.strLogFileDirAndName("/dev/full");
  disk_full.Logit("x");

  Logging unconfigured;
  unconfigured.bLoggingEnabled(true);
  unconfigured.strLogFile("stray.log");
  unconfigured.Logit("x");
  EXPECT_FALSE(fs::exists("/stray.log"));

  // A FIFO nobody reads must not block the till.
  ASSERT_EQ(mkfifo(dir_.file("fifo").c_str(), 0666), 0);
  Logging fifo = JournalWriter(dir_.folder(), "fifo");
  fifo.Logit("x");
}

// Root ignores file modes, so the check runs as an ordinary user in a child process.
TEST_F(LoggingTest, ReadOnlyFolderLosesTheArchiveButNotTheLine) {
  for (fs::path p = dir_.path().parent_path(); p != p.root_path(); p = p.parent_path()) {
    if ((fs::status(p).permissions() & fs::perms::others_exec) == fs::perms::none) {
      GTEST_SKIP() << "the test folder is not reachable for an ordinary user";
    }
  }
  FillTo(dir_.file("journal.log"), 1'048'577);
  fs::permissions(dir_.file("journal.log"), fs::perms::all & ~fs::perms::others_exec &
                                                ~fs::perms::group_exec & ~fs::perms::owner_exec);
  fs::permissions(dir_.path(), fs::perms::owner_read | fs::perms::owner_exec |
                                   fs::perms::group_read | fs::perms::group_exec |
                                   fs::perms::others_read | fs::perms::others_exec);
  const int status = testing::RunInChild([&] {
    if (geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) return 2;
    Logging log = JournalWriter(dir_.folder());
    log.Logit("kept");
    Logging other = JournalWriter(dir_.folder(), "new.log");
    other.Logit("lost");
    return 0;
  });
  ASSERT_EQ(status, 0);
  EXPECT_FALSE(fs::exists(dir_.path() / "old"));
  EXPECT_FALSE(fs::exists(dir_.file("new.log")));
  EXPECT_EQ(fs::file_size(dir_.file("journal.log")), 1'048'577u + 30u);
}

TEST_F(LoggingTest, VeryLongAndBinaryLinesArriveWhole) {
  Logging log = JournalWriter(dir_.folder());
  std::string every_byte;
  for (int code = 0; code < 256; ++code) every_byte += static_cast<char>(code);
  const std::string long_text(3'000'000, 'L');
  log.Logit2(every_byte);
  log.Logit(long_text);
  const std::string content = dir_.Read("journal.log");
  const std::string prefix = "16 Nov 2026: 17:58:01 : ";
  EXPECT_EQ(content, prefix + every_byte + "\r\n" + prefix + long_text + "\r\n");
  // The 3 MB line pushed the file past the limit; the next line starts a fresh one.
  log.Logit("after");
  EXPECT_EQ(fs::file_size(dir_.path() / "old" / "20261116_175801_journal.log"), content.size());
  EXPECT_EQ(dir_.Read("journal.log"), prefix + "after\r\n");
}

// Two processes append thousands of lines each to one journal on the real clock, more
// than enough to cross the archive limit several times while both are writing.
TEST(LoggingProcesses, TwoWritersLoseNoLineAcrossArchiving) {
  TempDir dir;
  constexpr int kLinesPerWriter = 4000;
  const std::string filler(300, '.');
  std::vector<pid_t> children;
  for (char writer : {'A', 'B'}) {
    children.push_back(testing::StartChild([&] {
      Logging log = JournalWriter(dir.folder());
      for (int i = 0; i < kLinesPerWriter; ++i) {
        log.Logit(std::string(1, writer) + "#" + std::to_string(i) + "#" + filler);
      }
      return 0;
    }));
  }
  for (const pid_t pid : children) ASSERT_EQ(testing::WaitChild(pid), 0);

  std::string all = dir.Read("journal.log");
  int archives = 0;
  for (const auto& entry : fs::directory_iterator(dir.path() / "old")) {
    all += dir.Read("old/" + entry.path().filename().string());
    ++archives;
  }
  EXPECT_GE(archives, 1);
  std::set<std::string> seen;
  for (const std::string& line : SplitCrLf(all)) {
    const size_t text = line.find(" : ");
    ASSERT_NE(text, std::string::npos) << line.substr(0, 80);
    const std::string body = line.substr(text + 3);
    const size_t hash = body.find('#', 2);
    ASSERT_EQ(body.substr(hash + 1), filler) << "broken line: " << line.substr(0, 80);
    EXPECT_TRUE(seen.insert(body.substr(0, hash)).second) << "duplicate " << body.substr(0, hash);
  }
  EXPECT_EQ(seen.size(), 2u * kLinesPerWriter);
}

}  // namespace
}  // namespace ccaddin
