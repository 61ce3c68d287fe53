#!/usr/bin/env bash
# Builds what calls the library from many threads under the thread sanitizer, with libomp's Archer, and runs it: every
# export from 8 threads, the array forms on teams, fits at once, and the planted races that must be found.
set -euo pipefail
cd "$(dirname "$0")/.."
targets=(surface_host_threads surface_planted_race surface_threads_test time_series_concurrent_fits_test)
cmake --preset tsan > /tmp/zolv-configure-tsan.log 2>&1 || { cat /tmp/zolv-configure-tsan.log; exit 1; }
cmake --build --preset tsan --target "${targets[@]}"
ctest --preset tsan -R '^surface\.(host_threads|planted_race|Threads)|^time_series\.ConcurrentFits' --no-tests=error
