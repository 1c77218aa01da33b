# What the page shows, worked out from what was measured: texts for single figures, and tables.
#
# A table is a list of rows, the first its heads, all of texts. Where a figure is of several rounds, it is their median.

import os

import shared

CLIENTS = (1, 10, 100, 1000)
NAMES = {
    ("direct", "bare"): "bare loop of write(2)",
    ("direct", "broadcast"): "`TDriverEventServer::Broadcast`",
    ("daemon", "-"): "the daemon, the whole path",
    ("acpid", "-"): "acpid",
    ("dbus", "-"): "dbus-daemon",
    ("zeromq", "-"): "ZeroMQ",
}
BARE, BROADCAST, DAEMON = list(NAMES)[:3]
RIVALS = list(NAMES)[3:]


def grouped(number):
    return "{:,.0f}".format(number)


# Nanoseconds for people.
def time_text(nanoseconds):
    # What rounds up to a thousand belongs to the next unit.
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3), ("ns", 1)):
        figure = nanoseconds / size
        if figure >= 0.9995 or unit == "ns":
            decimals = 2 if figure < 9.995 else 1 if figure < 99.95 else 0
            return "{:,.{}f} {}".format(figure, decimals, unit)
    return ""


def percent(share):
    return "%.1f %%" % (100 * share)


class Relay:
    def __init__(self, folder):
        self.rows = shared.read_table(os.path.join(folder, "relay.csv"))
        self.profile = shared.read_table(os.path.join(folder, "relay-profile.csv"))

    def of(self, who, phase, clients):
        return [row for row in self.rows
                if (row["contender"], row["way"], row["phase"], row["clients"]) == (*who, phase, clients)]

    # Deliveries a second.
    def rate(self, who, phase, clients):
        return shared.median([1e9 * row["deliveries"] / row["elapsed ns"] for row in self.of(who, phase, clients)])

    # Nanoseconds of processor time for each.
    def cost(self, who, phase, clients):
        return shared.median([row["processor ns"] / max(1, row["deliveries"]) for row in self.of(who, phase, clients)])

    # Each time that Broadcast was measured, with the bare loop's turn beside it.
    def pairs(self, clients):
        rows = [row for row in self.rows if (row["contender"], row["phase"], row["clients"]) == ("direct", "stream", clients)]
        for first, second in zip(rows[::2], rows[1::2]):
            yield (first, second) if first["way"] == "broadcast" else (second, first)

    # The part of the bare loop's rate that Broadcast reaches, each time against its neighbour.
    def ratio(self, clients):
        return shared.median([(one["deliveries"] / one["elapsed ns"]) / (other["deliveries"] / other["elapsed ns"])
                              for one, other in self.pairs(clients)])

    # The processor time that a delivery takes more, likewise.
    def added(self, clients):
        return shared.median([one["processor ns"] / max(1, one["deliveries"]) - other["processor ns"] / max(1, other["deliveries"])
                              for one, other in self.pairs(clients)])

    def delay(self, who, clients, column):
        return shared.median([row[column] for row in self.of(who, "quiet", clients)])

    # Records a second, as they were posted at the quiet rate.
    def quiet_rate(self, clients):
        return shared.median([1e9 * row["records"] / row["elapsed ns"] for row in self.of(BARE, "quiet", clients)])

    def resident(self, who, clients):
        return shared.median([row["resident KB"] for row in self.of(who, "quiet", clients)])

    def contenders(self, phase):
        return [who for who in NAMES if self.of(who, phase, 1)]

    def table(self, phase, text):
        heads = ["who relays"] + ["%s client%s" % (grouped(clients), "" if clients == 1 else "s") for clients in CLIENTS]
        return [heads] + [[NAMES[who]] + [text(who, clients) for clients in CLIENTS] for who in self.contenders(phase)]

    def rates(self, phase):
        def part(who, clients):
            if (who, phase) == (BROADCAST, "stream"):
                return self.ratio(clients)
            return self.rate(who, phase, clients) / self.rate(BARE, phase, clients)

        return self.table(phase, lambda who, clients: "%s (%.2f)" % (grouped(self.rate(who, phase, clients)), part(who, clients)))

    def costs(self, phase):
        return self.table(phase, lambda who, clients: time_text(self.cost(who, phase, clients)))

    def delays(self):
        return self.table("quiet", lambda who, clients: "%s, %s" % (
            time_text(self.delay(who, clients, "median delay ns")), time_text(self.delay(who, clients, "99th percentile ns"))))

    def memory(self):
        heads = ["who relays", "1 client", "1,000 clients", "for each client more"]
        rows = []
        for who in NAMES:
            few, many = self.resident(who, 1), self.resident(who, 1000)
            rows.append([NAMES[who], grouped(few) + " KB", grouped(many) + " KB", "%.2f KB" % ((many - few) / 999)])
        return [heads] + rows

    def added_table(self):
        return [["", *map(grouped, CLIENTS)],
                ["more than the bare loop, in nanoseconds of processor time a delivery"] +
                ["%.0f" % self.added(clients) for clients in CLIENTS],
                ["of what a delivery costs"] +
                [percent(self.added(clients) / self.cost(BROADCAST, "stream", clients)) for clients in CLIENTS]]

    def counts(self):
        rows = []
        for who in NAMES:
            mine = [row for row in self.rows if (row["contender"], row["way"]) == who]
            rows.append([NAMES[who]] + [grouped(sum(row[column] for row in mine))
                                        for column in ("deliveries", "lost", "out of order")])
        return [["who relays", "deliveries", "lost", "out of order"]] + rows

    # Whether the product delivered everything in order.
    def is_sound(self):
        return all(row["lost"] == 0 and row["out of order"] == 0 for row in self.rows
                   if row["contender"] in ("direct", "daemon"))

    def least_ratio(self):
        return min(self.ratio(clients) for clients in CLIENTS)

    # By how much it is ahead of the best rival, where that is least.
    def least_lead(self, phase):
        return min(self.rate(BROADCAST, phase, clients) / max(self.rate(rival, phase, clients) for rival in RIVALS)
                   for clients in CLIENTS)

    def least_saving(self, phase):
        return min(min(self.cost(rival, phase, clients) for rival in RIVALS) / self.cost(BROADCAST, phase, clients)
                   for clients in CLIENTS)

    # Its greatest cost a delivery to its least, over the numbers of clients.
    def spread(self, who):
        costs = [self.cost(who, "stream", clients) for clients in CLIENTS]
        return max(costs) / min(costs)

    def most_added(self):
        return max(self.added(clients) for clients in CLIENTS)

    # Of the samples, with so many clients, those of the rows that are chosen.
    def sampled(self, clients, chosen):
        return "%.1f %%" % sum(row["percent"] for row in self.profile if row["clients"] == clients and chosen(row))

    def kernel_share(self, clients):
        return self.sampled(clients, lambda row: row["where"] == "kernel") if self.profile else "an unknown part"

    # By where they were taken, and then the functions that most were taken in.
    def profile_table(self):
        if not self.profile:
            return [["where"], ["not known: perf may not look at this kernel"]]

        def row(name, chosen):
            return [name] + [self.sampled(clients, chosen) for clients in (1, 1000)]

        totals = {}
        for entry in self.profile:
            if entry["where"] == "kernel":
                totals[entry["function"]] = max(totals.get(entry["function"], 0), entry["percent"])
        most = sorted(totals, key=totals.get, reverse=True)[:8]
        return ([["where", "1 client", "1,000 clients"],
                 row("the kernel", lambda entry: entry["where"] == "kernel"),
                 row("all that is not the kernel", lambda entry: entry["where"] == "program")] +
                [row("in the kernel: `%s`" % function, lambda entry: entry["function"] == function) for function in most])


