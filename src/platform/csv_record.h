// Builds and splits the comma-separated records of report data files and saved
// transactions. A CSVRecord is a small value owned by the operation that uses it; it
// keeps only the quoting choice and its last failure text. Splitting a quoted field
// yields to the till's message loop after every character (CurrentEnv()->DoEvents()).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace ccaddin {

// Reads the fields of one record where it lies, for callers that split many records
// and cannot afford a string per field (a report data file holds a million). The
// record is a buffer the caller owns and lets the reader rewrite: a quoted field's
// doubled quotes are undone in place. Each field comes back as a view into that
// buffer. The splitting rules are those of CSVRecord::BreakOutFields, which is built
// on this reader; reading a quoted field yields to the message loop after every
// character, and the 32768th field of a record throws Failure("Overflow").
class CsvFieldReader {
 public:
  // `size` must not be 0: an empty record has no fields at all.
  CsvFieldReader(char* record, size_t size) : begin_(record), next_(record), end_(record + size) {}

  // The next field, or false when the record has none left. Inline, with the state in
  // a few pointers the compiler keeps in registers: it runs for every field of every
  // record.
  bool Next(std::string_view& field) {
    if (next_ == nullptr) return false;
    if (next_ == end_) {
      // The record ended in ",": one more, empty, field.
      field = {};
      next_ = nullptr;
    } else {
      char* p = next_;
      // Leading spaces are skipped, but a record of spaces still has its one field.
      while (p + 1 < end_ && *p == ' ') ++p;
      p = *p == '"' ? ReadQuoted(p, end_, field) : ReadUnquoted(p, end_, field);
      next_ = p < end_ ? p : end_[-1] == ',' ? end_ : nullptr;
    }
    if (count_ == kMostFields) ThrowOverflow();
    ++count_;
    return true;
  }

 private:
  // The field count is a 16-bit number for every caller; a record with more fields
  // cannot be described and fails the way an overflowing count always has.
  static constexpr int kMostFields = 32767;
  [[noreturn]] static void ThrowOverflow();

  // The first "," from `p`, or `end`. Fields are a few characters long, so a call to
  // memchr costs more than the search, and a byte loop mispredicts its exit on every
  // field: sixteen bytes are compared at once instead. The last sixteen bytes of the
  // record are read as one block ending at `end`, so nothing beyond it is touched.
  char* FindComma(char* p, char* end) const {
#if defined(__SSE2__)
    const __m128i comma = _mm_set1_epi8(',');
    if (end - begin_ >= 16) {
      for (; end - p >= 16; p += 16) {
        const auto block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const unsigned hits =
            static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, comma)));
        if (hits != 0) return p + __builtin_ctz(hits);
      }
      if (p == end) return end;
      char* const tail = end - 16;
      const auto block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(tail));
      const unsigned hits =
          static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(block, comma))) >> (p - tail);
      return hits != 0 ? p + __builtin_ctz(hits) : end;
    }
#endif
    while (p < end && *p != ',') ++p;
    return p;
  }

  // The unquoted field at `p`, without its surrounding spaces; returns where the next
  // field starts.
  char* ReadUnquoted(char* p, char* end, std::string_view& field) const {
    char* const comma = FindComma(p, end);
    char* last = comma;
    while (p < last && *p == ' ') ++p;
    while (last > p && last[-1] == ' ') --last;
    field = std::string_view(p, static_cast<size_t>(last - p));
    return comma < end ? comma + 1 : end;
  }
  // The quoted field whose opening quote is at `p`; returns where the next field starts.
  static char* ReadQuoted(char* p, char* end, std::string_view& field);

  char* begin_;
  char* next_;  // where the next field starts; end_ for the empty last one; null when done
  char* end_;
  int count_ = 0;
};

class CSVRecord {
 public:
  // What BreakOutFields puts before the description of a failure to split a record;
  // callers that split with a CsvFieldReader report its failures the same way.
  static constexpr std::string_view kBreakOutFailed = "CSVRecord::BreakOutPacket() - ";

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
