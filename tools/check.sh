# Sourced by ./dev: what takes too long for continuous integration. The whole suite under the sanitizers,
# and the product linked as one, where a name that stands for two types shows.
# shellcheck shell=bash

: "${root:?}"

# What a sanitizer finds in any process of a test goes to a file of its own below this folder, which the
# sandbox lets through: a report on standard error can be lost with the program that a test started.
# g++'s undefined-behaviour sanitizer writes to standard error whatever it is told, so it ends the
# process besides.
ReportFolder() {
    echo "$root/build/$1/cases"
}

# UnderSanitizers PRESET COMMAND...: the command, with what the sanitizers are told.
UnderSanitizers() {
    local preset=$1 reports addresses
    shift
    reports=log_path=$(ReportFolder "$preset")/report
    addresses=$reports:detect_leaks=1:detect_stack_use_after_return=1
    # Whole stacks, or nothing would name the function of a library that lost memory.
    addresses+=:fast_unwind_on_malloc=0:malloc_context_size=80
    ASAN_OPTIONS=$addresses \
    LSAN_OPTIONS=suppressions=$root/tools/leaks.supp:print_suppressions=0 \
    UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1 \
    TSAN_OPTIONS=$reports:second_deadlock_stack=1 \
        "$@"
}

ForgetReports() {
    mkdir -p "$(ReportFolder "$1")"
    # Tests start programs as other users, too.
    chmod 1777 "$(ReportFolder "$1")"
    rm -f -- "$(ReportFolder "$1")"/report.*
}

# MustReport PRESET PROGRAM REPORT FUNCTION: the seeded fault is reported, and by the name of its function.
MustReport() {
    local preset=$1 program=build/$1/tests/seeded/seeded_$2 found
    ForgetReports "$preset"
    if found=$(UnderSanitizers "$preset" "$program" 2>&1); then
        Say "seeded_$2 ended well under $preset, which must report it"
        return 1
    fi
    found+=$(cat "$(ReportFolder "$preset")"/report.* 2>/dev/null)
    ForgetReports "$preset"
    [[ $found == *"$3"* && $found == *"$4"* ]] || {
        Say "seeded_$2: $preset does not report \"$3\" in $4, but: $found"
        return 1
    }
}

# SuiteUnder PRESET [CTEST ARGUMENT...]: the tests, and no report by any process of them.
SuiteUnder() {
    local preset=$1 status=0 report
    shift
    Build "$preset" || return 1
    ForgetReports "$preset"
    Say "Testing ($preset)"
    UnderSanitizers "$preset" ctest --test-dir "build/$preset" --parallel "$(nproc)" \
        --no-tests=error --output-on-failure "$@" || status=1
    for report in "$(ReportFolder "$preset")"/report.*; do
        [[ -s $report ]] || continue
        status=1
        Say "$report"
        cat "$report"
    done
    if grep -a 'runtime error:' "build/$preset/Testing/Temporary/LastTest.log"; then
        status=1
    fi
    return "$status"
}

CheckAddresses() {
    Build asan-ubsan seeded_heap_overflow seeded_signed_overflow seeded_leak &&
        MustReport asan-ubsan heap_overflow heap-buffer-overflow SeededHeapOverflow &&
        MustReport asan-ubsan signed_overflow "signed integer overflow" SeededSignedOverflow &&
        MustReport asan-ubsan leak "detected memory leaks" SeededLeak &&
        SuiteUnder asan-ubsan "$@"
}

CheckThreads() {
    Build tsan seeded_data_race seeded_race_below_qt &&
        MustReport tsan data_race "data race" SeededDataRace &&
        MustReport tsan race_below_qt "data race" SeededRaceBelowQt &&
        SuiteUnder tsan "$@"
}

# The program and the libraries as wholes. Nothing is run.
CheckTypes() {
    local output
    cmake --preset lto >/dev/null || return 1
    if output=$(cmake --build build/lto --target seeded_two_types 2>&1); then
        Say "seeded_two_types was linked, which must fail"
        return 1
    fi
    [[ $output == *"SeededTwoTypes"*"violates the C++ One Definition Rule"* ]] || {
        Say "linking seeded_two_types does not name the type, but says: $output"
        return 1
    }
    BuildProduct lto
}

# Verb_check [types | addresses [CTEST ARGUMENT...] | threads [CTEST ARGUMENT...]]: one of the three, or all.
Verb_check() {
    local part status=0
    local -a parts=(types addresses threads)
    if [[ $# -gt 0 ]]; then
        [[ " ${parts[*]} " == *" $1 "* ]] || Die "check: \"$1\" is none of ${parts[*]}"
        parts=("$1")
        shift
        [[ ${parts[0]} != types || $# -eq 0 ]] || Die "check: types takes no arguments, as it runs no test"
    fi
    for part in "${parts[@]}"; do
        Say "Checking $part"
        "Check${part^}" "$@" || {
            status=1
            Say "Checking $part failed"
        }
    done
    [[ $status -eq 0 ]] || Die "check found something"
    Say "check is clean"
}
