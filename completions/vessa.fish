# Completion of vessa for fish. The program itself tells what may stand in the place of the word that is typed, in the
# form that src/host/Completion.h describes.

function __vessa_offers
    set -l before (commandline -opc | string replace -r '^~/' "$HOME/")
    set -l program $before[1]
    command -q $program || return
    set -e before[1]
    set -l word (commandline -ct)
    for line in ($program complete -- $before "$word" 2>/dev/null)
        # Of a line about files: an empty word, what kind, which endings, behind which prefix.
        set -l file (string split \t -- $line)
        if test -n "$file[1]"
            echo -- $line
            continue
        end
        set -l typed (string sub -s (math 1 + (string length -- "$file[4]")) -- "$word")
        if test $file[2] = folders
            printf '%s\n' "$file[4]"(__fish_complete_directories "$typed")
        else if test $file[3] = '*'
            printf '%s\n' "$file[4]"(__fish_complete_path "$typed")
        else
            set -l pattern "^[^\t]*(?:/|\.(?:$file[3]))(?:\t.*)?\$"
            printf '%s\n' "$file[4]"(__fish_complete_path "$typed" | string match -ri $pattern)
        end
    end
end

complete -c vessa -f -a '(__vessa_offers)'
