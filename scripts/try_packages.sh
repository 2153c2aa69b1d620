#!/usr/bin/env bash
# Builds the Debian packages, installs those that a user needs in a bare Debian 12 and repairs a scan there; then
# builds the Python package by pip in a virtual environment: scripts/try_packages.sh [ROOT]. ROOT is a folder with a bare system, made by debootstrap if it is not there;
# needs to be root, and the network.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
cd "$root"
# shellcheck source=scripts/packages.sh
source scripts/packages.sh
bare=${1:-$(mktemp -d)}
python=$(dpkg-query -W -f='${Status}' pybind11-dev 2>/dev/null | grep -q 'ok installed' && echo ON || echo OFF)

install_missing_packages debootstrap dpkg-dev file help2man
mapfile -t generator < <(build_options)
[ -f build/package/CMakeCache.txt ] && generator=()
cmake -S . -B build/package "${generator[@]}" -DCMAKE_BUILD_TYPE=Release -DCMAKE_INSTALL_PREFIX=/usr \
    -DKELVANE_BUILD_TESTS=OFF -DKELVANE_BUILD_EXAMPLES=OFF -DKELVANE_BUILD_PYTHON="$python" >/dev/null
cmake --build build/package -j "$(build_jobs)"
rm -f build/package/*.deb
(cd build/package && cpack >/dev/null)
ls -1sh build/package/*.deb

[ -d "$bare/etc" ] || debootstrap --variant=minbase bookworm "$bare" http://deb.debian.org/debian >/dev/null
mkdir -p "$bare/packages"
rm -f "$bare"/packages/*
cp build/package/*.deb "$bare/packages/"
rm -f "$bare"/packages/libkelvane-dev_*.deb # for compilers, with 2.6 GB behind it
cp /etc/resolv.conf "$bare/etc/resolv.conf"
chroot "$bare" sh -euc '
    export DEBIAN_FRONTEND=noninteractive
    apt-get update -q >/dev/null
    apt-get install -y -q --no-install-recommends --reinstall /packages/*.deb >/dev/null
    dpkg -l | grep -E " (lib)?(python3-)?kelvane"
    if dpkg -l | grep -qi " libvtk"; then echo "VTK came along" >&2; exit 1; fi
    cd /tmp
    kelvane demo demo
    kelvane repair demo/scan.ply --markers demo/markers.csv --output demo/clean.ply --page demo/command.html \
        2>/dev/null | tail -n 2
    kelvane compare demo/clean.ply demo/truth.ply --markers demo/markers.csv 2>/dev/null | tail -n 1
    if [ -x /usr/bin/python3 ]; then
        python3 -c "
import kelvane
report = kelvane.repair(\"demo/scan.ply\", \"demo/markers.csv\", \"demo/python.ply\")
print(report, report.page(\"demo/python.html\"), sep=\"\n\")" | tail -n 2
        cmp demo/clean.ply demo/python.ply && echo "the same from Python"
    fi'
if command -v chromium >/dev/null; then
    for page in "$bare"/tmp/demo/*.html; do
        /usr/bin/python3 scripts/look.py "$page" build/package/pictures | tail -n 1
    done
else
    echo "the pages were not looked at: chromium is not installed"
fi

if [ "$python" = ON ]; then
    venv=$(mktemp -d)
    trap 'rm -rf "$venv"' EXIT
    /usr/bin/python3 -m venv --system-site-packages "$venv"
    "$venv/bin/pip" install --quiet --no-build-isolation "$root"
    (cd "$venv" && bin/python "$root/examples/python/numpy_arrays.py" | tail -n 1)
fi
