#include "payment/records_dispatch.h"

#include <functional>
#include <string>
#include <vector>

namespace ccaddin {

namespace {

// One property of a record; the same list builds the by-name table and the copies to and
// from a till's own record objects, so the two can never disagree on a name.
template <typename T>
struct RecordField {
  std::string name;
  std::function<Variant(const T&)> get;
  std::function<void(T&, const Variant&)> put;
};

template <typename T, typename M>
RecordField<T> Plain(std::string name, M T::*field) {
  return {std::move(name), [field](const T& r) { return Variant(r.*field); },
          [field](T& r, const Variant& v) { r.*field = FromVariant<M>(v); }};
}

// Enumerations are Longs to a till; any Long is taken, as a typed enum property takes it.
template <typename T, typename E>
RecordField<T> Enum(std::string name, E T::*field) {
  return {std::move(name), [field](const T& r) { return Variant(static_cast<int32_t>(r.*field)); },
          [field](T& r, const Variant& v) { r.*field = static_cast<E>(FromVariant<int32_t>(v)); }};
}

const std::vector<RecordField<TTillInformation>>& TillFields() {
  using T = TTillInformation;
  static const std::vector<RecordField<T>> fields = {
      Plain("strMerchantName", &T::strMerchantName),
      Plain("strAddressLine1", &T::strAddressLine1),
      Plain("strAddressLine2", &T::strAddressLine2),
      Plain("strAddressLine3", &T::strAddressLine3),
      Plain("strSitePhoneNumber", &T::strSitePhoneNumber),
      Plain("strTillNumber", &T::strTillNumber),
      Plain("strStoreNumber", &T::strStoreNumber),
      Plain("strReceiptNumber", &T::strReceiptNumber),
  };
  return fields;
}

const std::vector<RecordField<TTransactionInfo>>& TransFields() {
  using T = TTransactionInfo;
  static const std::vector<RecordField<T>> fields = {
      Plain("strAuthorisationCode", &T::strAuthorisationCode),
      Plain("lTransactionRefNo", &T::lTransactionRefNo),
      Enum("lResponseCode", &T::lResponseCode),
      Plain("strPanFirst6Digits", &T::strPanFirst6Digits),
      Plain("strPanLast4Digits", &T::strPanLast4Digits),
      Plain("strSchemeName", &T::strSchemeName),
      Plain("strEmvAppicationLabel", &T::strEmvAppicationLabel),
      Plain("strEmvAppicationId", &T::strEmvAppicationId),
      Plain("strMerchantNo", &T::strMerchantNo),
      Plain("strTerminalId", &T::strTerminalId),
      Plain("strCurrencyCode", &T::strCurrencyCode),
      Enum("lCustomerVerification", &T::lCustomerVerification),
      Plain("lCashbackAmount", &T::lCashbackAmount),
      Enum("lDataEntryMethod", &T::lDataEntryMethod),
      Enum("lCardClass", &T::lCardClass),
      Plain("bFuelBunkerCard", &T::bFuelBunkerCard),
      Plain("bPrintFuelBunkerTotal", &T::bPrintFuelBunkerTotal),
      Plain("lCustomerMileage", &T::lCustomerMileage),
      Plain("strCustomerRegNo", &T::strCustomerRegNo),
      Plain("strCustomerReceipt", &T::strCustomerReceipt),
      Plain("strToken", &T::strToken),
      Plain("strFuelProducts", &T::strFuelProducts),
  };
  return fields;
}

template <typename T>
DispatchTable<T> TableOf(const std::vector<RecordField<T>>& fields) {
  DispatchTable<T> table;
  for (const auto& f : fields) {
    table.Property(
        f.name, [get = f.get](T& r) { return get(r); },
        [put = f.put](T& r, const Variant& v) { put(r, v); });
  }
  return table;
}

const DispatchTable<TTillInformation>& TillTable() {
  static const auto table = TableOf(TillFields());
  return table;
}

const DispatchTable<TTransactionInfo>& TransTable() {
  static const auto table = TableOf(TransFields());
  return table;
}

template <typename T>
T* RecordOf(const DispatchPtr& object) {
  auto* ours = dynamic_cast<TableDispatch<T>*>(object.get());
  return ours == nullptr ? nullptr : &ours->object();
}

template <typename T>
T ReadRecord(const std::vector<RecordField<T>>& fields, const DispatchPtr& object) {
  if (object == nullptr) throw Failure(std::string(kObjectNotSetText));
  if (const T* ours = RecordOf<T>(object)) return *ours;
  const LateObject late(object);
  T record;
  for (const auto& f : fields) {
    const Variant value = late.Get(f.name);
    try {
      f.put(record, value);
    } catch (const DispatchError& e) {
      throw Failure(e.what());
    }
  }
  return record;
}

template <typename T>
void WriteRecord(const std::vector<RecordField<T>>& fields, const T& record,
                 const DispatchPtr& object) {
  if (object == nullptr) throw Failure(std::string(kObjectNotSetText));
  if (T* ours = RecordOf<T>(object)) {
    *ours = record;
    return;
  }
  const LateObject late(object);
  for (const auto& f : fields) late.Put(f.name, f.get(record));
}

}  // namespace

DispatchPtr ExposeTillInformation(std::shared_ptr<TTillInformation> record) {
  return ExposeByName(std::move(record), TillTable());
}

DispatchPtr ExposeTransactionInfo(std::shared_ptr<TTransactionInfo> record) {
  return ExposeByName(std::move(record), TransTable());
}

TTillInformation* TillInformationOf(const DispatchPtr& object) {
  return RecordOf<TTillInformation>(object);
}

TTransactionInfo* TransactionInfoOf(const DispatchPtr& object) {
  return RecordOf<TTransactionInfo>(object);
}

TTillInformation ReadTillInformation(const DispatchPtr& object) {
  return ReadRecord(TillFields(), object);
}

TTransactionInfo ReadTransactionInfo(const DispatchPtr& object) {
  return ReadRecord(TransFields(), object);
}

void WriteTillInformation(const TTillInformation& record, const DispatchPtr& object) {
  WriteRecord(TillFields(), record, object);
}

void WriteTransactionInfo(const TTransactionInfo& record, const DispatchPtr& object) {
  WriteRecord(TransFields(), record, object);
}

}  // namespace ccaddin
