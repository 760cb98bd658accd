#include "platform/file_system.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/env.h"
#include "platform/virtual_env.h"
#include "support/temp_dir.h"

namespace ccaddin {
namespace {

namespace stdfs = std::filesystem;
using Files = std::vector<std::string>;
using Outcome = std::pair<int64_t, std::string>;  // a result with the text left behind

// A POSIX time zone (no time-zone data needed) for the scope's lifetime.
struct ScopedTimeZone {
  explicit ScopedTimeZone(const char* zone) : saved(std::getenv("TZ") ? std::getenv("TZ") : "") {
    setenv("TZ", zone, 1);
    tzset();
  }
  ~ScopedTimeZone() {
    saved.empty() ? unsetenv("TZ") : setenv("TZ", saved.c_str(), 1);
    tzset();
  }
  std::string saved;
};

class FileSystemTest : public ::testing::Test {
 protected:
  // The call's result paired with strErrorMessage as it stands after the call.
  Outcome After(int64_t result) { return {result, fsys.strErrorMessage()}; }
  int32_t Open(const std::string& name, int16_t mode) {
    int32_t handle = -7;
    fsys.OpenFile(dir.file(name), mode, handle);
    EXPECT_GT(handle, 0) << fsys.strErrorMessage();
    return handle;
  }
  mode_t Mode(const std::string& name) const {
    struct stat st {};
    EXPECT_EQ(stat(dir.file(name).c_str(), &st), 0);
    return st.st_mode & 0777;
  }
  Files List() {
    Files files;
    EXPECT_NE(fsys.GetFilesInFolder(dir.folder(), "*.*", files), 1) << fsys.strErrorMessage();
    return files;
  }

