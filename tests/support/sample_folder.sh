# Sourced: makes the small folder that a first scan is shown on.
# shellcheck shell=bash

# WriteEicar FILE: the test file that every scanner knows, put together here so that no scanner objects
# to the repository.
WriteEicar() {
    # shellcheck disable=SC2016
    local first='X5O!P%@AP[4\PZX54(P^)7CC)7}' second='$EICAR-STANDARD-ANTIVIRUS-TEST-FILE!$H+H*'
    printf '%s%s' "$first" "$second" >"$1"
}

# MakeSampleFolder FOLDER: three clean files, the test file, and the test file in an archive in an
# archive: five files, of which two are infected.
MakeSampleFolder() {
    local folder=$1
    mkdir -p -- "$folder/letters" "$folder/downloads" "$folder/build"
    printf 'Dear reader,\n\nnothing is wrong with this letter.\n' >"$folder/letters/letter.txt"
    printf 'a,b,c\n1,2,3\n' >"$folder/letters/table.csv"
    head -c 100000 /dev/zero | tr '\0' 'n' >"$folder/downloads/long.txt"
    WriteEicar "$folder/downloads/test-file.com"
    WriteEicar "$folder/build/inner-file.com"
    tar -C "$folder/build" -czf "$folder/build/inner.tar.gz" inner-file.com
    tar -C "$folder/build" -czf "$folder/downloads/nested.tar.gz" inner.tar.gz
    rm -r -- "$folder/build"
}
