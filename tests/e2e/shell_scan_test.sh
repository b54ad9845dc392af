#!/bin/bash
# A scan from the shell reports what the window's scan of the same tree reports, and ends as it says.
source "$(dirname -- "${BASH_SOURCE[0]}")/e2e.sh"

SetUp "$1"
scan=$kProductDir/corvane-scan
tree=/corvane-sample
MakeSampleFolder "$tree"
WriteEicar "$tree/downloads/<b>two"
: >"$tree/empty"
ln -s / "$tree/loop"
mkfifo "$tree/fifo"
head -c 3000 /dev/urandom | gzip | head -c 2000 >"$tree/downloads/cut.gz"
chmod -R a+rwX "$tree"

# Plain REPORT: without what two scans cannot have in common.
Plain() {
    sed -E 's/[0-9]{2}:[0-9]{2}:[0-9]{2}/HH:MM:SS/' "$1"
}

# Scan STATUS ARGUMENT...: what it prints goes to output and errors.
Scan() {
    local expected=$1 status=0
    shift
    "${runAs[@]}" "$scan" "$@" >"$scratch/output" 2>"$scratch/errors" || status=$?
    Expect "the exit status of corvane-scan $*" "$expected" "$status"
}

SetAction 3
StartProgram "$scratch"
Must "the main window appears" WaitForWindow Corvane
Must "the window's scan starts" StartFolderScan "$tree"
Must "the window's scan ends" WaitForEnd 1
Must "the dialog closes" CloseScan
Must "the program ends" CloseProgram
Scan 1 "$tree"
Expect "viruses in the window's report" 3 "$(Counter 'Virus Found')"
Expect "the same report" "$(Plain "$(NewestReport)")" "$(Plain "$scratch/output")"
Expect "what was not read" 1 "$(grep -c "^corvane-scan: not read: $tree/downloads/cut.gz: " "$scratch/errors")"
Expect "no report in the list of the window" 1 "$(IndexCount)"
Scan 1 --format json "$tree"
Expect "the same counts" \
    "$(Counter 'Files Scanned') $(Counter 'Virus Found') $(Counter 'I.O Errors')" \
    "$(tail -n 1 "$scratch/output" | sed -E 's/.*"scanned":([0-9]+),"infected":([0-9]+).*"unread":([0-9]+).*/\1 \2 \3/')"
Scan 0 "$tree/letters"
Scan 2 "$tree/downloads/cut.gz" "$tree/letters"
Scan 0 --exclude '*.com' --exclude 'nested*' --exclude '<b>*' --exclude cut.gz "$tree"

# Asked to end in the middle of many files, and at once.
mkdir /many
(cd /many && head -c 20000000 /dev/zero | tr '\0' 'x' | split -b 1000 -a 4 - file)
rm "$scratch/output"
"$scan" --format json /many /many /many >"$scratch/output" 2>&1 &
scanning=$!
Must "it has begun" WaitFor 60 test -s "$scratch/output"
begin=${EPOCHREALTIME/./}
kill -TERM "$scanning" 2>/dev/null
status=0
wait "$scanning" || status=$?
took=$(((${EPOCHREALTIME/./} - begin) / 1000))
echo "it ended $took ms after it was asked to"
Expect "the status of a stopped scan" 2 "$status"
Expect "it says so" 1 "$(tail -n 1 "$scratch/output" | grep -c '"interrupted":true')"
# What it says in its manual, and the time a busy machine takes besides.
Expect "it ended at once" yes "$( ((took < 2000)) && echo yes)"
Expect "nothing is left running" "" "$(pgrep -x corvane-scan)"

# Who has fewer rights deletes what is theirs, and the log says who.
AsOrdinaryUser
chmod 700 "$tree/letters"
[[ $EUID -ne 0 ]] || chown -R 65534:65534 "$tree/downloads"
export XDG_DATA_HOME=$scratch/data XDG_CACHE_HOME=$scratch/cache
Scan 1 --action delete "$tree"
Expect "what was infected is gone" "cut.gz long.txt" "$(cd "$tree/downloads" && printf '%s ' * | sed 's/ $//')"
[[ $EUID -ne 0 ]] || Expect "what was closed is told" \
    "corvane-scan: not read: $tree/letters: Permission denied" "$(grep letters "$scratch/errors")"
Expect "the virus log names the user" "3" \
    "$(corvane-virlog --format csv --text 'file is deleted' | tail -n +2 | cut -d , -f 5 | grep -cx "$("${runAs[@]}" id -un)")"

# Nothing is called clean without definitions.
runAs=()
rm -rf "$kProductDir"/defs/* /var/lib/clamav
Scan 3 "$tree"
Expect "why" "corvane-scan: the scan engine did not start: it may have no virus definitions; /zqcommon.log says more" \
    "$(<"$scratch/errors")"
printf 'no database\n' >"$kProductDir/defs/corvane.ndb"
Scan 3 "$tree"
Expect "why with damaged ones" "corvane-scan: there are no virus definitions that can be used" "$(<"$scratch/errors")"
rm "$kProductDir/scanapi.so"
Scan 3 "$tree"
Expect "why not without an engine" 1 "$(grep -c "^corvane-scan: the scan engine $kProductDir/scanapi.so cannot be used: " "$scratch/errors")"
Finish
