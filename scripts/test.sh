#!/usr/bin/env bash
# Builds everything in Release, runs all tests, and uses the result as other projects do: installed in a
# prefix of its own, as a subdirectory, and as static libraries.
#
#     scripts/test.sh                    KELVANE_SCANS=DIR adds tests on the scans in DIR
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=${KELVANE_BUILD_DIR:-"$root/build/test"}
# shellcheck source=scripts/packages.sh
source "$root/scripts/packages.sh"

install_missing_packages libgtest-dev pkg-config python3-dev python3-numpy python3-setuptools \
    python3-venv python3-wheel pybind11-dev mypy
mapfile -t options < <(build_options)
jobs=$(build_jobs)
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

configure() { # configure SOURCE BUILD [OPTION...]
    local source=$1 binary=$2
    shift 2
    local generator=("${options[@]}")
    [ -f "$binary/CMakeCache.txt" ] && generator=()
    cmake -S "$source" -B "$binary" "${generator[@]}" -DCMAKE_BUILD_TYPE=Release "$@" \
        >"$scratch/configure.log" 2>&1 || { cat "$scratch/configure.log"; return 1; }
}

consume() { # consume NAME [OPTION...]: builds the consumer project and runs its tests
    local name=$1
    shift
    echo "== consumer: $name"
    configure "$root/tests/consumer" "$scratch/consumer-$name" "$@"
    cmake --build "$scratch/consumer-$name" -j "$jobs"
    (cd "$scratch/consumer-$name" && ctest --output-on-failure)
}

configure "$root" "$build" -DKELVANE_BUILD_TESTS=ON -DKELVANE_BUILD_PYTHON=ON \
    -DPython_EXECUTABLE=/usr/bin/python3
cmake --build "$build" -j "$jobs"

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
"$scratch/prefix/bin/kelvane" --version # finds its libraries where they were installed
consume installed -DCMAKE_PREFIX_PATH="$scratch/prefix" -DCONSUMER_TOOLKIT=ON
echo "== consumer: pkg-config"
PKG_CONFIG_PATH=$(dirname "$(find "$scratch/prefix" -name kelvane.pc)")
export PKG_CONFIG_PATH
for package in kelvane:use_library kelvane-toolkit:use_toolkit; do
    # shellcheck disable=SC2046 # words are what pkg-config gives
    g++ -std=c++17 "$root/tests/consumer/${package#*:}.cpp" -o "$scratch/consumer" \
        $(pkg-config --cflags --libs "${package%:*}") -Wl,-rpath,"$(dirname "$PKG_CONFIG_PATH")"
    "$scratch/consumer"
done
consume subdirectory -DKELVANE_SOURCE="$root"
configure "$root" "$scratch/static" -DBUILD_SHARED_LIBS=OFF -DKELVANE_BUILD_TESTS=OFF \
    -DKELVANE_BUILD_EXAMPLES=OFF
cmake --build "$scratch/static" -j "$jobs"
cmake --install "$scratch/static" --prefix "$scratch/static-prefix" >/dev/null
"$scratch/static-prefix/bin/kelvane" --version
consume static -DCMAKE_PREFIX_PATH="$scratch/static-prefix" -DCONSUMER_TOOLKIT=ON

echo "== Python package, installed"
(cd "$scratch" && PYTHONPATH="$scratch/prefix/lib/python3/dist-packages" \
    /usr/bin/python3 "$root/examples/python/numpy_arrays.py" | tail -1)

echo "== tests"
cd "$build" && ctest --output-on-failure -j "$jobs"
