#include "demo_till.h"

#include <QFontDatabase>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "addin.h"
#include "ccaddin/records.h"
#include "demo_site.h"
#include "platform/text_encoding.h"
#include "reg_admin.h"

namespace ccaddin::demo {

namespace fs = std::filesystem;

// What a button does: which public class it creates and how it calls it.
struct DemoTill::Operation {
  enum Kind { kTender, kSplit, kToken, kVoid, kDuplicate, kReport, kFuelBalance };
  const char* label;
  const char* class_name;
  Kind kind;
  int32_t type;  // transaction type, or report type
};

namespace {

using Op = DemoTill::Operation;

const std::vector<DemoTill::Operation>& Operations() {
  static const std::vector<DemoTill::Operation> ops = {
      {"Sale", "TTransactionHook", Op::kTender, TAM_TT_SALE},
      {"Refund", "TTransactionHook", Op::kTender, TAM_TT_REFUND},
      {"Pre-auth", "TTransactionHook", Op::kTender, TAM_TT_PREAUTH},
      {"Final auth", "TTransactionHook", Op::kTender, TAM_TT_FINALAUTH},
      {"Token sale", "TTokenTransactionHook", Op::kToken, TAM_TT_SALE},
      {"Split", "TTransactionHook", Op::kSplit, TAM_TT_SALE},
      {"Void", "TVoidTransactionHook", Op::kVoid, 0},
      {"Duplicate", "TReceiptHook", Op::kDuplicate, 0},
      {"X report", "TReportHook", Op::kReport, REPORTHOOK_RT_XREPORT},
      {"Z report", "TReportHook", Op::kReport, REPORTHOOK_RT_ZREPORT},
      {"Fuel balance", "TFuelBalanceHook", Op::kFuelBalance, 0},
  };
  return ops;
}

// The fields of the record a cashier or a support engineer looks at first.
constexpr const char* kRecordFields[] = {
    "lResponseCode",     "strAuthorisationCode", "lTransactionRefNo",     "strPanFirst6Digits",
    "strPanLast4Digits", "strSchemeName",        "strEmvAppicationLabel", "strMerchantNo",
    "strTerminalId",     "strCurrencyCode",      "lCustomerVerification", "lCashbackAmount",
    "lDataEntryMethod",  "lCardClass",           "strFuelProducts"};

std::string Lines(std::string text) {
  std::string lines;
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\r') {
      lines += text[i];
    } else if (i + 1 >= text.size() || text[i + 1] != '\n') {
      lines += '\n';
    }
  }
  return lines;
}

// The merchant copy the component saved for this transaction (the site keeps receipts),
// in UTF-8; "" when there is none.
std::string SavedMerchantCopy(const std::string& site, const std::string& ref_no) {
  char key[32];
  std::snprintf(key, sizeof key, "_%010d_", std::atoi(ref_no.c_str()));
  fs::path newest;
  std::error_code ec;
  for (const auto& entry : fs::directory_iterator(fs::path(site) / "receipts", ec)) {
    const std::string name = entry.path().filename().string();
    if (name.rfind("M_", 0) == 0 && name.find(key) != std::string::npos &&
        (newest.empty() || name > newest.filename().string())) {
      newest = entry.path();
    }
  }
  if (newest.empty()) return "";
  std::ifstream in(newest, std::ios::binary);
  return Lines(Windows1252ToUtf8(std::string((std::istreambuf_iterator<char>(in)), {})));
}

const char* ResponseName(const std::string& code) {
  switch (std::atoi(code.c_str())) {
    case TRANSINFO_RC_AUTHORISED:
      return "AUTHORISED";
    case TRANSINFO_RC_DECLINED:
      return "DECLINED";
    case TRANSINFO_RC_CANCELLED:
      return "CANCELLED";
    case TRANSINFO_RC_REFERRED:
      return "REFERRED";
    default:
      return "NO OUTCOME";
  }
}

}  // namespace

