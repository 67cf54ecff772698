#!/usr/bin/env python3
"""Writes a monitor configuration for a simulated rack (demod_sim.py --units N).

Each unit gets one band on its narrow carrier, with a noise band in the gap between
the narrow carrier and the beacon, a C/N limit that the fading carriers cross for part
of each fade, and a channel power limit a few dB under the carrier at full level:

  rack_config.py --units N --port FIRST [--interval S] [--listen HOST:PORT]
                 [--spread-hosts] [--sim-option OPTION ...] > monitor.toml

The --sim-option values are passed on to demod_sim.py --describe, so that the bands
follow the simulator's own --seed, --center-mhz and the like.
"""

import argparse
import csv
import io
import ipaddress
import os
import subprocess
import sys

SIMULATOR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "demod_sim.py")
CN_LIMIT_DB = 10.0
POWER_MARGIN_DB = 6.0


def toml_text(text):
    return '"' + text.replace("\\", "\\\\").replace('"', '\\"') + '"'


def main():
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--units", type=int, required=True)
    parser.add_argument("--port", type=int, required=True, help="the first unit's port")
    parser.add_argument("--interval", type=float, default=3.0)
    parser.add_argument("--listen", default="127.0.0.1:9464")
    parser.add_argument("--name", default="Rack A slot %d", help="unit names, %%d the unit's number")
    parser.add_argument("--spread-hosts", action="store_true",
                        help="unit k on the k-th loopback address from 127.0.0.1, all on --port")
    parser.add_argument("--sim-option", action="append", default=[])
    options = parser.parse_args()
    described = subprocess.run([sys.executable, SIMULATOR, "--units", str(options.units), "--describe"] +
                               options.sim_option, check=True, capture_output=True, text=True).stdout
    if options.units == 1:
        described = "\n".join(("Unit," if n == 0 else "1,") + line
                              for n, line in enumerate(described.splitlines())) + "\n"
    signals = {}
    for row in csv.DictReader(io.StringIO(described)):
        signals.setdefault(int(row["Unit"]), {})[row["Signal"]] = row
    out = ["listen = %s" % toml_text(options.listen), ""]
    for number in range(1, options.units + 1):
        narrow, beacon = signals[number]["narrow"], signals[number]["beacon"]
        gap_low, gap_high = float(narrow["High"]), float(beacon["Low"])
        margin = (gap_high - gap_low) / 4
        out += ["[[unit]]",
                "name = %s" % toml_text(options.name % number),
                "address = %s" % toml_text(
                    "%s:%d" % (ipaddress.ip_address("127.0.0.1") + number - 1, options.port) if options.spread_hosts
                    else "127.0.0.1:%d" % (options.port + number - 1)),
                "interval = %g" % options.interval,
                "  [[unit.band]]",
                '  name = "narrow"',
                "  from_mhz = %s" % narrow["Low"],
                "  to_mhz = %s" % narrow["High"],
                "  noise_from_mhz = %.6f" % (gap_low + margin),
                "  noise_to_mhz = %.6f" % (gap_high - margin),
                "  min_power_db = %.1f" % (float(narrow["Power"]) - POWER_MARGIN_DB),
                "  min_cn_db = %.1f" % CN_LIMIT_DB,
                ""]
    sys.stdout.write("\n".join(out))
    return 0


if __name__ == "__main__":
    sys.exit(main())
