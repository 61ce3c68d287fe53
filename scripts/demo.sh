#!/usr/bin/env bash
# Builds zolv and runs the forecast example; arguments go to the example (try --help).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/install_packages.sh
cmake --preset release -DZOLV_BUILD_TESTS=OFF -B build/demo > /dev/null
cmake --build build/demo
exec build/demo/examples/forecast "$@"
