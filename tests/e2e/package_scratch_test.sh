#!/bin/bash
# package_scratch_test.sh BUILD, inside tests/support/sandbox: the scratch space's unit and mount, which
# the administrator may not want and in which somebody may be at work, through upgrade and purge. systemd
# is played by a script.
set -u

e2eRoot=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd -P)
source "$e2eRoot/tests/e2e/e2e.sh"
# shellcheck source=package.sh
source "$e2eRoot/tests/e2e/package.sh"
MakePackage "$1"

space=$kProductDir/tmp
unit=usr-lib-Corvane-Corvane-tmp.mount
wanted=/etc/systemd/system/local-fs.target.wants/$unit

mkdir -p /run/systemd/system "$scratch/bin"
rm -f /usr/sbin/policy-rc.d
chmod 755 "$scratch"
# Does what systemd would, and says nothing.
cat >"$scratch/bin/systemctl" <<END
#!/bin/bash
words=()
for word in "\$@"; do
    [[ \$word == -* ]] || words+=("\$word")
done
[[ -e /usr/lib/Corvane ]] || words+=(, all gone)
echo "\${words[*]}" | sed 's/ ,/,/' >>"$scratch/systemctl.log"
# The other units are not what is tried out here.
[[ \${words[1]:-} == $unit ]] || exit 1
case \${words[0]} in
    is-enabled) if [[ -L $wanted ]]; then echo enabled; else echo disabled; exit 1; fi ;;
    is-active) mountpoint -q $space ;;
    preset | enable) mkdir -p ${wanted%/*} && ln -sf /lib/systemd/system/$unit $wanted ;;
    disable) rm -f $wanted ;;
    start) mountpoint -q $space || mount -t tmpfs -o mode=1777,size=1m corvane-test $space ;;
    stop) ! mountpoint -q $space || umount $space ;;
esac
END
chmod 755 "$scratch/bin/systemctl"
export PATH=$scratch/bin:$PATH

Enabled() {
    YesOrNo test -L "$wanted"
}
Mounted() {
    YesOrNo mountpoint -q "$space"
}
Starts() {
    grep -c "^start $unit" "$scratch/systemctl.log"
}

# What somebody without rights does who makes files as fast as they can.
cat >"$scratch/bin/work" <<'END'
#!/bin/bash
while :; do
    mkdir -p "mine$((RANDOM % 50))"
    : >"file$RANDOM"
done
END
chmod 755 "$scratch/bin/work"

# Settle: somebody works in the scratch space. Reached through Must only.
# shellcheck disable=SC2317
Settle() {
    (cd "$space" && exec setpriv --reuid 65534 --regid 65534 --clear-groups -- "$scratch/bin/work") 2>/dev/null &
    somebody=$!
    WaitFor 20 test -d "$space/mine7"
}
Leave() {
    kill "$somebody"
    wait "$somebody" 2>/dev/null
}

Must "it installs" Dpkg --install "$package"
Expect "the scratch space is enabled and there" "yes yes" "$(Enabled) $(Mounted)"
touch "$space/at-work"
Must "it upgrades" Dpkg --install "$package"
Expect "an upgrade leaves who works there alone" "yes yes yes" \
    "$(Enabled) $(Mounted) $(YesOrNo test -e "$space/at-work")"

systemctl disable "$unit"
systemctl stop "$unit"
starts=$(Starts)
Must "it upgrades with the unit disabled" Dpkg --install "$package"
Expect "disabled stays disabled" "no no $starts" "$(Enabled) $(Mounted) $(Starts)"
Must "it is removed" Dpkg --remove corvane
Must "it is installed again" Dpkg --install "$package"
Expect "disabled outlives a removal" "no no $starts" "$(Enabled) $(Mounted) $(Starts)"
Must "it is purged" Dpkg --purge corvane
Expect "systemd looks again when all is gone" 1 "$(grep -c '^daemon-reload, all gone$' "$scratch/systemctl.log")"
Must "it is installed as for the first time" Dpkg --install "$package"
Expect "a purge forgets that" "yes yes" "$(Enabled) $(Mounted)"

Must "somebody settles in the mounted space" Settle
Must "it is removed meanwhile" Dpkg --remove corvane
Expect "the busy space stays" yes "$(Mounted)"
Must "it is purged meanwhile" Dpkg --purge corvane
Expect "nothing is left of it" "no no no" \
    "$(YesOrNo test -e /usr/lib/Corvane) $(Enabled) $(YesOrNo grep -q Corvane /proc/self/mounts)"
Leave

# Without systemd it is a folder like any other.
rm -r /run/systemd/system
NoServices
Must "it installs without systemd" Dpkg --install "$package"
Expect "an ordinary folder" no "$(Mounted)"
Must "somebody settles in the folder" Settle
Must "it is purged with a busy folder" Dpkg --purge corvane
Expect "nothing is left of the folder" no "$(YesOrNo test -e /usr/lib/Corvane)"
Leave
Finish
