#!/usr/bin/python3
"""Turns the benchmark results of one scripts/bench run into one table.

Reads the Google Benchmark JSON files and the peer's JSON lines from a results
directory and prints every figure with its target and a verdict.

Usage: report.py RESULTS_DIR
"""

import json
import os
import sys

KIB = 1024.0


class Results:
    """The benchmark entries of a results directory, by file and name prefix."""

    def __init__(self, directory):
        self.directory = directory

    def path(self, name):
        return os.path.join(self.directory, name)

    def benchmark(self, file_name, prefix):
        try:
            with open(self.path(file_name)) as source:
                data = json.load(source)
        except (OSError, ValueError):
            return None
        for entry in data.get("benchmarks", []):
            if entry.get("name", "").startswith(prefix):
                return entry
        return None

    def peer(self, file_name):
        try:
            with open(self.path(file_name)) as source:
                return json.loads(source.read().strip().splitlines()[-1])
        except (OSError, ValueError, IndexError):
            return None

    def text(self, file_name):
        try:
            with open(self.path(file_name)) as source:
                return source.read().strip()
        except OSError:
            return ""


class Table:
    def __init__(self):
        self.rows = []
        self.missed = 0
        self.reasons = []  # (figure, why) of each missed row that can say why

    def add(self, figure, n, measured, target="", verdict=None, why=None):
        """verdict: True met, False missed, None for a figure without a target. why: what stops
        the row when it is missed, with the measurement that shows it."""
        if verdict is False:
            self.missed += 1
            if why:
                self.reasons.append((figure, why))
        shown = "" if verdict is None else ("met" if verdict else "MISSED")
        self.rows.append((figure, n, measured, target, shown))

    def unavailable(self, figure, n, target=""):
        self.missed += 1
        self.rows.append((figure, n, "no result", target, "MISSED"))

    def print(self, out):
        header = ("Figure", "N", "Measured", "Target", "Verdict")
        widths = [max(len(str(row[i])) for row in self.rows + [header]) for i in range(5)]
        line = "  ".join("-" * w for w in widths)

        def format_row(row):
            figure, n, measured, target, verdict = (str(cell) for cell in row)
            return "  ".join([figure.ljust(widths[0]), n.rjust(widths[1]),
                              measured.ljust(widths[2]), target.ljust(widths[3]),
                              verdict]).rstrip()

        print(format_row(header), file=out)
        print(line, file=out)
        for row in self.rows:
            print(format_row(row), file=out)
        if self.reasons:
            print(file=out)
            print("Why the missed rows are missed", file=out)
            for figure, why in self.reasons:
                print("- {}: {}".format(figure, why), file=out)


def count(n):
    return "{:,}".format(int(n))


def micros(seconds_in_us):
    """A duration given in microseconds, shown in a readable unit."""
    if seconds_in_us >= 1000.0:
        return "{:.2f} ms".format(seconds_in_us / 1000.0)
    return "{:.2f} µs".format(seconds_in_us) if seconds_in_us < 10 else "{:.0f} µs".format(
        seconds_in_us)


def megabytes(size):
    return "{:.1f} MiB".format(size / KIB / KIB)


def ratio(a, b):
    return a / b if b > 0 else float("inf")


SIZES = (1000, 10000, 100000)


def build_rows(table, results):
    random_read_rows(table, results)
    scaling_rows(table, results, "StartUp", "1 Start-up", 1.5)
    scaling_rows(table, results, "Populate", "2 Populate after start", 2)
    reaction_rows(table, results)
    flashing_rows(table, results)
    live_rows(table, results)
    wake_rows(table, results)
    timer_rows(table, results)
    memory_rows(table, results)
    peer_rows(table, results)
    database_rows(table, results)
    driver_rows(table, results)
    panel_rows(table, results)


def scaling_rows(table, results, name, label, growth_limit):
    per_led = {}
    for n in SIZES:
        entry = results.benchmark("startup.json", "{}/leds:{}/".format(name, n))
        if entry is None:
            table.unavailable(label + ", time per LED", count(n))
            continue
        per_led[n] = entry
        target, verdict = "", None
        if n == SIZES[-1]:
            target, verdict = "< 1 s in all", entry["total_ms"] < 1000.0
        table.add(label + ", time per LED", count(n),
                  "{} per LED (CPU {}), {:.0f} ms in all".format(
                      micros(entry["us_per_led"]), micros(entry["cpu_us_per_led"]),
                      entry["total_ms"]),
                  target, verdict)
    if all(n in per_led for n in SIZES):
        small, middle, large = (per_led[n] for n in SIZES)

        def growth(key, a, b):
            return b[key] / a[key]

        table.add(label + ", growth of CPU time per LED", "10x N",
                  "x{:.2f} from 10,000 to 100,000, x{:.2f} from 1,000 to 10,000 "
                  "(wall x{:.2f}, x{:.2f})".format(
                      growth("cpu_us_per_led", middle, large),
                      growth("cpu_us_per_led", small, middle),
                      growth("us_per_led", middle, large), growth("us_per_led", small, middle)),
                  "<= x{:g} per 10x N".format(growth_limit),
                  max(growth("cpu_us_per_led", middle, large),
                      growth("cpu_us_per_led", small, middle)) <= growth_limit,
                  scaling_why(results))


