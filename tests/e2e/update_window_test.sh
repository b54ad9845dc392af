#!/bin/bash
# "Update now" in the installed window: from a server, from the Internet centre and from a folder, with
# every message that an update can end with, as root and as an ordinary user.
# Functions here are reached through Must and Expect.
# shellcheck disable=SC2317
source "$(dirname -- "${BASH_SOURCE[0]}")/update_mirror.sh"

SetUp "$1"
SetAction 3
readonly kUpdated="Corvane Endpoint Protection is successfully updated."
readonly kUpToDate="The version of Corvane Endpoint Protection you have is up-to-date. Use Rapid Update regularly\
 to keep your copy updated."
readonly kFailed="Error retrieving updates."
readonly kInterrupted="Update process interrupted by user."
readonly kInvalidFiles="Specify valid definition files."
readonly kLocked="Rapid Update is already running in automatic mode."

# StartReading: a session bus of the test's own, on which the program tells screen readers what its windows
# show; what would lead it to another bus for that is played.
StartReading() {
    local bus=unix:path=$scratch/bus
    cat >"$scratch/bus.conf" <<XML
<busconfig><type>session</type><listen>$bus</listen><auth>EXTERNAL</auth>
<policy context="default"><allow user="*"/><allow own="*"/><allow send_destination="*" eavesdrop="true"/>
<allow eavesdrop="true"/></policy></busconfig>
XML
    dbus-daemon --config-file="$scratch/bus.conf" --nofork --nopidfile >"$scratch/bus.log" 2>&1 &
    busPid=$!
    export DBUS_SESSION_BUS_ADDRESS=$bus QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
    WaitFor 20 test -S "$scratch/bus" || return
    # It ends with the bus.
    /usr/bin/python3 -m dbusmock --session org.a11y.Bus /org/a11y/bus org.a11y.Bus >>"$scratch/bus.log" 2>&1 &
    WaitFor 20 busctl --address="$bus" call org.a11y.Bus /org/a11y/bus org.freedesktop.DBus.Mock \
        AddMethod sssss org.a11y.Bus GetAddress "" s "ret = '$bus'" >/dev/null
}

# Says LINE: a window "Rapid Update" shows exactly this line.
Says() {
    "$e2eRoot/tests/support/window_texts" "$programPid" "Rapid Update" | grep -qxF -- "$1"
}

# Told LINE: until a message box says so. What the windows say otherwise is printed.
Told() {
    WaitFor 30 Says "$1" && return
    echo "nothing says \"$1\", but:" >&2
    "$e2eRoot/tests/support/window_texts" "$programPid" "Rapid Update" >&2
    return 1
}

# Shows REGEX: until the main window shows a line like it.
Shows() {
    WaitFor 30 LineOf "$1"
}
LineOf() {
    "$e2eRoot/tests/support/window_texts" "$programPid" Corvane | grep -qx -- "$1"
}

# Confirm LINE: the message box that says so is there, and goes.
Confirm() {
    Told "$1" && Press "Rapid Update" Return && WaitFor "$kWindowLimit" HasNoWindow "Rapid Update"
}

# PressUpdateNow: in the main window, whatever page is open.
PressUpdateNow() {
    Press Corvane alt+u alt+w
}

# UpdateEnds WHAT LINE: pressed, and its message confirmed.
UpdateEnds() {
    Must "$1: Update now is pressed" PressUpdateNow
    Must "$1: the message" Confirm "$2"
}

