// After the card is read: the card enquiry, which tells the window what else the card
// needs (dates, issue number, CV2, address, fuel details, cashback), or the payment
// transaction built without one where the site does not enquire; and the fuel card's
// product checks before its authorisation. The frames that ask for the details and the
// cashback are in details_frames.cpp.
#include <algorithm>

#include "payment/credit_card_common.h"
#include "qlclient/ql_codes.h"
#include "qlclient/ql_factory.h"
#include "ui/transaction/card_prompts.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

using namespace card_prompts;

// The card the till stored with the payment server, as the server takes it in place of a
// card number.
std::string StoredCardNumber(const CreditCardCommon& shared) {
  return "TOK:" + shared.strToken;
}

// A payment with a stored card carries the till's token and expiry, never a card number
// or an expiry a card enquiry answered with.
void UseStoredCard(const CreditCardCommon& shared, QlTransaction& trans) {
  trans.lEntryMethodCode = QL_ENTRY_KEYED;
  trans.strPan = StoredCardNumber(shared);
  trans.strTrack.clear();
  trans.strExpiryDate = CardDate(shared.strTokenExpiryDate);
}

// How the window took the card, as the payment client codes the card data.
int32_t CardDataMode(int32_t lEntryMethod) {
  switch (lEntryMethod) {
    case frmTransaction::kEntryTillTrack:
    case frmTransaction::kEntrySwiped:
      return QL_ENTRY_SWIPED;
    case frmTransaction::kEntryKeyed:
      return QL_ENTRY_KEYED;
    case frmTransaction::kEntryTapped:
      return QL_ENTRY_TAPPED;
    default:
      return QL_ENTRY_CHIP;
  }
}

}  // namespace

void frmTransaction::RunCardEnquiry(int32_t& lNextState) {
  lNextState = kError;
  cmdCancel.SetEnabled(false);
  strStatusText.clear();
  bServerError = false;
  // Nothing of an earlier card's answer may decide what this card is asked.
  lEntryPrompts.fill(0);
  lFuelPrompts.fill(0);
  lFuelPromptTypes.fill(0);
  lCv2Length = 0;
  if (Shared().bCardEnquiry) {
    SendCardEnquiry(lNextState);
  } else {
    BuildTransactionWithoutEnquiry(lNextState);
  }
  cmdCancel.SetEnabled(true);
}

void frmTransaction::SendCardEnquiry(int32_t& lNextState) {
  const CreditCardCommon& shared = Shared();
  if (lEntryMethod == kEntryTapped && !shared.bCardReaderStatus) {
    // A tap needs the transaction open on the terminal, which the reader's status
    // polling would otherwise have done.
    int32_t started = kError;
    StartCardSession(false, started);
    cmdCancel.SetEnabled(false);
  }
  std::string pan;
  std::string track;
  int32_t mode = bCustomerPresent ? TAM_TM_CUSTOMERPRESENT : TAM_TM_CUSTOMERNOTPRESENT;
  if (lEntryMethod == kEntryTillTrack) track = std::exchange(strSwipeBuffer, std::string());
  if (lEntryMethod == kEntryKeyed && !shared.bE2EEEnabled) pan = txtKeySwipe.Text();
  if (shared.bTokenMode) {
    // The server knows the stored card, and how the customer takes part, from the till.
    pan = StoredCardNumber(shared);
    mode = shared.lTransactionMode;
  }
  int32_t result = 0;
  oRequest.ProcessCardEnquiry(*oEnq, mode, pan, track, CardDataMode(lEntryMethod), result);
  switch (result) {
    case QL_REQ_DONE:
      EvaluateCardEnquiry(lNextState);
      break;
    case QL_REQ_FAILED:
      strStatusText = oRequest.strErrorMessage();
      if (shared.bTokenMode) {
        // A stored card the server refuses cannot be taken another way at the window.
        bServerError = true;
      } else if (!shared.bMailOrderOnly) {
        // The card, not the session, failed: the operator may try another way.
        lReturnState = shared.bExternalSwipe ? kExternalSwipe : kCardWait;
      } else if (!shared.bE2EEEnabled) {
        bCustomerPresent = false;
        lReturnState = kKeyedNumber;
      } else {
        bServerError = true;
        strStatusText = "CARD READER IS NOT AVAILABLE";
      }
      break;
    case QL_REQ_CONNECTION_LOST:
    case QL_REQ_UNEXPECTED:
      ServerFailed(result);
      break;
    case QL_REQ_FALLBACK:
      lNextState = kSwipeOnTill;
      break;
    case QL_REQ_PASSED_ON:
      lNextState = kExternalSwipe;
      break;
    default:
      break;
  }
}

