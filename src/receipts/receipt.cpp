// TReceipt's composition of one copy: the sections in print order, each trapping its
// own failures so that one bad field spoils its section, not the whole receipt file.
#include "receipts/receipt.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <limits>

#include "payment/credit_card_common.h"
#include "platform/env.h"
#include "platform/pad_extract.h"
#include "platform/text_box_format.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {

namespace {

// The receipt prints lStatus 0 as an authorisation not yet confirmed, and 1 as one the
// server confirmed ("TRANSACTION CONFIRMED").
constexpr int32_t kUnconfirmed = QL_STATUS_NONE;
constexpr int32_t kConfirmed = QL_STATUS_AUTHORISED;

const std::string kDots(TReceipt::kWidth, '.');

// An amount field: whole minor units. An empty field counts as nothing; anything that is
// not a whole number is refused rather than printed as a wrong amount.
int64_t AmountOf(const std::string& field) {
  const std::string_view text = TrimSpaces(field);
  if (text.empty()) return 0;
  int64_t value = 0;
  const char* first = text.data();
  const char* last = text.data() + text.size();
  if (*first == '+') ++first;
  const auto [end, ec] = std::from_chars(first, last, value);
  if (ec == std::errc::result_out_of_range) throw Failure("Overflow");
  if (ec != std::errc() || end != last) throw Failure("Type mismatch");
  if (value < std::numeric_limits<int32_t>::min() || value > std::numeric_limits<int32_t>::max()) {
    throw Failure("Overflow");
  }
  return value;
}

std::string Money(int64_t amount, int32_t exponent) {
  if (amount < std::numeric_limits<int32_t>::min() ||
      amount > std::numeric_limits<int32_t>::max()) {
    throw Failure("Overflow");
  }
  return TextBoxFormat::FormatCurrencyDown(static_cast<int32_t>(amount),
                                           static_cast<int16_t>(exponent));
}

std::string EntryMethodName(int32_t code) {
  switch (code) {
    case QL_ENTRY_KEYED:
      return "KEYED";
    case QL_ENTRY_SWIPED:
      return "SWIPED";
    case QL_ENTRY_CHIP:
      return "ICC";
    case QL_ENTRY_TAPPED:
      return "CONTACTLESS";
    default:
      return "";
  }
}

std::string AuthSourceText(int32_t code) {
  switch (code) {
    case QL_AUTHSRC_DEVICE:
    case QL_AUTHSRC_DEVICE_2:
      return "DEVICE GENERATED";
    case QL_AUTHSRC_ONLINE:
      return "ONLINE";
    case QL_AUTHSRC_VOICE:
    case QL_AUTHSRC_VOICE_OFFLINE:
      return "VOICE AUTH";
    case QL_AUTHSRC_PREAUTHORISED:
      return "PRE-AUTHORISED";
    case QL_AUTHSRC_STAND_IN:
      return "STAND-iN";
    default:
      return "";
  }
}

std::string VerificationText(int32_t cvm, int32_t result) {
  switch (cvm) {
    case QL_CVM_PIN:
    case QL_CVM_PIN_2:
      return "PIN VERIFIED";
    case QL_CVM_SIGNATURE:
      return result == QL_STATUS_DECLINED ? "" : "SIGNATURE";
    case QL_CVM_PIN_AND_SIGNATURE:
      return "PIN AND SIGNATURE";
    case QL_CVM_CARDHOLDER_DEVICE:
      return "CARDHOLDER DEVICE";
    default:
      return "NO VERIFICATION";
  }
}

// The dump's labels by bit; printed in the order of kDumpOrder.
constexpr const char* kDumpLabels[QL_EMV_COUNT] = {
    "AppLabel:",   "PrefAppLabel:",  "TransCryptoGram:",
    "Tvr:",        "ResponseCode:",  "CryptoAmt:",
    "CryptoType:", "TermTransDate:", "UnpredictableNo:",
    "Iad:",        "Auc:",           "Cid:",
    "Cvnr:",       "AppVersion:",    "Tsi:",
    "TermType:",   "TermCaps:",      "IacDenial:",
    "IacOnline:",  "IacDefault:",    "DfName:",
    "PanSeqNo:",   "APPID:"};

}  // namespace

