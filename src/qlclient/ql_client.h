// The payment-client library's contract: the objects the component creates to talk to
// the payment server and card terminal, with the operations and fields it uses. The
// caller owns every object it creates through the QlFactory; operations block until
// the library answers (the built-in simulator may yield to the message loop meanwhile).
#pragma once

#include <cstdint>
#include <string>

#include "qlclient/ql_codes.h"
#include "qlclient/ql_transaction.h"

namespace ccaddin {

// Failure fields shared by every request object but the session, parameters, login
// and reader objects.
struct QlRequestError {
  int32_t lErrorCode = 0;
  std::string strErrorText;
};

class QlParameters {
 public:
  virtual ~QlParameters() = default;
  virtual void SetConfigFile(const std::string& strFolder, const std::string& strFileName) = 0;
  bool bExternalSwipe = false;
  bool bOptionFlag = true;
};

class QlSession {
 public:
  virtual ~QlSession() = default;
  // QL_CONNECT_*.
  [[nodiscard]] virtual int32_t Connect(QlParameters& oParms, bool bRetry, int32_t lReserved) = 0;
  virtual int32_t Disconnect() = 0;
  // What the card terminal shows now ("INSERT CARD", "ENTER PIN" ...); the window
  // polls it while a request runs.
  [[nodiscard]] virtual std::string GetStatusText() = 0;
  std::string strErrorText;
};

class QlLogin {
 public:
  virtual ~QlLogin() = default;
  // QL_LOGIN_*.
  [[nodiscard]] virtual int32_t Login(const std::string& strMerchantId,
                                      const std::string& strClientId,
                                      const std::string& strPassword, int32_t lReserved) = 0;
  // 0 done.
  [[nodiscard]] virtual int32_t Logout() = 0;
  std::string strErrorText;
};

class QlCardReader {
 public:
  virtual ~QlCardReader() = default;
  virtual int32_t Reset() = 0;
};

class QlCardReaderStatus {
 public:
  virtual ~QlCardReaderStatus() = default;
  // 0 when the reader answered (lReaderState is then fresh).
  [[nodiscard]] virtual int32_t Poll() = 0;
  int32_t lReaderState = QL_READER_UNAVAILABLE;  // QL_READER_*
};

class QlCardEnquiry : public QlRequestError {
 public:
  virtual ~QlCardEnquiry() = default;
  // QL_ANSWER_*: done (or 3) accepted, failed, fall back to swipe, passed on.
  [[nodiscard]] virtual int32_t Enquire(int32_t lMode, const std::string& strPan,
                                        const std::string& strTrack, int32_t lDataEntry,
                                        int32_t lReserved) = 0;
  [[nodiscard]] virtual bool IsCashbackAllowed(int32_t lReserved) = 0;
  // Payment card prompts: 0 expiry, 1 start date, 2 issue no, 3 CV2, 4 postcode,
  // 5 address digits, 6 reference text. Answer 0 not asked, 1 required, other optional.
  [[nodiscard]] virtual int32_t GetEntryPrompt(int32_t lIndex) = 0;
  // Fuel card prompts: 0 expiry, 2 registration, 3 mileage, 6 product restriction,
  // 10 reference text, 13 supplier id. Answers as GetEntryPrompt.
  [[nodiscard]] virtual int32_t GetFuelPrompt(int32_t lIndex) = 0;
  // How the terminal wants the fuel prompt answered; 4 means the till passes the typed
  // value on with the transaction.
  [[nodiscard]] virtual int32_t GetFuelPromptType(int32_t lIndex) = 0;
  [[nodiscard]] virtual int32_t GetCv2Length() = 0;

