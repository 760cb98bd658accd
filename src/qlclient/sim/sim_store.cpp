#include "qlclient/sim/sim_store.h"

#include <sqlite3.h>

#include <nlohmann/json.hpp>

#include "platform/env.h"
#include "platform/trap.h"
#include "qlclient/sim/sim_card.h"

namespace ccaddin::sim {
namespace {

using nlohmann::json;

// A prepared statement that finalises itself.
class Stmt {
 public:
  Stmt(sqlite3* db, const char* sql) : db_(db) {
    if (sqlite3_prepare_v2(db, sql, -1, &stmt_, nullptr) != SQLITE_OK)
      throw Failure(std::string("Payment simulator server store: ") + sqlite3_errmsg(db));
  }
  ~Stmt() { sqlite3_finalize(stmt_); }
  Stmt(const Stmt&) = delete;
  Stmt& operator=(const Stmt&) = delete;
  Stmt& Bind(int i, int64_t v) {
    sqlite3_bind_int64(stmt_, i, v);
    return *this;
  }
  Stmt& Bind(int i, const std::string& v) {
    sqlite3_bind_text(stmt_, i, v.c_str(), static_cast<int>(v.size()), SQLITE_TRANSIENT);
    return *this;
  }
  bool Step() {
    const int rc = sqlite3_step(stmt_);
    if (rc == SQLITE_ROW) return true;
    if (rc == SQLITE_DONE) return false;
    throw Failure(std::string("Payment simulator server store: ") + sqlite3_errmsg(db_));
  }
  int64_t Int(int col) { return sqlite3_column_int64(stmt_, col); }
  std::string Text(int col) {
    const auto* p = sqlite3_column_text(stmt_, col);
    return p ? reinterpret_cast<const char*>(p) : "";
  }