// What one copy is composed from: the transaction, the till, the copy and the settings
// read once at the start, so that every section sees the same values.
struct TReceipt::Composition {
  const QlTransaction& trans;
  const TTillInformation& till;
  bool merchant_copy;
  bool duplicate;
  bool print_header;
  bool refund_sig_on_merch_copy;
  int32_t dump_emv_bitmap;
  bool mileage_prompted;
  bool reg_prompted;
  bool supp_id_prompted;
  TProductInfo* products;
};

TReceipt::TReceipt() = default;

TReceipt::~TReceipt() {
  if (file_handle_ > 0) file_system_.CloseFile(file_handle_);
}

int32_t TReceipt::WriteReceiptFile(const QlTransaction& oTrans, const TTillInformation& oTillInfo,
                                   const std::string& strReceiptFolder, bool bMerchantCopy,
                                   bool bDuplicate, const std::string& strFileName,
                                   bool bMemoryOnly) {
  receipt_.clear();
  signature_line_ = false;
  bool spoilt = false;
  std::string file_path;
  const int32_t result =
      Trap(error_message_, "TReceipt.WrtieReceiptFile() Failed - ", int32_t{1}, [&]() -> int32_t {
        memory_only_ = bMemoryOnly;
        short_name_ = !strFileName.empty()
                          ? strFileName
                          : MakeShortFileName(oTillInfo, oTrans.lTransRefNo, CurrentEnv()->Now());
        long_name_ = MakeLongFileName(short_name_, bMerchantCopy, bDuplicate);

        if (!memory_only_) {
          const std::string folder = CreditCardCommon::AddTrailingBackslash(strReceiptFolder);
          // Make the folder and any missing parents, so that a new receipt location set in
          // the settings works without a visit from an engineer.
          if (!folder.empty()) {
            std::string path;
            for (size_t pos = 0; (pos = folder.find('/', pos + 1)) != std::string::npos;) {
              path = folder.substr(0, pos);
              if (!file_system_.FolderExists(path)) (void)file_system_.CreateFolder(path);
            }
          }
          // An empty folder setting names no folder: the receipt must not land wherever the
          // till's working directory happens to be.
          file_path = folder + long_name_;
          if (!folder.empty()) file_system_.OpenFile(file_path, 1, file_handle_);
          if (file_handle_ < 1) {
            file_handle_ = 0;
            error_message_ = "Failed opening receipt file";
            return 1;
          }
        }

        const CreditCardCommon& shared = Shared();
        const Composition c{
            oTrans,
            oTillInfo,
            bMerchantCopy,
            bDuplicate,
            bMerchantCopy ? shared.bPrintMerchantHeader : shared.bPrintCustomerHeader,
            shared.bRefundSigOnMerchCopy,
            shared.lDumpEmvBitmap,
            shared.bMileagePrompted,
            shared.bRegPrompted,
            shared.bSuppIdPrompted,
            shared.oProductInfo.get()};

        spoilt |= !PrintMerchDetails(c);
        AddBlankLines(1);
        AddLine(CentreText(UpperCase("Please keep this copy for your records")));
        AddBlankLines(1);
        spoilt |= !PrintDateTimeReceiptID(c);
        if (!oTrans.strReferenceText.empty())
          AddLine(JoinLeftRight("REF : ", oTrans.strReferenceText));
        spoilt |= !PrintCardNameExpDate(c);
        AddBlankLines(1);
        spoilt |= !PrintTransAmountDetails(c);
        spoilt |= !PrintTrailor(c);
        AddBlankLines(1);
        AddLine(CentreText(bMerchantCopy ? "MERCHANT COPY" : "CUSTOMER COPY"));
        return 0;
      });
  const bool opened = file_handle_ > 0;
  if (opened) {
    file_system_.CloseFile(file_handle_);
    file_handle_ = 0;
  }
  // A section that failed left its own text; the copy is incomplete and must not be
  // taken for a good one. Its file goes, so that printing it fails on the missing file
  // instead of putting half a receipt in the customer's hand.
  if (spoilt || result != 0) {
    if (opened) (void)file_system_.DeleteFile(file_path);
    return 1;
  }
  return 0;
}

