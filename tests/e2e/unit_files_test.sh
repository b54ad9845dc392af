#!/bin/bash
# unit_files_test.sh BUILD, inside tests/support/sandbox: systemd understands the units as they are
# installed, and says how much each service could do if it were taken over.
set -u

e2eRoot=$(cd -- "$(dirname -- "${BASH_SOURCE[0]}")/../.." && pwd -P)
source "$e2eRoot/tests/e2e/e2e.sh"

if ! grep -q '^corvane-sandbox / ' /proc/self/mounts || [[ $EUID -ne 0 ]] || ! type -P systemd-analyze >/dev/null; then
    echo "skipped: needs systemd-analyze, root, and a root of its own"
    exit 77
fi

scratch=$(mktemp -d)
Must "the product is installed" "$e2eRoot/packaging/install-stage" "$1/stage"
folder=/usr/lib/systemd/system
services=(corvane-fetch@ corvane-updated rapidupdate)

# Exposure SERVICE: from 0.0 to 10.0, in tenths.
Exposure() {
    systemd-analyze security --offline=true --no-pager "$folder/$1.service" |
        sed -n 's/.*Overall exposure level for .*: \([0-9]*\)\.\([0-9]\) .*/\1\2/p'
}

for service in "${services[@]}"; do
    exposure=$(Exposure "$service")
    echo "$service: ${exposure%?}.${exposure: -1}"
    Expect "$service can do little" yes "$([[ -n $exposure && $((10#$exposure)) -le 20 ]] && echo yes)"
    Expect "$service cannot fill the machine" 2 "$(grep -cE '^(TasksMax|MemoryMax)=[0-9]+[MG]?$' "$folder/$service.service")"
    program=$(sed -n 's/^ExecStart=\([^ ]*\).*/\1/p' "$folder/$service.service")
    Expect "$service runs what is installed" yes "$([[ -x $program ]] && echo yes)"
    user=$(sed -n 's/^User=//p' "$folder/$service.service")
    Expect "$service is no service of root's" yes "$([[ -n $user && $user != root ]] && id "$user" >/dev/null && echo yes)"
done
# It becomes each owner of a scan, and its scans read and delete everywhere.
exposure=$(Exposure corvane-scheduler)
echo "corvane-scheduler: ${exposure%?}.${exposure: -1}"
Expect "corvane-scheduler can do no more than it must" yes \
    "$([[ -n $exposure && $((10#$exposure)) -le 25 ]] && echo yes)"
Expect "corvane-scheduler cannot fill the machine" 2 \
    "$(grep -cE '^(TasksMax|MemoryMax)=[0-9]+[MG]?$' "$folder/corvane-scheduler.service")"
Expect "it sees what people scan" 0 \
    "$(grep -cE '^(ProtectHome|PrivateTmp|ProtectSystem)=' "$folder/corvane-scheduler.service")"
for unit in corvane-fetch.socket corvane-fetch@.service corvane-scheduler.socket \
    corvane-scheduler.service corvane-updated.socket corvane-updated.service rapidupdate.service; do
    # What it says of units of this machine is not ours.
    Expect "$unit is understood" "" "$(systemd-analyze verify --man=no "$folder/$unit" 2>&1 | grep -E 'corvane|rapidupdate')"
done
if type -P shellcheck >/dev/null; then
    Expect "the init scripts are clean" "" "$(shellcheck /etc/init.d/rapidupdate /etc/init.d/corvane-updated /etc/init.d/corvane-scheduler)"
fi
Finish
