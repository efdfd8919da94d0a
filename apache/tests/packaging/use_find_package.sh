#!/bin/sh
# use_find_package.sh PREFIX WORK   builds and runs the consumer against an installed library through CMake
set -eu
prefix=$1 work=$2
rm -rf "$work"
cmake -S "$(dirname "$0")/consumer" -B "$work" -DCMAKE_PREFIX_PATH="$prefix" >"$work.log" ||
    { cat "$work.log"; exit 1; }
cmake --build "$work" >"$work.log" || { cat "$work.log"; exit 1; }
exec "$work/consumer"
