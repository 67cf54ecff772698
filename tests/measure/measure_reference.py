#!/usr/bin/env python3
"""The measure command against a reference of its own, worked from the definitions over the
traces the export command writes for the same blocks: the fixture blocks (window on and off,
and a sequence of changing headers with all four traces) and simulator captures at three
sample rates. Each run measures several bands with and without a noise band (and with a
noise band of two stretches); bands the definitions refuse must be refused.

A point's level is the exported one. Its frequency in MHz is the exported frequency over the
capture's frequency scale; the export writes seven digits, too few to tell points apart at
some centres and rates (1234.567 MHz at rate 7: 0.001 MHz against points 0.00095 MHz
apart), so the frequencies are labelled here from the block headers as the spectrum
computation labels them, in single precision, and checked against the exported text.
Band edges fall halfway between points. Allowed: 0.01 dB on
levels and C/N, half a point's spacing on peak and centre, one spacing on the occupied
bandwidth. Prints the worst difference of each figure.
Usage: measure_reference.py BINARY DATA TOOLS"""

import math
import os
import re
import struct
import subprocess
import sys
import tempfile

FREQUENCIES = ("PeakFrequency", "CentreFrequency", "OccupiedBandwidth")
HEADER = "Band,Points,ChannelPower,PeakFrequency,PeakLevel,CentreFrequency,OccupiedBandwidth,NoiseDensity,CN"
# Frequencies with six decimals, levels with three, the point count whole; noise figures may be empty.
FORMAT = re.compile(r"-?\d+\.\d{6}--?\d+\.\d{6},\d+,(-?\d+\.\d{3}),(-?\d+\.\d{6}),(-?\d+\.\d{3}),"
                    r"(-?\d+\.\d{6}),(\d+\.\d{6}),((-?\d+\.\d{3}),(-?\d+\.\d{3}|below noise)|,)$")
SET_OF_TRACE = {"current": "scaled", "previous": "scaled", "videoaverage": "videoaverage", "peakhold": "peakhold"}


def single(x):
    return struct.unpack("f", struct.pack("f", x))[0]


def capture_header(path):
    """Centre, sample rate, frequency scale and the band shown (MHz) of a block."""
    block = open(path, "rb").read()
    padded = block[:8] + b" " * max(0, 8 - len(block))
    centre = int.from_bytes(padded[2:6], "big") / 1000.0
    rate = 1000.0 / 2 ** (min(int.from_bytes(padded[6:8], "big"), 12) + 1)
    low, high = single(centre - 0.3 * rate), single(centre + 0.3 * rate)
    span = single(high - low)
    scale = next(s for limit, s in ((100, 1), (10, 10), (1, 100), (single(0.1), 1000), (single(0.01), 10000),
                                    (-1, 100000)) if span >= limit)
    return centre, rate, scale, (single(low * scale) / scale, single(high * scale) / scale)


def point_frequencies(path):
    """The 2048 points' frequencies (MHz) of a capture: bins 0..1023, then 3072..4095, each
    labelled with the frequency of the bin above it, scaled and kept in single precision."""
    centre, rate, scale = capture_header(path)[:3]
    fractions = [i / 4096 for i in range(1, 1025)] + [-(4096 - i) / 4096 for i in range(3073, 4097)]
    return [single((x * rate + centre) * scale) / scale for x in fractions]


def exported(binary, data_set, flags, blocks, folder):
    out = os.path.join(folder, "trace.txt")
    subprocess.run([binary, "export", "--set", data_set, "--out", out] + flags + blocks, check=True,
                   capture_output=True)
    lines = open(out, newline="").read().split("\r\n")[1:-1]
    return [tuple(float(v.strip('"')) for v in line.split(",")[1:]) for line in lines]


