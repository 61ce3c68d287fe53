#!/usr/bin/env bash
# Installs the Debian packages that building, demonstrating and testing zolv takes; does nothing if all are there.
set -euo pipefail
packages=(
    cmake ninja-build pkg-config binutils git
    g++-12 gcc-12 clang-14 libclang-rt-14-dev libomp-14-dev clang-format-14
    libopenblas64-pthread-dev liblapacke64-dev liblapacke-dev
    libgtest-dev libcli11-dev libcsv-dev gnuplot-nox fonts-dejavu-core
)
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
