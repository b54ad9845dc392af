# Sourced by ./dev: everything that can be said about the sources without running them.
# shellcheck shell=bash

: "${root:?}"

# The project's files of the given kinds, whether committed yet or not.
Sources() {
    git ls-files --cached --others --exclude-standard -- "$@" | while IFS= read -r file; do
        [[ ! -f $file ]] || printf '%s\n' "$file"
    done
}

ShellScripts() {
    Sources | while IFS= read -r file; do
        case $file in
            *.sh) echo "$file" ;;
            *.*) ;;
            *) if head -c 40 "$file" | grep -aqE '^#!/bin/(ba)?sh'; then echo "$file"; fi ;;
        esac
    done
    # A name that begins with a dot is a file like any other.
    Sources '.ci/*'
}

CheckFormat() {
    Sources '*.cpp' '*.h' | xargs -d '\n' clang-format-14 --dry-run -Werror
}

CheckShell() {
    ShellScripts | sort -u | xargs -d '\n' shellcheck
}

CheckManPages() {
    local page warnings status=0
    while IFS= read -r page; do
        warnings=$(LC_ALL=C.UTF-8 MANROFFSEQ='' MANWIDTH=80 \
            man --warnings -E UTF-8 -l -Tutf8 -Z "$page" 2>&1 >/dev/null)
        if [[ -n $warnings ]]; then
            printf '%s: %s\n' "$page" "$warnings"
            status=1
        fi
    done < <(Sources '*.[1-8]')
    return "$status"
}

# The checks of .clang-tidy over every source of ours (see tools/tidy-one). A file that passed is not looked at again until something changes
# that its result depends on. clang's own warnings are errors here, which makes this the second
# compiler's opinion too.
CheckTidy() {
    Build dev || return 1
    tools/tidy build/dev < <(Sources '*.cpp')
}

Verb_lint() {
    local check status=0
    for check in CheckFormat CheckShell CheckManPages CheckTidy; do
        Say "$check"
        "$check" || {
            status=1
            Say "$check failed"
        }
    done
    [[ $status -eq 0 ]] || Die "lint found something"
    Say "lint is clean"
}
