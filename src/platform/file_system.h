// The component's one service for files and folders: existence tests, create, copy,
// move, delete, sizes and times, text files opened by handle, and wildcard folder scans.
// A FileSystem owns the streams it opens and closes any still open when it goes. Calls
// block only on the disk; CountLines also yields to the message loop after every line.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/date_time.h"

namespace ccaddin {

// Every operation traps its own failures: it returns its failure result and leaves the
// prefix of the operation followed by the operating system's description (strerror) in
// strErrorMessage. A later success does not clear that text. Results: 0 success and
// 1 failure; the folder scans also return 2 when nothing matched.
//
// Linux conventions kept in one place:
// - Folder arguments get "/" appended where names are joined to them. An empty folder
//   is refused ("No such file or directory") rather than taken as the file-system root.
// - GetFileNameFromPath splits at "/" and also at "\", so Windows-style paths held in
//   settings still give their file name.
// - Wildcard patterns follow Windows: "*" any run of characters (dots included), "?"
//   exactly one, a trailing ".*" also matches names without that extension (so "*.*"
//   matches every name, "report.*" matches "report"). Matching ignores the case of
//   ASCII letters, as Windows does, so "*.rcpt" also finds "A.RCPT"; other bytes compare
//   exactly because names on disk may be UTF-8 as well as Windows-1252. Exact names
//   (FileExists without wildcards, OpenFile ...) stay case-sensitive, like the file
//   system itself.
// - GetFilesInFolder returns names in case-insensitive name order (what NTFS gives),
//   since the order of a Linux directory listing is arbitrary. The scans that count or
//   delete take files in the order the file system lists them and collect nothing, so
//   a folder of a hundred thousand receipts costs no more memory than one of ten.
// - Text files are byte streams (Windows-1252), never converted. A line ends at LF; a CR
//   just before the LF is dropped, so files written on Windows read the same. WriteData
//   ends a line with LF alone: the files written through this class are read back by
//   this class and by merchants on Linux. A writer whose format demands CR LF (the
//   journal) writes the CR LF as part of its data.
class FileSystem {
 public:
  FileSystem();
  ~FileSystem();
  FileSystem(const FileSystem&) = delete;
  FileSystem& operator=(const FileSystem&) = delete;

  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

  // Creation (birth time where the file system records one, else last modification),
  // last access and last modification time of a file (not a folder); local time when
  // bLocalTime, else UTC. False, with the outputs untouched and no text, on failure.
  [[nodiscard]] bool GetFileTimes(const std::string& strFileName, DateTime& dCreationDate,
                                  DateTime& dAccessedDate, DateTime& dModifiedDate,
                                  bool bLocalTime);

  // "report.txt" -> "report"; a name whose first "." is its first character, or that
  // has none, comes back whole (".profile").
  [[nodiscard]] std::string GetFileNameNoExt(const std::string& strFileName);
  // The part after the last "/" or "\" when that separator is not the first character.
  [[nodiscard]] std::string GetFileNameFromPath(const std::string& strFilePathString);
  // Everything after the first "." from the second character on ("a.b.c" -> "b.c");
  // empty when there is none (".profile", "README").
  [[nodiscard]] std::string GetFileExtension(const std::string& strFileName);

  // True when an entry (file, folder or link) of that name exists, or, for a name with
  // wildcards, when any entry of the folder matches. Always leaves the path followed by
  // " already exists" or " does not exist" in strErrorMessage.
  [[nodiscard]] bool FileExists(const std::string& strFilePath);
  [[nodiscard]] bool FolderExists(const std::string& strFolder);

  // Creates one folder; its parent must exist and the folder must not.
  int16_t CreateFolder(const std::string& strFolder);
  // Deletes the folder with everything in it.
  int16_t DeleteFolder(const std::string& strFolder);

