#include "hooks/t_transaction_hook.h"

#include <utility>

#include "payment/credit_card_common.h"
#include "payment/records_dispatch.h"
#include "platform/trap.h"
#include "ui/form_call_scope.h"
#include "ui/loop.h"
#include "ui/transaction/frm_transaction.h"

namespace ccaddin {

namespace {

std::unique_ptr<TReceiptDataInterpreter> Parsed(const std::string& strText,
                                                const std::string& strNoChangeText,
                                                const std::string& strCashbackText) {
  auto text = std::make_unique<TReceiptDataInterpreter>();
  text->ParseReceiptData(strText, strNoChangeText, strCashbackText);
  return text;
}

}  // namespace

bool TTransactionHook::Process(int32_t lTransactionType, int32_t lTransactionAmount,
                               const TTillInformation& oTillInfo, TTransactionInfo& oTransInfo) {
  return RunTenderTransaction(lTransactionType, lTransactionAmount, 0, 0, oTillInfo, oTransInfo, "",
                              false);
}

bool TTransactionHook::Process2(int32_t lTransactionType, int32_t lTransactionAmount,
                                int32_t lGratuityAmount, int32_t lCashAmount,
                                const TTillInformation& oTillInfo, TTransactionInfo& oTransInfo) {
  return RunTenderTransaction(lTransactionType, lTransactionAmount, lGratuityAmount, lCashAmount,
                              oTillInfo, oTransInfo, "", false);
}

bool TTransactionHook::Process3(int32_t lTransactionType, int32_t lTransactionAmount,
                                const std::string& strReferenceText,
                                const TTillInformation& oTillInfo, TTransactionInfo& oTransInfo) {
  return RunTenderTransaction(lTransactionType, lTransactionAmount, 0, 0, oTillInfo, oTransInfo,
                              strReferenceText, false);
}

bool TTransactionHook::Process4(int32_t lTransactionType, int32_t lTransactionAmount,
                                const std::string& strReferenceText,
                                const TTillInformation& oTillInfo, TTransactionInfo& oTransInfo,
                                bool bCustomerReceiptDisabled) {
  return RunTenderTransaction(lTransactionType, lTransactionAmount, 0, 0, oTillInfo, oTransInfo,
                              strReferenceText, bCustomerReceiptDisabled);
}

void TTransactionHook::InitialiseProductInfo() {
  TrapVoid(error_message_, "TTransactionHook.InitialiseProductInfo() Failed - ", [&] {
    Shared().oProductInfo = std::make_unique<TProductInfo>();
    Shared().oProductInfo->InitProductInfo();
  });
}

void TTransactionHook::AddProductInfo(const std::string& strProductCode,
                                      const std::string& strAmount, const std::string& strLitres,
                                      int32_t lQuantity) {
  TrapVoid(error_message_, "TTransactionHook.AddProductInfo() Failed - ", [&] {
    std::unique_ptr<TProductInfo>& products = Shared().oProductInfo;
    if (!products) products = std::make_unique<TProductInfo>();
    products->AddProductInfo(strProductCode, strAmount, strLitres, lQuantity);
  });
}

void TTransactionHook::SetCustomerReceiptStartText(const std::string& strStartText,
                                                   const std::string& strNoChangeText,
                                                   const std::string& strCashbackText) {
  TrapVoid(error_message_, "TTransactionHook.SetCustomerReceiptStartText() Failed - ", [&] {
    Shared().oCustomerReceiptStartText = Parsed(strStartText, strNoChangeText, strCashbackText);
  });
}

void TTransactionHook::SetCustomerReceiptEndText(const std::string& strEndText,
                                                 const std::string& strNoChangeText,
                                                 const std::string& strCashbackText) {
  TrapVoid(error_message_, "TTransactionHook.SetCustomerReceiptEndText() Failed - ", [&] {
    Shared().oCustomerReceiptEndText = Parsed(strEndText, strNoChangeText, strCashbackText);
  });
}

void TTransactionHook::ShowTransactionWindow(TAddinLog& journal) {
  frmTransaction window;
  std::string error;
  if (!CurrentFormLoop().ShowModal(window, error)) {
    error_message_ = "TTransactionHook.RunTenderTransaction() Failed - " + error;
    journal.LogError(error_message_);
  } else if (!window.strErrorMessage().empty()) {
    // The window stayed usable after the failure, but the journal must say what happened.
    journal.LogError(window.strErrorMessage());
  }
}

bool TTransactionHook::RunTenderTransaction(int32_t lTransactionType, int32_t lTransactionAmount,
                                            int32_t lGratuityAmount, int32_t lCashAmount,
                                            const TTillInformation& oTillInfo,
                                            TTransactionInfo& oTransInfo,
                                            const std::string& strReferenceText,
                                            bool bCustomerReceiptDisabled) {
  CreditCardCommon& shared = Shared();
  (void)shared.LoadConfiguration();
  TAddinLog journal;
  journal.StartLog(shared.strConfigFileLocation, false);
  FormCallScope call(&journal);

  bool result = false;
  bool finished = false;
  TrapVoid(error_message_, "TTransactionHook.RunTenderTransaction() Failed - ", [&] {
    shared.lTransactionType = lTransactionType;
    shared.bCustomerReceiptDisabled = bCustomerReceiptDisabled;
    shared.strFuelProductText.clear();
    // A fuel sale is paid with one fuel card: its products cannot be split over cards.
    if (!shared.strFuelType.empty()) shared.bSplitTender = false;
    shared.oTillInfo = oTillInfo;

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

    shared.oTender = std::make_unique<TTender>();
    shared.lTenderIndex = 0;
    (void)shared.oTender->InitialiseTender(0, lTransactionAmount, lGratuityAmount, lCashAmount);
    shared.strReferenceText = strReferenceText;
    // Only the transaction this call's window hands over may reach the till's record, never
    // one an earlier call left behind.
    shared.oCurrentTransaction.reset();
    journal.LogStartTransaction(lTransactionType == TAM_TT_SALE, shared.oTender->GetSaleAmount(0),
                                shared.oTender->GetGratuityAmount(0),
                                shared.oTender->GetCashAmount(0), false, 0, false);

    if (lTransactionAmount > 0) ShowTransactionWindow(journal);

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
  if (!finished) journal.LogError(error_message_);

  shared.HousekeepReceipts();
  journal.EndLog(false);
  shared.DailyTmsCall();
  return result;
}

DispatchPtr ExposeTransactionHook(std::shared_ptr<TTransactionHook> hook) {
  using T = TTransactionHook;
  // The till's records are read before the window opens, so that an unusable record stops
  // the call before anything reaches the server; the outcome is written back afterwards.
  const auto tender = [](DispatchArgs& a, size_t till_at, auto&& run) {
    const TTillInformation till = ReadTillInformation(a.Object(till_at));
    const DispatchPtr trans_object = a.Object(till_at + 1);
    TTransactionInfo trans = ReadTransactionInfo(trans_object);
    const bool paid = run(till, trans);
    WriteTransactionInfo(trans, trans_object);
    return Variant(paid);
  };
  static const auto table =
      DispatchTable<T>()
          .Method("Process", 4, 4,
                  [tender](T& h, DispatchArgs& a) {
                    return tender(a, 2, [&](const auto& till, auto& trans) {
                      return h.Process(a.Int32(0), a.Int32(1), till, trans);
                    });
                  })
          .Method("Process2", 6, 6,
                  [tender](T& h, DispatchArgs& a) {
                    return tender(a, 4, [&](const auto& till, auto& trans) {
                      return h.Process2(a.Int32(0), a.Int32(1), a.Int32(2), a.Int32(3), till,
                                        trans);
                    });
                  })
          .Method("Process3", 5, 5,
                  [tender](T& h, DispatchArgs& a) {
                    return tender(a, 3, [&](const auto& till, auto& trans) {
                      return h.Process3(a.Int32(0), a.Int32(1), a.String(2), till, trans);
                    });
                  })
          .Method("Process4", 6, 6,
                  [tender](T& h, DispatchArgs& a) {
                    return tender(a, 3, [&](const auto& till, auto& trans) {
                      return h.Process4(a.Int32(0), a.Int32(1), a.String(2), till, trans,
                                        a.Bool(5));
                    });
                  })
          .Method("InitialiseProductInfo", 0, 0,
                  [](T& h, DispatchArgs&) {
                    h.InitialiseProductInfo();
                    return Variant();
                  })
          .Method("AddProductInfo", 4, 4,
                  [](T& h, DispatchArgs& a) {
                    h.AddProductInfo(a.String(0), a.String(1), a.String(2), a.Int32(3));
                    return Variant();
                  })
          .Method("SetCustomerReceiptStartText", 3, 3,
                  [](T& h, DispatchArgs& a) {
                    h.SetCustomerReceiptStartText(a.String(0), a.String(1), a.String(2));
                    return Variant();
                  })
          .Method("SetCustomerReceiptEndText", 3, 3,
                  [](T& h, DispatchArgs& a) {
                    h.SetCustomerReceiptEndText(a.String(0), a.String(1), a.String(2));
                    return Variant();
                  })
          .Property("strErrorMessage", [](T& h) { return Variant(h.strErrorMessage()); });
  return ExposeByName(std::move(hook), table);
}

}  // namespace ccaddin
