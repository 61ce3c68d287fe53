#!/usr/bin/env bash
# Builds zolv and its benchmarks, runs them beside other libraries and programs, and writes docs/performance.md.
# Takes about five minutes on a machine that has nothing else to do. bench/run.sh quick: one short round, for trying the machinery.
set -euo pipefail
cd "$(dirname "$0")/.."

packages=(r-mathlib libboost-math-dev libgsl-dev r-base-core r-cran-forecast r-cran-urca python3-statsmodels gretl
          libbenchmark-dev)
missing=()
for package in "${packages[@]}"; do
    status=$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null || true)
    [ "$status" = installed ] || missing+=("$package")
done
if [ ${#missing[@]} -gt 0 ]; then
    sudo=""
    [ "$(id -u)" = 0 ] || sudo=sudo
    $sudo apt-get update -qq
    $sudo env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}"
fi
scripts/install_packages.sh

build=build/bench
cmake --preset release -B $build -DZOLV_BUILD_BENCH=ON -DZOLV_BUILD_TESTS=OFF -DZOLV_BUILD_EXAMPLES=OFF > /dev/null
cmake --build $build
results=$build/results
rm -rf $results
mkdir -p $results/series
$build/bench/write_series $results/series

# One thread for everyone: the comparison is between calls, not between numbers of processors.
export OMP_NUM_THREADS=1 OPENBLAS_NUM_THREADS=1 MKL_NUM_THREADS=1
export ZOLV_BENCH_SERIES=$PWD/$results/series ZOLV_BENCH_DATA=$PWD/data
rounds=3 repetitions=5 least=0.002
[ "${1:-}" = quick ] && rounds=1 repetitions=1 least=0.0005
uptime > $results/load.txt

# Warnings of the libraries go to both streams; the figures go to a file.
$build/bench/distributions_peers --benchmark_enable_random_interleaving=true --benchmark_repetitions=$repetitions \
    --benchmark_min_time=$least --benchmark_out=$results/distributions.json --benchmark_out_format=json \
    > /dev/null 2>&1

$build/bench/plain_ratio_bench --benchmark_enable_random_interleaving=true --benchmark_repetitions=$repetitions \
    --benchmark_min_time=$least --benchmark_out=$results/plain.json --benchmark_out_format=json > /dev/null 2>&1

for round in $(seq $rounds); do
    slow=""
    [ "$round" = 1 ] && [ "${1:-}" != quick ] && slow=slow
    $build/bench/models_bench --benchmark_min_time=0.02 --benchmark_out=$results/models_$round.json \
        --benchmark_out_format=json > /dev/null 2>&1
    Rscript bench/peers/models.R $ZOLV_BENCH_SERIES $ZOLV_BENCH_DATA $slow >> $results/models.txt
    /usr/bin/python3 bench/peers/models.py $ZOLV_BENCH_SERIES $ZOLV_BENCH_DATA $slow >> $results/models.txt
    gretlcli -b -q "$PWD/bench/peers/models.inp" 2>&1 | grep ';gretl' >> $results/models.txt
done
OMP_NUM_THREADS=$(nproc) $build/bench/distributions_bench --benchmark_filter='array 64k' \
    --benchmark_min_time=$least --benchmark_out=$results/team.json --benchmark_out_format=json > /dev/null 2>&1
uptime >> $results/load.txt
[ "${1:-}" = quick ] && output=$results/performance.md || output=docs/performance.md
/usr/bin/python3 bench/peers/report.py $results "$output"
echo "written: $output"
