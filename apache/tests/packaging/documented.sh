#!/bin/bash
# documented.sh PROJECT   every exported operation has its place in docs/operations.md
set -euo pipefail
missing=$(grep -v "~" "$1/apache/tests/exported_symbols.txt" | sed -E "s/\(.*//; s/.*:://" | sort -u |
    while read -r name; do
        grep -q "\`${name}[\`(]" "$1/docs/operations.md" || echo "$name"
    done)
if [ -n "$missing" ]; then
    printf 'docs/operations.md does not mention: %s\n' "$missing"
    exit 1
fi
