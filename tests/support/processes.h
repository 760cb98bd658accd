// Other processes and commands for tests: a built program or a tool run through the
// shell, a command's entry point run in-process, and a forked copy of this process (a
// second till, a second writer). A child must not use a database connection or a thread
// its parent opened before the fork.
#pragma once

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace ccaddin::testing {

struct CommandResult {
  int code = -1;  // the exit status; -1 when it could not start or did not exit
  std::string out;
  std::string err;  // in-process runs only: the shell's goes where the command line says
};

[[nodiscard]] CommandResult RunShell(const std::string& command);
[[nodiscard]] CommandResult RunInProcess(
    const std::function<int(const std::vector<std::string>&, std::ostream&, std::ostream&)>& entry,
    const std::vector<std::string>& args);
// The one shape of a command's failure: exit `code`, nothing on standard output, one
// line "<program>: ..." holding `part` on standard error.
[[nodiscard]] ::testing::AssertionResult FailedWith(const CommandResult& r, int code,
                                                    const std::string& program,
                                                    const std::string& part);

// `body` runs in the child and its result is the child's exit status; -1 for a failed
// fork, a crash or a child that cannot be waited for.
[[nodiscard]] pid_t StartChild(const std::function<int()>& body);
[[nodiscard]] int WaitChild(pid_t pid);
[[nodiscard]] int RunInChild(const std::function<int()>& body);

}  // namespace ccaddin::testing
