#!/bin/bash
# exported_symbols.sh LIBRARY LIST            does the library export exactly what the list names?
# exported_symbols.sh LIBRARY LIST --update   writes the list anew
set -euo pipefail
library=$1 list=$2

exported() {
    nm --dynamic --defined-only --demangle "$library" | cut -d' ' -f3- |
        sed -E -e 's/std::(__cxx11::)?basic_string<char, std::char_traits<char>, std::allocator<char> >/std::string/g' \
            -e 's/std::basic_ofstream<char, std::char_traits<char> >/std::ofstream/g' \
            -e 's/std::vector<std::string, std::allocator<std::string > >/StringVector/g' \
            -e 's/\[abi:cxx11\]//g' | LC_ALL=C sort -u
}

if [ "${3-}" = --update ]; then
    exported >"$list"
    exit 0
fi
# Sorted, because two branches that both add to the list may merge into another order.
if ! diff --unified --label listed --label exported <(LC_ALL=C sort -u "$list") <(exported); then
    echo "The library exports other symbols than its list names. If that is meant, write the list anew:"
    echo "    cmake --build --preset dev --target update-exported-symbols"
    exit 1
fi
