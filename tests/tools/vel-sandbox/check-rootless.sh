#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# check-rootless.sh <source dir> <mvel-sim> <velctl>
# vel-sandbox for a developer without root: as nobody (no groups, no sudo on
# PATH) it answers `velctl app paired` for a sample device, with the bus's
# socket in a directory that only that user can reach. Where it cannot drop
# to nobody, it fails: a check that cannot run is not a pass.
set -eu
source_dir="$1"
simulator="$2"
velctl="$3"
device="AC:37:43:9A:1F:02"

if [ "$(id -u)" -ne 0 ]; then
    echo "FAILED: this check drops from root to nobody; run it as root"
    exit 1
fi
[ -d /data ] || mkdir /data

work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT
chmod 0755 "$work"
mkdir -m 1777 "$work/tmp"
# The machine's programs, but no sudo among them.
mkdir "$work/bin"
for dir in /usr/local/sbin /usr/local/bin /usr/sbin /usr/bin /sbin /bin; do
    for program in "$dir"/*; do
        name="${program##*/}"
        [ "$name" != sudo ] && [ ! -e "$work/bin/$name" ] && [ -x "$program" ] && ln -s "$program" "$work/bin/$name"
    done
done
as_nobody() {
    setpriv --reuid=65534 --regid=65534 --clear-groups \
        env -i PATH="$work/bin" HOME=/nonexistent TMPDIR="$work/tmp" ASAN_OPTIONS="${ASAN_OPTIONS:-}" \
        LSAN_OPTIONS="${LSAN_OPTIONS:-}" UBSAN_OPTIONS="${UBSAN_OPTIONS:-}" TSAN_OPTIONS="${TSAN_OPTIONS:-}" \
        VEL_SANDBOX_DATA="$source_dir/data/sandbox" VEL_SANDBOX_SIMULATOR="$simulator" "$@"
}

status=0
as_nobody "$source_dir/tools/vel-sandbox/vel-sandbox" -- sh -c '
    if command -v sudo >/dev/null; then echo "sudo is on PATH"; exit 9; fi
    "$0" app paired "$1" || exit
    socket="${DBUS_SYSTEM_BUS_ADDRESS#unix:path=}"
    echo "socket directory $(stat -c %a "${socket%/*}")"
    echo "run directory $(stat -c %a "${socket%/*/*}")"
' "$velctl" "$device" >"$work/out" 2>"$work/err" || status=$?
if [ "$status" -ne 0 ]; then
    echo "FAILED: vel-sandbox as nobody ended with status $status"
    cat "$work/out" "$work/err"
    exit 1
fi
expected="$device: paired
socket directory 700
run directory 700"
if [ "$(cat "$work/out")" != "$expected" ]; then
    echo "FAILED: unexpected answer:"
    cat "$work/out" "$work/err"
    exit 1
fi
if grep -q -i "sudo" "$work/err"; then
    echo "FAILED: the sandbox mentions sudo:"
    cat "$work/err"
    exit 1
fi

# Where the kernel refuses user namespaces, one line says so and how to
# enable them. An unshare that fails as such a kernel makes it stands in.
mkdir "$work/refusing"
cp -P "$work/bin/"* "$work/refusing/" 2>/dev/null || true
rm -f "$work/refusing/unshare"
printf '#!/bin/sh\necho "unshare: unshare failed: Operation not permitted" >&2\nexit 1\n' >"$work/refusing/unshare"
chmod 0755 "$work/refusing/unshare"
status=0
setpriv --reuid=65534 --regid=65534 --clear-groups env -i PATH="$work/refusing" TMPDIR="$work/tmp" \
    "$source_dir/tools/vel-sandbox/vel-sandbox" -- true >"$work/out" 2>"$work/err" || status=$?
expected="vel-sandbox: unprivileged user namespaces are disabled here (unshare: unshare failed: Operation not permitted); enable them with 'sysctl -w kernel.unprivileged_userns_clone=1' where that setting exists, else 'sysctl -w user.max_user_namespaces=15000'"
if [ "$status" -ne 1 ] || [ "$(cat "$work/err")" != "$expected" ] || [ -s "$work/out" ]; then
    echo "FAILED: without user namespaces: status $status and:"
    cat "$work/out" "$work/err"
    exit 1
fi
echo "vel-sandbox works as nobody, socket directory 0700; refuses in one line without user namespaces"
