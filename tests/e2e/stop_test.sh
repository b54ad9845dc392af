#!/bin/bash
# A long scan: asked to stop, told to go on, stopped; and one whose window is closed.
source "$(dirname -- "${BASH_SOURCE[0]}")/e2e.sh"

SetUp "$1"
SetAction 3
tree=/many
mkdir "$tree"
(cd "$tree" && head -c 60000000 /dev/zero | tr '\0' 'x' | split -b 1000 -a 4 - file)
total=$(find "$tree" -type f | wc -l)

StartProgram "$scratch"
Must "the main window appears" WaitForWindow Corvane

Must "the scan starts" StartFolderScan "$tree"
Must "Escape asks" Press "Corvane Scanner" Escape
Must "the question appears" WaitForWindow "Corvane Scan"
Must "No goes on" Press "Corvane Scan" alt+n
Must "the question goes" WaitFor "$kWindowLimit" HasNoWindow "Corvane Scan"
Expect "the scan is not over" 0 "$(EndedReports)"
Must "Stop asks" Press "Corvane Scanner" alt+s
Must "Yes stops" Press "Corvane Scan" alt+y
Must "the scan ends" WaitForEnd 1
report=$(NewestReport)
Expect "the report says so" "1 0" \
    "$(grep -c '^Scan Interrupted\.$' "$report") $(grep -c '^Scan Complete\.$' "$report")"
scanned=$(Counter 'Files Scanned')
Expect "not everything was scanned" yes "$( ((scanned > 0 && scanned < total)) && echo yes)"
Must "the dialog closes" CloseScan

# The same folder once more, to its end: a stop leaves nothing behind that would end the next scan. With
# a part of the files, so that a slow machine gets to the end, too.
find "$tree" -type f | tail -n +2001 | xargs rm
Must "the next scan starts" StartFolderScan "$tree"
Must "the next scan ends" WaitForEnd 2 300
Expect "everything was scanned" 2000 "$(Counter 'Files Scanned')"
Expect "the report says complete" 1 "$(grep -c '^Scan Complete\.$' "$(NewestReport)")"
Must "the dialog closes" CloseScan
Must "the program ends" CloseProgram
Finish
