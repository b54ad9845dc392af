#!/bin/bash
# fuzz_arguments_test.sh CHECKOUT: which arguments "./dev fuzz" takes. Nothing is built or fuzzed.
# Exit status 0, or 1 with one line for each broken promise.
set -u

cd -- "$1" || exit
failures=0
checks=0

# What ./dev provides; the build is as far as good arguments come.
Die() {
    echo "$*"
    exit 1
}
Build() {
    echo "build: $*"
    exit 0
}
# shellcheck source=tools/fuzz.sh
source tools/fuzz.sh

# Expect WANTED ARGUMENT...
Expect() {
    local wanted=$1 got
    shift
    checks=$((checks + 1))
    got=$(Verb_fuzz "$@")
    [[ $got == "$wanted" ]] && return
    failures=$((failures + 1))
    printf 'FAILED fuzz%s\n  wanted: %s\n  got:    %s\n' "$(printf ' <%s>' "$@")" "$wanted" "$got"
}

every=
for folder in tests/fuzz/corpus/*/; do
    every+=" fuzz_$(basename "$folder")"
done
Expect "build: fuzz$every"
Expect "build: fuzz$every" 20
Expect "build: fuzz fuzz_profile_reader" 1 profile_reader
Expect "build: fuzz fuzz_profile_reader fuzz_profile_writer" 999999 profile_reader profile_writer

for seconds in '' 0 -1 007 1.5 20s 1000000 99999999999999999999 profile_reader; do
    Expect "fuzz: \"$seconds\" is no number of seconds from 1 to 999999" "$seconds"
done
for harness in '' . .. ../../unit profile_reader/ ./profile_reader 'profile reader' '*' no_such; do
    Expect "fuzz: there is no harness \"$harness\"" 20 "$harness"
    Expect "fuzz: there is no harness \"$harness\"" 20 profile_reader "$harness"
done

echo "$checks checks, $failures failed"
[[ $failures -eq 0 ]]
