#!/usr/bin/env bash
# Which lines and branches of the library's own sources the tests run: builds with g++ and --coverage in
# build/coverage, runs the tests, prints a table per folder and whatever is not covered, and fails below 100 % of
# lines or 97 % of branches. A branch that only an exception takes is none; a line that is compiled into more than a
# dozen functions (templates, forced inline) counts as one, whose branches are taken when they are in any of them.
#
#     scripts/coverage.sh             about ten minutes
#     scripts/coverage.sh --report    the tables of the last run
set -euo pipefail
cd "$(dirname "$0")/.."
folders=(frame kernels distributions quantiles time_series model_search transforms unit_root)
build=build/coverage
if [ "${1:-}" != --report ]; then
    scripts/install_packages.sh
    if ! command -v gcovr > /dev/null; then
        sudo=""
        [ "$(id -u)" = 0 ] || sudo=sudo
        $sudo apt-get update -qq
        $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends gcovr
    fi
    # Counters of threads that run at once are added atomically. The shared library writes none: what its provider
    # prints by fwrite goes nowhere (frame/provider_silence.cpp), and so would they. The archive that the other
    # tests link is what is measured.
    cmake -S . -B $build -G Ninja -DCMAKE_C_COMPILER=gcc-12 -DCMAKE_CXX_COMPILER=g++-12 -DCMAKE_BUILD_TYPE=Debug \
        -DCMAKE_CXX_FLAGS="-O0 --coverage -fprofile-update=atomic" -DZOLV_WERROR=OFF > /dev/null
    cmake --build $build
    find $build -name '*.gcda' -delete
    for program in $build/tests/*_test; do  # each whole: a process per test would read and write all counters
        case $program in */surface_*) continue ;; esac
        "$program" --gtest_brief=1 > $build/tests.log 2>&1 || { cat $build/tests.log; exit 1; }
    done
fi
filters=()
for folder in "${folders[@]}"; do filters+=(--filter "$folder/"); done
gcovr --root . --gcov-executable gcov-12 --exclude-throw-branches --exclude-unreachable-branches \
    "${filters[@]}" --json $build/coverage.json $build
python3 - $build/coverage.json <<'END'
import collections, json, sys
lines, branches = collections.Counter(), collections.Counter()
missing = []
for file in json.load(open(sys.argv[1]))["files"]:
    folder = file["file"].split("/")[0]
    for line in file["lines"]:
        if line["gcovr/noncode"] or line.get("gcovr/excluded"):
            continue
        lines[folder, line["count"] > 0] += 1
        counts = [branch["count"] for branch in line["branches"]]
        if len(counts) > 24:
            counts = [sum(b["count"] for b in line["branches"] if b["fallthrough"] == way) for way in (True, False)]
        for count in counts:
            branches[folder, count > 0] += 1
        bare = counts.count(0)
        if line["count"] == 0 or bare:
            missing.append(f'{file["file"]}:{line["line_number"]}: ' +
                           ("line" if line["count"] == 0 else f"{bare} of {len(counts)} branches"))
print("\n".join(missing))
rates = lambda counts, name: (sum(v for (f, hit), v in counts.items() if hit and name in (f, "all")),
                              sum(v for (f, hit), v in counts.items() if name in (f, "all")))
print(f"\n{'folder':14}{'lines':>14}{'':9}{'branches':>14}")
for name in sorted({f for f, _ in lines}) + ["all"]:
    (l, all_l), (b, all_b) = rates(lines, name), rates(branches, name)
    print(f"{name:14}{l:7}/{all_l:<6}{100 * l / max(1, all_l):7.2f}% {b:7}/{all_b:<6}{100 * b / max(1, all_b):7.2f}%")
sys.exit(l < all_l or b < 0.97 * all_b)
END
