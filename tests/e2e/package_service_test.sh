#!/bin/bash
# package_service_test.sh BUILD, inside tests/support/sandbox: the update services of the Debian package,
# with systemd, which is played by a script, and without it: enabled, disabled, started, upgraded, purged.
set -u

e2eRoot=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd -P)
source "$e2eRoot/tests/e2e/e2e.sh"
# shellcheck source=package.sh
source "$e2eRoot/tests/e2e/package.sh"
MakePackage "$1"

units=(corvane-fetch.socket corvane-updated.socket corvane-scheduler.socket corvane-updated.service
    corvane-scheduler.service rapidupdate.service)
runningPid=

# Whatever becomes of the test, nothing it started stays.
# shellcheck disable=SC2317
EndServices() {
    [[ -z $runningPid ]] || kill "$runningPid" 2>/dev/null
    for script in rapidupdate corvane-scheduler corvane-updated; do
        [[ ! -x /etc/init.d/$script ]] || "/etc/init.d/$script" stop >/dev/null 2>&1
    done
}
trap EndServices EXIT

# ---- what the package brings ---------------------------------------------------------------------------

Expect "what is the administrator's to change" "/etc/init.d/corvane-scheduler
/etc/init.d/corvane-updated
/etc/init.d/rapidupdate
/usr/lib/Corvane/Corvane/scanapi.conf" "$(dpkg-deb --info "$package" conffiles)"

# ---- with systemd --------------------------------------------------------------------------------------

mkdir -p /run/systemd/system "$scratch/bin"
rm -f /usr/sbin/policy-rc.d
chmod 755 "$scratch"
cat >"$scratch/bin/systemctl" <<END
#!/bin/bash
words=()
for word in "\$@"; do
    [[ \$word == -* ]] || words+=("\$word")
done
echo "\${words[*]}" >>"$scratch/systemctl.log"
case \${words[0]} in
    # What needs no systemd that runs is left to the real one.
    is-enabled | preset | enable | disable) exec /usr/bin/systemctl --root=/ "\${words[@]}" ;;
    is-active) exit 3 ;;
    start) [[ \${words[1]} != *tmp.mount ]] || exit 1 ;;
esac
exit 0
END
chmod 755 "$scratch/bin/systemctl"
realPath=$PATH
export PATH=$scratch/bin:$PATH

# Enabled: which of the units are.
Enabled() {
    local unit
    for unit in "${units[@]}"; do
        ! compgen -G "/etc/systemd/system/*.wants/$unit" >/dev/null || echo "$unit"
    done
}
# Told WORD: which of the units systemd was told to start, restart, stop, in order.
Told() {
    sed -n "s/^$1 //p" "$scratch/systemctl.log" | grep -v 'tmp\.mount'
}

Must "it installs" Dpkg --install "$package"
Expect "all services are enabled" "$(printf '%s\n' "${units[@]}")" "$(Enabled)"
Expect "all are started, the sockets first, whatever else fails" "$(printf '%s\n' "${units[@]}")" "$(Told start)"
users=(corvane corvane-fetch corvane-scan)
Expect "the users" "$(printf '%s:/nonexistent:/usr/sbin/nologin\n' "${users[@]}")" \
    "$(getent passwd "${users[@]}" | cut -d : -f 1,6,7)"
Expect "each has a group of its own" "${users[*]}" \
    "$(for user in "${users[@]}"; do id -Gn "$user"; done | paste -sd ' ')"
Expect "none can log in" "! ! !" \
    "$(for user in "${users[@]}"; do getent shadow "$user" | cut -d : -f 2 | cut -c 1; done | paste -sd ' ')"

# What an administrator has changed, and what is the users'.
printf '\x0c\0\0\0' | dd of="$kProductDir/zqupdate.opt" conv=notrunc status=none
printf '\x01' | dd of="$kProductDir/zqinet.opt" conv=notrunc status=none
printf '1234567' >"$kProductDir/updlink.dat"
head -c 810 /dev/zero | tr '\0' 'a' >"$kProductDir/admnlink.dat"
echo key >"$kProductDir/updturl.keys/mine.pub"
echo "# mine" >>/etc/init.d/rapidupdate
mkdir "$kProductDir/defs/set-7"
printf 'the version of set-7' >"$kProductDir/defs/set-7/scanver.cnf"
ln -sfn set-7 "$kProductDir/defs/current"
chmod 644 "$kProductDir/zqupdate.opt"
for unit in rapidupdate.service corvane-updated.socket; do
    systemctl disable "$unit"
