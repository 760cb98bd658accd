#include "platform/file_system.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <limits>
#include <new>
#include <string_view>
#include <system_error>

#include "platform/env.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {

namespace fs = std::filesystem;

namespace {

constexpr int16_t kSuccess = 0;
constexpr int16_t kFailure = 1;
constexpr int16_t kNoMatch = 2;

// What the system says when a read runs off the end of a text stream; the OS has no
// text of its own for it.
constexpr const char* kInputPastEnd = "Input past end of file";

[[noreturn]] void ThrowCode(int code) {
  throw Failure(std::strerror(code));
}

// "*" any run (dots included), "?" exactly one character, ASCII case ignored.
bool GlobMatch(std::string_view name, std::string_view pattern) {
  size_t n = 0, p = 0;
  size_t star = std::string_view::npos, star_n = 0;
  while (n < name.size()) {
    if (p < pattern.size() && pattern[p] == '*') {
      star = p++;
      star_n = n;
    } else if (p < pattern.size() &&
               (pattern[p] == '?' || LowerAscii(pattern[p]) == LowerAscii(name[n]))) {
      ++p;
      ++n;
    } else if (star != std::string_view::npos) {
      p = star + 1;
      n = ++star_n;
    } else {
      return false;
    }
  }
  while (p < pattern.size() && pattern[p] == '*') ++p;
  return p == pattern.size();
}

// Windows lets a trailing ".*" stand for "any extension or none": "*.*" is every name,
// "report.*" includes "report".
bool WildcardMatch(std::string_view name, std::string_view pattern) {
  if (GlobMatch(name, pattern)) return true;
  return pattern.size() >= 2 && pattern.substr(pattern.size() - 2) == ".*" &&
         GlobMatch(name, pattern.substr(0, pattern.size() - 2));
}

bool HasWildcards(std::string_view text) {
  return text.find_first_of("*?") != text.npos;
}

// The folder ready for names to be joined to it; an empty folder names no folder.
std::string JoinableFolder(const std::string& folder) {
  if (folder.empty()) ThrowCode(ENOENT);
  return FolderWithSeparator(folder);
}

bool LessIgnoringCase(const std::string& a, const std::string& b) {
  const auto folded_less = [](char x, char y) {
    return static_cast<unsigned char>(LowerAscii(x)) < static_cast<unsigned char>(LowerAscii(y));
  };
  if (std::lexicographical_compare(a.begin(), a.end(), b.begin(), b.end(), folded_less))
    return true;
  if (std::lexicographical_compare(b.begin(), b.end(), a.begin(), a.end(), folded_less))
    return false;
  return a < b;
}

// One folder open for reading its entries in the order the file system lists them.
// Names are read where readdir leaves them, valid until the next entry.
class OpenFolder {
 public:
  explicit OpenFolder(const std::string& path) : dir_(opendir(path.c_str())) {
    if (dir_ == nullptr) ThrowErrno();
  }
  ~OpenFolder() { closedir(dir_); }
  OpenFolder(const OpenFolder&) = delete;
  OpenFolder& operator=(const OpenFolder&) = delete;

  [[nodiscard]] int fd() const { return dirfd(dir_); }

  // The next entry other than "." and "..", or null after the last.
  const dirent* Next() {
    for (;;) {
      errno = 0;
      const dirent* entry = readdir(dir_);
      if (entry == nullptr) {
        if (errno != 0) ThrowErrno();
        return nullptr;
      }
      const std::string_view name = entry->d_name;
      if (name != "." && name != "..") return entry;
    }
  }

  // A link to a folder counts as a folder; a dangling link is no folder. Most file
  // systems give the type with the name, so only links and the odd file system that
  // does not need a look at the entry itself.
  [[nodiscard]] bool IsFolder(const dirent& entry) const {
    if (entry.d_type != DT_LNK && entry.d_type != DT_UNKNOWN) return entry.d_type == DT_DIR;
    struct stat st {};
    return fstatat(fd(), entry.d_name, &st, 0) == 0 && S_ISDIR(st.st_mode);
  }

