// CreditCardCommon: the shared module of a till call. It holds the loaded configuration
// and the session state that hooks and forms share (one copy per thread, see Shared()),
// and the procedures several of them need: loading, the receipt-printing decision, card
// masking, housekeeping, track extraction, the serial printer link, the hand-over of a
// finished transaction. Loading and housekeeping wait on the settings store; the serial
// printer procedures on the port; the tapped-receipt question on the operator.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ccaddin/records.h"
#include "payment/process_ql_request.h"
#include "payment/session_state.h"
#include "platform/cc_addin_registry.h"
#include "platform/variant.h"
#include "qlclient/ql_transaction.h"

namespace ccaddin {

// Every procedure traps its own failures: it ends quietly with its starting result (""
// for texts, False, 0) and leaves "CreditCardCommon.<Procedure>() Failed - <why>" in
// strErrorMessage, which a later success does not clear.
class CreditCardCommon : public CcAddinSettingValues, public SessionState {
 public:
  // The receipt kinds of ShouldPrintReceipt.
  static constexpr int32_t kMerchantAuthorised = 0;
  static constexpr int32_t kMerchantDeclined = 1;
  static constexpr int32_t kMerchantCancelled = 2;
  static constexpr int32_t kCustomerAuthorised = 3;
  static constexpr int32_t kCustomerDeclined = 4;
  static constexpr int32_t kCustomerCancelled = 5;

  CreditCardCommon();
  ~CreditCardCommon();
  CreditCardCommon(const CreditCardCommon&) = delete;
  CreditCardCommon& operator=(const CreditCardCommon&) = delete;

  // Empties every text, zeroes every number and clears every switch of the configuration
  // and the session state, except lPrinterType 2, lCashbackEntryType 1,
  // bAutoDeclinePinBypass True, the transaction mode 1 (customer not present) and the fuel
  // balance response code 1 (card not supported); empties the client receipts. Objects
  // (ledger, product list, receipt texts, till information, host session, the last
  // transaction, an open serial printer) are left for their owners to replace: the
  // product list and receipt texts a till sets before Process must survive the reset.
  void ResetConfiguration();

  // Reset, then every setting from the settings store, with the rules that make them
  // safe to use: end-to-end encryption forces card enquiry and external swipe on, a
  // start-up position outside 0 to 5 becomes 0, and the printer control sequences are
  // turned from hex into their bytes. Returns 0.
  int32_t LoadConfiguration();

  // Whether the receipt of lReceiptKind (0 to 5, constants above) for oTrans is printed
  // under lPrintReceiptsBitmap and the merchant exceptions. A tapped, unverified customer
  // receipt may instead be left to the operator's answer (bQuestionAllowed and
  // bPromptTappedCustomerReceipt), asked through the thread's QuestionService.
  [[nodiscard]] bool ShouldPrintReceipt(int32_t lReceiptKind, const QlTransaction& oTrans,
                                        bool bQuestionAllowed);

  // The folder with the platform's separator ("/") at its end. An empty path stays empty:
  // it names no folder, and "/" would point the caller at the file-system root.
  [[nodiscard]] static std::string AddTrailingBackslash(const std::string& strPath);

  // Purges old receipt files when receipts are saved (the settings store's DeleteReceipts).
  void HousekeepReceipts();

  // "************1111": stars for all but the last four characters; four stars for a
  // number of four characters or fewer.
  [[nodiscard]] static std::string MaskCardNumber(const std::string& strPan);
  // The first lKeepFirst and last lKeepLast characters kept, stars between; all stars
  // when the number is not longer than both together; "" for a negative count.
  [[nodiscard]] static std::string MaskCardNumberMiddle(const std::string& strPan,
                                                        int32_t lKeepFirst, int32_t lKeepLast);
  [[nodiscard]] static std::string StarString(int32_t lCount);
  // "1234 5678 9012 3456": a space after every fourth character, trimmed.
  [[nodiscard]] static std::string GroupInFours(const std::string& strText);

  // Records now as the last Z report date in the settings store.
  void SaveZReportDateNow();

  // Fills the merchant's name and address, phone and till number from the host's session
  // ("Configuration" and "Register" members). Stops at the first member that is missing
  // or of the wrong type; what was filled before stays.
  void FillTillInfoFromRmsSession(TTillInformation& oTillInfo, const DispatchPtr& oSession);

  // CR LF with bAppendLineFeed, else CR.
  [[nodiscard]] std::string LineEnd() const;

  // Makes a copy of oSource the current transaction (the hand-over from the window).
  void CloneTransaction(const QlTransaction& oSource);

  // The outcome of the current transaction in the till's record; lTenderIndex is the part
  // of a split tender, or -1. Stops where it meets a failure (no current transaction, no
  // ledger): what it had not reached keeps its previous value.
  void FillTransactionInfo(TTransactionInfo& oTransInfo, int32_t lTenderIndex);
  // The same for a transaction of the programmatic interface; leaves the token, the
  // receipt and the fuel product text alone.
  void FillTransactionInfoFromTrans(const QlTransaction& oTrans, TTransactionInfo& oTransInfo);

  // The serial receipt printer, line settings from the configuration. Each failure is
  // written to DirectSerialComms.log in strConfigFileLocation; true on success.
  bool OpenSerialPrinter();
  bool WriteSerialPrinter(const std::string& strText);
  bool CloseSerialPrinter();

  // The track 2 data in keyboard-wedge input as ";<data>?", using the configured
  // sentinels (standard "3B"/"3F": first of each; others: last of each). "" when the
  // input is shorter than 21 characters or the sentinels are not found in order.
  [[nodiscard]] std::string ExtractTrack2(const std::string& strInput);

  // The bytes written in hex ("1B45" gives ESC "E"); "" for text that is not whole pairs
  // of hex digits.
  [[nodiscard]] std::string HexToControlString(const std::string& strHex);

  // Starts the terminal-management script once a day when bDailyTmsCall is on, and
  // records the day in the settings store.
  void DailyTmsCall();

  // Keeps a receipt for the till: customer receipts always, merchant receipts only with
  // bMakeMerchantReceiptsAvailableToClient (with the full card number restored unless
  // bObscureCardNumber).
  void AddClientReceipt(int32_t lType, const std::string& strText, const std::string& strPan,
                        bool bSignatureRequired);
  [[nodiscard]] int32_t lClientReceiptCount() const {
    return static_cast<int32_t>(oClientReceipts.size());
  }

  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  void LogSerialError(const std::string& strMessage) const noexcept;

  std::string error_message_;
};

// The calling thread's CreditCardCommon: the component runs on the till's thread, and each
// thread that calls it has a state of its own. Created on first use.
[[nodiscard]] CreditCardCommon& Shared();

// For tests: gives the calling thread a fresh state for its lifetime, and puts the
// previous one back afterwards.
class ScopedSharedState {
 public:
  ScopedSharedState();
  ~ScopedSharedState();
  ScopedSharedState(const ScopedSharedState&) = delete;
  ScopedSharedState& operator=(const ScopedSharedState&) = delete;

 private:
  std::unique_ptr<CreditCardCommon> previous_;
};

// The request layer's settings as the loaded configuration gives them.
[[nodiscard]] QlRequestSettings MakeQlRequestSettings(const CcAddinSettingValues& config);

}  // namespace ccaddin