# SetMode FLAGS [PATH]: where updates come from: 2 the Internet centre, 8 the server, 0 the folder PATH.
SetMode() {
    local path=${2:-}
    {
        printf '%b%s' "\\x0$1\\0\\0\\0\\x01\\0\\0\\0" "$path"
        head -c $((512 - ${#path})) /dev/zero
    } >"$kProductDir/zqupdate.opt"
}

# Reports: how many updates have left a report, how many records the index counts, and what the newest
# record says.
Reports() {
    local count
    count=$(od -An -t u4 -j 8 -N 4 "$kProductDir/updt.rpt" | tr -d ' ')
    printf '%s %s' "$(find "$kProductDir/reports" -name 'updt*.log' | wc -l)" "$count"
    ((count == 0)) || printf ' %s' "$(tail -c +$((12 + (count - 1) * 542 + 31)) "$kProductDir/updt.rpt" |
        head -c 256 | tr -d '\0')"
}

# OneScan: how many viruses a scan of the tree finds, in the window that is open.
scans=0
OneScan() {
    scans=$((scans + 1))
    Must "scan $scans starts" StartFolderScan "$tree"
    Must "scan $scans ends" WaitForEnd "$scans"
    Must "scan $scans closes" CloseScan
    Expect "scan $scans: $1" "$2" "$(Counter 'Virus Found')"
}

# UsesTheNewSet WHAT: the first scan after an update begins the loading, the next one uses what was loaded.
UsesTheNewSet() {
    OneScan "$1, with what was there as it began" 0
    OneScan "$1" 1
}

tree=/corvane-sample
mkdir "$tree"
printf 'a text with own-test-b in it\n' >"$tree/text"
Must "the mirror's key is trusted" SetUpMirror
PutDatabase a
Must "the mirror is made" Publish
Must "the server starts" StartServer
Must "the windows can be read" StartReading
StartProgram "$scratch"
Must "the main window appears" WaitForWindow Corvane

# From the server of the administrator, while a scan before it has loaded other definitions.
Must "the server is named" corvane-admin sources server "$address"
SetMode 8
OneScan "before any update" 0
echo '{"/index.json": {"do": "slow", "piece": 8, "pause": 0.3}}' >"$scratch/script.json"
Must "server: Update now is pressed" PressUpdateNow
Must "server: the dialog" Told "Retrieving updates"
Must "server: what it is at" Told "Downloding index files"
Must "server: the message" Confirm "$kUpdated"
echo '{}' >"$scratch/script.json"
Expect "server: the set" "set-1 Own.Test.a" "$(CurrentSet)"
Expect "server: the report" "1 1 UPDATED SUCCESSFULLY" "$(Reports)"
Must "server: the page" Shows "Last update: .*, updated"
OneScan "the first set knows another text" 0
UpdateEnds "nothing new" "$kUpToDate"
Expect "nothing new: the report" "2 2 UP-TO-DATE" "$(Reports)"
PutDatabase b
Must "the mirror is renewed" Publish
UpdateEnds "the renewed server" "$kUpdated"
Expect "the renewed server: the set" "set-2 Own.Test.b" "$(CurrentSet)"
Expect "the renewed server: the report" "3 3 UPDATED SUCCESSFULLY" "$(Reports)"
UsesTheNewSet "without a restart, what only the new set knows"

# From the Internet centre: the server's addresses are not asked.
Must "nobody answers as a server" corvane-admin sources server http://127.0.0.1:1
Must "the Internet centre is named" corvane-admin sources internet "$address"
SetMode 2
PutDatabase c
Must "the mirror is renewed" Publish
UpdateEnds "Internet" "$kUpdated"
Expect "Internet: the set" "set-3 Own.Test.c" "$(CurrentSet)"
Expect "Internet: the report" "4 4 UPDATED SUCCESSFULLY" "$(Reports)"

# A stranger's signature.
PutDatabase d
Must "the mirror is renewed" Publish
MisSign
UpdateEnds "a stranger's signature" "$kInvalidFiles"
Expect "a stranger's signature: the set" "set-3 Own.Test.c" "$(CurrentSet)"
Expect "a stranger's signature: no report" "4 4 UPDATED SUCCESSFULLY" "$(Reports)"
Must "a stranger's signature: the page" Shows "Last update: .*, no valid definition files"
mv "$scratch/kept.minisig" "$scratch/mirror/index.json.minisig"

# A server that has nothing.
echo '{"/index.json": {"do": "status", "status": 403}}' >"$scratch/script.json"
UpdateEnds "a server without definitions" "$kFailed"
echo '{}' >"$scratch/script.json"
Expect "a server without definitions: the report" "5 5 UPDATE ERROR" "$(Reports)"
Must "a server without definitions: the page" Shows "Last update: .*, failed"

# Stop while a slow server sends.
echo '{"/index.json": {"do": "slow", "pause": 2}}' >"$scratch/script.json"
Must "stop: Update now is pressed" PressUpdateNow
Must "stop: the dialog" Told "Retrieving updates"
Must "stop: Escape does nothing" Press "Rapid Update" Escape
Must "stop: the dialog is still there" Told "Retrieving updates"
Must "stop: Stop is pressed" Press "Rapid Update" alt+s
Must "stop: the message" Confirm "$kInterrupted"
echo '{}' >"$scratch/script.json"
Expect "stop: the set" "set-3 Own.Test.c" "$(CurrentSet)"
Expect "stop: no report" "5 5 UPDATE ERROR" "$(Reports)"

# While the automatic updates hold the lock.
exec {held}< <(exec python3 - "$kProductDir/updt.lck" <<'PYTHON'
import fcntl, sys, time
lock = open(sys.argv[1], "r+b")
fcntl.lockf(lock, fcntl.LOCK_EX | fcntl.LOCK_NB, 1)
print("held", flush=True)
time.sleep(600)
PYTHON
)
holderPid=$!
Must "the lock is held" read -r -t 20 <&"$held"
Must "locked: Update now is pressed" PressUpdateNow
Must "locked: the message" Told "$kLocked"
Expect "locked: no dialog" 1 "$(xdotool search --onlyvisible --name '^Rapid Update$' 2>/dev/null | wc -l)"
Must "locked: the message is confirmed" Confirm "$kLocked"
kill "$holderPid"
Expect "locked: no report" "5 5 UPDATE ERROR" "$(Reports)"

# From a folder.
mkdir "$scratch/empty" "$scratch/stick"
SetMode 0 "$scratch/empty"
UpdateEnds "an empty folder" "$kInvalidFiles"
Expect "an empty folder: the set" "set-3 Own.Test.c" "$(CurrentSet)"
Expect "an empty folder: no report" "5 5 UPDATE ERROR" "$(Reports)"
cp "$scratch"/mirror/index.json* "$scratch/databases/own.ndb" "$scratch/stick"
SetMode 0 "$scratch/stick"
UpdateEnds "a folder" "$kUpdated"
Expect "a folder: the set" "set-4 Own.Test.d" "$(CurrentSet)"
Expect "a folder: the report" "6 6 UPDATED SUCCESSFULLY" "$(Reports)"

# A start that fails is told as a success, on purpose; the log knows better.
mv "$kProductDir/zqupdate.opt" "$scratch/"
UpdateEnds "without options" "$kUpdated"
Expect "without options: why" 1 "$(grep -c "zqupdate.opt) not opened: No such file" /tmp/zqscanfile)"
Expect "without options: the set" "set-4 Own.Test.d" "$(CurrentSet)"
Expect "without options: the report" "7 7 UPDATED SUCCESSFULLY" "$(Reports)"
mv "$scratch/zqupdate.opt" "$kProductDir/"

# Without the updater the dialog stays until it is stopped.
mv "$kProductDir/updturl.so" "$scratch/"
Must "without the updater: Update now is pressed" PressUpdateNow
Must "without the updater: the dialog" Told "Retrieving updates"
Rest
Must "without the updater: the dialog stays" Told "Retrieving updates"
Must "without the updater: Stop is pressed" Press "Rapid Update" alt+s
Must "without the updater: the message" Confirm "$kInterrupted"
Expect "without the updater: no report" "7 7 UPDATED SUCCESSFULLY" "$(Reports)"

# With one that lacks what is called, nothing starts.
cp "$kProductDir/scansts.so" "$kProductDir/updturl.so"
UpdateEnds "another library in its place" "$kUpdated"
Expect "another library in its place: why" 1 "$(grep -c "updturl.so): it has no ZQUpdateFromSite" /tmp/zqscanfile)"
Expect "another library in its place: the set" "set-4 Own.Test.d" "$(CurrentSet)"
Expect "another library in its place: the report" "8 8 UPDATED SUCCESSFULLY" "$(Reports)"
mv "$scratch/updturl.so" "$kProductDir/"
Must "the program ends" CloseProgram

