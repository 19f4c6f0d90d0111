#!/usr/bin/env bash
# Builds the tests under ThreadSanitizer (the tsan preset, in build/tsan/) and runs them all,
# printing how long each step took. Too slow for every CI run; run it after touching threads.
# Reports that come from Qt's own, uninstrumented thread pool are suppressed by
# cmake/tsan-suppressions.txt, which says why.
set -euo pipefail
cd "$(dirname "$0")/.."

start=$SECONDS
cmake --preset tsan >/dev/null
cmake --build --preset tsan
built=$SECONDS
ctest --preset tsan
echo "tsan: build $((built - start)) s, tests $((SECONDS - built)) s"
