#!/usr/bin/env bash
# partOfAnotherProject.sh SOURCE COMPILER: the library alone, as a part of another project (FetchContent), on another platform
# directory, which has the headers that docs/porting.md lists and no more. With Makefiles and CMake's own Release flags, below
# a path with spaces, and without any package but the compiler and CMake.
set -euo pipefail
source=$1 compiler=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
parent="$work/a project" platform="$work/another platform"

mkdir -p "$parent/library" "$platform"
cp -r "$source"/{CMakeLists.txt,cmake,QuarraTcamSdkBaseTypes} "$parent/library"
cp "$source"/examples/agent/{agent.cpp,sdk.cpp,shim.cpp,shim.h,expected.txt} "$parent"

# The first column of the table "header | what the stand-in must keep": names in backticks, folders with a slash at the end.
sed -n '/^| header /,/^$/s/^| \([^|]*\) |.*/\1/p' "$source/docs/porting.md" | grep -o '`[^`]*`' | tr -d '`' >"$work/listed"
[ "$(wc -l <"$work/listed")" -ge 10 ] || { echo "no table of headers in docs/porting.md"; exit 1; }
cp "$source"/platform/{CMakeLists.txt,exports.map} "$platform"
folder=""
while read -r name; do
   # A name without folder is in that of the name before.
   case $name in */*) folder=${name%/*} ;; *) name=$folder/$name ;; esac
   mkdir -p "$platform/$folder"
   if [ "${name%/}" != "$name" ]; then
      cp -r "$source/platform/$name." "$platform/$name"
   else
      cp "$source/platform/$name" "$platform/$folder"
      [ ! -e "$source/platform/${name%.h}.cpp" ] || cp "$source/platform/${name%.h}.cpp" "$platform/$folder"
   fi
done <"$work/listed"

cat >"$parent/CMakeLists.txt" <<'TEXT'
cmake_minimum_required( VERSION 3.25 )
project( Parent LANGUAGES CXX )
include( FetchContent )
FetchContent_Declare( QuarraTcamPorts SOURCE_DIR ${CMAKE_CURRENT_SOURCE_DIR}/library )
FetchContent_MakeAvailable( QuarraTcamPorts )
add_executable( agent agent.cpp sdk.cpp shim.cpp )
target_link_libraries( agent PRIVATE QuarraTcamPorts::QuarraTcamSdkBaseTypes )
get_directory_property( leaked COMPILE_OPTIONS )
get_directory_property( targets BUILDSYSTEM_TARGETS )
if( leaked OR CMAKE_CXX_STANDARD OR NOT targets STREQUAL agent )
   message( FATAL_ERROR "the library changes its parent: ${leaked} ${CMAKE_CXX_STANDARD} ${targets}" )
endif()
TEXT
without=()
for package in GTest CLI11 fmt nlohmann_json benchmark SQLite3 PkgConfig; do
   without+=("-DCMAKE_DISABLE_FIND_PACKAGE_$package=ON")
done
cmake --no-warn-unused-cli -G "Unix Makefiles" -S "$parent" -B "$parent/build" -DCMAKE_CXX_COMPILER="$compiler" -DCMAKE_BUILD_TYPE=Release \
   -DQUARRA_PLATFORM_DIR="$platform" "${without[@]}" >/dev/null
cmake --build "$parent/build" --parallel >"$work/built" 2>&1 || { cat "$work/built"; exit 1; }
"$parent/build/agent" | diff -u "$parent/expected.txt" -
echo "the library works as a part of another project, on another platform directory"
