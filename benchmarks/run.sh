#!/bin/bash
# usage: run.sh BUILD_DIR [--quick] [--only NAME] [--results FILE]
#
# Measures Cobblet and its peers, side by side in one private session, and prints one table. The parts, for --only:
# show entries cold memory select cycles large settings standalone suggestions micro peers (those up to memory, settings
# and standalone with the floor that Cobblet is compared with).
# --quick does everything with fewer rounds. Status 0 whatever the figures are; a figure that could not be had says why.
set -eu

here=$(cd "$(dirname "$0")" && pwd)

if [ "${1:-}" != --inside ]; then
    [ $# -ge 1 ] || { sed -n '2,7s/^# \{0,1\}//p' "$0" >&2; exit 2; }
    build=$(cd "$1" && pwd)
    shift
    quick='' only='' results=$build/benchmarks/results.jsonl
    while [ $# -gt 0 ]; do
        case $1 in
        --quick) quick=1 ;;
        --only) only=${2:?--only needs a name} && shift ;;
        --results) results=$(realpath -m "${2:?--results needs a file}") && shift ;;
        *) echo "run.sh: unknown option $1" >&2; exit 2 ;;
        esac
        shift
    done
    case $only in
    '' | show | entries | cold | memory | select | cycles | large | settings | standalone | suggestions | micro | peers) ;;
    *) echo "run.sh: there is no part $only" >&2; exit 2 ;;
    esac
    export build quick only results
    for tool in cobblet_bench_floor cobblet_bench_poke cobblet_bench_panelwatch; do
        [ -x "$build/benchmarks/$tool" ] || { echo "run.sh: $tool is not built in $build" >&2; exit 1; }
    done
    mkdir -p "$(dirname "$results")"
    : >"$results"
    status=0
    /usr/bin/python3 "$here/../tests/desktop/desktop.py" session "$here/run.sh" --inside || status=$?
    /usr/bin/python3 "$here/report.py" "$results"
    exit "$status"
fi

# Inside the session.
cobblet=$build/Cobblet.app/Contents/Helpers/cobblet # it becomes the application where none runs
floor=$build/benchmarks/cobblet_bench_floor
panelwatch=$build/benchmarks/cobblet_bench_panelwatch
data_home=$HOME/.local/share
log=$results.log
: >"$log"

passes=3 rounds=10 cold_rounds=7 peer_rounds=15 cycles=1000 repetitions=15 idle_seconds=10 builds=30 agents=9
seed_sets='tuning final'
if [ -n "$quick" ]; then
    passes=1 rounds=5 cold_rounds=5 peer_rounds=5 cycles=100 repetitions=3 idle_seconds=5 builds=8 agents=3 seed_sets=final
fi

part() { # NAME: whether it is to be measured; says that it begins
    [ -z "$only" ] || [ "$only" = "$1" ] || return 1
    echo "measuring: $1 (load $(cut -d' ' -f1 /proc/loadavg))" >&2
}
watch() { # panelwatch's arguments: appends the result, and never fails
    "$panelwatch" "$@" >>"$results" 2>>"$log" || tail -n 1 "$results" >&2
}
cannot() { # LABEL WHY
    printf '{"label":"%s","kind":"failed","why":"%s"}\n' "$1" "$2" | tee -a "$results" >&2
}
pid=
begin() { # PROGRAM ARGUMENTS: starts one that stays, and gives it the time to settle and to give memory back
    "$@" >>"$log" 2>&1 &
    pid=$!
    sleep 5
    kill -0 "$pid" 2>/dev/null
}
end() {
    [ -n "$pid" ] || return 0
    kill "$pid" 2>/dev/null || :
    wait "$pid" 2>/dev/null || :
    pid=
    sleep 0.5
}
trap end EXIT
press() { xdotool key --clearmodifiers "$@"; sleep 0.6; }

have_cobblet=
[ ! -x "$cobblet" ] || have_cobblet=1
# A start of Cobblet shows its panel. The group of 60 is the third, that of 11 the second.
begin_cobblet() { # [DIGIT]
    [ -n "$have_cobblet" ] || return 1
    begin "$cobblet" || return 1
    press "ctrl+${1:-3}"
    press Escape
}

