// The payment-client library's codes, each named once: the values of the transaction's
// and the request objects' code fields, the library's answers and error codes, and the
// results the request layer folds them into. The simulator that produces them and the
// layers that read them share these names, so a code cannot mean two things.
#pragma once

#include <cstdint>

namespace ccaddin {

// QlTransaction.lEntryMethodCode. QlCardEnquiry.lCardDataType and the enquiry's data
// entry argument use 0 to 3 the same way.
inline constexpr int32_t QL_ENTRY_KEYED = 0;
inline constexpr int32_t QL_ENTRY_SWIPED = 1;
inline constexpr int32_t QL_ENTRY_CHIP = 2;
inline constexpr int32_t QL_ENTRY_TAPPED = 3;
inline constexpr int32_t QL_ENTRY_NONE = 4;

// QlTransaction.lStatus. The till's record reads 0 as no outcome; the receipt prints 0
// like an authorisation and 1 as an authorisation that was also confirmed.
inline constexpr int32_t QL_STATUS_NONE = 0;
inline constexpr int32_t QL_STATUS_AUTHORISED = 1;
inline constexpr int32_t QL_STATUS_REFERRED = 2;
inline constexpr int32_t QL_STATUS_DECLINED = 3;

// QlCardReaderStatus.lReaderState (4 to 6 are not used by the terminal).
inline constexpr int32_t QL_READER_UNAVAILABLE = 0;
inline constexpr int32_t QL_READER_WAITING = 1;
inline constexpr int32_t QL_READER_INSERTED = 2;
inline constexpr int32_t QL_READER_OPENED = 3;
inline constexpr int32_t QL_READER_PROCESSING = 7;
inline constexpr int32_t QL_READER_REMOVE_CARD = 8;
inline constexpr int32_t QL_READER_SWIPED = 9;
inline constexpr int32_t QL_READER_SWIPE_ON_TILL = 10;
inline constexpr int32_t QL_READER_NOT_ACCEPTED = 11;
inline constexpr int32_t QL_READER_SWIPED_ON_DEVICE = 12;
inline constexpr int32_t QL_READER_TAPPED = 13;
inline constexpr int32_t QL_READER_INSERT_ONLY = 14;
inline constexpr int32_t QL_READER_INSERT_OR_SWIPE = 15;

// QlTransaction.lCvmCode: how the cardholder was verified.
inline constexpr int32_t QL_CVM_NONE = 0;
inline constexpr int32_t QL_CVM_PIN = 1;
inline constexpr int32_t QL_CVM_PIN_2 = 2;  // the library's second PIN code; read exactly like 1
inline constexpr int32_t QL_CVM_SIGNATURE = 3;
inline constexpr int32_t QL_CVM_PIN_AND_SIGNATURE = 4;
inline constexpr int32_t QL_CVM_CARDHOLDER_DEVICE = 5;

constexpr bool IsPinCvm(int32_t cvm) {
  return cvm == QL_CVM_PIN || cvm == QL_CVM_PIN_2;
}

// QlTransaction.lTransactionTypeCode and the type code of QlTransactionStart.Start.
inline constexpr int32_t QL_TT_SALE = 1;
inline constexpr int32_t QL_TT_SALE_CASHBACK = 2;
inline constexpr int32_t QL_TT_CASH_ADVANCE = 3;
inline constexpr int32_t QL_TT_PREAUTH = 4;
inline constexpr int32_t QL_TT_FINALAUTH = 5;
inline constexpr int32_t QL_TT_REFUND = 6;
inline constexpr int32_t QL_TT_CHEQUE_AUTH = 7;
inline constexpr int32_t QL_TT_PREAUTH_REFUND = 8;
inline constexpr int32_t QL_TT_FINAL_REFUND = 9;

// The types that pay money back to the card.
constexpr bool IsRefundFamily(int32_t type) {
  return type == QL_TT_REFUND || type == QL_TT_PREAUTH_REFUND || type == QL_TT_FINAL_REFUND;
}

// QlTransaction.lAuthSource: who authorised.
inline constexpr int32_t QL_AUTHSRC_DEVICE = 1;
inline constexpr int32_t QL_AUTHSRC_ONLINE = 2;
inline constexpr int32_t QL_AUTHSRC_VOICE = 3;
inline constexpr int32_t QL_AUTHSRC_PREAUTHORISED = 4;
inline constexpr int32_t QL_AUTHSRC_STAND_IN = 5;  // the terminal stood in for the server
inline constexpr int32_t QL_AUTHSRC_DEVICE_2 = 6;
inline constexpr int32_t QL_AUTHSRC_VOICE_OFFLINE = 7;  // voice authorisation taken while offline

// QlTransaction.lProcessingState.
inline constexpr int32_t QL_PROCESSED_ONLINE = 1;
inline constexpr int32_t QL_PROCESSED_OFFLINE = 2;  // by the terminal, without the server

// QlTransaction.lCardType and QlCardEnquiry.lCardType.
inline constexpr int32_t QL_CARD_PAYMENT = 0;
inline constexpr int32_t QL_CARD_FUEL = 1;

// QlTransaction.lConversionState: the currency conversion offer.
inline constexpr int32_t QL_DCC_NONE = 0;
inline constexpr int32_t QL_DCC_OFFERED = 1;
inline constexpr int32_t QL_DCC_ACCEPTED = 2;  // the amounts are in the card's currency
inline constexpr int32_t QL_DCC_REFUSED = 3;

// The confirmation code of QlConfirm.Confirm.
inline constexpr int32_t QL_CONFIRM_AUTHORISED = 0;
inline constexpr int32_t QL_CONFIRM_DECLINED = 1;
inline constexpr int32_t QL_CONFIRM_CANCELLED = 2;

// QlTransaction.lMode of an authorisation the till drives itself.
inline constexpr int32_t QL_MODE_PROGRAMMATIC = 1;

// QlCloseBatch.lRequestType: the only request the component makes.
inline constexpr int32_t QL_CLOSE_BATCH = 2;

// QlSession.Connect's answer.
inline constexpr int32_t QL_CONNECT_ONLINE = 0;
inline constexpr int32_t QL_CONNECT_FAILED = 1;
inline constexpr int32_t QL_CONNECT_OFFLINE = 2;
inline constexpr int32_t QL_CONNECT_OTHER = 3;

// QlLogin.Login's answer: 1 logged in, 2 to 5 refused by the server, other failed.
inline constexpr int32_t QL_LOGIN_FAILED = 0;
inline constexpr int32_t QL_LOGIN_LOGGED_IN = 1;
inline constexpr int32_t QL_LOGIN_BAD_MERCHANT = 2;
inline constexpr int32_t QL_LOGIN_BAD_CLIENT = 3;
inline constexpr int32_t QL_LOGIN_BAD_PASSWORD = 4;
inline constexpr int32_t QL_LOGIN_REFUSED = 5;

// The answers of QlCardEnquiry.Enquire and QlTransactionProcessor.Process (and 0 and 1
// of every other request). The enquiry answers 3 for a card it accepted as well.
inline constexpr int32_t QL_ANSWER_DONE = 0;
inline constexpr int32_t QL_ANSWER_FAILED = 1;
inline constexpr int32_t QL_ANSWER_FALLBACK = 2;  // read the card's stripe instead
inline constexpr int32_t QL_ANSWER_PIN_BYPASS = 3;
inline constexpr int32_t QL_ANSWER_PASSED_ON = 4;
inline constexpr int32_t QL_ANSWER_ENQUIRY_NEEDED = 5;

// QlTransactionProcessor.AnswerPinBypass's answer code.
inline constexpr int32_t QL_PIN_BYPASS_ACCEPT = 0;
inline constexpr int32_t QL_PIN_BYPASS_REFUSE = 1;

// The library's error codes that mean the server connection was lost. The authorisation
// counts "no response from the authorisation host" as lost too; other requests do not.
inline constexpr int32_t QL_ERR_NO_HOST_RESPONSE = 10200;
inline constexpr int32_t QL_ERR_CONNECTION_LOST = 30001;
inline constexpr int32_t QL_ERR_CONNECTION_CLOSED = 30003;
inline constexpr int32_t QL_ERR_TIMEOUT = 30006;
inline constexpr int32_t QL_ERR_CONNECTION_RESET = 30056;

// TProcessQlRequest's results.
inline constexpr int32_t QL_REQ_DONE = 0;
inline constexpr int32_t QL_REQ_FAILED = 1;  // refused by the server; the library's text kept
inline constexpr int32_t QL_REQ_CONNECTION_LOST =
    2;  // also the plain failure of connect, login and logout
inline constexpr int32_t QL_REQ_CONNECT_OTHER = 3;  // the session's connect answered 3
inline constexpr int32_t QL_REQ_UNEXPECTED =
    4;  // trapped error, failed confirmation or balance enquiry
inline constexpr int32_t QL_REQ_LOGIN_REFUSED = 5;
inline constexpr int32_t QL_REQ_FALLBACK = 6;  // read the card's stripe instead
inline constexpr int32_t QL_REQ_PASSED_ON = 7;
inline constexpr int32_t QL_REQ_PIN_BYPASS = 8;  // ask the operator, then ProcessPinBypass
inline constexpr int32_t QL_REQ_ENQUIRY_NEEDED = 9;

}  // namespace ccaddin