def figures(points, low, high):
    band = sorted((p for p in points if low <= p[0] <= high), key=lambda p: p[0])
    if not band:
        return None
    power = [10 ** (level / 10) for _, level in band]
    total = sum(power)
    peak = band[0]
    for p in band:
        if p[1] > peak[1]:
            peak = p
    running, edges = 0.0, []
    for (f, _), p in zip(band, power):
        running += p
        for share in (0.005, 0.995):
            if len(edges) < 2 and len(edges) == (share > 0.5) and running >= share * total:
                edges.append(f)
    return {"Points": len(band), "Sum": total, "ChannelPower": 10 * math.log10(total), "PeakFrequency": peak[0],
            "PeakLevel": peak[1], "CentreFrequency": sum(f * p for (f, _), p in zip(band, power)) / total,
            "OccupiedBandwidth": edges[1] - edges[0]}


def noise_density(points, stretches):
    inside = [10 ** (level / 10) for f, level in points if any(a <= f <= b for a, b in stretches)]
    return sum(inside) / len(inside) if inside else None


class Checker:
    def __init__(self, binary):
        self.binary, self.failures, self.runs = binary, [], 0
        self.worst = {k: 0.0 for k in HEADER.split(",")[2:]}

    def check(self, what, args, points, shown, spacing, bands, noise):
        """Runs measure with the bands and noise stretches and compares with the reference."""
        words = [w for b in bands for w in ("--band", "%r:%r" % b)] + [w for n in noise for w in ("--noise", "%r:%r" % n)]
        run = subprocess.run([self.binary, "measure"] + words + args, capture_output=True, text=True)
        self.runs += 1
        fail = lambda problem: self.failures.append("%s: measure %s: %s" % (what, " ".join(words), problem))
        reversed_band = any(a > b for a, b in bands + noise)
        slack = lambda edge: 5e-7 + abs(edge) * 2 ** -22
        refused = reversed_band or any(a < shown[0] - slack(shown[0]) or b > shown[1] + slack(shown[1]) or
                                       figures(points, a, b) is None for a, b in bands + noise)
        if refused:
            status = 2 if reversed_band else 1
            if run.returncode != status or run.stdout or run.stderr.count("\n") != 1:
                fail("expected one line and status %d, got %d %r" % (status, run.returncode, run.stderr))
            return
        lines = run.stdout.split("\n")
        if run.returncode != 0 or lines[0] != HEADER or lines[-1] != "" or len(lines) != len(bands) + 2:
            return fail("status %d, output %r %r" % (run.returncode, run.stdout[:200], run.stderr))
        density = noise_density(points, noise) if noise else None
        for (low, high), line in zip(bands, lines[1:-1]):
            got = dict(zip(HEADER.split(","), line.split(",")))
            want = figures(points, low, high)
            if not FORMAT.match(line):
                fail("line %r is not written as the table's format says" % line)
            if got["Band"] != "%.6f-%.6f" % (low, high) or int(got["Points"]) != want["Points"]:
                fail("line %r, expected %d points" % (line, want["Points"]))
                continue
            allowed = {"ChannelPower": 0.01, "PeakLevel": 0.01, "PeakFrequency": spacing / 2,
                       "CentreFrequency": spacing / 2, "OccupiedBandwidth": spacing, "NoiseDensity": 0.01, "CN": 0.01}
            if density is None:
                if got["NoiseDensity"] or got["CN"]:
                    fail("line %r has noise figures without a noise band" % line)
            else:
                want["NoiseDensity"] = 10 * math.log10(density)
                above = want["Sum"] - density * want["Points"]
                if above <= 0:
                    if got["CN"] != "below noise":
                        fail("line %r: expected below noise" % line)
                    del allowed["CN"]
                else:
                    want["CN"] = 10 * math.log10(above / (density * want["Points"]))
            for key, tolerance in allowed.items():
                if key not in want:
                    continue
                try:
                    difference = abs(float(got[key]) - want[key])
                except ValueError:
                    difference = math.inf
                self.worst[key] = max(self.worst[key], difference / (spacing if key in FREQUENCIES else 1))
                if not difference <= tolerance:
                    fail("%s is %s, expected %.6f" % (key, got[key], want[key]))

    def check_trace(self, what, binary_args, blocks, trace, folder):
        kept = [b for b in blocks if os.path.getsize(b)]  # an empty block is no capture
        source = kept[:-1] if trace == "previous" else kept
        if not source:
            return
        rate, scale, shown = capture_header(kept[-1])[1:]
        # The peak hold keeps the frequencies of the first capture of its run.
        labels = point_frequencies(source[0] if trace == "peakhold" else source[-1])
        points = []
        for mhz, (text, level) in zip(labels, exported(self.binary, SET_OF_TRACE[trace], binary_args, source, folder)):
            if abs(text / scale - mhz) > 6e-7 * abs(mhz):
                self.failures.append("%s: %s trace labels a point %r, not %r MHz" % (what, trace, text / scale, mhz))
            points.append((mhz, level))
        spacing = rate / 4096
        by_frequency = sorted(points)
        mid = lambda k: (by_frequency[k][0] + by_frequency[k + 1][0]) / 2
        top = max(range(len(by_frequency)), key=lambda k: by_frequency[k][1])
        args = binary_args + ["--trace", trace] + blocks
        bands = [shown, (mid(max(top - 21, 0)), mid(min(top + 20, 2046))), (mid(1000), mid(1060)),
                 (shown[0], mid(150)), (mid(699), mid(700)), (mid(1500), mid(1900))]
        self.check(what, args, points, shown, spacing, bands, [(mid(1200), mid(1350))])
        self.check(what, args, points, shown, spacing, bands[:3], [])
        self.check(what, args, points, shown, spacing, bands[1:3], [(mid(300), mid(400)), (mid(1200), mid(1350))])
        # Refused: reversed, beyond the band shown, and between two points.
        between = (mid(700) - spacing * 1e-3, mid(700) + spacing * 1e-3)
        for refused in [(mid(1060), mid(1000))], [(shown[0], shown[1] + 0.1 * (shown[1] - shown[0]))], [between]:
            self.check(what, args, points, shown, spacing, bands[1:2] + refused, [])


