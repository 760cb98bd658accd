// The server's side of stored transactions: confirmation, cancellation and reprint by
// reference, closing the batch, and the open batch's totals data file.
#include <filesystem>
#include <fstream>

#include "platform/env.h"
#include "qlclient/sim/sim_objects.h"
#include "qlclient/sim/sim_terminal.h"

namespace ccaddin::sim {
namespace {

class SimConfirm final : public QlConfirm {
 public:
  int32_t Confirm(const std::string&, int32_t ref, int32_t code, const std::string& auth_code, bool,
                  QlTransaction& oResult, int32_t) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    int32_t result = 0;
    if (Fault(t, "Confirm.Confirm", result, &lErrorCode, strErrorText)) return result;
    if (code < QL_CONFIRM_AUTHORISED || code > QL_CONFIRM_CANCELLED)
      return Fail(kBadRequest, "INVALID CONFIRMATION CODE");
    ReverseStale(*t->store, *t->config);
    auto stored = t->store->Find(ref);
    if (!stored || ref <= 0)
      return Fail(kUnknownReference, "TRANSACTION " + std::to_string(ref) + " NOT FOUND");
    QlTransaction& trans = stored->trans;
    StoreState state = stored->state;
    if (state == StoreState::kCancelled)
      return Fail(kAlreadySettled, "TRANSACTION ALREADY CANCELLED");
    if (state == StoreState::kReversed)
      return Fail(kAlreadySettled, "TRANSACTION REVERSED - NOT CONFIRMED IN TIME");
    if (code == QL_CONFIRM_CANCELLED) {
      // Cancelling works on a pending or a confirmed transaction (a void).
      trans.bCancelled = true;
      state = StoreState::kCancelled;
    } else if (state != StoreState::kPending) {
      return Fail(kAlreadySettled, "TRANSACTION ALREADY CONFIRMED");
    } else if (code == QL_CONFIRM_DECLINED) {
      state = StoreState::kDeclined;
    } else {
      if (trans.lStatus == QL_STATUS_REFERRED) {
        if (auth_code.empty()) return Fail(kBadRequest, "AUTH CODE REQUIRED FOR A REFERRAL");
        trans.lStatus = QL_STATUS_AUTHORISED;
        trans.strAuthCode = auth_code;
        trans.lAuthSource = QL_AUTHSRC_VOICE;
        trans.strResponseText = "AUTH CODE: " + auth_code;
      } else if (trans.lStatus == QL_STATUS_DECLINED) {
        return Fail(kAlreadySettled, "A DECLINED TRANSACTION CANNOT BE CONFIRMED");
      }
      state = StoreState::kConfirmed;
    }
    t->store->Update(stored->ref, state, trans);
    if (LostReply(t, "Confirm.Confirm", result, &lErrorCode, strErrorText)) return result;
    oResult = trans;
    return 0;
  }

 private:
  int32_t Fail(int32_t code, const std::string& text) {
    lErrorCode = code;
    strErrorText = text;
    return 1;
  }
};

class SimReceiptInfo final : public QlReceiptInfo {
 public:
  int32_t Request(const std::string&, int32_t ref, QlTransaction& oTrans) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    int32_t result = 0;
    if (Fault(t, "ReceiptInfo.Request", result, &lErrorCode, strErrorText)) return result;
    auto stored = t->store->Find(ref);
    if (!stored || ref == 0 || ref < -1) {
      lErrorCode = kUnknownReference;
      strErrorText = ref == -1 ? "NO TRANSACTIONS ON FILE"
                               : "TRANSACTION " + std::to_string(ref) + " NOT FOUND";
      return 1;
    }
    oTrans = stored->trans;
    return 0;
  }
};

