#!/usr/bin/env bash
# Builds and tests zolv: clang++ and g++ optimised, then clang++ under the address and undefined-behaviour
# sanitizers; before the tests every fuzzer runs for a minute on top of its committed inputs, and what calls the
# library from many threads runs under the thread sanitizer. Ends with CTest's summary of the whole; the exit code
# tells whether everything passed.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh
for preset in release release-gcc asan-ubsan; do
    cmake --preset "$preset" > "/tmp/zolv-configure-$preset.log" 2>&1 || { cat "/tmp/zolv-configure-$preset.log"; exit 1; }
    cmake --build --preset "$preset" -- -k 0
done
status=0
echo "== fuzzers"
scripts/fuzz.sh 60 || status=1
echo "== threads under the thread sanitizer"
scripts/thread_sanitizer.sh || status=1
for preset in release-gcc asan-ubsan release; do
    echo "== tests of preset $preset"
    ctest --preset "$preset" || status=1
done
[ $status = 0 ] || echo "some tests, fuzzers or thread checks failed: see the summaries above" >&2
exit $status
