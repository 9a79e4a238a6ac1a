#!/bin/sh

# SPDX-FileCopyrightText: 2026 libvel contributors
#
# SPDX-License-Identifier: MPL-2.0

# help2man-page.sh <executable> <output> <version> <description> <help option> <include file> [<kind>...]
#
# Writes the man page of a tool from its own --help output, so the page cannot
# drift from the program. <include file> holds hand-written sections in
# help2man's format (ENVIRONMENT, SEE ALSO, ...). Each <kind> adds a section
# with the output of "<executable> <kind> --help" for tools whose commands are
# grouped by kind.
set -e
executable="$1"
output="$2"
version="$3"
description="$4"
help_option="$5"
include="$6"
shift 6

name="$(basename "$executable")"
work="$(mktemp -d)"
trap 'rm -rf "$work"' EXIT

cp "$include" "$work/sections.h2m"
# Help texts are plain text: protect roff's escape character and lines that
# would read as requests.
to_roff() {
    sed -e 's/\\/\\e/g' -e "s/^\([.']\)/\\\\\&\1/" -e 's/^-/\\-/'
}
for kind in "$@"; do
    upper="$(printf '%s' "$kind" | tr '[:lower:]' '[:upper:]')"
    {
        printf '\n[%s COMMANDS]\n.nf\n' "$upper"
        "$executable" "$kind" --help | to_roff
        printf '.fi\n'
    } >> "$work/sections.h2m"
done

# help2man runs the tool through this wrapper, which puts GOption's two-line
# "Usage:" block on one line as help2man expects.
mkdir "$work/bin"
cat > "$work/bin/$name" <<WRAPPER
#!/bin/sh
"$executable" "\$@" 2>&1 | awk '
    pending { sub(/^ +/, ""); sub(/ - .*/, ""); sub(/\\[OPTION\\?\\]/, "[OPTION...]"); print "Usage: " \$0; pending = 0; next }
    /^Usage:\$/ { pending = 1; next }
    { print }'
WRAPPER
chmod +x "$work/bin/$name"

help2man --no-info --no-discard-stderr \
    --name="$description" \
    --section=1 \
    --manual="User Commands" \
    --source="libvel $version" \
    --version-string="$name $version" \
    --help-option="$help_option" \
    --include="$work/sections.h2m" \
    --output="$work/page" \
    "$work/bin/$name"
# A quote inside a subsection title would end roff's quoted argument early.
awk '/^\.SS "/ { title = substr($0, 6, length($0) - 6); gsub(/"/, "\\(dq", title); print ".SS \"" title "\""; next } { print }' \
    "$work/page" > "$output"
