#!/bin/bash
# The strings in single quotes are for ninja.
# shellcheck disable=SC2016
#
# tidy_test.sh CHECKOUT COMPILER: tools/tidy looks again at exactly the sources whose result can have
# changed. A project of two sources is checked with a clang-tidy-14 that writes down what it is given; then
# a test.
set -u
# shellcheck source=../../support/expect.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../../support/expect.sh"

checkout=$1
compiler=$2
scratch=$(mktemp -d)
trap 'rm -rf -- "$scratch"' EXIT

# Checked WHAT FILES: builds, and expects these sources to be looked at, in this order.
Checked() {
    ninja -C build >"$scratch/ninja" 2>&1
    Tidied "$@"
}

Tidied() {
    : >"$scratch/given"
    printf '%s\n' one.cpp two.cpp | "$tools/tidy" build >"$scratch/out" 2>&1
    Expect "$1" "$2" "$(sort "$scratch/given" | tr '\n' ' ')"
}

# What cmake writes, in little: an object for each source, and one more for one.cpp.
WriteBuild() {
    mkdir -p build/generated
    {
        echo 'rule cc'
        echo "  command = $compiler \$flags -I.. -Igenerated -isystem $scratch/system -MD -MF \$out.d -c \$in -o \$out"
        echo '  deps = gcc'
        echo '  depfile = $out.d'
        printf 'build one.o: cc ../one.cpp\n  flags = %s\n' "$1"
        printf 'build two.o: cc ../two.cpp\n  flags = -DTWO\n'
        printf 'build again.o: cc ../one.cpp\n  flags = %s\n' "$2"
    } >build/build.ninja
    {
        echo '['
        Command one.cpp one.o "$1"
        echo ','
        Command two.cpp two.o -DTWO
        echo ','
        Command one.cpp again.o "$2"
        echo ']'
    } >build/compile_commands.json
}

# Command FILE OBJECT FLAGS
Command() {
    printf '{\n  "directory": "%s",\n  "command": "cc %s -o %s -c %s",\n  "file": "%s"\n}' \
        "$PWD/build" "$3" "$2" "$PWD/$1" "$PWD/$1"
}