DemoTill::DemoTill(Addin& addin, std::string site) : addin_(addin), site_(std::move(site)) {
  setWindowTitle("ccaddin demo till");
  setObjectName("DemoTill");
  auto* grid = new QGridLayout(this);
  const auto box = [&](const char* name, const char* label, int row, const char* text) {
    auto* edit = new QLineEdit(text, this);
    edit->setObjectName(name);
    edit->setAccessibleName(label);
    grid->addWidget(new QLabel(label, this), row, 0);
    grid->addWidget(edit, row, 1, 1, 3);
    return edit;
  };
  amount_ = box("amount", "Amount", 0, "12.50");
  cashback_ = box("cashback", "Cashback", 1, "");
  gratuity_ = box("gratuity", "Gratuity", 2, "");
  reference_ = box("transactionNo", "Transaction no. (void, duplicate)", 3, "");

  std::string error;
  int index = 0;
  for (const Operation& op : Operations()) {
    auto* button = new QPushButton(op.label, this);
    button->setObjectName(op.label);
    ccaddin_object* probe = addin_.Create(op.class_name, error);
    if (probe == nullptr) {
      button->setText(QString("%1\n(not in this build)").arg(op.label));
      button->setToolTip(QString::fromStdString(error));
    }
    addin_.Release(probe);
    connect(button, &QPushButton::clicked, this, [this, &op] { Start(op); });
    grid->addWidget(button, 4 + index / 4, index % 4);
    ++index;
  }
  message_ = new QLabel(this);
  message_->setObjectName("message");
  message_->setWordWrap(true);
  grid->addWidget(message_, 8, 0, 1, 4);
  const QFont fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont);
  record_ = new QPlainTextEdit(this);
  receipts_ = new QPlainTextEdit(this);
  for (QPlainTextEdit* view : {record_, receipts_}) {
    view->setReadOnly(true);
    view->setFont(fixed);
  }
  record_->setObjectName("record");
  receipts_->setObjectName("receipts");
  receipts_->setMinimumWidth(QFontMetrics(fixed).horizontalAdvance(QString(42, 'M')) + 24);
  grid->addWidget(record_, 9, 0, 1, 4);
  grid->addWidget(receipts_, 0, 4, 10, 1);

  // The shop on the receipts; a till would take these from its own configuration.
  till_ = addin_.Create("TTillInformation", error);
  info_ = addin_.Create("TTransactionInfo", error);
  if (till_ == nullptr || info_ == nullptr) {
    Say("The library cannot make the till's records: " + error, true);
    return;
  }
  for (const auto& [name, value] : {std::pair{"strMerchantName", "CCADDIN DEMO SHOP"},
                                    {"strAddressLine1", "1 High Street"},
                                    {"strAddressLine2", "Petersfield"},
                                    {"strAddressLine3", "GU32 3AA"},
                                    {"strSitePhoneNumber", "01730 000000"},
                                    {"strStoreNumber", "1"},
                                    {"strTillNumber", "1"},
                                    {"strReceiptNumber", "1"}}) {
    (void)addin_.Put(till_, name, TextArg(value), error);
  }
}

DemoTill::~DemoTill() {
  addin_.Release(till_);
  addin_.Release(info_);
}

void DemoTill::SetAmount(const QString& amount) {
  amount_->setText(amount);
}

void DemoTill::Run(const QString& operation) {
  for (const Operation& op : Operations()) {
    if (operation == op.label) return Start(op);
  }
  Say("The demo till has no operation \"" + operation.toStdString() + "\"", true);
}

std::string DemoTill::Outcome() const {
  return message_->text().toStdString();
}

std::string DemoTill::Record() const {
  return record_->toPlainText().toStdString();
}

std::string DemoTill::Receipts() const {
  return receipts_->toPlainText().toStdString();
}

void DemoTill::Say(const std::string& text, bool trouble) {
  message_->setText(QString::fromStdString(text));
  message_->setStyleSheet(trouble ? "color: #b00020; font-weight: bold;" : "font-weight: bold;");
}

bool DemoTill::ReadAmount(QLineEdit* box, const char* what, bool needed, int32_t& minor) {
  const std::string text = box->text().trimmed().toStdString();
  minor = 0;
  if (text.empty() && !needed) return true;
  const std::optional<int32_t> parsed = ParseAmount(text);
  if (!parsed || (needed && *parsed == 0)) {
    Say(std::string(what) + " \"" + text +
            "\" is not an amount: pounds and pence such as 12.50, at most 21474836.47",
        true);
    box->setFocus();
    return false;
  }
  minor = *parsed;
  return true;
}

