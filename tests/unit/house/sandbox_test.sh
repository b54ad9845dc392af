#!/bin/bash
# sandbox_test.sh SANDBOX: what tests/support/sandbox promises, seen from outside and inside.
# Exit status 0, or 1 with one line for each promise broken, or 77 with a line for each way of running
# that this machine does not allow.
# The scripts in single quotes are for the shell inside.
# shellcheck disable=SC2016
set -u
# shellcheck source=../../support/expect.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../support/expect.sh"

sandbox=$(readlink -f -- "$1")
checkout=$(readlink -f -- "${sandbox%/*}/../..")
skips=0
scratch=$(mktemp -d)
madeBelowRun=
trap 'rm -rf -- "$scratch" ${madeBelowRun:+"$madeBelowRun"}' EXIT

Skip() {
    skips=$((skips + 1))
    printf 'skipped: %s\n' "$1"
}

# Starts WAY COMMAND...: whether the sandbox, started by the command, starts anything here. Only what it
# says of the machine is no failure of its own.
Starts() {
    local way=$1 reason status
    shift
    reason=$("$@" "$sandbox" true 2>&1)
    status=$?
    if [[ $status -eq 77 && $reason == "skipped: this machine allows no private root ("* ]]; then
        Skip "$way: ${reason#skipped: }"
        return 1
    fi
    Expect "$way: it starts a command" "0 " "$status $reason"
    [[ $status -eq 0 ]]
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

# The machine's devices, and what of this test stands beside them. Others use these folders meanwhile.
Devices() {
    stat -c '%n %F %t:%T %a %u:%g %i' /dev/null /dev/zero /dev/full /dev/random /dev/urandom /dev/tty
    ls -l /dev/fd /dev/ptmx
    find /dev /dev/shm /run -maxdepth 1 -name 'house-*'
}

# $1 names the way; $2 says whether a node can be replaced there; the rest is put before the sandbox.
CheckDevices() {
    local way=$1 replaced=$2 got before here
    shift 2
    before=$(Devices)
    here=$(stat -c %d /dev)
    got=$("$@" "$sandbox" stat -c %d /dev)
    if [[ $got == "$here" ]]; then
        # What follows would change the machine's own devices.
        Expect "$way: /dev is private" "another file system" "the machine's"
        return
    fi
    got=$("$@" "$sandbox" stat -c '%n %t:%T %a' \
        /dev/null /dev/zero /dev/full /dev/random /dev/urandom /dev/tty)
    Expect "$way: the usual devices are there" "/dev/null 1:3 666
/dev/zero 1:5 666
/dev/full 1:7 666
/dev/random 1:8 666
/dev/urandom 1:9 666
/dev/tty 5:0 666" "$got"
    got=$("$@" "$sandbox" sh -c 'ls /dev' | tr '\n' ' ')
    Expect "$way: no other device is there" \
        "fd full null ptmx pts random shm stderr stdin stdout tty urandom zero " "$got"
    got=$("$@" "$sandbox" sh -c 'echo lost >/dev/null && head -c 2 /dev/zero | od -An -tx1 &&
        head -c 3 /dev/urandom | wc -c && head -c 3 /dev/random | wc -c &&
        echo through | cat /dev/stdin /dev/fd/0 && (echo out >/dev/stdout) | cat &&
        (echo err >/dev/stderr) 2>&1 | cat &&
        (echo x >/dev/full) 2>/dev/null || echo full' 2>&1 | tr '\n' ' ')
    Expect "$way: the devices work" " 00 00 3 3 through out err full " "$got"
    got=$("$@" "$sandbox" script -qec 'tty; stty size >/dev/tty' /dev/null </dev/null | tr -d '\r' | tr '\n' ' ')
    Expect "$way: a terminal can be made, the first of its own" "/dev/pts/0 0 0 " "$got"

    got=$("$@" "$sandbox" sh -c 'for name in full null; do
            chmod 600 /dev/$name; rm -f /dev/$name; mv -f /dev/zero /dev/$name; echo kept >/dev/$name
        done 2>/dev/null
        [ -f /dev/null ] && cat /dev/null || echo no')
    Expect "$way: a device can be replaced" "$replaced" "$got"
    "$@" "$sandbox" sh -c ': >/dev/shm/house-test; : >/run/house-test; : >/dev/house-test
        ln -sf /tmp /dev/shm/house-link; mkdir /run/house-folder' 2>/dev/null
    Expect "$way: the machine's devices, /dev/shm and /run are unchanged" "$before" "$(Devices)"
    got=$("$@" "$sandbox" sh -c 'ls -A /dev/shm /run; : >/run/mine && ls /run/mine' | tr '\n' ' ')
    Expect "$way: /dev/shm and /run start empty and can be written" \
        "/dev/shm:  /run: lock /run/mine " "$got"
}

CheckKernelSettings() {
    local got before file=/proc/sys/kernel/printk_ratelimit
    got=$("$sandbox" sh -c '(cat "$1" >"$1") 2>/dev/null || echo closed
        mkdir /sys/house 2>&1 | sed "s/.*: //"; cat "$1"' sh "$file" | tr '\n' ' ')
    Expect "root cannot change the kernel's settings" \
        "closed Read-only file system $(cat "$file") " "$got"
    # As the formats of programs are mounted, once somebody uses them.
    got=$(unshare --mount --propagation private sh -c 'mount -t tmpfs house-test /proc/sys/fs/inotify &&
        "$1" sh -c "(: >/proc/sys/fs/inotify/house-test) 2>/dev/null || echo closed"
        ls -A /proc/sys/fs/inotify' sh "$sandbox")
    Expect "root cannot change what is mounted below them" closed "$got"
    file=/proc/sys/kernel/msgmni
    before=$(cat "$file")
    got=$("$sandbox" sh -c 'echo 77 >"$1"; cat "$1"' sh "$file" 2>&1)
    Expect "root can bound the sandbox's own queues" 77 "$got"
    Expect "the machine's queues keep their bound" "$before" "$(cat "$file")"
}

# A folder below /run is hidden, or with --show there: with its sockets, and not to be written.
CheckShownBelowRun() {
    local folder got
    folder=$(mktemp -d -p "$(RunFolder)") || return
    madeBelowRun=$folder
    echo shown >"$folder/file"
    got=$("$sandbox" sh -c 'cat "$1/file" 2>/dev/null || echo hidden' sh "$folder")
    Expect "a folder below /run is hidden" hidden "$got"
    got=$("$sandbox" --show "$folder" sh -c 'cat "$1/file"; (: >"$1/new") 2>/dev/null || echo closed' \
        sh "$folder" | tr '\n' ' ')
    Expect "--show makes a folder below /run visible, and no more" "shown closed " "$got"
    got=$("$sandbox" --show "$folder/file" cat "$folder/file")
    Expect "--show makes a single file below /run visible" shown "$got"
}

# Where the caller may write below /run.
RunFolder() {
    if [[ -w /run ]]; then echo /run; else echo "/run/user/$EUID"; fi
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
    got=$("$sandbox" --network sh -c 'ip -o link | wc -l; ip -o link show up lo | wc -l' | tr '\n' ' ')
    Expect "--network has nothing but a loopback interface, which is up" "1 1 " "$got"
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

# A machine that hands out no mount namespaces. Reached by its exported name.
# shellcheck disable=SC2317
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
            mkdir /corvane-sample; : >/zqcommon.log; : >/tmp/scan.lck; : >/tmp/mine; ipcmk -Q >/dev/null
            echo \$CORVANE_SANDBOX; exit 6"
        echo "status $?"
        ls -d /usr/lib/Corvane /usr/bin/corvane* /zqcommon.log /tmp/scan.lck /corvane-sample 2>/dev/null
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

Finish() {
    AllHeld || exit 1
    [[ $skips -eq 0 ]] || exit 77
    exit 0
}

Starts direct env || Finish
queuesBefore=$(Queues)
CheckWay direct env
[[ ! -w $(RunFolder) ]] || CheckShownBelowRun
if [[ $EUID -eq 0 ]]; then
    if ! setpriv --reuid 65534 --regid 65534 --clear-groups -- test -x "$sandbox"; then
        Skip "as an ordinary user: the checkout is closed to others"
    elif Starts "as an ordinary user" setpriv --reuid 65534 --regid 65534 --clear-groups --; then
        CheckWay "as an ordinary user" setpriv --reuid 65534 --regid 65534 --clear-groups --
        CheckDevices "as an ordinary user" no setpriv --reuid 65534 --regid 65534 --clear-groups --
        got=$(setpriv --reuid 65534 --regid 65534 --clear-groups -- "$sandbox" sh -c \
            'mkdir -m 0 /tmp/closed && ls /tmp/closed' 2>&1)
        Expect "an ordinary user has no rights of root inside" \
            "ls: cannot open directory '/tmp/closed': Permission denied" "$got"
    fi
    CheckFallback
    CheckDevices "as root" kept env
    CheckDevices "as root that may make no nodes" no setpriv --bounding-set -mknod --
    CheckKernelSettings
else
    CheckDevices direct no env
fi
CheckOptions
Expect "no message queue is left behind" "$queuesBefore" "$(Queues)"
Finish