void frmTransaction::EvaluateCardEnquiry(int32_t& lNextState) {
  CreditCardCommon& shared = Shared();
  oTrans = NewTransaction();
  switch (oEnq->lCardDataType) {
    case QL_ENTRY_SWIPED:
      oTrans->lEntryMethodCode = QL_ENTRY_SWIPED;
      oTrans->strTrack = oEnq->strTrack;
      break;
    case QL_ENTRY_CHIP:
    case QL_ENTRY_TAPPED:
      oTrans->lEntryMethodCode = oEnq->lCardDataType;
      break;
    default:
      oTrans->lEntryMethodCode = QL_ENTRY_KEYED;
      oTrans->strPan = oEnq->strPan;
      oTrans->strExpiryDate = oEnq->strExpiryDate;
      break;
  }
  oTrans->lCardType = oEnq->lCardType;
  const bool fuel_card = oEnq->lCardType == QL_CARD_FUEL;
  for (size_t i = 0; i < lEntryPrompts.size(); ++i)
    lEntryPrompts[i] = fuel_card ? 0 : oEnq->GetEntryPrompt(static_cast<int32_t>(i));
  for (size_t i = 0; fuel_card && i < lFuelPrompts.size(); ++i) {
    lFuelPrompts[i] = oEnq->GetFuelPrompt(static_cast<int32_t>(i));
    if (lFuelPrompts[i] != 0)
      lFuelPromptTypes[i] = oEnq->GetFuelPromptType(static_cast<int32_t>(i));
  }
  lCv2Length = oEnq->GetCv2Length();

  if (shared.bTokenMode) {
    // The till holds all a stored card needs: nothing is asked at the window, and no
    // cashback is given on a card that is not there. A fuel card's products are still
    // checked before it is sent.
    UseStoredCard(shared, *oTrans);
    RunAuthorisation(lNextState);
    return;
  }

  if (shared.bFuelBalanceMode) {
    auto balance = CurrentQlFactory().CreateFuelBalance();
    int32_t result = 0;
    oRequest.ProcessFuelBalanceEnquiry(*balance,
                                       oEnq->strTrack.empty() ? oEnq->strPan : oEnq->strTrack,
                                       shared.strbaseCurrency, result);
    if (result == QL_REQ_UNEXPECTED) {
      ServerFailed(result);
      return;
    }
    shared.lFuelBalanceResponseCode = balance->lResponseCode;
    shared.lFuelCardBalance = balance->lBalance;
    // What the till's journal names the card by: the masked number and the scheme.
    oTrans->strPan = balance->strPan;
    oTrans->strSchemeName = balance->strSchemeName;
    lNextState = kFinished;
    return;
  }

  if (fuel_card) {
    shared.bMileagePrompted = lFuelPrompts[kFuelMileage] == kRequired;
    shared.bRegPrompted = lFuelPrompts[kFuelReg] == kRequired;
    shared.bSuppIdPrompted = lFuelPrompts[kFuelSuppId] == kRequired;
    if (shared.oProductInfo) shared.oProductInfo->bBunkerCard = oEnq->bBunkerCard;
    for (Control* field : {&txtStartDate, &txtIssue, &txtCV2, &txtAddress, &txtPostCode})
      SetFieldEnabled(false, *field);
    SetFieldEnabled(lFuelPrompts[kFuelExpiry] != 0, txtExpDate);
    SetFieldEnabled(lFuelPrompts[kFuelReg] != 0, txtReg);
    SetFieldEnabled(lFuelPrompts[kFuelMileage] != 0, txtMileage);
    SetFieldEnabled(lFuelPrompts[kFuelReference] != 0, txtRefText);
    SetFieldEnabled(lFuelPrompts[kFuelProduct] != 0, txtProductRestrict);
    SetFieldEnabled(lFuelPrompts[kFuelSuppId] != 0, txtSuppId);
    // A reference text or supplier id alone does not hold the sale up; a product
    // restriction does only for a keyed card.
    const bool details =
        lFuelPrompts[kFuelExpiry] != 0 || lFuelPrompts[kFuelReg] != 0 ||
        lFuelPrompts[kFuelMileage] != 0 ||
        (lFuelPrompts[kFuelProduct] != 0 && oTrans->lEntryMethodCode == QL_ENTRY_KEYED);
    if (details) {
      lNextState = kDetails;
    } else {
      RunAuthorisation(lNextState);
    }
    return;
  }

  const int32_t cash = Ledger().GetCashAmount(shared.lTenderIndex);
  const bool cashback_possible = oEnq->IsCashbackAllowed(1) && bCustomerPresent &&
                                 shared.lTransactionType == TAM_TT_SALE && shared.lTillType != 2 &&
                                 shared.bCashback;
  if (cash == 0 && cashback_possible && oTrans->lEntryMethodCode != QL_ENTRY_TAPPED) {
    // The details follow the amount (the cashback frame's Continue).
    lNextState = kCashback;
    return;
  }
  if (cash >= 1 && cashback_possible) {
    oTrans->lTransactionTypeCode = QL_TT_SALE_CASHBACK;
    oTrans->strCashbackAmount = std::to_string(cash);
  } else if (cash > 0) {
    bServerError = true;
    strStatusText = "Cashback is not allowed for this card";
    return;
  }
  if (std::all_of(lEntryPrompts.begin(), lEntryPrompts.end(), [](int32_t p) { return p == 0; })) {
    RunAuthorisation(lNextState);
    return;
  }
  EnableEntryPromptFields();
  lNextState = kDetails;
}