done
: >"$scratch/systemctl.log"
Must "it upgrades" Dpkg --install "$package"
Expect "disabled stays disabled" "corvane-fetch.socket
corvane-scheduler.socket
corvane-updated.service
corvane-scheduler.service" "$(Enabled)"
Expect "the sockets stay as they are" "corvane-fetch.socket
corvane-scheduler.socket" "$(Told start)"
Expect "what runs becomes the new one" "corvane-updated.service
corvane-scheduler.service" "$(Told restart)"
Expect "the options are kept" 0c000000 "$(Bytes "$kProductDir/zqupdate.opt" 0 4)"
Expect "everybody may change them again" "666 corvane" "$(stat -c '%a %U' "$kProductDir/zqupdate.opt")"
Expect "the proxy is kept" 0100 "$(Bytes "$kProductDir/zqinet.opt" 0 2)"
Expect "the addresses are kept" 1234567 "$(cat "$kProductDir/updlink.dat")"
Expect "the server's addresses are kept" 810 "$(tr -cd a <"$kProductDir/admnlink.dat" | wc -c)"
Expect "the keys are kept" key "$(cat "$kProductDir/updturl.keys/mine.pub")"
Expect "the script is kept" "# mine" "$(tail -n 1 /etc/init.d/rapidupdate)"
Expect "the definitions are kept" "defs/current/scanver.cnf the version of set-7" \
    "$(readlink "$kProductDir/scanver.cnf") $(cat "$kProductDir/scanver.cnf")"
Expect "nothing is said about them" no "$(Said scanver.cnf)"

: >"$scratch/systemctl.log"
Must "it is removed" Dpkg --remove corvane
Expect "all is stopped" "corvane-scheduler.socket
corvane-scheduler.service
rapidupdate.service
corvane-updated.socket
corvane-updated.service
corvane-fetch.socket
corvane-fetch@*.service" "$(Told stop)"
Must "it is installed again" Dpkg --install "$package"
Expect "disabled outlives a removal" "corvane-fetch.socket
corvane-scheduler.socket
corvane-updated.service
corvane-scheduler.service" "$(Enabled)"
mkdir -p /run/corvane /run/corvane-fetch
Must "it is purged" Dpkg --purge corvane

# Left: what of it is still on the machine.
Left() {
    find /etc /run /usr /var/lib \( -path /var/lib/dpkg -o -path /usr/share/doc -o -path /var/lib/apt \) \
        -prune -o \( -name '*corvane*' -o -name 'rapidupdate*' -o -name Corvane \) -print 2>/dev/null |
        grep -vF -- "$e2eRoot"
    getent passwd "${users[@]}"
    getent group "${users[@]}"
    find / -maxdepth 1 -name 'zq*.log'
}
Expect "nothing is left" "" "$(Left)"

Must "it is installed as for the first time" Dpkg --install "$package"
Expect "a purge forgets what was disabled" "$(printf '%s\n' "${units[@]}")" "$(Enabled)"

# ---- the scripts, with systemd -------------------------------------------------------------------------

: >"$scratch/systemctl.log"
# The script sets its own path.
mount --bind "$scratch/bin/systemctl" "$(readlink -f /usr/bin/systemctl)"
for word in start stop restart force-reload status; do
    /etc/init.d/rapidupdate "$word" >/dev/null
done
Expect "the script hands over to systemd" "start rapidupdate.service
stop rapidupdate.service
restart rapidupdate.service
restart rapidupdate.service
status rapidupdate.service" "$(cat "$scratch/systemctl.log")"
umount "$(readlink -f /usr/bin/systemctl)"
Must "it is purged again" Dpkg --purge corvane
rm -r /run/systemd/system
export PATH=$realPath

# ---- without systemd -----------------------------------------------------------------------------------

# Pid SCRIPT: the process that it started.
Pid() {
    cat "/run/$1.pid" 2>/dev/null
}
# Runs SCRIPT. Reached through WaitFor only.
# shellcheck disable=SC2317
Runs() {
    /etc/init.d/"$1" status >/dev/null
}
# HasDied: it left its number behind. Reached through WaitFor only.
# shellcheck disable=SC2317
HasDied() {
    [[ $(Status rapidupdate status) == 1 ]]
}
# Status SCRIPT WORD...: its exit status.
Status() {
    "/etc/init.d/$1" "${@:2}" >/dev/null 2>&1
    echo $?
}
# Lives PID: one that nobody has buried yet is dead all the same.
Lives() {
    YesOrNo grep -qs '^State:.[^ZX]' "/proc/$1/status"
}
# Ended PID: the opposite, as a status. Reached through WaitFor only.
# shellcheck disable=SC2317
Ended() {
    [[ $(Lives "$1") == no ]]
}
# Quickly COMMAND...: yes when it took at most two seconds.
Quickly() {
    local begin=$EPOCHREALTIME
    "$@" >/dev/null 2>&1
    YesOrNo test $(((${EPOCHREALTIME/./} - ${begin/./}) / 1000)) -lt 2000
}
Credentials() {
    sed -n 's/^\(Uid\|Gid\|CapEff\|CapBnd\|CapAmb\|NoNewPrivs\):\t//p' "/proc/$(Pid rapidupdate)/status" |
        tr '\t\n' '  ' | sed 's/ *$//'
}

