#!/bin/bash
# A scan, by an ordinary user and with the real engine, of a folder full of what walkers trip over.
source "$(dirname -- "${BASH_SOURCE[0]}")/e2e.sh"

SetUp "$1"
AsOrdinaryUser
SetAction 3

tree=/hostile
outside=/outside
mkdir -p "$tree/plain" "$outside"
echo clean >"$tree/plain/letter.txt"
echo hidden >"$tree/plain/.hidden"
: >"$tree/plain/empty"
WriteEicar "$tree/plain/infected.com"
# Names that are markup, two lines, not UTF-8, and an option.
WriteEicar "$tree/<img src=x onerror=y><b>bold"
WriteEicar "$tree/"$'two\nlines'
WriteEicar "$tree/"$'not-utf8-\xff\xfe'
echo clean >"$tree/--help"
# What must not be opened, or not be followed.
mkfifo "$tree/fifo"
WriteEicar "$outside/outside.com"
ln -s "$outside/outside.com" "$tree/link-to-file"
ln -s "$outside" "$tree/link-to-folder"
ln -s . "$tree/link-to-itself"
ln -s "$tree" "$tree/plain/link-up"
ln -s /dev/zero "$tree/link-to-device"
Must "a socket is made" "$build/tests/support/make_socket" "$tree/socket"
# A folder nobody may read.
mkdir "$tree/closed"
WriteEicar "$tree/closed/unseen.com"
chmod 000 "$tree/closed"
# A path of more than 3,000 bytes, with a file at a depth that fits and one at the end.
name=$(printf 'd%.0s' {1..250})
WriteEicar "$tree/shallow.com"
(
    cd "$tree" || exit
    for level in {1..13}; do
        mkdir "$name" && cd "./$name" || exit
        [[ $level -ne 2 ]] || WriteEicar deep.com
    done
    WriteEicar unreachable.com
    [[ $(pwd | wc -c) -gt 3000 ]]
) || Must "a deep path is made" false
mkdir "$tree/empty-folder"
before=$(cd "$tree" && find . -printf '%P %y %s %T@\n' 2>/dev/null | LC_ALL=C sort | sha256sum)

StartProgram "$scratch"
Must "the main window appears" WaitForWindow Corvane
Must "the scan starts" StartFolderScan "$tree"
Must "the scan ends" WaitForEnd 1
report=$(NewestReport)

# letter, .hidden, empty, infected, markup, two lines, not UTF-8, --help, shallow, deep
Expect "files scanned" 10 "$(Counter 'Files Scanned')"
Expect "viruses found" 6 "$(Counter 'Virus Found')"
Expect "files deleted" 0 "$(Counter 'Files Deleted')"
Expect "files repaired" 0 "$(Counter 'Files Repaired')"
for file in "plain/infected.com" "<img src=x onerror=y><b>bold" $'two\nlines' $'not-utf8-\xff\xfe' \
    shallow.com "$name/$name/deep.com"; do
    found=no
    LC_ALL=C grep -aqzF "Scanning: $tree/$file"$'\n'"Infected: " "$report" && found=yes
    Expect "the report names $file" yes "$found"
done
Expect "nothing else is named" 6 "$(LC_ALL=C grep -ac '^Infected: ' "$report")"
Expect "nothing outside, closed or too deep is named" 0 \
    "$(LC_ALL=C grep -acE 'outside|unseen|unreachable|link-|fifo|socket' "$report")"
Expect "the scan was complete" 1 "$(grep -c '^Scan Complete\.$' "$report")"

Expect "the index header" 5a5152460000000001000000 "$(Bytes "$kProductDir/main.rpt" 0 12)"
Expect "the index size" $((12 + 542)) "$(stat -c %s "$kProductDir/main.rpt")"
Expect "the path in the record" "$(Field "$tree" 256)" "$(Bytes "$kProductDir/main.rpt" 42 256)"
Expect "the report's name in the record" "$(Field "${report##*/}" 256)" \
    "$(Bytes "$kProductDir/main.rpt" 298 256)"

Must "the program ends" CloseProgram
Expect "the report's mode" 666 "$(stat -c %a "$report")"
Expect "the lock is gone" no "$([[ -e /tmp/scan.lck ]] && echo yes || echo no)"
Expect "no window is left" "" "$(xdotool search --onlyvisible --name . 2>/dev/null)"
Expect "the scratch folder is empty" "" "$(ls -A "$kProductDir/tmp")"
Expect "the tree is as it was" "$before" \
    "$(cd "$tree" && find . -printf '%P %y %s %T@\n' 2>/dev/null | LC_ALL=C sort | sha256sum)"
Finish
