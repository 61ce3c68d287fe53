#!/usr/bin/env bash
# Builds the fuzzers and runs each on its committed inputs and then on new ones, two at a time; one line per target.
# Usage: scripts/fuzz.sh [seconds per target, default 60] [runs per target, default no limit] [targets...]
# Inputs that break something are left in build/fuzz/finds; the exit code tells whether there are any.
set -euo pipefail
cd "$(dirname "$0")/.."
seconds=${1:-60}
runs=${2:--1}
shift $(($# < 2 ? $# : 2))
cmake --preset fuzz > /tmp/zolv-configure-fuzz.log 2>&1 || { cat /tmp/zolv-configure-fuzz.log; exit 1; }
cmake --build --preset fuzz
targets=("$@")
if [ ${#targets[@]} -eq 0 ]; then
    for file in tests/fuzz/*_fuzz.cpp; do targets+=("$(basename "$file" _fuzz.cpp)"); done
fi
mkdir -p build/fuzz/finds build/fuzz/logs build/fuzz/grown

run_one() {
    local target=$1 log=build/fuzz/logs/$1.log verdict=clean status=0
    local grown=build/fuzz/grown/$target corpus=tests/fuzz/corpus/$target
    mkdir -p "$grown"
    # The first directory takes what is new, so the committed one stays as it is.
    build/fuzz/tests/fuzz/fuzz_"$target" -seed=1 -timeout=60 -rss_limit_mb=2048 -max_total_time="$seconds" \
        -runs="$runs" -len_control=0 -max_len=256 -print_final_stats=1 -artifact_prefix="build/fuzz/finds/$target-" \
        "$grown" "$corpus" > "$log" 2>&1 || status=$?
    [ $status = 0 ] || verdict="FIND (exit code $status, see $log)"
    local done_runs
    done_runs=$(sed -n 's/^stat::number_of_executed_units: *//p' "$log")
    printf '%-16s %10s runs, %3s inputs kept: %s\n' "$target" "${done_runs:-?}" \
        "$(find "$corpus" -type f | wc -l)" "$verdict"
    [ $status = 0 ] || grep -E -m1 -A8 '^broken|ERROR:|runtime error' "$log" || true
    return $status
}
export -f run_one
export seconds runs

status=0
printf '%s\n' "${targets[@]}" | xargs -P 2 -I{} bash -c 'run_one {}' || status=1
total=$(for target in "${targets[@]}"; do
    sed -n 's/^stat::number_of_executed_units: *//p' "build/fuzz/logs/$target.log"
done | awk '{ sum += $1 } END { print sum + 0 }')
if [ $status = 0 ]; then verdict=clean; else verdict="with finds in build/fuzz/finds"; fi
printf 'fuzzers: %d targets, %s runs, %s\n' ${#targets[@]} "${total:-0}" "$verdict"
exit $status
