# Sourced by bench/run: one function for each figure, and what several of them share. They use its
# helpers (Timed, Keep, Median, Row, ...) and its variables.
# shellcheck shell=bash disable=SC2154

# Configure LINE...: what the engine is told by the administrator. Without [Cache] it remembers nothing:
# what is measured is scanning.
Configure() {
    printf '%s\n' '[Cache]' 'Cache=off' "$@" >"$kProduct/scanapi.conf"
}

# Clamscan SCRATCH TREE
Clamscan() {
    Timed clamscan -r --infected --no-summary --database="$kDefs" --tempdir="$1" \
        --alert-exceeds-max=yes --alert-encrypted=yes "$2"
    [[ $status -le 1 ]] || Note "   clamscan ended with $status: $(tail -n 1 "$scratch/errors")"
}

# A scan by Corvane, clamscan and the bare pool of one tree, once; a, b and j read the same rounds.
declare -A compared=()
CompareScans() {
    local tree=$1 name=$2 round ours theirs whole scan
    [[ -z ${compared[$name]:-} ]] || return 0
    compared[$name]=1
    MakeSignatures
    Configure
    for ((round = 0; round < rounds; ++round)); do
        ReadTree "$tree"
        GuiScan "$kProduct/" "$tree"
        Note "   corvane    $seconds s (cpu $cpu): $(<"$scratch/output")"
        whole=$seconds
        scan=$(Field scan)
        ours=$(Field infected)

        ReadTree "$tree"
        Timed "$build/bench/bench_bare_loop" "$(nproc)" "$kDefs" "$kProduct/tmp" "$tree"
        [[ $status -eq 0 ]] || Die "the bare pool failed: $(<"$scratch/errors")"
        Note "   bare pool  $seconds s (cpu $cpu): $(<"$scratch/output")"
        Keep "$name.bare" "$scan / $(Field scan)"

        ReadTree "$tree"
        # Its folder is on the disk, as /tmp is on an installed Debian 12; in here /tmp is memory.
        Clamscan "$work/scratch" "$tree"
        theirs=$(grep -c ' FOUND$' "$scratch/output" || true)
        Note "   clamscan   $seconds s (cpu $cpu): infected=$theirs (limits and encryption count here, not above)"
        Keep "$name.clamscan" "$whole / $seconds"
        Keep "$name.clamscan.seconds" "$seconds"
        [[ $name != small || $ours == "$theirs" ]] ||
            Die "Corvane found $ours infected files and clamscan $theirs"
        [[ $name == small ]] || continue
        # What of it is owed to unpacking in memory: the other scanner with the same scratch space.
        ReadTree "$tree"
        Clamscan "$kProduct/tmp" "$tree"
        Note "   clamscan   $seconds s with its scratch space in memory"
        Keep small.memory "$whole / $seconds"
    done
}

CompareSmall() {
    Note "== 100,000 small files"
    MakeSmallFiles
    CompareScans "$work/small" small
}

CompareShare() {
    Note "== a copy of /usr/share ($(du -sh /usr/share 2>/dev/null | cut -f 1))"
    MakeShare
    CompareScans "$work/share" share
}

FigureA() {
    CompareSmall
    Row a "whole scan / clamscan -r, 100,000 small files" \
        "$(Median small.clamscan)" most 0.15
    Row a "the same with clamscan's scratch space in memory" \
        "$(Median small.memory)" most 0.35
    CompareShare
    Row a "whole scan / clamscan -r, a tree like /usr/share" \
        "$(Median share.clamscan)" most 0.33
}

FigureB() {
    CompareSmall
    CompareShare
    Row b "scan / bare pool on libclamav, 100,000 small files" \
        "$(Median small.bare)" most 1.10
    Row b "scan / bare pool on libclamav, a tree like /usr/share" \
        "$(Median share.bare)" most 1.05
}

