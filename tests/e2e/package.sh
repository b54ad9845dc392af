# Sourced by the tests of the Debian package, after e2e.sh: the package made, and dpkg.
# shellcheck shell=bash

: "${e2eRoot:?}"

# MakePackage BUILD: sets `package`; the test is skipped where that cannot be done, and where what dpkg
# does would be done to the machine itself.
MakePackage() {
    if ! grep -q '^corvane-sandbox / ' /proc/self/mounts; then
        echo "skipped: the root is the machine's own, and so are its packages"
        exit 77
    fi
    if [[ $EUID -ne 0 ]] || ! type -P dpkg-shlibdeps >/dev/null; then
        echo "skipped: installing a package needs root, making one needs dpkg-dev"
        exit 77
    fi
    scratch=$(mktemp -d)
    # A product that this machine may have is not what is tried out here.
    dpkg --purge corvane >/dev/null 2>&1
    rm -rf /usr/lib/Corvane
    NoServices
    # dpkg has the index of all manuals made anew each time, which takes longer than all the rest.
    printf '#!/bin/sh\n' >/usr/bin/mandb
    package=$("$e2eRoot/packaging/make-deb" "$1/stage" "$scratch" | tail -n 1)
    Must "the package is made" test -s "$package"
}

# NoServices: what dpkg starts from here on would outlive the private root.
NoServices() {
    printf '#!/bin/sh\nexit 101\n' >/usr/sbin/policy-rc.d
    chmod 755 /usr/sbin/policy-rc.d
}

# Dpkg ARGUMENT...: what it says is in dpkg.log, and shown when it fails.
# Reached through Must only.
# shellcheck disable=SC2317
Dpkg() {
    dpkg --force-unsafe-io "$@" >"$scratch/dpkg.log" 2>&1 || {
        cat "$scratch/dpkg.log"
        return 1
    }
}

YesOrNo() {
    if "$@"; then echo yes; else echo no; fi
}

# Said TEXT: whether dpkg or one of the package's scripts said it.
Said() {
    YesOrNo grep -qF -- "$1" "$scratch/dpkg.log"
}