void TReceipt::AddLine(const std::string& strText) {
  if (!memory_only_ && file_system_.WriteData(file_handle_, strText, true) != 0) {
    throw Failure(file_system_.strErrorMessage());
  }
  receipt_ += strText;
  receipt_ += "\r\n";
}

void TReceipt::AddBlankLines(int32_t lCount) {
  for (int32_t i = 0; i < lCount; ++i) AddLine("");
}

void TReceipt::WordWrap(const std::string& strText) {
  for (const std::string& line : WrapWords(strText)) AddLine(line);
}

bool TReceipt::PrintMerchDetails(const Composition& c) {
  return Trap(error_message_, "TReceipt.PrintMerchDetails() Failed - ", false, [&] {
    if (c.print_header) {
      for (const std::string* line :
           {&c.till.strMerchantName, &c.till.strAddressLine1, &c.till.strAddressLine2,
            &c.till.strAddressLine3, &c.till.strSitePhoneNumber}) {
        if (!line->empty()) AddLine(*line);
      }
    }
    AddBlankLines(1);
    if (!c.till.strTillNumber.empty() || !c.till.strReceiptNumber.empty()) {
      AddLine(JoinLeftRight(
          c.till.strTillNumber.empty() ? "" : "TILL : " + c.till.strTillNumber,
          c.till.strReceiptNumber.empty() ? "" : "RCPT NO: " + c.till.strReceiptNumber));
    }
    AddLine(JoinLeftRight("MID  : " + MaskKeepLast(c.trans.strMerchantNo, 5),
                          "TID  : " + MaskKeepLast(c.trans.strTerminalId, 4)));
    return true;
  });
}

bool TReceipt::PrintDateTimeReceiptID(const Composition& c) {
  return Trap(error_message_, "TReceipt.PrintDateTimeReceiptID() Failed - ", false, [&] {
    const std::string date = PadExtract::PadString(std::to_string(dtDate.day), 2, 2) + "/" +
                             PadExtract::PadString(std::to_string(dtDate.month), 2, 2) + "/" +
                             PadExtract::PadString(std::to_string(dtDate.year % 100), 2, 2);
    std::string time =
        strTime.substr(0, 2) + ":" + (strTime.size() > 2 ? strTime.substr(2, 2) : "");
    if (time.size() < 5) time.insert(0, 5 - time.size(), ' ');
    AddLine(JoinLeftRight(date + " " + time,
                          PadExtract::PadString(std::to_string(c.trans.lTransRefNo), 2, 8)));
    return true;
  });
}

