#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# check-install.sh <build dir> <consumer source dir> [examples dir]
set -e
build="$1"
consumer="$2"
examples="$3"
scratch="$(mktemp -d)"
# A cross build hands in its compiler, toolchain file and the target's
# pkg-config directories; the consumers then run under qemu-user.
cxx="${VEL_CHECK_CXX:-c++}"
toolchain=""
if [ -n "$VEL_CHECK_TOOLCHAIN_FILE" ]; then
    toolchain="-DCMAKE_TOOLCHAIN_FILE=$VEL_CHECK_TOOLCHAIN_FILE"
fi
target_pc="${VEL_CHECK_PKG_CONFIG_LIBDIR:+:$VEL_CHECK_PKG_CONFIG_LIBDIR}"
pc_env() {
    if [ -n "$VEL_CHECK_PKG_CONFIG_LIBDIR" ]; then
        PKG_CONFIG_LIBDIR="$libdir/pkgconfig$target_pc" "$@"
    else
        PKG_CONFIG_PATH="$libdir/pkgconfig" "$@"
    fi
}
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
libdir="$(dirname "$(find "$scratch/prefix" -name libvel.pc | head -n 1)")/.."
test -L "$libdir/libvel.so.1" || { echo "no libvel.so.1 SONAME link"; exit 1; }

# Installed programs find the installed library by themselves.
for program in velctl mvel-sim; do
    if [ -x "$scratch/prefix/bin/$program" ]; then
        readelf -d "$scratch/prefix/bin/$program" | grep -q 'R.*PATH.*\$ORIGIN/\.\./' ||
            { echo "$program has no RPATH relative to its own place"; exit 1; }
        env -u LD_LIBRARY_PATH "$scratch/prefix/bin/$program" --help >/dev/null ||
            { echo "$program does not run from the installed tree"; exit 1; }
    fi
done

# pkg-config
pc_env pkg-config --exists libvel
# shellcheck disable=SC2046
"$cxx" -std=c++17 -o "$scratch/by-pkgconfig" "$consumer/consumer.cpp" \
    $(pc_env pkg-config --cflags --libs libvel)
LD_LIBRARY_PATH="$libdir" "$scratch/by-pkgconfig" 2>/dev/null | grep -qx ComQorVel_communicatorProxy

# CMake package
# shellcheck disable=SC2086
cmake -S "$consumer" -B "$scratch/cmake-build" -DCMAKE_PREFIX_PATH="$scratch/prefix" $toolchain >/dev/null
cmake --build "$scratch/cmake-build" >/dev/null
LD_LIBRARY_PATH="$libdir" "$scratch/cmake-build/consumer" 2>/dev/null | grep -qx ComQorVel_communicatorProxy

# libvel-dlt: a host linking it gets its vw_log_print, through either way of
# building. No daemon runs in the scratch pipe directory.
mkdir -p "$scratch/dlt-pipes"
test -L "$libdir/libvel-dlt.so.1" || { echo "no libvel-dlt.so.1 SONAME link"; exit 1; }
# shellcheck disable=SC2046
"$cxx" -std=c++17 -o "$scratch/dlt-by-pkgconfig" "$consumer/dlt_consumer.cpp" \
    $(pc_env pkg-config --cflags --libs libvel-dlt) -ldl
for program in "$scratch/dlt-by-pkgconfig" "$scratch/cmake-build/dlt_consumer"; do
    DLT_PIPE_DIR="$scratch/dlt-pipes" LD_LIBRARY_PATH="$libdir" "$program" 2>/dev/null |
        grep -qx "vw_log_print from libvel-dlt.so.1" || { echo "$program does not log through libvel-dlt"; exit 1; }
done

# libvel-qt, installed where Qt 6 was found: a QObject user through pkg-config.
if [ -f "$libdir/pkgconfig/libvel-qt.pc" ]; then
    test -L "$libdir/libvel-qt.so.1" || { echo "no libvel-qt.so.1 SONAME link"; exit 1; }
    # shellcheck disable=SC2046
    "$cxx" -std=c++17 -fPIC -o "$scratch/qt-by-pkgconfig" "$consumer/qt_consumer.cpp" \
        $(pc_env pkg-config --cflags --libs libvel-qt)
    LD_LIBRARY_PATH="$libdir" QT_NO_GLIB=1 "$scratch/qt-by-pkgconfig" 2>/dev/null | grep -qx "ready=false roles=2" ||
        { echo "the libvel-qt consumer does not run from the installed tree"; exit 1; }
fi

# Examples, each a project of its own
if [ -n "$examples" ]; then
    for example in "$examples"/*/; do
        name="$(basename "$example")"
        # The QML example needs libvel-qt, which is built only where Qt 6 is.
        if [ "$name" = qt ] && [ ! -f "$libdir/pkgconfig/libvel-qt.pc" ]; then
            continue
        fi
        # shellcheck disable=SC2086
        cmake -S "$example" -B "$scratch/example-$name" -DCMAKE_PREFIX_PATH="$scratch/prefix" $toolchain >/dev/null
        cmake --build "$scratch/example-$name" >/dev/null || { echo "example $name does not build"; exit 1; }
    done
fi
echo "installed tree builds and runs both consumers and builds the examples"
