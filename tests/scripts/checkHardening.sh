#!/usr/bin/env bash
# checkHardening.sh FILE...: programs and shared libraries are hardened: bound at start and read-only then, no writable
# code, position-independent, guarded stacks, checked string functions.
set -euo pipefail
failed=0
lacks() {
   echo "$1: $2"
   failed=1
}
for file in "$@"; do
   dynamic=$(readelf --dynamic --wide "$file")
   segments=$(readelf --program-headers --wide "$file")
   imports=$(nm --dynamic --undefined-only "$file")
   grep -q 'BIND_NOW\|Flags:.* NOW' <<<"$dynamic" || lacks "$file" "not bound at start (-z now)"
   grep -q GNU_RELRO <<<"$segments" || lacks "$file" "no read-only relocations (-z relro)"
   grep -q 'GNU_STACK.* RW ' <<<"$segments" || lacks "$file" "executable stack"
   grep -q '^Elf file type is DYN' <<<"$segments" || lacks "$file" "not position-independent"
   grep -q __stack_chk_fail <<<"$imports" || lacks "$file" "no guarded stacks (-fstack-protector-strong)"
   all+=$imports
done
grep -qE '__(v?f?printf|mem|str)[a-z]*_chk' <<<"$all" || lacks "all of them" "no checked functions (_FORTIFY_SOURCE)"
[ "$failed" -eq 0 ] && echo "hardened: $#"
