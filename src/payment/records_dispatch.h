// TTillInformation and TTransactionInfo as objects called by member name: how the C ABI
// creates them for a till, and how a hook reads and fills the records a till passes to it.
// An object made here shares ownership of its record; reading or writing a till's own
// record object calls it property by property. Nothing blocks beyond the till's object.
#pragma once

#include <memory>

#include "ccaddin/records.h"
#include "platform/dispatch.h"

namespace ccaddin {

// Every property under its own name; booleans as Boolean values, enumerations as Longs.
[[nodiscard]] DispatchPtr ExposeTillInformation(
    std::shared_ptr<TTillInformation> record = std::make_shared<TTillInformation>());
[[nodiscard]] DispatchPtr ExposeTransactionInfo(
    std::shared_ptr<TTransactionInfo> record = std::make_shared<TTransactionInfo>());

// The record behind an object that the functions above made; nullptr for any other object.
[[nodiscard]] TTillInformation* TillInformationOf(const DispatchPtr& object);
[[nodiscard]] TTransactionInfo* TransactionInfoOf(const DispatchPtr& object);

// Copies between a record and the object a till passed for it: one of ours directly, any
// other by getting or putting every property by name. For code inside Trap: Nothing, or
// a property the object refuses, throws a Failure with the call's error text.
[[nodiscard]] TTillInformation ReadTillInformation(const DispatchPtr& object);
[[nodiscard]] TTransactionInfo ReadTransactionInfo(const DispatchPtr& object);
void WriteTillInformation(const TTillInformation& record, const DispatchPtr& object);
void WriteTransactionInfo(const TTransactionInfo& record, const DispatchPtr& object);

}  // namespace ccaddin
