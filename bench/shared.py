# What the measuring scripts share: the simulated Mac, medians, tables of figures in files.

import csv
import os
import statistics
import subprocess

PROJECT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
BUILD = os.path.join(PROJECT, "build", "bench")


# The command that runs a program in a simulated Mac, in a fresh one or in that of a folder.
def in_sandbox(*program, folder=None):
    machine = ["--folder", folder] if folder else ["--machine", "leopard"]
    return [os.path.join(PROJECT, "lab", "sandbox"), *machine, "--build", BUILD, "--", *program]


# Runs it to its end and returns what it prints, a list of fields for each line.
def lines_of(command):
    output = subprocess.run(command, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, check=True).stdout.decode()
    return [line.split(",") for line in output.splitlines()]


def median(figures):
    return statistics.median(figures) if figures else 0


# A table in a file, its first line the names of its columns.
def write_table(file, columns, rows):
    os.makedirs(os.path.dirname(file), exist_ok=True)
    with open(file, "w", newline="") as opened:
        writer = csv.writer(opened, lineterminator="\n")
        writer.writerow(columns)
        writer.writerows(rows)


# Its rows, each a dictionary; what looks like a number is one.
def read_table(file):
    def value(text):
        try:
            return int(text)
        except ValueError:
            pass
        try:
            return float(text)
        except ValueError:
            return text

    with open(file, newline="") as opened:
        return [{name: value(text) for name, text in row.items()} for row in csv.DictReader(opened)]
