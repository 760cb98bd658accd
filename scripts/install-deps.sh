#!/usr/bin/env bash
# Installs, with apt-get, every Debian package that the build, the tests and the
# benchmarks need. Quiet and quick when everything is already present, so the test
# command can call it every time.
set -euo pipefail

packages=(
  # toolchain, build and the formatting check
  g++ gcc binutils cmake ninja-build pkg-config git clang-format
  # test and benchmark frameworks
  libgtest-dev libgmock-dev libbenchmark-dev
  # settings store, serialisation helpers
  libsqlite3-dev sqlite3 nlohmann-json3-dev
  # serial line tests (pty pairs), printed PDF checks, C ABI tests
  socat poppler-utils python3
  # the OS printer driver (QPrinter) and a fixed-pitch font for printed receipts
  qt6-base-dev fonts-dejavu-core
  # the Debian package (CPack finds the programs with file, their dependencies with
  # dpkg-shlibdeps) and the installed-tree test that builds a C till against it
  dpkg-dev file
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q '^install ok installed$'; then
    missing+=("$p")
  fi
done

[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo_cmd=()
[ "$(id -u)" -ne 0 ] && sudo_cmd=(sudo)
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
