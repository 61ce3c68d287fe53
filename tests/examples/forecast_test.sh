#!/usr/bin/env bash
# The forecast example: its numbers for the airline model, its options, and its answer to senseless ones.
# Usage: forecast_test.sh <forecast program> <data folder>
set -u
program=$1
data=$2
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0
fail() { echo "FAILED: $1"; failures=$((failures + 1)); }
says() { grep -qE -- "$1" "$folder/out" || { fail "output lacks: $1"; sed -n 1,60p "$folder/out"; }; }

"$program" --picture "$folder/forecast.png" > "$folder/out" 2> "$folder/err" || fail "the default run exits with $?"
[ ! -s "$folder/err" ] || { fail "something on stderr"; cat "$folder/err"; }
says '^144 values from 1949-01 to 1960-12'
says "^Guerrero's lambda in \[-1, 2\]"
says '^Unit-root tests'
says '^difference +statistic'
says '^Order search, d = 1, D = 1'
says '^  10 '
says '^Model \(0,1,1\)\(0,1,1\)12$'
# Box and Jenkins (1976), table 9.4: theta 0.396, Theta 0.614, residual variance 0.00133 to 0.00134.
says '^code 10000 after 7 iterations'
says '^MA 1 +0\.39[56]'
says '^seasonal MA 12 +0\.61[34]'
says '^residual variance +0\.00133'
says '^ 12 +[0-9.]+ +10 '
says '^Forecasts with 95% limits'
[ "$(grep -cE '^ +[0-9]+ +[0-9.]+ +[0-9.]+ +[0-9.]+ +\(' "$folder/out")" = 24 ] || fail "not 24 forecasts"
[ "$(head -c 4 "$folder/forecast.png" | tail -c 3)" = PNG ] || fail "no PNG picture"

"$program" "$data/nile.csv" --period 1 --orders auto --lambda auto --leads 5 --confidence 0.8 \
    --picture "$folder/nile.svg" > "$folder/out" 2> "$folder/err" || { fail "automatic run exits with $?"; cat "$folder/err"; }
says '^100 values from 1871 to 1970'
says '^Forecasts with 80% limits'
grep -q '<svg' "$folder/nile.svg" || fail "no SVG picture"

printf '1.5\n2\n' > "$folder/short.csv"
printf 'value\n1\ntwo\n' > "$folder/words.csv"
refuses() {
    "$program" "$@" --picture none > "$folder/out" 2> "$folder/err"
    [ $? = 2 ] || fail "$* does not exit with 2"
    [ "$(wc -l < "$folder/err")" -ge 1 ] || fail "$* says nothing on stderr"
}
refuses --leads 0
refuses --leads 151
refuses --leads many
refuses --confidence 0
refuses --confidence 95
refuses --lambda nan
refuses --lambda 1x
refuses --orders 1,2
refuses --orders 0,1,7
refuses --orders 0,1,1,0,1,1 --period 1
refuses --period 0
refuses --period 101
refuses --nonsense
refuses "$folder/absent.csv"
refuses "$folder/short.csv"
refuses "$folder/words.csv"
refuses --orders 0,0,0
"$program" --picture chart.bmp > "$folder/out" 2> "$folder/err"; [ $? = 2 ] || fail "a .bmp picture is not refused"

[ $failures = 0 ] && echo "all checks passed"
exit $((failures > 0))
