#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# check-declared-headers.sh <build dir>
# Installs the build into a scratch prefix and compiles a file that includes
# <vel/vel.h> with nothing but the flags pkg-config gives for libvel. Every
# header the compiler reads must come from libvel's own prefix, from the C and
# C++ toolchain, or from a package providing one of the pkg-config modules that
# libvel.pc requires, directly or through them. A header from anywhere else is
# a dependency that libvel.pc does not declare.
set -e
build="$1"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
PKG_CONFIG_PATH="$(dirname "$(find "$scratch/prefix" -name libvel.pc | head -n 1)")"
export PKG_CONFIG_PATH
printf '#include <vel/vel.h>\nint main() { return 0; }\n' > "$scratch/first.cpp"
# shellcheck disable=SC2046
c++ -std=c++17 -M $(pkg-config --cflags libvel) "$scratch/first.cpp" > "$scratch/headers"

owner() {
    dpkg -S "$1" 2>/dev/null | head -n 1 | cut -d: -f1
}

# The modules libvel.pc requires, and the ones they require in turn.
modules=""
pending="libvel"
while [ -n "$pending" ]; do
    set -- $pending
    current="$1"
    shift
    pending="$*"
    for module in $(pkg-config --print-requires --print-requires-private "$current" | awk '{print $1}'); do
        case " $modules " in
            *" $module "*) ;;
            *) modules="$modules $module"; pending="$pending $module" ;;
        esac
    done
done
declared=""
for module in $modules; do
    declared="$declared $(owner "$(realpath "$(pkg-config --variable=pcfiledir "$module")/$module.pc")")"
done
echo "modules required by libvel.pc:$modules"
echo "packages providing them:$declared"

undeclared=0
for header in $(sed 's/\\$//' "$scratch/headers" | tr ' ' '\n' | grep '^/' | sort -u); do
    case "$header" in
        "$scratch"/*) continue ;;
    esac
    package="$(owner "$(realpath "$header")")"
    case "$package" in
        libc6-dev | linux-libc-dev | libstdc++-*-dev | libgcc-*-dev | gcc-*) continue ;;
    esac
    case " $declared " in
        *" $package "*) continue ;;
    esac
    echo "undeclared: $header (package ${package:-unknown})"
    undeclared=1
done
if [ "$undeclared" -ne 0 ]; then
    exit 1
fi
echo "every header <vel/vel.h> reads comes from a dependency libvel.pc declares"
