#!/usr/bin/env bash
# checkPackages.sh PACKAGES SOURCES CACHE: installs the Debian packages of a folder in a bare Debian 12, and uses them there as
# somebody else would: not as root, without network, below a path with spaces. Builds the library there from the archive
# SOURCES (tar). The bare system is kept in CACHE. Root only.
set -euo pipefail
packages=$1 sources=$2 cache=$3
here=$(cd "$(dirname "$0")/.." && pwd)

if [ ! -e "$cache/complete" ]; then
   rm -rf "$cache"
   mkdir -p "$cache"
   debootstrap --variant=minbase bookworm "$cache/root" http://deb.debian.org/debian >/dev/null
   touch "$cache/complete"
fi
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp -a --reflink=auto "$cache/root" "$work/root"
root=$work/root
cp /etc/resolv.conf "$root/etc"
home="/home/some body"
mkdir -p "$root/packages" "$root$home/sources"
cp "$packages"/*.deb "$root/packages"
cp -r "$here/examples/agent" "$here/scenarios" "$here/tests/scripts/completion.sh" "$root$home"
tar -xf "$sources" -C "$root$home/sources"
chroot "$root" useradd --home "$home" somebody
chroot "$root" chown -R somebody "$home"

install() {
   chroot "$root" bash -c "DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $*" \
      >"$work/installed" 2>&1 || { cat "$work/installed"; exit 1; }
}
# Runs a bash command as somebody, in the home folder, without network.
somebody() { unshare --net chroot --userspec=somebody "$root" env -i HOME="$home" PATH=/usr/bin:/bin LANG=C.UTF-8 bash -euc "cd ~; $1"; }
step() { echo "-- $*"; }

chroot "$root" apt-get update -qq
step "the command, with the packages that it depends on"
for package in "$root"/packages/*.deb; do
   depends=$(dpkg-deb --field "$package" Depends)
   echo "   $(dpkg-deb --show --showformat '${Package} ${Version}' "$package"): $depends"
   [[ $package == *-dev_* || $depends == *"libc6 (>= "* ]] || { echo "no versioned dependencies"; exit 1; }
done
install "/packages/quarra-tcam_*.deb /packages/libquarratcamports[0-9]*.deb"
somebody 'quarra-tcam --version; quarra-tcam apply scenarios/pods16.json | tail -1; quarra-tcam --variant hsdk groups | head -3'
step "the manual and the shell"
install man-db bash-completion
somebody 'for page in quarra-tcam quarra-tcam-apply; do man -P cat $page | grep -q "^NAME" || { echo "no manual page $page"; exit 1; }; done'
somebody './completion.sh /usr/share/bash-completion/completions/quarra-tcam /usr/bin'
step "the library from the source archive, with compiler, make and CMake alone"
install g++ make cmake
somebody 'cmake -S sources -B "library build" -DQUARRA_TOOL=OFF -DQUARRA_AGENT=OFF -DQUARRA_SIMULATOR=OFF >/dev/null
   cmake --build "library build" --parallel >built 2>&1 || { cat built; exit 1; }
   ls "library build/lib"'
step "agents on the development files"
install "/packages/libquarratcamports-dev_*.deb" pkg-config
somebody 'cmake -S agent -B "agent build" >/dev/null
   cmake --build "agent build" >built 2>&1 || { cat built; exit 1; }
   "agent build/example-agent" | diff agent/expected.txt -
   "agent build/with-reference-agent" | diff agent/expectedOfReferenceAgent.txt -
   g++ -std=c++20 agent/{agent,sdk,shim}.cpp $(pkg-config --cflags --libs QuarraTcamPorts) -o by-pkg-config
   ./by-pkg-config | diff agent/expected.txt -
   g++ -std=c++20 agent/{withReferenceAgent,sdk,shim}.cpp $(pkg-config --cflags --libs QuarraTcamPortsAgent) -o with-agent
   ./with-agent | diff agent/expectedOfReferenceAgent.txt -'
step "gone without a trace"
chroot "$root" apt-get purge -y -qq quarra-tcam 'libquarratcamports*' >/dev/null 2>&1
left=$(find "$root/usr" -iname '*quarra*')
[ -z "$left" ] || { echo "$left"; exit 1; }
echo "the packages work in a bare Debian 12"
