#!/bin/bash
# verbs_test.sh CHECKOUT CTEST: which arguments "./dev check" takes, and that "./dev test" and "./dev check"
# fail when those for CTest pick no test. Nothing is built, and of the tests one that is made up is run.
# Exit status 0, or 1 with one line for each broken promise.
set -u
# shellcheck source=../../support/expect.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../support/expect.sh"

checkout=$1
PATH=$(dirname -- "$2"):$PATH
scratch=$(mktemp -d)
trap 'rm -rf -- "$scratch"' EXIT

# What ./dev provides; what is built is a folder with one test.
# shellcheck disable=SC2034
root=$scratch
Die() {
    echo "died: $*"
    exit 1
}
Say() {
    :
}
Build() {
    mkdir -p "build/$1/Testing/Temporary"
    echo 'add_test(only_test true)' >"build/$1/CTestTestfile.cmake"
}
# shellcheck source=tools/check.sh
source "$checkout/tools/check.sh"
# shellcheck source=tools/test.sh
source "$checkout/tools/test.sh"
cd -- "$scratch" || exit

# Status COMMAND...
Status() {
    ("$@" >"$scratch/shown" 2>&1)
    echo $?
}

for run in "Verb_test" "Verb_test --preset release" "SuiteUnder asan-ubsan"; do
    read -ra command <<<"$run"
    Expect "$run with a test" 0 "$(Status "${command[@]}" -R only_test)"
    status=$(Status "${command[@]}" -R no_such_test)
    Expect "$run without one" yes "$([[ $status -eq 0 ]] || echo yes)"
    Expect "$run says so" 1 "$(grep -c 'No tests were found' shown)"
done

# From here on it only matters which of them is reached, with what.
# shellcheck disable=SC2317
CheckTypes() {
    echo "types<$*>"
}
# shellcheck disable=SC2317
CheckAddresses() {
    echo "addresses<$*>"
}
# shellcheck disable=SC2317
CheckThreads() {
    echo "threads<$*>"
}

# Check WANTED ARGUMENT...
Check() {
    local wanted=$1
    shift
    Expect "check$(printf ' <%s>' "$@")" "$wanted" "$(Verb_check "$@" | paste -sd ' ')"
}

Check "types<> addresses<> threads<>"
Check "types<>" types
Check "addresses<-R x>" addresses -R x
Check "threads<-R x>" threads -R x
Check "died: check: types takes no arguments, as it runs no test" types -R x
Check "died: check: types takes no arguments, as it runs no test" types addresses
Check "died: check: types takes no arguments, as it runs no test" types ''
Check 'died: check: "-R" is none of types addresses threads' -R x

AllHeld