bool TReceipt::PrintCardNameExpDate(const Composition& c) {
  return Trap(error_message_, "TReceipt.PrintCardNameExpDate() Failed - ", false, [&] {
    const QlTransaction& t = c.trans;
    const bool print_expiry = c.merchant_copy ? t.bMerchPrintExpiry : t.bCustPrintExpiry;
    const bool print_start = c.merchant_copy ? t.bMerchPrintStartDate : t.bCustPrintStartDate;
    const bool print_issue = c.merchant_copy ? t.bMerchPrintIssueNo : t.bCustPrintIssueNo;
    const std::string masked_pan =
        CreditCardCommon::GroupInFours(CreditCardCommon::MaskCardNumber(t.strPan));
    const bool chip = t.lEntryMethodCode == QL_ENTRY_CHIP;
    const bool contactless = t.lEntryMethodCode == QL_ENTRY_TAPPED;

    if (contactless) {
      const std::string label =
          !t.strAppPreferredName.empty() ? t.strAppPreferredName : t.strAppLabel;
      AddLine(UpperCase(t.strSchemeName) + " CONTACTLESS");
      if (!label.empty() && !EqualsIgnoringCase(label, t.strSchemeName)) AddLine(label);
    } else if (chip) {
      const std::string label = !t.strAppPreferredName.empty() ? t.strAppPreferredName
                                : !t.strAppLabel.empty()       ? t.strAppLabel
                                                               : t.strSchemeName;
      AddLine(label != t.strSchemeName
                  ? JoinLeftRight(UpperCase(t.strSchemeName), "(" + label + ")")
                  : UpperCase(t.strSchemeName));
    } else {
      AddLine(t.strSchemeName);
    }

    if (chip || contactless) {
      if (!t.strAid.empty()) AddLine("APP ID: " + t.strAid);
      const std::string expiry = !t.strExpiryDate.empty() && print_expiry
                                     ? "EXPIRY: " + FormatCardDate(t.strExpiryDate)
                                     : "";
      const std::string start =
          !t.strStartDate.empty() && print_start ? "START: " + FormatCardDate(t.strStartDate) : "";
      const std::string sequence = !t.strPanSeqNo.empty() ? "PAN SEQ: " + t.strPanSeqNo : "";
      if (!expiry.empty()) {
        AddLine(JoinLeftRight(expiry + " " + start, sequence));
      } else if (!start.empty()) {
        AddLine(JoinLeftRight(start, sequence));
      } else if (!sequence.empty()) {
        AddLine(sequence);
      }
      if (chip) {
        if (!t.strCryptogram.empty()) {
          AddLine(JoinLeftRight(
              (t.lStatus == QL_STATUS_DECLINED ? "AAC: " : "TC: ") + t.strCryptogram, ""));
        }
        PrintChipDataDump(c);
      }
      AddLine(masked_pan);
      return true;
    }

    if (print_expiry) {
      AddLine(JoinLeftRight(UpperCase(masked_pan),
                            FormatCardDate(std::string(TrimSpaces(t.strExpiryDate)))));
    } else {
      AddLine(UpperCase(masked_pan));
    }
    const std::string start =
        !t.strStartDate.empty() && print_start
            ? "START DATE : " + FormatCardDate(std::string(TrimLeadingSpaces(t.strStartDate)))
            : "";
    const std::string issue = !t.strIssueNumber.empty() && print_issue
                                  ? "ISSUE NO : " + std::string(TrimLeadingSpaces(t.strIssueNumber))
                                  : "";
    if (!start.empty()) {
      AddLine(JoinLeftRight(start, issue));
    } else if (!issue.empty()) {
      AddLine(issue);
    }
    return true;
  });
}

void TReceipt::PrintChipDataDump(const Composition& c) {
  if (c.dump_emv_bitmap <= 0) return;
  AddBlankLines(1);
  // The application identifier comes first, then the others in bit order.
  for (int i = 0; i < QL_EMV_COUNT; ++i) {
    const int bit = i == 0 ? QL_EMV_APPID : i - 1;
    if ((static_cast<uint32_t>(c.dump_emv_bitmap) >> bit) & 1U) {
      AddLine(JoinLeftRight(kDumpLabels[bit], c.trans.strEmvValues[static_cast<size_t>(bit)]));
    }
  }
}

