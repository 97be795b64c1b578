# Completion of xelini for bash: commands, options, files, and the sections and keys of the file.

_xelini_matching()
{
    local line
    COMPREPLY=()
    while IFS= read -r line; do
        [[ $line == "$2"* ]] && COMPREPLY+=("$(printf '%q' "$line")")
    done < <(printf '%s\n' "$1")
}

# The arguments behind the command that are no options, without quoting. Nothing is evaluated:
# a line that is still being typed must not run anything.
_xelini_positionals()
{
    local i
    positionals=()
    for ((i = 2; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        --encoding | --from | --default | -o | --output) ((++i)) ;;
        -?*) ;;
        *) positionals+=("${COMP_WORDS[i]//[\\\"\']/}") ;;
        esac
    done
}

_xelini()
{
    local word=${COMP_WORDS[COMP_CWORD]} command=${COMP_WORDS[1]} positionals options
    case ${COMP_WORDS[COMP_CWORD - 1]} in
    --encoding) mapfile -t COMPREPLY < <(compgen -W '8bit utf16le' -- "$word"); return ;;
    --from) mapfile -t COMPREPLY < <(compgen -W 'utf-8' -- "$word"); return ;;
    --default) return ;;
    -o | --output) compopt -o filenames; mapfile -t COMPREPLY < <(compgen -f -- "$word"); return ;;
    esac
    if ((COMP_CWORD == 1)); then
        mapfile -t COMPREPLY < <(compgen -W 'check list get exists set unset convert merge diff
            --help --version' -- "$word")
        return
    fi
    if [[ $word == -* ]]; then
        options=$(xelini "$command" --help 2>/dev/null | grep -oE -- '--[a-z][a-z-]*|-o\b')
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$word")
        return
    fi
    _xelini_positionals
    local place=${#positionals[@]}
    # Triples of set: 1 section, 2 key, 3 value, and so on.
    [[ $command == set ]] && ((place > 3)) && ((place = (place - 1) % 3 + 1))
    case $command:$place in
    check:* | merge:* | diff:[01] | *:0)
        compopt -o filenames
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
        ;;
    list:1 | get:1 | exists:1 | set:1 | unset:1)
        _xelini_matching "$(xelini list "${positionals[0]}" 2>/dev/null |
            sed -n 's/^\[\(.*\)\]$/\1/p')" "$word"
        ;;
    get:2 | exists:2 | set:2 | unset:2)
        _xelini_matching "$(xelini list "${positionals[0]}" "${positionals[-1]}" 2>/dev/null |
            sed -n '/^\[/!s/^\([^=]*\)=.*/\1/p')" "$word"
        ;;
    esac
}

complete -F _xelini xelini