def simulator_captures(tools, folder, seed, centre_field, rate_exponent, count):
    sys.path.insert(0, tools)
    from simulated_capture import SignalModel, build_block
    model, paths = SignalModel(seed), []
    for n in range(count):
        paths.append(os.path.join(folder, "sim_%d_%d_%d.bin" % (seed, rate_exponent, n)))
        with open(paths[-1], "wb") as out:
            out.write(build_block(centre_field, rate_exponent, *model.capture(n)))
    return paths


def main():
    binary, data, tools = sys.argv[1:4]
    checker = Checker(binary)
    with tempfile.TemporaryDirectory() as folder:
        block = lambda name: os.path.join(data, "blocks", name + ".bin")
        for name in sorted(os.listdir(os.path.join(data, "blocks"))):
            for window in ("on", "off"):
                checker.check_trace(name, ["--window", window], [block(name[:-4])], "current", folder)
        sequence = [block(n) for n in ("rate_exp_0003", "center_000F4240", "noise_seed1234")]
        runs = [("sequence", sequence)]
        for seed, centre, rate_exponent in ((3, 70000, 3), (7, 1234567, 7), (11, 70000, 12)):
            runs.append(("simulator seed %d rate %d" % (seed, rate_exponent),
                         simulator_captures(tools, folder, seed, centre, rate_exponent, 4)))
        for what, blocks in runs:
            for trace in SET_OF_TRACE:
                checker.check_trace(what, ["--peak-hold", "--video-average"], blocks, trace, folder)
        # Blocks that hold no capture at all.
        checker.check("empty", [block("empty")], [], (0.0, 0.0), 1.0, [(0.0, 1.0)], [])
    for failure in checker.failures[:20]:
        print("FAIL: " + failure)
    print("worst differences: " + ", ".join(
        "%s %.2g %s" % (key, value, "points" if key in FREQUENCIES else "dB")
        for key, value in checker.worst.items()))
    print("%d runs, %d failed" % (checker.runs, len(checker.failures)))
    return 1 if checker.failures or not checker.runs else 0


if __name__ == "__main__":
    sys.exit(main())
