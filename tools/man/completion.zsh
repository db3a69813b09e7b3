#compdef pkider
# zsh completion of pkider: its verbs and options are those that --help shows.

# Fills the array `entries` with the words of a section of $help, as _describe wants them.
_pkider_entries() {
  entries=(${(f)"$(awk -v title="$1:" '
    function tell() { if (name != "") print name ":" text; name = "" }
    /^[^ ]/ { tell(); wanted = $0 == title }
    wanted && /^  [^ ]/ { tell(); name = $1; sub(/.*,/, "", name); text = substr($0, 31) }
    wanted && /^          / { text = $0; sub(/^ */, "", text) }
    END { tell() }' <<<$help)"})
}

_pkider() {
  local help next
  local -a verb entries
  while help=$($words[1] $verb --help 2>/dev/null) || return
        _pkider_entries Subcommands
        next=$words[$#verb+2]
        (($#verb + 2 < CURRENT)) && ((${entries[(I)$next:*]})); do
    verb+=($next)
  done
  if [[ $words[CURRENT-1] == --*password-env ]]; then
    _parameters -g '*export*'
  elif [[ $PREFIX == -* ]]; then
    _pkider_entries Options
    _describe -o option entries
  elif (($#entries)); then
    _describe verb entries
  else
    _files
  fi
}

_pkider "$@"
