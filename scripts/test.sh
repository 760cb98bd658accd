#!/usr/bin/env bash
# The project's test command: installs missing Debian packages, checks that every C and
# C++ file is formatted, configures and builds from scratch, and runs every test. Exits
# non-zero on any failure.
#   scripts/test.sh            debug build, then the sanitizer build
#   scripts/test.sh debug      one preset only (debug, release or sanitize)
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-deps.sh

echo "== format"
git ls-files -co --exclude-standard -z '*.cpp' '*.h' '*.c' |
  xargs -0 clang-format --dry-run -Werror

presets=("$@")
[ ${#presets[@]} -eq 0 ] && presets=(debug sanitize)

jobs=$(nproc 2>/dev/null || echo 2)
for preset in "${presets[@]}"; do
  echo "== ${preset}: configure and build"
  cmake --preset "$preset" >/dev/null
  cmake --build --preset "$preset" -j "$jobs"
  echo "== ${preset}: test"
  ctest --preset "$preset" -j "$jobs"
  # The windows' pictures the Qt tests drew: the README shows them from docs/pictures.
  if compgen -G "build/${preset}/pictures/*.png" >/dev/null; then
    mkdir -p docs/pictures
    cp build/"${preset}"/pictures/*.png docs/pictures/
  fi
done
