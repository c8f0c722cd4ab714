# bash completion of thsentinel                                                             -*- shell-script -*-

_thsentinel() {
    COMPREPLY=()
    # One option at most.
    [ "$COMP_CWORD" -eq 1 ] || return 0
    mapfile -t COMPREPLY < <(compgen -W '-install -uninstall -start -terminate -list_config -help -version' \
        -- "${COMP_WORDS[COMP_CWORD]}")
} && complete -F _thsentinel thsentinel
