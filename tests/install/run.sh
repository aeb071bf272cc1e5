#!/bin/bash
# Installs a build into a temporary folder, and builds and runs programs against what is there:
#
#   run.sh <build folder> <C compiler> <C++ compiler>
set -euo pipefail

build=$1 cc=$2 cxx=$3
here=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT

cmake --install "$build" --prefix "$work/first" >/dev/null
# What was installed must work wherever it is moved to.
mv "$work/first" "$work/tree"
if grep -rl "$work/first" "$work/tree" || grep -rlE 'mdicom_(settings|strict)' "$work/tree"; then
    echo "installed files name what exists only in the build" >&2
    exit 1
fi

echo "C++ through the CMake package"
cmake -S "$here/cpp" -B "$work/cpp" -G Ninja -DCMAKE_CXX_COMPILER="$cxx" \
    -DCMAKE_PREFIX_PATH="$work/tree" >/dev/null
cmake --build "$work/cpp"
"$work/cpp/consumer" "$work/consumer.dcm"

echo "C through pkg-config"
PKG_CONFIG_PATH=$(dirname "$(find "$work/tree" -name mdicom.pc)")
export PKG_CONFIG_PATH
pkg-config --print-errors --exists 'mdicom >= 0.1'
read -ra flags < <(pkg-config --cflags --libs mdicom)
libraries=$(pkg-config --variable=libdir mdicom)
"$cc" -std=c11 -pedantic -Wall -Wextra -Werror "$here/c/consumer.c" -o "$work/consumer_c" \
    "${flags[@]}" -Wl,-rpath,"$libraries"
"$work/consumer_c"

echo "Sonames"
for library in mdicom Mvkrnx; do
    readelf -d "$libraries/lib$library.so" | grep -E "SONAME.*\[lib$library\.so\.[0-9]+\]"
done
