#!/usr/bin/env -S zsh -f
# SPDX-License-Identifier: Apache-2.0
# What zsh offers for a command line when its user presses the tabulator key, one word a line.
#
#   zsh_completion.zsh LINE [FOLDER]    the completions in FOLDER besides those that are installed
#
# Exit status 77: the machine has no pseudo-terminal (/dev/pts), without which zsh takes no keys.
zmodload zsh/zpty
export ZDOTDIR=$(mktemp -d) ZSH_COMPLETIONS=$2 TERM=dumb
cat >$ZDOTDIR/.zshrc <<'END'
fpath=($ZSH_COMPLETIONS $fpath)
autoload -U compinit
compinit -u -d $ZDOTDIR/dump
# Every word that completion adds passes here. Calls with -A, -D or -O add none.
compadd() {
  if [[ -z ${(M)@:#-[ADO]} ]]; then
    local -a words
    builtin compadd -O words "$@"
    print -rl -- $words >>$ZDOTDIR/words
  fi
  builtin compadd "$@"
}
complete-and-tell() { zle complete-word; print >$ZDOTDIR/done }
zle -N complete-and-tell
bindkey '^I' complete-and-tell
PROMPT='ready>'
END
zpty shell exec zsh -i || { rm -rf $ZDOTDIR; exit 77 }
zpty -r shell output '*ready>*'
zpty -w -n shell $1$'\t'
for ((tries = 0; tries < 200; ++tries)); do
  zpty -r -t shell output || true  # a full terminal would stop the shell
  [[ -e $ZDOTDIR/done ]] && break
  sleep 0.05
done
zpty -d shell
completed=$([[ -e $ZDOTDIR/done ]] && sort -u $ZDOTDIR/words 2>/dev/null)
rm -rf $ZDOTDIR
[[ -n $completed ]] || { print -u2 "zsh offers nothing for '$1'"; exit 1 }
print -r -- $completed
