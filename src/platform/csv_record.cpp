#include "platform/csv_record.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

#include "platform/env.h"
#include "platform/text_rules.h"
#include "platform/trap.h"

namespace ccaddin {

namespace {

constexpr char kQuote = '"';

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
      written.push_back(bEncloseFields || needs_quotes ? Quoted(field)
                                                       : std::string(TrimSpaces(field)));
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
  return Trap(error_message_, kBreakOutFailed, int16_t{1}, [&] {
    // The message loop runs while quoted fields are read and may touch the caller's
    // text, and the reader rewrites what it reads: the record is parsed from a copy.
    std::string record = strRecord;
    std::vector<std::string> fields;
    // One allocation for the array: every field but the first follows a ",".
    const auto commas = static_cast<size_t>(std::count(record.begin(), record.end(), ','));
    fields.reserve(std::min<size_t>(commas + 1, std::numeric_limits<int16_t>::max()));
    CsvFieldReader reader(record.data(), record.size());
    std::string_view field;
    while (reader.Next(field)) fields.emplace_back(field);
    iNoFields = static_cast<int16_t>(fields.size());
    strFields = std::move(fields);
    return int16_t{0};
  });
}

void CsvFieldReader::ThrowOverflow() {
  throw Failure("Overflow");
}

// Long quoted texts must not freeze the till, so the message loop gets a turn after
// every character.
char* CsvFieldReader::ReadQuoted(char* p, char* end, std::string_view& field) {
  char* i = p + 1;
  char* closing = nullptr;
  bool doubled = false;
  while (i < end) {
    if (*i == kQuote) {
      if (i + 1 < end && i[1] == kQuote) {
        doubled = true;
        i += 2;
      } else {
        closing = i;
      }
    } else {
      ++i;
    }
    CurrentEnv()->DoEvents();
    if (closing != nullptr) break;
  }
  if (closing == nullptr) {
    // Never closed: keep everything rather than guess where the field was meant to end.
    field = std::string_view(p, static_cast<size_t>(end - p));
    return end;
  }
  char* next = closing + 1;
  while (next < end && *next == ' ') ++next;
  if (next < end && *next != ',') {
    // Text after the closing quote: the quotes were not field delimiters after all.
    field = std::string_view(p, static_cast<size_t>(closing + 1 - p));
    return next;
  }
  // Only now that the field is known to be quoted may its doubled quotes be undone;
  // the value never grows, so it is written over its own text.
  char* const value = p + 1;
  char* out = value;
  if (doubled) {
    for (const char* in = value; in < closing; ++in, ++out) {
      *out = *in;
      if (*in == kQuote) ++in;
    }
  } else {
    out = closing;
  }
  field = std::string_view(value, static_cast<size_t>(out - value));
  return next < end ? next + 1 : end;
}

}  // namespace ccaddin
