#!/usr/bin/env bash
# checkExports.sh [--keep] LIBRARY LIST: the library's soname and the symbols that it exports, by their readable names, are
# exactly those of the list. A line that goes or changes breaks programs that are linked already: once the version is released,
# that takes a new soname, by a new version of the project. --keep takes over what the library exports now.
set -euo pipefail
# The vtable of an abstract class is left out: optimised builds drop it.
exports() {
   readelf --dynamic --wide "$1" | sed -n 's/.*Library soname: \[\(.*\)\]/soname \1/p'
   nm --dynamic --demangle --defined-only "$1" | cut -d' ' -f3- | grep -vx 'vtable for Nodra::TraceSink' | LC_ALL=C sort -u
}
if [ "$1" = --keep ]; then
   exports "$2" >"$3"
else
   exports "$1" | diff -u "$2" - || { echo "meant? $0 --keep $*"; exit 1; }
   echo "exports as listed"
fi
