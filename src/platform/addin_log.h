// The transaction journal "tamberincreditcard.log": what the till asked for and what the
// component answered, one line per event, for the merchant and the support desk. One
// object per till call owns one Logging writer from StartLog to EndLog; every line is
// written and closed at once, and no failure to write ever reaches the transaction.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ccaddin/records.h"
#include "platform/logging.h"

namespace ccaddin {

class TAddinLog {
 public:
  static constexpr const char* kJournalFileName = "tamberincreditcard.log";

  // Opens the journal in `strLogFileDir` (the configuration folder) and, unless
  // suppressed, writes the greeting with the component's version.
  void StartLog(const std::string& strLogFileDir, bool bSupressInitialLogMsg) noexcept;

  // The inputs of a card transaction. `strProducts` is the text form of the sale's fuel
  // product list, empty when the list holds no product; the caller renders it because
  // the product list belongs to a layer above this one.
  void LogStartTransaction(bool bSale, int32_t lSaleValue, int32_t lGratuityValue,
                           int32_t lCashbackValue, bool bSplitTendering, int32_t lTenderIndex,
                           bool bNonGuiTransaction, const std::string& strProducts = {}) noexcept;

  void LogConfirm(int32_t lConfirmType, const std::string& strTransactionReference,
                  const std::string& strAuthCode) noexcept;
  void LogKeyPress(const std::string& strFormName, const std::string& strControlName,
                   int16_t iKeyAscii, int32_t lButtonIndex) noexcept;
  void LogError(const std::string& strErrorMessage) noexcept;
  // What an operator script did at the windows in place of a person ("SCRIPT : ...").
  void LogOperatorScript(const std::string& strText) noexcept;

  // The outcome handed back to the till, one labelled line per property. The token is
  // never written, only whether one was returned.
  void LogEndTransaction(const TTransactionInfo& oTxInfo) noexcept;

  void LogRunTask(int32_t lTask) noexcept;
  void LogVoidTransaction(int32_t lTransactionReference) noexcept;
  void LogDuplicateReceipt(int32_t lTransactionReference) noexcept;
  void LogReport(int32_t lReportType, bool bCloseBatch) noexcept;
  void LogFuelBalanceStart() noexcept;
  // Only the first six and last four digits of the card number are written.
  void LogFuelBalanceEnd(const std::string& strCardNumber, const std::string& strScheme,
                         int32_t lResponseCode, int32_t lCardBalance) noexcept;

  // Writes the farewell unless suppressed, then releases the writer; later calls write
  // nothing until the next StartLog.
  void EndLog(bool bSupressLogMsg) noexcept;

 private:
  void Line(const std::string& text) noexcept;
  void Input(const std::string& label, const std::string& value) noexcept;
  void Output(const std::string& label, const std::string& value) noexcept;

  std::unique_ptr<Logging> oLogging_;
};

}  // namespace ccaddin
