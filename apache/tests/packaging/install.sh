#!/bin/sh
# install.sh BUILD PREFIX HEADER...   installs, and the headers that are there are exactly those
set -eu
build=$1 prefix=$2
shift 2
rm -rf "$prefix"
cmake --install "$build" --prefix "$prefix" >/dev/null
printf '%s\n' "$@" | sort >"$prefix.expected"
find "$prefix/include" -type f -printf '%P\n' | sed 's|^zpapache/||' | sort | diff -u "$prefix.expected" -