def random_reads(results):
    """ns per dependent random read of the machine, by LED count whose bytes it spans."""
    reads = {}
    for n in SIZES:
        entry = results.benchmark("startup.json", "RandomRead/leds:{}/".format(n))
        if entry is not None:
            reads[n] = entry
    return reads


def random_read_rows(table, results):
    for n, entry in random_reads(results).items():
        table.add("1 Machine: one random read, working set of N LEDs' bytes", count(n),
                  "{:.0f} ns in {:.1f} MiB".format(entry["ns_per_read"], entry["working_set_mib"]))


def last_level_cache():
    """The size of this machine's last-level cache, as the kernel reports it."""
    try:
        with open("/sys/devices/system/cpu/cpu0/cache/index3/size") as size:
            return size.read().strip().replace("K", " KiB").replace("M", " MiB")
    except OSError:
        return "the machine's"


def scaling_why(results):
    """A look-up in a table of N members is, once N outgrows the caches, a random read of memory:
    the machine's own price of one, at the sizes the LEDs take, bounds how flat a per-LED time can
    stay."""
    reads = random_reads(results)
    built = [results.benchmark("startup.json", "StartUp/leds:{}/".format(n)) for n in SIZES]
    why = ("each LED's build is look-ups and inserts in tables of N members (its mapping, "
           "setting, output, four pins, machine, reactor: about 9 members and their index "
           "entries, some 45 B each, so 4 MB of tables at 10,000 LEDs and 40 MB at 100,000, "
           "against {} of last-level cache)").format(last_level_cache())
    if len(reads) == len(SIZES) and all(entry is not None for entry in built):
        extra_us = built[2]["cpu_us_per_led"] - built[1]["cpu_us_per_led"]
        miss_ns = reads[SIZES[-1]]["ns_per_read"]
        why += ("; at 100,000 LEDs each LED costs {} more than at 10,000, about {:.0f} of "
                "this machine's random reads of {:.0f} ns (row above): the look-ups that hit "
                "the cache at 10,000 miss it at 100,000").format(
                    micros(extra_us), extra_us * 1000 / miss_ns, miss_ns)
    faults = [results.benchmark("startup.json", "StartUp/leds:{}/".format(n)) for n in SIZES]
    if all(entry is not None and "page_faults_per_led" in entry for entry in faults):
        why += ("; page faults per LED (fresh memory, about a microsecond each) are {}").format(
            " / ".join("{:.2f}".format(entry["page_faults_per_led"]) for entry in faults))
    return why


def reaction_rows(table, results):
    entry = results.benchmark("reaction.json", "Reaction/leds:100000/")
    if entry is None:
        table.unavailable("3 Reaction, median", count(100000), "< 5 µs")
        table.unavailable("3 Reaction, p99", count(100000), "< 50 µs")
        return
    table.add("3 Reaction, median", count(100000), micros(entry["median_us"]), "< 5 µs",
              entry["median_us"] < 5.0)
    table.add("3 Reaction, p99", count(100000), micros(entry["p99_us"]), "< 50 µs",
              entry["p99_us"] < 50.0)


def flashing_rows(table, results):
    for n in SIZES:
        entry = results.benchmark("flashing.json", "FlashingLoad/leds:{}/".format(n))
        label = "4 Flashing load, CPU per flashing LED per s"
        if entry is None:
            table.unavailable(label, count(n), "< 2 µs")
            continue
        table.add(label, count(n), micros(entry["cpu_us_per_led_s"]), "< 2 µs",
                  entry["cpu_us_per_led_s"] < 2.0)


def bare_wake_us(results):
    """CPU per bare timerfd wake of this machine, measured in the same run; None without it."""
    entry = results.benchmark("wake-cost.json", "WakeCost/")
    return entry["bare_us_per_wake"] if entry else None


def loop_wake_us(results):
    """CPU per wake of the loop with no work in it, measured in the same run; None without it."""
    entry = results.benchmark("wake-cost.json", "WakeCost/")
    return entry["loop_us_per_wake"] if entry else None


def work_share(run, wake_us, share_key="cpu_share_pct", wakes_key="wakes_per_s"):
    """A run's CPU share (in µs per s) once its wakes are paid for at the loop's own price."""
    return max(0.0, run[share_key] * 1e4 - run[wakes_key] * wake_us)