class Idle:
    POLLER = 2   # in the order of creation, behind the main thread and the one that accepts clients

    def __init__(self, folder):
        self.threads, self.memory, self.calls, self.polls = (
            shared.read_table(os.path.join(folder, "idle-%s.csv" % part)) for part in ("threads", "memory", "calls", "poll"))

    def cases(self):
        return sorted({(row["program"], row["clients"]) for row in self.memory}, key=lambda case: (case[0] != "halvorixd", case[1]))

    def of(self, rows, case):
        return [row for row in rows if (row["program"], row["clients"]) == case]

    def seconds(self):
        return max(row["seconds"] for row in self.memory)

    def wakeups(self, case, poller):
        return sum(row["voluntary"] for row in self.of(self.threads, case)
                   if (case[0] == "halvorixd" and row["thread"] == self.POLLER) == poller)

    def polls_of(self, case):
        return self.of(self.threads, case)[0]["polls"]

    def run(self, case):
        return sum(row["run ns"] for row in self.of(self.threads, case))

    # By how many kilobytes it grew in the first and in the second half of the time.
    def grown(self, case):
        sizes = [row["resident KB"] for row in self.of(self.memory, case)]
        half = len(sizes) // 2
        return sizes[half] - sizes[0], sizes[-1] - sizes[half]

    def calls_a_poll(self, case):
        rows = self.of(self.calls, case)
        return sum(row["calls"] for row in rows) / max(1, rows[0]["polls"]) if rows else 0

    def table(self):
        heads = ["who", "clients", "seconds", "polls", "wake-ups of the poller", "of all other threads", "processor time a second",
                 "system calls a poll", "resident", "grown in the first half", "in the second"]
        rows = []
        for case in self.cases():
            threads = self.of(self.threads, case)
            ours = case[0] == "halvorixd"
            rows.append([case[0], grouped(case[1]), grouped(threads[0]["seconds"]), grouped(threads[0]["polls"]) if ours else "-",
                         grouped(self.wakeups(case, True)) if ours else "-", grouped(self.wakeups(case, False)),
                         time_text(self.run(case) / threads[0]["seconds"]) if self.run(case) else "none",
                         "%.1f" % self.calls_a_poll(case) if ours else "none" if not self.of(self.calls, case) else "some",
                         grouped(self.of(self.memory, case)[-1]["resident KB"]) + " KB"] +
                        ["%d KB" % size for size in self.grown(case)])
        return [heads] + rows

    def call_table(self):
        rows = sorted(self.of(self.calls, ("halvorixd", 0)), key=lambda row: -row["calls"])
        return [["system call", "a poll"]] + [["`%s`" % row["call"], "%.1f" % (row["calls"] / max(1, row["polls"]))] for row in rows]

    def poll_table(self):
        return [["clients", "a poll", "in the stand-in for the driver and I/O Kit", "the daemon's own"]] + [
            [grouped(row["clients"])] + [time_text(row[column]) for column in ("all ns", "driver ns", "ours ns")]
            for row in self.polls]

    def most_own(self):
        return max(row["ours ns"] for row in self.polls)

    # The poller wakes once a poll and no other thread does.
    def wakes_as_it_should(self):
        ours = [case for case in self.cases() if case[0] == "halvorixd"]
        return all(abs(self.wakeups(case, True) - self.polls_of(case)) <= 1 and self.wakeups(case, False) == 0 for case in ours)

    def wakeups_a_poll(self):
        ours = [case for case in self.cases() if case[0] == "halvorixd"]
        return sum(self.wakeups(case, True) for case in ours) / sum(self.polls_of(case) for case in ours)

    def other_wakeups(self):
        return sum(self.wakeups(case, False) for case in self.cases() if case[0] == "halvorixd")


