# Sourced by ./dev: runs the fuzzing harnesses.
# shellcheck shell=bash

Verb_fuzz() {
    local seconds=60 harness
    local -a harnesses=()
    if [[ $# -gt 0 ]]; then
        [[ $1 =~ ^[1-9][0-9]{0,5}$ ]] || Die "fuzz: \"$1\" is no number of seconds from 1 to 999999"
        seconds=$1
        shift
    fi
    harnesses=("$@")
    if [[ $# -eq 0 ]]; then
        # Each harness has its folder of seeds; the build insists on it.
        for harness in tests/fuzz/corpus/*/; do
            harnesses+=("$(basename "$harness")")
        done
    fi
    for harness in "${harnesses[@]}"; do
        # The pattern, too: "" and ".." are folders there as well.
        [[ $harness =~ ^[a-z0-9_]+$ && -d tests/fuzz/corpus/$harness ]] ||
            Die "fuzz: there is no harness \"$harness\""
    done
    Build fuzz "${harnesses[@]/#/fuzz_}"
    Say "Fuzzing, $seconds seconds each: ${harnesses[*]}"
    printf '%s\0' "${harnesses[@]}" | xargs -0 -n 1 -P "$(nproc)" tools/fuzz-one "$seconds" ||
        Die "a harness found something"
    Say "Nothing found"
}
