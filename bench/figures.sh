# Sourced by bench/run: one function for each figure, and what several of them share. They use its
# helpers (Timed, Keep, Median, Row, ...) and its variables.
# shellcheck shell=bash disable=SC2154

# A scan by Corvane, clamscan and the bare loop of one tree, once; a and b read the same rounds.
declare -A compared=()
CompareScans() {
    local tree=$1 name=$2 round ours theirs whole scan
    [[ -z ${compared[$name]:-} ]] || return 0
    compared[$name]=1
    MakeSignatures
    for ((round = 0; round < rounds; ++round)); do
        ReadTree "$tree"
        GuiScan "$kProduct/" "$tree"
        Note "   corvane    $seconds s (cpu $cpu): $(<"$scratch/output")"
        whole=$seconds
        scan=$(Field scan)
        ours=$(Field infected)

        ReadTree "$tree"
        Timed "$build/bench/bench_bare_loop" "$kDefs" "$kProduct/tmp" "$tree"
        [[ $status -eq 0 ]] || Die "the bare loop failed: $(<"$scratch/errors")"
        Note "   bare loop  $seconds s (cpu $cpu): $(<"$scratch/output")"
        Keep "$name.bare" "$scan / $(Field scan)"

        ReadTree "$tree"
        # Its folder is on the disk, as /tmp is on an installed Debian 12; in here /tmp is memory.
        Timed clamscan -r --infected --no-summary --database="$kDefs" --tempdir="$work/scratch" \
            --alert-exceeds-max=yes --alert-encrypted=yes "$tree"
        [[ $status -le 1 ]] || Note "   clamscan ended with $status: $(tail -n 1 "$scratch/errors")"
        theirs=$(grep -c ' FOUND$' "$scratch/output" || true)
        Note "   clamscan   $seconds s (cpu $cpu): infected=$theirs (limits and encryption count here, not above)"
        Keep "$name.clamscan" "$whole / $seconds"
        [[ $name != small || $ours == "$theirs" ]] ||
            Die "Corvane found $ours infected files and clamscan $theirs"
    done
}

CompareTrees() {
    Note "== 100,000 small files"
    MakeSmallFiles
    CompareScans "$work/small" small
    Note "== a copy of /usr/share ($(du -sh /usr/share 2>/dev/null | cut -f 1))"
    MakeShare
    CompareScans "$work/share" share
}

FigureA() {
    local theirs
    CompareTrees
    Row a "whole scan / clamscan -r, 100,000 small files" \
        "$(Median small.clamscan)" most 0.33
    Row a "whole scan / clamscan -r, a tree like /usr/share" \
        "$(Median share.clamscan)" most 0.55
    # What of it is owed to unpacking in memory: the other scanner with the same scratch space.
    ReadTree "$work/small"
    Timed clamscan -r --infected --no-summary --database="$kDefs" --tempdir="$kProduct/tmp" \
        --alert-exceeds-max=yes --alert-encrypted=yes "$work/small"
    theirs=$seconds
    ReadTree "$work/small"
    GuiScan "$kProduct/" "$work/small"
    Note "   given scratch space in memory clamscan takes $theirs s on the small files; Corvane's ratio" \
        "to that is $(Calculate "$seconds / $theirs")"
}

FigureB() {
    CompareTrees
    Row b "scan / bare loop on libclamav, 100,000 small files" \
        "$(Median small.bare)" most 1.15
    Row b "scan / bare loop on libclamav, a tree like /usr/share" \
        "$(Median share.bare)" most 1.15
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
            Keep "idle.$tree" "$found / $(Field scan)"
            peak[$tree]=$(Field peak)
        done
        Keep peak "${peak[many]} / ${peak[few]}"
    done
}

FigureC() {
    MeasureIdle
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