# CompareShellScans TREE NAME: corvane-scan and clamscan over one tree, in rounds.
CompareShellScans() {
    local tree=$1 name=$2 round ours theirs whole
    MakeSignatures
    for ((round = 0; round < rounds; ++round)); do
        # Clean files that an earlier scan remembers would not be scanned again.
        rm -rf /var/cache/corvane/verdicts
        ReadTree "$tree"
        Timed "$kProduct/corvane-scan" --format json "$tree"
        [[ $status -lt 3 ]] || Die "corvane-scan failed: $(<"$scratch/errors")"
        ours=$(grep -c '^{"event":"infected"' "$scratch/output" || true)
        Note "   corvane-scan $seconds s (cpu $cpu): $(tail -n 1 "$scratch/output")"
        whole=$seconds

        ReadTree "$tree"
        Timed clamscan -r --infected --no-summary --database="$kDefs" --tempdir="$work/scratch" \
            --alert-exceeds-max=yes --alert-encrypted=yes "$tree"
        [[ $status -le 1 ]] || Note "   clamscan ended with $status: $(tail -n 1 "$scratch/errors")"
        theirs=$(grep -c ' FOUND$' "$scratch/output" || true)
        Note "   clamscan     $seconds s (cpu $cpu): infected=$theirs"
        Keep "$name.shell" "$whole / $seconds"
        [[ $name != small || $ours == "$theirs" ]] ||
            Die "corvane-scan found $ours infected files and clamscan $theirs"
    done
}

FigureN() {
    Note "== from a shell: 100,000 small files"
    MakeSmallFiles
    CompareShellScans "$work/small" small
    Note "== from a shell: a copy of /usr/share"
    MakeShare
    CompareShellScans "$work/share" share
    Row n "corvane-scan / clamscan -r, 100,000 small files" "$(Median small.shell)" most 0.33
    Row n "corvane-scan / clamscan -r, a tree like /usr/share" "$(Median share.shell)" most 0.55
}

# find's and the idle scan's time on both trees; c and d read the same rounds.
idleMeasured=
MeasureIdle() {
    local round tree found
    local -A peak=()
    [[ -z $idleMeasured ]] || return 0
    idleMeasured=1
    Note "== an engine that does nothing"
    MakeIdleProduct
    MakeEmptyFiles
    for ((round = 0; round < rounds; ++round)); do
        for tree in few many; do
            find "$work/empty-$tree" -type f >/dev/null
            Timed find "$work/empty-$tree" -type f
            [[ $(wc -l <"$scratch/output") -gt 0 ]] || Die "find found nothing"
            Note "   find       $seconds s (cpu $cpu): files=$(wc -l <"$scratch/output")"
            found=$seconds

            GuiScan "$kIdle" "$work/empty-$tree"
            Note "   corvane    $seconds s (cpu $cpu): $(<"$scratch/output")"
            # What the dialog is given to be laid out is no work of the scan's.
            Keep "idle.$tree" "$found / ($(Field scan) - 0.1)"
            peak[$tree]=$(Field peak)
        done
        Keep peak "${peak[many]} / ${peak[few]}"
    done
}

FigureC() {
    MeasureIdle
    Note "   The 0.1 s that a scan lets its dialog settle are subtracted."
    Row c "files per second with an idle engine / find -type f, 100,000 files" \
        "$(Median idle.few)" least 0.5
    Row c "files per second with an idle engine / find -type f, 1,000,000 files" \
        "$(Median idle.many)" least 0.5
}

FigureD() {
    MeasureIdle
    Row d "peak memory, 1,000,000 files / 100,000 files" \
        "$(Median peak)" most 1.10
}

FigureE() {
    local round begin end toWindow
    Note "== start with a million signatures"
    "$build/bench/bench_data" hashes "$kDefs/million.hdb" "$(Percent 1000000)"
    : >"$scratch/empty"
    ReadTree "$kDefs"
    for ((round = 0; round < rounds; ++round)); do
        begin=$(Now)
        StartProgram "$scratch"
        until HasWindow Corvane; do
            IsRunning || Die "the program ended: $(<"$scratch/program.log")"
        done
        end=$(Now)
        seconds=$(Calculate "($end - $begin) / 1e6")
        # Ended by us alone; it loads its signatures still.
        kill "$programPid" 2>/dev/null
        wait "$programPid" 2>/dev/null || true
        WaitFor 30 HasNoWindow Corvane || Die "the window stays"
        rm -f /tmp/scan.lck
        Note "   corvane    $seconds s to its window"
        Keep start.seconds "$seconds"
        toWindow=$seconds

        Timed clamscan --no-summary --database="$kDefs" "$scratch/empty"
        Note "   clamscan   $seconds s for an empty file"
        Keep start.ratio "$toWindow / $seconds"
    done
    rm -f -- "$kDefs/million.hdb"
    Row e "seconds from start to main window, 1,000,000 signatures" "$(Median start.seconds)" most 1
    Row e "start to main window / clamscan's start" \
        "$(Median start.ratio)" most 0.1
}

