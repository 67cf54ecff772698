#!/usr/bin/env python3
"""The peaks command against a walk of its own over the expected traces of the acceptance
data: the highest level, then the next lower one again and again (of equal levels the
first from the current point on), stopping below the threshold or after N points. The
frequency column is in MHz, with the decimals of the capture's frequency format.
Usage: peaks_reference.py BINARY DATA"""

import json
import subprocess
import sys

POINTS = 2048
CASES = [(0.0, 10), (45.5, 4), (90.0, 25)]  # (threshold, count)


def next_lower(amp, start):
    limit = amp[start - 1] if start else 32000.0
    best, found = -32000.0, 0
    for p in list(range(max(start, 1), POINTS + 1)) + list(range(1, start)):
        if best < amp[p - 1] < limit:
            best, found = amp[p - 1], p
    return found


def walk(amp, threshold, count):
    points, p = [], next_lower(amp, 0)
    while p and len(points) < count and amp[p - 1] >= threshold:
        points.append(p)
        p = next_lower(amp, p)
    return points


def check(binary, args, trace, parse, threshold, count):
    run = subprocess.run([binary, "peaks", "--threshold", str(threshold), "--count", str(count)] + args,
                         capture_output=True, text=True)
    lines = run.stdout.split("\n")
    if run.returncode != 0 or lines[0] != "Point,Frequency,Level" or lines[-1] != "":
        return "exit %d, output %r" % (run.returncode, run.stdout[:80])
    got = [line.split(",") for line in lines[1:-1]]
    want = walk(trace["amp"], threshold, count)
    if [int(g[0]) for g in got] != want:
        return "points %s, expected %s" % ([g[0] for g in got], want)
    decimals = len(parse["FreqFormat"].split(".")[1].replace("MHz", ""))
    for (_, freq, level), p in zip(got, want):
        mhz = trace["freq"][p - 1] / parse["FreqScale"]
        if abs(float(freq) - mhz) > 0.5 * 10 ** -decimals + 1e-9 + 1e-6 * abs(mhz) or \
                abs(float(level) - trace["amp"][p - 1]) > 1e-3:
            return "point %d reads %s,%s" % (p, freq, level)
    return None


def main():
    binary, data = sys.argv[1], sys.argv[2]
    expected = lambda name: json.load(open("%s/expected/%s.json" % (data, name)))
    runs = [(["--window", window, "%s/blocks/%s.bin" % (data, name)], expected(name)["window_" + window],
             expected(name)["parse"])
            for name in ["all_00", "all_80", "center_000F4240", "noise_seed1234", "rate_exp_0003", "rate_exp_FFFF",
                         "short_100_bytes", "stale_start_both", "stale_start_i_only", "tone_bin0005", "tone_bin1023"]
            for window in ["on", "off"]]
    names = {"Current": "current", "Previous": "previous", "Video Average": "videoaverage", "Peak Hold": "peakhold"}
    sequence = ["rate_exp_0003", "center_000F4240", "noise_seed1234"]  # on the last capture's axis
    blocks = ["%s/blocks/%s.bin" % (data, b) for b in sequence]
    for window in ["on", "off"]:
        for title, trace in expected("sequences/seq_changing_header.window_" + window)["traces"].items():
            runs.append((["--trace", names[title], "--window", window, "--peak-hold", "--video-average"] + blocks, trace,
                         expected(sequence[-1])["parse"]))
    failed = 0
    for args, trace, parse in runs:
        for threshold, count in CASES:
            problem = check(binary, args, trace, parse, threshold, count)
            if problem:
                failed += 1
                print("FAIL: peaks %s --threshold %s --count %d: %s" % (" ".join(args), threshold, count, problem))
    print("%d passed, %d failed" % (len(runs) * len(CASES) - failed, failed))
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main())
