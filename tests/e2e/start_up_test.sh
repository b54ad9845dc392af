#!/bin/bash
# Every way the installed program starts and ends.
source "$(dirname -- "${BASH_SOURCE[0]}")/e2e.sh"

SetUp "$1"

# End STATUS-WANTED WHAT: the program's end, within the limit.
End() {
    local status=0
    Must "$2: the program ends" WaitFor "$kWindowLimit" IsGone
    wait "$programPid" || status=$?
    Expect "$2: the exit status" "$1" "$status"
}

Exists() {
    [[ -e $1 ]] && echo yes || echo no
}

# A normal start and end.
started=$(date +%s%N)
StartProgram "$scratch"
first=$programPid
Must "the main window appears" WaitForWindow Corvane
echo "main window after $((($(date +%s%N) - started) / 1000000)) ms"
Expect "the lock is held" yes "$(Exists /tmp/scan.lck)"

# A second one beside it.
StartProgram "$scratch"
End 0 "second instance"
Expect "the second instance shows nothing" 1 \
    "$(xdotool search --onlyvisible --name '^Corvane$' 2>/dev/null | wc -l)"
Expect "the second instance leaves the lock" yes "$(Exists /tmp/scan.lck)"
programPid=$first
Expect "the first instance is there" yes "$(IsRunning && echo yes)"
Must "the program ends" CloseProgram
Expect "the lock is gone" no "$(Exists /tmp/scan.lck)"
for file in zqscn.opt zqupdate.opt main.rpt updt.rpt; do
    Expect "the mode of $file" 666 "$(stat -c %a "$kProductDir/$file")"
done

# What is missing from an installation is made again.
rm -f "$kProductDir"/{zqscn.opt,zqupdate.opt,main.rpt,updt.rpt}
StartProgram "$scratch"
Must "the main window appears without option files" WaitForWindow Corvane
Must "the program ends" CloseProgram
Expect "default scanner settings" 01000b "$(Bytes "$kProductDir/zqscn.opt")"
Expect "default update options" "0900000001000000$(printf '%01024d' 0)" \
    "$(Bytes "$kProductDir/zqupdate.opt")"
Expect "an empty scan index" 5a5152460000000000000000 "$(Bytes "$kProductDir/main.rpt")"
Expect "an empty update index" 5a5152460000000000000000 "$(Bytes "$kProductDir/updt.rpt")"
for file in zqscn.opt zqupdate.opt main.rpt updt.rpt; do
    Expect "the mode of a new $file" 666 "$(stat -c %a "$kProductDir/$file")"
done

# Wayland: a notification, and no more.
mkdir "$scratch/bin"
cat >"$scratch/bin/notify-send" <<END
#!/bin/sh
for argument in "\$@"; do printf '<%s>' "\$argument"; done >"$scratch/notified"
END
chmod +x "$scratch/bin/notify-send"
runAs=(env "PATH=$scratch/bin:$PATH" WAYLAND_DISPLAY=wayland-0)
StartProgram "$scratch"
End 1 "Wayland"
Expect "Wayland: the notification" "<-i></usr/lib/Corvane/Corvane/zq.png>$(:
    )<ZQ GUI scanner is not supported on Wayland Display Manager.>$(:
    )<Please logout and switch to X11 display Server on Xorg.>" "$(cat "$scratch/notified")"
Expect "Wayland: no lock is left" no "$(Exists /tmp/scan.lck)"
runAs=(env "WAYLAND_DISPLAY= 	")
StartProgram "$scratch"
Must "a blank WAYLAND_DISPLAY is X11" WaitForWindow Corvane
Must "the program ends" CloseProgram
runAs=()

# Languages.
StartProgram "$scratch" xx
Must "a missing translation is reported" Press "File error" Return
End 0 "missing translation"
StartProgram "$scratch" xx yy
Must "two arguments are ignored" WaitForWindow Corvane
Must "the program ends" CloseProgram

# The engine.
mv "$kProductDir/scanapi.so" "$scratch/"
StartProgram "$scratch"
# The main window has the same caption but is never shown here.
Must "a missing engine is reported" Press Corvane Return
End 0 "missing engine"
Expect "missing engine: the lock is gone" no "$(Exists /tmp/scan.lck)"
mv "$scratch/scanapi.so" "$kProductDir/"

# The splash screen.
mv "$kProductDir/qimages/splash.bmp" "$scratch/"
StartProgram "$scratch"
End 0 "missing splash screen"
Expect "missing splash screen: the lock is gone" no "$(Exists /tmp/scan.lck)"
mv "$scratch/splash.bmp" "$kProductDir/qimages/"

Expect "no window is left" "" "$(xdotool search --onlyvisible --name . 2>/dev/null)"
Finish