bool TReceipt::PrintTransAmountDetails(const Composition& c) {
  return Trap(error_message_, "TReceiptPrinter.PrintTransAmountDetails() Failed - ", false, [&] {
    const QlTransaction& t = c.trans;
    const int32_t type = t.lTransactionTypeCode;
    struct TypeLines {
      const char* name;
      const char* cancelled;
      bool cancelled_on_own_line;
    };
    static constexpr TypeLines kTypes[] = {{"SALE", "SALE (CANCELLED)", false},
                                           {"SALE WITH CASH", nullptr, true},
                                           {"CASH ADVANCE", "CASH ADV (CANCELLED)", false},
                                           {"PRE AUTH", "PRE AUTH (CANCELLED)", false},
                                           {"FINAL SALE", nullptr, true},
                                           {"REFUND", "REFUND (CANCELLED)", false},
                                           {"CHEQUE AUTH", nullptr, true},
                                           {"PRE AUTH", "PRE AUTH (CANCELLED)", false},
                                           {"FINAL REFUND", nullptr, true}};
    if (type >= QL_TT_SALE && type <= QL_TT_FINAL_REFUND) {
      const TypeLines& lines = kTypes[type - QL_TT_SALE];
      if (!t.bCancelled) {
        AddLine(lines.name);
      } else if (lines.cancelled_on_own_line) {
        AddLine(lines.name);
        AddLine("(CANCELLED)");
      } else {
        AddLine(lines.cancelled);
      }
    } else {
      AddLine("");
    }

    if (t.lCardType == QL_CARD_FUEL) {
      if (c.products != nullptr) {
        for (int32_t i = 0; i < c.products->lReceiptLines(); ++i) {
          AddLine(c.products->GetReceiptLine(i, c.merchant_copy));
        }
      }
      if (c.reg_prompted || c.mileage_prompted || c.supp_id_prompted) {
        AddBlankLines(1);
        AddLine(JoinLeftRight(c.mileage_prompted ? "MILEAGE: " + std::to_string(t.lMileage) : "",
                              c.reg_prompted ? "REG: " + t.strRegNo : ""));
        if (c.supp_id_prompted && !t.strSupplierId.empty()) AddLine("SUPPID: " + t.strSupplierId);
      }
    } else {
      const bool converted = t.lConversionState == QL_DCC_ACCEPTED;
      const std::string& currency = converted ? t.strBaseCurrencyText : t.strCurrencyText;
      const int64_t sale_amount = AmountOf(converted ? t.strBaseAmount : t.strAmount);
      const int64_t cash_amount = AmountOf(t.strCashbackAmount);
      const int64_t gratuity_amount = AmountOf(t.strGratuityAmount);
      const std::string sale = currency + Money(sale_amount, lCurrencyExponent);
      const std::string cash = currency + Money(cash_amount, lCurrencyExponent);
      if (type == QL_TT_SALE || (type >= QL_TT_PREAUTH && type <= QL_TT_FINAL_REFUND)) {
        AddLine(JoinLeftRight("AMOUNT ", sale));
      } else if (type == QL_TT_CASH_ADVANCE) {
        AddLine(JoinLeftRight("CASH ", cash));
      } else {
        AddLine(JoinLeftRight("AMOUNT ", sale));
        AddLine(JoinLeftRight("CASH ", cash));
      }
      if (gratuity_amount > 0) {
        AddLine(JoinLeftRight("GRATUITY ", currency + Money(gratuity_amount, lCurrencyExponent)));
      }

      if (!converted) {
        const int64_t total = AmountOf(t.strAmount) + cash_amount + gratuity_amount;
        AddLine(JoinLeftRight("TOTAL ", std::string(TrimSpaces(t.strCurrencyText)) +
                                            Money(total, lCurrencyExponent)));
      } else {
        const std::string converted_amount = Money(AmountOf(t.strAmount), t.lTransCurrencyExponent);
        AddLine("EX RATE: 1 " + t.strBaseCurrencyText + " = " + t.strExchangeRate + " " +
                t.strCurrencyText);
        AddLine(RightJustify40(t.strCurrencyText + converted_amount));
        AddLine(RightJustify40("TRANSACTION CURRENCY"));
        AddLine(
            JoinLeftRight("TOTAL ", std::string(TrimSpaces(t.strCurrencyText)) + converted_amount));
      }
    }

    if ((t.lStatus == kUnconfirmed || t.lStatus == kConfirmed) && !t.bCancelled) {
      AddBlankLines(1);
      const bool debit =
          (type >= QL_TT_SALE && type <= QL_TT_FINALAUTH) || type == QL_TT_CHEQUE_AUTH;
      AddLine(CentreText(debit ? "YOUR ACCOUNT WILL BE DEBITED" : "YOUR ACCOUNT WILL BE CREDITED"));
      AddLine(CentreText("WITH THE ABOVE AMOUNT"));
      if (t.lStatus == kConfirmed) {
        AddBlankLines(1);
        AddLine(CentreText("TRANSACTION CONFIRMED"));
      }
    }
    return true;
  });
}

