#!/usr/bin/env bash
# The project's first command: installs missing Debian packages, builds the release preset
# and runs one card sale on the built-in payment simulator with ccaddin-till, which makes a
# demo site (settings, simulator configuration, receipts) in ./ccaddin-demo on first use.
#   scripts/demo.sh                                  a £12.50 chip and PIN sale
#   scripts/demo.sh 20.00 --card visa-contactless    any ccaddin-till sale arguments
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"

scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)
cmake --preset release >/dev/null
cmake --build --preset release -j "$jobs" --target ccaddin-till

args=("$@")
[ ${#args[@]} -eq 0 ] && args=(12.50 --card visa-chip-pin)
exec build/release/apps/ccaddin_till/ccaddin-till sale "${args[@]}"
