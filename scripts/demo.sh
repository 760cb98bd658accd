#!/usr/bin/env bash
# The project's first command: installs missing Debian packages, builds the release preset
# and shows the main job: the demo till tenders a card sale through the component's window
# on the built-in payment simulator (a demo site in ./ccaddin-demo is made on first use).
#   scripts/demo.sh                          the demo till and the simulated terminal's
#                                            operator panel; without a display, one scripted
#                                            sale printed with its receipts and pictures
#   scripts/demo.sh --scripted --card mc-declined   any ccaddin-demo-till arguments
#   scripts/demo.sh sale 12.50 --card visa-contactless   the programmatic path (ccaddin-till)
set -euo pipefail
root="$(cd "$(dirname "$0")/.." && pwd)"
cd "$root"

scripts/install-deps.sh

jobs=$(nproc 2>/dev/null || echo 2)
cmake --preset release >/dev/null
cmake --build --preset release -j "$jobs" --target ccaddin ccaddin-demo-till ccaddin-till

if [ "${1:-}" = sale ] || [ "${1:-}" = setup ]; then
  exec build/release/apps/ccaddin_till/ccaddin-till "$@"
fi
exec build/release/apps/ccaddin_demo_till/ccaddin-demo-till --library \
  build/release/src/abi/libccaddin.so "$@"
