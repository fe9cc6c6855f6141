#!/bin/bash
# Usage: check-rights.sh PAGE KIND=UID:GID,GID... ...
# Goes through the table of PAGE on the system bus as each kind of user: what it allows must reach its service, what it
# does not must end with AccessDenied. No call fits its method, so nothing happens. The services must be there.
set -uo pipefail
page=$1 wrong=0 looked=0
shift
kinds=(everybody ptz ptz-admin root)

# call KIND-IDS WORD...: what dbus-send says as that user.
call() {
    local uid=${1%%:*} gids=${1#*:}
    shift
    setpriv --reuid "$uid" --regid "${gids%%,*}" --groups "$gids" dbus-send --system --print-reply --reply-timeout=20000 "$@" 2>&1
}

while IFS='|' read -r _ what answers; do
    what=${what//[\` ]/ }
    read -r name method <<<"$what"
    if [[ $name == own ]]; then
        words=(--dest=org.freedesktop.DBus / org.freedesktop.DBus.RequestName "string:$method" uint32:4)
    else
        [[ -n $method ]] || { method=$name name=${name%.*}; }
        words=("--dest=$name" "/${name//./\/}" "$method" 'array:uint16:1')
    fi
    IFS='| ' read -r -a cells <<<"$answers"
    for i in "${!kinds[@]}"; do
        for kind in "$@"; do
            [[ ${kind%%=*} == "${kinds[i]}" ]] || continue
            said=$(call "${kind#*=}" "${words[@]}")
            case $said in
            *AccessDenied*) got=no ;;
            *ServiceUnknown* | *NoReply* | *setpriv:*) got='no answer' ;;
            *) got=yes ;;
            esac
            ((++looked))
            [[ $got == "${cells[i]}" ]] || { echo "${kind%%=*}: $what: $got, not ${cells[i]}: $said"; wrong=1; }
        done
    done
done < <(grep '^| `\(com\|own\)' "$page")
((looked > 0)) || { echo 'no call was tried'; wrong=1; }
((wrong)) || echo "$looked calls, each as the table says"
exit $wrong
