# fish --no-config offers.fish COMPLETION LINE prints what fish offers at the end of the line, with a completion script.

source $argv[1]
complete -C $argv[2] | cut -f 1
