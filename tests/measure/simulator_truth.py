#!/usr/bin/env python3
"""C/N measured on simulator captures against the C/N the simulator gives its signals
(demod_sim.py --describe): for each signal its band, and as noise band the two stretches
either side of it, equally wide and equally far, so that the floor's slope cancels to
first order. Seeds 1 to 4 at 70 MHz (rate 3) and seed 5 at 1234.567 MHz (rate 7).

- One capture (capture 0, every signal at full level): within 1.5 dB. A noise band of
  N points of noise (powers exponential, about N/1.5 independent behind the window) gives
  its mean within 4.34 x sqrt(1.5/N) dB, 0.38 dB for 150 points; the tolerance is about
  four of those, with the floor's curvature and the carrier band's own noise.
- The video average of 16 captures, wide and medium carriers: within 0.6 dB. The average
  is taken over dB values, which reads noise about 2.5 dB low; a modulated carrier's
  points are noise-like too and read low alike, so their C/N is unbiased while the
  fluctuation shrinks fourfold. The narrow carrier fades, so it has no steady C/N. The
  beacon is a steady tone that the dB average does not lower: its C/N reads high, by more
  than 1.5 dB, and that is checked as what the average does.
The channel power of one capture is checked too: the signal's power plus the floor's
power over the band's points, within 0.5 dB.
Usage: simulator_truth.py BINARY TOOLS"""

import math
import os
import subprocess
import sys
import tempfile

CASES = ((1, 70.0, 3), (2, 70.0, 3), (3, 70.0, 3), (4, 70.0, 3), (5, 1234.567, 7))
CAPTURES = 16
SINGLE, AVERAGED, POWER, BEACON_ABOVE = 1.5, 0.6, 0.5, 1.5


def table(text):
    lines = text.strip().split("\n")
    return [dict(zip(lines[0].split(","), line.split(","))) for line in lines[1:]]


def main():
    binary, tools = sys.argv[1:3]
    sys.path.insert(0, tools)
    from simulated_capture import SignalModel, build_block
    failures, worst = [], {"single": 0.0, "averaged": 0.0}
    with tempfile.TemporaryDirectory() as folder:
        for seed, centre, rate_exponent in CASES:
            described = subprocess.run([sys.executable, os.path.join(tools, "demod_sim.py"), "--describe", "--seed",
                                        str(seed), "--center-mhz", str(centre), "--rate-exponent", str(rate_exponent)],
                                       capture_output=True, text=True, check=True).stdout
            signals = table(described)
            model, blocks = SignalModel(seed), []
            for n in range(CAPTURES):
                blocks.append(os.path.join(folder, "capture_%d_%02d.bin" % (seed, n)))
                with open(blocks[-1], "wb") as out:
                    out.write(build_block(int(round(centre * 1000)), rate_exponent, *model.capture(n)))
            step = 1000.0 / 2 ** (rate_exponent + 1) / 4096
            edges = [(float(s["Low"]), float(s["High"])) for s in signals]
            first, last = centre - 1023 * step, centre + 1024 * step  # the points' range
            for k, signal in enumerate(signals):
                low, high = edges[k]
                below = edges[k - 1][1] if k else first
                above = edges[k + 1][0] if k + 1 < len(edges) else last
                margin = 3 * step  # the window's skirt
                width = min(low - below, above - high) - 2 * margin
                words = ["--band", "%r:%r" % (low, high), "--noise", "%r:%r" % (low - margin - width, low - margin),
                         "--noise", "%r:%r" % (high + margin, high + margin + width)]
                what = "seed %d %s" % (seed, signal["Signal"])
                one = table(subprocess.run([binary, "measure"] + words + blocks[:1], capture_output=True,
                                           text=True, check=True).stdout)[0]
                error = float(one["CN"]) - float(signal["CN"])
                worst["single"] = max(worst["single"], abs(error))
                if abs(error) > SINGLE:
                    failures.append("%s: one capture reads C/N %s against %s" % (what, one["CN"], signal["CN"]))
                expected = 10 * math.log10(10 ** (float(signal["Power"]) / 10) +
                                           int(one["Points"]) * 10 ** (float(signal["NoiseDensity"]) / 10))
                if abs(float(one["ChannelPower"]) - expected) > POWER:
                    failures.append("%s: channel power %s against %.3f" % (what, one["ChannelPower"], expected))
                if signal["Signal"] == "narrow":
                    continue
                averaged = table(subprocess.run([binary, "measure", "--video-average", "--trace", "videoaverage"] +
                                                words + blocks, capture_output=True, text=True, check=True).stdout)[0]
                error = float(averaged["CN"]) - float(signal["CN"])
                if signal["Signal"] == "beacon":
                    if error < BEACON_ABOVE:
                        failures.append("%s: the video average reads the tone's C/N %s, not high" % (what, error))
                    continue
                worst["averaged"] = max(worst["averaged"], abs(error))
                if abs(error) > AVERAGED:
                    failures.append("%s: the video average reads C/N %s against %s" % (what, averaged["CN"],
                                                                                      signal["CN"]))
    for failure in failures:
        print("FAIL: " + failure)
    print("worst C/N error: one capture %.2f dB (allowed %.1f), video average of %d %.2f dB (allowed %.1f)"
          % (worst["single"], SINGLE, CAPTURES, worst["averaged"], AVERAGED))
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main())
