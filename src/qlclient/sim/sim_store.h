// The simulated server's memory: transactions and batches in one SQLite file shared by
// every process naming it, so one process can confirm, reprint or void what another
// authorised. Holds only receipt data (masked card numbers; never track, CV2, PIN or
// token). Calls block on the file, briefly waiting while another process writes.
// The file is kept in write-ahead-log mode with normal synchronisation: a commit is in
// the log before the call returns, so it survives a killed process (what a test bench
// needs), while the log is synced to the disk only at checkpoints, so a power cut may
// lose the last few requests.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "qlclient/ql_transaction.h"

struct sqlite3;

namespace ccaddin::sim {

// Where a stored transaction stands with the server.
enum class StoreState { kPending, kConfirmed, kDeclined, kCancelled };
const char* StoreStateName(StoreState state);

struct StoredTransaction {
  int32_t ref = 0;
  int32_t batch_no = 0;
  std::string created;  // "YYYYMMDD HHMMSS"
  StoreState state = StoreState::kPending;
  bool offline = false;  // made while the terminal was offline
  bool uploaded = true;  // offline transactions: sent at a later online connect
  QlTransaction trans;   // the receipt data, card number masked
};

struct StoredBatch {
  int32_t batch_no = 0;
  std::string opened;
  std::string closed;  // empty while open
  int32_t count = 0;
};

class SimStore {
 public:
  // Opens (creating when missing) the store. Throws Failure with a clear text when the
  // file is not a store of ours or cannot be opened.
  explicit SimStore(const std::string& path);
  ~SimStore();
  SimStore(const SimStore&) = delete;
  SimStore& operator=(const SimStore&) = delete;

  [[nodiscard]] const std::string& path() const { return path_; }

  // Everything one request changes, written in one transaction: all of it or none of
  // it is in the file, and the log is written once. Commit before answering the till,
  // so what the till is told is on file. Writes made inside it (Add, Update, ...) join
  // it; one started while another is open joins the outer one, which decides.
  class Write {
   public:
    explicit Write(SimStore& store);
    ~Write();
    Write(const Write&) = delete;
    Write& operator=(const Write&) = delete;
    void Commit();

   private:
    SimStore& store_;
    bool own_ = false;
  };

  // Records a new transaction in the open batch and returns its reference number,
  // which is also written into `trans`.
  int32_t Add(QlTransaction& trans, bool offline);
  // -1 finds the most recent transaction.
  [[nodiscard]] std::optional<StoredTransaction> Find(int32_t ref);
  void Update(int32_t ref, StoreState state, const QlTransaction& trans);
  // Marks every offline transaction as sent; returns how many there were.
  int32_t UploadOffline();
  // Closes the open batch and opens the next one; returns the closed batch's number.
  int32_t CloseBatch();
  [[nodiscard]] int32_t OpenBatch();
  // batch_no 0: every batch.
  [[nodiscard]] std::vector<StoredTransaction> List(int32_t batch_no);
  [[nodiscard]] std::vector<StoredBatch> Batches();

 private:
  void Exec(const char* sql);
  std::string path_;
  sqlite3* db_ = nullptr;
};

// The stored form of a transaction's receipt data (JSON), and back. The card number
// is masked and the sensitive fields are left out on the way in.
std::string ReceiptRecordToText(const QlTransaction& trans);
QlTransaction ReceiptRecordFromText(const std::string& text);

}  // namespace ccaddin::sim