  // iMode 0 reads an existing file; 1 writes (created or emptied); any other value
  // appends (created when missing). lFileHandle receives the handle (1, 2, ...; the
  // lowest free slot is reused), or 0 when nothing was opened.
  void OpenFile(const std::string& strFile, int16_t iMode, int32_t& lFileHandle);
  // Writes the bytes, followed by "\n" when bLineOutput; flushed before returning so a
  // full disk shows in the result rather than being lost at CloseFile.
  [[nodiscard]] int16_t WriteData(int32_t lFileHandle, const std::string& strData,
                                  bool bLineOutput);
  // strInput is emptied, then gets the next line (bLineInput), the next lNoChars bytes
  // (fewer at the end), or the rest of the stream (lNoChars 0). Reading at the end of
  // the stream fails with "Input past end of file".
  [[nodiscard]] int16_t ReadData(int32_t lFileHandle, std::string& strInput, bool bLineInput,
                                 int32_t lNoChars);
  // The end-of-stream test. EOF is the C library's macro, hence the spelling. True also
  // for a handle that cannot be read (unopened, closed, opened for writing), so that a
  // "read until Eof" loop always ends.
  [[nodiscard]] bool Eof(int32_t lFileHandle);
  // Closes the stream and frees its slot; an unknown handle is ignored.
  void CloseFile(int32_t lFileHandle);
  // Lines from the current position to the end, yielding to the message loop after each
  // one; the stream is left at its end. 0 on failure, also when the message loop closed
  // the stream meanwhile.
  [[nodiscard]] int32_t CountLines(int32_t lFileHandle);

  // Total size of the files below the folder, and of one file; 0 on failure, including
  // sizes beyond the 32-bit range.
  [[nodiscard]] int32_t GetFolderSize(const std::string& strFolder);
  [[nodiscard]] int32_t GetFileSize(const std::string& strFile);

  int16_t DeleteFile(const std::string& strFile);
  int16_t CopyFile(const std::string& strSource, const std::string& strTarget, bool bOverWrite);
  // Fails when the target exists; works across file systems.
  int16_t MoveFile(const std::string& strSource, const std::string& strTarget);

  // Windows attribute bits: read-only (1) removes every write permission, its absence
  // gives the owner write permission back. Linux has nothing that matches the other bits
  // (hidden, system, archive ...); they are accepted and ignored.
  int16_t SetFileAttributes(const std::string& strFile, int32_t lFileAttrib);

  // Copies the folder with everything below it to strDestination, the copy's own path
  // (created when missing, merged into when present). Without bOverWrite an existing
  // file fails the copy before anything is copied. Links are copied as links.
  int16_t CopyFolder(const std::string& strSource, const std::string& strDestination,
                     bool bOverWrite);
  // Copies each subfolder of strSource (not the files beside them) to strDestination.
  int16_t CopySubFolders(const std::string& strSource, const std::string& strDestination,
                         bool bOverWrite);

  // The scans below look at files only, never at folders, and return 2 when no file
  // matched. An empty strPattern means "*.*".
  //
  // strFiles becomes {"", name1, ..., nameN}: element 0 is always the empty text.
  [[nodiscard]] int16_t GetFilesInFolder(const std::string& strPath, const std::string& strPattern,
                                         std::vector<std::string>& strFiles);
  [[nodiscard]] int16_t NoOfFilesInFolder(const std::string& strPath, const std::string& strPattern,
                                          int32_t& lNoOfFiles);
  // Stops at the first file that cannot be deleted, with result 1 and
  // "Error in FileSystem::DeleteFilesInFolder - " followed by the description.
  int16_t DeleteFilesInFolder(const std::string& strPath, const std::string& strPattern);
  // Deletes the matching files created iDaysOld or more calendar days before today (a
  // file created on the 1st goes on the 8th with iDaysOld 7). The creation date is the
  // file system's, in UTC, not converted to local time; today is the local date.
  // Creation times come from the Env, so tests can set them. Stops at the first file
  // whose time cannot be read ("FileTimeToSystemTime Failed for :" and its name) or
  // that cannot be deleted (DeleteFile's text). Returns 0 also when nothing matched.
  int16_t DeleteFilesInFolderByDay(const std::string& strPath, const std::string& strPattern,
                                   int16_t iDaysOld);

 private:
  struct Stream;
  // The open stream behind a handle, or null.
  [[nodiscard]] std::shared_ptr<Stream> FindStream(int32_t handle) const noexcept;
  // The open stream behind a handle, opened for reading (or writing); throws a Failure
  // for any other handle.
  [[nodiscard]] std::shared_ptr<Stream> StreamFor(int32_t handle, bool reading) const;

  // Slot i holds handle i + 1; an empty slot is free. Shared so that CountLines can tell
  // when the message loop closed its stream under it.
  std::vector<std::shared_ptr<Stream>> streams_;
  std::string error_message_;
};

}  // namespace ccaddin
