# Sourced by bench/run: the figures of updates, and the mirror that they come from.
# shellcheck shell=bash disable=SC2034,SC2154

# What the whole-program tests make a mirror with.
e2eRoot=$root
# shellcheck source=../tests/e2e/update_mirror.sh
source "$e2eRoot/tests/e2e/update_mirror.sh"

# OnDisk NAME: a folder of the product lies on the disk, as on an installed machine; in here it is memory.
OnDisk() {
    mkdir -p "$work/product" "$kProduct/$1"
    cp -a "$kProduct/$1" "$work/product/$1"
    mount --bind "$work/product/$1" "$kProduct/$1"
}

# A mirror with one database of 100 MB, and the product that updates from it; false where there can be none.
updatesMade=
MakeUpdates() {
    if [[ -z $updatesMade ]]; then
        updatesMade=no
        Note "== updates"
        if [[ $EUID -ne 0 ]] || ! { OnDisk defs && OnDisk download; } 2>/dev/null; then
            Note "   (k, l, m) not measured: definitions are installed by root"
            return 1
        fi
        SetUpMirror
        "$build/bench/bench_data" hashes "$scratch/databases/own.hdb" "$(Percent 1750000)"
        Publish
        StartServer || Die "the mirror does not start"
        corvane-admin sources server "$address" >/dev/null
        # The administrator's server is where updates come from.
        printf '\x08\0\0\0\x01\0\0\0' >"$kProduct/zqupdate.opt"
        head -c 512 /dev/zero >>"$kProduct/zqupdate.opt"
        database=$(sha256sum <"$scratch/databases/own.hdb")
        database=$address/files/${database%% *}
        Note "   a database of $(stat -c %s "$scratch/databases/own.hdb") bytes"
        updatesMade=yes
    fi
    [[ $updatesMade == yes ]]
}

NotMeasured() {
    rows+=("| $1 | $2 | - | - | not measured: not root |")
}

# What was downloaded and installed so far goes.
ForgetUpdates() {
    rm -rf -- "$kProduct/defs"/{current,held-back-*,unfinished,last-update.json} "$kProduct/defs"/set-*
    find "$kProduct/download" -mindepth 1 -delete
}

# Update RESULT: one update, which the updater must end with RESULT.
Update() {
    "$build/bench/bench_update_run" "$address" >"$scratch/output" 2>"$scratch/errors" ||
        Die "the update failed: $(<"$scratch/errors")"
    [[ $(Field result) == "$1" ]] || Die "the update ended with $(Field result)"
}

Requests() {
    grep -c "$1" "$scratch/requests.log" || true
}

FigureK() {
    local round
    MakeUpdates || { NotMeasured k "an update with nothing new" && return; }
    ForgetUpdates
    Update 1
    rm -f "$scratch/requests.log"
    for ((round = 0; round < rounds; ++round)); do
        Update 2
        Note "   nothing new  $(<"$scratch/output")"
        Keep nothing "$(Field seconds)"
    done
    Row k "requests of an update with nothing new" \
        "$(Calculate "$(Requests .) / $rounds")" just 1
    Row k "conditional ones of them" \
        "$(Calculate "$(Requests '^GET /index.json | .*If-None-Match: ') / $rounds")" just 1
    Row k "seconds of an update with nothing new" "$(Median nothing)" most 0.15
}

# What a careful person would do by hand.
LoadByHand() {
    curl -sSf -o "$work/by-hand" "$database" && sha256sum "$work/by-hand" && sync "$work/by-hand"
}

FigureL() {
    local round
    MakeUpdates || { NotMeasured l "an update / curl, sha256sum, sync" && return; }
    for ((round = 0; round < rounds; ++round)); do
        rm -f "$work/by-hand"
        Timed LoadByHand
        [[ $status -eq 0 ]] || Die "curl failed: $(<"$scratch/errors")"
        Note "   by hand      $seconds s (cpu $cpu)"
        rm -f "$work/by-hand"
        ForgetUpdates
        Update 1
        Note "   corvane      $(<"$scratch/output")"
        Keep update "$(Field loading) / $seconds"
    done
    Row l "update of 100 MB until it is loaded / curl -o, sha256sum, sync" "$(Median update)" most 1.3
}

FigureM() {
    local round
    MakeUpdates || { NotMeasured m "longest turn of the event loop" && return; }
    export CORVANE_EVENT_LOOP=$scratch/turns
    runAs=(env "LD_PRELOAD=$build/bench/bench_event_loop_watch.so")
    for ((round = 0; round < rounds; ++round)); do
        ForgetUpdates
        rm -f "$CORVANE_EVENT_LOOP"
        StartProgram "$scratch"
        WaitForWindow Corvane || Die "no window: $(<"$scratch/program.log")"
        Press Corvane alt+u alt+w || Die "the update cannot be started"
        WaitFor 120 test -s "$CORVANE_EVENT_LOOP" || Die "the update does not end"
        [[ $(readlink "$kProduct/defs/current") == set-1 ]] || Die "the program did not update"
        cp "$CORVANE_EVENT_LOOP" "$scratch/output"
        Note "   window       $(<"$scratch/output")"
        # The dialog's coming is the update's, too.
        if IsLess "$(Field longest)" "$(Field begin)"; then
            Keep turn "$(Field begin)"
        else
            Keep turn "$(Field longest)"
        fi
        Keep end "$(Field end)"
        Press "Rapid Update" Return || Die "the message stays"
        CloseProgram || Die "the program does not end"
    done
    unset CORVANE_EVENT_LOOP
    runAs=()
    Row m "seconds that the window's event loop waited at most during an update" "$(Median turn)" most 0.05
    Note "   From its end until its message, with the report and pkill in between, it waited $(Median end) s."
}
