# bash --norc offers.bash COMPLETION LINE prints what bash offers at the end of the line, with a completion script.

source /usr/share/bash-completion/bash_completion
source "$1"
COMP_LINE=$2
COMP_POINT=${#2}

# The words as bash splits them: letters of COMP_WORDBREAKS are words of their own.
set -f
for word in $2; do
    while [[ $word =~ ^([^=@]*)([=@])(.*)$ && $COMP_WORDBREAKS == *"${BASH_REMATCH[2]}"* ]]; do
        [[ -z ${BASH_REMATCH[1]} ]] || COMP_WORDS+=("${BASH_REMATCH[1]}")
        COMP_WORDS+=("${BASH_REMATCH[2]}")
        word=${BASH_REMATCH[3]}
    done
    [[ -z $word ]] || COMP_WORDS+=("$word")
done
set +f
[[ $2 != *' ' ]] || COMP_WORDS+=('')
COMP_CWORD=$((${#COMP_WORDS[@]} - 1))

compopt() { :; } # outside of a completion bash refuses it
_vessa vessa
[[ ${#COMPREPLY[@]} -eq 0 ]] || printf '%s\n' "${COMPREPLY[@]}"