void frmTransaction::EnableEntryPromptFields() {
  const bool sale = Shared().lTransactionType == TAM_TT_SALE;
  SetFieldEnabled(lEntryPrompts[kExpiry] != 0, txtExpDate);
  SetFieldEnabled(lEntryPrompts[kStart] != 0, txtStartDate);
  SetFieldEnabled(lEntryPrompts[kIssue] != 0, txtIssue);
  SetFieldEnabled(lEntryPrompts[kCv2] != 0, txtCV2);
  SetFieldEnabled(lEntryPrompts[kPostcode] != 0, txtPostCode);
  // The address check guards a purchase; a refund or an authorisation does not use it.
  SetFieldEnabled(lEntryPrompts[kAddress] != 0 && sale, txtAddress);
  SetFieldEnabled(lEntryPrompts[kReference] != 0, txtRefText);
  for (Control* fuel : {&txtReg, &txtMileage, &txtProductRestrict, &txtSuppId})
    SetFieldEnabled(false, *fuel);
}

void frmTransaction::BuildTransactionWithoutEnquiry(int32_t& lNextState) {
  const CreditCardCommon& shared = Shared();
  oTrans = NewTransaction();
  if (shared.bTokenMode) {
    UseStoredCard(shared, *oTrans);
    RunAuthorisation(lNextState);
    return;
  }
  oTrans->lEntryMethodCode = CardDataMode(lEntryMethod);
  if (lEntryMethod == kEntryTillTrack) oTrans->strTrack = strSwipeBuffer;
  if (lEntryMethod == kEntryKeyed && !shared.bE2EEEnabled) oTrans->strPan = txtKeySwipe.Text();
  if (lEntryMethod != kEntryKeyed) {
    RunAuthorisation(lNextState);
    return;
  }
  // Nothing says what a keyed card needs, so the operator may give any of its details.
  for (Control* field : {&txtExpDate, &txtStartDate, &txtIssue, &txtCV2, &txtAddress, &txtPostCode,
                         &txtRefText, &txtReg, &txtMileage, &txtProductRestrict, &txtSuppId})
    SetFieldEnabled(true, *field);
  lNextState = kDetails;
}

void frmTransaction::CheckFuelProducts(int32_t lSaleAmount, const std::string& strCardData,
                                       int32_t& lResult) {
  CreditCardCommon& shared = Shared();
  lResult = 1;
  TProductInfo* products = shared.oProductInfo.get();
  if (products == nullptr || products->lProductCount() == 0) {
    strStatusText = "No products specified for fuel transaction";
    return;
  }
  if (products->GetTotalAmount() != lSaleAmount) {
    strStatusText = "Sale amount does not match total fuel product amounts";
    return;
  }
  if (products->ValidateProductInfo() != 0) {
    strStatusText = products->strErrorMessage();
    return;
  }
  const int32_t fuel_type = shared.strFuelType == "1" ? 1 : shared.strFuelType == "2" ? 2 : 0;
  auto enquiry = CurrentQlFactory().CreateFuelProductEnquiry();
  int32_t result = 0;
  oRequest.ProcessFuelProductEnquiry(*enquiry, products->BuildQlPetrolProductInfo(), strCardData,
                                     fuel_type, "", result);
  if (result != QL_REQ_DONE) {
    strStatusText = oRequest.strErrorMessage();
    return;
  }
  const bool exclusion = shared.bAllowProductExclusion;
  const bool allowed = products->AreTillProductsAllowed(oEnq->strAllowedProducts, exclusion) == 0;
  // The till learns which products were excluded from the product text, where they are
  // marked; without exclusion it lists what was sold.
  if (allowed || exclusion) shared.strFuelProductText = products->GetProductsText();
  if (!allowed) {
    strStatusText = "Product(s) not allowed for this fuel card";
    return;
  }
  (void)products->BuildReceiptLines();
  oTrans->strProductInfo = products->BuildQlPetrolProductInfo();
  lResult = 0;
}

}  // namespace ccaddin
