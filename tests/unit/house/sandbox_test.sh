#!/bin/bash
# sandbox_test.sh SANDBOX: what tests/support/sandbox promises, seen from outside and inside.
# Exit status 0, or 1 with one line for each promise broken.
# The scripts in single quotes are for the shell inside.
# shellcheck disable=SC2016
set -u

sandbox=$(readlink -f -- "$1")
checkout=$(readlink -f -- "${sandbox%/*}/../..")
failures=0
checks=0
scratch=$(mktemp -d)
trap 'rm -rf -- "$scratch"' EXIT

# Expect WHAT WANTED GOT
Expect() {
    checks=$((checks + 1))
    [[ $2 == "$3" ]] && return
    failures=$((failures + 1))
    printf 'FAILED %s\n  wanted: %s\n  got:    %s\n' "$1" "$2" "$3"
}

Exists() {
    [[ -e $1 ]] && echo yes || echo no
}

Queues() {
    ipcs -q | awk '$2 ~ /^[0-9]+$/' | wc -l
}

# What every way of running must keep. $1 names the way; the rest is put before the sandbox.
CheckWay() {
    local way=$1 got status child
    shift
    got=$("$@" "$sandbox" sh -c 'echo "$CORVANE_SANDBOX"; id -u' | tr '\n' ' ')
    Expect "$way: the command runs inside, as the caller" "1 $("$@" id -u) " "$got"

    got=$("$@" "$sandbox" sh -c '
        mkdir -p /usr/lib/Corvane/Corvane/reports /etc/init.d &&
        : >/usr/lib/Corvane/Corvane/house && : >/house-test && : >/tmp/house-test &&
        : >/etc/init.d/house-test && : >/dev/shm/house-test && : >/var/lib/house-test &&
        ls /usr/lib/Corvane/Corvane' | tr '\n' ' ')
    Expect "$way: the fixed paths can be written" "house reports " "$got"
    for path in /usr/lib/Corvane/Corvane/house /house-test /tmp/house-test /etc/init.d/house-test \
        /dev/shm/house-test /var/lib/house-test; do
        Expect "$way: $path vanishes" no "$(Exists "$path")"
    done

    "$@" "$sandbox" sh -c 'ipcmk -Q' >/dev/null
    got=$("$@" "$sandbox" sh -c 'ipcs -q | grep -c "^0x"')
    Expect "$way: queues made in one sandbox are not in the next" 0 "$got"

    got=$("$@" "$sandbox" sh -c "ls -A /tmp | grep -v -F -x -e '.X11-unix' -e '$(TmpEntry)'")
    Expect "$way: /tmp starts empty" "" "$got"
    got=$("$@" "$sandbox" test -r "$checkout/tests/support/sandbox" && echo yes)
    Expect "$way: the checkout is there" yes "$got"

    "$@" "$sandbox" sh -c 'exit 42'
    Expect "$way: the exit status is the command's" 42 $?
    got=$(printf 'in\0side' | "$@" "$sandbox" sh -c 'cat; echo err >&2' 2>&1 | tr '\0' .)
    Expect "$way: the streams are the command's" "in.sideerr" "$got"
    got=$("$@" "$sandbox" printf '<%s>' 'a b' '' '*' $'c\nd')
    Expect "$way: the arguments are the command's" $'<a b><><*><c\nd>' "$got"

    mkfifo "$scratch/ready"
    "$@" "$sandbox" sh -c 'trap "exit 9" TERM; echo go; while :; do sleep 0.05; done' \
        >"$scratch/ready" &
    child=$!
    read -r _ <"$scratch/ready"
    kill -TERM "$child"
    wait "$child"
    status=$?
    Expect "$way: a signal reaches the command" 9 "$status"
    rm -f "$scratch/ready"

    got=$(cd /usr/lib && "$@" "$sandbox" pwd)
    Expect "$way: the working directory stays" /usr/lib "$got"
    "$@" "$sandbox" /no/such/command 2>/dev/null
    Expect "$way: a missing command is not a success" 125 $?
}

# The entry of /tmp that the checkout lies below, which the sandbox shows.
TmpEntry() {
    local rest=${checkout#/tmp/}
    [[ $rest == "$checkout" ]] && echo no-such-entry || echo "${rest%%/*}"
}

CheckOptions() {
    mkdir "$scratch/out" "$scratch/shown"
    echo old >"$scratch/shown/file"
    "$sandbox" --output "$scratch/out" sh -c 'echo new >"$1/made"' sh "$scratch/out"
    Expect "--output lets its folder through" new "$(cat "$scratch/out/made" 2>/dev/null)"
    got=$("$sandbox" --show "$scratch/shown" sh -c 'cat "$1/file"; rm "$1/file"; ls "$1"' sh \
        "$scratch/shown")
    Expect "--show makes a folder visible" old "$got"
    Expect "--show never changes it" old "$(cat "$scratch/shown/file" 2>/dev/null)"
    "$sandbox" --output /no/such/folder true 2>/dev/null
    Expect "--output of a missing folder fails" 125 $?
    "$sandbox" 2>/dev/null
    Expect "no command is an error" 125 $?
    # The kernel stacks two overlays and no third, as a container's own root may be one.
    if [[ $(stat -f -c %T /) != overlayfs ]]; then
        got=$("$sandbox" "$sandbox" sh -c ': >/usr/lib/house-test && ls /usr/lib/house-test' 2>&1)
        Expect "a sandbox works inside a sandbox" /usr/lib/house-test "$got"
    fi
}

# A machine that hands out no mount namespaces.
WithoutNamespaces() {
    unshare --user --map-root-user \
        sh -c 'echo 0 >/proc/sys/user/max_mnt_namespaces && exec "$@"' sh "$@"
}

CheckFallback() {
    local got
    export -f WithoutNamespaces
    # Real paths are only ever used inside an outer sandbox here, so that this test needs none.
    got=$("$sandbox" bash -c '
        WithoutNamespaces "$1" bash -c "mkdir -p /usr/lib/Corvane/Corvane
            : >/usr/bin/corvane; : >/usr/bin/corvane-virlog
            : >/zqcommon.log; : >/tmp/scan.lck; : >/tmp/mine; ipcmk -Q >/dev/null
            echo \$CORVANE_SANDBOX; exit 6"
        echo "status $?"
        ls -d /usr/lib/Corvane /usr/bin/corvane* /zqcommon.log /tmp/scan.lck 2>/dev/null
        ls /tmp/mine
        ipcs -q | grep -c "^0x"' bash "$sandbox" | tr '\n' ' ')
    Expect "without namespaces root uses the real paths and cleans up" \
        "1 status 6 /tmp/mine 0 " "$got"

    got=$("$sandbox" bash -c 'mkdir -p /usr/lib/Corvane
        WithoutNamespaces "$1" echo ran 2>&1
        echo "status $?"' bash "$sandbox" | sed 's/(.*)/(why)/' | tr '\n' ' ')
    Expect "without namespaces an installed product is never touched" \
        "skipped: this machine allows no private root (why) status 77 " "$got"
}

if ! reason=$("$sandbox" true 2>&1); then
    echo "$reason"
    exit 77
fi

queuesBefore=$(Queues)
CheckWay direct env
if [[ $EUID -eq 0 ]]; then
    if setpriv --reuid 65534 --regid 65534 --clear-groups -- "$sandbox" true 2>/dev/null; then
        CheckWay "as an ordinary user" setpriv --reuid 65534 --regid 65534 --clear-groups --
        got=$(setpriv --reuid 65534 --regid 65534 --clear-groups -- "$sandbox" sh -c \
            'mkdir -m 0 /tmp/closed && ls /tmp/closed' 2>&1)
        Expect "an ordinary user has no rights of root inside" \
            "ls: cannot open directory '/tmp/closed': Permission denied" "$got"
    else
        echo "note: user namespaces are not allowed here; the ordinary user's way was not checked"
    fi
    CheckFallback
fi
CheckOptions
Expect "no message queue is left behind" "$queuesBefore" "$(Queues)"

echo "$checks checks, $failures failed"
[[ $failures -eq 0 ]]
