#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# check-man-page.sh <tool> <man page> <help option> [<kind>...]
#
# The page must render without a warning from groff and must name every long
# option the tool's help lists, and every command of each <kind>'s help.
set -e
tool="$1"
page="$2"
help_option="$3"
shift 3
scratch="$(mktemp -d)"
trap 'rm -rf "$scratch"' EXIT

# Wide enough that nothing is wrapped or hyphenated.
MANWIDTH=1000 LC_ALL=C.UTF-8 man --warnings -E UTF-8 -l "$page" > "$scratch/rendered" 2> "$scratch/warnings"
if [ -s "$scratch/warnings" ]; then
    echo "$page renders with warnings:"
    cat "$scratch/warnings"
    exit 1
fi
col -b < "$scratch/rendered" > "$scratch/text"

"$tool" "$help_option" > "$scratch/help" 2>&1 || true
for kind in "$@"; do
    "$tool" "$kind" --help >> "$scratch/help" 2>&1 || true
    # Command lines of a kind's help: two blanks, then a lower-case word.
    sed -n 's/^  \([a-z][a-z-]*\).*/\1/p' "$scratch/help" >> "$scratch/expected"
done
grep -o -- '--[a-z][a-z-]*' "$scratch/help" >> "$scratch/expected"
sort -u "$scratch/expected" -o "$scratch/expected"
test -s "$scratch/expected" || { echo "no options found in $tool $help_option"; exit 1; }

missing=0
while read -r word; do
    # Whole words only: --store must not pass on --store-lock-timeout alone.
    if ! grep -qE -- "(^|[^a-z-])$word([^a-z-]|\$)" "$scratch/text"; then
        echo "$page does not mention $word"
        missing=1
    fi
done < "$scratch/expected"
[ "$missing" -eq 0 ] || exit 1
echo "$page renders cleanly and names all $(wc -l < "$scratch/expected") options and commands"
