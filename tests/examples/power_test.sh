#!/usr/bin/env bash
# The power example against published values. Usage: power_test.sh <power program>
set -u
program=$1
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
failures=0
fail() { echo "FAILED: $1"; failures=$((failures + 1)); }
says() { grep -qE -- "$1" "$folder/out" || { fail "output lacks: $1"; cat "$folder/out"; }; }

"$program" --picture "$folder/power.png" > "$folder/out" 2> "$folder/err" || fail "exits with $?"
# Cohen (1988), table 2.4.1: 64 per group for d = 0.5 and 26 for d = 0.8 at power 0.80, two-sided 0.05;
# table 8.4.4: 45 per group for f = 0.25 and 18 for f = 0.40 with four groups.
says '^effect 0\.50: power 0\.8 from n = 64 per group'
says '^effect 0\.80: power 0\.8 from n = 26 per group'
says '^effect 0\.25: power 0\.8 from n = 45 per group'
says '^effect 0\.40: power 0\.8 from n = 1[89] per group'
[ "$(head -c 4 "$folder/power.png" | tail -c 3)" = PNG ] || fail "no PNG picture"
"$program" --alpha 2 > "$folder/out" 2> "$folder/err"; [ $? = 2 ] || fail "a size of 2 is not refused"
[ -s "$folder/err" ] || fail "nothing on stderr"
[ $failures = 0 ] && echo "all checks passed"
exit $((failures > 0))
