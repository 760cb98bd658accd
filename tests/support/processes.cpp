#include "support/processes.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <sstream>

#include "support/golden_text.h"

namespace ccaddin::testing {

namespace {
int ExitStatus(int status) {
  return status != -1 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}
}  // namespace

CommandResult RunShell(const std::string& command) {
  CommandResult result;
  FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return result;
  char buffer[4096];
  for (size_t n; (n = fread(buffer, 1, sizeof buffer, pipe)) > 0;) result.out.append(buffer, n);
  result.code = ExitStatus(pclose(pipe));
  return result;
}

CommandResult RunInProcess(
    const std::function<int(const std::vector<std::string>&, std::ostream&, std::ostream&)>& entry,
    const std::vector<std::string>& args) {
  std::ostringstream out, err;
  const int code = entry(args, out, err);
  return {code, out.str(), err.str()};
}

::testing::AssertionResult FailedWith(const CommandResult& r, int code, const std::string& program,
                                      const std::string& part) {
  if (r.code == code && r.out.empty() && SplitLines(r.err).size() == 1 &&
      r.err.starts_with(program + ": ") && r.err.find(part) != std::string::npos) {
    return ::testing::AssertionSuccess();
  }
  return ::testing::AssertionFailure()
         << "exit " << r.code << " (want " << code << ", and one \"" << program
         << ": ...\" line naming \"" << part << "\")\nout: " << r.out << "\nerr: " << r.err;
}

pid_t StartChild(const std::function<int()>& body) {
  const pid_t pid = fork();
  // _exit: the child must not run the parent's exit handlers or flush its test output.
  if (pid == 0) _exit(body());
  return pid;
}

int WaitChild(pid_t pid) {
  int status = -1;
  if (pid <= 0 || waitpid(pid, &status, 0) != pid) return -1;
  return ExitStatus(status);
}

int RunInChild(const std::function<int()>& body) {
  return WaitChild(StartChild(body));
}

}  // namespace ccaddin::testing