with_other_groups() { # GROUPS APPLICATIONS
    mv "$data_home/Cobblet" "$HOME/kept-Cobblet"
    [ ! -e "$HOME/.config/cobblet" ] || mv "$HOME/.config/cobblet" "$HOME/kept-settings"
    /usr/bin/python3 "$here/fixture.py" "$data_home" "$@"
}
with_usual_groups() {
    rm -rf "$data_home/Cobblet" "$HOME/.config/cobblet"
    mv "$HOME/kept-Cobblet" "$data_home/Cobblet"
    [ ! -e "$HOME/kept-settings" ] || mv "$HOME/kept-settings" "$HOME/.config/cobblet"
}

/usr/bin/python3 "$here/fixture.py" "$data_home"
xdotool mousemove 5 5 # no hover effects, no tooltips
[ -n "$have_cobblet" ] || cannot "Cobblet" "it is not built"

cobblet_class='^cobblet\.'
floor_class='^cobblet_bench_floor'

show_cobblet() {
    if begin_cobblet; then
        watch show --label "cobblet show" --class "$cobblet_class" --bus com.vantor.cobblet --pid "$pid" \
            --rounds "$rounds"
    else
        cannot "cobblet show" "it did not stay running"
    fi
    end
}
show_floor() {
    begin "$floor" --tiles 60 || cannot "floor" "it did not stay running"
    watch show --label "floor show key" --class "$floor_class" --key Alt+Shift+9 --pid "$pid" --rounds "$rounds"
    watch show --label "floor show" --class "$floor_class" --bus com.cobblet.floor --pid "$pid" --rounds "$rounds"
    end
}
if part show; then
    # In turns, so that a machine that grows slow or quick does it to both.
    for ((pass = 0; pass < passes; pass++)); do
        show_floor
        show_cobblet
    done
fi

# How the panel is asked for by a person: a key, and a second start. Eleven applications, and as many tiles.
entries_floor() {
    begin "$floor" --tiles 11 || cannot "floor" "it did not stay running"
    watch show --label "floor key" --class "$floor_class" --key Alt+Shift+9 --pid "$pid" --rounds "$rounds"
    watch show --label "floor again" --class "$floor_class" --pid "$pid" --rounds "$rounds" \
        -- "$build/benchmarks/cobblet_bench_poke"
    end
}
entries_cobblet() {
    if begin_cobblet 2; then
        watch show --label "cobblet key" --class "$cobblet_class" --key Alt+Shift+2 --pid "$pid" --rounds "$rounds"
        watch show --label "cobblet again" --class "$cobblet_class" --pid "$pid" --rounds "$rounds" -- "$cobblet"
        watch show --label "cobblet again with a name" --class "$cobblet_class" --pid "$pid" --rounds "$rounds" \
            -- "$cobblet" show Some
    else
        cannot "cobblet key" "it did not stay running"
    fi
    end
}
if part entries; then
    for ((pass = 0; pass < passes; pass++)); do
        entries_floor
        entries_cobblet
    done
    with_other_groups 50 11
    if begin_cobblet; then
        watch run --label "cobblet list" --rounds $((passes * 20)) -- "$cobblet" list
        watch run --label "true" --rounds $((passes * 20)) -- /bin/true
    fi
    end
    with_usual_groups
fi

if part cold; then
    for ((pass = 0; pass < passes; pass++)); do
        watch show --label "floor cold" --class "$floor_class" --dismiss end --rounds "$cold_rounds" -- "$floor" --show
        [ -z "$have_cobblet" ] ||
            watch show --label "cobblet cold" --class "$cobblet_class" --dismiss end --rounds "$cold_rounds" -- "$cobblet"
    done
fi

if part memory; then
    # After one show, and hidden. Nothing asks anything of them here.
    begin "$floor" && watch show --label "floor once" --class "$floor_class" --key Alt+Shift+9 --pid "$pid" \
        --rounds 1 --warmup 0
    sleep 5
    watch idle --label "floor idle" --pid "$pid" --seconds "$idle_seconds"
    end
    if begin_cobblet; then
        sleep 5
        watch idle --label "cobblet idle" --pid "$pid" --seconds "$idle_seconds"
    fi
    end
fi

if part select; then
    if [ -n "$have_cobblet" ] && begin "$cobblet"; then
        watch change --label "cobblet select 60" --class "$cobblet_class" --key Ctrl+3 --back Ctrl+1 --pid "$pid" \
            --rounds $((passes * 7))
    fi
    end
fi

