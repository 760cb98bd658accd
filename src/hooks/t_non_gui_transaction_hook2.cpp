#include "hooks/t_non_gui_transaction_hook2.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "payment/credit_card_common.h"
#include "payment/process_ql_request.h"
#include "payment/records_dispatch.h"
#include "payment/serialise_trans_info.h"
#include "platform/env.h"
#include "platform/file_system.h"
#include "platform/pad_extract.h"
#include "platform/trap.h"
#include "qlclient/ql_factory.h"
#include "receipts/receipt.h"
#include "ui/form_call_scope.h"

#ifndef CCADDIN_VERSION_MAJOR
#define CCADDIN_VERSION_MAJOR 0
#define CCADDIN_VERSION_MINOR 0
#define CCADDIN_VERSION_REVISION 0
#endif

namespace ccaddin {

namespace {

constexpr const char* kServerConnectionFailed = "SERVER CONNECTION FAILED";
constexpr const char* kLoginFailed = "LOGIN FAILED";
constexpr const char* kAuthorisationFailed = "AUTHORISATION FAILED";
constexpr const char* kReaderUnavailable = "CARDREADER UNAVAILABLE";
constexpr const char* kCardNotAccepted = "CARD NOT ACCEPTED";
constexpr const char* kAbortedByOperator = "ABORTED BY OPERATOR";
constexpr const char* kCardEnquiryFailed = "CARDENQUIRY FAILED";
constexpr const char* kSaveFailed = "SAVE TRANSACTION TO FILE FAILED";
constexpr const char* kReadFailed = "READ TRANSACTION FROM FILE FAILED";
constexpr const char* kConfirmationFailed = "CONFIRMATION FAILED";
constexpr const char* kJournalAborted = "Transaction aborted by operator";
constexpr const char* kJournalFallback = "Fallback to magstripe";
constexpr const char* kNotStarted = "no transaction session (StartTransaction first)";

// The device's transaction type codes for the card enquiry (no cashback at that point).
int32_t EnquiryTypeCode(int32_t lTransactionType) {
  switch (lTransactionType) {
    case TAM_TT_REFUND:
      return QL_TT_REFUND;
    case TAM_TT_PREAUTH:
      return QL_TT_PREAUTH;
    case TAM_TT_FINALAUTH:
      return QL_TT_FINALAUTH;
    default:
      return QL_TT_SALE;
  }
}

QlRequestSettings RequestSettings() {
  return MakeQlRequestSettings(Shared());
}

// A reference names a file directly inside the receipt folder: anything that could climb
// out of it or name a folder is refused before the disk is touched.
bool IsPlainFileName(const std::string& name) {
  if (name.empty() || name == "." || name == "..") return false;
  for (const char c : name) {
    if (c == '/' || c == '\\' || c == '\0' || static_cast<unsigned char>(c) < 0x20) return false;
  }
  return true;
}

// Makes the renamed file's content durable before the name points at it, so a crash
// between the two never leaves a complete-looking name over missing data.
bool SyncFile(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  const bool ok = ::fsync(fd) == 0;
  ::close(fd);
  return ok;
}

void SyncFolder(const std::string& folder) {
  const int fd = ::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  (void)::fsync(fd);
  ::close(fd);
}

}  // namespace

TNonGuiTransactionHook2::TNonGuiTransactionHook2() = default;

TNonGuiTransactionHook2::~TNonGuiTransactionHook2() {
  // A till that forgets EndTransaction must not leave the server session open.
  if (session_ != nullptr) EndTransaction();
}

std::string TNonGuiTransactionHook2::ReceiptFolder() {
  return CreditCardCommon::AddTrailingBackslash(Shared().strReceiptFileLocation);
}

int32_t TNonGuiTransactionHook2::StartTransaction() {
  return Trap(strErrorMessage_, "TNonGuiTransactionHook2.StartTransaction() Failed - ", int32_t{1},
              [&]() -> int32_t {
                abort_ = false;
                enquiry_for_retry_ = false;
                // A second start replaces the first session rather than leaking its connection.
                if (session_ != nullptr) EndTransaction();

                CreditCardCommon& config = Shared();
                (void)config.LoadConfiguration();
                journal_ = std::make_unique<TAddinLog>();
                journal_->StartLog(config.strConfigFileLocation, false);
                JournalOperatorScript(*journal_);

                session_ = CurrentQlFactory().CreateSession();
                parameters_ = CurrentQlFactory().CreateParameters();
                transaction_.reset();
                parameters_->SetConfigFile(config.strConfigFileLocation, config.strConfigFileName);
                parameters_->bOptionFlag = false;

                FileSystem files;
                const std::string folder = ReceiptFolder();
                if (!folder.empty() && !files.FolderExists(folder))
                  (void)files.CreateFolder(folder);

                TProcessQlRequest request(RequestSettings());
                int32_t result = 0;
                request.Connect(*session_, *parameters_, config.strConfigFileLocation,
                                config.strConfigFileName, result);
                if (result != QL_REQ_DONE) {
                  strErrorMessage_ = kServerConnectionFailed;
                  return 1;
                }
                auto login = CurrentQlFactory().CreateLogin();
                request.ProcessLogin(*login, config.strQuaylinkMerchantId,
                                     config.strQuaylinkClientId, config.strQuaylinkPassword,
                                     result);
                if (result != QL_REQ_DONE) {
                  strErrorMessage_ = kLoginFailed;
                  int32_t ignored = 0;
                  request.Disconnect(*session_, ignored);
                  return 1;
                }
                return 0;
              });
}

void TNonGuiTransactionHook2::EndTransaction() {
  TrapVoid(strErrorMessage_, "TNonGuiTransactionHook2.EndTransaction() Failed - ", [&] {
    if (session_ != nullptr) {
      (void)CurrentQlFactory().CreateCardReader()->Reset();
      (void)CurrentQlFactory().CreateLogin()->Logout();
      TProcessQlRequest request(RequestSettings());
      int32_t ignored = 0;
      request.Disconnect(*session_, ignored);
    }
    if (journal_ != nullptr) journal_->EndLog(false);
  });
  parameters_.reset();
  session_.reset();
  journal_.reset();
  transaction_.reset();
}

int32_t TNonGuiTransactionHook2::CardEnquiry(int32_t lTransactionType, int32_t lDataEntryType,
                                             int32_t lTransactionAmount,
                                             const TTillInformation& oTillInfo) {
  int32_t result = RETURNCODE_FAILED;
  strErrorMessage_.clear();
  abort_ = false;
  TrapVoid(strErrorMessage_, "TNonGuiTransactionHook2.CardEnquiry() Failed - ", [&] {
    if (session_ == nullptr) throw Failure(kNotStarted);
    journal_->LogStartTransaction(lTransactionType == TAM_TT_SALE, lTransactionAmount, 0, 0, false,
                                  0, true);
    const CreditCardCommon& config = Shared();
    TProcessQlRequest request(RequestSettings());
    int32_t lCardDataEntry = QL_ENTRY_SWIPED;

    if (lDataEntryType != DATAENTRY_SWIPE) {
      std::string address;
      for (const std::string* line :
           {&oTillInfo.strAddressLine1, &oTillInfo.strAddressLine2, &oTillInfo.strAddressLine3}) {
        if (line->empty()) continue;
        if (!address.empty()) address += ":";
        address += *line;
      }
      auto start = CurrentQlFactory().CreateTransactionStart();
      int32_t started = 0;
      request.ProcessStartTransaction(*start, config.strbaseCurrency, lTransactionAmount, 0, 0,
                                      EnquiryTypeCode(lTransactionType), oTillInfo.strMerchantName,
                                      address, config.strPedLanguageCode, config.strChipDeviceName,
                                      enquiry_for_retry_ ? false : config.bE2EEEnabled,
                                      config.bExternalSwipe, true, !enquiry_for_retry_, started);
      if (started != QL_REQ_DONE) {
        strErrorMessage_ = kAuthorisationFailed;
        return;
      }

      auto status = CurrentQlFactory().CreateCardReaderStatus();
      for (bool card_present = false; !card_present;) {
        if (abort_) {
          (void)CurrentQlFactory().CreateCardReader()->Reset();
          strErrorMessage_ = kAbortedByOperator;
          return;
        }
        CurrentEnv()->DoEvents();
        if (status->Poll() != 0) {
          strErrorMessage_ = kReaderUnavailable;
          return;
        }
        switch (status->lReaderState) {
          case QL_READER_NOT_ACCEPTED:
          case QL_READER_SWIPED_ON_DEVICE:
            strErrorMessage_ = kCardNotAccepted;
            return;
          case QL_READER_INSERTED:
          case QL_READER_OPENED:
            lCardDataEntry = QL_ENTRY_CHIP;
            card_present = true;
            break;
          case QL_READER_TAPPED:
            lCardDataEntry = QL_ENTRY_TAPPED;
            card_present = true;
            break;
          case QL_READER_SWIPE_ON_TILL:
            result = RETURNCODE_MAGSTRIPEFALLBACK;
            return;
          case QL_READER_UNAVAILABLE:
            strErrorMessage_ = kReaderUnavailable;
            return;
          default:
            CurrentEnv()->Sleep(kReaderPollMs);
            CurrentEnv()->DoEvents();
            break;
        }
      }
    }

    auto enquiry = CurrentQlFactory().CreateCardEnquiry();
    int32_t enquired = 0;
    request.ProcessCardEnquiry(*enquiry, 0, "", "", lCardDataEntry, enquired);
    if (enquired == QL_REQ_DONE) {
      transaction_ = std::make_unique<QlTransaction>();
      switch (enquiry->lCardDataType) {
        case QL_ENTRY_SWIPED:
          transaction_->lEntryMethodCode = QL_ENTRY_SWIPED;
          transaction_->strTrack = enquiry->strTrack;
          break;
        case QL_ENTRY_CHIP:
        case QL_ENTRY_TAPPED:
          transaction_->lEntryMethodCode = enquiry->lCardDataType;
          break;
        default:
          transaction_->lEntryMethodCode = QL_ENTRY_KEYED;
          transaction_->strPan = enquiry->strPan;
          transaction_->strExpiryDate = enquiry->strExpiryDate;
          break;
      }
      result = enquiry->IsCashbackAllowed(1) && config.bCashback ? RETURNCODE_CASHBACKALLOWED
                                                                 : RETURNCODE_SUCCESS;
    } else if (enquired == QL_REQ_FALLBACK) {
      result = RETURNCODE_MAGSTRIPEFALLBACK;
    } else {
      strErrorMessage_ = kCardEnquiryFailed;
    }
  });

  if (journal_ != nullptr) {
    if (abort_) {
      journal_->LogError(kJournalAborted);
    } else if (result == RETURNCODE_FAILED) {
      journal_->LogError(strErrorMessage_);
    } else if (result == RETURNCODE_MAGSTRIPEFALLBACK) {
      journal_->LogError(kJournalFallback);
    }
  }
  return result;
}

int32_t TNonGuiTransactionHook2::AuthoriseTransaction(int32_t lTransactionType,
                                                      int32_t lTransactionAmount,
                                                      int32_t lCashbackAmount,
                                                      const TTillInformation& oTillInfo,
                                                      TTransactionInfo& oTransInfo) {
  int32_t result = RETURNCODE_FAILED;
  strErrorMessage_.clear();
  strMerchantReceipt_.clear();
  strTransactionReference_.clear();
  abort_ = false;
  TrapVoid(strErrorMessage_, "TNonGuiTransactionHook2.AuthoriseTransaction() Failed - ", [&] {
    if (session_ == nullptr) throw Failure(kNotStarted);
    if (transaction_ == nullptr) throw Failure("no card enquired (CardEnquiry first)");
    CreditCardCommon& config = Shared();
    QlTransaction& trans = *transaction_;
    trans.strCurrencyCode = config.strbaseCurrency;
    trans.strAmount = std::to_string(lTransactionAmount);
    trans.strCashbackAmount = std::to_string(lCashbackAmount);
    trans.lMode = QL_MODE_PROGRAMMATIC;
    trans.strReference = oTillInfo.strStoreNumber + ":" + oTillInfo.strTillNumber + ":" +
                         oTillInfo.strReceiptNumber + ":v" + std::to_string(CCADDIN_VERSION_MAJOR) +
                         "." + std::to_string(CCADDIN_VERSION_MINOR) + "." +
                         std::to_string(CCADDIN_VERSION_REVISION) + ":SELFSERVICE";
    switch (lTransactionType) {
      case TAM_TT_SALE:
        trans.lTransactionTypeCode = lCashbackAmount >= 1 ? QL_TT_SALE_CASHBACK : QL_TT_SALE;
        break;
      case TAM_TT_REFUND:
        trans.lTransactionTypeCode = QL_TT_REFUND;
        break;
      case TAM_TT_PREAUTH:
        trans.lTransactionTypeCode = QL_TT_PREAUTH;
        break;
      case TAM_TT_FINALAUTH:
        trans.lTransactionTypeCode = QL_TT_FINALAUTH;
        break;
      default:
        break;
    }

    TProcessQlRequest request(RequestSettings());
    while (!abort_) {
      auto processor = CurrentQlFactory().CreateTransactionProcessor();
      int32_t processed = 0;
      // transaction_ may be replaced by the repeated enquiry below: always send the newest.
      request.ProcessTransaction(*processor, *transaction_, processed);
      if (processed == QL_REQ_DONE) break;
      if (processed == QL_REQ_FALLBACK) {
        result = RETURNCODE_MAGSTRIPEFALLBACK;
        return;
      }
      if (processed != QL_REQ_ENQUIRY_NEEDED) {
        strErrorMessage_ = kAuthorisationFailed;
        return;
      }
      enquiry_for_retry_ = true;
      // The request built above belongs to the enquired card, which the repeat replaces.
      QlTransaction request_fields = *transaction_;
      const int32_t enquired =
          CardEnquiry(lTransactionType, DATAENTRY_CHIPORTAP, lTransactionAmount, oTillInfo);
      if (enquired == RETURNCODE_FAILED) {
        strErrorMessage_ = kAuthorisationFailed;
        return;
      }
      if (enquired == RETURNCODE_MAGSTRIPEFALLBACK) {
        result = RETURNCODE_MAGSTRIPEFALLBACK;
        return;
      }
      QlTransaction& fresh = *transaction_;
      fresh.strCurrencyCode = request_fields.strCurrencyCode;
      fresh.strAmount = request_fields.strAmount;
      fresh.strCashbackAmount = request_fields.strCashbackAmount;
      fresh.lMode = request_fields.lMode;
      fresh.strReference = request_fields.strReference;
      fresh.lTransactionTypeCode = request_fields.lTransactionTypeCode;
    }
    if (abort_) return;

    // Authorised: the till's record, the merchant copy, then the file the confirmation reads.
    config.FillTransactionInfoFromTrans(*transaction_, oTransInfo);
    const DateTime now = CurrentEnv()->Now();
    const std::string time = now.Hhmmss().substr(0, 4);
    strMerchantReceipt_ = ComposeReceipt(*transaction_, oTillInfo, true, now, time);
    transaction_->lCurrencyExponent = config.lBaseCurrencyExponent;
    if (SaveTransaction(now, time)) result = RETURNCODE_SUCCESS;
  });

  if (journal_ != nullptr) {
    if (abort_) {
      journal_->LogError(kJournalAborted);
    } else if (result == RETURNCODE_FAILED) {
      journal_->LogError(strErrorMessage_);
    } else if (result == RETURNCODE_MAGSTRIPEFALLBACK) {
      journal_->LogError(kJournalFallback);
    } else {
      journal_->LogEndTransaction(oTransInfo);
    }
  }
  return result;
}

std::string TNonGuiTransactionHook2::ComposeReceipt(const QlTransaction& oTrans,
                                                    const TTillInformation& oTillInfo,
                                                    bool bMerchantCopy, const DateTime& dtDate,
                                                    const std::string& strTime) {
  const CreditCardCommon& config = Shared();
  TReceipt receipt;
  receipt.dtDate = dtDate;
  receipt.strTime = strTime;
  receipt.lCurrencyExponent = config.lBaseCurrencyExponent;
  const std::string folder = ReceiptFolder();
  if (receipt.WriteReceiptFile(oTrans, oTillInfo, folder, bMerchantCopy, false) != 0 &&
      journal_ != nullptr) {
    journal_->LogError(receipt.strErrorMessage());
  }
  // The till gets the text; the file is only the printable copy, kept when receipts are
  // saved and otherwise removed as after printing.
  if (!config.bSaveReceipts && !receipt.strLongReceiptFileName().empty()) {
    FileSystem files;
    const std::string path = folder + receipt.strLongReceiptFileName();
    if (files.FileExists(path)) (void)receipt.DeleteReceipt(path);
  }
  return receipt.strReceipt();
}

bool TNonGuiTransactionHook2::SaveTransaction(const DateTime& dtDate, const std::string& strTime) {
  const std::string name = PadExtract::PadString(std::to_string(transaction_->lTransRefNo), 2, 10) +
                           "_" + dtDate.Yyyymmdd() + "_" + strTime + kSavedTransactionExtension;
  const std::string path = ReceiptFolder() + name;
  // Written beside its final name and renamed over it once complete and on disk, so a
  // crash or a full disk never leaves a file the confirmation would take as whole.
  const std::string temp = path + ".tmp";
  FileSystem files;
  const auto fail = [&](const std::string& journal_text) {
    journal_->LogError(journal_text);
    strErrorMessage_ = kSaveFailed;
    if (files.FileExists(temp)) (void)files.DeleteFile(temp);
    return false;
  };

  int32_t handle = 0;
  files.OpenFile(temp, 1, handle);
  if (handle <= 0) {
    return fail(std::string(kSaveFailed) + " [" + path + "] - " + files.strErrorMessage());
  }
  TSerialiseTransInfo serialiser;
  const std::string record = serialiser.SerialiseObject(*transaction_);
  if (record.empty()) {
    files.CloseFile(handle);
    return fail(std::string(kSaveFailed) + " [ Failed serialising transaction info object ]");
  }
  if (files.WriteData(handle, record, true) != 0) {
    files.CloseFile(handle);
    return fail(std::string(kSaveFailed) + " [ Failed writing serialised object to file ] - " +
                files.strErrorMessage());
  }
  files.CloseFile(handle);
  if (!SyncFile(temp) || std::rename(temp.c_str(), path.c_str()) != 0) {
    return fail(std::string(kSaveFailed) + " [ Failed writing serialised object to file ] - " +
                std::strerror(errno));
  }
  SyncFolder(ReceiptFolder());
  strTransactionReference_ = files.GetFileNameNoExt(name);
  return true;
}

bool TNonGuiTransactionHook2::ReadTransaction(const std::string& strTransactionReference,
                                              QlTransaction& oTrans) {
  const std::string folder = ReceiptFolder();
  const std::string path = folder + strTransactionReference + kSavedTransactionExtension;
  FileSystem files;
  const auto fail = [&](const std::string& journal_text) {
    journal_->LogError(journal_text);
    strErrorMessage_ = kReadFailed;
    return false;
  };
  if (!IsPlainFileName(strTransactionReference)) {
    return fail(std::string(kReadFailed) + " [" + path + "] - not a transaction reference");
  }
  if (!files.FileExists(path)) {
    return fail(std::string(kReadFailed) + " [" + path + "] - " + files.strErrorMessage());
  }
  int32_t handle = 0;
  files.OpenFile(path, 0, handle);
  if (handle <= 0) {
    return fail(std::string(kReadFailed) + " [" + path + "] - " + files.strErrorMessage());
  }
  std::string record;
  const int16_t read = files.ReadData(handle, record, true, 0);
  files.CloseFile(handle);
  if (read != 0) {
    return fail(std::string(kReadFailed) + " [ Failed reading serialised object from file ] - " +
                files.strErrorMessage());
  }
  TSerialiseTransInfo serialiser;
  serialiser.DeSerialiseObject(record, oTrans);
  // A file that is not a saved transaction (a receipt copy, a truncated record) sets no
  // reference number: confirming it would confirm nothing the server knows.
  if (oTrans.lTransRefNo <= 0) {
    return fail(std::string(kReadFailed) +
                " [ Failed reading serialised object from file ] - not a saved transaction");
  }
  return true;
}

bool TNonGuiTransactionHook2::ConfirmTransaction(int32_t lConfirmType,
                                                 const std::string& strTransactionReference,
                                                 const std::string& strAuthCode,
                                                 const TTillInformation& oTillInfo,
                                                 TTransactionInfo& oTransInfo) {
  bool result = false;
  strErrorMessage_.clear();
  strMerchantReceipt_.clear();
  TrapVoid(strErrorMessage_, "TNonGuiTransactionHook2.ConfirmTransaction() Failed - ", [&] {
    if (journal_ == nullptr) throw Failure(kNotStarted);
    journal_->LogConfirm(lConfirmType, strTransactionReference, strAuthCode);
    QlTransaction trans;
    if (!ReadTransaction(strTransactionReference, trans)) return;

    CreditCardCommon& config = Shared();
    TProcessQlRequest request(RequestSettings());
    auto confirm = CurrentQlFactory().CreateConfirm();
    const int32_t code = lConfirmType == CONFIRMTYPE_DECLINED    ? QL_CONFIRM_DECLINED
                         : lConfirmType == CONFIRMTYPE_CANCELLED ? QL_CONFIRM_CANCELLED
                                                                 : QL_CONFIRM_AUTHORISED;
    int32_t confirmed = 0;
    request.ProcessConfirm(*confirm, trans, config.strQuaylinkClientId, trans.lTransRefNo,
                           strAuthCode, code, confirmed);
    if (confirmed != QL_REQ_DONE) {
      strErrorMessage_ = kConfirmationFailed;
      return;
    }
    if (lConfirmType == CONFIRMTYPE_CANCELLED) {
      trans.bCancelled = true;
    } else if (lConfirmType == CONFIRMTYPE_DECLINED) {
      trans.lStatus = QL_STATUS_DECLINED;
    } else {
      trans.lStatus = QL_STATUS_AUTHORISED;
      if (!strAuthCode.empty()) {
        trans.strAuthCode = strAuthCode;
        trans.strResponseText = "AUTH CODE: " + strAuthCode;
      }
    }
    config.FillTransactionInfoFromTrans(trans, oTransInfo);

    DateTime date = CurrentEnv()->Now();
    if (strTransactionReference.size() >= 19) {
      const std::string ymd = strTransactionReference.substr(11, 8);
      date = MakeDateTime(std::atoi(ymd.substr(0, 4).c_str()), std::atoi(ymd.substr(4, 2).c_str()),
                          std::atoi(ymd.substr(6, 2).c_str()));
    }
    const std::string time =
        strTransactionReference.size() >= 24 ? strTransactionReference.substr(20, 4) : "";
    oTransInfo.strCustomerReceipt = ComposeReceipt(trans, oTillInfo, false, date, time);
    strMerchantReceipt_ = ComposeReceipt(trans, oTillInfo, true, date, time);
    result = true;
  });

  if (journal_ != nullptr) {
    if (result) {
      journal_->LogEndTransaction(oTransInfo);
    } else {
      journal_->LogError(strErrorMessage_);
    }
    Shared().HousekeepReceipts();
  }
  return result;
}

DispatchPtr ExposeNonGuiTransactionHook2(std::shared_ptr<TNonGuiTransactionHook2> hook) {
  using T = TNonGuiTransactionHook2;
  // The till's records are read before the step runs, so that an unusable record stops the
  // call before anything reaches the server, and the outcome is written back afterwards.
  static const auto table =
      DispatchTable<T>()
          .Method("StartTransaction", 0, 0,
                  [](T& h, DispatchArgs&) { return Variant(h.StartTransaction()); })
          .Method("EndTransaction", 0, 0,
                  [](T& h, DispatchArgs&) {
                    h.EndTransaction();
                    return Variant();
                  })
          .Method("AbortTransaction", 0, 0,
                  [](T& h, DispatchArgs&) {
                    h.AbortTransaction();
                    return Variant();
                  })
          .Method("AuthoriseTransaction", 5, 5,
                  [](T& h, DispatchArgs& a) {
                    const int32_t type = a.Int32(0);
                    const int32_t amount = a.Int32(1);
                    const int32_t cashback = a.Int32(2);
                    const DispatchPtr till_object = a.Object(3);
                    const DispatchPtr trans_object = a.Object(4);
                    const TTillInformation till = ReadTillInformation(till_object);
                    TTransactionInfo trans = ReadTransactionInfo(trans_object);
                    const int32_t rc = h.AuthoriseTransaction(type, amount, cashback, till, trans);
                    WriteTransactionInfo(trans, trans_object);
                    return Variant(rc);
                  })
          .Method("CardEnquiry", 4, 4,
                  [](T& h, DispatchArgs& a) {
                    const int32_t type = a.Int32(0);
                    const int32_t entry = a.Int32(1);
                    const int32_t amount = a.Int32(2);
                    const TTillInformation till = ReadTillInformation(a.Object(3));
                    return Variant(h.CardEnquiry(type, entry, amount, till));
                  })
          .Method("ConfirmTransaction", 5, 5,
                  [](T& h, DispatchArgs& a) {
                    const int32_t type = a.Int32(0);
                    const std::string reference = a.String(1);
                    const std::string auth_code = a.String(2);
                    const DispatchPtr till_object = a.Object(3);
                    const DispatchPtr trans_object = a.Object(4);
                    const TTillInformation till = ReadTillInformation(till_object);
                    TTransactionInfo trans = ReadTransactionInfo(trans_object);
                    const bool ok = h.ConfirmTransaction(type, reference, auth_code, till, trans);
                    WriteTransactionInfo(trans, trans_object);
                    return Variant(ok);
                  })
          .Property("strErrorMessage", [](T& h) { return Variant(h.strErrorMessage()); })
          .Property("strMerchantReceipt", [](T& h) { return Variant(h.strMerchantReceipt()); })
          .Property("strTransactionReference",
                    [](T& h) { return Variant(h.strTransactionReference()); });
  return ExposeByName(std::move(hook), table);
}

}  // namespace ccaddin