 private:
  DIR* dir_;
};

// Calls visit(folder_fd, name) for every file (not folder) of `path` whose name
// matches `pattern` ("*.*" when empty), in the order the file system lists them, until
// visit returns false. Nothing is collected, so a folder of any size takes the same
// memory, and visit may delete the file it is given. Throws when the folder cannot be
// read.
template <typename Visit>
void ForEachMatchingFile(const std::string& path, const std::string& pattern, Visit&& visit) {
  OpenFolder folder(FolderWithSeparator(path));
  const std::string_view wanted = pattern.empty() ? std::string_view("*.*") : pattern;
  while (const dirent* entry = folder.Next()) {
    if (!WildcardMatch(entry->d_name, wanted) || folder.IsFolder(*entry)) continue;
    if (!visit(folder.fd(), entry->d_name)) return;
  }
}

struct ScanEntry {
  std::string name;
  bool is_folder = false;
};

struct Scan {
  std::string folder;  // with its trailing "/"
  std::vector<ScanEntry> entries;
};

// The entries of `path` whose names match `pattern`, in case-insensitive name order,
// for the operations that hand out or copy what they found. The listing is taken whole
// before anything is done with it. Throws when the folder cannot be listed.
Scan ScanFolder(const std::string& path, std::string pattern) {
  Scan scan;
  scan.folder = JoinableFolder(path);
  if (pattern.empty()) pattern = "*.*";
  OpenFolder folder(scan.folder);
  while (const dirent* entry = folder.Next()) {
    if (WildcardMatch(entry->d_name, pattern)) {
      scan.entries.push_back({entry->d_name, folder.IsFolder(*entry)});
    }
  }
  std::sort(scan.entries.begin(), scan.entries.end(), [](const ScanEntry& a, const ScanEntry& b) {
    return LessIgnoringCase(a.name, b.name);
  });
  return scan;
}

// Throws unless `path` names a folder (or a link to one).
void RequireFolder(const std::string& path) {
  struct stat st {};
  if (path.empty()) ThrowCode(ENOENT);
  if (stat(path.c_str(), &st) != 0) ThrowErrno();
  if (!S_ISDIR(st.st_mode)) ThrowCode(ENOTDIR);
}

std::string WithoutTrailingSeparators(std::string path) {
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  return path;
}

// One folder copy, checked in full before anything is written.
struct FolderCopy {
  fs::path source;
  fs::path destination;
};

bool IsWithin(const fs::path& inner, const fs::path& outer) {
  return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

FolderCopy PlanFolderCopy(const std::string& source, const std::string& destination,
                          bool overwrite) {
  FolderCopy copy;
  const std::string from = WithoutTrailingSeparators(source);
  RequireFolder(from);
  if (destination.empty()) ThrowCode(ENOENT);
  copy.source = fs::canonical(from);
  copy.destination = destination;
  // Copying a folder into itself would never end.
  if (IsWithin(fs::weakly_canonical(copy.destination), copy.source)) ThrowCode(EINVAL);

  std::error_code ec;
  const fs::file_status target = fs::symlink_status(copy.destination, ec);
  if (fs::exists(target) && !fs::is_directory(target)) ThrowCode(EEXIST);
  if (!overwrite && fs::exists(target)) {
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(copy.source)) {
      const fs::path there = copy.destination / fs::relative(entry.path(), copy.source);
      const fs::file_status existing = fs::symlink_status(there, ec);
      if (!fs::exists(existing)) continue;
      if (fs::is_directory(existing) && entry.is_directory() && !entry.is_symlink()) continue;
      ThrowCode(EEXIST);
    }
  }
  return copy;
}

void RunFolderCopy(const FolderCopy& copy, bool overwrite) {
  fs::copy(copy.source, copy.destination,
           fs::copy_options::recursive | fs::copy_options::copy_symlinks |
               (overwrite ? fs::copy_options::overwrite_existing : fs::copy_options::none));
}

}  // namespace

struct FileSystem::Stream {
  std::FILE* file = nullptr;
  bool reading = false;
  // getdelim's buffer, kept for the next line.
  char* line_buffer = nullptr;
  size_t line_capacity = 0;

  Stream() = default;
  Stream(const Stream&) = delete;
  Stream& operator=(const Stream&) = delete;
  ~Stream() {
    if (file != nullptr) std::fclose(file);
    std::free(line_buffer);
  }

  // The next line without its LF (or CR LF) into `line` (when not null); false at the
  // end of the stream. getdelim finds the line end a buffer at a time and keeps NUL
  // bytes, which a text file from the server may hold.
  bool ReadLine(std::string* line) {
    const ssize_t got = getdelim(&line_buffer, &line_capacity, '\n', file);
    if (got < 0) {
      if (errno == ENOMEM && !std::feof(file)) throw std::bad_alloc();
      if (std::ferror(file)) ThrowErrno();
      if (line != nullptr) line->clear();
      return false;
    }
    auto size = static_cast<size_t>(got);
    if (size > 0 && line_buffer[size - 1] == '\n') {
      --size;
      if (size > 0 && line_buffer[size - 1] == '\r') --size;
    }
    if (line != nullptr) line->assign(line_buffer, size);
    return true;
  }

