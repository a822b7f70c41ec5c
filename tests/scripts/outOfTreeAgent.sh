#!/usr/bin/env bash
# outOfTreeAgent.sh BUILD SOURCE COMPILER: installs the package under a prefix and builds agents of another project against it,
# as such projects do; what they print is compared with what is expected.
set -euo pipefail
build=$1 source=$2 compiler=$3
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
example=$source/examples/agent

expect() { "$@" >"$work/printed" && diff -u "$example/expected.txt" "$work/printed"; }

# With CMake, hidden visibility and warnings as errors, found below a path with spaces.
cmake --install "$build" --prefix "$work/a prefix" >/dev/null
cmake -G Ninja -S "$example" -B "$work/agent" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_PREFIX_PATH="$work/a prefix" \
   -DCMAKE_CXX_VISIBILITY_PRESET=hidden -DCMAKE_VISIBILITY_INLINES_HIDDEN=ON \
   -DCMAKE_CXX_FLAGS="-Wall -Wextra -Wpedantic -Werror" >/dev/null
cmake --build "$work/agent" >"$work/built" || { cat "$work/built"; exit 1; }
expect "$work/agent/example-agent"
"$work/agent/with-reference-agent" | diff -u "$example/expectedOfReferenceAgent.txt" -
#"$work/a prefix/bin/quarra-tcam" --version | grep -q '^quarra-tcam '

# With pkg-config, the SDK in the program, in an archive, in a shared library.
mv "$work/a prefix" "$work/prefix"
PKG_CONFIG_PATH=$(find "$work/prefix" -name pkgconfig)
LD_LIBRARY_PATH=$(PKG_CONFIG_PATH=$PKG_CONFIG_PATH pkg-config --variable=libdir QuarraTcamPorts)
export PKG_CONFIG_PATH LD_LIBRARY_PATH
cd "$work"
flags=(-std=c++20 -fPIC -fvisibility=hidden $(pkg-config --cflags QuarraTcamPorts))
libs=($(pkg-config --libs QuarraTcamPorts))
for part in agent shim sdk; do
   "$compiler" "${flags[@]}" -c "$example/$part.cpp" -o $part.o
done
ar rcs libsdk.a sdk.o
"$compiler" -shared sdk.o -o libsdk.so
"$compiler" agent.o shim.o sdk.o "${libs[@]}" -o in-the-program
"$compiler" agent.o shim.o "${libs[@]}" -L. -l:libsdk.a -o in-an-archive
"$compiler" agent.o shim.o "${libs[@]}" -L. -l:libsdk.so -Wl,-rpath,"$work" -o in-a-library
"$compiler" agent.o shim.o "${libs[@]}" -o without-sdk
for program in in-the-program in-an-archive in-a-library; do
   expect ./$program || { echo "the SDK $program"; exit 1; }
done

# Without SDK: told at set-up, by name.
told=$({ ./without-sdk; } 2>&1 >/dev/null) && { echo "an agent without SDK runs"; exit 1; }
grep -q 'no complete SDK6 SDK; missing: bcm_subport_port_group_subport_multi_set' <<<"$told" || { echo "$told"; exit 1; }

# Each function that the library leaves to the SDK is asked for, and is a weak reference.
diff <(printf '%s\n' "${libs[@]}" | sed -n 's/^-Wl,-u,/w /p' | sort) \
   <(nm --dynamic --undefined-only "$LD_LIBRARY_PATH/libQuarraTcamSdkBaseTypes.so" |
      sed -nE 's/^ *([a-zA-Z]) ((bcm|bcmlt|vm|velmor)_.*)/\1 \2/p' | sort)

"$compiler" "${flags[@]}" "$source/tests/scripts/boundary.cpp" $(pkg-config --libs QuarraTcamPortsSimulatedChip) -o boundary
./boundary
echo "agents of another project build and run"
