#!/bin/sh
# Compares the defined dynamic symbols of a library with the union of the
# checked-in lists (*.syms, one name per line, '#' comments).
set -eu
lib=$1
dir=$2
nm_tool=${NM:-nm}
expected=$(mktemp)
actual=$(mktemp)
trap 'rm -f "$expected" "$actual"' EXIT
cat "$dir"/*.syms | sed -e 's/#.*//' -e 's/[[:space:]]//g' | grep -v '^$' | sort -u > "$expected"
"$nm_tool" -D --defined-only "$lib" | awk '{print $NF}' | grep -v -E '^(_init|_fini|_edata|_end|__bss_start)$' \
    | sed 's/@.*//' | sort -u > "$actual"
if ! diff -u "$expected" "$actual"; then
    echo "exported symbols differ from $dir/*.syms (- listed only, + exported only)" >&2
    exit 1
fi
echo "$(wc -l < "$actual") exported symbols match"
