#!/bin/sh
# use_pkg_config.sh PREFIX WORK   the same through pkg-config, with the installed tree moved elsewhere first
set -eu
prefix=$1 work=$2
rm -rf "$work"
mkdir "$work"
cp -a "$prefix" "$work/moved"
prefix=$work/moved
PKG_CONFIG_PATH=$(find "$prefix" -name pkgconfig)
export PKG_CONFIG_PATH
flags=$(pkg-config --cflags --libs zpapache)
# shellcheck disable=SC2086 # several words
"${CXX:-c++}" -std=c++17 -o "$work/consumer" "$(dirname "$0")/consumer/main.cpp" $flags \
    -Wl,-rpath,"$(dirname "$PKG_CONFIG_PATH")"
exec "$work/consumer"
