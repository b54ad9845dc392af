# Sourced by the whole-program tests of updates: a private mirror that the installed product trusts, its
# server, and what of the definitions is in use. On top of e2e.sh, whose variables it uses.
# shellcheck shell=bash
# The variables are those of e2e.sh and of whoever sources this.
# shellcheck disable=SC2034,SC2154
source "$(dirname -- "${BASH_SOURCE[0]}")/e2e.sh"

if [[ $EUID -ne 0 ]]; then
    echo "skipped: definitions are installed by root or by the update service"
    exit 77
fi

# Whatever becomes of the test, nothing stays of what it started: that would keep its output open.
# shellcheck disable=SC2317
EndOthers() {
    local pid
    for pid in "${holderPid:-}" "${servicePid:-}" "${serverPid:-}" "${busPid:-}"; do
        [[ -z $pid ]] || kill "$pid" 2>/dev/null
    done
}
trap EndOthers EXIT

# SetUpMirror: a key that the product trusts, and folders for the mirror.
SetUpMirror() {
    mkdir -p "$scratch/databases" "$scratch/mirror" "$kProductDir/updturl.keys" "$kProductDir/download"
    (cd "$scratch" && minisign -G -W -p mirror.pub -s mirror.key >/dev/null) &&
        install -m 644 "$scratch/mirror.pub" "$kProductDir/updturl.keys/"
}

# PutDatabase LETTER: the database to be mirrored finds the text "own-test-LETTER" and nothing else.
PutDatabase() {
    printf 'Own.Test.%s:0:*:%s\n' "$1" "$(printf 'own-test-%s' "$1" | od -An -v -t x1 | tr -d ' \n')" \
        >"$scratch/databases/own.ndb"
}

Publish() {
    corvane-mirror --from "$scratch/databases" --key "$scratch/mirror.key" "$scratch/mirror" >/dev/null
}

# MisSign: the mirror's index gets a stranger's signature; its own is kept beside the mirror, and nowhere in
# it.
MisSign() {
    rm "$scratch"/mirror/files/*.minisig
    mv "$scratch/mirror/index.json.minisig" "$scratch/kept.minisig"
    (cd "$scratch" && minisign -G -W -p other.pub -s other.key >/dev/null &&
        minisign -S -s other.key -m mirror/index.json >/dev/null)
}

# StartServer: sets `server`, `serverPid` and `address`. What it does stands in script.json, what it was asked
# for gets into requests.log.
StartServer() {
    local port
    echo '{}' >"$scratch/script.json"
    exec {server}< <(exec "$e2eRoot/tests/support/mirror_server" "$scratch/mirror" --script "$scratch/script.json" \
        --log "$scratch/requests.log")
    serverPid=$!
    read -r -t 20 port <&"$server"
    address=http://127.0.0.1:$port
}

# CurrentSet: the set in use, and what its database finds.
CurrentSet() {
    printf '%s %s' "$(readlink "$kProductDir/defs/current")" "$(cut -d : -f 1 "$kProductDir/defs/current/own.ndb")"
}

# StartService: the update service of ordinary users; sets `servicePid`.
StartService() {
    mkdir -p /run/corvane
    "$kProductDir/corvane-updated" >"$scratch/service.log" 2>&1 &
    servicePid=$!
    WaitFor 20 test -S /run/corvane/update.sock
}