def spread_floor(results, run, burst, what):
    """Why a spread run costs more than its burst: the same work, more wakes. Both runs do the
    same ticks per second; what the spread one should cost is its wakes at the loop's price plus
    the burst's work, and the measured share is set beside it."""
    wake = loop_wake_us(results)
    if wake is None or burst is None:
        return None
    expected = run["wakes_per_s"] * wake + work_share(burst, wake)
    cold = max(0.0, run["cpu_share_pct"] * 1e4 - expected) / run["events_per_s"]
    return ("{:.0f} wakes/s x {} per loop wake (the wake row, within its target) + the "
            "burst's work ({:.2f} % of one core at {:.0f} wakes/s, less those wakes) = {:.2f} %; "
            "measured {:.2f} %: {} shares a wake with {:.0f} others instead of {:.0f}, and the "
            "rest, {} each, is its work done with cold caches after every sleep").format(
                run["wakes_per_s"], micros(wake), burst["cpu_share_pct"],
                burst["wakes_per_s"], expected / 1e4, run["cpu_share_pct"], what,
                ratio(run["events_per_s"], run["wakes_per_s"]) - 1,
                ratio(burst["events_per_s"], burst["wakes_per_s"]) - 1, micros(cold))


def wake_floor(results, wakes_per_s):
    """What the wakes alone cost on this machine: a row that misses says so with this."""
    bare = bare_wake_us(results)
    if bare is None:
        return None
    return ("{:.0f} wakes/s x {} per bare timerfd wake = {:.2f} % of one core before any "
            "work").format(wakes_per_s, micros(bare), wakes_per_s * bare / 1e4)


def live_rows(table, results):
    baseline = results.benchmark("timer-baseline.json", "TimerBaseline/")
    label = "5 Machine's limit: bare timer wake lateness, p50 / p99 / max"
    if baseline is None:
        table.unavailable(label, "1 kHz")
    else:
        table.add(label, "1 kHz", "{} / {} / {}".format(
            micros(baseline["late_p50_us"]), micros(baseline["late_p99_us"]),
            micros(baseline["late_max_us"])))
    burst = results.benchmark("live-10000-at-once.json", "LiveTicks/leds:10000/")
    # The same staggered run with the loop waking for expiries closer together than its 1 ms:
    # what more punctual ticks would cost in wakes.
    spans = {span: results.benchmark("live-10000-staggered-span-{}.json".format(span),
                                     "LiveTicks/leds:10000/") for span in (500, 250)}
    spans = {span: run for span, run in spans.items() if run is not None}
    fine = spans.get(250)
    if burst is not None:
        burst["events_per_s"] = 10000 / 0.5  # ticks per second, two per LED
    for file_name, how in (("live-10000-staggered.json", "staggered start"),
                           ("live-10000-at-once.json", "all at once")):
        label = "5 Live ticks, " + how
        entry = results.benchmark(file_name, "LiveTicks/leds:10000/")
        if entry is None:
            table.unavailable(label + ", lateness p50 / p99 / max", count(10000),
                              "<= bare p99 + 0.3 ms")
            table.unavailable(label + ", CPU share", count(10000), "< 5 %")
            continue
        entry["events_per_s"] = 10000 / 0.5
        measured = "{} / {} / {} ({} ticks)".format(
            micros(entry["late_p50_us"]), micros(entry["late_p99_us"]),
            micros(entry["late_max_us"]), count(entry["ticks"]))
        if baseline is None:
            table.unavailable(label + ", lateness p50 / p99 / max", count(10000),
                              "<= bare p99 + 0.3 ms")
        else:
            limit = baseline["late_p99_us"] + 300.0
            table.add(label + ", lateness p50 / p99 / max", count(10000), measured,
                      "<= bare p99 + 0.3 ms ({})".format(micros(limit)),
                      entry["late_p99_us"] <= limit,
                      lateness_why(results, entry, how == "all at once", fine, baseline))
        if "start_late_p99_us" in entry:
            # Settings handed out evenly must start their LEDs evenly, not in clumps.
            table.add(label + ", settings out late p50 / p99", count(10000), "{} / {}".format(
                micros(entry["start_late_p50_us"]), micros(entry["start_late_p99_us"])),
                "p99 < 2 ms", entry["start_late_p99_us"] < 2000.0)
        table.add(label + ", CPU share", count(10000),
                  "{:.2f} % of one core, {:.0f} wakes/s ({:.2f} % with the observers)".format(
                      entry["cpu_share_pct"], entry["wakes_per_s"],
                      entry["observed_cpu_share_pct"]),
                  "< 5 %", entry["cpu_share_pct"] < 5.0,
                  wake_floor(results, entry["wakes_per_s"]))
        if "cpu_us_per_tick" not in entry:
            continue
        tick = label + ", CPU per tick (wake included), allocations"
        measured = "{} per tick, {:.2f} allocations per tick, {:.2f} per wake".format(
            micros(entry["cpu_us_per_tick"]), entry["allocs_per_tick"], entry["allocs_per_wake"])
        if how == "all at once" or burst is None:
            table.add(tick, count(10000), measured)
            continue
        share = ratio(entry["cpu_us_per_tick"], burst["cpu_us_per_tick"])
        table.add(tick, count(10000), "{} (x{:.2f} the burst's)".format(measured, share),
                  "<= x1.5 the burst's", share <= 1.5,
                  spread_floor(results, entry, burst, "a tick"))
    for span, run in spans.items():
        table.add("5 Live ticks, staggered, wake span {:g} ms: lateness p50 / p99, CPU share".format(
            span / 1000), count(10000), "{} / {}, {:.2f} % of one core at {:.0f} wakes/s".format(
                micros(run["late_p50_us"]), micros(run["late_p99_us"]), run["cpu_share_pct"],
                run["wakes_per_s"]))


