// TSerialiseTransInfo: a payment transaction as one 102-field comma-separated record and
// back, so the programmatic interface can keep an authorised transaction in a ".rcpt" file
// until the till confirms it. The record never holds sensitive card data: the card number
// is masked, and track, expiry, start date, issue number, CV2, address digits, postcode
// and token are not written. No state; nothing blocks but the message loop's yields.
#pragma once

#include <cstdint>
#include <string>

#include "qlclient/ql_transaction.h"

namespace ccaddin {

// Positions of the record (a text field as it is, a number in decimal, a switch "1"/"0"):
//    0 lEntryMethodCode      1 lMode                 3 strPan, masked
//    6 strReferenceText      7 strGratuityAmount     8 lTransactionTypeCode
//    9 strAmount            10 strCashbackAmount    11 lStatus
//   12 strAuthCode          13 strResponseText      14 lTransRefNo
//   15 lAuthSource          16 lCustomerPresence    17 strTerminalId
//   18 strMerchantNo        19 strSchemeName        20 strCurrencyCode
//   25 strCv2AvsResult      26 strAvailableSpend    27 strBatchNo
//   28 strTransDate         29 strTransTime
//   31..40 the receipt print switches: bMerchPrintExpiry, bMerchPrintStartDate,
//          bMerchPrintIssueNo, bCustPrintExpiry, bCustPrintStartDate, bCustPrintIssueNo,
//          bMerchPrintCvm, bCustPrintCvm, bMerchPrintAuthSource, bCustPrintAuthSource
//   54 strReference         55 strCryptogram        57 lCvmCode
//   59 strAid               60 strAppLabel          61 strAppPreferredName
//   62..83 strEmvValues[0..21] (QL_EMV_APPLABEL .. QL_EMV_PANSEQNO)
//   84 lProcessingState     88 lCurrencyExponent    89 strEmvValues[QL_EMV_APPID]
//   90 bCancelled           91 lMileage             92 strRegNo
//   93 strPanSeqNo          94 strCurrencyText      96 strBaseCurrencyText
//   97 strBaseAmount        98 strExchangeRate     100 lConversionState
//  101 lCardType
// Positions 2, 4 (track), 5 (expiry), 21..24, 30, 56, 85..87 and 95 are always empty;
// the unused switch positions 41..53, 58 and 99 hold "0". These are what receipts and the
// confirmation need after authorisation; the referral details (settled before the
// authorisation ends), the fuel prompts' product restriction and supplier id, and the
// converted amount's exponent and statement are not kept.
class TSerialiseTransInfo {
 public:
  static constexpr int16_t kFieldCount = 102;

  // The record, or "" when it could not be built.
  [[nodiscard]] std::string SerialiseObject(const QlTransaction& oTrans);

  // Sets oTrans's fields from a record of at least 102 fields (the first 102 count);
  // a shorter record, or one that cannot be split, sets nothing. Numbers that do not
  // read give 0; a switch is on only for "1". The card number comes back masked.
  void DeSerialiseObject(const std::string& strRecord, QlTransaction& oTrans);

  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  std::string error_message_;
};

}  // namespace ccaddin
