# Completion of mirovan for bash. Commands and options come from the program's own help.
_mirovan()
{
    local word=${COMP_WORDS[COMP_CWORD]} command=() at skip=0
    COMPREPLY=()
    for ((at = 1; at < COMP_CWORD; ++at)); do
        [[ ${COMP_WORDS[at]} != -- ]] || { skip=$at; break; }
        [[ ${COMP_WORDS[at]} == -* ]] || command+=("${COMP_WORDS[at]}")
    done
    if ((skip)); then # the command of "run"
        ((COMP_CWORD > skip + 1)) && mapfile -t COMPREPLY < <(compgen -f -- "$word") ||
            mapfile -t COMPREPLY < <(compgen -c -- "$word")
        return
    fi
    local depth=1
    [[ ${command[0]-} != tree ]] || depth=2
    if [[ ${COMP_WORDS[COMP_CWORD - 1]} == --sort ]]; then
        mapfile -t COMPREPLY < <(compgen -W "load memory start id" -- "$word")
    elif [[ $word == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" "${command[@]:0:depth}" --help 2>/dev/null |
            grep -oE -- '^ +(-.,)?--[a-z-]+' | grep -oE -- '--[a-z-]+')" -- "$word")
    elif ((${#command[@]} < depth)); then
        mapfile -t COMPREPLY < <(compgen -W "$("${COMP_WORDS[0]}" "${command[@]}" --help 2>/dev/null |
            sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\) .*/\1/p')" -- "$word")
    elif [[ ${command[0]} == watch ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(ps -e -o comm=)" -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -o filenames -F _mirovan mirovan
