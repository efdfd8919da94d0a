#!/bin/sh
# each_header.sh PROJECT HEADER...   each compiles first and alone, as C++17, without a warning
set -eu
project=$1
shift
status=0
for header; do
    "${CXX:-c++}" -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only -I"$project/apache/src" \
        -I"$project/libzptm/include" -include "$header" -x c++ /dev/null || status=1
done
exit $status
