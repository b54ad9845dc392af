# Sourced by the tests that are scripts: what they count, and one way to say what is expected.
# shellcheck shell=bash

checks=0
failures=0

# Expect WHAT WANTED GOT
Expect() {
    checks=$((checks + 1))
    [[ $2 == "$3" ]] && return
    failures=$((failures + 1))
    printf 'FAILED %s\n  wanted: %q\n  got:    %q\n' "$1" "$2" "$3"
}

# Says how many there were; whether every one held.
AllHeld() {
    echo "$checks checks, $failures failed"
    [[ $failures -eq 0 ]]
}