  // Up to `count` bytes (all the rest when negative) appended to `out`, read straight
  // into it. A large count is read in steps, so that asking for more than the file
  // holds does not reserve that much memory.
  void ReadBytes(int64_t count, std::string& out) {
    constexpr int64_t kRestStep = 64 * 1024;
    constexpr int64_t kLargestStep = 1024 * 1024;
    while (count != 0) {
      const auto want = static_cast<size_t>(count < 0 ? kRestStep : std::min(count, kLargestStep));
      const size_t before = out.size();
      out.resize(before + want);
      const size_t got = std::fread(out.data() + before, 1, want, file);
      out.resize(before + got);
      if (count > 0) count -= static_cast<int64_t>(got);
      if (got < want) {
        if (std::ferror(file)) ThrowErrno();
        return;
      }
    }
  }

  bool AtEnd() {
    const int c = getc_unlocked(file);
    if (c == EOF) {
      // Clear the end flag so that data appended later is seen by the next read.
      std::clearerr(file);
      return true;
    }
    ungetc(c, file);
    return false;
  }
};

FileSystem::FileSystem() = default;
FileSystem::~FileSystem() = default;

std::shared_ptr<FileSystem::Stream> FileSystem::FindStream(int32_t handle) const noexcept {
  if (handle < 1 || static_cast<size_t>(handle) > streams_.size()) return nullptr;
  return streams_[static_cast<size_t>(handle) - 1];
}

std::shared_ptr<FileSystem::Stream> FileSystem::StreamFor(int32_t handle, bool reading) const {
  std::shared_ptr<Stream> stream = FindStream(handle);
  if (stream == nullptr || stream->reading != reading) ThrowCode(EBADF);
  return stream;
}

bool FileSystem::GetFileTimes(const std::string& strFileName, DateTime& dCreationDate,
                              DateTime& dAccessedDate, DateTime& dModifiedDate, bool bLocalTime) {
  struct statx sx {};
  if (statx(AT_FDCWD, strFileName.c_str(), 0, STATX_TYPE | STATX_BTIME | STATX_ATIME | STATX_MTIME,
            &sx) != 0) {
    return false;
  }
  if (S_ISDIR(sx.stx_mode)) return false;
  const auto convert = [bLocalTime](const statx_timestamp& ts) {
    return bLocalTime ? LocalDateTimeFromUnix(ts.tv_sec, ts.tv_nsec)
                      : UtcDateTimeFromUnix(ts.tv_sec, ts.tv_nsec);
  };
  // Some file systems record no birth time; the last modification is the nearest one.
  dCreationDate = convert((sx.stx_mask & STATX_BTIME) ? sx.stx_btime : sx.stx_mtime);
  dAccessedDate = convert(sx.stx_atime);
  dModifiedDate = convert(sx.stx_mtime);
  return true;
}

std::string FileSystem::GetFileNameNoExt(const std::string& strFileName) {
  const size_t dot = strFileName.find('.');
  return dot != std::string::npos && dot >= 1 ? strFileName.substr(0, dot) : strFileName;
}

std::string FileSystem::GetFileNameFromPath(const std::string& strFilePathString) {
  const size_t separator = strFilePathString.find_last_of("/\\");
  return separator != std::string::npos && separator >= 1 ? strFilePathString.substr(separator + 1)
                                                          : strFilePathString;
}

std::string FileSystem::GetFileExtension(const std::string& strFileName) {
  const size_t dot = strFileName.find('.', 1);
  return dot != std::string::npos ? strFileName.substr(dot + 1) : std::string();
}

bool FileSystem::FileExists(const std::string& strFilePath) {
  bool found = false;
  try {
    if (!strFilePath.empty()) {
      const size_t slash = strFilePath.rfind('/');
      const size_t name_start = slash == std::string::npos ? 0 : slash + 1;
      if (HasWildcards(std::string_view(strFilePath).substr(name_start))) {
        const std::string folder = name_start == 0 ? "./" : strFilePath.substr(0, name_start);
        found = !ScanFolder(folder, strFilePath.substr(name_start)).entries.empty();
      } else {
        struct stat st {};
        found = lstat(strFilePath.c_str(), &st) == 0;
      }
    }
  } catch (...) {
    found = false;  // a folder that cannot be listed holds nothing we can find
  }
  try {
    error_message_ = strFilePath + (found ? " already exists" : " does not exist");
  } catch (...) {
  }
  return found;
}

