#!/usr/bin/env bash
# completion.sh SCRIPT FOLDER: in a shell with bash-completion and FOLDER's quarra-tcam, the script completes commands, options,
# variants and files.
set -uo pipefail
source /usr/share/bash-completion/bash_completion
script=$1
PATH=$2:$PATH
source "$script"
cd "$(mktemp -d)"
trap 'rm -rf "$PWD"' EXIT
touch here.json

failed=0
# completes LINE WORD...: the line's last word completes to these words, among others.
completes() {
   COMP_LINE=$1 COMP_POINT=${#1}
   read -ra COMP_WORDS <<<"$1"
   [ "${1% }" = "$1" ] || COMP_WORDS+=("")
   COMP_CWORD=$((${#COMP_WORDS[@]} - 1))
   COMPREPLY=()
   _quarra_tcam
   local word
   for word in "${@:2}"; do
      [[ " ${COMPREPLY[*]} " == *" $word "* ]] || { echo "'$1' completes to '${COMPREPLY[*]}' without '$word'"; failed=1; }
   done
}
completes "quarra-tcam " apply batch groups
completes "quarra-tcam app" apply
completes "quarra-tcam --va" --variant
completes "quarra-tcam --variant " sdk6 hsdk testSdk6 testHsdk
completes "quarra-tcam --variant testH" testHsdk
completes "quarra-tcam apply --" --map --variant --json
completes "quarra-tcam --variant hsdk apply --bind" --bindings
completes "quarra-tcam apply " here.json
completes "quarra-tcam apply --chip he" here.json
[ "$failed" -eq 0 ] && echo "bash completes commands, options, variants and files"
