# Sourced by ./dev: makes the Debian package.
# shellcheck shell=bash

Verb_package() {
    BuildProduct release
    Stage release
    Say "Packaging"
    packaging/make-deb build/release/stage build/release
}
