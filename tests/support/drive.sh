# Sourced by whoever drives the installed program as a person would: a virtual display, windows found
# by their titles, keys. Everything waits for a condition, with a limit.
# shellcheck shell=bash

# The measurements come here twice, by themselves and by way of what they share with the tests.
[[ -n ${kProductDir:-} ]] || readonly kProductDir=/usr/lib/Corvane/Corvane
# Seconds; long enough for a busy machine under a sanitizer, reached only by a failure.
: "${kWindowLimit:=180}"
runAs=()

# WaitFor SECONDS COMMAND...: until COMMAND succeeds; fails after SECONDS.
WaitFor() {
    local end=$((SECONDS + $1))
    shift
    until "$@" 2>/dev/null; do
        ((SECONDS < end)) || return 1
        sleep 0.02
    done
}

# StartDisplay FOLDER [GEOMETRY]: a virtual display of its own, with its files in FOLDER; sets DISPLAY.
StartDisplay() {
    local folder=$1 geometry=${2:-1280x800x24}
    rm -f -- "$folder/display"
    Xvfb -displayfd 3 -screen 0 "$geometry" -nolisten tcp -noreset \
        3>"$folder/display" >"$folder/display.log" 2>&1 &
    displayPid=$!
    WaitFor 30 test -s "$folder/display" || {
        cat "$folder/display.log" >&2
        return 1
    }
    DISPLAY=:$(<"$folder/display")
    export DISPLAY
    # A display of somebody's own is not meant here.
    unset WAYLAND_DISPLAY XAUTHORITY
}

StopDisplay() {
    [[ -n ${displayPid:-} ]] || return 0
    kill "$displayPid" 2>/dev/null
    wait "$displayPid" 2>/dev/null
    displayPid=
}

# StartProgram FOLDER [ARGUMENT...]: the installed program; its output goes to FOLDER/program.log. The
# array `runAs` holds a command to start it with, when there is one.
StartProgram() {
    local folder=$1
    shift
    "${runAs[@]}" "$kProductDir/corvane" "$@" >>"$folder/program.log" 2>&1 &
    programPid=$!
}

IsRunning() {
    kill -0 "$programPid" 2>/dev/null
}

IsGone() {
    ! IsRunning
}

# The id of the visible window with exactly this title, the newest first.
WindowId() {
    xdotool search --onlyvisible --name "^$1\$" 2>/dev/null | tail -n 1 | grep .
}

HasWindow() {
    WindowId "$1" >/dev/null
}

HasNoWindow() {
    ! HasWindow "$1"
}

# WaitForWindow TITLE [SECONDS]
WaitForWindow() {
    WaitFor "${2:-$kWindowLimit}" HasWindow "$1" && return
    echo "no window \"$1\" appeared; there are:" >&2
    xdotool search --onlyvisible --name '.' getwindowname %@ >&2
    return 1
}

HasFocus() {
    [[ $(xdotool getwindowfocus) == "$1" ]]
}

# IsAsleep PID: its first thread, the one with the windows, waits for something or has ended.
IsAsleep() {
    local stat
    read -r stat <"/proc/$1/stat" && [[ ${stat##*) } == [SZ]* ]]
}

# Rest [LOOKS]: until the program and the display have done what the last key led to, or until they were
# looked at so many times. A button shows itself pressed for a tenth of a second before it acts on its
# accelerator, and what it acts on may be enabled only then, which no window tells: both must be found
# asleep for longer than that. A program that draws the progress of a scan never is.
Rest() {
    local asleep=0 looks=${1:-1000}
    while ((asleep < 8 && looks-- > 0)) && IsRunning; do
        sleep 0.02
        if IsAsleep "$programPid" && IsAsleep "$displayPid"; then
            asleep=$((asleep + 1))
        else
            asleep=0
        fi
    done
}

# Press TITLE KEY...: keys to the window with this title. No window manager runs on the virtual
# display, so the window is given the focus first, when another one that has just gone no longer moves
# it. The keys after an accelerator wait for its effect.
Press() {
    local title=$1 window key last=
    local -a quick=()
    shift
    WaitForWindow "$title" || return
    window=$(WindowId "$title") || return
    Rest 25
    xdotool windowfocus "$window"
    WaitFor "$kWindowLimit" HasFocus "$window" || return
    for key in "$@"; do
        if [[ $last == alt+* ]]; then
            xdotool key --clearmodifiers --delay 4 "${quick[@]}" || return
            quick=()
            Rest
        fi
        quick+=("$key")
        last=$key
    done
    [[ ${#quick[@]} -eq 0 ]] || xdotool key --clearmodifiers --delay 4 "${quick[@]}"
}

# TypeText TITLE TEXT
TypeText() {
    Press "$1" && xdotool type --clearmodifiers --delay 4 -- "$2"
}

# RowOf FOLDER NAME: the place of a sub-folder in the tree below FOLDER, counted from 1.
RowOf() {
    local row=0 name
    while IFS= read -r -d '' name; do
        row=$((row + 1))
        [[ $name != "$2" ]] || {
            echo "$row"
            return
        }
    done < <(find "$1" -mindepth 1 -maxdepth 1 -type d -printf '%f\0' 2>/dev/null | LC_ALL=C sort -z)
    return 1
}

# TickFolder PATH: ticks one folder of the open folder tree with keys and leaves the tree closed.
# The path is absolute and holds no link.
TickFolder() {
    local path=$1 folder=/ part row depth=0
    local -a parts=() keys=(alt+f Home Left)
    IFS=/ read -r -d '' -a parts < <(printf '%s\0' "${path#/}")
    for part in "${parts[@]}"; do
        row=$(RowOf "$folder" "$part") || return
        keys+=(Right)
        while ((row-- > 0)); do
            keys+=(Down)
        done
        folder=${folder%/}/$part
        depth=$((depth + 1))
    done
    keys+=(space)
    while ((depth-- > 0)); do
        keys+=(Left Left)
    done
    Press "Select Directory" "${keys[@]}"
}

# StartFolderScan PATH...: from the main window to the running scan of these folders.
StartFolderScan() {
    local path
    Press Corvane alt+s alt+d || return
    for path in "$@"; do
        TickFolder "$path" || return
    done
    Press "Select Directory" alt+s || return
    WaitForWindow "Corvane Scanner"
}

# StartFileScan PATH: from the main window to the running scan of one file.
StartFileScan() {
    Press Corvane alt+s alt+f || return
    TypeText "Select file to scan" "$1" || return
    Press "Select file to scan" Return || return
    WaitForWindow "Corvane Scanner"
}

# The newest report of an on-demand scan.
NewestReport() {
    find "$kProductDir/reports" -name 'scn*.log' -printf '%T@ %p\n' | sort -n | tail -n 1 |
        cut -d ' ' -f 2- | grep .
}

ReportHasEnded() {
    local report
    report=$(NewestReport) && tail -c 20 "$report" | grep -q '^\*\* Report End \*\*'
}

# IndexCount: the number of records in main.rpt.
IndexCount() {
    od -An -t u4 -j 8 -N 4 "$kProductDir/main.rpt" | tr -d ' '
}

# Leaves the progress dialog and then the program; fails unless it ends with status 0.
CloseProgram() {
    if HasWindow "Corvane Scanner"; then
        Press "Corvane Scanner" alt+c || return
        WaitFor "$kWindowLimit" HasNoWindow "Corvane Scanner" || return
    fi
    Press Corvane alt+x || return
    WaitFor "$kWindowLimit" IsGone || return
    wait "$programPid"
}
