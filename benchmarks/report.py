#!/usr/bin/env python3
"""usage: report.py RESULTS

Prints what run.sh has measured as one table: each figure of Cobblet with its peer, the ratio, the target, and
whether it is met."""

import json
import math
import statistics
import sys

MICRO_TITLES = {"load": "load 1,000 groups of 50", "loadStore": "  the store with both its copies",
                "save": "save 1,000 groups of 50, flushed", "saveStore": "  one edit in the store, both copies",
                "encode": "  to text only", "tile": "tile of 1,024 pixels", "tileFirst": "  of a new emoji",
                "iconFile": "icon file, seven sizes, flushed", "suggest": "suggesting groups from 20,000 pairs",
                "suggestFromPairs": "  without sessions", "emojiKey": "emoji search, a key at the 95th percentile",
                "emojiFirst": "emoji popover to its painted frame, first", "emojiAgain": "  again"}
# What a figure is compared with, and the target of the ratio; and the targets of those that stand alone.
MICRO_PEERS = {"iconFile": ("plain PNGs", 1.3)}
MICRO_TARGETS = {"tile": 2, "suggest": 20, "suggestFromPairs": 20, "emojiKey": 1, "emojiFirst": 40, "emojiAgain": 10}
FADE = 180  # ms; the panel's fade-in, after which nothing may be drawn


class Results:
    """Measurements by label; the samples of one label are pooled."""

    def __init__(self, lines):
        self.samples, self.single, self.micro, self.failures = {}, {}, {}, []
        for line in lines:
            self.add(json.loads(line))

    def add(self, result):
        label, kind = result["label"], result["kind"]
        if kind == "failed":
            self.failures.append((label, result["why"]))
        elif kind == "micro":
            for run in result["run"]["benchmarks"]:
                if run.get("aggregate_name") == "median":
                    name = run["run_name"].split("/")[0]
                    # Of a peer's settings the quickest counts.
                    self.micro[name] = min(run["real_time"], self.micro.get(name, math.inf))
        else:
            for name, values in result.get("samples", {}).items():
                self.samples.setdefault((label, name), []).extend(values)
            self.single[label] = result

    def median(self, label, name):
        values = self.samples.get((label, name))
        return statistics.median(values) if values else None

    def p95(self, label, name):
        values = sorted(self.samples.get((label, name), ()))
        if not values:
            return None
        return values[math.ceil(0.95 * len(values)) - 1]

    def count(self, label, name):
        return len(self.samples.get((label, name), []))

    def at(self, label, *path):
        """A value of the last measurement of that label."""
        value = self.single.get(label)
        for step in path:
            value = value.get(step) if value is not None else None
        return value

    def mebibytes(self, label, *path):
        value = self.at(label, *path)
        return value / 1024 if value is not None else None


def figure(value, unit):
    if value is None:
        return "-"
    return f"{value:.0f}" if unit == "" else f"{value:.2f} {unit}"


def row(measure, value, unit, peer=None, peer_name="", at_most=None, times=None, below=None, at_least=None):
    """One line, or none without anything to compare: a target is a bound on the figure (at_most, at_least, strictly below)
    or on the ratio (times)."""
    if value is None and peer is None or peer_name and peer is None and times is None:
        return None
    ratio = value / peer if value is not None and peer else None
    target, met = "", ""
    if at_most is not None or below is not None:
        bound, word = (at_most, "at most") if at_most is not None else (below, "under")
        target = f"{word} {figure(bound, unit)}"
        if value is not None:
            met = value <= bound if at_most is not None else value < bound
    elif at_least is not None:
        target, met = f"at least {figure(at_least, unit)}", None if value is None else value >= at_least
    elif times is not None:
        target = f"at most {times:g} x"
        if ratio is not None:
            met = ratio <= times
    return [measure, figure(value, unit), f"{peer_name} {figure(peer, unit)}" if peer_name else "",
            f"{ratio:.2f}" if ratio is not None else "", target, {True: "met", False: "NOT MET"}.get(met, "")]


def entries(results):
    """A key press and a second start. To be ahead of a peer is to take less than it does."""
    median = results.median
    key, again, named = (median(f"cobblet {label}", "painted") for label in ("key", "again", "again with a name"))
    title = "key press to painted panel, 11 applications"
    yield row(title, key, "ms", median("floor key", "painted"), "floor", times=1.2)
    if key is not None:
        yield row("  95th percentile", results.p95("cobblet key", "painted"), "ms",
                  results.p95("floor key", "painted"), "floor", times=1.3)
    for peer in ("synapse", "lxqt-runner"):
        yield row(title, key, "ms", median(f"{peer} show", "painted"), peer, times=1)
    for title, value in (("second start to painted panel", again), ("  with a group to show", named)):
        yield row(title, value, "ms", median("floor again", "painted"), "floor's stub", times=1.3)
        yield row(title, value, "ms", median("kupfer again", "painted"), "kupfer", times=1)
    yield row("cobblet list, 50 groups, the whole process", median("cobblet list", "whole"), "ms",
              median("true", "whole"), "true", at_most=8)


