#!/bin/bash
# The installed product updates from a private mirror and from a folder, as root and as an ordinary
# user, and then finds what only the new definitions know.
# Functions here are reached through Must and Expect.
# shellcheck disable=SC2317
source "$(dirname -- "${BASH_SOURCE[0]}")/update_mirror.sh"

SetUp "$1"
SetAction 3

# Update ARGUMENT...: the last line of the run, which is its result.
Update() {
    "${runAs[@]}" "$build/tests/support/run_updater" "$@" >"$scratch/run.log" 2>&1
    tail -n 1 "$scratch/run.log"
}

# Found: how many viruses a scan of the tree finds.
scans=0
Found() {
    scans=$((scans + 1))
    {
        StartProgram "$scratch" && WaitForWindow Corvane && StartFolderScan "$tree" && WaitForEnd "$scans"
        CloseScan && CloseProgram
    } >&2
    Counter 'Virus Found'
}

tree=/corvane-sample
mkdir "$tree"
printf 'a text with own-test-b in it\n' >"$tree/text"
Must "the mirror's key is trusted" SetUpMirror
PutDatabase a
Must "the mirror is made" Publish
Must "the server starts" StartServer

Expect "a scan before any update" 0 "$(Found)"
scans=1
Expect "the first update" "result 1" "$(Update site "$address")"
Expect "the set" "set-1 Own.Test.a" "$(CurrentSet)"
Expect "nothing new" "result 2" "$(Update site "$address")"

PutDatabase b
Must "the mirror is renewed" Publish
echo '{"/index.json": {"do": "hang"}}' >"$scratch/script.json"
Expect "a stop in the middle" "result 3" "$(Update site "$address" 2003)"
Expect "the set after a stop" "set-1 Own.Test.a" "$(CurrentSet)"
echo '{}' >"$scratch/script.json"

MisSign
Expect "a stranger's signature" "result 4" "$(Update site "$address")"
Expect "a refusal is told" 1 "$(grep -c '^status 2004' "$scratch/run.log")"
Expect "the set after a refusal" "set-1 Own.Test.a" "$(CurrentSet)"
mv "$scratch/kept.minisig" "$scratch/mirror/index.json.minisig"
Expect "the renewed mirror" "result 1" "$(Update site "$address")"
Expect "the new set" "set-2 Own.Test.b" "$(CurrentSet)"
Expect "a scan finds what only the new set knows" 1 "$(Found)"

# From a folder.
mkdir "$scratch/empty"
Expect "a folder without definitions" "result 3" "$(Update index "$scratch/empty")"
PutDatabase c
Must "the mirror is renewed" Publish
mkdir "$scratch/stick"
cp "$scratch"/mirror/index.json* "$scratch/stick"
cp "$scratch/databases/own.ndb" "$scratch/stick"
Expect "a folder with signed definitions" "result 1" "$(Update index "$scratch/stick")"
Expect "the set from the folder" "set-3 Own.Test.c" "$(CurrentSet)"

# An ordinary user, while no service runs.
AsOrdinaryUser
: >/zqupdt.log
chmod 666 /zqupdt.log
Expect "without the service" "result 0" "$(Update site "$address")"
Expect "why, and what to do" 1 \
    "$(grep -c 'the update service cannot be asked.*systemctl start corvane-updated' /zqupdt.log)"
Expect "nothing of the definitions changed" "set-3 Own.Test.c" "$(CurrentSet)"

# The same with the service, which reads itself where updates come from.
WriteSources() {
    # Flags: automatic, from the Internet centre; then 1, and neither path nor backup.
    python3 - "$kProductDir" "$1" <<'END'
import sys
folder, address = sys.argv[1:]
with open(folder + "/zqupdate.opt", "wb") as options:
    options.write(bytes([3, 0, 0, 0, 1, 0, 0, 0]) + bytes(512))
record = bytes(4) + address.encode().ljust(1032, b"\0")
with open(folder + "/updlink.dat", "wb") as links:
    links.write(bytes([0, 0, 0, 0, 1, 0]) + bytes((b << 3 | b >> 5) & 255 for b in record))
END
}

if [[ -x $kProductDir/corvane-updated ]]; then
    PutDatabase d
    Must "the mirror is renewed" Publish
    WriteSources "$address"
    Must "the service starts" StartService
    Expect "the user's own address is not used" "result 1" "$(Update site http://127.0.0.1:1)"
    Expect "the set of the service" "set-4 Own.Test.d" "$(CurrentSet)"
    Expect "nothing new for the user" "result 2" "$(Update site "$address")"
    echo '{"/index.json": {"do": "hang"}}' >"$scratch/script.json"
    Expect "a stop by the user" "result 3" "$(Update site "$address" 2003)"
    kill "$servicePid"
else
    echo "this product has no update service"
fi
runAs=()

kill "$serverPid"
Finish
