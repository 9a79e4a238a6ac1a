#!/bin/sh
# check-install.sh <build dir> <consumer source dir> [examples dir]
set -e
build="$1"
consumer="$2"
examples="$3"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
libdir="$(dirname "$(find "$scratch/prefix" -name libvel.pc | head -n 1)")/.."
test -L "$libdir/libvel.so.1" || { echo "no libvel.so.1 SONAME link"; exit 1; }

# pkg-config
PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --exists libvel
# shellcheck disable=SC2046
c++ -std=c++17 -o "$scratch/by-pkgconfig" "$consumer/consumer.cpp" \
    $(PKG_CONFIG_PATH="$libdir/pkgconfig" pkg-config --cflags --libs libvel)
LD_LIBRARY_PATH="$libdir" "$scratch/by-pkgconfig" 2>/dev/null | grep -qx ComQorVel_communicatorProxy

# CMake package
cmake -S "$consumer" -B "$scratch/cmake-build" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
LD_LIBRARY_PATH="$libdir" "$scratch/cmake-build/consumer" 2>/dev/null | grep -qx ComQorVel_communicatorProxy

# Examples, each a project of its own
if [ -n "$examples" ]; then
    for example in "$examples"/*/; do
        name="$(basename "$example")"
        cmake -S "$example" -B "$scratch/example-$name" -DCMAKE_PREFIX_PATH="$scratch/prefix" >/dev/null
        cmake --build "$scratch/example-$name" >/dev/null || { echo "example $name does not build"; exit 1; }
    done
fi
echo "installed tree builds and runs both consumers and builds the examples"
