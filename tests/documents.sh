#!/usr/bin/env bash
# Runs every command that the documents show (blocks marked `sh`), page by page in an empty folder:
# documents.sh FOLDER_OF_THE_COMMAND PAGE...
set -euo pipefail
PATH=$1:$PATH
shift
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
count=0
for page in "$@"; do
    name=$(basename "$page" .md)
    awk '/^```sh$/ {inside = 1; next} /^```/ {inside = 0} inside' "$page" >"$scratch/$name.sh"
    [ -s "$scratch/$name.sh" ] || continue
    mkdir "$scratch/$name"
    (cd "$scratch/$name" && bash -euo pipefail "../$name.sh" >"../$name.log" 2>&1) || {
        echo "$page: a command failed" >&2
        cat "$scratch/$name.log" >&2
        exit 1
    }
    count=$((count + $(wc -l <"$scratch/$name.sh")))
done
[ "$count" -gt 0 ] || { echo "no command found" >&2; exit 1; }
echo "$count lines of commands ran"

# The tests that the guarantees name are there.
guarantees=$(printf '%s\n' "$@" | grep '/guarantees.md$')
sources=$(dirname "${BASH_SOURCE[0]}")
grep -oE '`([A-Za-z]+/)?[A-Z][A-Za-z]+\.[A-Z][A-Za-z0-9]+`' "$guarantees" | tr -d '`' | sed 's|.*/||' | sort -u |
    while IFS=. read -r suite name; do
        grep -rqE "TEST(_P|_F)?\($suite, $name\)" "$sources" || { echo "no test $suite.$name" >&2; exit 1; }
    done
