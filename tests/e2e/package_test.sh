#!/bin/bash
# package_test.sh BUILD, inside tests/support/sandbox: the Debian package made, installed, upgraded,
# removed and purged with dpkg.
set -u

e2eRoot=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd -P)
source "$e2eRoot/tests/e2e/e2e.sh"

# shellcheck source=package.sh
source "$e2eRoot/tests/e2e/package.sh"
MakePackage "$1"

ControlField() {
    dpkg-deb --field "$package" "$1"
}

# Depends on what its libraries and its "pkill" come from; the dependencies are on this machine, as it was built here.
for library in libclamav libqt6widgets6 libsqlite3 libcrypt1 libsystemd0 adduser procps; do
    Expect "it depends on $library" 1 "$(ControlField Depends | tr ',' '\n' | grep -c "^ *$library")"
done
Expect "all of it belongs to root" "root/root" \
    "$(dpkg-deb --contents "$package" | awk '{print $2}' | sort -u)"
Expect "only the owner may write what it brings" "" \
    "$(dpkg-deb --contents "$package" | grep -v '^l' | cut -c 1-10 | grep -E '^.{5}w|^.{8}w')"

Modes() {
    (cd "$kProductDir" && stat -c '%a %U %n' zqscn.opt zqupdate.opt zqinet.opt updlink.dat admnlink.dat \
        updt.lck .bookmarks main.rpt updt.rpt defs/package/scanver.cnf section.ini reports tmp reports/VirMain.dat reports/VirRcONE.dat \
        reports/RecOffset.dat reports/schdmain.rpt settings.db download defs updturl.keys updturl.keys/README scansts.so)
}

Must "it installs" Dpkg --install "$package"
Expect "modes and owners" "666 root zqscn.opt
666 corvane zqupdate.opt
666 root zqinet.opt
644 root updlink.dat
644 corvane admnlink.dat
666 root updt.lck
666 root .bookmarks
666 root main.rpt
666 root updt.rpt
644 corvane defs/package/scanver.cnf
644 root section.ini
1777 root reports
1777 root tmp
666 root reports/VirMain.dat
666 root reports/VirRcONE.dat
666 root reports/RecOffset.dat
644 root reports/schdmain.rpt
644 root settings.db
2750 corvane-fetch download
755 corvane defs
755 root updturl.keys
644 root updturl.keys/README
644 root scansts.so" "$(Modes)"
Expect "the updater reads what was downloaded" corvane "$(stat -c %G "$kProductDir/download")"
Expect "scanner settings" 01000b "$(Bytes "$kProductDir/zqscn.opt")"
Expect "update options" "0300000001000000$(printf '%01024d' 0)" "$(Bytes "$kProductDir/zqupdate.opt")"
Expect "no proxy" "$(printf '%01576d' 0)" "$(Bytes "$kProductDir/zqinet.opt")"
Expect "the official mirror" "00000000010000000000$(printf '%s' 43a3a3839bd17979230ba30b130b9b2b711b630b6b0bb371732ba3)" \
    "$(Bytes "$kProductDir/updlink.dat" 0 37)"
Expect "the scan index" 5a5152460000000000000000 "$(Bytes "$kProductDir/main.rpt")"
Expect "the update index" 5a5152460000000000000000 "$(Bytes "$kProductDir/updt.rpt")"
Expect "the version is that of the definitions in use" "defs/current/scanver.cnf package" \
    "$(readlink "$kProductDir/scanver.cnf") $(readlink "$kProductDir/defs/current")"
Expect "the version of the database" ea070b00ea070b00060015000000000000000000 "$(Bytes "$kProductDir/scanver.cnf")"
Expect "where the virus log goes" "00000000$(Field VirRcONE.dat 100)" "$(Bytes "$kProductDir/reports/VirMain.dat")"
Expect "an empty virus log" "0 0" \
    "$(cd "$kProductDir/reports" && stat -c %s VirRcONE.dat RecOffset.dat | paste -sd ' ')"
Expect "when the virus log is cut" "[LOGLIMIT]
MAXLIMIT = 10000
LIMIT = 5000" "$(cat "$kProductDir/section.ini")"
Expect "the command" "$kProductDir/corvane" "$(readlink -f /usr/bin/corvane)"
Expect "the reader of the virus log" "corvane-virlog $(ControlField Version)" "$(corvane-virlog --version)"
Expect "its manual" /usr/share/man/man1/corvane-virlog.1.gz "$(dpkg -L corvane | grep 'corvane-virlog\.1')"
for binary in /usr/bin/corvane-virlog "$kProductDir/create-shared-files" "$kProductDir/scanapi.so"; do
    Expect "$binary is stripped" .dynsym \
        "$(readelf -SW "$binary" | grep -oE '\.(dynsym|symtab)\b' | sort -u)"
