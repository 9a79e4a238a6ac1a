#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# check-sandbox.sh <build dir> <sample deviceId>
# A user's first minutes: install as `make install DESTDIR=<scratch>` does,
# then ask the simulator, through the installed vel-sandbox and velctl,
# whether a sample device is paired, with no environment variable set.
set -e
build="$1"
device="$2"
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

DESTDIR="$scratch/root" cmake --install "$build" >/dev/null
bindir="$(dirname "$(find "$scratch/root" -name vel-sandbox -type f | head -n 1)")"
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin "$bindir/vel-sandbox" -- \
    "$bindir/velctl" app paired "$device" >"$scratch/out" 2>"$scratch/err" || {
    echo "vel-sandbox -- velctl app paired failed with status $?"
    cat "$scratch/out" "$scratch/err"
    exit 1
}
if ! grep -qx "$device: paired" "$scratch/out"; then
    echo "unexpected answer:"
    cat "$scratch/out" "$scratch/err"
    exit 1
fi
grep -q '^\[mvel-sim\] owns com.qor.vel_communicator$' "$scratch/err" || {
    echo "the simulator's lines are missing or not prefixed:"
    cat "$scratch/err"
    exit 1
}
# COMMAND's exit status comes back, and a missing devices file is refused.
status=0
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin "$bindir/vel-sandbox" -- sh -c 'exit 7' 2>/dev/null || status=$?
[ "$status" -eq 7 ] || { echo "exit status $status instead of COMMAND's 7"; exit 1; }
status=0
env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin "$bindir/vel-sandbox" --devices /nonexistent/devices.txt -- true \
    2>"$scratch/err" || status=$?
[ "$status" -eq 2 ] && [ "$(cat "$scratch/err")" = "vel-sandbox: /nonexistent/devices.txt is missing" ] || {
    echo "a missing devices file gave status $status and:"
    cat "$scratch/err"
    exit 1
}
echo "vel-sandbox -- velctl app paired $device: $(cat "$scratch/out")"
