# Writes the page from what was measured: `report.py FOLDER PAGE`. The folder holds the tables and receives the plots.
#
# The page's text stands in performance.md.in. There `@name@` is a figure, and a line `@table NAME@` a table; a line that
# begins with `@met NAME@` or `@missed NAME@` stands in the page only when that target was met or missed.

import os
import re
import sys

import figures
import plots
import shared
from figures import grouped, percent, time_text


def table_text(rows):
    lines = ["| " + " | ".join(row) + " |" for row in rows]
    return "\n".join([lines[0], "|" + " --- |" * len(rows[0])] + lines[1:])


# Whether each target was met, and what was measured for it, in words.
def targets(relay, idle, rebuild):
    lead, saving = relay.least_lead("single"), relay.least_saving("single")
    yield ("limit", relay.least_ratio() >= 0.95, "`Broadcast` makes at least 0.95 of the deliveries of the bare loop, at every number of clients",
           "%.3f where it is least" % relay.least_ratio())
    yield ("rate", lead > 1, "it makes more deliveries a second than every rival when each record is delivered as it comes",
           "%.2f times the best rival's where it is least" % lead)
    yield ("cost", saving > 1, "a delivery takes less processor time than with every rival then",
           "the best rival takes %.2f times as much where it is least" % saving)
    yield ("flat", relay.spread(figures.BROADCAST) <= 1.1, "its processor time a delivery is the same from 1 to 1,000 clients, within 10 %",
           "the greatest is %.2f times the least" % relay.spread(figures.BROADCAST))
    yield ("wake-ups", idle.wakes_as_it_should(), "at rest its poller wakes once a poll and no other thread does",
           "%.3f a poll; %d of other threads" % (idle.wakeups_a_poll(), idle.other_wakeups()))
    yield ("poll", idle.most_own() < 50e3, "a poll takes less than 50 µs of its own", "%s at most" % time_text(idle.most_own()))
    yield ("rebuild", rebuild.share("ours ns") < 0.02, "of a rebuild's time less than 2 % is its own", percent(rebuild.share("ours ns")))


def main():
    folder, page = sys.argv[1:3]
    relay = figures.Relay(folder)
    idle = figures.Idle(folder)
    registry = figures.Registry(folder)
    rebuild = figures.Rebuild(folder)
    library = figures.Library(folder)
    plots.draw_all(folder, relay, idle, registry, rebuild)
    results = list(targets(relay, idle, rebuild))
    machine = {row["thing"]: str(row["is"]) for row in shared.read_table(os.path.join(folder, "machine.csv"))}
    met = {name: reached for name, reached, _, _ in results}
    met["md"] = machine["kernel has md"] == "yes"

    tables = {
        "machine": [["what", "is"]] + [list(thing) for thing in machine.items()],
        "targets": [["target", "measured", ""]] + [[what, got, "met" if reached else "missed"] for _, reached, what, got in results],
        "stream": relay.rates("stream"), "stream costs": relay.costs("stream"),
        "single": relay.rates("single"), "single costs": relay.costs("single"),
        "delays": relay.delays(), "memory": relay.memory(), "counts": relay.counts(), "added": relay.added_table(),
        "profile": relay.profile_table(),
        "idle": idle.table(), "calls": idle.call_table(), "polls": idle.poll_table(),
        "registry": registry.table(), "rebuild": rebuild.table(), "library": library.table(),
    }
    values = {
        "load": machine["load before the run"],
        "folder": os.path.basename(folder),
        "idle seconds": grouped(idle.seconds()),
        "quiet rates": ", ".join("%.0f" % relay.quiet_rate(clients) for clients in figures.CLIENTS),
        "batched": time_text(relay.cost(figures.RIVALS[2], "stream", 1000)),
        "one by one": time_text(relay.cost(figures.RIVALS[2], "single", 1000)),
        "one write": time_text(relay.cost(figures.BARE, "stream", 1000)),
        "bare spread": "%.2f" % relay.spread(figures.BARE),
        "most added": "%.0f ns" % relay.most_added(),
        "kernel share": relay.kernel_share(1000),
        "tool's run": time_text(registry.tool(max(registry.volumes()))),
        "most volumes": grouped(max(registry.volumes())),
        "most volumes cost": time_text(registry.figure(max(registry.volumes()), "ours at the end ns")),
        "starting share": percent(rebuild.share("starting ns")), "tools share": percent(rebuild.share("tools ns")),
        "mounting share": percent(rebuild.share("disk arbitration ns")),
        "list ratio": "%.1f" % library.ratio("list read/large", "libplist"),
    }

    lines = []
    with open(os.path.join(os.path.dirname(os.path.abspath(__file__)), "performance.md.in")) as template:
        for line in template.read().splitlines():
            condition = re.match(r"@(met|missed) ([^@]+)@ ?", line)
            if condition:
                if met[condition.group(2)] != (condition.group(1) == "met"):
                    continue
                line = line[condition.end():]
            whole = re.fullmatch(r"@table ([^@]+)@", line)
            lines.append(table_text(tables[whole.group(1)]) if whole else
                         re.sub(r"@([^@]+)@", lambda match: values[match.group(1)], line))
    with open(page, "w") as opened:
        opened.write("\n".join(lines) + "\n")
    if not relay.is_sound():
        sys.exit("report: the product lost records or changed their order; see %s" % page)


main()
