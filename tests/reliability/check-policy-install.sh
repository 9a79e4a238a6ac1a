#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# check-policy-install.sh <build dir> <source dir>
# The installed tree carries the service's bus policy, unchanged, where the
# system bus reads policies from.
set -e
build="$1"
source="$2"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

cmake --install "$build" --prefix "$scratch/prefix" >/dev/null
installed="$scratch/prefix/share/dbus-1/system.d/com.qor.vel_communicator.conf"
test -f "$installed" || { echo "no $installed"; exit 1; }
cmp "$installed" "$source/data/dbus-1/system.d/com.qor.vel_communicator.conf"
echo "the bus policy is installed in share/dbus-1/system.d"
