#include "hooks/t_transaction_hook.h"

#include <utility>

#include "hooks/window_tender.h"
#include "payment/credit_card_common.h"
#include "platform/trap.h"

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

bool TTransactionHook::RunTenderTransaction(int32_t lTransactionType, int32_t lTransactionAmount,
                                            int32_t lGratuityAmount, int32_t lCashAmount,
                                            const TTillInformation& oTillInfo,
                                            TTransactionInfo& oTransInfo,
                                            const std::string& strReferenceText,
                                            bool bCustomerReceiptDisabled) {
  WindowTender tender;
  tender.strFailedPrefix = "TTransactionHook.RunTenderTransaction() Failed - ";
  tender.lTransactionType = lTransactionType;
  tender.lTransactionAmount = lTransactionAmount;
  tender.lGratuityAmount = lGratuityAmount;
  tender.lCashAmount = lCashAmount;
  tender.strReferenceText = strReferenceText;
  tender.bCustomerReceiptDisabled = bCustomerReceiptDisabled;
  return RunWindowTender(tender, oTillInfo, oTransInfo, error_message_);
}

DispatchPtr ExposeTransactionHook(std::shared_ptr<TTransactionHook> hook) {
  using T = TTransactionHook;
  static const auto table =
      DispatchTable<T>()
          .Method("Process", 4, 4,
                  [](T& h, DispatchArgs& a) {
                    return TenderWithTillRecords(a, 2, [&](const auto& till, auto& trans) {
                      return h.Process(a.Int32(0), a.Int32(1), till, trans);
                    });
                  })
          .Method("Process2", 6, 6,
                  [](T& h, DispatchArgs& a) {
                    return TenderWithTillRecords(a, 4, [&](const auto& till, auto& trans) {
                      return h.Process2(a.Int32(0), a.Int32(1), a.Int32(2), a.Int32(3), till,
                                        trans);
                    });
                  })
          .Method("Process3", 5, 5,
                  [](T& h, DispatchArgs& a) {
                    return TenderWithTillRecords(a, 3, [&](const auto& till, auto& trans) {
                      return h.Process3(a.Int32(0), a.Int32(1), a.String(2), till, trans);
                    });
                  })
          .Method("Process4", 6, 6,
                  [](T& h, DispatchArgs& a) {
                    return TenderWithTillRecords(a, 3, [&](const auto& till, auto& trans) {
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
