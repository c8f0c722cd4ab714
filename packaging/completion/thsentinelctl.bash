# bash completion of thsentinelctl                                                          -*- shell-script -*-
#
# Verbs and options come from the program's own help, so that they are those of the program that is installed.

_thsentinelctl_verbs() {
    "$1" --help 2>/dev/null | awk '/^Subcommands:/ { inside = 1; next } /^[^ ]/ { inside = 0 } inside && NF { print $1 }'
}

_thsentinelctl_options() {
    { "$@" --help; "$1" --help; } 2>/dev/null | grep -o -E -e '(^|[ ,])--?[a-z][a-z-]*' | tr -d ' ,' | sort -u
}

# The first word that is neither an option nor the value of one that all verbs have.
_thsentinelctl_verb() {
    local word value=
    for word in "$@"; do
        if [ -n "$value" ]; then
            value=
            continue
        fi
        case $word in
            --store | --evidence | --log) value=yes ;;
            -*) ;;
            *) echo "$word"; return ;;
        esac
    done
}

_thsentinelctl() {
    local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} verb
    verb=$(_thsentinelctl_verb "${COMP_WORDS[@]:1:COMP_CWORD-1}")
    COMPREPLY=()
    case ${COMP_WORDS[COMP_CWORD - 1]} in
        --evidence | --log)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            return
            ;;
        --store | -o)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
    esac
    case $current in
        -*) mapfile -t COMPREPLY < <(compgen -W "$(_thsentinelctl_options "$program" ${verb:+"$verb"})" -- "$current") ;;
        *)
            if [ -z "$verb" ]; then
                mapfile -t COMPREPLY < <(compgen -W "$(_thsentinelctl_verbs "$program")" -- "$current")
            else
                mapfile -t COMPREPLY < <(compgen -f -- "$current")
            fi
            ;;
    esac
} && complete -o filenames -F _thsentinelctl thsentinelctl
