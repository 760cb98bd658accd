// The data of one card transaction as the payment-client library hands it back and
// forth: the request the window fills, the server's answer, and the receipt details.
// A plain value owned by whoever created it; copying it copies every field. Holds the
// full card number only in memory: nothing here writes it anywhere.
#pragma once

#include <array>
#include <cstdint>
#include <string>

#include "qlclient/ql_codes.h"

namespace ccaddin {

// Positions of the chip values printed by the receipt's chip data dump, by the bit
// of the dump bitmap that selects them (bit 0 is the least significant).
enum QlEmvValue : int {
  QL_EMV_APPLABEL = 0,
  QL_EMV_PREFAPPLABEL = 1,
  QL_EMV_TRANSCRYPTOGRAM = 2,
  QL_EMV_TVR = 3,
  QL_EMV_RESPONSECODE = 4,
  QL_EMV_CRYPTOAMT = 5,
  QL_EMV_CRYPTOTYPE = 6,
  QL_EMV_TERMTRANSDATE = 7,
  QL_EMV_UNPREDICTABLENO = 8,
  QL_EMV_IAD = 9,
  QL_EMV_AUC = 10,
  QL_EMV_CID = 11,
  QL_EMV_CVNR = 12,
  QL_EMV_APPVERSION = 13,
  QL_EMV_TSI = 14,
  QL_EMV_TERMTYPE = 15,
  QL_EMV_TERMCAPS = 16,
  QL_EMV_IACDENIAL = 17,
  QL_EMV_IACONLINE = 18,
  QL_EMV_IACDEFAULT = 19,
  QL_EMV_DFNAME = 20,
  QL_EMV_PANSEQNO = 21,
  QL_EMV_APPID = 22,
  QL_EMV_COUNT = 23
};

class QlTransaction {
 public:
  // --- card and request ---
  int32_t lEntryMethodCode = QL_ENTRY_NONE;  // QL_ENTRY_*
  int32_t lMode = 0;                         // 1 programmatic authorisation
  std::string strPan;         // card number (masked when it came back from the server)
  std::string strTrack;       // magnetic track data read by the till
  std::string strExpiryDate;  // YYMM
  std::string strStartDate;   // YYMM
  std::string strIssueNumber;
  std::string strCv2;
  int32_t lCv2Present = 0;           // 1 when strCv2 holds the digits from the card's back
  std::string strAddressDigits;      // numeric part of the cardholder's address
  std::string strPostcode;           // blanks removed
  std::string strReferenceText;      // operator's reference, printed "REF : "
  int32_t lTransactionTypeCode = 0;  // QL_TT_*
  std::string strAmount;             // minor units
  std::string strCashbackAmount;     // minor units
  std::string strGratuityAmount;     // minor units
  std::string strCurrencyCode;       // ISO numeric or alpha, as the settings hold it
  int32_t lCurrencyExponent = 2;
  std::string strReference;       // the till's reference of the sale
  int32_t lCustomerPresence = 1;  // 1 customer present, other values not present

  // --- fuel card details entered ---
  int32_t lMileage = 0;
  std::string strRegNo;
  std::string strProductRestriction;
  std::string strSupplierId;
  // The sale's fuel products the card may buy, for the server: code FS amount FS litres
  // or quantity FS "0" RS per product (TProductInfo::BuildQlPetrolProductInfo).
  std::string strProductInfo;

  // --- outcome ---
  int32_t lStatus = QL_STATUS_NONE;  // QL_STATUS_*
  std::string strAuthCode;
  std::string strResponseText;
  int32_t lTransRefNo = 0;
  int32_t lProcessingState = 0;    // QL_PROCESSED_*
  int32_t lAuthSource = 0;         // QL_AUTHSRC_*
  int32_t lCvmCode = QL_CVM_NONE;  // QL_CVM_*
  bool bCancelled = false;
  std::string strCv2AvsResult;    // CV2 and address check text
  std::string strAvailableSpend;  // minor units, contactless cards that report it
  std::string strToken;           // card token; never written to a file
  std::string strBatchNo;
  std::string strTransDate;  // YYMMDD of the server's record
  std::string strTransTime;  // HHMMSS of the server's record

  // --- merchant and card identity ---
  std::string strTerminalId;
  std::string strMerchantNo;
  std::string strSchemeName;
  int32_t lCardType = QL_CARD_PAYMENT;  // QL_CARD_*

  // --- chip ---
  std::string strAid;
  std::string strAppLabel;
  std::string strAppPreferredName;
  std::string strCryptogram;  // application cryptogram (TC or AAC)
  std::string strPanSeqNo;
  std::array<std::string, QL_EMV_COUNT> strEmvValues{};  // by QlEmvValue

  // --- currency conversion ---
  std::string strCurrencyText;      // printed before amounts ("GBP", "EUR" ...)
  std::string strBaseCurrencyText;  // till currency text on converted transactions
  std::string strBaseAmount;        // minor units of the till currency
  std::string strExchangeRate;
  int32_t lTransCurrencyExponent = 2;      // decimals of the converted amount
  int32_t lConversionState = QL_DCC_NONE;  // QL_DCC_*
  std::string strConversionStatement;

  // --- which details each receipt copy prints ---
  bool bMerchPrintExpiry = false;
  bool bMerchPrintStartDate = false;
  bool bMerchPrintIssueNo = false;
  bool bCustPrintExpiry = false;
  bool bCustPrintStartDate = false;
  bool bCustPrintIssueNo = false;
  bool bMerchPrintCvm = true;
  bool bCustPrintCvm = true;
  bool bMerchPrintAuthSource = false;
  bool bCustPrintAuthSource = false;

  // --- referral: what the operator reads out to the voice authorisation centre ---
  std::string strReferralPhoneNo;
  std::string strReferralMerchantId;
  std::string strReferralPan;         // masked
  std::string strReferralExpiryDate;  // YYMM
  std::string strReferralStartDate;   // YYMM
  std::string strReferralIssueNo;
};

}  // namespace ccaddin
