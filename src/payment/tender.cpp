#include "payment/tender.h"

#include <limits>

#include "payment/credit_card_common.h"
#include "platform/trap.h"
#include "qlclient/ql_factory.h"

namespace ccaddin {

// The texts are those of a trapped run-time error of the original platform (errors 9 and 6),
// so a till's support staff see the same words whichever build they run.
TTender::Part& TTender::At(int32_t lIndex) {
  if (lIndex < 0 || lIndex >= kTenderCount) throw Failure("Subscript out of range");
  return parts_[static_cast<size_t>(lIndex)];
}

int32_t TTender::SumAuthorised(int32_t Part::*field) const {
  int64_t total = 0;
  for (const Part& part : parts_) {
    if (part.state == kStateAuthorised) total += part.*field;
  }
  if (total > std::numeric_limits<int32_t>::max() || total < std::numeric_limits<int32_t>::min()) {
    throw Failure("Overflow");
  }
  return static_cast<int32_t>(total);
}

bool TTender::InitialiseTender(int32_t lIndex, int32_t lSaleAmount, int32_t lGratuityAmount,
                               int32_t lCashAmount) {
  return Trap(error_message_, "TTender.InitialiseTender() Failed - ", false, [&] {
    Part& part = At(lIndex);
    part.sale_amount = lSaleAmount;
    part.gratuity_amount = lGratuityAmount;
    part.cash_amount = lCashAmount;
    part.trans_ref_no = 0;
    part.state = kStatePending;
    return true;
  });
}

bool TTender::UpdateSaleAmount(int32_t lIndex, int32_t lAmount) {
  return Trap(error_message_, "TTender.UpdateSaleAmount() Failed - ", false, [&] {
    At(lIndex).sale_amount = lAmount;
    return true;
  });
}

bool TTender::UpdateCashAmount(int32_t lIndex, int32_t lAmount) {
  return Trap(error_message_, "TTender.UpdateCashAmount() Failed - ", false, [&] {
    At(lIndex).cash_amount = lAmount;
    return true;
  });
}

bool TTender::UpdateTransRefNo(int32_t lIndex, int32_t lTransRefNo) {
  return Trap(error_message_, "TTender.UpdateTransRefNo() Failed - ", false, [&] {
    At(lIndex).trans_ref_no = lTransRefNo;
    return true;
  });
}

bool TTender::UpdateAuthCode(int32_t lIndex, const std::string& strAuthCode) {
  return Trap(error_message_, "TTender.UpdateAuthCode() Failed - ", false, [&] {
    At(lIndex).auth_code = strAuthCode;
    return true;
  });
}

bool TTender::UpdateState(int32_t lIndex, int32_t lState) {
  return Trap(error_message_, "TTender.UpdateState() Failed - ", false, [&] {
    At(lIndex).state = lState;
    return true;
  });
}

int32_t TTender::GetSaleAmount(int32_t lIndex) {
  return Trap(error_message_, "TTender.GetSaleAmount() Failed - ", 0,
              [&] { return At(lIndex).sale_amount; });
}

int32_t TTender::GetGratuityAmount(int32_t lIndex) {
  return Trap(error_message_, "TTender.GetGratuityAmount() Failed - ", 0,
              [&] { return At(lIndex).gratuity_amount; });
}

int32_t TTender::GetCashAmount(int32_t lIndex) {
  return Trap(error_message_, "TTender.GetCashAmount() Failed - ", 0,
              [&] { return At(lIndex).cash_amount; });
}

int32_t TTender::GetTransRefNo(int32_t lIndex) {
  return Trap(error_message_, "TTender.GetTransRefNo() Failed - ", 0,
              [&] { return At(lIndex).trans_ref_no; });
}

std::string TTender::GetAuthCode(int32_t lIndex) {
  return Trap(error_message_, "TTender.GetAuthCode() Failed - ", std::string(),
              [&] { return At(lIndex).auth_code; });
}

int32_t TTender::GetState(int32_t lIndex) {
  return Trap(error_message_, "TTender.GetState() Failed - ", 0, [&] { return At(lIndex).state; });
}

int32_t TTender::GetTotalSaleAmount() {
  return Trap(error_message_, "TTender.GetTotalSaleAmount() Failed - ", 0,
              [&] { return SumAuthorised(&Part::sale_amount); });
}

int32_t TTender::GetTotalCashAmount() {
  return Trap(error_message_, "TTender.GetTotalCashAmount() Failed - ", 0,
              [&] { return SumAuthorised(&Part::cash_amount); });
}

int32_t TTender::GetTotalGratuityAmount() {
  return Trap(error_message_, "TTender.GetTotalGratuityAmount() Failed - ", 0,
              [&] { return SumAuthorised(&Part::gratuity_amount); });
}

void TTender::ConfirmTenders(bool bCancel) {
  TrapVoid(error_message_, "TTender.ConfirmTenders() Failed - ", [&] {
    const CreditCardCommon& config = Shared();
    if (config.lOperatingMode == 1) return;
    bool any_authorised = false;
    for (const Part& part : parts_)
      any_authorised = any_authorised || part.state == kStateAuthorised;
    if (!any_authorised) return;

    QlFactory& factory = CurrentQlFactory();
    const std::unique_ptr<QlParameters> parameters = factory.CreateParameters();
    const std::unique_ptr<QlSession> session = factory.CreateSession();
    const std::unique_ptr<QlLogin> login = factory.CreateLogin();
    const std::unique_ptr<QlConfirm> confirm = factory.CreateConfirm();
    parameters->SetConfigFile(config.strConfigFileLocation, config.strConfigFileName);

    if (session->Connect(*parameters, false, 0) == QL_CONNECT_FAILED &&
        session->Connect(*parameters, true, 0) == QL_CONNECT_FAILED) {
      throw Failure("Connect failed - " + session->strErrorText);
    }
    if (login->Login(config.strQuaylinkMerchantId, config.strQuaylinkClientId,
                     config.strQuaylinkPassword, 1) != QL_LOGIN_LOGGED_IN) {
      // One fresh session; whatever it answers, the parts are sent: a refused login is
      // answered again by each confirmation, which the server then records or refuses.
      session->Disconnect();
      (void)session->Connect(*parameters, true, 0);
      (void)login->Login(config.strQuaylinkMerchantId, config.strQuaylinkClientId,
                         config.strQuaylinkPassword, 1);
    }
    const int32_t confirm_code = bCancel ? QL_CONFIRM_CANCELLED : QL_CONFIRM_AUTHORISED;
    for (const Part& part : parts_) {
      if (part.state != kStateAuthorised) continue;
      QlTransaction result;
      (void)confirm->Confirm(config.strQuaylinkClientId, part.trans_ref_no, confirm_code,
                             part.auth_code, true, result, 0);
    }
    (void)login->Logout();
    session->Disconnect();
  });
}

}  // namespace ccaddin
