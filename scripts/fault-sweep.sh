#!/usr/bin/env bash
# The long kill-and-full-disk sweep: every piece written anywhere (the journal's lines too)
# is a step, over sales with chip fallback and cashback, a swiped refund, a keyed
# pre-authorisation and a declined card after a repeated enquiry. The short sweep (one chip
# sale) runs in scripts/test.sh. Takes minutes; exits non-zero on any failure.
#   scripts/fault-sweep.sh            debug build
#   scripts/fault-sweep.sh sanitize   another preset
set -euo pipefail
cd "$(dirname "$0")/.."
preset="${1:-debug}"
cmake --preset "$preset" >/dev/null
cmake --build --preset "$preset" --target fault_sweep_test ccaddin-till ccaddin_fault_injector
CCADDIN_SWEEP_LONG=1 "build/$preset/tests/apps/ccaddin_till/fault_sweep_test"
