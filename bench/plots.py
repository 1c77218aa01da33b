# Draws the plots of the page. Each is made of a table of its own, which stands beside it under the same name.

import os
import subprocess

import shared
from figures import BARE, BROADCAST, CLIENTS, DAEMON, NAMES

SETTINGS = """
set terminal svg size 800,480 noenhanced font "sans-serif,13" background "white"
set datafile separator comma
set key outside top center horizontal maxrows 2
set grid
set encoding utf8
set linetype 1 linecolor "#555555"
set linetype 2 linecolor "#c1272d"
set linetype 3 linecolor "#0072b2"
set linetype 4 linecolor "#e69f00"
set linetype 5 linecolor "#009e73"
set linetype 6 linecolor "#8040c0"
"""
CLIENT_AXIS = """
set logscale xy
set xlabel "clients"
set xrange [0.7:1500]
"""


# A contender's name where there is little room.
def short(who):
    return {BARE: "bare loop", BROADCAST: "Broadcast", DAEMON: "daemon"}.get(who, NAMES[who])


# Draws a table's columns against its first one.
def draw(folder, name, heads, rows, settings, style="linespoints linewidth 2 pointtype 7 pointsize 0.6"):
    table = os.path.join(folder, name + ".csv")
    shared.write_table(table, heads, rows)
    curves = ", ".join("'%s' using 1:%d with %s title \"%s\"" % (table, column + 2, style, head)
                       for column, head in enumerate(heads[1:]))
    script = SETTINGS + "set output '%s'\n" % os.path.join(folder, name + ".svg") + settings + "plot " + curves + "\n"
    subprocess.run(["gnuplot"], input=script.encode(), check=True)


# One curve for each contender that went through the phase.
def draw_relay(folder, name, relay, phase, figure, settings):
    contenders = relay.contenders(phase)
    draw(folder, name, ["clients"] + [short(who) for who in contenders],
         [[clients] + ["%.3f" % figure(who, clients) for who in contenders] for clients in CLIENTS], CLIENT_AXIS + settings)


def draw_memory(folder, idle):
    cases = idle.cases()
    columns = [idle.of(idle.memory, case) for case in cases]
    length = min(map(len, columns))
    rows = [[columns[0][i]["seconds"]] + [column[i]["resident KB"] for column in columns] for i in range(length)]
    draw(folder, "idle-growth", ["seconds"] + ["%s, %d clients" % case for case in cases], rows,
         'set xlabel "seconds"\nset ylabel "resident, KB"\nset yrange [0:*]\n', "lines linewidth 2")


def draw_registry(folder, registry):
    rows = [[volumes, registry.figure(volumes, "ours at the end ns") / 1e3, registry.figure(volumes, "disappearance ns") / 1e3]
            for volumes in registry.volumes()]
    draw(folder, "registry-growth", ["volumes", "appearance, without the tool", "disappearance"], rows,
         'set logscale xy\nset xlabel "volumes"\nset ylabel "microseconds"\n')


def draw_rebuild(folder, rebuild):
    heads = ["step", "tools", "starting tools", "Disk Arbitration", "other frameworks", "ours"]
    rows = [[step] + ["%.3f" % (rebuild.figure(step, part) / 1e6) for part in rebuild.PARTS] for step in rebuild.steps()
            if step != "all"]
    table = os.path.join(folder, "rebuild-steps.csv")
    shared.write_table(table, heads, rows)
    curves = ", ".join("'%s' using %d%s title \"%s\"" % (table, column, ":xtic(1)" if column == 2 else "", head)
                       for column, head in enumerate(heads[1:], 2))
    script = SETTINGS + "set output '%s'\n" % os.path.join(folder, "rebuild-steps.svg") + """
set style data histogram
set style histogram rowstacked
set style fill solid 0.8
set boxwidth 0.7
set xtics rotate by -25
set ylabel "milliseconds"
plot """ + curves + "\n"
    subprocess.run(["gnuplot"], input=script.encode(), check=True)


def draw_all(folder, relay, idle, registry, rebuild):
    draw_relay(folder, "relay-rates", relay, "stream", lambda who, clients: relay.rate(who, "stream", clients),
               'set ylabel "deliveries a second"\n')
    draw_relay(folder, "relay-rates-one-by-one", relay, "single", lambda who, clients: relay.rate(who, "single", clients),
               'set ylabel "deliveries a second"\n')
    draw_relay(folder, "relay-costs", relay, "stream", lambda who, clients: relay.cost(who, "stream", clients) / 1e3,
               'set ylabel "processor time a delivery, microseconds"\n')
    draw_relay(folder, "relay-delays", relay, "quiet",
               lambda who, clients: relay.delay(who, clients, "median delay ns") / 1e3,
               'set ylabel "median delay, microseconds"\n')
    draw_memory(folder, idle)
    draw_registry(folder, registry)
    draw_rebuild(folder, rebuild)
