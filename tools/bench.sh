# Sourced by ./dev: measures what the README claims.
# shellcheck shell=bash

Verb_bench() {
    BuildProduct release bench/all screenshot
    Stage release
    bench/run build/release "$@"
}