DropCaches() {
    sync
    echo 3 >/proc/sys/vm/drop_caches
}

FigureF() {
    local round without
    Note "== cold"
    if ! DropCaches 2>/dev/null; then
        Note "   (f) not measured: only root can drop the caches"
        rows+=("| f | cold scan without / with read-ahead | >= 2 | - | not measured: not root |")
        return 0
    fi
    MakeSignatures
    [[ -d $work/cold ]] || "$build/bench/bench_data" files "$work/cold" "$(Percent 30000)"
    for ((round = 0; round < rounds; ++round)); do
        DropCaches
        GuiScan --no-read-ahead "$kProduct/" "$work/cold"
        Note "   without    $(<"$scratch/output")"
        without=$(Field scan)
        DropCaches
        GuiScan "$kProduct/" "$work/cold"
        Note "   with       $(<"$scratch/output")"
        Keep cold "$without / $(Field scan)"
        ReadTree "$work/cold"
        GuiScan "$kProduct/" "$work/cold"
        Note "   warm       $(<"$scratch/output")"
        Keep warm "$without / $(Field scan)"
    done
    Row f "cold scan of 30,000 small files, time without / with read-ahead" \
        "$(Median cold)" least 2
    Note "   Over a warm scan, which no read-ahead can beat, the ratio would be $(Median warm)."
}

# ShowReports list|open NAME: rounds of what bench_reports measures.
ShowReports() {
    local round folder=$scratch/reports-$1
    mkdir -p "$folder/reports"
    for ((round = 0; round < rounds; ++round)); do
        Timed "$build/bench/bench_reports" "$1" "$folder"
        [[ $status -eq 0 ]] || Die "the reports were not shown: $(<"$scratch/errors")"
        Note "   $1       $(<"$scratch/output")"
        Keep "$1" "$(Field ours) / $(Field bare)"
        Keep "$1.seconds" "$(Field ours)"
    done
    rm -rf -- "$folder"
}

FigureG() {
    Note "== 10,000 reports"
    ShowReports list
    Row g "seconds to list 10,000 reports" "$(Median list.seconds)" most 0.5
    Note "   That is $(Median list) times what a bare list takes that reads no file."
}

FigureH() {
    Note "== a report of 50 MB"
    ShowReports open
    Row h "report of 50 MB on screen / bare text widget" "$(Median open)" most 0.1
    Note "   It was read, gone to its end and searched in $(Field memory) KiB, and never kept the window" \
        "waiting for longer than $(Field longest) s."
}

FigureI() {
    local round
    Note "== the virus log"
    for ((round = 0; round < rounds; ++round)); do
        mkdir "$work/log"
        Timed "$build/bench/bench_virus_log" "$work/log"
        [[ $status -eq 0 ]] || Die "the virus log was not kept: $(<"$scratch/errors")"
        Note "   virus log  $(<"$scratch/output")"
        Keep log "$(Field many) / $(Field few)"
        rm -rf -- "$work/log"
    done
    Row i "record added to a virus log of 100,000 / of 100" "$(Median log)" most 1.15
}

# The same tree again, as a person scans again what has not changed.
FigureJ() {
    local round found
    CompareSmall
    Note "== 100,000 small files that were clean"
    printf '%s\n' '[Cache]' 'Cache=on' >"$kProduct/scanapi.conf"
    # What no lease covered has to be a minute old to be remembered.
    [[ $scale != 100 ]] || sleep 61
    GuiScan "$kProduct/" "$work/small"
    Note "   first      $(<"$scratch/output")"
    for ((round = 0; round < rounds; ++round)); do
        Timed find "$work/small" -type f
        found=$seconds
        Note "   find       $seconds s: files=$(wc -l <"$scratch/output")"
        GuiScan "$kProduct/" "$work/small"
        Note "   again      $seconds s (cpu $cpu): $(<"$scratch/output")"
        Keep again.clamscan "$(Field scan) / $(Median small.clamscan.seconds)"
        Keep again.find "$(Field scan) / $found"
    done
    Row j "an unchanged tree again / clamscan -r" "$(Median again.clamscan)" most 0.02
    Row j "an unchanged tree again / find -type f" "$(Median again.find)" most 12
}