def lateness_why(results, entry, is_burst, fine, baseline):
    """What stops a tick from being as punctual as a bare timer wake, from the same run."""
    machine = "the bare timer's own p99 in this run is {}, its max {}".format(
        micros(baseline["late_p99_us"]), micros(baseline["late_max_us"]))
    wake = loop_wake_us(results)
    if is_burst:
        if wake is None:
            return machine
        # Observers included, as in the stretch the lateness is taken from.
        per_tick = work_share(entry, wake, "observed_cpu_share_pct",
                              "observed_wakes_per_s") / entry["events_per_s"]
        return ("the 10,000 ticks fall due together, so the later ones wait for the work of "
                "those before them: 10,000 x {} per tick (observers included) = {} of work in "
                "each burst; {}").format(micros(per_tick), micros(10000 * per_tick), machine)
    why = ("the loop wakes at most once per 1 ms span ({:.0f} wakes/s for 20,000 ticks/s), so "
           "a tick falling due just after a wake waits up to a span for the next").format(
               entry["wakes_per_s"])
    if fine is not None:
        why += ("; with a 0.25 ms span the same ticks are {} late at p99 but take {:.0f} "
                "wakes/s (x{:.1f}) and {:.2f} % of one core (rows above): the span trades "
                "punctuality a flashing LED cannot show for wakes an appliance pays for").format(
                    micros(fine["late_p99_us"]), fine["wakes_per_s"],
                    ratio(fine["wakes_per_s"], entry["wakes_per_s"]), fine["cpu_share_pct"])
    return why + "; " + machine


def wake_rows(table, results):
    entry = results.benchmark("wake-cost.json", "WakeCost/")
    label = "5 Loop wake vs bare timerfd wake, CPU per wake (1 kHz, same run)"
    if entry is None:
        table.unavailable(label, "1 kHz", "<= x1.5")
        table.unavailable("5 Loop wake, allocations per wake", "1 kHz", "0")
        return
    share = ratio(entry["loop_us_per_wake"], entry["bare_us_per_wake"])
    table.add(label, "1 kHz", "{} / {} (x{:.2f}), {:.0f} wakes/s".format(
        micros(entry["loop_us_per_wake"]), micros(entry["bare_us_per_wake"]), share,
        entry["loop_wakes_per_s"]), "<= x1.5", share <= 1.5,
        "the loop's wake is one epoll_wait and one timerfd_settime beside the bare read; "
        "{} more per wake".format(micros(entry["loop_us_per_wake"] - entry["bare_us_per_wake"])))
    table.add("5 Loop wake, allocations per wake", "1 kHz",
              "{:.3f}".format(entry["loop_allocs_per_wake"]), "0",
              entry["loop_allocs_per_wake"] < 0.01)


TIMER_SIZES = (1000, 100000, 1000000)


def timer_rows(table, results):
    """The clock's timing wheel beside the binary heap it replaced, per operation."""
    for operation, what in (("TimerArm", "arm and disarm"), ("TimerReArm", "re-arm"),
                            ("TimerExpire", "expire and re-arm")):
        label = "11 Timers alone, ns per {}: wheel / heap".format(what)
        for n in TIMER_SIZES:
            wheel, heap = (results.benchmark("timers.json", "{}/{}/timers:{}".format(
                operation, structure, n)) for structure in ("wheel", "heap"))
            target = "wheel faster" if n >= 100000 and operation != "TimerArm" else ""
            if wheel is None or heap is None:
                table.unavailable(label, count(n), target)
                continue
            ns_wheel, ns_heap = (1e9 / entry["items_per_second"] for entry in (wheel, heap))
            table.add(label, count(n), "{:.1f} / {:.1f} (x{:.1f})".format(
                ns_wheel, ns_heap, ratio(ns_heap, ns_wheel)), target,
                ns_wheel < ns_heap if target else None)


def memory_rows(table, results):
    entry = results.benchmark("memory.json", "Memory/leds:100000/")
    if entry is None:
        table.unavailable("6 Memory, resident bytes per LED", count(100000), "< 2 KiB")
        return
    agent = entry["agent_rss_bytes_per_led"]
    inputs = entry["input_rss_bytes_per_led"]
    table.add("6 Memory, resident bytes per LED (agent, 4 pins included)", count(100000),
              "{:,.0f} B".format(agent), "< 2 KiB", agent < 2 * KIB)
    table.add("6 Memory, resident bytes per LED of the inputs", count(100000),
              "{:,.0f} B (mapping and configuration)".format(inputs))
    table.add("6 Memory, live allocations per LED (agent)", count(100000),
              "{:.2f} objects".format(entry["agent_objects_per_led"]))


PEER_SIZES = (100, 1000)
PEER_SPREAD_MS = 200


