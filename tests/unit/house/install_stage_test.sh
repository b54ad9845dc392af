#!/bin/bash
# install_stage_test.sh CHECKOUT, inside tests/support/sandbox: what packaging/install-stage puts in place
# of a stage that was made in private, and that on a machine without private roots nothing else is, and no
# package tried out. Exit status 0, or 1 with one line for each promise broken, or 77.
set -u
# shellcheck source=../../support/expect.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../support/expect.sh"

checkout=$1
directory=/usr/lib/Corvane/Corvane

if ! grep -q '^corvane-sandbox / ' /proc/self/mounts; then
    echo "skipped: the root is the machine's own"
    exit 77
fi

stage=$(mktemp -d)/stage
(
    umask 077
    mkdir -p "$stage$directory/translation" "$stage"/usr/{bin,sbin} "$stage/usr/share/man/house" "$stage/etc/init.d"
    # shellcheck disable=SC2016
    printf '#!/bin/sh\necho "$1" >"$1/made"\n' >"$stage$directory/create-shared-files"
    # shellcheck disable=SC2016
    printf '#!/bin/sh\necho users >"$(dirname "$0")/users"\n' >"$stage$directory/create-users"
    printf '#!/bin/sh\n' >"$stage/etc/init.d/house-service"
    printf '#!/bin/sh\n' >"$stage/usr/bin/corvane-virlog"
    printf '#!/bin/sh\n' >"$stage/usr/sbin/corvane-admin"
    chmod 700 "$stage$directory/create-users" "$stage/etc/init.d/house-service"
    chmod 700 "$stage$directory/create-shared-files" "$stage/usr/bin/corvane-virlog" "$stage/usr/sbin/corvane-admin"
    ln -s "$directory/corvane" "$stage/usr/bin/corvane"
    echo text >"$stage$directory/translation/text"
    echo manual >"$stage/usr/share/man/house/manual"
)

folders=(/ /usr /usr/bin /usr/lib /usr/sbin /usr/share /usr/share/man)
# A mode that no stage has; an ordinary user cannot give it.
[[ $EUID -ne 0 ]] || chmod 751 /usr/share/man
before=$(stat -c '%a %U %n' "${folders[@]}")
mkdir -p "$directory/tmp" "$directory/reports"
: >"$directory/of-another-version"
: >"$directory/tmp/mine"

# Found ROOT: what of the stage is there.
Found() {
    (cd "$1" && find usr/lib/Corvane usr/bin/corvane* usr/sbin/corvane-admin usr/share/man/house \
        etc/init.d/house-service -printf '%m %p\n' 2>/dev/null)
}
shared="755 usr/lib/Corvane
755 usr/lib/Corvane/Corvane
755 usr/lib/Corvane/Corvane/create-shared-files
755 usr/lib/Corvane/Corvane/create-users
644 usr/lib/Corvane/Corvane/made
755 usr/lib/Corvane/Corvane/tmp
644 usr/lib/Corvane/Corvane/tmp/mine
755 usr/lib/Corvane/Corvane/translation
644 usr/lib/Corvane/Corvane/translation/text
777 usr/bin/corvane
755 usr/bin/corvane-virlog"
system="644 usr/lib/Corvane/Corvane/users
755 etc/init.d/house-service
755 usr/sbin/corvane-admin
755 usr/share/man/house
644 usr/share/man/house/manual"

if [[ $EUID -eq 0 ]]; then
    # A root that is not the sandbox's: no mount at all stands there.
    other=$(mktemp -d)/root
    mkdir "$other"
    for entry in /*; do
        if [[ -L $entry ]]; then
            cp -P "$entry" "$other$entry"
        elif [[ -d $entry ]]; then
            mkdir "$other$entry"
            mount --rbind "$entry" "$other$entry"
        fi
    done
    chroot "$other" "$checkout/packaging/install-stage" "$stage"
    Expect "on a root of the machine's own it ends well" 0 $?
    Expect "and only what is taken away again is put there" \
        "$(sort <<<"$shared")" "$(Found "$other" | sort)"
    for test in package_test package_upgrade_test package_scratch_test; do
        got=$(chroot "$other" "$checkout/tests/e2e/$test.sh" /no/such/build 2>&1)
        Expect "$test is skipped there" \
            "77 skipped: the root is the machine's own, and so are its packages" "$? $got"
    done
else
    system=
fi

"$checkout/packaging/install-stage" "$stage"
Expect "it ends well" 0 $?
Expect "everything is there, for everybody" \
    "$(sort <<<"$shared${system:+$'\n'$system}")" "$(Found / | sort)"
Expect "the system's folders stay as they are" "$before" "$(stat -c '%a %U %n' "${folders[@]}")"
Expect "the program is a link" "$directory/corvane" "$(readlink /usr/bin/corvane)"
Expect "the shared files are made" "$directory" "$(cat "$directory/made")"

AllHeld
