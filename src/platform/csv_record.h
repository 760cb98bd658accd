// Builds and splits the comma-separated records of report data files and saved
// transactions. A CSVRecord is a small value owned by the operation that uses it; it
// keeps only the quoting choice and its last failure text. Splitting a quoted field
// yields to the till's message loop after every character (CurrentEnv()->DoEvents()).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace ccaddin {

class CSVRecord {
 public:
  // False: quote only the fields that need it (a "," or a double quote inside);
  // True: quote every field. Quoting doubles the double quotes within.
  bool bEncloseFields = false;

  // Joins elements 0 to iNoFields - 1 of strFields into strRecord: 0 on success, 1 when
  // the array holds fewer than iNoFields elements (strRecord is then left alone).
  // Fields that are not quoted lose their leading and trailing spaces. Each joined
  // element is rewritten in place with the form it has in the record, so callers can
  // see exactly what was written.
  [[nodiscard]] int16_t BuildPacket(std::vector<std::string>& strFields, int16_t iNoFields,
                                    std::string& strRecord);

  // Splits strRecord into strFields (zero-based) and iNoFields: 0 on success, 1 on
  // failure, with strFields and iNoFields then left as they were. A record ending in
  // "," has a final empty field. A quoted field that is followed by anything but
  // spaces and a "," keeps its quotes as written in the record; a quote that is never
  // closed makes the rest of the record, opening quote included, one field.
  [[nodiscard]] int16_t BreakOutFields(std::vector<std::string>& strFields, int16_t& iNoFields,
                                       const std::string& strRecord);

  // The last failure; a later success does not clear it.
  [[nodiscard]] const std::string& strErrorMessage() const { return error_message_; }

 private:
  std::string error_message_;
};

}  // namespace ccaddin
