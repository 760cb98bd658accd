// Appends time-stamped lines to a log file: the writer under the transaction journal
// and the serial printer's error log. Each line is one open, one append, one close, so
// any number of objects and processes may share a file; no file stays open between
// calls. Writing never throws and never reports: a line that cannot be written is lost.
#pragma once

#include <string>
#include <string_view>

namespace ccaddin {

// Card numbers are 13 to 19 digits; references, amounts and dates are shorter. A run of
// 13 or more digits keeps only its last four; the others become "*".
void MaskLongDigitRuns(std::string& line);

class Logging {
 public:
  // Files larger than this are moved into the "old" folder before the next line.
  static constexpr long long kArchiveThresholdBytes = 1'048'576;

  // Writes one line whose text part is ProcessLogMsg(strMessage).
  void Logit(const std::string& strMessage) noexcept;
  // Writes one line whose text part is strMessage unchanged.
  void Logit2(const std::string& strMessage) noexcept;

  // Makes control characters and everything outside printable ASCII visible, so that a
  // line stays one line and readable whatever bytes the payment server sent.
  [[nodiscard]] static std::string ProcessLogMsg(std::string_view strMessage);

  // Properties. The folder gets a trailing "/" on first use when it lacks one.
  [[nodiscard]] const std::string& strLogPath() const { return strLogPath_; }
  void strLogPath(const std::string& strNewValue) {
    strLogPath_ = strNewValue;
    archive_folder_checked_ = false;
  }
  [[nodiscard]] const std::string& strLogFile() const { return strLogFile_; }
  void strLogFile(const std::string& strNewValue) {
    strLogFile_ = strNewValue;
    archive_folder_checked_ = false;
  }
  [[nodiscard]] bool bLoggingEnabled() const { return bLoggingEnabled_; }
  void bLoggingEnabled(bool bNewValue) { bLoggingEnabled_ = bNewValue; }
  [[nodiscard]] bool bObscureNumericStrings() const { return bObscureNumericStrings_; }
  void bObscureNumericStrings(bool bNewValue) { bObscureNumericStrings_ = bNewValue; }
  // When set, lines go to this file instead of strLogPath + strLogFile (archiving still
  // looks at strLogPath + strLogFile).
  [[nodiscard]] const std::string& strLogFileDirAndName() const { return strLogFileDirAndName_; }
  void strLogFileDirAndName(const std::string& strNewValue) { strLogFileDirAndName_ = strNewValue; }
  [[nodiscard]] bool bArchiveLogFile() const { return bArchiveLogFile_; }
  void bArchiveLogFile(bool bNewValue) { bArchiveLogFile_ = bNewValue; }

 private:
  void WriteLine(std::string_view text) noexcept;
  void ArchiveIfLarge(const std::string& stamp) const;

  std::string strLogPath_;
  std::string strLogFile_;
  bool bLoggingEnabled_ = false;
  bool bObscureNumericStrings_ = false;
  std::string strLogFileDirAndName_;
  bool bArchiveLogFile_ = false;
  bool archive_folder_checked_ = false;  // the first line's archive check has run
};

}  // namespace ccaddin