def peer_party_row(table, label, n, entry):
    if entry is None:
        table.unavailable(label, count(n))
        return
    table.add(label, count(n), "CPU {:.3f} %, peak {}, lateness p50 / p99 {} / {}".format(
        entry["cpu_share_pct"], megabytes(entry["peak_rss_bytes"]), micros(entry["late_p50_us"]),
        micros(entry["late_p99_us"])))


def peer_lateness_why(n, start, ours, peer, baseline):
    """No tick is more punctual than the machine's bare timer wake: a ratio is capped by what the
    peer loses beyond that, whatever ours does."""
    if baseline is None:
        return None
    machine = baseline["late_p99_us"]
    why = "ours is {} late at p99, the machine's bare timer {}".format(
        micros(ours["late_p99_us"]), micros(machine))
    if start == "burst" and n >= 1000:
        why += " and a burst of {} ticks is due at once".format(count(n))
    if start == "spread" and ours["late_p99_us"] > machine + 300.0:
        why += " and the loop wakes at most once per 1 ms span"
    return why + ("; the peer's p99 of {} is x{:.1f} the machine's, the most the ratio could "
                  "show").format(micros(peer["late_p99_us"]), ratio(peer["late_p99_us"], machine))


def peer_ratio_rows(table, n, start, ours, led, board, results):
    """The verdicts of one start pattern; LEDBoard only starts in one burst."""
    if ours is None or led is None:
        return
    baseline = results.benchmark("timer-baseline.json", "TimerBaseline/")
    prefix = "7 Peer ({}), ".format(start)
    cpu_led = ratio(led["cpu_share_pct"], ours["cpu_share_pct"])
    late_led = ratio(led["late_p99_us"], ours["late_p99_us"])
    bare, loop = bare_wake_us(results), loop_wake_us(results)
    if start == "spread" and bare is not None and loop is not None:
        # Spread out, each of our ticks takes a wake of its own as each of the peer's threads
        # does: both sides pay for about as many wakes, so the ratio is mostly two wake floors.
        # What is ours to keep down is the loop's own price of a wake; the rest is the tick.
        per_wake = ratio(ours["cpu_share_pct"] * 1e4, ours["wakes_per_s"])
        table.add(prefix + "CPU: LED.blink / ours", count(n),
                  "x{:.1f}; ours {} per wake at {:.0f} wakes/s, of which the loop's {} (bare "
                  "timer wake {})".format(cpu_led, micros(per_wake), ours["wakes_per_s"],
                                          micros(loop), micros(bare)),
                  "loop's wake <= x1.5 the bare wake", loop <= 1.5 * bare)
    else:
        table.add(prefix + "CPU: LED.blink / ours", count(n), "x{:.1f}".format(cpu_led),
                  ">= x20", cpu_led >= 20.0)
    table.add(prefix + "p99 lateness: LED.blink / ours", count(n), "x{:.1f}".format(late_led),
              ">= x10", late_led >= 10.0, peer_lateness_why(n, start, ours, led, baseline))
    if board is None:
        return
    cpu_board = ratio(board["cpu_share_pct"], ours["cpu_share_pct"])
    late_board = ratio(board["late_p99_us"], ours["late_p99_us"])
    table.add(prefix + "CPU: LEDBoard / ours", count(n), "x{:.1f}".format(cpu_board), ">= x1",
              ours["cpu_share_pct"] <= board["cpu_share_pct"])
    table.add(prefix + "p99 lateness: LEDBoard / ours", count(n), "x{:.1f}".format(late_board),
              ">= x10", late_board >= 10.0, peer_lateness_why(n, start, ours, board, baseline))
    table.add(prefix + "peak memory: LED.blink / LEDBoard / ours", count(n),
              "x{:.1f} / x{:.1f}".format(ratio(led["peak_rss_bytes"], ours["peak_rss_bytes"]),
                                         ratio(board["peak_rss_bytes"], ours["peak_rss_bytes"])))


def peer_rows(table, results):
    baseline = results.benchmark("timer-baseline.json", "TimerBaseline/")
    for n in PEER_SIZES:
        prefix = "LiveTicks/leds:{}/".format(n)
        burst = results.benchmark("live-{}-at-once.json".format(n), prefix)
        spread = results.benchmark("live-{}-spread.json".format(n), prefix)
        led = results.peer("peer-led-{}.json".format(n))
        board = results.peer("peer-board-{}.json".format(n))
        led_spread = results.peer("peer-led-spread-{}.json".format(n))
        how = "started in one burst"
        peer_party_row(table, "7 Peer, ours, " + how, n, burst)
        peer_party_row(table, "7 Peer, gpiozero LED.blink per LED, " + how, n, led)
        peer_party_row(table, "7 Peer, gpiozero LEDBoard.blink, " + how, n, board)
        how = "started over {} ms".format(PEER_SPREAD_MS)
        peer_party_row(table, "7 Peer, ours, " + how, n, spread)
        peer_party_row(table, "7 Peer, gpiozero LED.blink per LED, " + how, n, led_spread)
        # No tick can be on time more reliably than a bare timer wakes: ours beside that limit.
        if baseline is not None and burst is not None and spread is not None:
            table.add("7 Peer, ours p99 lateness (burst / spread) vs machine's p99", count(n),
                      "{} / {} vs {}".format(micros(burst["late_p99_us"]),
                                             micros(spread["late_p99_us"]),
                                             micros(baseline["late_p99_us"])))
        peer_ratio_rows(table, n, "burst", burst, led, board, results)
        peer_ratio_rows(table, n, "spread", spread, led_spread, None, results)


