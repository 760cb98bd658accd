#include "pending_authorisations.h"

#include <filesystem>
#include <iomanip>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "payment/authorisation_recovery.h"
#include "payment/credit_card_common.h"
#include "platform/addin_log.h"
#include "qlclient/ql_codes.h"
#include "qlclient/ql_factory.h"
#include "qlclient/sim/sim_inspect.h"
#include "qlclient/sim/simulator.h"

namespace ccaddin {
namespace {

constexpr int kExitOk = 0;
constexpr int kExitFailed = 2;

// Saved transactions by the server's reference number: "0000000042_20260115_1030.rcpt".
std::map<int32_t, std::string> SavedRecords(const std::string& folder) {
  std::map<int32_t, std::string> saved;
  std::error_code ec;
  for (const auto& entry : std::filesystem::directory_iterator(folder, ec)) {
    const std::filesystem::path name = entry.path().filename();
    const std::string stem = name.stem().string();
    if (name.extension() != ".rcpt" || stem.size() < 11 || stem[10] != '_' ||
        stem.find_first_not_of("0123456789") != 10) {
      continue;
    }
    saved[std::stoi(stem.substr(0, 10))] = stem;
  }
  return saved;
}

// Connects and logs in as the till would, for the cancellations.
class Session {
 public:
  explicit Session(const CreditCardCommon& config) : request_(MakeQlRequestSettings(config)) {
    int32_t result = QL_REQ_UNEXPECTED;
    request_.Connect(*session_, *parameters_, config.strConfigFileLocation,
                     config.strConfigFileName, result);
    if (result == QL_REQ_DONE) {
      request_.ProcessLogin(*login_, config.strQuaylinkMerchantId, config.strQuaylinkClientId,
                            config.strQuaylinkPassword, result);
    }
    if (result != QL_REQ_DONE) {
      throw std::runtime_error("the payment server cannot be reached: " +
                               request_.strErrorMessage());
    }
  }
  ~Session() {
    int32_t ignored = 0;
    request_.ProcessLogout(*login_, ignored);
    request_.Disconnect(*session_, ignored);
  }
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

 private:
  TProcessQlRequest request_;
  std::unique_ptr<QlSession> session_ = CurrentQlFactory().CreateSession();
  std::unique_ptr<QlParameters> parameters_ = CurrentQlFactory().CreateParameters();
  std::unique_ptr<QlLogin> login_ = CurrentQlFactory().CreateLogin();
};

}  // namespace

int RunPendingAuthorisations(std::optional<int32_t> cancel, bool cancel_orphans,
                             std::ostream& out) {
  const CreditCardCommon& config = Shared();
  const std::string folder = CreditCardCommon::AddTrailingBackslash(config.strConfigFileLocation);
  const std::vector<sim::StoredTransaction> pending =
      sim::PendingAuthorisations(folder + config.strConfigFileName);
  const std::map<int32_t, std::string> saved =
      SavedRecords(CreditCardCommon::AddTrailingBackslash(config.strReceiptFileLocation));

  out << std::left << std::setw(8) << "REF" << std::setw(17) << "CREATED" << std::right
      << std::setw(10) << "AMOUNT"
      << "  " << std::left << std::setw(20) << "CARD" << std::setw(12) << "RESULT"
      << "SAVED RECORD\n";
  std::vector<const sim::StoredTransaction*> targets;
  for (const sim::StoredTransaction& row : pending) {
    const auto held = saved.find(row.ref);
    out << std::left << std::setw(8) << row.ref << std::setw(17) << row.created << std::right
        << std::setw(10) << row.trans.strAmount << "  " << std::left << std::setw(20)
        << row.trans.strPan << std::setw(12) << sim::StatusName(row.trans.lStatus)
        << (held != saved.end() ? held->second : "none: the till cannot confirm it") << "\n";
    if ((cancel && *cancel == row.ref) || (cancel_orphans && held == saved.end())) {
      targets.push_back(&row);
    }
  }
  out << pending.size() << " pending authorisation(s)\n";
  if (cancel && targets.empty()) {
    throw std::runtime_error("authorisation " + std::to_string(*cancel) +
                             " is not pending at the server");
  }
  if (targets.empty()) return kExitOk;

  const Session session(config);
  TAddinLog journal;
  journal.StartLog(config.strConfigFileLocation, true);
  int exit = kExitOk;
  for (const sim::StoredTransaction* row : targets) {
    const CancelOutcome outcome = CancelAuthorisationAtServer(
        row->trans, config.strQuaylinkClientId, MakeQlRequestSettings(config), journal);
    out << (outcome.bCancelled ? "Cancelled " : "NOT cancelled ") << row->ref
        << (outcome.bCancelled ? "" : ": " + outcome.strText) << "\n";
    if (!outcome.bCancelled) exit = kExitFailed;
  }
  journal.EndLog(true);
  return exit;
}

}  // namespace ccaddin