done
for locale in en_US en; do
    Expect "the labels of reports for $locale" yes \
        "$(YesOrNo test -s "$kProductDir/translation/$locale/LC_MESSAGES/lang.mo")"
done
Expect "the scanner for the shell" "$kProductDir/corvane-scan corvane-scan $(ControlField Version)" \
    "$(readlink -f /usr/bin/corvane-scan) $(corvane-scan --version)"
for part in man/man1/corvane-scan.1.gz bash-completion/completions/corvane-scan \
    zsh/vendor-completions/_corvane-scan nemo/actions/corvane-scan.nemo_action \
    kio/servicemenus/corvane-scan.desktop nautilus-python/extensions/corvane-scan.py \
    caja-python/extensions/corvane-scan.py doc/corvane/README.file-managers; do
    Expect "what comes with it: $part" "/usr/share/$part" "$(dpkg -L corvane | grep -F "/usr/share/$part")"
done
Expect "no record in the virus log" "[]" "$(corvane-virlog --format json 2>/dev/null)"
Expect "no settings password" "No settings password is set." "$(corvane-admin status)"

Expect "the program for kept files" "corvane-vault $(ControlField Version)" "$(corvane-vault --version)"
Expect "the settings of the engine and their manual" "$kProductDir/scanapi.conf
/usr/share/man/man1/corvane-vault.1.gz
/usr/share/man/man5/scanapi.conf.5.gz" "$(dpkg -L corvane | grep -E 'corvane-vault\.1|scanapi\.conf' | LC_ALL=C sort)"
Expect "all of them are defaults" "[Vault]
[Cache]
[Scanning]" "$(grep -vE '^(;.*)?$' "$kProductDir/scanapi.conf")"
Expect "nobody but root can change them" "644 root" "$(stat -c '%a %U' "$kProductDir/scanapi.conf")"

# What people have changed outlives an upgrade.
printf '[Vault]\nDays=90\n' >"$kProductDir/scanapi.conf"
mkdir -p /var/lib/corvane/vault/0
echo kept >/var/lib/corvane/vault/0/20261122-074512-9f3a1c02
mkdir -p /var/cache/corvane
echo clean >/var/cache/corvane/verdicts
SetAction 4
printf 'secret\n' | corvane-admin set-password --stdin >/dev/null
echo report >"$kProductDir/reports/scn0001.log"
printf record >"$kProductDir/reports/VirRcONE.dat"
printf 'a version of 20 bytes' >"$kProductDir/scanver.cnf"
# Somebody lays a link for root to hit.
echo victim >"$scratch/victim"
chmod 600 "$scratch/victim"
ln -sf "$scratch/victim" "$kProductDir/reports/VirMain.dat"
ln -sf "$scratch/made" "$kProductDir/reports/RecOffset.dat"
Must "it upgrades" Dpkg --install "$package"
Expect "the settings are kept" 04000b "$(Bytes "$kProductDir/zqscn.opt")"
Expect "the settings of the engine are kept" "Days=90" "$(tail -n 1 "$kProductDir/scanapi.conf")"
Expect "the reports are kept" report "$(cat "$kProductDir/reports/scn0001.log")"
Expect "the virus log is kept" record "$(cat "$kProductDir/reports/VirRcONE.dat")"
Expect "the version file is kept" 'defs/current/scanver.cnf a version of 20 bytes' \
    "$(readlink "$kProductDir/scanver.cnf") $(cat "$kProductDir/scanver.cnf")"
Expect "a link in the reports hits nobody" "600 victim no" \
    "$(stat -c %a "$scratch/victim") $(cat "$scratch/victim") $(YesOrNo test -e "$scratch/made")"
Expect "the password is kept" "A settings password is set" "$(corvane-admin status | sed 's/ (last changed .*//')"

Must "it is removed" Dpkg --remove corvane
Expect "the program is gone" no "$(YesOrNo test -e "$kProductDir/corvane")"
Expect "what was kept of deleted files stays" kept "$(cat /var/lib/corvane/vault/0/*)"
Expect "the reports stay" report "$(cat "$kProductDir/reports/scn0001.log")"
Must "it is purged" Dpkg --purge corvane
Expect "nothing is left" "no no no" \
    "$(YesOrNo test -e /usr/lib/Corvane) $(YesOrNo test -e /var/lib/corvane) $(YesOrNo test -e /var/cache/corvane)"
Finish
