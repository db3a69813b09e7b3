# bash completion of pkider: its verbs and options are those that --help shows.
_pkider() {
  local cur prev words cword
  _init_completion || return
  if [[ $prev == --*password-env ]]; then
    mapfile -t COMPREPLY < <(compgen -e -- "$cur")
    return
  fi
  local verb=() help subverbs next
  while help=$("${words[0]}" "${verb[@]}" --help 2>/dev/null) || return
        subverbs=$(awk 'found { print $1 } /^Subcommands:/ { found = 1 }' <<<"$help")
        next=${words[${#verb[@]} + 1]}
        ((${#verb[@]} + 1 < cword)) && grep -qxF -e "$next" <<<"$subverbs"; do
    verb+=("$next")
  done
  if [[ $cur == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_parse_help - <<<"$help")" -- "$cur")
  elif [[ -n $subverbs ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$subverbs" -- "$cur")
  else
    _filedir
  fi
} && complete -F _pkider pkider
