# bash completion for vemra-softtoken. Commands, options and tokens are asked of the tool itself.
# shellcheck shell=bash

# _vemra_softtoken_commands TOOL [COMMAND]: the subcommands that the help lists.
_vemra_softtoken_commands() {
    "$@" --help 2>/dev/null | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z, -]*[a-z]\)   *.*/\1/p' |
        tr -d ','
}

_vemra_softtoken_options() {
    "$@" --help 2>/dev/null | grep -oE '^ +(-[a-z],)?--[a-z-]+' | grep -oE -e '--[a-z-]+'
}

_vemra_softtoken_tokens() {
    "$1" list 2>/dev/null | awk 'NR > 1 {print $1}'
}

_vemra_softtoken() {
    local tool=${COMP_WORDS[0]} command=${COMP_WORDS[1]:-} current=${COMP_WORDS[COMP_CWORD]}
    local place=$COMP_CWORD words=
    local asked=("$tool" "$command")
    if [ "$command" = fault ] && [ "$place" -gt 2 ]; then
        asked+=("${COMP_WORDS[2]}")
        place=$((place - 1))
    fi

    COMPREPLY=()
    if [ "$place" -eq 1 ]; then
        words=$(_vemra_softtoken_commands "$tool")
    elif [ "$command" = exec ] && [ "$place" -eq 2 ]; then
        words=--
    elif [ "$command" = exec ] && [ "$place" -eq 3 ]; then
        mapfile -t COMPREPLY < <(compgen -c -- "$current")
        return
    elif [[ $current == -* ]]; then
        words=$(_vemra_softtoken_options "${asked[@]}")
    elif [ "$command" = fault ] && [ "${#asked[@]}" -eq 2 ]; then
        words=$(_vemra_softtoken_commands "${asked[@]}")
    elif [ "$place" -eq 2 ] && [ "$command" != exec ]; then
        words=$(_vemra_softtoken_tokens "$tool")
    fi
    mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

complete -o default -F _vemra_softtoken vemra-softtoken