bool TReceipt::PrintTrailor(const Composition& c) {
  return Trap(error_message_, "TReceipt.PrintTrailor() Failed - ", false, [&] {
    const QlTransaction& t = c.trans;
    AddBlankLines(1);
    const bool print_cvm = c.merchant_copy ? t.bMerchPrintCvm : t.bCustPrintCvm;
    const bool print_source = c.merchant_copy ? t.bMerchPrintAuthSource : t.bCustPrintAuthSource;
    const std::string verification = print_cvm ? VerificationText(t.lCvmCode, t.lStatus) : "";
    const std::string entry =
        EntryMethodName(t.lEntryMethodCode) + " " + (t.lCustomerPresence == 1 ? "CP" : "CNP");
    const std::string source = AuthSourceText(t.lAuthSource);
    const std::string entry_line = entry + " " + verification;

    if (t.lConversionState == QL_DCC_ACCEPTED) {
      WordWrap(t.strConversionStatement);
      AddBlankLines(1);
    }

    auto available_spend = [&] {
      if (!c.merchant_copy && t.lEntryMethodCode == QL_ENTRY_TAPPED &&
          !t.strAvailableSpend.empty()) {
        AddLine(JoinLeftRight("AVAILABLE SPEND: ",
                              std::string(TrimSpaces(t.strCurrencyText)) +
                                  FormatAmount(static_cast<int32_t>(AmountOf(t.strAvailableSpend)),
                                               lCurrencyExponent)));
      }
    };
    auto closed_block = [&](const char* status) {
      AddLine(entry_line);
      if (print_source) AddLine("AUTH SOURCE : " + source);
      available_spend();
      AddBlankLines(1);
      AddLine(CentreText(status));
    };

    switch (t.lStatus) {
      case kUnconfirmed:
      case kConfirmed:
        if (t.bCancelled) {
          closed_block("TRANSACTION CANCELLED");
          break;
        }
        PrintSignatureLines(c);
        if (TrimSpaces(t.strAuthCode).empty() ||
            UpperCase(t.strResponseText).find("BAL") != std::string::npos) {
          AddLine(UpperCase(t.strResponseText));
        } else {
          AddLine(UpperCase("AUTH CODE:" + t.strAuthCode));
        }
        AddLine(entry_line);
        if (t.lStatus != kUnconfirmed && print_source) AddLine("AUTH SOURCE : " + source);
        available_spend();
        break;
      case QL_STATUS_REFERRED:
        closed_block("TRANSACTION REFERRED");
        break;
      case QL_STATUS_DECLINED:
        closed_block("TRANSACTION DECLINED");
        break;
      default:
        break;
    }

    if (c.duplicate) {
      AddBlankLines(1);
      AddLine(CentreText("DUPLICATE RECEIPT"));
    }
    return true;
  });
}

void TReceipt::PrintSignatureLines(const Composition& c) {
  const QlTransaction& t = c.trans;
  const int32_t type = t.lTransactionTypeCode;
  const bool refund_family = IsRefundFamily(type);
  const bool customer_present = t.lCustomerPresence == 1;
  const bool signature_verified = customer_present && (t.lCvmCode == QL_CVM_SIGNATURE ||
                                                       t.lCvmCode == QL_CVM_PIN_AND_SIGNATURE);
  const char* caption = nullptr;
  if (c.refund_sig_on_merch_copy) {
    if (c.merchant_copy && signature_verified) caption = "(Cardholder Signature)";
  } else if (!c.merchant_copy && customer_present && refund_family) {
    caption = "(Merchant Signature)";
  } else if (c.merchant_copy && signature_verified && !refund_family) {
    caption = "(Cardholder Signature)";
  }
  if (caption != nullptr) {
    signature_line_ = true;
    AddLine(kDots);
    AddLine(caption);
  }
}

}  // namespace ccaddin
