#!/bin/sh
# manual_install_test.sh CMAKE BUILD SOURCES PRODUCT: the manual is installed beside the program, all of it
# and nothing else. Works in a folder of its own.
set -eu

cmake=$1
build=$2
sources=$3
product=$4
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT

DESTDIR=$stage "$cmake" -P "$build/doc/cmake_install.cmake" >/dev/null
diff -r "$sources/doc/html" "$stage$product/doc/html"
[ -f "$stage$product/doc/html/home.htm" ]
[ "$(find "$stage" -type f | wc -l)" -eq "$(find "$sources/doc/html" -type f | wc -l)" ]
