# Completes the commands, options and choices of tilvanego in bash. What there is to choose from is read in the program's --help.
# shellcheck shell=bash

_tilvanego() {
  # bash also splits words at ":" and "="; no command and no option contains one.
  local program=$1 current=$2 previous=$3 commands=() word help value words=''
  COMPREPLY=()
  help=$("$program" --help 2>/dev/null) || return 0
  for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
    _tilvanego_commands "$help" | grep -qxF -- "$word" || continue
    commands+=("$word")
    help=$("$program" "${commands[@]}" --help 2>/dev/null) || return 0
  done

  # What the help says behind the option before: "TEXT:{same,url}=same", "FILE Excludes: --form", nothing for a flag.
  if [[ $previous == --[a-z]* ]]; then
    value=$(sed -n "s/^ \{2,10\}\(-[a-z], *\)\{0,1\}$previous \([^ ].*\)/\2/p" <<<"$help")
    case $previous/$value in
      */) ;;
      --as/*) words='text bytes json file none' ;;
      *'{'*) words=${value#*\{} words=${words%%\}*} words=${words//,/ } ;;
      */FILE* | */SOCKET* | */DIR* | --multipart/*) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    esac
    [ -z "$words" ] || mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
    [ -z "$value" ] || return 0
  fi

  case ${commands[*]}/$current in
    */-*) words=$(sed -n 's/^ \{2,10\}\(-[a-z], *\)\{0,1\}\(--[a-z-]*\).*/\2/p' <<<"$help") ;;
    callback/*) mapfile -t COMPREPLY < <(compgen -f -- "$current") ;;
    send/*) words='DELETE GET HEAD PATCH POST PUT' ;;
    'model describe/'*) words=$("$program" model list && "$program" model list --enums) ;;
    'model decode/'* | 'model check/'*) words=$("$program" model list) ;;
    *) words=$(_tilvanego_commands "$help") ;;
  esac
  [ -z "$words" ] || mapfile -t COMPREPLY < <(compgen -W "$words" -- "$current")
}

# The commands that a help text lists.
_tilvanego_commands() {
  sed -n '/^subcommands:/I,/^$/s/^  \([a-z][a-z]*\) .*/\1/p' <<<"$1"
}

complete -F _tilvanego tilvanego