# Memory with a million signatures, and without.
FigureP() {
    local round few many
    Note "== memory"
    Configure
    "$build/bench/bench_data" files "$scratch/some" 500
    for ((round = 0; round < rounds; ++round)); do
        rm -f -- "$kDefs/million.hdb"
        GuiScan "$kProduct/" "$scratch/some"
        few=$(Field peak)
        "$build/bench/bench_data" hashes "$kDefs/million.hdb" "$(Percent 1000000)"
        GuiScan "$kProduct/" "$scratch/some"
        Note "   corvane    $(<"$scratch/output")"
        many=$(Field hosts)
        Keep window "$(Field peak) / $few"
        Timed "$build/bench/bench_bare_loop" 1 "$kDefs" "$kProduct/tmp" "$scratch/some"
        Note "   one process $(<"$scratch/output")"
        Keep memory "$many / $(Field memory)"
    done
    rm -rf -- "$kDefs/million.hdb" "$scratch/some"
    Row p "memory of host and workers / one process, 1,000,000 signatures" "$(Median memory)" most 1.25
    Row p "peak memory of the window's process, with / without them" "$(Median window)" most 1.05
}

FigureQ() {
    Note "== stopped"
    MakeSignatures
    MakeShare
    Configure
    Timed "$build/bench/bench_stopped_scans" "$kProduct/" "$(Percent 200)" 2 "$work/share"
    [[ $status -eq 0 ]] || Die "the scans could not be stopped: $(<"$scratch/errors")"
    Note "   $(<"$scratch/output")"
    Row q "longest seconds from the stop flag to the end, 200 moments of a scan of a tree like /usr/share" \
        "$(Field longest)" most 0.1
}

# A worker of the engine's, at random; nothing before there is one.
AnyWorker() {
    local host
    host=$(pgrep -o corvane-scanhos) || return 1
    pgrep -P "$host" | shuf -n 1
}

# KillWorkers COUNT SECONDS: as many kills over that time.
KillWorkers() {
    local i
    for ((i = 0; i < $1; ++i)); do
        sleep "$(Calculate "$2 / $1")"
        kill -KILL "$(AnyWorker)" 2>/dev/null || true
    done
}

FigureR() {
    local -r kKills=50
    local plain found unread files killer tree=$work/small
    Note "== workers killed"
    MakeSignatures
    MakeSmallFiles
    Configure
    ReadTree "$tree"
    GuiScan "$kProduct/" "$tree"
    Note "   undisturbed $(<"$scratch/output")"
    plain=$(Field scan) found=$(Field infected) unread=$(Field unreadable) files=$(Field files)
    KillWorkers $kKills "$plain" &
    killer=$!
    GuiScan "$kProduct/" "$tree"
    kill "$killer" 2>/dev/null || true
    wait "$killer" 2>/dev/null || true
    Note "   $kKills kills    $(<"$scratch/output")"
    # Each costs the file that its worker was at, which is then told as unread and nothing else.
    [[ $(Field files) == "$files" ]] || Die "$(Field files) of $files files were scanned"
    (($(Field unreadable) - unread <= kKills)) || Die "$(Field unreadable) files are unread"
    ((found - $(Field infected) <= $(Field unreadable) - unread)) ||
        Die "what was infected is called clean"
    Note "   $(($(Field unreadable) - unread)) files are unread that were read before"
    Row r "scan of $plain s with 50 kills of workers / undisturbed" \
        "$(Calculate "$(Field scan) / $plain")" most 1.5
}

# From one worker to two, on one tree.
CompareWorkers() {
    local tree=$1 name=$2 round alone
    for ((round = 0; round < rounds; ++round)); do
        Configure '[Scanning]' 'Workers=1'
        ReadTree "$tree"
        GuiScan "$kProduct/" "$tree"
        alone=$(Field scan)
        Configure '[Scanning]' 'Workers=2'
        ReadTree "$tree"
        GuiScan "$kProduct/" "$tree"
        Note "   one worker $alone s, two $(Field scan) s"
        Keep "$name.workers" "$alone / $(Field scan)"
    done
}

FigureS() {
    Note "== one worker and two"
    MakeSignatures
    MakeSmallFiles
    CompareWorkers "$work/small" small
    Row s "scan with one worker / with two, 100,000 small files" "$(Median small.workers)" least 1.6
    MakeShare
    CompareWorkers "$work/share" share
    Row s "scan with one worker / with two, a tree like /usr/share" "$(Median share.workers)" least 1.6
}
