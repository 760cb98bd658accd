// CreditCardCommon's two fills of the till's TTransactionInfo from a finished payment
// transaction. Codes the tables do not list leave the record's value as it was, so a till
// that reuses a record sees the earlier value rather than a guess.
#include "payment/credit_card_common.h"
#include "platform/dispatch.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

enum class StatusRule { kInteractive, kProgrammatic };

void SetResponseCode(const QlTransaction& t, StatusRule rule, TTransactionInfo& info) {
  switch (t.lStatus) {
    case QL_STATUS_NONE:
      info.lResponseCode = TRANSINFO_RC_NONE;
      break;
    case QL_STATUS_AUTHORISED:
      // Only the window cancels an authorised transaction afterwards (operator, split
      // tender); the programmatic interface confirms or cancels it later on its own.
      info.lResponseCode = (rule == StatusRule::kInteractive && t.bCancelled)
                               ? TRANSINFO_RC_CANCELLED
                               : TRANSINFO_RC_AUTHORISED;
      break;
    case QL_STATUS_REFERRED:
      if (rule == StatusRule::kProgrammatic) info.lResponseCode = TRANSINFO_RC_REFERRED;
      break;
    case QL_STATUS_DECLINED:
      info.lResponseCode = TRANSINFO_RC_DECLINED;
      break;
    default:
      break;
  }
}

void SetVerification(int32_t lCvmCode, TTransactionInfo& info) {
  switch (lCvmCode) {
    case QL_CVM_NONE:
      info.lCustomerVerification = TRANSINFO_CV_NONE;
      break;
    case QL_CVM_PIN:
    case QL_CVM_PIN_2:
      info.lCustomerVerification = TRANSINFO_CV_PIN;
      break;
    case QL_CVM_SIGNATURE:
      info.lCustomerVerification = TRANSINFO_CV_SIGNATURE;
      break;
    case QL_CVM_PIN_AND_SIGNATURE:
      info.lCustomerVerification = TRANSINFO_CV_PINANDSIGNATURE;
      break;
    default:
      break;
  }
}

void SetEntryMethod(int32_t lEntryMethodCode, TTransactionInfo& info) {
  switch (lEntryMethodCode) {
    case QL_ENTRY_KEYED:
      info.lDataEntryMethod = TRANSINFO_DE_KEYED;
      break;
    case QL_ENTRY_SWIPED:
      info.lDataEntryMethod = TRANSINFO_DE_SWIPED;
      break;
    case QL_ENTRY_CHIP:
      info.lDataEntryMethod = TRANSINFO_DE_CHIP;
      break;
    case QL_ENTRY_TAPPED:
      info.lDataEntryMethod = TRANSINFO_DE_TAPPED;
      break;
    case QL_ENTRY_NONE:
      info.lDataEntryMethod = TRANSINFO_DE_NONE;
      break;
    default:
      break;
  }
}

// The card, scheme, terminal and verification fields, shared by both fills.
void FillCardFields(const QlTransaction& t, TTransactionInfo& info) {
  // Shorter numbers are not real card numbers; their parts would mislead the till.
  if (t.strPan.size() > 10) {
    info.strPanFirst6Digits = t.strPan.substr(0, 6);
    info.strPanLast4Digits = t.strPan.substr(t.strPan.size() - 4);
  }
  info.strSchemeName = t.strSchemeName;
  info.strEmvAppicationLabel =
      t.strAppPreferredName.empty() ? t.strAppLabel : t.strAppPreferredName;
  info.strEmvAppicationId = t.strAid;
  info.strMerchantNo = t.strMerchantNo;
  info.strTerminalId = t.strTerminalId;
  info.strCurrencyCode = t.strCurrencyCode;
  SetVerification(t.lCvmCode, info);
  SetEntryMethod(t.lEntryMethodCode, info);
}

// The card-class group. A till that never passed products has no product list; its fuel
// card is then neither a bunker card nor one with a total to print.
void FillCardClass(const QlTransaction& t, const TProductInfo* products, TTransactionInfo& info) {
  if (t.lCardType != QL_CARD_PAYMENT) {
    info.lCardClass = TRANSINFO_CC_FUEL;
    info.bFuelBunkerCard = products != nullptr && products->bBunkerCard;
    info.bPrintFuelBunkerTotal = products != nullptr && products->bPrintBunkerTotal;
    info.lCustomerMileage = t.lMileage;
    info.strCustomerRegNo = t.strRegNo;
  } else {
    info.lCardClass = TRANSINFO_CC_CREDITDEBIT;
    info.bFuelBunkerCard = false;
    info.bPrintFuelBunkerTotal = false;
    info.lCustomerMileage = 0;
    info.strCustomerRegNo.clear();
  }
}

}  // namespace

void CreditCardCommon::FillTransactionInfo(TTransactionInfo& oTransInfo, int32_t lTenderIndex) {
  TrapVoid(error_message_, "CreditCardCommon.FillTransactionInfo() Failed - ", [&] {
    if (!oCurrentTransaction) throw Failure(std::string(kObjectNotSetText));
    const QlTransaction& trans = *oCurrentTransaction;
    SetResponseCode(trans, StatusRule::kInteractive, oTransInfo);
    if (oTransInfo.lResponseCode != TRANSINFO_RC_NONE) {
      if (lTenderIndex != -1) {
        if (!oTender) throw Failure(std::string(kObjectNotSetText));
        // In a split tender the transaction object holds only the last part.
        oTransInfo.strAuthorisationCode = oTender->GetAuthCode(lTenderIndex);
        oTransInfo.lTransactionRefNo = oTender->GetTransRefNo(lTenderIndex);
        oTransInfo.lCashbackAmount = oTender->GetCashAmount(lTenderIndex);
      } else {
        oTransInfo.strAuthorisationCode = trans.strAuthCode;
        oTransInfo.lTransactionRefNo = trans.lTransRefNo;
        if (!oTender) throw Failure(std::string(kObjectNotSetText));
        oTransInfo.lCashbackAmount = oTender->GetTotalCashAmount();
      }
      FillCardFields(trans, oTransInfo);
    }
    FillCardClass(trans, oProductInfo.get(), oTransInfo);
    oTransInfo.strToken = trans.strToken;
    oTransInfo.strCustomerReceipt = strLastCustomerReceipt;
    oTransInfo.strFuelProducts = strFuelProductText;
  });
}

void CreditCardCommon::FillTransactionInfoFromTrans(const QlTransaction& oTrans,
                                                    TTransactionInfo& oTransInfo) {
  TrapVoid(error_message_, "CreditCardCommon.FillTransactionInfoFromTrans() Failed - ", [&] {
    SetResponseCode(oTrans, StatusRule::kProgrammatic, oTransInfo);
    if (oTransInfo.lResponseCode != TRANSINFO_RC_NONE) {
      oTransInfo.strAuthorisationCode = oTrans.strAuthCode;
      oTransInfo.lTransactionRefNo = oTrans.lTransRefNo;
      oTransInfo.lCashbackAmount = 0;
      FillCardFields(oTrans, oTransInfo);
    }
    FillCardClass(oTrans, oProductInfo.get(), oTransInfo);
  });
}

}  // namespace ccaddin