 private:
  sqlite3* db_;
  sqlite3_stmt* stmt_ = nullptr;
};

std::string Stamp() {
  const DateTime now = CurrentEnv()->Now();
  return now.Yyyymmdd() + " " + now.Hhmmss();
}

StoreState StateFrom(int64_t v) {
  switch (v) {
    case 1:
      return StoreState::kConfirmed;
    case 2:
      return StoreState::kDeclined;
    case 3:
      return StoreState::kCancelled;
    default:
      return StoreState::kPending;
  }
}

const char* kColumns = "ref, batch_no, created, state, offline, uploaded, record";

StoredTransaction Row(Stmt& s) {
  StoredTransaction t;
  t.ref = static_cast<int32_t>(s.Int(0));
  t.batch_no = static_cast<int32_t>(s.Int(1));
  t.created = s.Text(2);
  t.state = StateFrom(s.Int(3));
  t.offline = s.Int(4) != 0;
  t.uploaded = s.Int(5) != 0;
  t.trans = ReceiptRecordFromText(s.Text(6));
  t.trans.lTransRefNo = t.ref;
  return t;
}

}  // namespace

const char* StoreStateName(StoreState state) {
  switch (state) {
    case StoreState::kPending:
      return "pending";
    case StoreState::kConfirmed:
      return "confirmed";
    case StoreState::kDeclined:
      return "declined";
    case StoreState::kCancelled:
      return "cancelled";
  }
  return "pending";
}

SimStore::SimStore(const std::string& path) : path_(path) {
  if (sqlite3_open_v2(path.c_str(), &db_, SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE, nullptr) !=
      SQLITE_OK) {
    std::string why = db_ ? sqlite3_errmsg(db_) : "out of memory";
    sqlite3_close(db_);
    db_ = nullptr;
    throw Failure("Payment simulator server store " + path + " cannot be opened: " + why);
  }
  sqlite3_busy_timeout(db_, 5000);
  try {
    // The first statement reads the file header: a file that is not a database fails
    // here, before anything is written to it.
    Exec("SELECT count(*) FROM sqlite_master");
    Exec("PRAGMA journal_mode=WAL");
    Exec("PRAGMA synchronous=NORMAL");
    Exec(
        "CREATE TABLE IF NOT EXISTS batches(batch_no INTEGER PRIMARY KEY, opened TEXT NOT NULL, "
        "closed TEXT NOT NULL DEFAULT '')");
    Exec(
        "CREATE TABLE IF NOT EXISTS transactions(ref INTEGER PRIMARY KEY AUTOINCREMENT, batch_no "
        "INTEGER NOT NULL,"
        " created TEXT NOT NULL, state INTEGER NOT NULL, offline INTEGER NOT NULL, uploaded "
        "INTEGER NOT NULL,"
        " record TEXT NOT NULL)");
  } catch (const Failure& e) {
    sqlite3_close(db_);
    db_ = nullptr;
    throw Failure("Payment simulator server store " + path + " is not usable: " + e.what());
  }
}

SimStore::~SimStore() {
  sqlite3_close(db_);
}

void SimStore::Exec(const char* sql) {
  char* error = nullptr;
  if (sqlite3_exec(db_, sql, nullptr, nullptr, &error) != SQLITE_OK) {
    std::string why = error ? error : sqlite3_errmsg(db_);
    sqlite3_free(error);
    throw Failure(why);
  }
}

int32_t SimStore::OpenBatch() {
  {
    Stmt s(db_, "SELECT batch_no FROM batches WHERE closed = '' ORDER BY batch_no DESC LIMIT 1");
    if (s.Step()) return static_cast<int32_t>(s.Int(0));
  }
  Stmt add(db_,
           "INSERT INTO batches(batch_no, opened) VALUES((SELECT coalesce(max(batch_no), 0) + 1 "
           "FROM batches), ?)");
  add.Bind(1, Stamp()).Step();
  return static_cast<int32_t>(sqlite3_last_insert_rowid(db_));
}

int32_t SimStore::Add(QlTransaction& trans, bool offline) {
  Write write(*this);
  const int32_t batch = OpenBatch();
  Stmt s(db_,
         "INSERT INTO transactions(batch_no, created, state, offline, uploaded, record) "
         "VALUES(?, ?, 0, ?, ?, ?)");
  trans.strBatchNo = std::to_string(batch);
  s.Bind(1, batch)
      .Bind(2, Stamp())
      .Bind(3, offline ? 1 : 0)
      .Bind(4, offline ? 0 : 1)
      .Bind(5, ReceiptRecordToText(trans));
  s.Step();
  trans.lTransRefNo = static_cast<int32_t>(sqlite3_last_insert_rowid(db_));
  write.Commit();
  return trans.lTransRefNo;
}

std::optional<StoredTransaction> SimStore::Find(int32_t ref) {
  const std::string sql = std::string("SELECT ") + kColumns +
                          (ref == -1 ? " FROM transactions ORDER BY ref DESC LIMIT 1"
                                     : " FROM transactions WHERE ref = ?");
  Stmt s(db_, sql.c_str());
  if (ref != -1) s.Bind(1, ref);
  if (!s.Step()) return std::nullopt;
  return Row(s);
}

void SimStore::Update(int32_t ref, StoreState state, const QlTransaction& trans) {
  Stmt s(db_, "UPDATE transactions SET state = ?, record = ? WHERE ref = ?");
  s.Bind(1, static_cast<int64_t>(state)).Bind(2, ReceiptRecordToText(trans)).Bind(3, ref).Step();
}

int32_t SimStore::UploadOffline() {
  Stmt s(db_, "UPDATE transactions SET uploaded = 1 WHERE uploaded = 0");
  s.Step();
  return sqlite3_changes(db_);
}

int32_t SimStore::CloseBatch() {
  Write write(*this);
  const int32_t batch = OpenBatch();
  Stmt close(db_, "UPDATE batches SET closed = ? WHERE batch_no = ?");
  close.Bind(1, Stamp()).Bind(2, batch).Step();
  Stmt next(db_, "INSERT INTO batches(batch_no, opened) VALUES(?, ?)");
  next.Bind(1, batch + 1).Bind(2, Stamp()).Step();
  write.Commit();
  return batch;
}

SimStore::Write::Write(SimStore& store) : store_(store) {
  if (sqlite3_get_autocommit(store_.db_) == 0) return;  // joins the open one
  store_.Exec("BEGIN IMMEDIATE");
  own_ = true;
}

SimStore::Write::~Write() {
  if (own_) sqlite3_exec(store_.db_, "ROLLBACK", nullptr, nullptr, nullptr);
}

void SimStore::Write::Commit() {
  if (!own_) return;
  store_.Exec("COMMIT");
  own_ = false;
}

std::vector<StoredTransaction> SimStore::List(int32_t batch_no) {
  const std::string sql = std::string("SELECT ") + kColumns + " FROM transactions" +
                          (batch_no ? " WHERE batch_no = ?" : "") + " ORDER BY ref";
  Stmt s(db_, sql.c_str());
  if (batch_no) s.Bind(1, batch_no);
  std::vector<StoredTransaction> rows;
  while (s.Step()) rows.push_back(Row(s));
  return rows;
}

std::vector<StoredBatch> SimStore::Batches() {
  Stmt s(db_,
         "SELECT b.batch_no, b.opened, b.closed, (SELECT count(*) FROM transactions t WHERE "
         "t.batch_no = b.batch_no)"
         " FROM batches b ORDER BY b.batch_no");
  std::vector<StoredBatch> rows;
  while (s.Step()) {
    rows.push_back(
        {static_cast<int32_t>(s.Int(0)), s.Text(1), s.Text(2), static_cast<int32_t>(s.Int(3))});
  }
  return rows;
}

// Only receipt data is kept; the field names follow the contract so the file can be
// read by an integrator with the sqlite3 shell.
// clang-format off
#define CCADDIN_SIM_FIELDS(X)                                                                   \
  X(lEntryMethodCode) X(lMode) X(strExpiryDate) X(strStartDate) X(strIssueNumber)                \
  X(strReferenceText) X(lTransactionTypeCode) X(strAmount) X(strCashbackAmount)                  \
  X(strGratuityAmount) X(strCurrencyCode) X(lCurrencyExponent) X(strReference)                   \
  X(lCustomerPresence) X(lMileage) X(strRegNo) X(strProductRestriction) X(strSupplierId)         \
  X(lStatus) X(strAuthCode) X(strResponseText) X(lProcessingState) X(lAuthSource) X(lCvmCode)    \
  X(bCancelled) X(strCv2AvsResult) X(strAvailableSpend) X(strBatchNo) X(strTransDate)            \
  X(strTransTime) X(strTerminalId) X(strMerchantNo) X(strSchemeName) X(lCardType) X(strAid)      \
  X(strAppLabel) X(strAppPreferredName) X(strCryptogram) X(strPanSeqNo) X(strEmvValues)          \
  X(strCurrencyText) X(strBaseCurrencyText) X(strBaseAmount) X(strExchangeRate)                  \
  X(lTransCurrencyExponent) X(lConversionState) X(strConversionStatement) X(bMerchPrintExpiry)   \
  X(bMerchPrintStartDate) X(bMerchPrintIssueNo) X(bCustPrintExpiry) X(bCustPrintStartDate)       \
  X(bCustPrintIssueNo) X(bMerchPrintCvm) X(bCustPrintCvm) X(bMerchPrintAuthSource)               \
  X(bCustPrintAuthSource) X(strReferralPhoneNo) X(strReferralMerchantId)                         \
  X(strReferralExpiryDate) X(strReferralStartDate) X(strReferralIssueNo)
// clang-format on

// Text inside the component is single-byte (Windows-1252); JSON wants UTF-8. Each
// byte is carried as the code point of the same value, so every byte comes back.
std::string BytesToUtf8(const std::string& bytes) {
  std::string out;
  for (unsigned char c : bytes) {
    if (c < 0x80) {
      out += static_cast<char>(c);
    } else {
      out += static_cast<char>(0xC0 | (c >> 6));
      out += static_cast<char>(0x80 | (c & 0x3F));
    }
  }
  return out;
}

std::string Utf8ToBytes(const std::string& text) {
  std::string out;
  for (size_t i = 0; i < text.size(); ++i) {
    const unsigned char c = static_cast<unsigned char>(text[i]);
    if (c >= 0xC0 && c <= 0xC3 && i + 1 < text.size()) {
      out += static_cast<char>(((c & 0x03) << 6) | (static_cast<unsigned char>(text[++i]) & 0x3F));
    } else {
      out += static_cast<char>(c);
    }
  }
  return out;
}

json ToJson(const std::string& v) {
  return BytesToUtf8(v);
}
template <size_t N>
json ToJson(const std::array<std::string, N>& v) {
  json a = json::array();
  for (const auto& s : v) a.push_back(BytesToUtf8(s));
  return a;
}
template <typename T>
json ToJson(const T& v) {
  return v;
}

void FromJson(const json& j, std::string& v) {
  v = Utf8ToBytes(j.get<std::string>());
}
template <size_t N>
void FromJson(const json& j, std::array<std::string, N>& v) {
  for (size_t i = 0; i < N && i < j.size(); ++i) v[i] = Utf8ToBytes(j.at(i).get<std::string>());
}
template <typename T>
void FromJson(const json& j, T& v) {
  j.get_to(v);
}

std::string ReceiptRecordToText(const QlTransaction& trans) {
  json j;
#define CCADDIN_PUT(f) j[#f] = ToJson(trans.f);
  CCADDIN_SIM_FIELDS(CCADDIN_PUT)
#undef CCADDIN_PUT
  j["strPan"] = ToJson(MaskPan(trans.strPan));
  j["strReferralPan"] = ToJson(MaskPan(trans.strReferralPan));
  return j.dump();
}

QlTransaction ReceiptRecordFromText(const std::string& text) {
  QlTransaction t;
  const json j = json::parse(text, nullptr, false);
  if (j.is_discarded() || !j.is_object())
    throw Failure("Payment simulator server store holds a damaged record");
#define CCADDIN_GET(f) \
  if (j.contains(#f)) FromJson(j.at(#f), t.f);
  CCADDIN_SIM_FIELDS(CCADDIN_GET)
  CCADDIN_GET(strPan)
  CCADDIN_GET(strReferralPan)
#undef CCADDIN_GET
  return t;
}

}  // namespace ccaddin::sim
