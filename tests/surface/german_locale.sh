#!/usr/bin/env bash
# german_locale.sh PROGRAM: makes a German locale in a temporary directory and runs PROGRAM where it is found.
# Exit status 77, with the reason: this machine cannot make one.
set -u
work=$(mktemp -d) || exit 1
trap 'rm -rf "$work"' EXIT
command -v localedef > /dev/null || { echo "skipped: no localedef"; exit 77; }
localedef -i de_DE -f UTF-8 "$work/de_DE.UTF-8" 2> "$work/messages" || { echo "skipped: $(cat "$work/messages")"; exit 77; }
LOCPATH="$work" "$1"
