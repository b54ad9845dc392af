#!/bin/bash
# What a scan finds lands in the virus log, whoever scans, and corvane-virlog shows it.
source "$(dirname -- "${BASH_SOURCE[0]}")/e2e.sh"

SetUp "$1"
tree=/corvane-sample
MakeSampleFolder "$tree"
WriteEicar "$tree/downloads/"$'two\nlines\xff'
chmod -R a+rwX "$tree"

# Records: what corvane-virlog lists with these arguments as CSV, without the time and the name of the
# virus, which depends on the signatures of the machine, and in order of paths.
Records() {
    corvane-virlog --format csv "$@" | tail -n +2 | tr -d '\r' | cut -d , -f 2,4- | LC_ALL=C sort -t , -k 4
}

ScanOnce() {
    StartProgram "$scratch"
    Must "the main window appears" WaitForWindow Corvane
    Must "scan $1 starts" StartFolderScan "$tree"
    Must "scan $1 ends" WaitForEnd "$1"
    Must "the dialog closes" CloseScan
    Must "the program ends" CloseProgram
}

header="time,component,virus,action,user,path,domain"
Expect "an empty log" "$header" "$(corvane-virlog --format csv 2>/dev/null | tr -d '\r')"

domain=$(domainname)
user=$(id -un)
SetAction 3
ScanOnce 1
Expect "what was found and left" "8000,File is skipped,$user,$tree/downloads/nested.tar.gz,$domain
8000,File is skipped,$user,$tree/downloads/test-file.com,$domain
8000,File is skipped,$user,$tree/downloads/two\\u{000a}lines\\xff,$domain" "$(Records)"
Expect "the viruses of the report" "$(sed -n 's/^Infected: //p' "$(NewestReport)" | tr -d '\r')" \
    "$(corvane-virlog --format csv | tail -n +2 | cut -d , -f 3)"
Expect "the day of it" 3 "$(Records --since "$(date +%F)" --until "$(date +%F)" | wc -l)"
Expect "nothing before it" "$header" \
    "$(corvane-virlog --format csv --until "$(date -d '2 days ago' +%F)" | tr -d '\r')"

# Another user, another action, the same log.
AsOrdinaryUser
scanner=$("${runAs[@]}" id -un)
SetAction 2
ScanOnce 2
Expect "what was deleted" "8000,File is Deleted,$scanner,$tree/downloads/nested.tar.gz,$domain
8000,File is Deleted,$scanner,$tree/downloads/test-file.com,$domain
8000,File is Deleted,$scanner,$tree/downloads/two\\u{000a}lines\\xff,$domain" "$(Records --text 'file is deleted')"
Expect "all records" 6 "$(Records | wc -l)"
Expect "the same for every user" "$(corvane-virlog)" "$("${runAs[@]}" corvane-virlog)"
Expect "as an array" 6 "$(corvane-virlog --format json | grep -c '"component":8000')"
Expect "nothing is left locked" "There is no lock to remove." "$(corvane-virlog --unlock)"
Expect "no copy is left" "RecOffset.dat VirMain.dat VirRcONE.dat" \
    "$(cd "$kProductDir/reports" && printf '%s\n' *.dat | grep -v CmplScn | tr '\n' ' ' | sed 's/ $//')"
Finish
