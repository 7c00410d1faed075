# zsh -f offers.zsh COMPLETION LINE prints what zsh offers at the end of the line, with a completion script. zsh
# completes only at a terminal: another one is started at one, and writes what it offers to a file.

zmodload zsh/zpty
folder=$(mktemp -d)
cp $1 $folder/_vessa
export OFFERS=$folder/offers
cat >$folder/start <<'START'
fpath=(${OFFERS:h} $fpath)
autoload -Uz compinit
compinit -u -D
compadd() {
    # With one of these it offers nothing, but tells what it would offer.
    if [[ " ${@[1,(i)(-|--)]} " != *' -'[OAD]' '* ]]; then
        local -a hits
        builtin compadd -A hits "$@"
        (( $#hits )) && print -rl -- $hits >>$OFFERS
    fi
    builtin compadd "$@"
}
finish() { : >$OFFERS.done }
comppostfuncs=(finish)
START
zpty shell zsh -f -i
zpty -w shell "source $folder/start"
zpty -w -n shell "$2"$'\t'
repeat 200; do
    [[ -e $OFFERS.done ]] && break
    sleep 0.05
done
zpty -d shell
[[ -e $OFFERS.done ]]
answered=$?
[[ ! -e $OFFERS ]] || cat $OFFERS
rm -r $folder
exit $answered