mkdir "$scratch/bin" "$scratch/project" "$scratch/tools"
# A copy, as the scripts are changed, too.
tools=$scratch/tools
cp -- "$checkout"/tools/tidy* "$checkout"/tools/own_code_plugin.cpp "$tools"
cd "$scratch/project" || exit 1
cat >"$scratch/bin/clang-tidy-14" <<END
#!/bin/bash
if [[ \$1 == --version ]]; then cat "$scratch/version"; exit; fi
echo "\$*" >"$scratch/options"
[[ " \$* " != *" --load="* || -e build/lint/own_code_plugin.so ]] || exit 1
while [[ \$# -gt 1 ]]; do
    [[ \$1 != -p ]] || cp "\$2/compile_commands.json" "$scratch/commands"
    shift
done
echo "\$1" >>"$scratch/given"
[[ ! -e "$scratch/refused" || \$1 != "\$(cat "$scratch/refused")" ]]
END
chmod +x "$scratch/bin/clang-tidy-14"
cat >"$scratch/bin/clang++-14" <<END
#!/bin/bash
echo "\$*" >>"$scratch/compiled"
while [[ \$1 != -o ]]; do shift; done
: >"\$2"
END
chmod +x "$scratch/bin/clang++-14"
PATH=$scratch/bin:$PATH
echo "version 14" >"$scratch/version"
echo 'Checks: ""' >.clang-tidy
mkdir "$scratch/system"
echo 'int System();' >"$scratch/system/system.h"
printf '#include "both.h"\n#include <system.h>\n' >one.cpp
printf '#include "both.h"\n#include "middle.h"\n#include "ui.h"\n' >two.cpp
echo 'int Both();' >both.h
echo '#include "deep.h"' >middle.h
echo 'int Deep();' >deep.h
WriteBuild -DONE -DAGAIN
echo 'int Ui();' >build/generated/ui.h

Checked "all is looked at first" "one.cpp two.cpp "
Checked "what passed is not looked at again" ""
touch both.h deep.h one.cpp
Checked "a new time alone changes nothing" ""
echo 'int Both(int);' >both.h
Checked "a header that both include" "one.cpp two.cpp "
echo 'int Deep(int);' >deep.h
Checked "a header included by a header" "two.cpp "
echo 'int Ui(int);' >build/generated/ui.h
Checked "a generated header" "two.cpp "
echo 'int System(int);' >"$scratch/system/system.h"
Checked "a header of the system, which may be precompiled" "one.cpp two.cpp "
echo 'int Middle();' >>middle.h
Tidied "a header that changed after the build" "two.cpp "
echo 'int One();' >>one.cpp
Checked "a source" "one.cpp "
WriteBuild -DONE -DCHANGED
Checked "the second command of a source" "one.cpp "
echo 'Checks: "-*"' >.clang-tidy
Checked "the configuration" "one.cpp two.cpp "
mkdir tests
echo 'Checks: "-*"' >tests/.clang-tidy
Checked "a configuration in a folder" "one.cpp two.cpp "
echo "version 15" >"$scratch/version"
Checked "another clang-tidy" "one.cpp two.cpp "
for script in tidy tidy-keys tidy-one own_code_plugin.cpp; do
    echo '# Changed.' >>"$tools/$script"
    Checked "another $script" "one.cpp two.cpp "
done
Expect "the plugin is compiled when it changed" 2 "$(wc -l <"$scratch/compiled")"
Expect "the plugin is loaded" 1 "$(grep -c -e --load=build/lint/own_code_plugin.so "$scratch/options")"
Expect "the analyzer looks at what is no test" 0 "$(grep -c -e -clang-analyzer "$scratch/options")"

mv deep.h away.h
Tidied "a header that is gone" "two.cpp "
Tidied "a header that is gone leaves no pass behind" "two.cpp "
Expect "nor a file of one" "" "$(find build/lint -name -)"
# Whatever left this there, nothing passed under that name.
: >build/lint/-
Tidied "a file in place of a pass that nothing can have" "two.cpp "
rm build/lint/-
mv away.h deep.h
Checked "a header that is back as it was" ""
rm build/again.o
Tidied "an object that is gone" "one.cpp "
Checked "an object that is back" ""
rm build/.ninja_deps
Tidied "what ninja knew is gone" "one.cpp two.cpp "
rm build/*.o
Checked "what ninja knew is back" ""

echo two.cpp >"$scratch/refused"
echo 'int Both(char);' >both.h
Checked "what fails" "one.cpp two.cpp "
Checked "what failed is looked at again" "two.cpp "
printf 'two.cpp\n' | "$tools/tidy" build >/dev/null 2>&1
Expect "a failure is told" 123 $?
rm "$scratch/refused"
printf 'two.cpp\n' | "$tools/tidy" build
Expect "a pass is told" 0 $?
Expect "a source that is not compiled is named" "note: other.cpp is not compiled" \
    "$(echo other.cpp | "$tools/tidy" build 2>&1)"

WriteBuild "-Winvalid-pch -include $PWD/build/CMakeFiles/x.dir/cmake_pch.hxx -DLAST" -DAGAIN
Tidied "a precompiled header" "one.cpp "
Expect "clang is not given g++'s precompiled headers" "cc -DLAST -o one.o" \
    "$(grep -o 'cc .*-o one\.o' "$scratch/commands" | tr -s ' ')"

# What only tests is spared the analyzer.
mkdir -p tests
printf '#include "tests/help.h"\n#include "both.h"\n' >tests/three.cpp
echo 'int Help();' >tests/help.h
cat >>build/build.ninja <<'END'
build three.o: cc ../tests/three.cpp
  flags = -DTHREE
END
sed -i '$d' build/compile_commands.json
{
    echo ','
    Command tests/three.cpp three.o -DTHREE
    printf '\n]\n'
} >>build/compile_commands.json
ninja -C build >"$scratch/ninja" 2>&1
: >"$scratch/given"
echo tests/three.cpp | "$tools/tidy" build >"$scratch/out" 2>&1
Expect "a test is looked at" "tests/three.cpp" "$(cat "$scratch/given")"
Expect "without the analyzer" 1 "$(grep -c -e '--checks=-clang-analyzer-\*' "$scratch/options")"

AllHeld
