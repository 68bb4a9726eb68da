# Completion of larder in bash. The program itself knows what may come next.

_larder() {
  local program=${1/#\~/$HOME} words=() lines word
  for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    # bash splits --option=value in three. The program takes two words as well.
    if [[ $word == = ]]; then continue; fi
    # As typed, so far. Nothing is expanded.
    case $word in
      \'*) word=${word//\'/} ;;
      \"*) word=${word//\"/} && word=${word//\\\\/\\} ;;
      *\\*) IFS= read word <<<"$word" ;; # without -r it drops the backslashes
    esac
    words+=("$word")
  done
  if [[ ${COMP_WORDS[COMP_CWORD]} == = ]]; then words+=(""); fi
  mapfile -t lines < <("$program" complete -- "${words[@]}" 2>/dev/null)
  if [[ ${lines[0]-} == paths ]]; then
    compopt -o default
    return
  fi
  for word in "${lines[@]:1}"; do
    word=${word%%$'\t'*}
    # In the kind of quotes that the user has begun with, if any.
    case ${COMP_WORDS[COMP_CWORD]} in
      \'*) word=${word//\'/\'\\\'\'} ;;
      \"*) word=$(sed 's/["$`\\]/\\&/g' <<<"$word") ;;
      *) printf -v word %q "$word" ;;
    esac
    COMPREPLY+=("$word")
  done
}

complete -F _larder larder
