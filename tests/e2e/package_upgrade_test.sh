#!/bin/bash
# package_upgrade_test.sh BUILD, inside tests/support/sandbox: what an installation on a full disk, a
# damaged password database and an earlier version's half-made files make of an upgrade.
set -u

e2eRoot=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd -P)
source "$e2eRoot/tests/e2e/e2e.sh"
# shellcheck source=package.sh
source "$e2eRoot/tests/e2e/package.sh"
MakePackage "$1"

PackageState() {
    dpkg-query --show --showformat '${db:Status-Abbrev}' corvane | tr -d ' '
}

# ---- a disk without room for the virus log -------------------------------------------------------------

reports=$kProductDir/reports
mkdir -p "$reports"
Must "a small disk is mounted" mount -t tmpfs -o size=8k corvane-test "$reports"
head -c 8192 /dev/zero >"$reports/filler"
Expect "no room: it is not configured" no "$(YesOrNo Dpkg --install "$package" | tail -n 1)"
Expect "no room: it says where" yes "$(Said "$reports/VirMain.dat: No space left on device")"
Expect "no room: dpkg knows" iF "$(PackageState)"
Expect "no room: nothing half made" "filler RecOffset.dat VirRcONE.dat" \
    "$(find "$reports" -mindepth 1 -printf '%f\n' | LC_ALL=C sort -f | paste -sd ' ')"
rm "$reports/filler"
Must "with room it is configured" Dpkg --configure corvane
Expect "with room the virus log is whole" "00000000$(Field VirRcONE.dat 100)" "$(Bytes "$reports/VirMain.dat")"
umount "$reports"
Must "it installs" Dpkg --install "$package"

# ---- what an earlier installation in place left on a full disk -----------------------------------------

for file in scanver.cnf updt.rpt reports/VirMain.dat; do
    : >"$kProductDir/$file"
done
Must "it upgrades over empty files" Dpkg --install "$package"
Expect "the update index is repaired" 5a5152460000000000000000 "$(Bytes "$kProductDir/updt.rpt")"
Expect "the version is repaired" ea070b00ea070b00060015000000000000000000 "$(Bytes "$kProductDir/scanver.cnf")"
Expect "the virus log is repaired" "00000000$(Field VirRcONE.dat 100)" "$(Bytes "$reports/VirMain.dat")"
Expect "and everybody may use it" 666 "$(stat -c %a "$reports/VirMain.dat")"
Expect "it says so" yes "$(Said "$kProductDir/defs/package/scanver.cnf: was empty or cut off and has been made anew")"

# ---- the version file of an earlier release, which was no link -----------------------------------------

rm -r "$kProductDir/scanver.cnf" "$kProductDir/defs/current" "$kProductDir/defs/package"
printf 'of an earlier release' >"$kProductDir/scanver.cnf"
Must "it upgrades over a version file" Dpkg --install "$package"
Expect "a link has taken its place" "defs/current/scanver.cnf ea070b00ea070b00060015000000000000000000" \
    "$(readlink "$kProductDir/scanver.cnf") $(Bytes "$kProductDir/scanver.cnf")"

# ---- a damaged password database -----------------------------------------------------------------------

database=$kProductDir/settings.db
printf 'secret\n' | corvane-admin set-password --stdin >/dev/null
for damage in emptied cut overwritten; do
    case $damage in
        emptied) : >"$database" ;;
        cut) printf 'secret\n' | corvane-admin set-password --stdin >/dev/null && truncate -s 5000 "$database" ;;
        overwritten) head -c 8192 /dev/urandom >"$database" ;;
    esac
    before=$(sha256sum <"$database")
    Must "$damage: it upgrades" Dpkg --install "$package"
    Expect "$damage: the package is in order" ii "$(PackageState)"
    Expect "$damage: what is damaged" yes "$(Said "the settings database is damaged")"
    Expect "$damage: where to read on" yes "$(Said "see corvane-admin(8)")"
    Expect "$damage: nothing takes its place" "$before" "$(sha256sum <"$database")"
    Expect "$damage: no word of no password" "1 " "$(corvane-admin status 2>/dev/null >"$scratch/status"
        echo $? "$(cat "$scratch/status")")"
    # As corvane-admin says.
    mv "$database" "$scratch/damaged.db"
    Must "$damage: a new one" corvane-admin init >/dev/null
    printf 'secret\n' | corvane-admin set-password --stdin >/dev/null
    Expect "$damage: a password again" 1 "$(corvane-admin status | grep -c '^A settings password is set')"
done

rm "$database"
mkdir "$scratch/bin"
printf '#!/bin/sh\nexit 1\n' >"$scratch/bin/corvane-admin"
chmod 755 "$scratch/bin/corvane-admin"
Expect "without any database it is not configured" no \
    "$(PATH=$scratch/bin:$PATH YesOrNo Dpkg --install "$package" | tail -n 1)"
Must "with one it is" Dpkg --configure corvane
Must "it is purged" Dpkg --purge corvane
Finish
