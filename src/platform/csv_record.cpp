#include "platform/csv_record.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "platform/env.h"
#include "platform/trap.h"

namespace ccaddin {

namespace {

constexpr char kQuote = '"';

std::string TrimSpaces(const std::string& text) {
  const size_t first = text.find_first_not_of(' ');
  if (first == std::string::npos) return {};
  const size_t last = text.find_last_not_of(' ');
  return text.substr(first, last - first + 1);
}

std::string Quoted(const std::string& text) {
  std::string out;
  out.reserve(text.size() + 2);
  out += kQuote;
  for (char c : text) {
    if (c == kQuote) out += kQuote;
    out += c;
  }
  out += kQuote;
  return out;
}

// The field count is a 16-bit number for every caller; a record with more fields
// cannot be described and fails the way an overflowing count always has.
void AddField(std::vector<std::string>& fields, std::string field) {
  if (fields.size() >= static_cast<size_t>(std::numeric_limits<int16_t>::max())) {
    throw Failure("Overflow");
  }
  fields.push_back(std::move(field));
}

// Reads the unquoted field starting at `p`; returns the position after its ",".
size_t ReadUnquoted(const std::string& record, size_t p, std::string& field) {
  const size_t comma = record.find(',', p);
  const size_t end = comma == std::string::npos ? record.size() : comma;
  field = TrimSpaces(record.substr(p, end - p));
  return comma == std::string::npos ? record.size() : comma + 1;
}

// Reads the quoted field whose opening quote is at `p`; returns where the next field
// starts. Long quoted texts must not freeze the till, so the message loop gets a turn
// after every character.
size_t ReadQuoted(const std::string& record, size_t p, std::string& field) {
  const size_t n = record.size();
  std::string value;
  size_t i = p + 1;
  size_t closing = std::string::npos;
  while (i < n) {
    if (record[i] == kQuote) {
      if (i + 1 < n && record[i + 1] == kQuote) {
        value += kQuote;
        i += 2;
      } else {
        closing = i;
      }
    } else {
      value += record[i];
      ++i;
    }
    CurrentEnv()->DoEvents();
    if (closing != std::string::npos) break;
  }
  if (closing == std::string::npos) {
    // Never closed: keep everything rather than guess where the field was meant to end.
    field = record.substr(p);
    return n;
  }
  size_t next = closing + 1;
  while (next < n && record[next] == ' ') ++next;
  if (next < n && record[next] != ',') {
    // Text after the closing quote: the quotes were not field delimiters after all.
    field = record.substr(p, closing - p + 1);
    return next;
  }
  field = std::move(value);
  return next < n ? next + 1 : n;
}

}  // namespace

int16_t CSVRecord::BuildPacket(std::vector<std::string>& strFields, int16_t iNoFields,
                               std::string& strRecord) {
  if (static_cast<int64_t>(strFields.size()) < iNoFields) {
    error_message_ = "Invalid number of fields : " + std::to_string(iNoFields);
    return 1;
  }
  return Trap(error_message_, "CSVRecord::BuildPacket() - ", int16_t{1}, [&] {
    // Everything is built aside first so that a failure leaves the caller's array and
    // record untouched.
    std::vector<std::string> written;
    written.reserve(iNoFields > 0 ? static_cast<size_t>(iNoFields) : 0);
    std::string record;
    for (int16_t i = 0; i < iNoFields; ++i) {
      const std::string& field = strFields[static_cast<size_t>(i)];
      // Any double quote, not only a leading one, gets the field quoted: a reader then
      // sees the quote doubled and cannot mistake it for a delimiter.
      const bool needs_quotes = field.find_first_of(",\"") != std::string::npos;
      written.push_back(bEncloseFields || needs_quotes ? Quoted(field) : TrimSpaces(field));
      record += written.back();
      if (i + 1 < iNoFields) record += ',';
    }
    for (size_t i = 0; i < written.size(); ++i) strFields[i] = std::move(written[i]);
    strRecord = std::move(record);
    return int16_t{0};
  });
}

int16_t CSVRecord::BreakOutFields(std::vector<std::string>& strFields, int16_t& iNoFields,
                                  const std::string& strRecord) {
  if (strRecord.empty()) {
    error_message_ = "Cannot extract fields from a blank record";
    return 1;
  }
  return Trap(error_message_, "CSVRecord::BreakOutPacket() - ", int16_t{1}, [&] {
    // The message loop runs while quoted fields are read and may touch the caller's
    // text, so the record is parsed from a copy of its own.
    const std::string record = strRecord;
    const size_t n = record.size();
    std::vector<std::string> fields;
    // One allocation for the array: every field but the first follows a ",".
    const auto commas = static_cast<size_t>(std::count(record.begin(), record.end(), ','));
    fields.reserve(std::min<size_t>(commas + 1, std::numeric_limits<int16_t>::max()));
    size_t p = 0;
    for (;;) {
      while (p + 1 < n && record[p] == ' ') ++p;
      std::string field;
      p = record[p] == kQuote ? ReadQuoted(record, p, field) : ReadUnquoted(record, p, field);
      AddField(fields, std::move(field));
      if (p >= n) {
        if (record.back() == ',') AddField(fields, {});
        break;
      }
    }
    iNoFields = static_cast<int16_t>(fields.size());
    strFields = std::move(fields);
    return int16_t{0};
  });
}

}  // namespace ccaddin
