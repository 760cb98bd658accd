#include "hooks/window_tender.h"

#include <algorithm>
#include <cctype>

#include "payment/credit_card_common.h"
#include "platform/addin_log.h"
#include "platform/trap.h"
#include "ui/form_call_scope.h"
#include "ui/loop.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

void ResetTransactionInfo(TTransactionInfo& oTransInfo) {
  oTransInfo.lResponseCode = TRANSINFO_RC_NONE;
  oTransInfo.strAuthorisationCode.clear();
  oTransInfo.lTransactionRefNo = 0;
  oTransInfo.lCashbackAmount = 0;
  for (std::string* text :
       {&oTransInfo.strPanFirst6Digits, &oTransInfo.strPanLast4Digits, &oTransInfo.strSchemeName,
        &oTransInfo.strEmvAppicationLabel, &oTransInfo.strEmvAppicationId,
        &oTransInfo.strMerchantNo, &oTransInfo.strTerminalId, &oTransInfo.strCurrencyCode}) {
    text->clear();
  }
  oTransInfo.lCustomerVerification = TRANSINFO_CV_NONE;
  oTransInfo.lDataEntryMethod = TRANSINFO_DE_NONE;
}

// What the server could never accept is refused before the window opens: the operator
// could do nothing about it there. Empty when the stored card is usable.
std::string StoredCardProblem(const StoredCard& card) {
  if (card.strToken.empty()) return "No card token given";
  const std::string& expiry = card.strExpiryDate;
  const bool mmyy = expiry.size() == 4 && std::all_of(expiry.begin(), expiry.end(), [](char c) {
                      return std::isdigit(static_cast<unsigned char>(c));
                    });
  if (!mmyy || expiry.substr(0, 2) < "01" || expiry.substr(0, 2) > "12")
    return "Token expiry date \"" + expiry + "\" is not MMYY";
  if (card.lTransactionMode < TAM_TM_CUSTOMERPRESENT || card.lTransactionMode > TAM_TM_ECOMMERCE)
    return "Transaction mode " + std::to_string(card.lTransactionMode) + " is not known";
  return {};
}

void ShowTransactionWindow(const std::string& failed_prefix, TAddinLog& journal,
                           std::string& error_message) {
  frmTransaction window;
  std::string error;
  if (!CurrentFormLoop().ShowModal(window, error)) {
    error_message = failed_prefix + error;
    journal.LogError(error_message);
  } else if (!window.strErrorMessage().empty()) {
    // The window stayed usable after the failure, but the journal must say what happened.
    journal.LogError(window.strErrorMessage());
  }
}

}  // namespace

bool RunWindowTender(const WindowTender& tender, const TTillInformation& oTillInfo,
                     TTransactionInfo& oTransInfo, std::string& error_message) {
  CreditCardCommon& shared = Shared();
  (void)shared.LoadConfiguration();
  TAddinLog journal;
  journal.StartLog(shared.strConfigFileLocation, false);
  FormCallScope call(&journal);

  bool result = false;
  bool finished = false;
  TrapVoid(error_message, tender.strFailedPrefix, [&] {
    shared.lTransactionType = tender.lTransactionType;
    if (tender.bCustomerReceiptDisabled)
      shared.bCustomerReceiptDisabled = *tender.bCustomerReceiptDisabled;
    shared.strFuelProductText.clear();
    // A fuel sale is paid with one fuel card: its products cannot be split over cards.
    if (!shared.strFuelType.empty()) shared.bSplitTender = false;
    shared.oTillInfo = oTillInfo;
    // What an earlier call's window decided says nothing about this one.
    shared.bTransactionComplete = false;
    shared.bSplitTenderActive = false;
    shared.bTokenMode = tender.oStoredCard.has_value();
    if (tender.oStoredCard) {
      shared.strToken = tender.oStoredCard->strToken;
      shared.strTokenExpiryDate = tender.oStoredCard->strExpiryDate;
      shared.lTransactionMode = tender.oStoredCard->lTransactionMode;
    }
    ResetTransactionInfo(oTransInfo);

    shared.oTender = std::make_unique<TTender>();
    shared.lTenderIndex = 0;
    (void)shared.oTender->InitialiseTender(0, tender.lTransactionAmount, tender.lGratuityAmount,
                                           tender.lCashAmount);
    shared.strReferenceText = tender.strReferenceText;
    // Only the transaction this call's window hands over may reach the till's record, never
    // one an earlier call left behind.
    shared.oCurrentTransaction.reset();
    journal.LogStartTransaction(
        tender.lTransactionType == TAM_TT_SALE, shared.oTender->GetSaleAmount(0),
        shared.oTender->GetGratuityAmount(0), shared.oTender->GetCashAmount(0), false, 0, false);

    const std::string refused =
        tender.oStoredCard ? StoredCardProblem(*tender.oStoredCard) : std::string();
    if (!refused.empty()) {
      error_message = tender.strFailedPrefix + refused;
      journal.LogError(error_message);
    } else if (tender.lTransactionAmount > 0) {
      ShowTransactionWindow(tender.strFailedPrefix, journal, error_message);
    }

    if (shared.bSplitTender && shared.bSplitTenderActive && !shared.bTransactionComplete) {
      // The operator asked to pay the tender with several cards. The split tender form takes
      // over here once it exists; whatever it leaves incomplete is reported as cancelled.
      journal.LogError("Split tender is not available: the tender was not paid");
      if (!shared.bTransactionComplete && shared.oCurrentTransaction) {
        shared.oCurrentTransaction->bCancelled = true;
      }
    }
    if (shared.oCurrentTransaction) shared.FillTransactionInfo(oTransInfo, -1);
    journal.LogEndTransaction(oTransInfo);
    result = oTransInfo.lResponseCode == TRANSINFO_RC_AUTHORISED && shared.bTransactionComplete;
    finished = true;
  });
  if (!finished) journal.LogError(error_message);
  // The stored card is the till's: it is not kept beyond the call that pays with it.
  shared.bTokenMode = false;
  shared.strToken.clear();
  shared.strTokenExpiryDate.clear();

  shared.HousekeepReceipts();
  journal.EndLog(false);
  shared.DailyTmsCall();
  return result;
}

}  // namespace ccaddin
