#!/bin/sh
# translations_test.sh SOURCES LUPDATE: every text of the program has its translation, in every
# language, and no translation has lost its text. Works on copies.
set -eu

sources=$1
lupdate=$2
copies=$(mktemp -d)
trap 'rm -rf "$copies"' EXIT
failures=0

for translation in "$sources"/translations/zqscan_*.ts; do
    name=${translation##*/}
    cp "$translation" "$copies/$name"
    (cd "$sources" && "$lupdate" -silent -locations none app reports scan update widgets schedule help \
        -ts "$copies/$name") 2>"$copies/messages" || {
        cat "$copies/messages" >&2
        exit 1
    }
    # A text without a translation, one whose text has changed or gone, and one that is empty.
    if grep -nE 'type="(unfinished|vanished|obsolete)"|<translation></translation>|<translation/>' \
        "$copies/$name" >"$copies/found"; then
        echo "$name is not complete:" >&2
        while IFS=: read -r line _; do
            sed -n "$((line - 1)),${line}p" "$copies/$name" >&2
        done <"$copies/found"
        failures=$((failures + 1))
    fi
    grep -c '<message>' "$copies/$name" >"$copies/count"
    if [ "$(cat "$copies/count")" -lt 100 ]; then
        echo "$name: the texts were not found" >&2
        failures=$((failures + 1))
    fi
done
[ "$failures" -eq 0 ]
