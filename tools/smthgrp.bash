# Completion for bash, with what bash-completion gives. The program itself says what fits.
_smthgrp() {
  local cur prev words cword split
  _init_completion -s -n : || return
  local kind ending list=()
  {
    read -r kind ending
    mapfile -t list
  } < <("${1/#\~/$HOME}" --complete "${words[@]:1:cword}" 2>/dev/null)
  case $kind in
    words)
      local word
      COMPREPLY=()
      for word in "${list[@]}"; do
        # Inside quotes a word stands for itself.
        [[ $cur == [\"\']* ]] || printf -v word %q "$word"
        COMPREPLY+=("$word")
      done
      __ltrim_colon_completions "$cur"
      ;;
    folders) _filedir -d ;;
    files) _filedir $ending ;;
  esac
}
complete -F _smthgrp smthgrp
