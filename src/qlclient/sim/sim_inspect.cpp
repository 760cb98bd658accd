#include "qlclient/sim/sim_inspect.h"

#include <filesystem>
#include <iomanip>

#include "qlclient/ql_codes.h"
#include "qlclient/sim/sim_config.h"
#include "qlclient/sim/sim_store.h"

namespace ccaddin::sim {
namespace {

const char* kUsage =
    "usage: ccaddin-qlsim-store <store.sqlite | configuration.json> [command]\n"
    "  transactions [batch]   list transactions (all batches, or one)\n"
    "  batches                list batches with their transaction counts\n"
    "  show <reference>       every stored field of one transaction (-1: the last)\n";

const char* TypeName(int32_t type) {
  switch (type) {
    case QL_TT_SALE:
      return "SALE";
    case QL_TT_SALE_CASHBACK:
      return "SALE+CASH";
    case QL_TT_CASH_ADVANCE:
      return "CASH ADV";
    case QL_TT_PREAUTH:
      return "PRE AUTH";
    case QL_TT_FINALAUTH:
      return "FINAL";
    case QL_TT_REFUND:
      return "REFUND";
    default:
      return "OTHER";
  }
}

const char* StatusName(int32_t status) {
  switch (status) {
    case QL_STATUS_AUTHORISED:
      return "AUTHORISED";
    case QL_STATUS_REFERRED:
      return "REFERRED";
    case QL_STATUS_DECLINED:
      return "DECLINED";
    default:
      return "NONE";
  }
}

bool ParseInt(const std::string& text, int32_t& value) {
  try {
    size_t used = 0;
    value = std::stoi(text, &used);
    return used == text.size();
  } catch (...) {
    return false;
  }
}

void PrintTransactions(SimStore& store, int32_t batch, std::ostream& out) {
  out << std::left << std::setw(6) << "REF" << std::setw(6) << "BATCH" << std::setw(16) << "CREATED"
      << std::setw(10) << "TYPE" << std::right << std::setw(10) << "AMOUNT"
      << "  " << std::left << std::setw(12) << "SCHEME" << std::setw(20) << "CARD" << std::setw(11)
      << "RESULT" << std::setw(10) << "STATE"
      << "NOTE\n";
  const auto rows = store.List(batch);
  for (const auto& row : rows) {
    const QlTransaction& t = row.trans;
    std::string note;
    if (row.offline) note = row.uploaded ? "offline, uploaded" : "offline, not uploaded";
    out << std::left << std::setw(6) << row.ref << std::setw(6) << row.batch_no << std::setw(16)
        << row.created << std::setw(10) << TypeName(t.lTransactionTypeCode) << std::right
        << std::setw(10) << t.strAmount << "  " << std::left << std::setw(12) << t.strSchemeName
        << std::setw(20) << t.strPan << std::setw(11) << StatusName(t.lStatus) << std::setw(10)
        << StoreStateName(row.state) << note << "\n";
  }
  out << rows.size() << " transaction(s)\n";
}

void PrintBatches(SimStore& store, std::ostream& out) {
  out << std::left << std::setw(7) << "BATCH" << std::setw(17) << "OPENED" << std::setw(17)
      << "CLOSED"
      << "TRANSACTIONS\n";
  for (const auto& b : store.Batches()) {
    out << std::left << std::setw(7) << b.batch_no << std::setw(17) << b.opened << std::setw(17)
        << (b.closed.empty() ? "(open)" : b.closed) << b.count << "\n";
  }
}

}  // namespace

int InspectStore(const std::vector<std::string>& args, std::ostream& out, std::ostream& err) {
  if (args.empty() || args[0] == "-h" || args[0] == "--help") {
    (args.empty() ? err : out) << kUsage;
    return args.empty() ? 2 : 0;
  }
  try {
    std::string path = args[0];
    if (std::filesystem::path(path).extension() == ".json") path = LoadSimConfig(path).store_path;
    if (!std::filesystem::exists(path)) {
      err << "No simulator store at " << path << "\n";
      return 1;
    }
    SimStore store(path);
    const std::string command = args.size() > 1 ? args[1] : "transactions";
    if (command == "transactions") {
      int32_t batch = 0;
      if (args.size() > 2 && (!ParseInt(args[2], batch) || batch < 1)) {
        err << "Batch number must be a whole number from 1: " << args[2] << "\n";
        return 2;
      }
      PrintTransactions(store, batch, out);
    } else if (command == "batches") {
      PrintBatches(store, out);
    } else if (command == "show") {
      int32_t ref = 0;
      if (args.size() < 3 || !ParseInt(args[2], ref)) {
        err << kUsage;
        return 2;
      }
      const auto row = store.Find(ref);
      if (!row) {
        err << "Transaction " << ref << " is not in the store\n";
        return 1;
      }
      out << "ref " << row->ref << ", batch " << row->batch_no << ", created " << row->created
          << ", " << StoreStateName(row->state) << (row->offline ? ", offline" : "") << "\n"
          << ReceiptRecordToText(row->trans) << "\n";
    } else {
      err << "Unknown command \"" << command << "\"\n" << kUsage;
      return 2;
    }
    return 0;
  } catch (const std::exception& e) {
    err << e.what() << "\n";
    return 1;
  }
}

}  // namespace ccaddin::sim
