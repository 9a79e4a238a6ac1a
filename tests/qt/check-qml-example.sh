#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# check-qml-example.sh <source dir> <mvel-sim> <vel-qml-example>
# The QML example HMI, offscreen, against the simulator in vel-sandbox: it
# shows the sample devices as paired and one discovered device, and saves
# its window as a PNG.
set -eu
source_dir="$1"
simulator="$2"
example="$3"

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
[ -d /data ] || mkdir /data

status=0
QT_QPA_PLATFORM=offscreen QT_QUICK_BACKEND=software \
VEL_SANDBOX_DATA="$source_dir/data/sandbox" VEL_SANDBOX_SIMULATOR="$simulator" \
    "$source_dir/tools/vel-sandbox/vel-sandbox" \
    --sim-option="--discovered-devices=$source_dir/examples/qt/discovered-devices.txt" \
    -- "$example" --screenshot "$work/devices.png" >"$work/out.txt" 2>"$work/err.txt" || status=$?

if [ "$status" -ne 0 ]; then
    cat "$work/out.txt" "$work/err.txt"
    echo "FAILED: the example ended with status $status"
    exit 1
fi
if ! grep -qx "saved $work/devices.png: 3 known, 1 discovered devices" "$work/out.txt"; then
    cat "$work/out.txt" "$work/err.txt"
    echo "FAILED: the example did not show the 3 sample devices and the discovered one"
    exit 1
fi
# A PNG of the window's size (800x480): signature, then the IHDR's width and height.
header="$(od -An -tx1 -N24 "$work/devices.png" | tr -d ' \n')"
case "$header" in
    89504e470d0a1a0a0000000d4948445200000320000001e0) ;;
    *)
        echo "FAILED: $work/devices.png is not an 800x480 PNG (header $header)"
        exit 1 ;;
esac
echo "the example showed the simulator's devices and saved its window"