bool FileSystem::FolderExists(const std::string& strFolder) {
  struct stat st {};
  return !strFolder.empty() && stat(strFolder.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

int16_t FileSystem::CreateFolder(const std::string& strFolder) {
  return Trap(error_message_, "CreateFolder() Failed - ", kFailure, [&] {
    if (mkdir(strFolder.c_str(), 0777) != 0) ThrowErrno();
    return kSuccess;
  });
}

int16_t FileSystem::DeleteFolder(const std::string& strFolder) {
  return Trap(error_message_, "DeleteFolder() Failed - ", kFailure, [&] {
    const std::string folder = WithoutTrailingSeparators(strFolder);
    if (folder.empty()) ThrowCode(ENOENT);
    if (folder == "/") ThrowCode(EBUSY);
    const std::string last = fs::path(folder).filename().string();
    if (last == "." || last == "..") ThrowCode(EINVAL);  // as rmdir refuses them
    struct stat st {};
    if (lstat(folder.c_str(), &st) != 0) ThrowErrno();
    if (!S_ISDIR(st.st_mode)) ThrowCode(ENOTDIR);
    fs::remove_all(folder);
    return kSuccess;
  });
}

void FileSystem::OpenFile(const std::string& strFile, int16_t iMode, int32_t& lFileHandle) {
  lFileHandle = Trap(error_message_, "Error Open File : ", int32_t{0}, [&] {
    // "e": the streams must not leak into processes the component starts.
    const char* mode = iMode == 0 ? "rbe" : iMode == 1 ? "wbe" : "abe";
    auto stream = std::make_shared<Stream>();
    stream->reading = iMode == 0;
    stream->file = std::fopen(strFile.c_str(), mode);
    if (stream->file == nullptr) ThrowErrno();
    struct stat st {};
    if (fstat(fileno(stream->file), &st) != 0) ThrowErrno();
    if (S_ISDIR(st.st_mode)) ThrowCode(EISDIR);  // only a read open gets this far

    auto slot = std::find(streams_.begin(), streams_.end(), nullptr);
    if (slot == streams_.end()) {
      if (streams_.size() >= static_cast<size_t>(std::numeric_limits<int32_t>::max())) {
        ThrowCode(EMFILE);
      }
      streams_.push_back(std::move(stream));
      return static_cast<int32_t>(streams_.size());
    }
    *slot = std::move(stream);
    return static_cast<int32_t>(slot - streams_.begin()) + 1;
  });
}

int16_t FileSystem::WriteData(int32_t lFileHandle, const std::string& strData, bool bLineOutput) {
  return Trap(error_message_, "WriteData() Failed - ", kFailure, [&] {
    const std::shared_ptr<Stream> stream = StreamFor(lFileHandle, false);
    if (!strData.empty() &&
        std::fwrite(strData.data(), 1, strData.size(), stream->file) != strData.size()) {
      ThrowErrno();
    }
    if (bLineOutput && std::fputc('\n', stream->file) == EOF) ThrowErrno();
    if (std::fflush(stream->file) != 0) ThrowErrno();
    return kSuccess;
  });
}

int16_t FileSystem::ReadData(int32_t lFileHandle, std::string& strInput, bool bLineInput,
                             int32_t lNoChars) {
  strInput.clear();
  return Trap(error_message_, "ReadData() Failed - ", kFailure, [&] {
    const std::shared_ptr<Stream> stream = StreamFor(lFileHandle, true);
    if (!bLineInput && lNoChars < 0) ThrowCode(EINVAL);
    std::string input;
    if (bLineInput) {
      if (!stream->ReadLine(&input)) throw Failure(kInputPastEnd);
    } else {
      if (stream->AtEnd()) throw Failure(kInputPastEnd);
      stream->ReadBytes(lNoChars != 0 ? lNoChars : -1, input);
    }
    strInput = std::move(input);
    return kSuccess;
  });
}

bool FileSystem::Eof(int32_t lFileHandle) {
  const std::shared_ptr<Stream> stream = FindStream(lFileHandle);
  return stream == nullptr || !stream->reading || stream->AtEnd();
}

void FileSystem::CloseFile(int32_t lFileHandle) {
  if (FindStream(lFileHandle) != nullptr) streams_[static_cast<size_t>(lFileHandle) - 1].reset();
}

int32_t FileSystem::CountLines(int32_t lFileHandle) {
  return Trap(error_message_, "CountLines() Failed - ", int32_t{0}, [&] {
    // Holding our own reference keeps the stream valid even if the message loop closes
    // the handle; the check after each yield then ends the count.
    const std::shared_ptr<Stream> stream = StreamFor(lFileHandle, true);
    int32_t count = 0;
    while (stream->ReadLine(nullptr)) {
      ++count;
      CurrentEnv()->DoEvents();
      if (FindStream(lFileHandle) != stream) ThrowCode(EBADF);
    }
    return count;
  });
}

int32_t FileSystem::GetFolderSize(const std::string& strFolder) {
  return Trap(error_message_, "GetFolderSize() Failed - ", int32_t{0}, [&] {
    RequireFolder(strFolder);
    uint64_t total = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(strFolder)) {
      if (entry.is_regular_file() && !entry.is_symlink()) total += entry.file_size();
    }
    if (total > static_cast<uint64_t>(std::numeric_limits<int32_t>::max())) ThrowCode(EOVERFLOW);
    return static_cast<int32_t>(total);
  });
}

int32_t FileSystem::GetFileSize(const std::string& strFile) {
  return Trap(error_message_, "GetFileSize() Failed - ", int32_t{0}, [&] {
    struct stat st {};
    if (stat(strFile.c_str(), &st) != 0) ThrowErrno();
    if (S_ISDIR(st.st_mode)) ThrowCode(EISDIR);
    if (st.st_size > std::numeric_limits<int32_t>::max()) ThrowCode(EOVERFLOW);
    return static_cast<int32_t>(st.st_size);
  });
}

int16_t FileSystem::DeleteFile(const std::string& strFile) {
  return Trap(error_message_, "DeleteFile() Failed - ", kFailure, [&] {
    if (unlink(strFile.c_str()) != 0) ThrowErrno();
    return kSuccess;
  });
}

int16_t FileSystem::CopyFile(const std::string& strSource, const std::string& strTarget,
                             bool bOverWrite) {
  return Trap(error_message_, "CopyFile() Failed - ", kFailure, [&] {
    struct stat st {};
    if (stat(strSource.c_str(), &st) != 0) ThrowErrno();
    if (S_ISDIR(st.st_mode)) ThrowCode(EISDIR);
    fs::copy_file(strSource, strTarget,
                  bOverWrite ? fs::copy_options::overwrite_existing : fs::copy_options::none);
    return kSuccess;
  });
}

int16_t FileSystem::MoveFile(const std::string& strSource, const std::string& strTarget) {
  return Trap(error_message_, "MoveFile() Failed - ", kFailure, [&] {
    struct stat st {};
    if (lstat(strSource.c_str(), &st) != 0) ThrowErrno();
    if (S_ISDIR(st.st_mode)) ThrowCode(EISDIR);
    if (lstat(strTarget.c_str(), &st) == 0) ThrowCode(EEXIST);
    if (std::rename(strSource.c_str(), strTarget.c_str()) == 0) return kSuccess;
    if (errno != EXDEV) ThrowErrno();
    // Another file system: copy, then remove the original; never both or neither kept.
    fs::copy_file(strSource, strTarget, fs::copy_options::none);
    if (unlink(strSource.c_str()) != 0) {
      const int code = errno;
      unlink(strTarget.c_str());
      ThrowCode(code);
    }
    return kSuccess;
  });
}

int16_t FileSystem::SetFileAttributes(const std::string& strFile, int32_t lFileAttrib) {
  constexpr int32_t kReadOnly = 1;
  return Trap(error_message_, "Error in FileSystem::SetFileAttributes - ", kFailure, [&] {
    const auto refused = [&] {
      error_message_ = "Failed setting attributes for file - " + strFile;
      return kFailure;
    };
    struct stat st {};
    if (stat(strFile.c_str(), &st) != 0) return refused();
    const mode_t mode = st.st_mode & 07777;
    // Read-only on Windows binds everyone; cleared, the owner may write again (the
    // component's files belong to the till's user).
    const mode_t wanted =
        (lFileAttrib & kReadOnly) ? mode & ~(S_IWUSR | S_IWGRP | S_IWOTH) : mode | S_IWUSR;
    if (wanted != mode && chmod(strFile.c_str(), wanted) != 0) return refused();
    return kSuccess;
  });
}

int16_t FileSystem::CopyFolder(const std::string& strSource, const std::string& strDestination,
                               bool bOverWrite) {
  return Trap(error_message_, "Error in FileSystem::CopyFolder - ", kFailure, [&] {
    RunFolderCopy(PlanFolderCopy(strSource, strDestination, bOverWrite), bOverWrite);
    return kSuccess;
  });
}

int16_t FileSystem::CopySubFolders(const std::string& strSource, const std::string& strDestination,
                                   bool bOverWrite) {
  return Trap(error_message_, "Error in FileSystem::CopySubFolders - ", kFailure, [&] {
    const Scan scan = ScanFolder(strSource, "*.*");
    const std::string destination = JoinableFolder(strDestination);
    // Every copy is checked before the first one starts, so a conflict in the last
    // subfolder does not leave the others copied.
    std::vector<FolderCopy> copies;
    for (const ScanEntry& entry : scan.entries) {
      if (!entry.is_folder || entry.name == "." || entry.name == "..") continue;
      copies.push_back(
          PlanFolderCopy(scan.folder + entry.name, destination + entry.name, bOverWrite));
    }
    for (const FolderCopy& copy : copies) RunFolderCopy(copy, bOverWrite);
    return kSuccess;
  });
}

int16_t FileSystem::GetFilesInFolder(const std::string& strPath, const std::string& strPattern,
                                     std::vector<std::string>& strFiles) {
  return Trap(error_message_, "Error in FileSystem::GetFilesByPattern - ", kFailure, [&] {
    strFiles.assign(1, std::string());
    std::vector<std::string> files(1);
    for (ScanEntry& entry : ScanFolder(strPath, strPattern).entries) {
      if (!entry.is_folder) files.push_back(std::move(entry.name));
    }
    const int16_t result = files.size() > 1 ? kSuccess : kNoMatch;
    strFiles = std::move(files);
    return result;
  });
}

int16_t FileSystem::NoOfFilesInFolder(const std::string& strPath, const std::string& strPattern,
                                      int32_t& lNoOfFiles) {
  lNoOfFiles = 0;
  return Trap(error_message_, "Error in FileSystem::NoOfFilesInFolder - ", kFailure, [&] {
    int32_t count = 0;
    ForEachMatchingFile(strPath, strPattern, [&](int, const char*) {
      ++count;
      return true;
    });
    lNoOfFiles = count;
    return count > 0 ? kSuccess : kNoMatch;
  });
}

namespace {

// Deletes `name` of the open folder as DeleteFile would, leaving DeleteFile's text when
// it cannot.
bool DeleteFileAt(int folder_fd, const char* name, std::string& error_message) {
  if (unlinkat(folder_fd, name, 0) == 0) return true;
  error_message = std::string("DeleteFile() Failed - ") + std::strerror(errno);
  return false;
}

}  // namespace

int16_t FileSystem::DeleteFilesInFolder(const std::string& strPath, const std::string& strPattern) {
  return Trap(error_message_, "Error in FileSystem::DeleteFilesInFolder - ", kFailure, [&] {
    int16_t result = kNoMatch;
    ForEachMatchingFile(strPath, strPattern, [&](int folder_fd, const char* name) {
      if (unlinkat(folder_fd, name, 0) != 0) ThrowErrno();
      result = kSuccess;
      return true;
    });
    return result;
  });
}

int16_t FileSystem::DeleteFilesInFolderByDay(const std::string& strPath,
                                             const std::string& strPattern, int16_t iDaysOld) {
  return Trap(error_message_, "Error in FileSystem::DeleteFilesInFolderByDay - ", kFailure, [&] {
    Env* env = CurrentEnv();
    const DateTime today = env->Now();
    int16_t result = kSuccess;
    ForEachMatchingFile(strPath, strPattern, [&](int folder_fd, const char* name) {
      DateTime created;
      std::string why;
      if (!env->FileCreationTime(folder_fd, name, &created, &why)) {
        error_message_ = std::string("FileTimeToSystemTime Failed for :") + name;
        result = kFailure;
      } else if (created.DaysUntil(today) >= iDaysOld &&
                 !DeleteFileAt(folder_fd, name, error_message_)) {
        result = kFailure;
      }
      return result == kSuccess;
    });
    return result;
  });
}

}  // namespace ccaddin
