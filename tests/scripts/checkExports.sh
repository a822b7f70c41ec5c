#!/usr/bin/env bash
# checkExports.sh LIBRARY LIST: the library exports exactly the symbols of the list, by their readable names.
set -euo pipefail
diff -u "$2" <(nm --dynamic --demangle --defined-only "$1" | cut -d' ' -f3- | LC_ALL=C sort -u) && echo "exports as listed"
