# Sourced by ./dev: measures what the README claims.
# shellcheck shell=bash

Verb_bench() {
    Build release
    Stage release
    bench/run "$@"
}
