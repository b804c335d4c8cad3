# Bash completion of vm1905ctl. The program itself prints what may come next.
_vm1905ctl() {
  local line
  COMPREPLY=()
  if [[ ${COMP_WORDS[COMP_CWORD - 1]} == --data-model || " ${COMP_WORDS[*]:0:COMP_CWORD} " == *" check-config "* ]]; then
    compopt -o default # a file
    return
  fi
  # Not compgen -W, which would evaluate the names of other devices.
  while IFS= read -r line; do
    COMPREPLY+=("$line")
  done < <("${COMP_WORDS[0]}" --complete "${COMP_WORDS[@]:1:COMP_CWORD}" 2> /dev/null)
}
complete -F _vm1905ctl vm1905ctl
