#!/bin/bash
# fuzz_arguments_test.sh CHECKOUT: which arguments "./dev fuzz" takes. Nothing is built or fuzzed.
# Exit status 0, or 1 with one line for each broken promise.
set -u
# shellcheck source=../../support/expect.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../support/expect.sh"

cd -- "$1" || exit

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

# Fuzz WANTED ARGUMENT...
Fuzz() {
    local wanted=$1
    shift
    Expect "fuzz$(printf ' <%s>' "$@")" "$wanted" "$(Verb_fuzz "$@")"
}

every=
for folder in tests/fuzz/corpus/*/; do
    every+=" fuzz_$(basename "$folder")"
done
Fuzz "build: fuzz$every"
Fuzz "build: fuzz$every" 20
Fuzz "build: fuzz fuzz_profile_reader" 1 profile_reader
Fuzz "build: fuzz fuzz_profile_reader fuzz_profile_writer" 999999 profile_reader profile_writer

for seconds in '' 0 -1 007 1.5 20s 1000000 99999999999999999999 profile_reader; do
    Fuzz "fuzz: \"$seconds\" is no number of seconds from 1 to 999999" "$seconds"
done
for harness in '' . .. ../../unit profile_reader/ ./profile_reader 'profile reader' '*' no_such; do
    Fuzz "fuzz: there is no harness \"$harness\"" 20 "$harness"
    Fuzz "fuzz: there is no harness \"$harness\"" 20 profile_reader "$harness"
done

AllHeld
