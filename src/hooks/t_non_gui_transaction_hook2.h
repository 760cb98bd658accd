// TNonGuiTransactionHook2: a card transaction driven step by step by the till, without the
// component's window (start, card enquiry, authorise, confirm later by reference, end). The
// object owns its payment-server session, the journal and the enquired transaction from
// StartTransaction to EndTransaction; the card enquiry blocks while it polls the reader
// (yielding to the message loop between polls), every other step as long as the server.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "ccaddin/records.h"
#include "platform/addin_log.h"
#include "platform/dispatch.h"
#include "qlclient/ql_client.h"

namespace ccaddin {

class TNonGuiTransactionHook2 {
 public:
  static constexpr const char* kSavedTransactionExtension = ".rcpt";
  // Pause between two polls of the card reader while the till waits for the card.
  static constexpr int32_t kReaderPollMs = 300;

  TNonGuiTransactionHook2();
  ~TNonGuiTransactionHook2();
  TNonGuiTransactionHook2(const TNonGuiTransactionHook2&) = delete;
  TNonGuiTransactionHook2& operator=(const TNonGuiTransactionHook2&) = delete;

  // 0 connected and logged in, 1 failed (reason in strErrorMessage).
  [[nodiscard]] int32_t StartTransaction();
  void EndTransaction();
  // Stops a card enquiry at its next poll, and an authorisation before its next send. The
  // one member a till may call from another thread while a step runs: a Linux till has no
  // message loop for the card wait to re-enter, so its operator's "cancel" arrives there.
  void AbortTransaction() { abort_ = true; }

  // TRANSACTION_RETURNCODE results.
  [[nodiscard]] int32_t AuthoriseTransaction(int32_t lTransactionType, int32_t lTransactionAmount,
                                             int32_t lCashbackAmount,
                                             const TTillInformation& oTillInfo,
                                             TTransactionInfo& oTransInfo);
  [[nodiscard]] int32_t CardEnquiry(int32_t lTransactionType, int32_t lDataEntryType,
                                    int32_t lTransactionAmount, const TTillInformation& oTillInfo);
  [[nodiscard]] bool ConfirmTransaction(int32_t lConfirmType,
                                        const std::string& strTransactionReference,
                                        const std::string& strAuthCode,
                                        const TTillInformation& oTillInfo,
                                        TTransactionInfo& oTransInfo);

  [[nodiscard]] const std::string& strErrorMessage() const { return strErrorMessage_; }
  [[nodiscard]] const std::string& strMerchantReceipt() const { return strMerchantReceipt_; }
  [[nodiscard]] const std::string& strTransactionReference() const {
    return strTransactionReference_;
  }

 private:
  // The receipt folder from the settings, with its trailing "/".
  [[nodiscard]] static std::string ReceiptFolder();
  // Writes the current transaction to its reference file; true on success.
  bool SaveTransaction(const DateTime& dtDate, const std::string& strTime);
  // Reads the transaction saved under the reference; true on success.
  bool ReadTransaction(const std::string& strTransactionReference, QlTransaction& oTrans);
  // Composes one receipt copy; its text, or "" (and the reason in the journal) on failure.
  std::string ComposeReceipt(const QlTransaction& oTrans, const TTillInformation& oTillInfo,
                             bool bMerchantCopy, const DateTime& dtDate,
                             const std::string& strTime);

  std::string strErrorMessage_;
  std::string strMerchantReceipt_;
  std::string strTransactionReference_;

  std::unique_ptr<QlSession> session_;
  std::unique_ptr<QlParameters> parameters_;
  std::unique_ptr<TAddinLog> journal_;
  std::unique_ptr<QlTransaction> transaction_;
  std::atomic<bool> abort_{false};
  bool enquiry_for_retry_ = false;
};

// The class as a till calls it by name. The till's records (oTillInfo, oTransInfo) are read
// before the call runs and the transaction record is written back after it.
[[nodiscard]] DispatchPtr ExposeNonGuiTransactionHook2(
    std::shared_ptr<TNonGuiTransactionHook2> hook = std::make_shared<TNonGuiTransactionHook2>());

}  // namespace ccaddin
