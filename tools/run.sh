# Sourced by ./dev: starts the program as installed, in a private root.
# shellcheck shell=bash

: "${root:?}"

HasDisplay() {
    [[ -n ${DISPLAY:-} ]] && xdotool getdisplaygeometry >/dev/null 2>&1
}

Verb_run() {
    local path preset=dev output
    local -a options=() paths=()
    for path in "$@"; do
        path=$(realpath -e -- "$path") || Die "$path: no such file or folder"
        paths+=("$path")
        options+=(--show "$path")
    done
    BuildProduct "$preset" screenshot
    Stage "$preset"
    output=$root/build/$preset/run
    mkdir -p -- "$output"
    # The engine unpacks archives below its own folder; there it is memory, and it is capped.
    options+=(--output "$output" --tmpfs /usr/lib/Corvane/Corvane/tmp 512m)

    if [[ ${#paths[@]} -eq 0 ]] && HasDisplay; then
        if [[ -n ${WAYLAND_DISPLAY:-} ]]; then
            Say "This is a Wayland session, which the program refuses; log in to an X11 one"
        fi
        Say "Starting Corvane in a private root; what it writes vanishes when it ends"
        # The session's bus and the display's cookie lie there on many machines.
        [[ $XDG_RUNTIME_DIR != /run/?* ]] || options+=(--show "$XDG_RUNTIME_DIR")
        # Memory shared with a display outside the private root cannot be found there.
        QT_X11_NO_MITSHM=1 tests/support/sandbox "${options[@]}" tools/run-inside "$preset"
    else
        Say "Driving Corvane with keys on a virtual display"
        env -u DISPLAY -u WAYLAND_DISPLAY -u XAUTHORITY \
            tests/support/sandbox "${options[@]}" tools/run-inside --drive "$preset" "${paths[@]}"
    fi
}
