#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# check-getting-started.sh <build dir> <docs/getting-started.md>
# Builds the first application of the getting-started guide the way the guide
# says, against the build installed into a scratch prefix, runs it with the
# installed vel-sandbox and compares its output with the guide's.
set -e
build="$1"
guide="$2"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

# The fenced block that follows the marker comment.
block() {
    awk -v marker="<!-- $1 -->" '
        $0 == marker { found = 1; next }
        found && /^```/ { if (inside) exit; inside = 1; next }
        inside { print }' "$guide"
}
block first_app.cpp >"$scratch/first_app.cpp"
block "first_app output" >"$scratch/expected"
test -s "$scratch/first_app.cpp" && test -s "$scratch/expected"
echo "the guide's program has $(wc -l <"$scratch/first_app.cpp") lines"

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
pcdir="$(dirname "$(find "$scratch/prefix" -name libvel.pc | head -n 1)")"
# A cross build hands in its compiler and the target's pkg-config directories.
if [ -n "${VEL_CHECK_PKG_CONFIG_LIBDIR:-}" ]; then
    PKG_CONFIG_LIBDIR="$pcdir:$VEL_CHECK_PKG_CONFIG_LIBDIR"
    export PKG_CONFIG_LIBDIR
else
    PKG_CONFIG_PATH="$pcdir"
    export PKG_CONFIG_PATH
fi
cd "$scratch"
# shellcheck disable=SC2046
"${VEL_CHECK_CXX:-c++}" -std=c++17 -o first_app first_app.cpp $(pkg-config --cflags --libs libvel) \
    -Wl,-rpath,"$(pkg-config --variable=libdir libvel)"
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin "$scratch/prefix/bin/vel-sandbox" -- ./first_app >actual 2>stderr || {
    echo "first_app failed with status $?"
    cat actual stderr
    exit 1
}
if ! diff -u expected actual; then
    cat stderr
    exit 1
fi
echo "first_app printed what the guide says"
