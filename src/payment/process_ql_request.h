// TProcessQlRequest: the thin request layer over the payment-client library. Each
// operation takes a library object that its caller created and owns, runs one request
// and folds the library's answer into the layer's result code (QL_REQ_*), leaving
// the library's text in strErrorMessage. Blocks as long as the library does; never throws.
#pragma once

#include <cstdint>
#include <string>

#include "qlclient/ql_client.h"

namespace ccaddin {

// The settings the layer reads at each call (bExternalSwipe, bAutoDeclinePinBypass,
// lOperatingMode); the caller copies them from the loaded configuration.
struct QlRequestSettings {
  bool bExternalSwipe = false;
  bool bAutoDeclinePinBypass = true;
  int32_t lOperatingMode = 0;
};

class TProcessQlRequest {
 public:
  TProcessQlRequest() = default;
  explicit TProcessQlRequest(const QlRequestSettings& settings) : settings_(settings) {}

  void SetSettings(const QlRequestSettings& settings) { settings_ = settings; }
  [[nodiscard]] const QlRequestSettings& Settings() const { return settings_; }

  void Connect(QlSession& oSession, QlParameters& oParms, const std::string& strConfigFileLoc,
               const std::string& strConfigFileName, int32_t& lResult);
  void Disconnect(QlSession& oSession, int32_t& lResult);
  void ProcessLogin(QlLogin& oLogin, const std::string& strMerchantId,
                    const std::string& strClientId, const std::string& strPassword,
                    int32_t& lResult);
  void ProcessLogout(QlLogin& oLogin, int32_t& lResult);
  void ProcessCardEnquiry(QlCardEnquiry& oEnq, int32_t lMode, const std::string& strPan,
                          const std::string& strTrack, int32_t lDataEntry, int32_t& lResult);
  void ProcessStartTransaction(QlTransactionStart& oStart, const std::string& strCurrencyCode,
                               int32_t lAmount, int32_t lCashbackAmount, int32_t lGratuityAmount,
                               int32_t lTransactionTypeCode, const std::string& strMerchantName,
                               const std::string& strMerchantAddress,
                               const std::string& strPedLanguageCode,
                               const std::string& strDeviceType, bool bKeyedEntry, bool bSwipeEntry,
                               bool bChipEntry, bool bTapEntry, int32_t& lResult);
  void ProcessDccEnquiry(QlDccEnquiry& oDcc, int32_t& lResult);
  void ProcessTransaction(QlTransactionProcessor& oProcessor, QlTransaction& oTrans,
                          int32_t& lResult);
  void ProcessPinBypass(QlTransactionProcessor& oProcessor, QlTransaction& oTrans,
                        bool bAcceptPinByPass, int32_t& lResult);
  // lConfirmCode 0 authorised, 1 declined, 2 cancelled.
  void ProcessConfirm(QlConfirm& oConfirm, QlTransaction& oTrans, const std::string& strClientId,
                      int32_t lTransRefNo, const std::string& strAuthCode, int32_t lConfirmCode,
                      int32_t& lResult);
  void ProcessFuelBalanceEnquiry(QlFuelBalance& oBalance, const std::string& strCardDetails,
                                 const std::string& strCardDetails2, int32_t& lResult);
  void ProcessReceiptInfo(QlReceiptInfo& oReceipt, QlTransaction& oTrans,
                          const std::string& strReceiptKey, int32_t lTransRefNo, int32_t& lResult);
  void ProcessCloseBatchRequest(QlCloseBatch& oBatch, int32_t& lResult);
  void ProcessReportRequest(QlReport& oReport, const std::string& strReportLocation,
                            const std::string& strReportOption, int32_t& lResult);
  void ProcessFuelProductEnquiry(QlFuelProductEnquiry& oEnquiry, const std::string& strProductInfo,
                                 const std::string& strCardInfo, int32_t lMode,
                                 const std::string& strExtraInfo, int32_t& lResult);

  [[nodiscard]] const std::string& strErrorMessage() const { return strErrorMessage_; }
  [[nodiscard]] bool bConnectedOnline() const { return bConnectedOnline_; }

 private:
  // 2 when the library lost its server connection, else 1; keeps the library's text.
  int32_t LostConnectionTest(const QlRequestError& request, bool include_10200);

  QlRequestSettings settings_;
  std::string strErrorMessage_;
  bool bConnectedOnline_ = false;
};

}  // namespace ccaddin
