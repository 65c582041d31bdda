# Completion of the command cobblet for bash. Nothing that is read here is ever evaluated.

# Splits the line into words as the shell would, without carrying anything out: __words, the last of which is at the
# cursor, and of that one its quoting so far (none, ' or ") and its text as typed.
__cobblet_words() {
    local line=${COMP_LINE:0:COMP_POINT} at char inside=
    __words=('') __quoting='' __typed=''
    for ((at = 0; at < ${#line}; at++)); do
        char=${line:at:1}
        if [[ -z $inside && $char == [[:space:]] ]]; then
            [[ -z $__typed ]] || __words+=('')
            __typed='' __quoting=''
            continue
        fi
        [[ -n $__typed || $char != [\'\"] ]] || __quoting=$char
        __typed+=$char
        if [[ $char == "$inside" ]]; then
            inside=
        elif [[ -z $inside && $char == [\'\"] ]]; then
            inside=$char
        elif [[ $char == \\ && $inside != \' ]]; then
            ((at++))
            __typed+=${line:at:1}
            __words[-1]+=${line:at:1}
        else
            __words[-1]+=$char
        fi
    done
    # A quotation that is closed again, or begun inside the word, can't be gone on with.
    [[ $inside == "$__quoting" ]] || __quoting=closed
}

# The text in the quoting that was begun, without the quotation mark at the end, which readline sets.
__cobblet_quoted() {
    local text=$1 at char
    __quoted=$__quoting
    for ((at = 0; at < ${#text}; at++)); do
        char=${text:at:1}
        case $__quoting,$char in
        \',\') char="'\\''" ;;
        \',*) ;;
        '",'[\"\\\$\`]) char=\\$char ;;
        '",'*) ;;
        ,[\ \"\'\\\`\$\&\|\;\<\>\(\)\[\]\{\}\*\?\!\#\~^]) char=\\$char ;;
        esac
        __quoted+=$char
    done
    # readline takes a quotation mark at the end for the one that closes.
    [[ -z $__quoting || ${__quoted:1} != *"$__quoting" ]] || __quoted+=$__quoting
}

# The groups that the word can be: their names, or the identifier where the name alone does not do or has line breaks.
__cobblet_groups() {
    local id name at
    local -A seen=()
    local -a ids=() names=()
    while IFS= read -r id && IFS= read -r name; do
        ids+=("$id")
        names+=("$name")
        [[ -z $name ]] || seen[$name]+=x
    done < <(cobblet list --json </dev/null 2>/dev/null | sed -n '
        /^        "id": "/ { s///; s/",\{0,1\}$//; p; }
        /^        "name": "/ { s///; s/",\{0,1\}$//; s/\\\\/\n/g; s/\\"/"/g; /\\/ s/.*//; s/\n/\\/g; p; }')
    for at in "${!ids[@]}"; do
        name=${names[at]}
        if [[ -z $name || ${seen[$name]} != x || ($name == -* && -z $1) ]]; then
            name=${ids[at]}
        fi
        __candidates+=("$name")
    done
}

_cobblet() {
    local -a __words __candidates=()
    local __quoting __typed __quoted candidate dashes=
    __cobblet_words
    local count=${#__words[@]} verb=${__words[1]}
    COMPREPLY=()
    [[ $__quoting != closed ]] || return 0
    if ((count > 3)) && [[ ${__words[2]} == -- ]]; then
        dashes=1
        ((count--))
    fi
    if ((count == 2)); then
        __candidates=(show launch hide quit list say settings diagnose --help --version)
    elif ((count == 3)); then
        case $verb in
        show | launch | hide | quit) __cobblet_groups "$dashes" ;;
        list) __candidates=(--json) ;;
        esac
    fi

    # What readline replaces is only the end of what was typed, where a character such as a colon lies before it.
    local text=${__words[-1]} kept=${__typed%"$2"}
    for candidate in "${__candidates[@]}"; do
        [[ ${candidate:0:${#text}} == "$text" ]] || continue
        # Between these quotation marks an exclamation mark is the history's.
        [[ $__quoting != '"' || $candidate != *!* ]] || continue
        __cobblet_quoted "$candidate"
        [[ ${__quoted:0:${#kept}} != "$kept" ]] || COMPREPLY+=("${__quoted:${#kept}}")
    done
}

complete -o nosort -F _cobblet cobblet