  int32_t lCardDataType = QL_ENTRY_KEYED;  // QL_ENTRY_*; any other value is keyed
  std::string strTrack;
  std::string strPan;
  std::string strExpiryDate;
  std::string strSchemeName;
  int32_t lCardType = QL_CARD_PAYMENT;
  std::string strAllowedProducts;  // fuel cards: product codes the card may buy, ","-separated
  bool bBunkerCard = false;
};

class QlTransactionStart : public QlRequestError {
 public:
  virtual ~QlTransactionStart() = default;
  // 0 started.
  [[nodiscard]] virtual int32_t Start(const std::string& strCurrencyCode, int32_t lAmount,
                                      int32_t lCashbackAmount, int32_t lGratuityAmount,
                                      int32_t lTransactionTypeCode,
                                      const std::string& strMerchantName,
                                      const std::string& strMerchantAddress,
                                      const std::string& strPedLanguageCode, bool bKeyedEntry,
                                      bool bSwipeEntry, bool bChipEntry, bool bTapEntry) = 0;
  // Set by Start: whether the terminal reads contactless cards.
  bool bContactlessCapable = false;
};

class QlDccEnquiry : public QlRequestError {
 public:
  virtual ~QlDccEnquiry() = default;
  // 0 done; bOfferAvailable says whether the card's currency may be offered.
  [[nodiscard]] virtual int32_t Enquire() = 0;
  // What the till asks about: the amount it will charge (sale, gratuity and cash) in its
  // own currency. An amount of 0 asks about the amounts the transaction was started with.
  std::string strCurrencyCode;
  int32_t lAmount = 0;
  int32_t lCurrencyExponent = 2;
  bool bOfferAvailable = false;
  std::string strExchangeRate;
  std::string strForeignAmount;        // minor units of the card currency
  std::string strForeignCurrencyCode;  // "USD"
  std::string strForeignCurrencyName;  // "US Dollar"
  int32_t lForeignCurrencyExponent = 2;
  std::string strOfferText;  // HTML shown to the cardholder
};

class QlTransactionProcessor : public QlRequestError {
 public:
  virtual ~QlTransactionProcessor() = default;
  // QL_ANSWER_*.
  [[nodiscard]] virtual int32_t Process(QlTransaction& oTrans) = 0;
  // lAnswer: QL_PIN_BYPASS_*. Done or failed.
  [[nodiscard]] virtual int32_t AnswerPinBypass(int32_t lAnswer, QlTransaction& oTrans) = 0;
  // Whether the cardholder accepted the conversion offer: sent with the next Process.
  bool bDccAccepted = false;
};

class QlConfirm : public QlRequestError {
 public:
  virtual ~QlConfirm() = default;
  // lConfirmCode: QL_CONFIRM_*. 0 done.
  [[nodiscard]] virtual int32_t Confirm(const std::string& strClientId, int32_t lTransRefNo,
                                        int32_t lConfirmCode, const std::string& strAuthCode,
                                        bool bReserved, QlTransaction& oResult,
                                        int32_t lFuelFlag) = 0;
};

class QlFuelBalance : public QlRequestError {
 public:
  virtual ~QlFuelBalance() = default;
  // 0 done.
  [[nodiscard]] virtual int32_t Enquire(const std::string& strCardDetails,
                                        const std::string& strCardDetails2) = 0;
  int32_t lResponseCode = 1;   // 0 authorised, 1 card not supported ... 6 card not found
  int32_t lBalance = 0;        // minor units
  int32_t lBunkerBalance = 0;  // minor units; bunker cards only
  std::string strPan;          // masked
  std::string strSchemeName;
};

class QlReceiptInfo : public QlRequestError {
 public:
  virtual ~QlReceiptInfo() = default;
  // lTransRefNo -1 asks for the last transaction. 1 failed, other done.
  [[nodiscard]] virtual int32_t Request(const std::string& strReceiptKey, int32_t lTransRefNo,
                                        QlTransaction& oTrans) = 0;
};

class QlCloseBatch : public QlRequestError {
 public:
  virtual ~QlCloseBatch() = default;
  int32_t lRequestType = 0;
  // 1 failed, other done.
  [[nodiscard]] virtual int32_t Request() = 0;
  int32_t lBatchNo = 0;  // the batch that was closed
};

class QlReport : public QlRequestError {
 public:
  virtual ~QlReport() = default;
  // Writes the open batch's totals data file: strReportOption names it (a ".txt" name
  // in the folder strReportLocation, or a full path); else a strReportLocation ending
  // in ".txt" is the file; else a "TMP_<date>_<time>.txt" in that folder. A name
  // starting "TMP_FUEL_" asks for the fuel card summary. 1 failed.
  [[nodiscard]] virtual int32_t Request(bool bReserved, const std::string& strReportLocation,
                                        const std::string& strReportOption) = 0;
  std::string strDataFile;  // full path of the file written
  int32_t lCount = 0;
  int32_t lSaleTotal = 0;
  int32_t lCashbackTotal = 0;
  int32_t lRefundTotal = 0;
};

class QlFuelProductEnquiry : public QlRequestError {
 public:
  virtual ~QlFuelProductEnquiry() = default;
  std::string strProductInfo;
  int32_t lEnquiryMode = 0;
  std::string strExtraInfo;
  std::string strCardInfo;
  // 1 failed (a product the card may not buy is named in strErrorText), other done.
  [[nodiscard]] virtual int32_t Request() = 0;
};

}  // namespace ccaddin
