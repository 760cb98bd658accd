#include "payment/serialise_trans_info.h"

#include <array>
#include <variant>
#include <vector>

#include "payment/credit_card_common.h"
#include "payment/tamberin_string.h"
#include "platform/csv_record.h"
#include "platform/trap.h"

namespace ccaddin {
namespace {

using Member = std::variant<std::monostate, std::string QlTransaction::*, int32_t QlTransaction::*,
                            bool QlTransaction::*>;

enum class SlotKind { kEmpty, kUnusedSwitch, kField, kMaskedPan, kEmv };

struct Slot {
  SlotKind kind = SlotKind::kEmpty;
  Member member;
  int emv = 0;
};

using Layout = std::array<Slot, TSerialiseTransInfo::kFieldCount>;

Layout MakeLayout() {
  using T = QlTransaction;
  Layout layout{};
  const auto field = [&](int index, Member member) {
    layout[index] = {SlotKind::kField, member, 0};
  };
  field(0, &T::lEntryMethodCode);
  field(1, &T::lMode);
  layout[3] = {SlotKind::kMaskedPan, {}, 0};
  field(6, &T::strReferenceText);
  field(7, &T::strGratuityAmount);
  field(8, &T::lTransactionTypeCode);
  field(9, &T::strAmount);
  field(10, &T::strCashbackAmount);
  field(11, &T::lStatus);
  field(12, &T::strAuthCode);
  field(13, &T::strResponseText);
  field(14, &T::lTransRefNo);
  field(15, &T::lAuthSource);
  field(16, &T::lCustomerPresence);
  field(17, &T::strTerminalId);
  field(18, &T::strMerchantNo);
  field(19, &T::strSchemeName);
  field(20, &T::strCurrencyCode);
  field(25, &T::strCv2AvsResult);
  field(26, &T::strAvailableSpend);
  field(27, &T::strBatchNo);
  field(28, &T::strTransDate);
  field(29, &T::strTransTime);
  const std::array<bool T::*, 10> switches{&T::bMerchPrintExpiry,     &T::bMerchPrintStartDate,
                                           &T::bMerchPrintIssueNo,    &T::bCustPrintExpiry,
                                           &T::bCustPrintStartDate,   &T::bCustPrintIssueNo,
                                           &T::bMerchPrintCvm,        &T::bCustPrintCvm,
                                           &T::bMerchPrintAuthSource, &T::bCustPrintAuthSource};
  for (int i = 31; i <= 53; ++i) layout[i] = {SlotKind::kUnusedSwitch, {}, 0};
  for (size_t i = 0; i < switches.size(); ++i) field(31 + static_cast<int>(i), switches[i]);
  field(54, &T::strReference);
  field(55, &T::strCryptogram);
  field(57, &T::lCvmCode);
  layout[58] = {SlotKind::kUnusedSwitch, {}, 0};
  field(59, &T::strAid);
  field(60, &T::strAppLabel);
  field(61, &T::strAppPreferredName);
  for (int i = 0; i <= QL_EMV_PANSEQNO; ++i) layout[62 + i] = {SlotKind::kEmv, {}, i};
  field(84, &T::lProcessingState);
  field(88, &T::lCurrencyExponent);
  layout[89] = {SlotKind::kEmv, {}, QL_EMV_APPID};
  field(90, &T::bCancelled);
  field(91, &T::lMileage);
  field(92, &T::strRegNo);
  field(93, &T::strPanSeqNo);
  field(94, &T::strCurrencyText);
  field(96, &T::strBaseCurrencyText);
  field(97, &T::strBaseAmount);
  field(98, &T::strExchangeRate);
  layout[99] = {SlotKind::kUnusedSwitch, {}, 0};
  field(100, &T::lConversionState);
  field(101, &T::lCardType);
  return layout;
}

const Layout& RecordLayout() {
  static const Layout layout = MakeLayout();
  return layout;
}

std::string Encode(const Slot& slot, const QlTransaction& trans) {
  switch (slot.kind) {
    case SlotKind::kEmpty:
      return std::string();
    case SlotKind::kUnusedSwitch:
      return "0";
    case SlotKind::kMaskedPan:
      return CreditCardCommon::MaskCardNumber(trans.strPan);
    case SlotKind::kEmv:
      return trans.strEmvValues[static_cast<size_t>(slot.emv)];
    case SlotKind::kField:
      break;
  }
  if (const auto* text = std::get_if<std::string QlTransaction::*>(&slot.member))
    return trans.**text;
  if (const auto* number = std::get_if<int32_t QlTransaction::*>(&slot.member)) {
    return std::to_string(trans.**number);
  }
  return (trans.*std::get<bool QlTransaction::*>(slot.member)) ? "1" : "0";
}

void Decode(const Slot& slot, const std::string& value, QlTransaction& trans) {
  switch (slot.kind) {
    case SlotKind::kEmpty:
    case SlotKind::kUnusedSwitch:
      return;
    case SlotKind::kMaskedPan:
      trans.strPan = value;
      return;
    case SlotKind::kEmv:
      trans.strEmvValues[static_cast<size_t>(slot.emv)] = value;
      return;
    case SlotKind::kField:
      break;
  }
  if (const auto* text = std::get_if<std::string QlTransaction::*>(&slot.member)) {
    trans.** text = value;
  } else if (const auto* number = std::get_if<int32_t QlTransaction::*>(&slot.member)) {
    trans.** number = TamberinString::StrToLong(value);
  } else {
    trans.*std::get<bool QlTransaction::*>(slot.member) = value == "1";
  }
}

}  // namespace

std::string TSerialiseTransInfo::SerialiseObject(const QlTransaction& oTrans) {
  return Trap(error_message_, "TSerialiseTransInfo.SerialiseObject() Failed - ", std::string(),
              [&] {
                const Layout& layout = RecordLayout();
                std::vector<std::string> fields;
                fields.reserve(layout.size());
                for (const Slot& slot : layout) fields.push_back(Encode(slot, oTrans));
                CSVRecord csv;
                std::string record;
                if (csv.BuildPacket(fields, kFieldCount, record) != 0)
                  throw Failure(csv.strErrorMessage());
                return record;
              });
}

void TSerialiseTransInfo::DeSerialiseObject(const std::string& strRecord, QlTransaction& oTrans) {
  TrapVoid(error_message_, "TSerialiseTransInfo.DeSerialiseObject() Failed - ", [&] {
    CSVRecord csv;
    std::vector<std::string> fields;
    int16_t count = 0;
    if (csv.BreakOutFields(fields, count, strRecord) != 0) throw Failure(csv.strErrorMessage());
    if (count < kFieldCount || fields.size() < static_cast<size_t>(kFieldCount)) return;
    const Layout& layout = RecordLayout();
    for (size_t i = 0; i < layout.size(); ++i) Decode(layout[i], fields[i], oTrans);
  });
}

}  // namespace ccaddin