class Registry:
    def __init__(self, folder):
        self.rows = shared.read_table(os.path.join(folder, "registry.csv"))

    def volumes(self):
        return sorted({row["volumes"] for row in self.rows})

    def figure(self, volumes, column):
        return shared.median([row[column] for row in self.rows if row["volumes"] == volumes])

    # How long the tool runs for an appearance, with its start.
    def tool(self, volumes):
        return shared.median([row["appearance ns"] - row["ours ns"] for row in self.rows if row["volumes"] == volumes])

    def table(self):
        columns = ("appearance ns", "ours ns", "ours at the end ns", "disappearance ns")
        return [["volumes", "an appearance, with the tool's run", "our part of it", "our part over the last tenth",
                 "a disappearance"]] + [
            [grouped(volumes)] + [time_text(self.figure(volumes, column)) for column in columns] for volumes in self.volumes()]


class Rebuild:
    PARTS = ("tools ns", "starting ns", "disk arbitration ns", "frameworks ns", "ours ns")

    def __init__(self, folder):
        self.rows = shared.read_table(os.path.join(folder, "rebuild.csv"))

    def steps(self):
        return list(dict.fromkeys(row["step"] for row in self.rows))

    def figure(self, step, column):
        return shared.median([row[column] for row in self.rows if row["step"] == step])

    def share(self, column):
        return shared.median([row[column] / row["all ns"] for row in self.rows if row["step"] == "all"])

    def table(self):
        return [["step", "all of it", "waiting for tools", "starting them", "Disk Arbitration", "other frameworks", "ours"]] + [
            [step] + [time_text(self.figure(step, column)) if self.figure(step, column) else "-"
                      for column in ("all ns", *self.PARTS)] for step in self.steps()]


class Library:
    def __init__(self, folder):
        self.rows = shared.read_table(os.path.join(folder, "library.csv"))

    def of(self, subject):
        return [row for row in self.rows if row["subject"] == subject]

    def table(self):
        rows = []
        for subject in dict.fromkeys(row["subject"] for row in self.rows):
            mine = self.of(subject)
            ours = next(row["ns"] for row in mine if row["who"] == "ours")
            others = ["%s %s (%.2f)" % (row["who"], time_text(row["ns"]), row["ns"] / ours) for row in mine if row["who"] != "ours"]
            rows.append([subject, mine[0]["of what"], time_text(ours), "; ".join(others)])
        return [["what", "of what", "ours", "others, and how many times ours they take"]] + sorted(rows)

    def ratio(self, subject, other):
        times = {row["who"]: row["ns"] for row in self.of(subject)}
        return times["ours"] / times[other]
