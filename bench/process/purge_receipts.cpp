// One daily receipt purge as a process of its own, for bench/peers.py to time against
// `find -name '*.rcpt' -delete` on the same folder: every *.rcpt file of FOLDER created
// DAYS or more calendar days ago is deleted, as the add-in's daily housekeeping does.
#include <cstdio>
#include <cstdlib>

#include "platform/file_system.h"

int main(int argc, char** argv) {
  if (argc != 3) {
    std::fprintf(stderr, "usage: purge_receipts FOLDER DAYS\n");
    return 1;
  }
  ccaddin::FileSystem files;
  const auto days = static_cast<int16_t>(std::atoi(argv[2]));
  if (files.DeleteFilesInFolderByDay(argv[1], "*.rcpt", days) != 0) {
    std::fprintf(stderr, "%s\n", files.strErrorMessage().c_str());
    return 2;
  }
  return 0;
}
