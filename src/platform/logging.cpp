#include "platform/logging.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

#include "platform/date_time.h"
#include "platform/env.h"
#include "platform/text_rules.h"

namespace ccaddin {

namespace {

// Month names are fixed to English whatever the process locale, so that journals read
// the same on every till and support tools can parse them.
constexpr const char* kMonths[12] = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                     "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};

void AppendTwoDigits(std::string& out, int value) {
  out += static_cast<char>('0' + (value / 10) % 10);
  out += static_cast<char>('0' + value % 10);
}

// "16 Nov 2026: 17:58:01 : "
void AppendLinePrefix(std::string& out, const DateTime& now) {
  AppendTwoDigits(out, now.day);
  out += ' ';
  out += (now.month >= 1 && now.month <= 12) ? kMonths[now.month - 1] : "???";
  out += ' ';
  const int year = now.year < 0 ? 0 : now.year % 10000;
  AppendTwoDigits(out, year / 100);
  AppendTwoDigits(out, year % 100);
  out += ": ";
  AppendTwoDigits(out, now.hour);
  out += ':';
  AppendTwoDigits(out, now.minute);
  out += ':';
  AppendTwoDigits(out, now.second);
  out += " : ";
}

bool IsDigit(char c) {
  return c >= '0' && c <= '9';
}

bool IsDirectory(const std::string& path) {
  struct stat st {};
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

// Moves `from` to `to` but never over an existing file. Two writers that decide to
// archive in the same second would otherwise both rename to the same name, and the
// second rename (which may be moving the fresh file the first writer just started)
// would silently replace the archive the first one made.
bool MoveWithoutReplacing(const std::string& from, const std::string& to) {
  if (renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL && errno != ENOSYS) return false;
  // The file system cannot rename without replacing; a hard link fails the same way
  // when the name is taken, and is atomic too.
  if (link(from.c_str(), to.c_str()) == 0) {
    unlink(from.c_str());
    return true;
  }
  return false;
}

// O_NONBLOCK keeps a FIFO without a reader from hanging the till; it has no effect on
// regular files.
int OpenForAppend(const std::string& path) {
  return open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC | O_NOCTTY | O_NONBLOCK,
              0666);
}

bool LargerThan(int fd, long long bytes) {
  struct stat st {};
  return fstat(fd, &st) == 0 && S_ISREG(st.st_mode) && st.st_size > bytes;
}

// One write() per line on an O_APPEND descriptor: the kernel places each whole line at
// the end of the file, so lines from other writers never land inside it.
void AppendAndClose(int fd, const std::string& line) {
  if (fd < 0) return;
  size_t done = 0;
  while (done < line.size()) {
    const ssize_t written = write(fd, line.data() + done, line.size() - done);
    if (written < 0) {
      if (errno == EINTR) continue;
      break;
    }
    done += static_cast<size_t>(written);
  }
  close(fd);
}

}  // namespace

void MaskLongDigitRuns(std::string& line) {
  constexpr size_t kLongestKept = 12;
  size_t i = 0;
  while (i < line.size()) {
    if (!IsDigit(line[i])) {
      ++i;
      continue;
    }
    const size_t start = i;
    while (i < line.size() && IsDigit(line[i])) ++i;
    const size_t length = i - start;
    if (length > kLongestKept) line.replace(start, length - 4, length - 4, '*');
  }
}

std::string Logging::ProcessLogMsg(std::string_view strMessage) {
  // The control characters that payment and printer protocols use get their names.
  static constexpr const char* kNames[32] = {
      "<NUL>", "<SOH>", "<STX>", "<ETX>", "<EOT>", "<ENQ>", "<ACK>", "<BEL>",
      nullptr, nullptr, "<LF>",  nullptr, nullptr, "<CR>",  nullptr, nullptr,
      "<DLE>", nullptr, nullptr, nullptr, nullptr, "<NAK>", nullptr, nullptr,
      nullptr, nullptr, nullptr, nullptr, "<FS>",  nullptr, "<RS>",  "<US>"};
  std::string out;
  out.reserve(strMessage.size());
  for (const char ch : strMessage) {
    const auto code = static_cast<unsigned char>(ch);
    if (code >= 32 && code <= 126) {
      out += ch;
    } else if (code < 32 && kNames[code] != nullptr) {
      out += kNames[code];
    } else {
      out += "<ASCII ";
      out += std::to_string(code);
      out += '>';
    }
  }
  return out;
}

void Logging::Logit(const std::string& strMessage) noexcept {
  try {
    if (!bLoggingEnabled_) return;
    WriteLine(ProcessLogMsg(strMessage));
  } catch (...) {
    // Out of memory converting the text: the line is lost, the caller carries on.
  }
}

void Logging::Logit2(const std::string& strMessage) noexcept {
  WriteLine(strMessage);
}

void Logging::WriteLine(std::string_view text) noexcept {
  try {
    if (!bLoggingEnabled_) return;
    std::string target;
    if (!strLogFileDirAndName_.empty()) {
      target = strLogFileDirAndName_;
    } else {
      // No folder configured: writing to the root of the file system instead would
      // scatter journals where nobody looks, so the line is dropped like any other
      // line whose folder is missing.
      if (strLogPath_.empty()) return;
      strLogPath_ = FolderWithSeparator(strLogPath_);
      target = strLogPath_ + strLogFile_;
    }

    // One reading of the clock per line, so an archived file's name and the first line
    // of the new file agree on the time.
    const DateTime now = CurrentEnv()->Now();
    const auto archive = [&] {
      try {
        ArchiveIfLarge(now.Yyyymmdd() + "_" + now.Hhmmss() + "_");
      } catch (...) {
        // A failed archive only means the file grows further; the line still goes in.
      }
    };
    // Lines into the journal's own file ask the open file for its size instead of
    // looking the folders up before every line (a sale writes some fifty lines); the
    // first line of a writer still makes the archive folder, as it always has.
    const bool own_file = strLogFileDirAndName_.empty();
    if (bArchiveLogFile_ && (!own_file || !archive_folder_checked_)) {
      archive();
      archive_folder_checked_ = true;
    }

    std::string line;
    line.reserve(text.size() + 28);
    AppendLinePrefix(line, now);
    line += text;
    line += "\r\n";
    if (bObscureNumericStrings_) MaskLongDigitRuns(line);
    int fd = OpenForAppend(target);
    if (fd >= 0 && bArchiveLogFile_ && own_file && LargerThan(fd, kArchiveThresholdBytes)) {
      close(fd);
      archive();
      fd = OpenForAppend(target);
    }
    AppendAndClose(fd, line);
  } catch (...) {
    // Logging must never stop a transaction: the line is lost and nothing is reported.
  }
}

void Logging::ArchiveIfLarge(const std::string& stamp) const {
  // Always the configured folder and file, even when lines go to strLogFileDirAndName.
  const std::string folder = FolderWithSeparator(strLogPath_);
  if (folder.empty() || !IsDirectory(folder)) return;
  const std::string old_folder = folder + "old/";
  if (!IsDirectory(old_folder)) {
    // Another writer may create it between the test and ours; that is success too.
    if (mkdir(old_folder.c_str(), 0777) != 0 && !(errno == EEXIST && IsDirectory(old_folder))) {
      return;
    }
  }
  const std::string log_file = folder + strLogFile_;
  struct stat st {};
  if (stat(log_file.c_str(), &st) != 0 || !S_ISREG(st.st_mode)) return;
  if (st.st_size <= kArchiveThresholdBytes) return;
  // Losing the race to another writer leaves the file where it is (the name is taken) or
  // moves a fresh file under a newer name; no line is lost either way.
  MoveWithoutReplacing(log_file, old_folder + stamp + strLogFile_);
}

}  // namespace ccaddin