void DemoTill::Start(const Operation& op) {
  std::string error;
  ccaddin_object* hook = addin_.Create(op.class_name, error);
  if (hook == nullptr) {
    Say(std::string(op.label) + " is not available in this build of the library: " + error, true);
    return;
  }
  paid_ = false;
  const auto ref_no = [&](int32_t& value) {
    bool ok = false;
    value = reference_->text().trimmed().toInt(&ok);
    if (!ok || value <= 0) {
      Say(std::string(op.label) + " needs the transaction number, as on the receipt", true);
    }
    return ok && value > 0;
  };
  int32_t amount = 0, cashback = 0, gratuity = 0, number = 0;
  bool done = false;
  switch (op.kind) {
    case Op::kTender:
    case Op::kSplit:
    case Op::kToken:
      if (ReadAmount(amount_, "Amount", true, amount) &&
          ReadAmount(cashback_, "Cashback", false, cashback) &&
          ReadAmount(gratuity_, "Gratuity", false, gratuity)) {
        Tender(hook, op, amount, cashback, gratuity);
      }
      break;
    case Op::kVoid:
    case Op::kDuplicate:
      if (ref_no(number)) {
        done = addin_.CallBool(hook, "Process", {ByRefArg(till_), LongArg(number)}, error);
        Say(std::string(op.label) + (done ? " done" : " not done") +
                (error.empty() ? "" : ": " + error),
            !done);
      }
      break;
    case Op::kReport:
      done = addin_.CallBool(hook, "Process", {ByRefArg(till_), LongArg(op.type)}, error);
      Say(std::string(op.label) + (done ? " printed" : " not printed") +
              (error.empty() ? "" : ": " + error),
          !done);
      break;
    case Op::kFuelBalance:
      done = addin_.CallBool(hook, "Process", {}, error);
      Say("Fuel balance: response " + addin_.Get(hook, "lResponseCode") + ", balance " +
              addin_.Get(hook, "lCardBalance") + " (minor units)" +
              (error.empty() ? "" : ": " + error),
          !done);
      break;
  }
  addin_.Release(hook);
  if (on_ended) on_ended();
}

void DemoTill::Tender(ccaddin_object* hook, const Operation& op, int32_t amount, int32_t cashback,
                      int32_t gratuity) {
  if (cashback > 0 && op.type != TAM_TT_SALE) {
    Say("Cashback goes with a sale only", true);
    return;
  }
  std::string error;
  // A fresh record for every tender, so nothing of the last one shows as this one's.
  ccaddin_object* info = addin_.Create("TTransactionInfo", error);
  if (info == nullptr) {
    Say("The library cannot make a transaction record: " + error, true);
    return;
  }
  addin_.Release(info_);
  info_ = info;
  const std::string db = std::getenv("CCADDIN_REGISTRY") ? std::getenv("CCADDIN_REGISTRY") : "";
  const auto split_tender = [&](const char* on) {
    std::ostringstream ignored;
    RunRegAdmin({"--db", db, "set", "SplitTender", on}, ignored, ignored);
  };
  if (op.kind == Op::kSplit) split_tender("1");  // the window then offers Split Tender
  Say(std::string(op.label) + ": the card terminal takes over", false);
  if (op.kind == Op::kToken) {
    paid_ = addin_.CallBool(
        hook, "Process",
        {LongArg(op.type), LongArg(TAM_TM_CUSTOMERNOTPRESENT), LongArg(amount),
         TextArg(token_.c_str()), TextArg(""), TextArg("DEMO"), ByRefArg(till_), ByRefArg(info_)},
        error);
  } else {
    paid_ = addin_.CallBool(hook, "Process2",
                            {LongArg(op.type), LongArg(amount), LongArg(gratuity),
                             LongArg(cashback), ByRefArg(till_), ByRefArg(info_)},
                            error);
  }
  if (op.kind == Op::kSplit) split_tender("0");
  if (error.empty()) error = addin_.Get(hook, "strErrorMessage");
  const std::string code = addin_.Get(info_, "lResponseCode");
  Say(std::string(op.label) + ": " + (paid_ ? "PAID" : "NOT PAID") + " (" + ResponseName(code) +
          ")" + (error.empty() ? "" : " - " + error),
      !paid_);
  ShowRecord();
  ShowReceipts(addin_.Get(info_, "strCustomerReceipt"));
}

void DemoTill::ShowRecord() {
  std::string text = "TTransactionInfo\n";
  for (const char* field : kRecordFields) {
    const std::string value = addin_.Get(info_, field);
    text +=
        "  " + std::string(field) + std::string(24 - std::string(field).size(), ' ') + value + "\n";
  }
  // The token is the till's to keep for a token sale; it is never shown.
  const std::string token = addin_.Get(info_, "strToken");
  text += std::string("  strToken") + std::string(16, ' ') + (token.empty() ? "" : "(returned)");
  if (!token.empty()) token_ = token;
  record_->setPlainText(QString::fromStdString(text));
  reference_->setText(QString::fromStdString(addin_.Get(info_, "lTransactionRefNo")));
}

void DemoTill::ShowReceipts(const std::string& customer_copy) {
  const std::string merchant = SavedMerchantCopy(site_, addin_.Get(info_, "lTransactionRefNo"));
  const std::string text =
      "--- MERCHANT RECEIPT ---\n" + (merchant.empty() ? "(none saved)\n" : merchant) +
      "\n--- CUSTOMER RECEIPT ---\n" + (customer_copy.empty() ? "(none)\n" : Lines(customer_copy));
  receipts_->setPlainText(QString::fromStdString(text));
}

}  // namespace ccaddin::demo
