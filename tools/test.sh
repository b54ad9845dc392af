# Sourced by ./dev: builds and runs every test.
# shellcheck shell=bash

Verb_test() {
    local preset=dev started=$SECONDS status=0
    local -a extra=()
    if [[ ${1:-} == --preset ]]; then
        [[ -n ${2:-} ]] || Die "--preset needs a name"
        preset=$2
        shift 2
    fi
    [[ ${CI:-} != true ]] || extra+=(--output-on-failure)
    Build "$preset"
    Say "Testing ($preset)"
    ctest --test-dir "build/$preset" --parallel "$(nproc)" --no-tests=error "${extra[@]}" "$@" || status=$?
    ReportSkipped "build/$preset/Testing/Temporary/LastTest.log"
    if [[ $preset == coverage ]]; then
        ReportCoverage
    fi
    Say "Took $((SECONDS - started)) seconds; each test's output is in build/$preset/Testing/Temporary/LastTest.log"
    return "$status"
}

# What was skipped and why, which CTest's summary leaves out. LOG is CTest's own.
ReportSkipped() {
    awk '
        /^[0-9]+\/[0-9]+ Testing: / { test = $3 }
        /^skipped: / { print "   " test ": " substr($0, 10); found = 1 }
        END { exit !found }' "$1" >build/skipped || return 0
    Say "Skipped, and why"
    cat build/skipped
}

# Lines run by the tests, room by room.
ReportCoverage() {
    InstallPackages coverage
    gcovr --root . --object-directory build/coverage \
        --filter '(abi|common|widgets|reports|scan|update|schedule|help|app|product)/' --sort-percentage
}