def settings(results):
    """The settings window: the targets of the first time and of the next ones go by the floor's cold start."""
    median, mib = results.median, results.mebibytes
    floor, again = median("settings' floor cold", "painted"), median("settings again", "painted")
    yield row("settings window, first time", median("settings first", "painted"), "ms", floor, "floor, cold", times=1)
    yield row("  again", again, "ms", floor, "floor, cold", times=0.5)
    yield row("  with 300 groups", median("settings 300", "painted"), "ms", again, "usual groups", times=1.3)
    yield row("  another page", median("settings page", "painted"), "ms", at_most=16.7)
    before, after = (mib(f"settings {when}", "memory", "anon") for when in ("before", "after"))
    yield row("  own memory after ten times", after - before if None not in (before, after) else None, "MiB",
              at_most=1.5)


def building(results):
    """An agent built and registered, beside the floor's copy, icon and hashes; then step by step."""
    def median(name):
        return results.median("bundle", name)

    title = "agent built and registered"
    yield row(title, median("first whole"), "ms", median("floor"), "cp, icon, sha256", times=2)
    yield row("  the same, over an older one", median("rebuild whole"), "ms", median("floor"), "cp, icon, sha256",
              times=2)
    rest = [median(name) for name in ("first whole", "icon", "floor copy", "floor hash", "prepare", "sign", "verify")]
    if None in rest:
        return
    whole, icon, copy, hashed, prepare, sign, verify = rest
    yield row("  all but drawing and writing the icon", whole - icon, "ms", copy + hashed, "cp, sha256")
    yield row("    copy", median("copy"), "ms", copy, "cp")
    yield row("    icon", icon, "ms", median("floor icon"), "the same")
    yield row("    the rest of preparing", prepare - icon, "ms")
    yield row("    sign", sign - verify, "ms", hashed, "sha256")
    yield row("    verify", verify, "ms", hashed, "sha256")
    yield row("    move into place", median("move"), "ms")
    yield row("    or keep the older one", median("keep"), "ms")
    yield row("    and rsync over it", median("rsync"), "ms")
    yield row("    register", median("first register"), "ms")
    yield row("    register again, with another icon", median("rebuild register"), "ms")


def standalone(results):
    """Groups as applications of their own: agents."""
    yield from building(results)
    median, mib = results.median, results.mebibytes
    yield row("agent, cold start to painted", median("agent cold", "painted"), "ms",
              median("main cold", "painted"), "main, same group", times=1.1)
    yield row("  CPU until it is settled", median("agent cold", "cpu_show"), "ms", median("main cold", "cpu_show"),
              "main, same group")
    yield row("  started again, to painted panel", median("agent again", "painted"), "ms",
              median("main again", "painted"), "cobblet show", times=1.1)

    agents = [label for label in results.single if label.startswith("agent idle ")]
    if not agents:
        return
    floor = "agents' floor idle"

    def memory(kind):
        return [mib(label, "memory", kind) for label in agents]

    title = f"own memory of {len(agents)} of them, hidden"
    yield row(title + ", median", statistics.median(memory("anon")), "MiB", mib(floor, "memory", "anon"), "floor",
              times=1.5)
    yield row("  largest", max(memory("anon")), "MiB", mib(floor, "memory", "anon"), "floor", times=1.5)
    yield row("  proportional, median", statistics.median(memory("pss")), "MiB", mib(floor, "memory", "pss"), "floor")
    yield row("  context switches of all in 10 s",
              sum(results.at(label, "switches") * 10 / results.at(label, "seconds") for label in agents), "", at_most=0)


def suggestions(results):
    """Groups that are suggested to made-up people, beside the best of the simple ways to suggest."""
    for seeds in ("final", "tuning"):
        ways = dict(results.at(f"suggestions {seeds}", "ways") or {})
        if not ways:
            continue
        ours, pairs = ways.pop("ours"), ways.pop("pairs alone")
        for quality, of, bound in (("precision", "suggested groups that were planted", 80),
                                   ("recall", "planted groups that were suggested", 70)):
            best = max(ways, key=lambda way, quality=quality: ways[way][quality])
            yield row(f"{of}, {seeds} seeds", ours[quality] * 100, "%", ways[best][quality] * 100, best, at_least=bound)
            yield row("  from the pairs alone", pairs[quality] * 100, "%")
        people = results.at(f"suggestions {seeds}", "unstructured")
        yield row(f"of {people:,} people without habits, those with a suggestion",
                  results.at(f"suggestions {seeds}", "wrong"), "", at_most=0)
        yield row("  from the pairs alone", results.at(f"suggestions {seeds}", "wrong from pairs"), "")


