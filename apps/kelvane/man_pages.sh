#!/usr/bin/env bash
# Makes the pages of the manual from the command's own help: man_pages.sh KELVANE FOLDER
set -euo pipefail
command=$1
folder=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
mkdir -p "$folder"
version=$("$command" --version)

page() { # page NAME [SUBCOMMAND]: help2man names a page after the program that it runs
    ln -s "$command" "$scratch/$1"
    help2man --no-info --name "$("$command" "${@:2}" --help | head -n 1 | sed 's/\.$//')" \
        --version-string "${version#* }" --help-option "${2:-} --help" --output "$folder/$1.1" \
        "$scratch/$1"
}

page kelvane
"$command" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\) .*/\1/p' |
    while read -r subcommand; do page "kelvane-$subcommand" "$subcommand"; done
