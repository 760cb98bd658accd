// TReceipt: one 40-column card receipt copy (merchant or customer). It composes the copy
// from the payment transaction and the till's details into a receipt file and into
// strReceipt, then prints that file on the configured printer and deletes it when asked.
// One object per copy, owned by its caller; composing blocks only on the disk, printing
// on the printer (serial port, network printer, print spooler or the host's printer).
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ccaddin/records.h"
#include "platform/date_time.h"
#include "platform/file_system.h"
#include "qlclient/ql_transaction.h"

namespace ccaddin {

class PosPrinter;

class TReceipt {
 public:
  static constexpr int32_t kWidth = 40;

  TReceipt();
  ~TReceipt();
  TReceipt(const TReceipt&) = delete;
  TReceipt& operator=(const TReceipt&) = delete;

  // Composes one copy. The short file name is strFileName when given (a duplicate reuses
  // the original's), else made from the till's store and till numbers, the reference and
  // now. Unless bMemoryOnly the folder is created when missing and the file is opened
  // before anything is composed; a file that cannot be opened composes nothing. 0 when
  // the copy was composed, 1 when a failure stopped or spoilt it (reason in
  // strErrorMessage); the file of a spoilt copy is deleted, so it can never be printed,
  // while strReceipt keeps what was composed.
  [[nodiscard]] int32_t WriteReceiptFile(const QlTransaction& oTrans,
                                         const TTillInformation& oTillInfo,
                                         const std::string& strReceiptFolder, bool bMerchantCopy,
                                         bool bDuplicate, const std::string& strFileName = "",
                                         bool bMemoryOnly = false);

  // Prints the receipt file strReceiptFile on the printer lPrinterType selects, with the
  // till's start and end texts round it when bHostTexts. oPrinter is the window's POS
  // printer control (printer type 1 on a till that is not the "Rms" host); it may be
  // null, and then a control is created for the call. strCardNumber, when not empty, is
  // put back in clear where its masked form stands (merchant copy). 0 printed (or not
  // wanted: a customer copy with bCustomerReceiptDisabled), 1 failed.
  [[nodiscard]] int32_t PrintReceipt(PosPrinter* oPrinter, bool bMerchantCopy,
                                     const std::string& strReceiptFile,
                                     const std::string& strCardNumber, bool bHostTexts,
                                     bool bForceCut, bool bCustomerReceiptDisabled);

  // Deletes the receipt file (when receipts are not kept); 0 deleted, 1 failed.
  int32_t DeleteReceipt(const std::string& strReceiptFile);

  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }
  [[nodiscard]] const std::string& strShortReceiptFileName() const { return short_name_; }
  [[nodiscard]] const std::string& strLongReceiptFileName() const { return long_name_; }
  [[nodiscard]] const std::string& strReceipt() const { return receipt_; }
  // The composed copy carries a signature line (a cardholder's or the merchant's), so the
  // paper it is printed on, or the till's own print of it, must be signed.
  [[nodiscard]] bool bSignatureLine() const { return signature_line_; }

  DateTime dtDate;
  std::string strTime;  // "HHMM"
  int32_t lCurrencyExponent = 2;

  // --- the 40-column text builders every section uses ---
  // Blanks on both sides: half of (40 - length) each, rounded down to an even total, so
  // a 39-character text is left alone and a text longer than 40 gains half its excess.
  [[nodiscard]] static std::string CentreText(const std::string& strText);
  // The left text (first 40 characters, trimmed) and the right one right-justified in
  // what is left of the 40 columns, cut at its end when it does not fit.
  [[nodiscard]] static std::string JoinLeftRight(const std::string& strLeft,
                                                 const std::string& strRight);
  [[nodiscard]] static std::string RightJustify40(const std::string& strText);
  // "YYMM" -> "MM/YY", "YYMMDD" -> "DD/MM/YY", anything else unchanged.
  [[nodiscard]] static std::string FormatCardDate(const std::string& strDate);
  // Stars for all but the last lKeep characters; all stars when not longer than lKeep.
  [[nodiscard]] static std::string MaskKeepLast(const std::string& strText, int32_t lKeep);
  // The lines WordWrap adds for strText: words joined by one blank behind a leading
  // blank while the line stays under 39 characters.
  [[nodiscard]] static std::vector<std::string> WrapWords(const std::string& strText);
  // Zero as "0", "0.0", "0.00", "0.000" for exponents 0 to 3 ("" for others); any other
  // amount as FormatCurrencyDown gives it.
  [[nodiscard]] static std::string FormatAmount(int32_t lAmount, int32_t lExponent);
  // The short file name made from the till's numbers, the reference and `now`:
  // "0000012_0000003_0000004711_20260115_103000.rcpt", "UNKNOWN_" for a missing number.
  [[nodiscard]] static std::string MakeShortFileName(const TTillInformation& oTillInfo,
                                                     int32_t lTransRefNo, const DateTime& now);
  // "DUP_" for a duplicate, then "M_" or "C_", then the short name.
  [[nodiscard]] static std::string MakeLongFileName(const std::string& strShortName,
                                                    bool bMerchantCopy, bool bDuplicate);

 private:
  struct Composition;

  void AddLine(const std::string& strText);
  void AddBlankLines(int32_t lCount);
  void WordWrap(const std::string& strText);

  bool PrintMerchDetails(const Composition& c);
  bool PrintDateTimeReceiptID(const Composition& c);
  bool PrintCardNameExpDate(const Composition& c);
  void PrintChipDataDump(const Composition& c);
  bool PrintTransAmountDetails(const Composition& c);
  bool PrintTrailor(const Composition& c);
  void PrintSignatureLines(const Composition& c);

  FileSystem file_system_;
  int32_t file_handle_ = 0;
  bool memory_only_ = false;
  std::string short_name_;
  std::string long_name_;
  std::string receipt_;
  bool signature_line_ = false;
  std::string error_message_;
};

}  // namespace ccaddin