def rows(results):
    median, at, mib = results.median, results.at, results.mebibytes
    request = "request to painted panel, 60 applications"
    show = median("cobblet show", "painted")
    yield row(request, show, "ms", median("floor show key", "painted"), "floor, by key", times=1.3)
    yield row(request, show, "ms", median("floor show", "painted"), "floor, by bus")
    for peer in ("xfce4-appfinder", "jgmenu", "synapse"):
        yield row(request, show, "ms", median(f"{peer} show", "painted"), peer)
    if show is not None:
        yield row("  95th percentile", results.p95("cobblet show", "painted"), "ms")
    yield from entries(results)
    late = median("cobblet show", "late")
    yield row("  painted to settled (fade 180 ms)", late, "ms", at_most=FADE + 3)
    yield row("CPU of a show and a hide", median("cobblet show", "cpu"), "ms", median("synapse show", "cpu"), "synapse",
              times=1)
    cold = median("cobblet cold", "painted")
    yield row("cold start to painted panel", cold, "ms", median("floor cold", "painted"), "floor", times=1.6)
    yield row("cold start to painted panel", cold, "ms", median("synapse cold", "painted"), "synapse", times=1)
    yield row("cold start to painted panel", cold, "ms", median("rofi cold", "painted"), "rofi")
    yield row("selecting a group of 60 to painted", median("cobblet select 60", "painted"), "ms")

    own = mib("cobblet idle", "memory", "anon")
    yield row("own memory, hidden after one show", own, "MiB", mib("floor idle", "memory", "anon"), "floor", times=2)
    for peer in ("xfce4-appfinder", "jgmenu", "synapse"):
        yield row("own memory, hidden after one show", own, "MiB", mib(f"{peer} idle", "memory", "anon"), peer)
    for kind, name in (("pss", "proportional"), ("rss", "resident")):
        yield row(f"{name} memory, hidden after one show", mib("cobblet idle", "memory", kind), "MiB",
                  mib("floor idle", "memory", kind), "floor")
    small, large = (mib(f"cobblet idle {size}", "memory", "anon") for size in ("small", "large"))
    added = large - small if large is not None and small is not None else None
    yield row("own memory that 1,000 groups of 50 add", added, "MiB", at_most=12)
    cycles = at("cobblet cycles", "rounds")
    yield row(f"growth of own memory in {cycles or 1000:,} shows", mib("cobblet cycles", "growth", "anon"), "MiB",
              below=2)
    scale = 10 / (at("cobblet idle", "seconds") or 10)
    switches, cpu = at("cobblet idle", "switches"), at("cobblet idle", "cpu")
    yield row("hidden: context switches in 10 s", switches * scale if switches is not None else None, "", at_most=2)
    yield row("hidden: CPU in 10 s", cpu * scale if cpu is not None else None, "ms", at_most=0.5)

    yield from settings(results)
    yield from standalone(results)
    yield from suggestions(results)

    for name, value in results.micro.items():
        if name.endswith("Peer"):
            continue
        peer = results.micro.get(f"{name}Peer")
        peer_name, times = MICRO_PEERS.get(name, ("plain structs", 1.2)) if peer else ("", None)
        yield row(MICRO_TITLES.get(name, name), value, "ms", peer, peer_name, times=times,
                  at_most=MICRO_TARGETS.get(name))


def print_table(lines):
    lines = [["measure", "Cobblet", "peer", "ratio", "target", ""]] + lines
    widths = [max(len(line[column]) for line in lines) for column in range(len(lines[0]))]
    for at, line in enumerate(lines):
        print("  ".join(cell.ljust(width) for cell, width in zip(line, widths)).rstrip())
        if at == 0:
            print("  ".join("-" * width for width in widths).rstrip())


def main():
    with open(sys.argv[1], encoding="utf-8") as lines:
        results = Results(lines)
    measured = [line for line in rows(results) if line]
    if measured:
        print_table(measured)
        print(f"\nMedians of {results.count('cobblet show', 'painted')} shows, "
              f"{results.count('cobblet cold', 'painted')} cold starts and "
              f"{results.count('cobblet select 60', 'painted')} selections.")
    for label, why in results.failures:
        print(f"could not be measured: {label}: {why}")


main()
