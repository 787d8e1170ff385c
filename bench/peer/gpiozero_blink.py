#!/usr/bin/python3
"""The flashing job done the way many users do it today: gpiozero on mock pins.

Flashes N LEDs at a half-period of T seconds for a given time, either with one
LED.blink per LED (gpiozero starts a thread for each) or with one LEDBoard.blink
for all of them (one thread writes every LED in turn), and prints one JSON
object: the process's CPU share over the flashing time, its peak resident
memory, and the lateness of every toggle.

A toggle's lateness is measured as for the agent: each toggle of a pin is due
one half-period after that pin's previous toggle, and is late by how much
later it came. Toggle times are taken by hooking the mock pin's state setter.

The LEDs start the way the agent's LEDs start in the run this is compared
with: each blink's first write waits at a gate that opens once every blink has
been started, and then for its own offset: 0 for all (--spread 0, one burst)
or LED i at i * spread / N (spread evenly). Without the gate the per-LED
threads would start over however long it takes to start them, which depends on
N and the machine, and the two sides would not carry the same load.

Run with Debian's python3-gpiozero: /usr/bin/python3 gpiozero_blink.py ...
"""

import argparse
import json
import math
import resource
import sys
import threading
import time
import warnings

from gpiozero import LED, LEDBoard, PinNonPhysical
from gpiozero.pins import Factory
from gpiozero.pins.mock import MockFactory, MockPin


class RecordingPin(MockPin):
    """A mock pin that notes the monotonic time of every write of its state while
    recording is on (not the writes of setting the devices up or closing them)."""

    recording = False
    gate = threading.Event()
    gate_opened_at = 0.0

    def __init__(self, factory, number):
        super().__init__(factory, number)
        self.toggle_times = []
        self.start_offset = 0.0

    def _set_state(self, value):
        if RecordingPin.recording:
            if not self.toggle_times:
                self._wait_for_start()
            self.toggle_times.append(time.monotonic())
        super()._set_state(value)

    def _wait_for_start(self):
        RecordingPin.gate.wait()
        delay = RecordingPin.gate_opened_at + self.start_offset - time.monotonic()
        if delay > 0:
            time.sleep(delay)


class AnyPinFactory(MockFactory):
    """MockFactory accepts only the 54 pins of its board; an appliance has many more."""

    def __init__(self):
        super().__init__(pin_class=RecordingPin)

    def pin(self, number, pin_class=None, **kwargs):
        number = int(number)
        pin = self.pins.get(number)
        if pin is None:
            pin = (pin_class or self.pin_class)(self, number, **kwargs)
            self.pins[number] = pin
        return pin

    # The board's factory maps pin names through its header first; plain numbers need not.
    def reserve_pins(self, requester, *pins):
        Factory.reserve_pins(self, requester, *(int(pin) for pin in pins))

    def release_pins(self, reserver, *pins):
        Factory.release_pins(self, reserver, *(int(pin) for pin in pins))


def cpu_seconds():
    usage = resource.getrusage(resource.RUSAGE_SELF)
    return usage.ru_utime + usage.ru_stime


def quantile(values, q):
    """Nearest-rank quantile, as the agent's benchmarks compute it."""
    if not values:
        return 0.0
    ordered = sorted(values)
    rank = max(1, math.ceil(q * len(ordered)))
    return ordered[min(len(ordered), rank) - 1]


def lateness_of(pins, half_period):
    late = []
    for pin in pins:
        times = pin.toggle_times
        late.extend(b - a - half_period for a, b in zip(times, times[1:]))
    return late


def run(mode, leds, half_period, seconds, spread):
    factory = AnyPinFactory()
    # Pin numbers well outside any single board's header.
    numbers = range(1000, 1000 + leds)
    if mode == "led":
        devices = [LED(n, pin_factory=factory) for n in numbers]
    else:
        devices = [LEDBoard(*numbers, pin_factory=factory)]
    pins = [factory.pins[n] for n in numbers]
    for index, pin in enumerate(pins):
        pin.start_offset = index * spread / leds

    cpu_start = cpu_seconds()
    wall_start = time.monotonic()
    RecordingPin.recording = True
    for device in devices:
        device.blink(on_time=half_period, off_time=half_period)
    # Starting the blinks took this long; the gate keeps it out of the toggles' timing.
    start_time = time.monotonic() - wall_start
    RecordingPin.gate_opened_at = time.monotonic()
    RecordingPin.gate.set()
    time.sleep(seconds)
    RecordingPin.recording = False
    cpu_used = cpu_seconds() - cpu_start
    wall_used = time.monotonic() - wall_start
    for device in devices:
        device.off()
        device.close()

    late = lateness_of(pins, half_period)
    return {
        "peer": "gpiozero " + ("LED.blink per LED" if mode == "led" else "LEDBoard.blink"),
        "mode": mode,
        "leds": leds,
        "seconds": wall_used,
        "cpu_share_pct": 100.0 * cpu_used / wall_used,
        "peak_rss_bytes": resource.getrusage(resource.RUSAGE_SELF).ru_maxrss * 1024,
        "start_spread_s": spread,
        "start_time_s": start_time,
        "ticks": len(late),
        # Every toggle but each pin's first, which has no earlier toggle to be compared with.
        "ticks_expected": leds * (seconds / half_period - 1),
        "late_p50_us": quantile(late, 0.50) * 1e6,
        "late_p99_us": quantile(late, 0.99) * 1e6,
        "late_max_us": quantile(late, 1.0) * 1e6,
    }


def main():
    # Pins beyond the board's header are the point here, not a mistake to warn about.
    warnings.simplefilter("ignore", PinNonPhysical)
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--mode", choices=["led", "board"], required=True,
                        help="led: one LED.blink per LED; board: one LEDBoard.blink")
    parser.add_argument("--leds", type=int, default=100)
    parser.add_argument("--interval", type=float, default=0.5,
                        help="seconds each phase lasts (on_time = off_time)")
    parser.add_argument("--seconds", type=float, default=10.0)
    parser.add_argument("--spread", type=float, default=0.0,
                        help="seconds over which the LEDs start (0: all in one burst)")
    args = parser.parse_args()
    if args.mode == "board" and args.spread:
        parser.error("LEDBoard.blink writes every LED from one thread: it starts in one burst")
    json.dump(run(args.mode, args.leds, args.interval, args.seconds, args.spread), sys.stdout)
    print()


if __name__ == "__main__":
    main()
