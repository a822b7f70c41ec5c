#!/usr/bin/env bash
# manPages.sh TOOL VERSION FOLDER: makes the manual pages from what the command says of itself, a page for each command.
set -euo pipefail
tool=$1 version=$2 folder=$3
here=$(dirname "$0")
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
ln -s "$tool" "$work/quarra-tcam"
PATH=$work:$PATH
mkdir -p "$folder"
rm -f "$folder"/quarra-tcam*.1.gz

# page NAME DESCRIPTION COMMAND...
page() {
   help2man --no-info --version-string="$version" --source="quarra-tcam $version" --name="$2" \
      --include="$work/seeAlso" "${*:3}" | sed -E '/^\.SH NAME/{n;s/^(quarra-tcam) ([a-z-]+) /\1-\2 /}' |
      gzip -9n >"$folder/$1.1.gz"
}

commands=$(quarra-tcam --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z][a-z-]*\)  *\(.*\)/\1 \2/p')
[ -n "$commands" ] || { echo "manPages.sh: $tool --help lists no commands" >&2; exit 1; }
pages=$(cut -d' ' -f1 <<<"$commands" | sed 's/.*/quarra-tcam-&(1)/' | paste -sd, | sed 's/,/, /g')
sed "s|@COMMANDS@|$pages|" "$here/manual.txt" >"$work/seeAlso"
page quarra-tcam "class IDs for TCAM entries, on a simulated switch chip" quarra-tcam
printf '[see also]\nquarra-tcam(1)\n' >"$work/seeAlso"
while read -r command description; do
   page "quarra-tcam-$command" "${description,}" quarra-tcam "$command"
done <<<"$commands"
