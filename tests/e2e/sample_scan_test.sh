#!/bin/bash
# The scan of the sample folder that ./dev run shows, one file picked by name, and a change of settings.
source "$(dirname -- "${BASH_SOURCE[0]}")/e2e.sh"

SetUp "$1"
SetAction 3
tree=/corvane-sample
MakeSampleFolder "$tree"
cp -a "$tree" "$scratch/before"

StartProgram "$scratch"
Must "the main window appears" WaitForWindow Corvane
Must "the scan starts" StartFolderScan "$tree"
Must "the scan ends" WaitForEnd 1
report=$(NewestReport)
Expect "viruses found" 2 "$(Counter 'Virus Found')"
Expect "the files named" "$tree/downloads/nested.tar.gz $tree/downloads/test-file.com" \
    "$(grep -B 1 '^Infected: ' "$report" | grep -o "$tree/downloads/[a-z.-]*" | LC_ALL=C sort | tr '\n' ' ' | sed 's/ $//')"
Expect "the settings in the report" "On On On Off" \
    "$(sed -n 's/^- \(Scan Packed\|Scan Archive\|Scan Adware\/Spyware\|Dumb Scan\): //p' "$report" | tr '\n' ' ' | sed 's/ $//')"
Expect "the action in the report" 1 "$(grep -c '^- Report only$' "$report")"
Expect "nothing of the folder has changed" "" "$(diff -r "$tree" "$scratch/before")"
Expect "the time of the scan" 16 "$(stat -c %s "$kProductDir/reports/CmplScn.dat")"
Must "the report is shown" Press "Corvane Scanner" alt+r
Must "the report is shown" Press "Corvane Scan Report" Escape
Must "the report closes" WaitFor "$kWindowLimit" HasNoWindow "Corvane Scan Report"
Must "the dialog closes" CloseScan

# Without archives, by the settings page.
Must "the settings page opens" Press Corvane alt+o alt+v alt+p
Must "the settings are saved" WaitFor "$kWindowLimit" SettingsAre 03000a
Must "the scan starts" StartFolderScan "$tree"
Must "the scan ends" WaitForEnd 2
Expect "viruses found without archives" 1 "$(Counter 'Virus Found')"
Must "the dialog closes" CloseScan

# One file.
Must "the scan of a file starts" StartFileScan "$tree/downloads/test-file.com"
Must "the scan of a file ends" WaitForEnd 3
Expect "one file: scanned and found" "1 1" "$(Counter 'Files Scanned') $(Counter 'Virus Found')"
Expect "one file: the path in the record" "$(Field "$tree/downloads/test-file.com" 256)" \
    "$(Bytes "$kProductDir/main.rpt" $((12 + 2 * 542 + 30)) 256)"
Must "the dialog closes" CloseScan

Must "the program ends" CloseProgram
Finish
