#!/bin/bash
# Each answer to "Virus found!", given with keys, and what becomes of the file.
source "$(dirname -- "${BASH_SOURCE[0]}")/e2e.sh"

SetUp "$1"
SetAction 4
tree=/prompt
mkdir "$tree"
scans=0

# ScanOne: one infected file in the folder, up to the question.
ScanOne() {
    rm -rf "${tree:?}"/*
    WriteEicar "$tree/infected.com"
    Must "the scan starts" StartFolderScan "$tree"
    Must "the question appears" WaitForWindow "Virus found!"
    scans=$((scans + 1))
}

# Answer ROW KEY...: picks a row of the list, then the keys.
Answer() {
    local row=$1
    local -a keys=(alt+o Home)
    shift
    while ((row-- > 0)); do
        keys+=(Down)
    done
    Must "the question is answered" Press "Virus found!" "${keys[@]}" "$@"
}

# EndOfScan WHAT FILE-LEFT LINE REPAIRED DELETED SKIPPED
EndOfScan() {
    local report
    Must "$1: the scan ends" WaitForEnd "$scans"
    report=$(NewestReport)
    Expect "$1: the file is left" "$2" "$([[ -e $tree/infected.com ]] && echo yes || echo no)"
    Expect "$1: what the report says" "$3" "$(sed -n 's/^\(\[.*\]\).*$/\1/p' "$report")"
    Expect "$1: repaired, deleted, skipped" "$4 $5 $6" \
        "$(Counter 'Files Repaired') $(Counter 'Files Deleted') $(Counter 'Files Skipped')"
    Expect "$1: found" 1 "$(Counter 'Virus Found')"
    Must "$1: the dialog closes" CloseScan
}

StartProgram "$scratch"
Must "the main window appears" WaitForWindow Corvane

# The engine cannot disinfect, so a repair is a skip.
ScanOne
Answer 0 alt+k
EndOfScan "Repair only" yes "[Skipped]" 0 0 1

ScanOne
Answer 1 alt+k
EndOfScan "Repair, delete if unrepairable" no "[Deleted]" 0 1 0

ScanOne
Answer 2 alt+k
EndOfScan "Delete" no "[Deleted]" 0 1 0

ScanOne
Answer 3 alt+k
EndOfScan "Skip" yes "[Skipped]" 0 0 1

# The next question starts from the last answer.
ScanOne
Must "the answer is kept" Press "Virus found!" alt+k
EndOfScan "Skip again" yes "[Skipped]" 0 0 1

# One answer for all of them.
rm -rf "${tree:?}"/*
for name in a b c d; do
    WriteEicar "$tree/$name.com"
done
Must "the scan starts" StartFolderScan "$tree"
scans=$((scans + 1))
Answer 2 alt+a alt+k
Must "one answer for all: the scan ends" WaitForEnd "$scans"
Expect "one answer for all: nothing is left" "" "$(ls "$tree")"
Expect "one answer for all: found and deleted" "4 4" \
    "$(Counter 'Virus Found') $(Counter 'Files Deleted')"
Must "one answer for all: the dialog closes" CloseScan

# Cancel is a stop, which is asked about again.
rm -rf "${tree:?}"/*
for name in a b c d; do
    WriteEicar "$tree/$name.com"
done
Must "the scan starts" StartFolderScan "$tree"
scans=$((scans + 1))
Must "the question appears" Press "Virus found!" alt+c
Must "the stop is asked about" Press "Corvane Scan" alt+y
Must "Cancel: the scan ends" WaitForEnd "$scans"
Expect "Cancel: every file is left" 4 "$(find "$tree" -type f | wc -l)"
Expect "Cancel: one was found" 1 "$(Counter 'Virus Found')"
Expect "Cancel: the report says so" 1 "$(grep -c '^Scan Interrupted\.$' "$(NewestReport)")"
Must "Cancel: the dialog closes" CloseScan

Must "the program ends" CloseProgram
Expect "the index counts every scan" "$scans" "$(IndexCount)"
Finish