if part cycles; then
    if begin_cobblet; then
        watch cycles --label "cobblet cycles" --class "$cobblet_class" --bus com.vantor.cobblet --pid "$pid" \
            --rounds "$cycles"
    fi
    end
fi

if part large; then
    # With the usual list, and with 1,000 groups of 50.
    if begin_cobblet; then
        sleep 5
        watch idle --label "cobblet idle small" --pid "$pid" --seconds 1
    fi
    end
    with_other_groups 1000 50
    if begin_cobblet; then
        sleep 5
        watch idle --label "cobblet idle large" --pid "$pid" --seconds 1
    fi
    end
    with_usual_groups
fi

# The settings window: the first time in a process, again, with 300 groups, another page; and what it leaves behind.
settings() { # MEASUREMENT LABEL OPTIONS...
    local measurement=$1 label=$2
    shift 2
    watch "$measurement" --label "$label" --class "$cobblet_class" --bus com.vantor.cobblet --action settings \
        --dismiss Ctrl+w --pid "$pid" "$@"
}
if part settings; then
    for ((pass = 0; pass < passes; pass++)); do
        watch show --label "settings' floor cold" --class "$floor_class" --dismiss end --rounds "$cold_rounds" \
            -- "$floor" --show
        for ((again = 0; again < 5; again++)); do
            begin_cobblet 1 && settings show "settings first" --rounds 1 --warmup 0
            [ "$again" -eq 4 ] || end
        done
        settings show "settings again" --rounds "$rounds"
        "$cobblet" settings && sleep 1 && press Home && press End && press Up
        watch change --label "settings page" --class "$cobblet_class" --key Down --back Up --pid "$pid" --rounds 7
        end
        begin_cobblet 1 && sleep 5 && watch idle --label "settings before" --pid "$pid" --seconds 1
        settings cycles "settings cycles" --rounds 10
        sleep 5
        watch idle --label "settings after" --pid "$pid" --seconds 1
        end
        with_other_groups 300 11
        begin_cobblet 1 && settings show "settings 300" --rounds "$rounds"
        end
        with_usual_groups
    done
fi

# A group as an application of its own: "agent" for short. Eleven applications in each group, and as many tiles.
agent_class='^com\.cobblet\.agent\.'
agent() { # NUMBER: what the entry of its desktop file starts
    echo "$HOME/Applications/Cobblet Groups/Group $1.app/Contents/Helpers/cobblet"
}
make_agents() { # as the application does it at its start for the groups of the list that are to have one
    begin "$cobblet" --service || return 1
    local tries found
    for ((tries = 0; tries < 60; tries++)); do
        found=$(grep -lF "Cobblet Groups/Group" "$data_home/applications/com.cobblet.agent."*.desktop 2>/dev/null | wc -l)
        [ "$found" -lt "$agents" ] || break
        sleep 0.5
    done
    end
    [ "$found" -eq "$agents" ] && [ -x "$(agent 0)" ]
}
standalone_cold() {
    for _ in 1 2; do
        watch show --label "main cold" --class "$cobblet_class" --dismiss end --rounds 4 --warmup 1 -- "$cobblet"
        watch show --label "agent cold" --class "$agent_class" --dismiss end --rounds 4 --warmup 1 -- "$(agent 0)"
    done
}
standalone_running() {
    if begin_cobblet 1; then
        watch show --label "main again" --class "$cobblet_class" --pid "$pid" --rounds "$rounds" \
            -- "$cobblet" show "Group 0"
    fi
    end
    if begin "$(agent 0)"; then
        press Escape
        watch show --label "agent again" --class "$agent_class" --pid "$pid" --rounds "$rounds" -- "$(agent 0)"
    fi
    end
}
standalone_idle() {
    begin "$floor" --tiles 11 && watch show --label "floor once" --class "$floor_class" --key Alt+Shift+9 \
        --pid "$pid" --rounds 1 --warmup 0
    sleep 5
    watch idle --label "agents' floor idle" --pid "$pid" --seconds "$idle_seconds"
    end
    # All at once, beside the application that made them, which ends first: it would build those again that end.
    begin_cobblet 1 || return 0
    local main=$pid pids='' number waited=''
    for ((number = 0; number < agents; number++)); do
        "$(agent "$number")" >>"$log" 2>&1 &
        pids="$pids $!"
        sleep 1.5
        press Escape
    done
    sleep 32 # the toolkit's idle threads end half a minute after their last work
    for pid in $pids; do
        watch idle --label "agent idle $pid" --pid "$pid" --seconds "$idle_seconds" &
        waited="$waited $!"
    done
    # shellcheck disable=SC2086 # lists of numbers
    wait $waited
    for pid in $main $pids; do
        end
    done
}
if part standalone; then
    if [ -x "$build/benchmarks/cobblet_bench_bundles" ] && [ -n "$have_cobblet" ]; then
        "$build/benchmarks/cobblet_bench_bundles" "$build/Cobblet.app" "$builds" >>"$results" 2>>"$log" ||
            cannot "bundle" "it ended with an error, see $log"
        with_other_groups "$agents" 11 standalone
        # So that both begin with the first group, and show the same.
        mkdir -p "$HOME/.config/cobblet"
        # A CBOR map of one entry, the text of 18 characters and false.
        printf '\241\162popupShowsMostUsed\364' >"$HOME/.config/cobblet/com.cobblet.shared.cbor"
        if make_agents; then
            for ((pass = 0; pass < passes; pass++)); do
                standalone_cold
                standalone_running
            done
            standalone_idle
        else
            cannot "agents" "they were not built"
        fi
        end
        with_usual_groups
        rm -rf "$HOME/Applications" "$data_home/applications/com.cobblet.agent."*
    else
        cannot "bundle" "it is not built"
    fi
