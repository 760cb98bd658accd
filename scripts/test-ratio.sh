#!/usr/bin/env bash
# The size of the tests against the code, counted the one way everyone uses: non-blank
# lines of the code files (.cpp .h .c .py .cmake CMakeLists.txt .sh) under tests/,
# against the same under src, include, apps and examples. Data files under tests/data
# (case files, scripts, golden texts) are not counted.
set -euo pipefail
cd "$(dirname "$0")/.."

count() {
  find "$@" -type f \( -name '*.cpp' -o -name '*.h' -o -name '*.c' -o -name '*.py' \
    -o -name '*.cmake' -o -name CMakeLists.txt -o -name '*.sh' \) -not -path 'tests/data/*' \
    -print0 | xargs -0 cat | grep -cv '^\s*$'
}

tests=$(count tests)
code=$(count src include apps examples)
echo "tests: ${tests}"
echo "code:  ${code}"
awk -v t="$tests" -v c="$code" 'BEGIN { printf "ratio: %.3f\n", t / c }'
