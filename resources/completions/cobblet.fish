# Completion of the command cobblet for fish.

# The names of the groups, or the identifier where the name alone does not do or has line breaks.
function __cobblet_groups
    set -l words (commandline -opc)
    set -l ids
    set -l names
    cobblet list --json </dev/null 2>/dev/null | sed -n '
        /^        "id": "/ { s///; s/",\{0,1\}$//; p; }
        /^        "name": "/ { s///; s/",\{0,1\}$//; s/\\\\\\\\/\n/g; s/\\\\"/"/g; /\\\\/ s/.*//; s/\n/\\\\/g; p; }' | while read -l id; and read -l name
        set -a ids "$id"
        set -a names "$name"
    end
    for at in (seq (count $ids))
        set -l name $names[$at]
        set -l others $names
        set -e others[$at]
        if test -z "$name"; or contains -- "$name" $others
            set name $ids[$at]
        else if string match -q -- '-*' "$name"; and not contains -- -- $words
            set name $ids[$at]
        end
        printf '%s\n' "$name"
    end
end

function __cobblet_wants
    set -l words (commandline -opc)
    set -l count (count $words)
    switch $argv[1]
        case verb
            test $count -eq 1
        case group
            contains -- "$words[2]" show launch hide quit
            and begin
                test $count -eq 2
                or test $count -eq 3 -a "x$words[3]" = x--
            end
        case list
            test $count -eq 2 -a "x$words[2]" = xlist
    end
end

complete -c cobblet -f
complete -c cobblet -n '__cobblet_wants verb' -a show -d 'show the panel with a group'
complete -c cobblet -n '__cobblet_wants verb' -a launch -d 'open the applications of a group'
complete -c cobblet -n '__cobblet_wants verb' -a hide -d 'hide them'
complete -c cobblet -n '__cobblet_wants verb' -a quit -d 'ask them to quit'
complete -c cobblet -n '__cobblet_wants verb' -a list -d 'print the groups'
complete -c cobblet -n '__cobblet_wants verb' -a say -d 'understand a spoken phrase'
complete -c cobblet -n '__cobblet_wants verb' -a diagnose -d 'say what this desktop permits'
complete -c cobblet -n '__cobblet_wants verb' -a settings -d 'open the settings'
complete -c cobblet -n '__cobblet_wants verb' -l help -d 'print a summary'
complete -c cobblet -n '__cobblet_wants verb' -l version -d 'print the version'
complete -c cobblet -n '__cobblet_wants list' -l json -d 'as JSON'
complete -c cobblet -k -n '__cobblet_wants group' -a '(__cobblet_groups)'
