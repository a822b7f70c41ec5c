# bash completion of quarra-tcam. Commands, options and variants are read from the command's own help.

_quarra_tcam() {
   local cur prev words cword
   _init_completion -n = || return

   local tool=${words[0]} command="" word
   local commands
   commands=$("$tool" --help 2>/dev/null | sed -n '/^Subcommands:/,/^[^ ]*$/s/^  \([a-z][a-z-]*\) .*/\1/p')
   for word in "${words[@]:1:cword-1}"; do
      if [[ " ${commands//$'\n'/ } " == *" $word "* ]]; then
         command=$word
         break
      fi
   done
   local help
   help=$("$tool" --help 2>/dev/null)
   [[ -z $command ]] || help+=$'\n'$("$tool" "$command" --help 2>/dev/null)

   case $prev in
   --variant)
      COMPREPLY=($(compgen -W "$(sed -n 's/.*Chip variant: \(.*\)/\1/p' <<<"$help" | tr -d ,)" -- "$cur"))
      return
      ;;
   --chip)
      _filedir json
      return
      ;;
   --switch)
      _filedir -d
      return
      ;;
   esac
   # Any other option that takes a value: nothing to offer.
   if [[ $prev == --* ]] && grep -qE -- "(^|[ ,])$prev [A-Z]" <<<"$help"; then
      return
   fi
   if [[ $cur == -* ]]; then
      COMPREPLY=($(compgen -W "$(grep -oE -- '^ +(-[a-zA-Z],)?--[a-z-]+|^ +-[a-zA-Z]( |$)' <<<"$help" | grep -oE -- '--?[a-zA-Z-]+')" -- "$cur"))
   elif [[ -z $command ]]; then
      COMPREPLY=($(compgen -W "$commands" -- "$cur"))
   else
      _filedir
   fi
} && complete -F _quarra_tcam quarra-tcam
