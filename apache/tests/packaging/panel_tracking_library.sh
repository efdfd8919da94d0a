#!/bin/bash
# panel_tracking_library.sh PROJECT WORK   builds, installs and uses the library with a panel's tracking library
set -euo pipefail
project=$1 work=$2
here=$(dirname "$(readlink -f "$0")")

rm -rf "$work"
mkdir -p "$work/panel"
cp "$here/panel/CZPTrackManager.h" "$work/panel"
"${CXX:-c++}" -std=c++17 -shared -fPIC -o "$work/panel/libpaneltracking.so" "$here/panel/CZPTrackManager.cpp"

quietly() { "$@" >"$work/log" 2>&1 || { cat "$work/log"; exit 1; }; }
# Each source is compiled by itself, for which clang takes a third of the time.
compiler=$(command -v clang++ || echo "${CXX:-c++}")
quietly cmake -S "$project" -B "$work/build" -G Ninja -DCMAKE_CXX_COMPILER="$compiler" -DBUILD_TESTING=OFF \
    -DZPAPACHE_ZPWEB=OFF -DZPAPACHE_JOINED=OFF \
    -DZPTM_INCLUDE_DIR="$work/panel" -DZPTM_LIBRARY="$work/panel/libpaneltracking.so"
quietly cmake --build "$work/build"
quietly cmake --install "$work/build" --prefix "$work/installed"
if [ -e "$work/installed/include/zpapache/CZPTrackManager.h" ]; then
    echo "the stand-alone CZPTrackManager.h was installed beside the panel's"
    exit 1
fi

# Every source below apache/src, compiled with two include folders and no other, is the whole library.
grep '"command"' "$work/build/compile_commands.json" | grep "$project/apache/src/" >"$work/library"
diff <(sed -E 's/.* -c (.*)",?$/\1/' "$work/library" | sort) <(find "$project/apache/src" -name '*.cpp' | sort)
diff <(grep -oE -- '-(I|isystem) ?[^ ]+' "$work/library" | sort -u) \
    <(printf '%s\n' "-I$project/apache/src" "-I$work/panel" | sort)

for way in find_package pkg_config; do
    "$here/use_$way.sh" "$work/installed" "$work/$way" | diff "$here/panel/expected_calls.txt" -
done
