#compdef thsentinelctl
#
# Verbs and options come from the program's own help, so that they are those of the program that is installed.

local program=${words[1]} verb= value= word
local -a verbs flags subjects copies

# The first word that is neither an option nor the value of one that all verbs have.
for word in ${words[2,CURRENT-1]}; do
    if [[ -n $value ]]; then
        value=
        continue
    fi
    case $word in
        --store|--evidence|--log) value=yes ;;
        -*) ;;
        *) verb=$word; break ;;
    esac
done

if [[ ${words[CURRENT]} == -* ]]; then
    flags=(${(f)"$({ $program $verb --help; $program --help } 2>/dev/null |
        grep -o -E -e '(^|[ ,])--?[a-z][a-z-]*' | tr -d ' ,' | sort -u)"})
    compadd -a flags
elif [[ ${words[CURRENT-1]} == --evidence || ${words[CURRENT-1]} == --log ]]; then
    _files -/
elif [[ -z $verb && -z $value ]]; then
    verbs=(${(f)"$($program --help 2>/dev/null | awk '/^Verbs:/ { inside = 1; next } /^[^ ]/ { inside = 0 }
        inside && NF { verb = $1; $1 = ""; print verb ":" substr($0, 2) }')"})
    _describe -V verb verbs
elif [[ ${words[CURRENT-1]} == (--store|-o|--output|--cursor|--redact|--check) ]]; then
    _files
else
    # Options that point it at copies hold for what it is asked here, too.
    for ((word = 2; word < CURRENT; word++)); do
        [[ ${words[word]} == (--store|--evidence|--log) ]] && copies+=(${words[word]} ${words[word + 1]})
    done
    case $verb in
        explain|rehearse)
            subjects=(${(f)"$(timeout 3 $program metrics $copies 2>/dev/null |
                sed -n 's/^thsentinel_limit{name="\([^"\\]*\)".*/\1/p' | sort -u)"})
            compadd -a subjects
            ;;
        verify|report|bundle|pin)
            subjects=(${(f)"$(timeout 3 $program list --json $copies 2>/dev/null |
                sed -n 's/^ *"id": "\([^"\\]*\)",\{0,1\}$/\1/p')"})
            compadd -a subjects
            ;;
        check) _files ;;
    esac
fi
