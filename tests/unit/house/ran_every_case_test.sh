#!/bin/bash
# ran_every_case_test.sh SAMPLE: CTest shows a case that was skipped as skipped, and nothing that failed.
set -u
# shellcheck source=../../support/expect.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../support/expect.sh"

sample=$1
here=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")" && pwd -P)
support=$here/../../support
scratch=$(mktemp -d)
trap 'rm -rf -- "$scratch"' EXIT

# Runs CTest behind the command given and leaves what it shows in $scratch/shown.
RunTests() {
    "$@" ctest --test-dir "$scratch/build" -V >"$scratch/shown" 2>&1
}

# Shown ENTRY: what the summary says of an entry.
Shown() {
    sed -nE "s/^ *[0-9]+\/[0-9]+ Test +#[0-9]+: $1 [.]+ *([*]*[A-Za-z]+).*/\1/p" "$scratch/shown"
}

cmake -S "$here/cases" -B "$scratch/build" -DSAMPLE="$sample" >"$scratch/configured" 2>&1 || {
    cat "$scratch/configured"
    exit 1
}
RunTests env
Expect "a program whose cases pass" "Passed Passed" "$(Shown passes) $(Shown passes_ran_every_case)"
Expect "a program with a skipped case" "Passed ***Skipped" \
    "$(Shown passes_and_skips) $(Shown passes_and_skips_ran_every_case)"
Expect "a program with a failed and a skipped case" "***Failed ***Skipped" \
    "$(Shown fails_and_skips) $(Shown fails_and_skips_ran_every_case)"
Expect "a program that ends before its last case with exit status 0" "Passed ***Failed" \
    "$(Shown ends_too_early) $(Shown ends_too_early_ran_every_case)"
Expect "the cases skipped and why" "skipped: Sample.SkipsForMarkup: no \"<disk>\" & no 'tape' here
skipped: Sample.SkipsSilently: " "$("$support/ran_every_case" "$scratch/build/cases/passes_and_skips.xml")"
Expect "the reason is in the output of its entry" 1 \
    "$(grep -c "^4: skipped: Sample.SkipsForMarkup: no \"<disk>\" & no 'tape' here" "$scratch/shown")"
Expect "what ended too early says so" "failed: did not run to its end" \
    "$("$support/ran_every_case" "$scratch/build/cases/ends_too_early.xml")"
Expect "a program that runs no case" "Passed ***Failed" "$(Shown runs_none) $(Shown runs_none_ran_every_case)"
Expect "a program whose only case is disabled" "Passed ***Failed" \
    "$(Shown disabled) $(Shown disabled_ran_every_case)"
# Where it may not start anything the sandbox says why, and nothing else is right.
case $(Shown sandboxed) in
    "***Skipped")
        reason="skipped: this machine allows no private root ("
        echo "note: no private root here; a case skipped inside was not checked"
        ;;
    *)
        reason="<?xml "
        Expect "a program in the sandbox" "Passed" "$(Shown sandboxed)"
        ;;
esac
Expect "a case skipped in the sandbox" "***Skipped" "$(Shown sandboxed_ran_every_case)"
Expect "what the sandbox left of it" "$reason" \
    "$(head -c "${#reason}" "$scratch/build/cases/sandboxed.xml")"

# Said RESULTS: what ran_every_case says of them, and its exit status.
Said() {
    "$support/ran_every_case" "$1" 2>&1
    echo "status $?"
}
Expect "why no case counts" $'failed: no case was run\nstatus 1' "$(Said "$scratch/build/cases/runs_none.xml")"
Expect "a disabled case does not count" $'failed: no case was run\nstatus 1' \
    "$(Said "$scratch/build/cases/disabled.xml")"
: >"$scratch/empty.xml"
Expect "an empty result" $'failed: there are no results\nstatus 1' "$(Said "$scratch/empty.xml")"
printf 'did not run' >"$scratch/short.xml"
Expect "a result without a newline" $'failed: did not run\nstatus 1' "$(Said "$scratch/short.xml")"
head -n 5 "$scratch/build/cases/passes.xml" >"$scratch/cut.xml"
Expect "results that are cut off" $'failed: the results are cut off\nstatus 1' "$(Said "$scratch/cut.xml")"

# RanWith SETTING ARGUMENT...: what comes of the sample, started with this in the environment.
RanWith() {
    local setting=$1
    shift
    env "$setting" "$support/run_cases" "$scratch/with.xml" "$sample" "$@" >/dev/null 2>&1
    Said "$scratch/with.xml"
}
# All of its cases: one of them ends it.
Expect "GTEST_FILTER picks no case" $'failed: did not run to its end\nstatus 1' \
    "$(RanWith GTEST_FILTER=Sample.Passes)"
for setting in GTEST_LIST_TESTS=1 GTEST_REPEAT=0; do
    Expect "$setting keeps nothing from running" "status 0" \
        "$(RanWith "$setting" --gtest_filter=Sample.Passes)"
done
Expect "GTEST_ALSO_RUN_DISABLED_TESTS adds no case" $'failed: no case was run\nstatus 1' \
    "$(RanWith GTEST_ALSO_RUN_DISABLED_TESTS=1 --gtest_filter=Sample.DISABLED_Passes)"
Expect "no shard of the cases is enough" "status 0" \
    "$(GTEST_TOTAL_SHARDS=2 RanWith GTEST_SHARD_INDEX=1 --gtest_filter=Sample.Passes)"

# Where there is no private root: an ordinary user whose group is unknown may make no namespaces. What an
# earlier run left says nothing about this one.
rm -rf "$scratch/build/cases"
mkdir -m 777 "$scratch/build/cases"
chmod 755 "$scratch"
chmod -R a+rwX "$scratch/build"
without=(unshare --user --map-user=1000 --)
if "${without[@]}" true 2>/dev/null; then
    RunTests "${without[@]}"
    Expect "a program that the sandbox cannot start" "***Skipped ***Skipped" \
        "$(Shown sandboxed) $(Shown sandboxed_ran_every_case)"
    Expect "why it could not" 1 "$(grep -c '^skipped: this machine allows no private root (' \
        "$scratch/build/cases/sandboxed.xml")"
else
    echo "note: user namespaces are not allowed here; a machine without a private root was not checked"
fi

AllHeld