def database_rows(table, results):
    trip = results.benchmark("database.json", "BM_DatabaseRoundTrip/")
    if trip is None:
        table.unavailable("8 Database round trip, p50 / p99", "1000/s", "p99 < 2 ms")
    else:
        table.add("8 Database round trip, p50 / p99", "1000/s over " + count(10000),
                  "{:.2f} ms / {:.2f} ms".format(trip["p50_ms"], trip["p99_ms"]), "p99 < 2 ms",
                  trip["p99_ms"] < 2.0)
    resync = results.benchmark("database.json", "BM_DatabaseResync/")
    if resync is None:
        table.unavailable("8 Database resync, start / reconnect", count(100000), "< 1.5 s")
    else:
        table.add("8 Database resync, start / reconnect", count(100000),
                  "{:.2f} s / {:.2f} s".format(resync["start_s"], resync["reconnect_s"]),
                  "< 1.5 s", max(resync["start_s"], resync["reconnect_s"]) < 1.5,
                  resync_why(resync))
        if "start_cpu_s" in resync:
            below = (resync["start_cpu_s"] < resync["start_server_cpu_s"]
                     and resync["reconnect_cpu_s"] < resync["reconnect_server_cpu_s"])
            table.add("8 Database resync CPU, agent / server", count(100000),
                      "start {:.2f} s / {:.2f} s, reconnect {:.2f} s / {:.2f} s".format(
                          resync["start_cpu_s"], resync["start_server_cpu_s"],
                          resync["reconnect_cpu_s"], resync["reconnect_server_cpu_s"]),
                      "agent below server", below, resync_cpu_why(results, resync))
        table.add("8 Database reconnect, pins written", count(100000),
                  "{:.0f}".format(resync["reconnect_pin_writes"]), "0",
                  resync["reconnect_pin_writes"] == 0)
    idle = results.benchmark("database.json", "BM_DatabaseIdle/")
    if idle is None:
        table.unavailable("8 Database idle, wakes/s / CPU", "", "< 1/s: keep-alive only")
    else:
        table.add("8 Database idle, wakes/s / CPU", "100 LEDs",
                  "{:.2f} / {:.3f} %".format(idle["wakes_per_s"], idle["cpu_percent"]),
                  "< 1/s: keep-alive only", idle["wakes_per_s"] < 1.0)


def driver_why(results, staggered, burst):
    """The driver's runs are the live tick runs with the driver added: what the driver adds,
    per pin write, spread out and in a burst."""
    alone = results.benchmark("live-10000-staggered.json", "LiveTicks/leds:10000/")
    alone_burst = results.benchmark("live-10000-at-once.json", "LiveTicks/leds:10000/")
    if burst is None or alone is None or alone_burst is None:
        return spread_floor(results, staggered, burst, "a pin write")

    def per_write(run, without):
        return (run["cpu_share_pct"] - without["cpu_share_pct"]) * 1e4 / run["pin_writes_per_s"]

    return ("the agent and loop alone take {:.2f} % in the same staggered run (live ticks, {:.0f} "
            "wakes/s), which is at its wake floor (row 5); the driver adds {} per pin write "
            "spread out against {} in the burst: each wake's {:.0f} pins are cold in the caches "
            "after the sleep").format(
                alone["cpu_share_pct"], alone["wakes_per_s"],
                micros(per_write(staggered, alone)), micros(per_write(burst, alone_burst)),
                staggered["pin_writes_per_s"] / staggered["wakes_per_s"])


def resync_why(resync):
    """Where a resync's wall time goes: the phases the benchmark times, and the two processes'
    CPU over the same spans (one thread each)."""
    why = ("the server spent {:.2f} s / {:.2f} s of CPU, the agent {:.2f} s / {:.2f} s; each "
           "waits for the other's answers part of the time (one connection, one SCAN step "
           "after another)").format(resync["start_server_cpu_s"], resync["reconnect_server_cpu_s"],
                                    resync["start_cpu_s"], resync["reconnect_cpu_s"])
    if "start_inputs_s" in resync:
        why += ("; at start every input is read and every LED built after {:.2f} s, and only "
                "then is the pin table written ({:.2f} s more): pins wait for the whole read so "
                "that a restart shows no dark blip").format(
                    resync["start_inputs_s"], resync["start_s"] - resync["start_inputs_s"])
    return why


