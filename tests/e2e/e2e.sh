# Sourced by the whole-program tests, inside tests/support/sandbox: the product installed as its package
# installs it, a display, and ways to say what is expected.
# shellcheck shell=bash
set -u

e2eRoot=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd -P)
# shellcheck source=../support/drive.sh
source "$e2eRoot/tests/support/drive.sh"
# shellcheck source=../support/sample_folder.sh
source "$e2eRoot/tests/support/sample_folder.sh"
# shellcheck source=../support/expect.sh
source "$e2eRoot/tests/support/expect.sh"

if [[ ${CORVANE_SANDBOX:-} != 1 ]]; then
    echo "skipped: whole-program tests write to the product's fixed paths; run them in the sandbox"
    exit 77
fi

runAs=()

# Must WHAT COMMAND...: nothing after it makes sense when COMMAND fails.
Must() {
    local what=$1
    shift
    checks=$((checks + 1))
    "$@" && return
    echo "FAILED $what"
    [[ ! -s $scratch/program.log ]] || sed 's/^/  program: /' "$scratch/program.log"
    failures=$((failures + 1))
    Finish
}

Finish() {
    [[ -z ${programPid:-} ]] || kill "$programPid" 2>/dev/null
    StopDisplay
    AllHeld && exit 0
    exit 1
}

# SetUp BUILD: the program installed and a display.
SetUp() {
    build=$1
    scratch=$(mktemp -d)
    # Sticky, as /tmp is: the vault of a user lies in no folder in which others may rename it.
    chmod 1777 "$scratch"
    export HOME=$scratch
    unset XDG_RUNTIME_DIR
    Must "the product is installed" "$e2eRoot/packaging/install-stage" "$build/stage"
    Must "a virtual display starts" StartDisplay "$scratch"
}

# AsOrdinaryUser: the program is started without rights, where this test has any to give up.
AsOrdinaryUser() {
    [[ $EUID -ne 0 ]] || runAs=(setpriv --reuid 65534 --regid 65534 --clear-groups --)
}

# SetAction CODE: the action on a virus found, in the option file; archives, adware, packed.
SetAction() {
    printf "%b" "\\x0$1\\x00\\x0b" >"$kProductDir/zqscn.opt"
}

# SettingsAre HEX: what the option file holds.
SettingsAre() {
    [[ $(Bytes "$kProductDir/zqscn.opt") == "$1" ]]
}

# Bytes FILE [OFFSET [LENGTH]]: in hexadecimal.
Bytes() {
    od -An -v -t x1 -j "${2:-0}" ${3:+-N "$3"} "$1" | tr -d ' \n'
}

# Text TEXT LENGTH: a text field in hexadecimal, filled up with zero bytes.
Field() {
    local hex
    hex=$(printf '%s' "$1" | od -An -v -t x1 | tr -d ' \n')
    printf '%s%0*d' "$hex" $(($2 * 2 - ${#hex})) 0
}

# Counter LABEL: a number of the newest report's summary.
Counter() {
    sed -n "s/^Total $1 *= \([0-9]*\)\$/\1/p" "$(NewestReport)"
}

# Reports end after the program's own lines; the number of them tells that a new one has.
EndedReports() {
    grep -l '^\*\* Report End \*\*' "$kProductDir"/reports/scn*.log 2>/dev/null | wc -l
}

HasEnded() {
    [[ $(EndedReports) -ge $1 && $(IndexCount) -ge $1 ]]
}

# WaitForEnd NUMBER: until that many scans have written their report and their record.
WaitForEnd() {
    WaitFor "${2:-120}" HasEnded "$1"
}

# CloseScan: leaves the progress dialog of a scan that is over.
CloseScan() {
    Press "Corvane Scanner" alt+c && WaitFor "$kWindowLimit" HasNoWindow "Corvane Scanner"
}
