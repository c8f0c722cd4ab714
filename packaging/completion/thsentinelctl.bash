# bash completion of thsentinelctl                                                          -*- shell-script -*-
#
# Verbs and options come from the program's own help, so that they are those of the program that is installed.

_thsentinelctl_verbs() {
    "$1" --help 2>/dev/null | awk '/^Verbs:/ { inside = 1; next } /^[^ ]/ { inside = 0 } inside && NF { print $1 }'
}

_thsentinelctl_options() {
    { "$@" --help; "$1" --help; } 2>/dev/null | grep -o -E -e '(^|[ ,])--?[a-z][a-z-]*' | tr -d ' ,' | sort -u
}

# The first word that is neither an option nor the value of one that all verbs have.
_thsentinelctl_verb() {
    local word value=
    for word in "$@"; do
        [ "$word" != "=" ] || continue # "--store=FILE" comes as three words
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

# The options of the line that point it at copies, with their values.
_thsentinelctl_copies() {
    local place
    for ((place = 1; place < COMP_CWORD; place++)); do
        case ${COMP_WORDS[place]} in
            --store | --evidence | --log)
                printf '%s\n' "${COMP_WORDS[place]}"
                [ "${COMP_WORDS[place + 1]}" != "=" ] || place=$((place + 1))
                printf '%s\n' "${COMP_WORDS[place + 1]}"
                ;;
        esac
    done
}

# The lines of the input that begin with a text. compgen would run what names from outside hold as shell code.
_thsentinelctl_beginning() {
    local line
    while IFS= read -r line; do
        [[ $line != "$1"* ]] || printf '%s\n' "$line"
    done
}

# What the verb takes beside options: watched names or ids of sets, both from the program, or files.
_thsentinelctl_subjects() {
    local program=$1 verb=$2 current=$3
    local -a copies
    mapfile -t copies < <(_thsentinelctl_copies)
    case $verb in
        explain | rehearse)
            timeout 3 "$program" metrics "${copies[@]}" 2>/dev/null |
                sed -n 's/^thsentinel_limit{name="\([^"\\]*\)".*/\1/p' | sort -u | _thsentinelctl_beginning "$current"
            ;;
        verify | report | bundle | pin)
            timeout 3 "$program" list --json "${copies[@]}" 2>/dev/null |
                sed -n 's/^ *"id": "\([^"\\]*\)",\{0,1\}$/\1/p' | _thsentinelctl_beginning "$current"
            ;;
        check) compgen -f -- "$current" ;;
    esac
}

_thsentinelctl() {
    local program=${COMP_WORDS[0]} current=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]} verb
    if [ "$current" = "=" ]; then
        current=
    elif [ "$before" = "=" ]; then
        before=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    verb=$(_thsentinelctl_verb "${COMP_WORDS[@]:1:COMP_CWORD-1}")
    COMPREPLY=()
    case $before in
        --evidence | --log)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            return
            ;;
        --store | -o | --output | --cursor | --redact | --check)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            return
            ;;
    esac
    if [[ $current == -* ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_thsentinelctl_options "$program" ${verb:+"$verb"})" -- "$current")
    elif [ -z "$verb" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$(_thsentinelctl_verbs "$program")" -- "$current")
    else
        mapfile -t COMPREPLY < <(_thsentinelctl_subjects "$program" "$verb" "$current")
    fi
} && complete -o filenames -F _thsentinelctl thsentinelctl
