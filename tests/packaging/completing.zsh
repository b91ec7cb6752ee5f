# The .zshrc of an interactive zsh that completes $LINE_TO_COMPLETE, prints the matches to the file
# $MATCHES, and ends.
fpath=($COMPLETIONS $fpath)
autoload -Uz compinit
compinit -u -d $ZDOTDIR/functions

# All matches are added by compadd. With -A, -D or -O it only fills arrays.
compadd() {
    if [[ ${@[1,(i)(-|--)]} == *-[a-zA-Z]#[ADO]* ]]; then
        builtin compadd "$@"
        return
    fi
    local -a matches
    builtin compadd -A matches "$@"
    (($#matches)) && print -rl -- $matches >>$MATCHES
    builtin compadd "$@"
}

zle-line-init() {
    BUFFER=$LINE_TO_COMPLETE
    CURSOR=$#BUFFER
    zle complete-word
    exit 0
}
zle -N zle-line-init