# An ordinary user, who may install nothing: the update service does.
if [[ -x $kProductDir/corvane-updated ]]; then
    PutDatabase b
    Must "the mirror is renewed" Publish
    SetMode 2
    Must "the service starts" StartService
    AsOrdinaryUser
    StartProgram "$scratch"
    Must "the main window appears" WaitForWindow Corvane
    UpdateEnds "an ordinary user" "$kUpdated"
    Expect "an ordinary user: the set" "set-5 Own.Test.b" "$(CurrentSet)"
    Expect "an ordinary user: the report" "9 9 UPDATED SUCCESSFULLY" "$(Reports)"
    UsesTheNewSet "of an ordinary user"
    UpdateEnds "an ordinary user, nothing new" "$kUpToDate"
    # The lists and the folder are those of the options, which the service reads itself.
    Must "the server is named again" corvane-admin sources server "$address"
    Must "nobody answers in the Internet" corvane-admin sources internet http://127.0.0.1:1
    SetMode 8
    PutDatabase c
    Must "the mirror is renewed" Publish
    UpdateEnds "an ordinary user, server" "$kUpdated"
    Expect "an ordinary user, server: the set" "set-6 Own.Test.c" "$(CurrentSet)"
    SetMode 0 "$scratch/empty"
    UpdateEnds "an ordinary user, an empty folder" "$kInvalidFiles"
    PutDatabase d
    Must "the mirror is renewed" Publish
    cp "$scratch"/mirror/index.json* "$scratch/databases/own.ndb" "$scratch/stick"
    SetMode 0 "$scratch/stick"
    UpdateEnds "an ordinary user, a folder" "$kUpdated"
    Expect "an ordinary user, a folder: the set" "set-7 Own.Test.d" "$(CurrentSet)"
    Expect "an ordinary user: the reports" "12 12 UPDATED SUCCESSFULLY" "$(Reports)"
    echo '{"/index.json": {"do": "slow", "pause": 2}}' >"$scratch/script.json"
    SetMode 8
    Must "an ordinary user stops: Update now is pressed" PressUpdateNow
    Must "an ordinary user stops: the dialog" Told "Downloding index files"
    Must "an ordinary user stops: Stop is pressed" Press "Rapid Update" alt+s
    Must "an ordinary user stops: the message" Confirm "$kInterrupted"
    Expect "an ordinary user stops: no report" "12 12 UPDATED SUCCESSFULLY" "$(Reports)"
    Must "the program ends" CloseProgram
    kill "$servicePid"
else
    echo "this product has no update service"
fi

kill "$serverPid" "$busPid"
Finish
