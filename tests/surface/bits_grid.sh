#!/usr/bin/env bash
# bits_grid.sh SOURCE WORK CBLAS_INCLUDE LIBRARY...: builds the library's sources with bits_grid.cpp under
# g++ 12 and clang++ 14 at -O0, -O2 and -O3, and compares what the six programs print, line for line.
set -euo pipefail
source_dir=$1
work=$2
cblas_include=$3
shift 3
mkdir -p "$work"
cd "$source_dir"

{
    cat <<NINJA
flags = -std=c++20 -DNDEBUG -fPIC -fopenmp -ffp-contract=off -fno-fast-math -fstack-protector-strong $
    -fvisibility=hidden -DZOLV_BUILDING -DLAPACK_ILP64 -DOPENBLAS_USE64BITINT -w $
    -I$source_dir -I$source_dir/include -I$source_dir/tests/surface -isystem $cblas_include
libraries = $* -lm -lpthread
rule compile
  command = \$compiler \$flags \$level -MMD -MF \$out.d -c \$in -o \$out
  depfile = \$out.d
  deps = gcc
rule link
  command = \$compiler \$in -o \$out \$libraries
NINJA
    for compiler in g++-12 clang++-14; do
        [ $compiler = g++-12 ] && c_compiler=gcc-12 || c_compiler=clang-14
        for level in O0 O2 O3; do
            variant=$compiler-$level
            objects=""
            for file in {frame,kernels,distributions,quantiles,time_series,model_search,transforms,unit_root}/*.cpp \
                tests/surface/bits_grid.cpp tests/surface/families.c tests/surface/airline_passengers.c; do
                object=$work/$variant/${file//\//_}.o
                objects+=" $object"
                case $file in
                    *.c) printf 'build %s: compile %s\n  compiler = %s\n  level = -%s\n  flags = -std=c11 -ffp-contract=off -w -I%s/include\n' \
                        "$object" "$source_dir/$file" "$c_compiler" "$level" "$source_dir" ;;
                    *) printf 'build %s: compile %s\n  compiler = %s\n  level = -%s\n' \
                        "$object" "$source_dir/$file" "$compiler" "$level" ;;
                esac
            done
            printf 'build %s: link%s\n  compiler = %s\n' "$work/$variant/bits_grid" "$objects" "$compiler"
        done
    done
} > "$work/build.ninja"
ninja -C "$work" -j2 --quiet

status=0
for compiler in g++-12 clang++-14; do
    for level in O0 O2 O3; do
        variant=$compiler-$level
        "$work/$variant/bits_grid" > "$work/$variant.txt"
        if ! diff "$work/g++-12-O0.txt" "$work/$variant.txt" > "$work/$variant.diff"; then
            echo "$variant differs from g++-12-O0:"
            cat "$work/$variant.diff"
            status=1
        fi
    done
done
[ -s "$work/g++-12-O0.txt" ]
exit $status
