# bash completion for pkgupdate-pack: subcommands, then each one's options as its
# own --help lists them, then file names.
_pkgupdate_pack() {
    local current=${COMP_WORDS[COMP_CWORD]} words
    if [ "$COMP_CWORD" -eq 1 ]; then
        words=$("${COMP_WORDS[0]}" --help 2>/dev/null | sed -n 's/^  \([a-z]\+\) .*/\1/p')
        mapfile -t COMPREPLY < <(compgen -W "$words --help --version" -- "$current")
    elif [[ $current == -* ]]; then
        words=$("${COMP_WORDS[0]}" "${COMP_WORDS[1]}" --help 2>/dev/null | grep -o -- '--[a-z0-9-]\+' | sort -u)
        mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
    fi
}
complete -o filenames -F _pkgupdate_pack pkgupdate-pack
