// Turns failures inside an operation into the component's result conventions: no
// exception leaves a class; the operation returns its failure result and leaves
// "<prefix><description>" in its object's strErrorMessage. Prefixes are the system's
// own texts, e.g. "THex.ConvertHexStringToByteArray() Failed - ".
#pragma once

#include <cerrno>
#include <cstring>
#include <exception>
#include <filesystem>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

namespace ccaddin {

// A failure whose text is already the description to report.
class Failure : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Throws a Failure carrying the description of the current errno.
[[noreturn]] inline void ThrowErrno() {
  throw Failure(std::strerror(errno));
}

// The description of the exception being handled: the operating system's text for
// system and file-system errors, the message for everything else.
inline std::string DescribeCurrentException() {
  try {
    throw;
  } catch (const std::filesystem::filesystem_error& e) {
    return e.code().message();
  } catch (const std::system_error& e) {
    return e.code().message();
  } catch (const std::bad_alloc&) {
    return "Out of memory";
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    return "Unknown error";
  }
}

// Runs `body` (which returns R); if it throws, stores prefix + description in
// `error_message` and returns `failure`.
template <typename R, typename F>
R Trap(std::string& error_message, std::string_view prefix, R failure, F&& body) noexcept {
  try {
    return std::forward<F>(body)();
  } catch (...) {
    try {
      error_message.assign(prefix);
      error_message += DescribeCurrentException();
    } catch (...) {
      // Out of memory while building the text: the result still says "failed".
    }
    return failure;
  }
}

// For operations that have no result of their own.
template <typename F>
void TrapVoid(std::string& error_message, std::string_view prefix, F&& body) noexcept {
  Trap(error_message, prefix, 0, [&] {
    std::forward<F>(body)();
    return 0;
  });
}

// For work whose failure has nowhere to go (the journal has no error property): a
// failure, even running out of memory while building a line, is dropped like a line
// that cannot be written.
template <typename F>
void Quietly(F&& body) noexcept {
  try {
    std::forward<F>(body)();
  } catch (...) {
  }
}

}  // namespace ccaddin
