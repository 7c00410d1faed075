#compdef vessa
# Completion of vessa for zsh. The program itself tells what may stand in the place of the word that is typed, in the
# form that src/host/Completion.h describes.

local line ret=1
local -a before offers open file
(( CURRENT > 2 )) && before=("${(@Q)words[2,CURRENT-1]}")
before=("${before[@]/#\~\//$HOME/}")
for line in "${(@f)$("${(Q)words[1]/#\~\//$HOME/}" complete -- "${before[@]}" "${(Q)PREFIX}" 2>/dev/null)}"; do
    case $line in
    '') ;;
    $'\t'*) file=("${(@ps:\t:)line}") ;; # an empty word, what kind, which endings, behind which prefix
    *=$'\t'*) open+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}") ;;
    *) offers+=("${${line%%$'\t'*}//:/\\:}:${line#*$'\t'}") ;;
    esac
done

(( $#offers )) && _describe vessa offers && ret=0
(( $#open )) && _describe vessa open -S '' && ret=0
if (( $#file )); then
    compset -P "${(b)file[4]}"
    case $file[2],$file[3] in
    folders,*) _files -/ && ret=0 ;;
    files,\*) _files && ret=0 ;;
    files,*) _files -g "(#i)*.($file[3])(-.)" && ret=0 ;;
    esac
fi
return ret