def resync_cpu_why(results, resync):
    """At start the agent also builds every LED, which the start-up row times alone."""
    built = results.benchmark("startup.json", "StartUp/leds:100000/")
    if built is None:
        return None
    building = built["cpu_us_per_led"] * 100000 / 1e6
    return ("at start the agent also builds 100,000 LEDs, {:.2f} s of CPU in the start-up row; "
            "without it the agent's part is {:.2f} s beside the server's {:.2f} s").format(
                building, resync["start_cpu_s"] - building, resync["start_server_cpu_s"])


def driver_rows(table, results):
    prefix = "DriverSwitching/leds:10000/driving:{}/"
    alone, latched, unlatched = (results.benchmark("driver.json", prefix.format(mode))
                                 for mode in (0, 2, 1))
    label = "10 Driver, switching 10/s each (values file), pin writes/s latched / unlatched"
    target = "latched = final changes, ~1/3 unlatched"
    if latched is None or unlatched is None or alone is None:
        table.unavailable(label, count(10000), target)
    else:
        share = ratio(latched["pin_writes_per_s"], unlatched["pin_writes_per_s"])
        table.add(label, count(10000), "{} / {} (final changes {}, x{:.2f})".format(
            count(latched["pin_writes_per_s"]), count(unlatched["pin_writes_per_s"]),
            count(latched["final_changes_per_s"]), share), target,
            latched["pin_writes_per_s"] == latched["final_changes_per_s"] and 0.3 <= share <= 0.37)
        table.add("10 Driver, switching, CPU per simulated s: latched / unlatched / agent alone",
                  count(10000), "{:.2f} % / {:.0f} % / {:.2f} % of one core".format(
                      latched["cpu_pct"], unlatched["cpu_pct"], alone["cpu_pct"]))
    burst = None
    for spread, how in ((0, "all at once"), (500, "staggered over 0.5 s")):
        label = "10 Driver, 0.5 s flashing live (values file), {}, CPU share".format(how)
        entry = results.benchmark(
            "driver.json", "DriverFlashing/leds:10000/seconds:20/spread_ms:{}/".format(spread))
        target, limit = ("< 4 %", 4.0) if spread else ("< 5 %", 5.0)
        if entry is None:
            table.unavailable(label, count(10000), target)
            continue
        entry["events_per_s"] = entry["pin_writes_per_s"]
        table.add(label, count(10000), "{:.2f} % of one core, {} pin writes/s, {:.0f} wakes/s".format(
            entry["cpu_share_pct"], count(entry["pin_writes_per_s"]), entry["wakes_per_s"]),
            target, entry["cpu_share_pct"] < limit, driver_why(results, entry, burst))
        burst = entry


def panel_why(results, wakes_per_s):
    floor = wake_floor(results, wakes_per_s)
    if floor is None:
        return None
    return floor + ("; the wakes are the LEDs' own toggles, 500 LEDs out of phase toggling "
                    "twice a second each; the panel's frames take one timer at most every 40 ms")


def panel_rows(table, results):
    entry = results.peer("panel-500.json")
    label = "9 Front panel on 160x50, 500 LEDs flashing out of phase"
    if entry is None:
        table.unavailable(label + ", CPU share", count(500), "< 1 %")
        table.unavailable(label + ", output", count(500), "< 100 KB/s")
        return
    table.add(label + ", CPU share", count(500),
              "{:.2f} % of one core, {} wakes/s (warden as a whole)".format(
                  entry["cpu_share_pct"], count(entry["wakes_per_s"])),
              "< 1 %", entry["cpu_share_pct"] < 1.0,
              panel_why(results, entry["wakes_per_s"]))
    table.add(label + ", output", count(500), "{:.1f} KB/s".format(entry["bytes_per_s"] / 1000.0),
              "< 100 KB/s", entry["bytes_per_s"] < 100000)
    alone = entry["cpu_share_pct"]
    for viewers in (1, 100):
        label = "9 Front panel, 500 LEDs flashing, and {} HTTP viewer{}, CPU share".format(
            viewers, "" if viewers == 1 else "s")
        served = results.peer("panel-500-viewers-{}.json".format(viewers))
        if served is None:
            table.unavailable(label, count(500), "< 2 % more")
            continue
        extra = served["cpu_share_pct"] - alone
        table.add(label, count(500),
                  "{:.2f} % of one core ({:+.2f} %), {:.1f} events/s, {:.1f} KB/s per viewer".format(
                      served["cpu_share_pct"], extra, served["events_per_s"],
                      served["stream_bytes_per_s"] / 1000.0),
                  "< 2 % more", extra < 2.0)