fi

if part suggestions; then
    for seeds in $seed_sets; do
        "$build/benchmarks/cobblet_bench_suggestions" "$seeds" >>"$results" 2>>"$log" ||
            cannot "suggestions $seeds" "it ended with an error, see $log"
    done
fi

if part micro; then
    found=
    for bench in "$build"/benchmarks/micro/cobblet_bench_*; do
        { [ -f "$bench" ] && [ -x "$bench" ]; } || continue
        found=1
        out=$HOME/micro.json
        if "$bench" --benchmark_repetitions="$repetitions" --benchmark_report_aggregates_only=true \
            --benchmark_min_time=0.02 --benchmark_out="$out" --benchmark_out_format=json >>"$log" 2>&1; then
            printf '{"label":"%s","kind":"micro","run":%s}\n' "${bench##*/}" "$(tr -d '\n' <"$out")" >>"$results"
        else
            cannot "${bench##*/}" "it ended with an error, see $log"
        fi
    done
    [ -n "$found" ] || cannot "micro" "no microbenchmark is built"
fi

have() { # PROGRAM
    command -v "$1" >/dev/null || { cannot "$1" "not installed, left out"; return 1; }
}
resident_peer() { # LABEL CLASS REQUEST...: the running program's request, memory and idle state
    local label=$1 class=$2
    shift 2
    press Escape # some show themselves when they start
    watch show --label "$label show" --class "$class" --pid "$pid" --rounds "$peer_rounds" "$@"
    sleep 2
    watch idle --label "$label idle" --pid "$pid" --seconds "$idle_seconds"
    end
}
if part peers; then
    if have rofi; then
        watch show --label "rofi cold" --class '^rofi' --rounds "$peer_rounds" -- rofi -show drun -show-icons
    fi
    if have xfce4-appfinder && begin xfce4-appfinder; then
        resident_peer xfce4-appfinder appfinder -- xfce4-appfinder
    fi
    if have jgmenu && begin jgmenu; then
        resident_peer jgmenu '^jgmenu' -- /bin/kill -USR1 "$pid"
    fi
    if have synapse; then
        watch show --label "synapse cold" --class '^synapse' --dismiss end --rounds "$peer_rounds" -- synapse
        if begin synapse --startup; then
            resident_peer synapse '^synapse' --key Ctrl+space
        fi
    fi
    if have kupfer && begin kupfer --no-splash; then
        press Escape
        watch show --label "kupfer again" --class '^kupfer' --pid "$pid" --rounds "$peer_rounds" -- kupfer
        end
    fi
    # Its key is the business of a program of its own.
    if have lxqt-runner && have lxqt-globalkeysd && begin lxqt-globalkeysd; then
        keys=$pid
        if begin lxqt-runner; then
            press Escape
            watch show --label "lxqt-runner show" --class runner --key Alt+F2 --pid "$pid" --rounds "$peer_rounds"
        fi
        end
        pid=$keys
        end
    fi
fi
