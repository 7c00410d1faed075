# Completion of vessa for bash. The program itself tells what may stand in the place of the word that is typed, in the
# form that src/host/Completion.h describes.

_vessa() {
    local cur prev words cword
    _init_completion -n =:@ || return
    local before=("${words[@]:1:cword-1}")
    before=("${before[@]/#\~\//$HOME/}")

    local line offers=() kind endings prefix
    while IFS= read -r line; do
        if [[ $line == $'\t'* ]]; then
            IFS=$'\t' read -r kind endings prefix <<<"$line"
        else
            offers+=("${line%%$'\t'*}")
        fi
    done < <("${words[0]/#\~\//$HOME/}" complete -- "${before[@]}" "$cur" 2>/dev/null)

    # Bash replaces only what follows the last of these letters.
    local breaks=${COMP_WORDBREAKS//[^=:@]/} kept=
    [[ -z $breaks ]] || kept=${cur%"${cur##*["$breaks"]}"}
    if [[ $kind ]]; then
        cur=${cur#"$prefix"}
        case $kind,$endings in
        folders,*) _filedir -d ;;
        files,\*) _filedir ;;
        files,*) _filedir "@($endings)" ;;
        esac
        COMPREPLY=("${COMPREPLY[@]#"${kept#"$prefix"}"}")
    fi
    COMPREPLY+=("${offers[@]#"$kept"}")
    if [[ ${#COMPREPLY[@]} -eq 1 && ${COMPREPLY[0]} == *= ]]; then
        compopt -o nospace
    fi
} && complete -F _vessa vessa
