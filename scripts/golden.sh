#!/usr/bin/env bash
# Writes tests/golden/digests.csv again, for a change that is meant to move bits. Look at the difference before
# committing it: every row that changed is a promise that changed.
set -euo pipefail
cd "$(dirname "$0")/.."
[ -f build/release/CMakeCache.txt ] || cmake --preset release > /dev/null
cmake --build --preset release --target golden_golden_test
ZOLV_GOLDEN_WRITE=tests/golden/digests.csv build/release/tests/golden_golden_test --gtest_brief=1
git --no-pager diff --stat -- tests/golden/digests.csv
