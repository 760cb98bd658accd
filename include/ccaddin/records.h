// The two records a till exchanges with the add-in, and every public enumeration of the
// add-in's interface. The till owns both records: it fills TTillInformation before it calls
// a hook, and reads TTransactionInfo after the hook returns; the add-in keeps no reference
// to either. Plain values: nothing here blocks, checks, converts or allocates on its own.
#pragma once

#include <cstdint>
#include <string>

namespace ccaddin {

// Booleans at the public boundary are COM booleans: True is -1 (all bits set), False is 0.
// In C++ the records hold `bool`; a till that reads a record property through the C ABI by
// name receives a ComBool (a 16-bit -1 or 0), and any non-zero ComBool it passes in counts
// as True. Compare a ComBool with kComFalse, never with 1.
using ComBool = int16_t;
inline constexpr ComBool kComTrue = -1;
inline constexpr ComBool kComFalse = 0;

[[nodiscard]] constexpr ComBool ToComBool(bool value) {
  return value ? kComTrue : kComFalse;
}
[[nodiscard]] constexpr bool FromComBool(ComBool value) {
  return value != kComFalse;
}

// The enumerations keep the names and numbers the add-in has always published, so they are
// plain (unscoped) enums: a till writes TRANSINFO_RC_AUTHORISED, as it would in any other
// language. All are 32-bit signed.

enum TRANSINFO_RESPONSECODE : int32_t {
  TRANSINFO_RC_NONE = 0,
  TRANSINFO_RC_AUTHORISED = 1,
  TRANSINFO_RC_DECLINED = 2,
  TRANSINFO_RC_CANCELLED = 3,
  TRANSINFO_RC_REFERRED = 4,
};

enum TRANSINFO_CUSTOMERVERIFICATION : int32_t {
  TRANSINFO_CV_NONE = 0,
  TRANSINFO_CV_PIN = 1,
  TRANSINFO_CV_SIGNATURE = 2,
  TRANSINFO_CV_PINANDSIGNATURE = 3,
};

enum TRANSINFO_DATAENTRYMETHOD : int32_t {
  TRANSINFO_DE_NONE = 0,
  TRANSINFO_DE_KEYED = 1,
  TRANSINFO_DE_SWIPED = 2,
  TRANSINFO_DE_CHIP = 3,
  TRANSINFO_DE_TAPPED = 4,
};

enum TRANSINFO_CARDCLASS : int32_t {
  TRANSINFO_CC_CREDITDEBIT = 0,
  TRANSINFO_CC_FUEL = 1,
};

// The kind of card transaction a till asks for.
enum TAMBERIN_TRANSACTIONTYPE : int32_t {
  TAM_TT_SALE = 0,
  TAM_TT_REFUND = 1,
  TAM_TT_PREAUTH = 2,
  TAM_TT_FINALAUTH = 3,
};

// How the card is present; used with token transactions.
enum TAMBERIN_TRANSACTIONMODE : int32_t {
  TAM_TM_CUSTOMERPRESENT = 0,
  TAM_TM_CUSTOMERNOTPRESENT = 1,
  TAM_TM_CONTINUOUSAUTHORITY = 2,
  TAM_TM_ECOMMERCE = 3,
};

// The kind of a receipt handed to the till by TReceiptProvider.
enum TAMBERIN_RECEIPTTYPE : int32_t {
  RECEIPTTYPE_UNKNOWN = 0,
  RECEIPTTYPE_MERCHANTAUTHORISED = 1,
  RECEIPTTYPE_MERCHANTDECLINED = 2,
  RECEIPTTYPE_MERCHANTCANCELLED = 3,
  RECEIPTTYPE_CUSTOMERAUTHORISED = 4,
  RECEIPTTYPE_CUSTOMERDECLINED = 5,
  RECEIPTTYPE_CUSTOMERCANCELLED = 6,
};

// The till's verdict when it confirms a programmatic transaction.
enum TRANSACTION_CONFIRMTYPE : int32_t {
  CONFIRMTYPE_AUTHORISED = 0,
  CONFIRMTYPE_DECLINED = 1,
  CONFIRMTYPE_CANCELLED = 2,
};

// Published for compatibility; no operation takes it.
enum TRANSACTION_CONFIRMATIONTYPE : int32_t {
  CONFIRMATIONTYPE_AUTHORISED = 0,
  CONFIRMATIONTYPE_DECLINED = 1,
  CONFIRMATIONTYPE_CANCELLED = 2,
};

// How a programmatic card enquiry expects the card.
enum TRANSACTION_DATAENTRY : int32_t {
  DATAENTRY_CHIPORTAP = 0,
  DATAENTRY_SWIPE = 1,
};

// Result of the programmatic authorisation and card enquiry.
enum TRANSACTION_RETURNCODE : int32_t {
  RETURNCODE_SUCCESS = 0,
  RETURNCODE_FAILED = 1,
  RETURNCODE_MAGSTRIPEFALLBACK = 2,
  RETURNCODE_CASHBACKALLOWED = 3,
};

enum FUELBALANCE_RESPONSECODE : int32_t {
  FUELBALANCE_RC_AUTHORISED = 0,
  FUELBALANCE_RC_CARDNOTSUPPORTED = 1,
  FUELBALANCE_RC_CARDEXPIRED = 2,
  FUELBALANCE_RC_INVALIDCURRENCY = 3,
  FUELBALANCE_RC_INSUFFICIENTFUNDS = 4,
  FUELBALANCE_RC_DECLINED = 5,
  FUELBALANCE_RC_CARDNOTFOUND = 6,
};

enum REPORTHOOK_REPORTTYPE : int32_t {
  REPORTHOOK_RT_ZREPORT = 0,
  REPORTHOOK_RT_XREPORT = 1,
};

// Background tasks that the companion task runner asks for.
enum BELLWARD_TASKTYPE : int32_t {
  TASK_UPLOADOFFLINETRANSACTIONS = 0,
  TASK_DOTIMSCALL = 1,
  TASK_CLOSEBATCH = 2,
};

// Text in both records is single-byte Windows-1252, one byte per receipt column (the C ABI
// converts to and from UTF-8 at its edge). Amounts are whole minor currency units.

// Who the merchant, store, till and sale are. Members in interface order.
struct TTillInformation {
  std::string strMerchantName;  // first line of receipt and report headers
  std::string strAddressLine1;
  std::string strAddressLine2;
  std::string strAddressLine3;
  std::string strSitePhoneNumber;
  std::string strTillNumber;     // till, store and receipt number identify the sale
  std::string strStoreNumber;    //   to the payment server and appear on the receipt
  std::string strReceiptNumber;  // the till's own number for the current sale
};

// The outcome of one card transaction. Members in interface order, with the defaults of a
// new record. A till that reuses a record sees earlier values wherever a transaction does
// not reach a property (a card number too short to split leaves both PAN parts alone).
struct TTransactionInfo {
  std::string strAuthorisationCode;
  int32_t lTransactionRefNo = 0;  // the key for a later void or receipt reprint
  TRANSINFO_RESPONSECODE lResponseCode = TRANSINFO_RC_NONE;
  std::string strPanFirst6Digits;
  std::string strPanLast4Digits;
  std::string strSchemeName;
  std::string strEmvAppicationLabel;  // names spelt as the interface has always spelt them
  std::string strEmvAppicationId;
  std::string strMerchantNo;
  std::string strTerminalId;
  std::string strCurrencyCode;
  TRANSINFO_CUSTOMERVERIFICATION lCustomerVerification = TRANSINFO_CV_NONE;
  int32_t lCashbackAmount = 0;
  TRANSINFO_DATAENTRYMETHOD lDataEntryMethod = TRANSINFO_DE_NONE;
  TRANSINFO_CARDCLASS lCardClass = TRANSINFO_CC_CREDITDEBIT;
  bool bFuelBunkerCard = false;        // ComBool at the C ABI
  bool bPrintFuelBunkerTotal = false;  // ComBool at the C ABI
  int32_t lCustomerMileage = 0;
  std::string strCustomerRegNo;
  std::string strCustomerReceipt;
  std::string strToken;  // usable later with TTokenTransactionHook
  // The fuel products of the sale in the order the till added them, one entry per
  // product, entries separated by "; ":
  //   <code> [<description> ](<litres>L | QTY <quantity>) <amount>[ EXCLUDED]
  // The description is the fuel card's name for the product (absent when the card did not
  // list it), litres carry two decimals, the amount is in minor units as the till passed
  // it, and EXCLUDED marks a product the card does not allow, which was not charged:
  //   "001 UNLEADED 20.00L 2450; 512 QTY 1 500 EXCLUDED"
  std::string strFuelProducts;
};

}  // namespace ccaddin
