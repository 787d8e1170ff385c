#!/usr/bin/python3
"""Measures what the live front panel costs: warden runs a script of N LEDs flashing on a
pseudo-terminal of a given size, and the figures are the warden process's CPU share and the
bytes per second it writes to the terminal, over a window after every LED flashes.

The LEDs are switched to flashing one after another over one interval, so that their ticks are
out of phase, as on an appliance whose LEDs start flashing at different times.

Usage: measure_panel.py --warden PATH [--leds 500] [--interval 0.5] [--columns 160]
                        [--rows 50] [--seconds 10] [--pins] [--viewers N] [--under COMMAND]
Prints one JSON line: leds, seconds, cpu_share_pct, bytes_per_s, wakes_per_s (and with
--viewers, viewers, events_per_s and stream_bytes_per_s of one viewer).
--pins also drives every pin through a values file, so that the driver's cost is included.
--viewers N serves the panel over HTTP (--http on a unix socket) and keeps N event streams
open and read for the whole run, as N browsers showing the panel would.
"""

import argparse
import fcntl
import json
import os
import pty
import select
import signal
import socket
import struct
import sys
import tempfile
import termios
import time

TICKS = os.sysconf("SC_CLK_TCK")


def write_script(directory, leds, interval):
    path = os.path.join(directory, "panel.warden")
    with open(path, "w") as script:
        for i in range(leds):
            script.write("set mapping Led{0} green=led{0}_green red=led{0}_red ready=yes\n"
                         .format(i))
        step = interval / leds
        for i in range(leds):
            script.write("set led Led{} green flash={}\nwait {:.6f}\n".format(i, interval, step))
    return path


def write_pin_map(directory, leds):
    path = os.path.join(directory, "pins.toml")
    with open(path, "w") as pins:
        pins.write('values_file = "{}"\n'.format(os.path.join(directory, "pins.values")))
        for i in range(leds):
            for colour in ("green", "red"):
                pins.write('[[pin]]\nname = "led{}_{}"\nbackend = "file"\n'.format(i, colour))
    return path


def cpu_seconds(pid):
    with open("/proc/{}/stat".format(pid)) as stat:
        fields = stat.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / TICKS


def wakes(pid):
    """Voluntary context switches: how often the process slept and was woken."""
    with open("/proc/{}/status".format(pid)) as status:
        for line in status:
            if line.startswith("voluntary_ctxt_switches"):
                return int(line.split()[1])
    return 0


class Viewers:
    """Event streams read as fast as they come; counts the first viewer's events and bytes."""

    def __init__(self):
        self.sockets = []
        self.events = 0
        self.bytes = 0

    def open(self, path, count, fd):
        """Connects while reading the terminal, which warden must be able to write to accept."""
        deadline = time.monotonic() + 10
        while len(self.sockets) < count and time.monotonic() < deadline:
            if not os.path.exists(path):
                drain(fd, time.monotonic() + 0.05)
                continue
            viewer = socket.socket(socket.AF_UNIX, socket.SOCK_STREAM)
            viewer.setblocking(False)
            try:
                viewer.connect(path)
            except (BlockingIOError, ConnectionRefusedError):
                viewer.close()  # the backlog is full until warden accepts
                drain(fd, time.monotonic() + 0.01)
                continue
            viewer.send(b"GET /events HTTP/1.1\r\nHost: bench\r\n\r\n")
            self.sockets.append(viewer)
        if len(self.sockets) < count:
            raise SystemExit("measure_panel: only {} viewers connected".format(len(self.sockets)))

    def read(self, viewer):
        try:
            data = viewer.recv(1 << 20)
        except BlockingIOError:
            return
        if viewer is self.sockets[0]:
            self.bytes += len(data)
            self.events += data.count(b"\ndata: ")

    def reset(self):
        self.events = self.bytes = 0


VIEWERS = Viewers()


def drain(fd, until):
    """Reads the terminal (and the viewers' streams) until a time, returning the terminal bytes
    read; None when warden ended."""
    total = 0
    while True:
        left = until - time.monotonic()
        if left <= 0:
            return total
        ready, _, _ = select.select([fd] + VIEWERS.sockets, [], [], left)
        for viewer in ready:
            if viewer is not fd:
                VIEWERS.read(viewer)
        if fd in ready:
            try:
                data = os.read(fd, 65536)
            except OSError:
                return None
            if not data:
                return None
            total += len(data)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--warden", required=True)
    parser.add_argument("--leds", type=int, default=500)
    parser.add_argument("--interval", type=float, default=0.5)
    parser.add_argument("--columns", type=int, default=160)
    parser.add_argument("--rows", type=int, default=50)
    parser.add_argument("--seconds", type=float, default=10.0)
    parser.add_argument("--pins", action="store_true")
    parser.add_argument("--viewers", type=int, default=0)
    parser.add_argument("--under", default="",
                        help="a command to run warden under, e.g. 'valgrind --tool=callgrind'")
    args = parser.parse_args()

    with tempfile.TemporaryDirectory() as directory:
        command = args.under.split() + [args.warden, "run", "--quiet"]
        if args.pins:
            command += ["--pins", write_pin_map(directory, args.leds)]
        http = os.path.join(directory, "http.sock")
        if args.viewers:
            command += ["--http", "unix:" + http]
        command.append(write_script(directory, args.leds, args.interval))
        pid, fd = pty.fork()
        if pid == 0:
            os.environ.update({"TERM": "xterm-256color", "LANG": "C.UTF-8"})
            os.environ.pop("LC_ALL", None)
            # The size is set before warden starts, so that its first frame has it.
            fcntl.ioctl(1, termios.TIOCSWINSZ, struct.pack("HHHH", args.rows, args.columns, 0, 0))
            null = os.open(os.devnull, os.O_RDONLY)
            os.dup2(null, 0)
            os.execvp(command[0], command)
        if args.viewers:
            VIEWERS.open(http, args.viewers, fd)
        # The script switches the LEDs on over one interval; the window starts once all flash.
        warm_up = time.monotonic() + args.interval + 2.0
        failed = drain(fd, warm_up) is None
        if not failed:
            cpu0, wakes0, t0 = cpu_seconds(pid), wakes(pid), time.monotonic()
            VIEWERS.reset()
            written = drain(fd, t0 + args.seconds)
            failed = written is None
        if not failed:
            cpu1, wakes1, t1 = cpu_seconds(pid), wakes(pid), time.monotonic()
        os.kill(pid, signal.SIGINT)
        # warden draws its last frame as it ends: the terminal must still be read.
        for _ in range(10):
            if drain(fd, time.monotonic() + 1.0) is None:
                break
        os.waitpid(pid, 0)
        if failed:
            print("measure_panel: warden ended early", file=sys.stderr)
            return 2
    elapsed = t1 - t0
    figures = {
        "leds": args.leds, "seconds": round(elapsed, 2),
        "cpu_share_pct": round(100.0 * (cpu1 - cpu0) / elapsed, 3),
        "bytes_per_s": round(written / elapsed),
        "wakes_per_s": round((wakes1 - wakes0) / elapsed)}
    if args.viewers:
        figures.update({"viewers": args.viewers,
                        "events_per_s": round(VIEWERS.events / elapsed, 1),
                        "stream_bytes_per_s": round(VIEWERS.bytes / elapsed)})
    print(json.dumps(figures))
    return 0


if __name__ == "__main__":
    sys.exit(main())
