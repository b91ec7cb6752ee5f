# Completes the last word of a line as bash would, and prints the matches. The arguments are the
# completion script, the line, and its words.
source /usr/share/bash-completion/bash_completion
source "$1"
COMP_LINE=$2
shift 2
COMP_WORDS=("$@")
COMP_CWORD=$(($# - 1))
COMP_POINT=${#COMP_LINE}
compopt() { :; } # fails outside a completion by readline
rule=$(complete -p "$1")
[[ $rule =~ -F\ ([^ ]+) ]] && "${BASH_REMATCH[1]}" "$1" "${COMP_WORDS[-1]}" "${COMP_WORDS[-2]}"
printf '%s\n' "${COMPREPLY[@]}"
