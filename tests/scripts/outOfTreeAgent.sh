#!/usr/bin/env bash
# outOfTreeAgent.sh BUILD SOURCE COMPILER: installs the package under a prefix, builds the example agent against it with
# CMake and again with pkg-config, runs both, and compares what they print with what is expected.
set -euo pipefail
build=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install "$build" --prefix "$work/prefix" >/dev/null
cmake -G Ninja -S "$source/examples/agent" -B "$work/agent" -DCMAKE_CXX_COMPILER="$compiler" \
   -DCMAKE_PREFIX_PATH="$work/prefix" -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Werror" >/dev/null
cmake --build "$work/agent" >/dev/null
"$work/agent/example-agent" >"$work/printed"
diff -u "$source/examples/agent/expected.txt" "$work/printed"

export PKG_CONFIG_PATH=$(echo "$work"/prefix/lib*/pkgconfig "$work"/prefix/lib/*/pkgconfig | tr ' ' ':')
"$compiler" -std=c++20 "$source"/examples/agent/*.cpp $(pkg-config --cflags --libs QuarraTcamPorts) -o "$work/by-pkg-config"
LD_LIBRARY_PATH=$(pkg-config --variable=libdir QuarraTcamPorts) "$work/by-pkg-config" | diff -u "$source/examples/agent/expected.txt" -
"$work/prefix/bin/quarra-tcam" --version | grep -q '^quarra-tcam ' && echo "the agent runs from the installed package"
