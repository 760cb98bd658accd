// SessionState: what the hooks, the transaction window and the split tender form share
// during one till call (modes, amounts, the till's identity, the ledger, the outcome) and
// the few things that outlive it (the last payment transaction, the client receipts). Part
// of the thread's CreditCardCommon state, which owns every object held here. Plain data.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "ccaddin/records.h"
#include "payment/product_info.h"
#include "payment/receipt_data_interpreter.h"
#include "payment/tender.h"
#include "platform/serial.h"
#include "platform/variant.h"
#include "qlclient/ql_transaction.h"

namespace ccaddin {

// One receipt kept for the till to collect after the transaction hook returned.
struct ClientReceipt {
  std::string strText;
  int32_t lType = RECEIPTTYPE_UNKNOWN;  // TAMBERIN_RECEIPTTYPE
  bool bSignatureRequired = false;
};

struct SessionState {
  // --- set by the hooks before the window is shown ---
  int32_t lTransactionType = TAM_TT_SALE;  // TAMBERIN_TRANSACTIONTYPE
  bool bCustomerReceiptDisabled = false;
  std::string strReferenceText;
  TTillInformation oTillInfo;
  std::unique_ptr<TTender> oTender;  // none until a tender hook creates it
  int32_t lTenderIndex = 0;          // the part of oTender being paid
  // Token transactions.
  std::string strToken;
  std::string strTokenExpiryDate;
  int32_t lTransactionMode = TAM_TM_CUSTOMERNOTPRESENT;  // TAMBERIN_TRANSACTIONMODE
  bool bTokenMode = false;
  // The retail management host's session object (session-based hooks only).
  DispatchPtr oRmsSession;
  // Set by the till before Process; kept until the till replaces them.
  std::unique_ptr<TProductInfo> oProductInfo;
  std::unique_ptr<TReceiptDataInterpreter> oCustomerReceiptStartText;
  std::unique_ptr<TReceiptDataInterpreter> oCustomerReceiptEndText;
  // Window modes of the auxiliary hooks.
  bool bVoidMode = false;
  bool bReceiptMode = false;
  bool bReportMode = false;
  int32_t lReportType = 0;  // 0 Z report, 1 X report
  bool bFuelBalanceMode = false;
  int32_t lRequestedTransRefNo = 0;  // 0: the window asks the operator

  // --- written by the window ---
  bool bTransactionComplete = false;
  bool bSplitTenderActive = false;
  bool bMileagePrompted = false;
  bool bRegPrompted = false;
  bool bSuppIdPrompted = false;
  int32_t lFuelBalanceResponseCode = FUELBALANCE_RC_CARDNOTSUPPORTED;
  int32_t lFuelCardBalance = 0;  // minor units
  // The payment transaction the window ran, handed over by CloneTransaction; the source
  // of FillTransactionInfo. Outlives the call.
  std::unique_ptr<QlTransaction> oCurrentTransaction;
  std::string strLastCustomerReceipt;  // the customer copy last composed
  std::string strFuelProductText;      // the sale's fuel products on one line
  // Receipts for the till (TReceiptProvider). Outlives the call.
  std::vector<ClientReceipt> oClientReceipts;

  // --- the question box: inputs, and the answer after it closed ---
  std::string strQuestionTitle;
  std::string strQuestion;
  std::string strQuestionYesCaption;
  std::string strQuestionNoCaption;
  bool bQuestionAnswer = false;

  // --- the keypad: inputs, and the outputs after it closed ---
  bool bKeypadNumeric = false;   // digits only; False: the alphanumeric keypad
  int32_t lKeypadMaxLength = 0;  // longest entry; 0: no limit
  bool bKeypadDecimal = false;   // a decimal amount, typed as on a till
  int32_t lKeypadExponent = 0;   // its decimal places
  bool bKeypadOk = false;
  std::string strKeypadText;

  // --- the serial receipt printer between OpenSerialPrinter and CloseSerialPrinter ---
  std::string strSerialPrinterSettings;  // the line's description, for the error log
  std::unique_ptr<TSerial> oSerialPrinter;
};

}  // namespace ccaddin