  testing::TempDir dir;
  VirtualEnv env{MakeDateTime(2026, 3, 8, 9, 0)};
  ScopedEnv scoped{&env};
  FileSystem fsys;
};

// ---- names, existence, folders -------------------------------------------------------

TEST_F(FileSystemTest, NamePartsFollowThePositionOfTheFirstDotOrLastSeparator) {
  const std::vector<std::pair<std::string, std::string>> no_ext = {
      {"report.txt", "report"}, {".profile", ".profile"}, {"a.b.c", "a"}, {"README", "README"}};
  for (const auto& [name, want] : no_ext) EXPECT_EQ(fsys.GetFileNameNoExt(name), want);
  const std::vector<std::pair<std::string, std::string>> ext = {
      {"a.b.c", "b.c"}, {".profile", ""}, {".a.b", "b"}, {"README", ""}, {"", ""}};
  for (const auto& [name, want] : ext) EXPECT_EQ(fsys.GetFileExtension(name), want);
  const std::vector<std::pair<std::string, std::string>> from_path = {
      {"C:\\dir\\file.txt", "file.txt"},
      {"\\file.txt", "\\file.txt"},
      {"file.txt", "file.txt"},
      {"/var/ccaddin\\receipts/r1.rcpt", "r1.rcpt"},
      {"/file.txt", "/file.txt"}};
  for (const auto& [path, want] : from_path) EXPECT_EQ(fsys.GetFileNameFromPath(path), want);
  EXPECT_EQ(fsys.strErrorMessage(), "");
}

TEST_F(FileSystemTest, FileExistsAlwaysLeavesItsTextAndAcceptsWildcards) {
  const std::string path = dir.Write("a.rcpt", "x");
  EXPECT_EQ(After(fsys.FileExists(path)), Outcome(true, path + " already exists"));
  EXPECT_EQ(After(fsys.FileExists(dir.file("b"))),
            Outcome(false, dir.file("b") + " does not exist"));
  EXPECT_TRUE(fsys.FileExists(dir.file("*.RCPT")));
  EXPECT_FALSE(fsys.FileExists(dir.file("*.txt")));
  EXPECT_FALSE(fsys.FileExists(dir.file("A.RCPT")));  // exact names stay case-sensitive
  EXPECT_FALSE(fsys.FileExists(""));
  EXPECT_TRUE(fsys.FolderExists(dir.folder()));
  EXPECT_FALSE(fsys.FolderExists(path));
}

TEST_F(FileSystemTest, CreateAndDeleteFolderReportTheSystemsReason) {
  EXPECT_EQ(fsys.CreateFolder(dir.file("new")), 0);
  EXPECT_EQ(After(fsys.CreateFolder(dir.file("new"))),
            Outcome(1, "CreateFolder() Failed - File exists"));
  EXPECT_EQ(After(fsys.CreateFolder(dir.file("missing/child"))),
            Outcome(1, "CreateFolder() Failed - No such file or directory"));
  dir.Write("new/inner.txt", "x");
  EXPECT_EQ(fsys.DeleteFolder(dir.file("new") + "/"), 0);
  EXPECT_FALSE(fsys.FolderExists(dir.file("new")));
  EXPECT_EQ(After(fsys.DeleteFolder(dir.file("new"))),
            Outcome(1, "DeleteFolder() Failed - No such file or directory"));
  EXPECT_EQ(After(fsys.DeleteFolder(dir.Write("plain.txt", "x"))),
            Outcome(1, "DeleteFolder() Failed - Not a directory"));
  EXPECT_TRUE(fsys.FileExists(dir.file("plain.txt")));
}

// ---- text streams --------------------------------------------------------------------

TEST_F(FileSystemTest, HandlesCountFromOneAndAClosedSlotIsReused) {
  EXPECT_EQ((std::vector{Open("a", 1), Open("b", 1), Open("c", 2)}), (std::vector{1, 2, 3}));
  fsys.CloseFile(2);
  EXPECT_EQ(After(fsys.WriteData(2, "late", true)),
            Outcome(1, "WriteData() Failed - Bad file descriptor"));
  EXPECT_EQ(Open("d", 1), 2);
  EXPECT_EQ(Open("e", 1), 4);
  fsys.CloseFile(99);  // unknown handles are ignored
}

TEST_F(FileSystemTest, OpenModesAppendTruncateAndReadExistingFilesOnly) {
  dir.Write("log.txt", "old\n");
  int32_t handle = Open("log.txt", 2);
  ASSERT_EQ(fsys.WriteData(handle, "more", true), 0);
  fsys.CloseFile(handle);
  EXPECT_EQ(dir.Read("log.txt"), "old\nmore\n");
  handle = Open("log.txt", 1);
  ASSERT_EQ(fsys.WriteData(handle, "first", false), 0);
  ASSERT_EQ(fsys.WriteData(handle, " \x80\xA3\xFF", true), 0);  // bytes pass unchanged
  fsys.CloseFile(handle);
  EXPECT_EQ(dir.Read("log.txt"), "first \x80\xA3\xFF\n");

  fsys.OpenFile(dir.file("absent.txt"), 0, handle);
  EXPECT_EQ(After(handle), Outcome(0, "Error Open File : No such file or directory"));
  fsys.OpenFile(dir.folder(), 0, handle);
  EXPECT_EQ(After(handle), Outcome(0, "Error Open File : Is a directory"));
}

TEST_F(FileSystemTest, LineBlockAndWholeReadsShareOnePosition) {
  dir.Write("in.txt", "one\r\ntwo\nthree\rstill three\n\nlast");
  const int32_t h = Open("in.txt", 0);
  std::string text = "stale";
  Files lines;
  for (int i = 0; i < 4 && fsys.ReadData(h, text, true, 0) == 0; ++i) lines.push_back(text);
  EXPECT_EQ(lines, (Files{"one", "two", "three\rstill three", ""}));
  ASSERT_EQ(fsys.ReadData(h, text, false, 2), 0);
  EXPECT_EQ(text, "la");
  EXPECT_FALSE(fsys.Eof(h));
  ASSERT_EQ(fsys.ReadData(h, text, false, 10), 0);  // fewer than asked at the end
  EXPECT_EQ(text, "st");
  EXPECT_TRUE(fsys.Eof(h));
  for (bool line : {true, false}) {
    EXPECT_EQ(After(fsys.ReadData(h, text, line, 0)),
              Outcome(1, "ReadData() Failed - Input past end of file"));
    EXPECT_EQ(text, "");
  }
  dir.Write("whole.txt", "a\r\nb\r\n");
  const int32_t w = Open("whole.txt", 0);
  ASSERT_EQ(fsys.ReadData(w, text, false, 0), 0);
  EXPECT_EQ(text, "a\r\nb\r\n");
  EXPECT_EQ(After(fsys.ReadData(w, text, false, -1)),
            Outcome(1, "ReadData() Failed - Invalid argument"));
}

TEST_F(FileSystemTest, UnusableHandlesFailWithoutCrashingAndEofEndsLoops) {
  const int32_t writer = Open("w.txt", 1);
  dir.Write("r.txt", "x\n");
  const int32_t reader = Open("r.txt", 0);
  std::string text;
  for (int32_t bad : {0, -1, 3, 1'000'000}) {
    EXPECT_EQ(After(fsys.ReadData(bad, text, true, 0)),
              Outcome(1, "ReadData() Failed - Bad file descriptor"));
    EXPECT_EQ(fsys.WriteData(bad, "x", true), 1);
    EXPECT_EQ(After(fsys.CountLines(bad)), Outcome(0, "CountLines() Failed - Bad file descriptor"));
    EXPECT_TRUE(fsys.Eof(bad));
  }
  // A stream serves the direction it was opened for only.
  EXPECT_EQ(After(fsys.ReadData(writer, text, true, 0)),
            Outcome(1, "ReadData() Failed - Bad file descriptor"));
  EXPECT_TRUE(fsys.Eof(writer));
  EXPECT_EQ(After(fsys.WriteData(reader, "x", true)),
            Outcome(1, "WriteData() Failed - Bad file descriptor"));
}

TEST_F(FileSystemTest, WriteFailureShowsInTheResultNotAtClose) {
  int32_t handle = 0;
  fsys.OpenFile("/dev/full", 1, handle);
  ASSERT_GT(handle, 0) << fsys.strErrorMessage();
  EXPECT_EQ(After(fsys.WriteData(handle, "receipt line", true)),
            Outcome(1, "WriteData() Failed - No space left on device"));
}

TEST_F(FileSystemTest, CountLinesYieldsOncePerLineAndLeavesTheStreamAtItsEnd) {
  dir.Write("five.txt", "h\r\n1\n2\r\n3\n4");
  const int32_t h = Open("five.txt", 0);
  std::string header;
  ASSERT_EQ(fsys.ReadData(h, header, true, 0), 0);
  const int64_t yields_before = env.do_events_calls();
  EXPECT_EQ(fsys.CountLines(h), 4);
  EXPECT_EQ(env.do_events_calls() - yields_before, 4);
  EXPECT_TRUE(fsys.Eof(h));
  EXPECT_EQ(After(fsys.CountLines(h)), Outcome(0, ""));
}

TEST_F(FileSystemTest, CountLinesStopsWhenTheMessageLoopClosesItsStream) {
  dir.Write("long.txt", std::string(100, '\n'));
  const int32_t h = Open("long.txt", 0);
  int yields = 0;
  std::function<void()> tick = [&] {
    if (++yields < 3) return env.RunAfter(0, tick);
    fsys.CloseFile(h);
    Open("other.txt", 1);  // takes the freed slot: must not be counted as ours
  };
  env.RunAfter(0, tick);
  EXPECT_EQ(After(fsys.CountLines(h)), Outcome(0, "CountLines() Failed - Bad file descriptor"));
  EXPECT_EQ(yields, 3);
}

// ---- files: sizes, times, copy, move, delete, attributes -----------------------------

TEST_F(FileSystemTest, SizesOfFilesAndWholeFolderTrees) {
  dir.Write("a.bin", std::string(1000, 'a'));
  stdfs::create_directories(dir.path() / "sub/deeper");
  dir.Write("sub/deeper/b.bin", std::string(234, 'b'));
  EXPECT_EQ(fsys.GetFileSize(dir.file("a.bin")), 1000);
  EXPECT_EQ(fsys.GetFolderSize(dir.folder()), 1234);
  EXPECT_EQ(After(fsys.GetFileSize(dir.file("none"))),
            Outcome(0, "GetFileSize() Failed - No such file or directory"));
  EXPECT_EQ(After(fsys.GetFolderSize(dir.file("a.bin"))),
            Outcome(0, "GetFolderSize() Failed - Not a directory"));
}

TEST_F(FileSystemTest, FileTimesInUtcOrLocalTime) {
  ScopedTimeZone zone("UTC-3");  // three hours east of UTC all year
  const std::string path = dir.Write("t.txt", "x");
  const timespec times[2] = {{1'772'000'000, 0}, {1'771'000'000, 500'000'000}};  // atime, mtime
  ASSERT_EQ(utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
  DateTime created, accessed, modified;
  ASSERT_TRUE(fsys.GetFileTimes(path, created, accessed, modified, false));
  EXPECT_EQ(accessed, MakeDateTime(2026, 2, 25, 6, 13, 20));
  EXPECT_EQ(modified, MakeDateTime(2026, 2, 13, 16, 26, 40, 500));
  EXPECT_GE(created.ToSerialMs(), modified.ToSerialMs());  // born now, touched back
  ASSERT_TRUE(fsys.GetFileTimes(path, created, accessed, modified, true));
  EXPECT_EQ(accessed, MakeDateTime(2026, 2, 25, 9, 13, 20));
  EXPECT_EQ(modified, MakeDateTime(2026, 2, 13, 19, 26, 40, 500));
  EXPECT_FALSE(fsys.GetFileTimes(dir.file("none"), created, accessed, modified, true));
  EXPECT_FALSE(fsys.GetFileTimes(dir.folder(), created, accessed, modified, true));
  EXPECT_EQ(fsys.strErrorMessage(), "");
}

TEST_F(FileSystemTest, CopyMoveAndDeleteGuardExistingTargets) {
  const std::string src = dir.Write("src.txt", "new");
  dir.Write("dst.txt", "old");
  EXPECT_EQ(After(fsys.CopyFile(src, dir.file("dst.txt"), false)),
            Outcome(1, "CopyFile() Failed - File exists"));
  EXPECT_EQ(dir.Read("dst.txt"), "old");
  EXPECT_EQ(fsys.CopyFile(src, dir.file("dst.txt"), true), 0);
  EXPECT_EQ(dir.Read("dst.txt"), "new");
  stdfs::create_directory(dir.path() / "old");
  EXPECT_EQ(After(fsys.MoveFile(src, dir.file("dst.txt"))),
            Outcome(1, "MoveFile() Failed - File exists"));
  EXPECT_EQ(fsys.MoveFile(src, dir.file("old/20260308_090000_src.txt")), 0);
  EXPECT_FALSE(fsys.FileExists(src));
  EXPECT_EQ(dir.Read("old/20260308_090000_src.txt"), "new");
  EXPECT_EQ(After(fsys.MoveFile(src, dir.file("again.txt"))),
            Outcome(1, "MoveFile() Failed - No such file or directory"));

  EXPECT_EQ(fsys.DeleteFile(dir.file("dst.txt")), 0);
  EXPECT_EQ(After(fsys.DeleteFile(dir.file("dst.txt"))),
            Outcome(1, "DeleteFile() Failed - No such file or directory"));
  EXPECT_EQ(After(fsys.DeleteFile(dir.file("old"))),
            Outcome(1, "DeleteFile() Failed - Is a directory"));
}

TEST_F(FileSystemTest, MoveToAnotherFileSystemKeepsExactlyOneCopy) {
  struct stat here {};
  struct stat there {};
  ASSERT_EQ(stat(dir.folder().c_str(), &here), 0);
  if (stat("/dev/shm", &there) != 0 || here.st_dev == there.st_dev) {
    GTEST_SKIP() << "no second file system to move to";
  }
  const std::string source = dir.Write("journal.log", "lines");
  const std::string target = "/dev/shm/ccaddin-move-" + std::to_string(getpid()) + ".log";
  EXPECT_EQ(fsys.MoveFile(source, target), 0) << fsys.strErrorMessage();
  EXPECT_FALSE(fsys.FileExists(source));
  EXPECT_EQ(fsys.GetFileSize(target), 5);
  EXPECT_EQ(fsys.DeleteFile(target), 0);
}

TEST_F(FileSystemTest, ReadOnlyAttributeTogglesWritePermissionOnly) {
  const std::string path = dir.Write("r.rcpt", "x");
  ASSERT_EQ(chmod(path.c_str(), 0664), 0);
  EXPECT_EQ(fsys.SetFileAttributes(path, 1 | 2 | 32), 0);  // read-only, hidden, archive
  EXPECT_EQ(Mode("r.rcpt"), 0444u);
  EXPECT_EQ(fsys.SetFileAttributes(path, 128), 0);  // normal
  EXPECT_EQ(Mode("r.rcpt"), 0644u);
  EXPECT_EQ(fsys.SetFileAttributes(path, 2), 0);  // hidden alone changes nothing
  EXPECT_EQ(Mode("r.rcpt"), 0644u);
  EXPECT_EQ(After(fsys.SetFileAttributes(dir.file("none"), 1)),
            Outcome(1, "Failed setting attributes for file - " + dir.file("none")));
}

// ---- folder copies -------------------------------------------------------------------

TEST_F(FileSystemTest, CopyFolderMergesAndRefusesConflictsBeforeCopyingAnything) {
  stdfs::create_directories(dir.path() / "src/sub");
  dir.Write("src/a.txt", "A");
  dir.Write("src/sub/b.txt", "B");
  EXPECT_EQ(fsys.CopyFolder(dir.file("src"), dir.file("dst"), false), 0) << fsys.strErrorMessage();
  EXPECT_EQ(dir.Read("dst/sub/b.txt"), "B");

  dir.Write("src/sub/b.txt", "B2");
  dir.Write("src/c.txt", "C");
  EXPECT_EQ(After(fsys.CopyFolder(dir.file("src"), dir.file("dst"), false)),
            Outcome(1, "Error in FileSystem::CopyFolder - File exists"));
  EXPECT_FALSE(fsys.FileExists(dir.file("dst/c.txt")));  // nothing half-done
  EXPECT_EQ(fsys.CopyFolder(dir.file("src"), dir.file("dst"), true), 0);
  EXPECT_EQ(dir.Read("dst/sub/b.txt") + dir.Read("dst/c.txt"), "B2C");

  EXPECT_EQ(After(fsys.CopyFolder(dir.file("src"), dir.file("src/sub/loop"), false)),
            Outcome(1, "Error in FileSystem::CopyFolder - Invalid argument"));
  EXPECT_EQ(After(fsys.CopyFolder(dir.file("none"), dir.file("x"), false)),
            Outcome(1, "Error in FileSystem::CopyFolder - No such file or directory"));
}

TEST_F(FileSystemTest, CopySubFoldersCopiesFoldersButNotTheFilesBesideThem) {
  stdfs::create_directories(dir.path() / "src/one");
  stdfs::create_directories(dir.path() / "src/two/deep");
  stdfs::create_directories(dir.path() / "dst");
  dir.Write("src/top.txt", "T");
  dir.Write("src/two/deep/d.txt", "D");
  EXPECT_EQ(fsys.CopySubFolders(dir.file("src"), dir.file("dst"), false), 0);
  EXPECT_TRUE(fsys.FolderExists(dir.file("dst/one")));
  EXPECT_EQ(dir.Read("dst/two/deep/d.txt"), "D");
  EXPECT_FALSE(fsys.FileExists(dir.file("dst/top.txt")));

  stdfs::create_directories(dir.path() / "empty");
  EXPECT_EQ(fsys.CopySubFolders(dir.file("src/two/deep"), dir.file("empty"), false), 0);
  EXPECT_TRUE(stdfs::is_empty(dir.path() / "empty"));
  EXPECT_EQ(After(fsys.CopySubFolders(dir.file("none"), dir.file("empty"), false)),
            Outcome(1, "Error in FileSystem::CopySubFolders - No such file or directory"));
}

// ---- folder scans and purges ---------------------------------------------------------

TEST_F(FileSystemTest, ScansUseWindowsPatternsAndSkipFolders) {
  for (const char* name : {"b.rcpt", "A.RCPT", "noext", "report", "report.txt", "c.rcpt.bak"}) {
    dir.Write(name, "x");
  }
  stdfs::create_directory(dir.path() / "folder.rcpt");
  const Files all = {"", "A.RCPT", "b.rcpt", "c.rcpt.bak", "noext", "report", "report.txt"};
  const std::vector<std::pair<std::string, Files>> cases = {
      {"*.*", all},
      {"", all},
      {"*.rcpt", {"", "A.RCPT", "b.rcpt"}},
      {"?.rcpt*", {"", "A.RCPT", "b.rcpt", "c.rcpt.bak"}},
      {"report.*", {"", "report", "report.txt"}},
      {"??.rcpt", {""}},
  };
  for (const auto& [pattern, expected] : cases) {
    Files files = {"left", "over"};
    const int16_t want = expected.size() > 1 ? 0 : 2;
    EXPECT_EQ(fsys.GetFilesInFolder(dir.folder(), pattern, files), want) << pattern;
    EXPECT_EQ(files, expected) << pattern;
    int32_t count = -1;
    EXPECT_EQ(fsys.NoOfFilesInFolder(dir.path().string(), pattern, count), want);
    EXPECT_EQ(count + 1, static_cast<int32_t>(expected.size())) << pattern;
  }
  EXPECT_EQ(fsys.strErrorMessage(), "");
}

TEST_F(FileSystemTest, ScansOfMissingOrWrongFoldersFailWithTheirReason) {
  const std::string file = dir.Write("f.txt", "x");
  for (const auto& [folder, reason] : std::vector<std::pair<std::string, std::string>>{
           {dir.file("none"), "No such file or directory"},
           {"", "No such file or directory"},  // never the root
           {file, "Not a directory"}}) {
    Files files = {"left"};
    int32_t count = -1;
    EXPECT_EQ(After(fsys.GetFilesInFolder(folder, "*.*", files)),
              Outcome(1, "Error in FileSystem::GetFilesByPattern - " + reason));
    EXPECT_EQ(files, Files{""});
    EXPECT_EQ(After(fsys.NoOfFilesInFolder(folder, "*.*", count)),
              Outcome(1, "Error in FileSystem::NoOfFilesInFolder - " + reason));
    EXPECT_EQ(count, 0);
    EXPECT_EQ(After(fsys.DeleteFilesInFolder(folder, "*.*")),
              Outcome(1, "Error in FileSystem::DeleteFilesInFolder - " + reason));
    EXPECT_EQ(After(fsys.DeleteFilesInFolderByDay(folder, "*.*", 1)),
              Outcome(1, "Error in FileSystem::DeleteFilesInFolderByDay - " + reason));
  }
  EXPECT_TRUE(fsys.FileExists(file));
}

TEST_F(FileSystemTest, UnreadableFolderFailsTheScan) {
  if (geteuid() == 0) GTEST_SKIP() << "running as root: folder permissions are not enforced";
  stdfs::create_directory(dir.path() / "locked");
  dir.Write("locked/a.txt", "x");
  ASSERT_EQ(chmod(dir.file("locked").c_str(), 0), 0);
  Files files;
  EXPECT_EQ(After(fsys.GetFilesInFolder(dir.file("locked"), "*.*", files)),
            Outcome(1, "Error in FileSystem::GetFilesByPattern - Permission denied"));
  ASSERT_EQ(chmod(dir.file("locked").c_str(), 0555), 0);
  EXPECT_EQ(After(fsys.DeleteFilesInFolder(dir.file("locked"), "*.txt")),
            Outcome(1, "Error in FileSystem::DeleteFilesInFolder - Permission denied"));
}

TEST_F(FileSystemTest, DeleteFilesInFolderDeletesMatchingFilesOnly) {
  for (const char* name : {"a.tmp", "b.TMP", "keep.txt"}) dir.Write(name, "x");
  stdfs::create_directory(dir.path() / "sub.tmp");
  EXPECT_EQ(fsys.DeleteFilesInFolder(dir.folder(), "*.tmp"), 0);
  EXPECT_EQ(List(), (Files{"", "keep.txt"}));
  EXPECT_TRUE(fsys.FolderExists(dir.file("sub.tmp")));
  EXPECT_EQ(fsys.DeleteFilesInFolder(dir.folder(), "*.tmp"), 2);
}

TEST_F(FileSystemTest, PurgeByDayCountsCalendarDaysAndLeavesOthersAlone) {
  // Today is 8 March 2026, 09:00.
  const auto receipt = [&](const std::string& name, const DateTime& created) {
    env.SetFileCreationTime(dir.Write(name, "x"), created);
  };
  receipt("exactly7.rcpt", MakeDateTime(2026, 3, 1, 23, 59));  // 7 calendar days, not 7x24h
  receipt("older.RCPT", MakeDateTime(2025, 12, 31, 8));
  receipt("six.rcpt", MakeDateTime(2026, 3, 2, 0, 0));
  receipt("today.rcpt", MakeDateTime(2026, 3, 8, 8, 0));
  receipt("old.log", MakeDateTime(2020, 1, 1));
  stdfs::create_directory(dir.path() / "archive.rcpt");
  env.SetFileCreationTime(dir.file("archive.rcpt"), MakeDateTime(2020, 1, 1));

  EXPECT_EQ(fsys.DeleteFilesInFolderByDay(dir.path().string(), "*.rcpt", 7), 0);
  EXPECT_EQ(List(), (Files{"", "old.log", "six.rcpt", "today.rcpt"}));
  EXPECT_TRUE(fsys.FolderExists(dir.file("archive.rcpt")));
  EXPECT_EQ(fsys.DeleteFilesInFolderByDay(dir.folder(), "*.rcpt", 0), 0);
  EXPECT_EQ(List(), (Files{"", "old.log"}));
  EXPECT_EQ(After(fsys.DeleteFilesInFolderByDay(dir.folder(), "*.rcpt", 0)), Outcome(0, ""));
}

TEST_F(FileSystemTest, PurgeByDayTakesTheCreationDateInUtcNotConverted) {
  // A receipt made now is one day old tomorrow by the UTC calendar. A zone a whole day
  // ahead of UTC, or behind it, puts its local date of creation a day later or earlier;
  // counting from that date would keep it, or delete it a day early.
  for (const auto& [zone, days_old, deleted] :
       {std::tuple{"<+24>-24", 1, true}, std::tuple{"<-24>+24", 2, false}}) {
    SCOPED_TRACE(zone);
    ScopedTimeZone scoped_zone(zone);
    const time_t tomorrow = std::time(nullptr) + 86'400;
    tm utc{};
    gmtime_r(&tomorrow, &utc);
    env.SetNow(MakeDateTime(utc.tm_year + 1900, utc.tm_mon + 1, utc.tm_mday));
    dir.Write("now.rcpt", "x");
    EXPECT_EQ(fsys.DeleteFilesInFolderByDay(dir.folder(), "*.rcpt", days_old), 0);
    EXPECT_EQ(fsys.FileExists(dir.file("now.rcpt")), !deleted);
  }
}

class UnreadableTimesEnv : public VirtualEnv {
 public:
  using VirtualEnv::VirtualEnv;
  bool FileCreationTime(int folder_fd, const char* name, DateTime* created,
                        std::string* error) override {
    if (name != std::string_view("b.rcpt"))
      return Env::FileCreationTime(folder_fd, name, created, error);
    *error = "Input/output error";
    return false;
  }
};

TEST_F(FileSystemTest, PurgeByDayGoesInListingOrderAndStopsAtAFileWithoutACreationTime) {
  UnreadableTimesEnv faulty(MakeDateTime(2100, 1, 1));  // every file made today is old then
  ScopedEnv use(&faulty);
  for (const char* name : {"a.rcpt", "b.rcpt", "c.rcpt", "d.rcpt"}) dir.Write(name, "x");
  // What the folder lists before b.rcpt goes; b.rcpt and what follows it stay.
  Files kept = {""};
  for (const auto& entry : stdfs::directory_iterator(dir.path())) {
    if (entry.path().filename() == "b.rcpt" || kept.size() > 1)
      kept.push_back(entry.path().filename());
  }
  std::sort(kept.begin(), kept.end());
  EXPECT_EQ(After(fsys.DeleteFilesInFolderByDay(dir.folder(), "*.rcpt", 1)),
            Outcome(1, "FileTimeToSystemTime Failed for :b.rcpt"));
  EXPECT_EQ(List(), kept);
}

}  // namespace
}  // namespace ccaddin