class SimCloseBatch final : public QlCloseBatch {
 public:
  int32_t Request() override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    int32_t result = 0;
    if (Fault(t, "CloseBatch.Request", result, &lErrorCode, strErrorText)) return result;
    if (lRequestType != QL_CLOSE_BATCH) {
      lErrorCode = kBadRequest;
      strErrorText = "INVALID BATCH REQUEST TYPE";
      return 1;
    }
    ReverseStale(*t->store, *t->config);
    lBatchNo = t->store->CloseBatch();
    return 0;
  }
};

class SimReport final : public QlReport {
 public:
  int32_t Request(bool, const std::string& location, const std::string& option) override {
    Terminal* t = Current();
    if (!Ready(t, *this)) return QL_ANSWER_FAILED;
    int32_t result = 0;
    if (Fault(t, "Report.Request", result, &lErrorCode, strErrorText)) return result;
    // The till names the data file in the option (a name in the folder, or a full
    // path); a location that is itself a ".txt" file is taken as the file; otherwise
    // the file gets a TMP_ name of the current date and time.
    std::filesystem::path file;
    const auto is_file_name = [](const std::string& text) {
      return std::filesystem::path(text).extension() == ".txt";
    };
    if (is_file_name(option)) {
      file = std::filesystem::path(option).is_absolute() ? std::filesystem::path(option)
                                                         : std::filesystem::path(location) / option;
    } else if (is_file_name(location)) {
      file = location;
    } else {
      const DateTime now = CurrentEnv()->Now();
      file =
          std::filesystem::path(location) / ("TMP_" + now.Yyyymmdd() + "_" + now.Hhmmss() + ".txt");
    }
    const bool fuel_only = file.filename().string().rfind("TMP_FUEL_", 0) == 0;
    std::ofstream out(file, std::ios::binary | std::ios::trunc);
    if (!out) {
      lErrorCode = kReportFile;
      strErrorText = "CANNOT WRITE REPORT FILE " + file.string();
      return 1;
    }
    lCount = lSaleTotal = lCashbackTotal = lRefundTotal = 0;
    out << "REFERENCE,DATE,KIND,AMOUNT,CASHBACK,CARD GROUP\r\n";
    ReverseStale(*t->store, *t->config);
    const int32_t batch = t->store->OpenBatch();
    for (const auto& row : t->store->List(batch)) {
      const QlTransaction& x = row.trans;
      if (x.lStatus != QL_STATUS_AUTHORISED ||
          (row.state != StoreState::kPending && row.state != StoreState::kConfirmed))
        continue;
      if (fuel_only && x.lCardType != QL_CARD_FUEL) continue;
      const int32_t type = x.lTransactionTypeCode;
      const bool refund = IsRefundFamily(type);
      const bool cashback = type == QL_TT_SALE_CASHBACK;
      const std::string amount = x.strBaseAmount.empty() ? x.strAmount : x.strBaseAmount;
      const int32_t a = ToInt(amount);
      const int32_t cb = cashback ? ToInt(x.strCashbackAmount) : 0;
      out << row.ref << "," << row.created.substr(0, 8) << ","
          << (refund     ? "F"
              : cashback ? "B"
                         : "A")
          << "," << a << "," << cb << "," << x.strSchemeName << "\r\n";
      ++lCount;
      if (refund)
        lRefundTotal += a;
      else
        lSaleTotal += a;
      lCashbackTotal += cb;
    }
    out.close();
    if (!out) {
      lErrorCode = kReportFile;
      strErrorText = "CANNOT WRITE REPORT FILE " + file.string();
      return 1;
    }
    strDataFile = file.string();
    return 0;
  }
};

}  // namespace

std::unique_ptr<QlConfirm> MakeConfirm() {
  return std::make_unique<SimConfirm>();
}

std::unique_ptr<QlReceiptInfo> MakeReceiptInfo() {
  return std::make_unique<SimReceiptInfo>();
}

std::unique_ptr<QlCloseBatch> MakeCloseBatch() {
  return std::make_unique<SimCloseBatch>();
}

std::unique_ptr<QlReport> MakeReport() {
  return std::make_unique<SimReport>();
}

}  // namespace ccaddin::sim
