# Completion for bash. Source it, or install it as share/bash-completion/completions/zelk_epic_host.
# What there is to complete is read from the program's own help.

# The words that an option of the help text takes, as in "--log-level info|warning|error".
_zelk_epic_host_values() {
  sed -n "s/^ *$2 \([A-Za-z]*|[A-Za-z|]*\)\( .*\)\?\$/\1/p" <<<"$1" | tr '|' '\n'
}

_zelk_epic_host() {
  local word=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} general help command=
  general=$("$1" --help 2>/dev/null) || return
  local commands i
  commands=$(sed -n '/^Commands:/,/^$/s/^  \([a-z-]*\) .*/\1/p' <<<"$general")
  for ((i = 1; i < COMP_CWORD; ++i)); do
    grep -qx -- "${COMP_WORDS[i]}" <<<"$commands" && command=${COMP_WORDS[i]}
  done
  help=$general
  [ -z "$command" ] || help+=$'\n'$("$1" "$command" --help 2>/dev/null)

  local candidates
  candidates=$(_zelk_epic_host_values "$help" "$previous")
  if [ -z "$candidates" ]; then
    case $word in
      -*) candidates=$(grep -o -- '^ *\(-[a-z],\)\?--[a-z-]*' <<<"$help" | grep -o -- '--[a-z-]*') ;;
      *) [ -n "$command" ] || [[ $previous = --* ]] || candidates=$commands ;;
    esac
  fi
  mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$word")
}

# Where nothing of that fits, files do.
complete -o default -F _zelk_epic_host zelk_epic_host
