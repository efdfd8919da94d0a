#!/bin/bash
# hardened.sh FILE...   each was built with what cmake/Hardening.cmake asks for, as far as the file itself shows it
set -euo pipefail
status=0

demand() { # FILE WHAT TEXT PATTERN
    grep -qE -- "$4" <<<"$3" || { echo "$1: $2 is missing"; status=1; }
}
# The code is read only as far as the instruction stands.
demand_code() { # FILE WHAT PATTERN
    grep -qE -- "$3" < <(objdump --disassemble "$1") || { echo "$1: $2 is missing"; status=1; }
}

for file; do
    headers=$(readelf --wide --file-header --program-headers --dynamic --notes "$file")
    symbols=$(nm --dynamic "$file")
    demand "$file" "position independence" "$headers" 'Type: +DYN'
    demand "$file" "RELRO" "$headers" 'GNU_RELRO'
    demand "$file" "BIND_NOW" "$headers" 'FLAGS_1.*NOW'
    demand "$file" "a stack that is not executable" "$headers" 'GNU_STACK.* RW +0x'
    demand "$file" "the stack protector" "$symbols" '__stack_chk_fail'
    if [ "$(uname -m)" = x86_64 ]; then
        demand "$file" "CET (shadow stack)" "$headers" 'x86 feature:.*SHSTK'
        demand_code "$file" "CET (marked targets of jumps)" 'endbr64'
    fi
    case $file in *.so*) continue ;; esac # a library may have neither a large frame nor a buffer of fixed size
    demand "$file" "_FORTIFY_SOURCE" "$symbols" '[^k]_chk@'
    [ "$(uname -m)" != x86_64 ] || demand_code "$file" "stack clash protection" 'or[lq] +.0x0,.*\(%rsp\)'
done
exit $status
