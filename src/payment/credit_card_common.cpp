#include "payment/credit_card_common.h"

#include <utility>
#include <vector>

#include "platform/cc_addin_registry.h"
#include "platform/hex.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

thread_local std::unique_ptr<CreditCardCommon> thread_state;

}  // namespace

CreditCardCommon::CreditCardCommon() {
  ResetConfiguration();
}

CreditCardCommon::~CreditCardCommon() = default;

CreditCardCommon& Shared() {
  if (!thread_state) thread_state = std::make_unique<CreditCardCommon>();
  return *thread_state;
}

ScopedSharedState::ScopedSharedState()
    : previous_(std::exchange(thread_state, std::make_unique<CreditCardCommon>())) {}

ScopedSharedState::~ScopedSharedState() {
  thread_state = std::move(previous_);
}

void CreditCardCommon::ResetConfiguration() {
  TrapVoid(error_message_, "CreditCardCommon.ResetConfiguration() Failed - ", [&] {
    static_cast<CcAddinSettingValues&>(*this) = CcAddinSettingValues{};
    lPrinterType = 2;
    lCashbackEntryType = 1;
    bAutoDeclinePinBypass = true;

    // A fresh state has the texts, numbers and switches the reset asks for (transaction
    // mode and fuel balance response code included); the objects move across unchanged.
    SessionState& state = *this;
    SessionState fresh;
    fresh.oTillInfo = std::move(state.oTillInfo);
    fresh.oTender = std::move(state.oTender);
    fresh.oRmsSession = std::move(state.oRmsSession);
    fresh.oProductInfo = std::move(state.oProductInfo);
    fresh.oCustomerReceiptStartText = std::move(state.oCustomerReceiptStartText);
    fresh.oCustomerReceiptEndText = std::move(state.oCustomerReceiptEndText);
    fresh.oCurrentTransaction = std::move(state.oCurrentTransaction);
    fresh.oSerialPrinter = std::move(state.oSerialPrinter);
    state = std::move(fresh);
  });
}

int32_t CreditCardCommon::LoadConfiguration() {
  ResetConfiguration();
  TrapVoid(error_message_, "CreditCardCommon.LoadConfiguration() Failed - ", [&] {
    TCcAddinRegistry registry;
    registry.ReadRegistry();
    static_cast<CcAddinSettingValues&>(*this) = registry;
    // End-to-end encryption needs the card read on the terminal and enquired there.
    if (bE2EEEnabled) {
      bCardEnquiry = true;
      bExternalSwipe = true;
    }
    if (lStartupPosition < 0 || lStartupPosition > 5) lStartupPosition = 0;
    if (!strPrintNormalControl.empty()) {
      strPrintNormalControl = HexToControlString(strPrintNormalControl);
    }
    if (!strPrintBoldControl.empty()) {
      strPrintBoldControl = HexToControlString(strPrintBoldControl);
    }
  });
  return 0;
}

std::string CreditCardCommon::HexToControlString(const std::string& strHex) {
  return Trap(error_message_, "CreditCardCommon.HexToControlString() Failed - ", std::string(),
              [&] {
                THex hex;
                std::vector<uint8_t> bytes;
                if (hex.ConvertHexStringToByteArray(strHex, bytes) != 0) {
                  throw Failure(hex.strErrorMessage());
                }
                return std::string(bytes.begin(), bytes.end());
              });
}

std::string CreditCardCommon::LineEnd() const {
  return bAppendLineFeed ? "\r\n" : "\r";
}

void CreditCardCommon::CloneTransaction(const QlTransaction& oSource) {
  TrapVoid(error_message_, "CreditCardCommon.CloneTransaction() Failed - ",
           [&] { oCurrentTransaction = std::make_unique<QlTransaction>(oSource); });
}

QlRequestSettings MakeQlRequestSettings(const CcAddinSettingValues& config) {
  QlRequestSettings settings;
  settings.bExternalSwipe = config.bExternalSwipe;
  settings.bAutoDeclinePinBypass = config.bAutoDeclinePinBypass;
  settings.lOperatingMode = config.lOperatingMode;
  return settings;
}

}  // namespace ccaddin