# A root without these is taken for one in which nothing is to be started.
[[ -e /sbin/init ]] || printf '#!/bin/sh\n' >/sbin/init
printf '#!/bin/sh\necho N 2\n' >/sbin/runlevel
chmod 755 /sbin/runlevel
Must "it installs without systemd" Dpkg --install "$package"
Must "the automatic updates run" WaitFor 20 Runs rapidupdate
user=$(id -u corvane)
group=$(id -g corvane)
# 0x20 is CAP_KILL.
Expect "as their user, with the right to tell the web protection" \
    "$user $user $user $user $group $group $group $group 0000000000000020 0000000000000020 0000000000000020 1" \
    "$(Credentials)"
Expect "at every start of the machine" yes "$(YesOrNo compgen -G '/etc/rc2.d/S??rapidupdate' | tail -n 1)"

Must "the update service runs" WaitFor 20 Runs corvane-updated
Must "it listens" WaitFor 20 test -S /run/corvane/update.sock
Expect "for everybody" "666 755 root" \
    "$(stat -c %a /run/corvane/update.sock) $(stat -c '%a %U' /run/corvane)"

Must "the scheduler runs" WaitFor 20 Runs corvane-scheduler
Must "it listens, too" WaitFor 20 test -S /run/corvane/schedule.sock
Expect "for everybody, as root" "666 root" \
    "$(stat -c %a /run/corvane/schedule.sock) $(stat -c %U "/proc/$(Pid corvane-scheduler)")"

first=$(Pid rapidupdate)
Expect "a second start is fine" 0 "$(Status rapidupdate start)"
Expect "and starts none" "$first" "$(Pid rapidupdate)"
Expect "stopping does not keep the window waiting" yes "$(Quickly /etc/init.d/rapidupdate stop)"
Must "it ends" WaitFor 20 Ended "$first"
Expect "it does not run" 3 "$(Status rapidupdate status)"
Expect "who presses the button is served on" 0 "$(Status corvane-updated status)"
Expect "a second stop is fine" 0 "$(Status rapidupdate stop)"
Expect "nor does starting" yes "$(Quickly /etc/init.d/rapidupdate start)"
Must "it runs again" WaitFor 20 Runs rapidupdate
before=$(Pid rapidupdate)
Expect "it starts anew" 0 "$(Status rapidupdate restart)"
Must "it runs anew" WaitFor 20 Runs rapidupdate
Expect "as another process" no "$(YesOrNo test "$before" = "$(Pid rapidupdate)")"
kill -KILL "$(Pid rapidupdate)"
Must "it is dead" WaitFor 20 HasDied
Expect "after a death it can be started" 0 "$(Status rapidupdate start)"
Must "it lives" WaitFor 20 Runs rapidupdate
Expect "no word" 2 "$(Status rapidupdate)"
Expect "too many words" 2 "$(Status rapidupdate start now)"
Expect "an unknown word" 3 "$(Status rapidupdate dance)"
Expect "without rights" 4 "$(setpriv --reuid 65534 --regid 65534 --clear-groups -- \
    /etc/init.d/rapidupdate stop >/dev/null 2>&1; echo $?)"
Expect "it still runs" 0 "$(Status rapidupdate status)"

# A number that another process has got since is none of its own.
/etc/init.d/rapidupdate stop
sleep 60 &
runningPid=$!
echo "$runningPid" >/run/rapidupdate.pid
Expect "another process is not taken for it" 0 "$(Status rapidupdate stop)"
Expect "and left alone" yes "$(YesOrNo kill -0 "$runningPid")"
Expect "nor does it keep it from starting" 0 "$(Status rapidupdate start)"
Must "it runs beside it" WaitFor 20 Runs rapidupdate

before=$(Pid rapidupdate)
Must "it upgrades" Dpkg --install "$package"
Must "the new one runs" WaitFor 20 Runs rapidupdate
Expect "after an upgrade it is the new one" no "$(YesOrNo test "$before" = "$(Pid rapidupdate)")"
update-rc.d rapidupdate disable
/etc/init.d/rapidupdate stop
Must "it upgrades while it is switched off" Dpkg --install "$package"
Expect "what was switched off stays so" "3 no" \
    "$(Status rapidupdate status) $(YesOrNo compgen -G '/etc/rc2.d/S??rapidupdate' | tail -n 1)"
/etc/init.d/rapidupdate start
Must "it runs for the last time" WaitFor 20 Runs rapidupdate
last=$(Pid rapidupdate)
lastUpdated=$(Pid corvane-updated)
lastScheduler=$(Pid corvane-scheduler)
Must "it is removed" Dpkg --remove corvane
Expect "all have been stopped" "no no no" \
    "$(Lives "$last") $(Lives "$lastUpdated") $(Lives "$lastScheduler")"
Expect "the script without its program" 5 "$(Status rapidupdate start)"
Must "it is purged in the end" Dpkg --purge corvane
Expect "nothing at all is left" "" "$(Left)"
Finish