NOTES = """\
Notes
- Start-up: N ready mappings (one pin per colour) and N configurations (half steady, half
  flashing at 0.5 s) are in the database first; timed from the mounts completing until the
  agent has built every LED. Populate: the same LEDs published one by one after the agent runs,
  each mapping and each configuration delivered before the next is published, publishing
  included. Both in virtual time; medians of several runs. Linearity is judged on CPU time,
  which other processes on the machine do not stretch; the wall time is shown beside it.
- Random read: the machine alone, a chain of reads each at a random cache line of a buffer
  the size of N LEDs' resident bytes (agent and inputs, 2,500 B each), each read waiting for
  the one before, as a look-up in a table of N members does once the table outgrows the
  caches.
- Reaction: one steady LED's setting flips between green and red, on LEDs spread over all
  100,000, timed from publishing the setting until its pins are written; 50,000 changes.
- Flashing load: every LED flashing at 0.5 s, 60 s of virtual time; process CPU time.
- Live ticks: monotonic clock, 20 s. "Staggered": the flashing settings arrive evenly over the
  first 0.5 s, as when LEDs are switched one after another; "all at once": in one burst.
  Lateness = when a tick ran minus its wake-up time. It is taken from outside the agent: an
  observer on each LED's yellow pin gets every tick's pin change through the notification path
  and reads the machine's new wake-up time, set to (time the tick ran) + interval; the wake-up
  time seen at the previous change is when the tick was due. Each LED's first tick has no
  earlier wake-up time to compare with and is not counted. CPU share = process CPU time / wall
  time over a second 20 s with the LEDs still flashing and the observers removed. The
  machine's limit is how late a bare thread wakes from an absolute timerfd once a millisecond,
  measured just before: no tick can do better. Settings out late: how long after its time each
  LED's flashing setting was handed to the agent; LEDs that start in clumps show here first.
  The loop wakes at most once per span (1 ms) and takes in what falls due meanwhile; the rows
  "wake span 0.5 ms / 0.25 ms" rerun the staggered case with a finer span, to show what
  punctuality costs in wakes.
- Wake: the loop with one reactor that re-arms itself 1 ms after each run, and nothing else,
  beside a bare thread on an absolute timerfd at the same rate, 10 s each in one process; CPU
  time per wake, and the loop's allocations per wake (a counting operator new). CPU per tick of
  the live run is its CPU share over the ticks per second (two per LED), wake included.
- Timers alone: the clock's timing wheel and, as the reference, the binary heap it replaced,
  N timers spread at random over 0.5 s; arm and disarm all N; re-arm a random one 0.5 s
  later; expire the earliest and re-arm it 0.5 s later (a flashing LED). ns per operation.
- Peer: gpiozero on mock pins (numbers beyond the 54 of MockFactory), 10 s at T = 0.5 s, against
  ours at the same N (10 s observed for the lateness, then 10 s for the CPU share). Both sides
  start their LEDs the same way: in one burst, and spread evenly over 200 ms (the peer's first
  writes wait at a gate that opens once every blink thread is started, then for their offset).
  The machine's limit (the bare timer above) is measured in the same run. A toggle's lateness
  is measured the same way for both: each toggle is due T after the same pin's previous toggle.
  Peak memory is the whole process's (ru_maxrss).
- Database: a redis-server of the benchmark's own on a unix socket. Round trip: another
  process sets one LED green with HSET, 1,000 a second for 5 s over 10,000 LEDs, and times it
  until the keyspace notification of the agent's write of that LED's pin arrives. Resync: 100,000
  LEDs (mapping and setting) in the tables; start = backend and agent started until every pin is
  in the pin table; reconnect = subscriber connection killed until the resync has closed, with
  the pins written meanwhile (nothing changed, so none). The CPU seconds of the benchmark's
  process (agent and backend) and of redis-server are taken over the same spans: on a shared
  machine they show where the time goes when other load stretches the wall time. Idle:
  connected, 20 s, nothing flashing.
- Driver: the real agent and the pin driver writing every pin (four per LED) into one values
  file in a temporary directory, written whole once and then in place, only the changed bytes.
  Switching: each LED switches between green and green+red 10 times a second, in batches of
  1,000 every 10 ms, so the agent writes green dark and lit again within a change; virtual time
  (2 s latched and without the driver, 20 ms unlatched). The final changes are counted apart
  from the driver, from the pins as they stand after each batch's turn; the run fails when the
  latched writes differ from them. CPU per simulated second is the process's CPU time over the
  simulated time. Flashing: monotonic clock, 1 s to settle, 20 s measured; CPU share of the
  whole process (agent, loop, driver and file writes).
- HTTP viewers: the same front panel run with --http on a unix socket and 1 or 100 event streams
  (/events) open and read as fast as they come (bench/panel/measure_panel.py --viewers N); the
  extra CPU share is against the panel alone. An event carries the pins that changed since the
  previous one, at most 25 a second, and is built once for every viewer.
- Front panel: warden runs a script that switches 500 LEDs to flashing at 0.5 s one after another
  over 0.5 s, on a pseudo-terminal of 160x50 (bench/panel/measure_panel.py); 15 s measured once
  all flash. CPU share is the whole warden process's (agent, loop and panel); output is the
  bytes written to the terminal.
"""


def main():
    if len(sys.argv) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    results = Results(sys.argv[1])
    table = Table()
    build_rows(table, results)
    context = results.text("context.txt")
    if context:
        print(context)
        print()
    table.print(sys.stdout)
    print()
    print(NOTES, end="")
    print()
    print("{} of {} rows with a target missed.".format(
        table.missed, sum(1 for row in table.rows if row[4])))
    return 0


if __name__ == "__main__":
    sys.exit(main())
