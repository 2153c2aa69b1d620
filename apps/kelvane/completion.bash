# Completion of `kelvane` for bash. All words come from the command's own help.

_kelvane() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local kelvane=${COMP_WORDS[0]} words=
    if [ "$current" = = ]; then # bash takes --method=fast for three words
        current=
    elif [ "$previous" = = ]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    if ((COMP_CWORD == 1)); then
        words=$("$kelvane" --help | sed -n '/^Subcommands:/,$s/^  \([a-z]\+\) .*/\1/p')
    elif [[ $current == -* ]]; then
        words=$("$kelvane" "${COMP_WORDS[1]}" --help | sed -n 's/^  \(-h,\)\?\(--[a-z-]*\).*/\2/p')
    elif [[ $previous == --* ]]; then
        words=$("$kelvane" "${COMP_WORDS[1]}" --help | sed -n "s/^  $previous .*{\(.*\)}.*/\1/p" | tr , ' ')
    fi
    # Without words bash completes names of files.
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}
complete -o bashdefault -o default -F _kelvane kelvane
