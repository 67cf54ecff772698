"""Simulated captures of a Tavrix demodulator: baseband signal and block.

A capture block is 8224 bytes: a 30-byte header (lead word, centre frequency
in kHz as a big-endian 32-bit word, rate exponent D as a big-endian 16-bit
word, 22 reserved zero bytes), 4096 I bytes, 4096 Q bytes and a 16-bit
trailer word. The sample rate is 1000 / 2^(D+1) in the centre frequency's
unit (MHz). Standard library only, so it runs under any Python 3.
"""

import cmath
import math
import operator
import random

SAMPLE_COUNT = 4096
HEADER_SIZE = 30
BLOCK_SIZE = HEADER_SIZE + 2 * SAMPLE_COUNT + 2  # 8224
LEAD_WORD = 0x5441  # "TA"


def encode_sample(value):
    """Byte for a sample value; the reader maps b<=127 to b, b>=128 to b-255.5."""
    if value >= 0:
        return min(127, int(round(value)))
    return max(128, min(255, int(round(value + 255.5))))


def rrc_taps(sps, span, beta):
    """Root-raised-cosine pulse over `span` symbols at `sps` samples a symbol,
    scaled so that unit-power symbols give unit power a sample."""
    taps = []
    for m in range(-span * sps // 2, span * sps // 2 + 1):
        t = m / sps
        if m == 0:
            h = 1 - beta + 4 * beta / math.pi
        elif abs(abs(4 * beta * t) - 1) < 1e-9:
            h = beta / math.sqrt(2) * ((1 + 2 / math.pi) * math.sin(math.pi / (4 * beta))
                                       + (1 - 2 / math.pi) * math.cos(math.pi / (4 * beta)))
        else:
            h = ((math.sin(math.pi * t * (1 - beta)) + 4 * beta * t * math.cos(math.pi * t * (1 + beta)))
                 / (math.pi * t * (1 - (4 * beta * t) ** 2)))
        taps.append(h)
    gain = math.sqrt(sps / sum(h * h for h in taps))
    return [h * gain for h in taps]


class ModulatedCarrier:
    """A QPSK carrier shaped by a root-raised-cosine filter: on the analyzer a
    hump with a flat top Rs wide and sloped skirts out to Rs * (1 + roll-off).

    `sps` whole samples a symbol (the symbol rate is 1/sps of the sample
    rate), `freq` the centre as a fraction of the sample rate, `power` its
    power a sample (in sample units squared)."""

    SPAN = 8  # symbols under one pulse

    def __init__(self, freq, sps, roll_off, power):
        self.freq, self.sps = freq, sps
        self.rms = math.sqrt(power)
        taps = rrc_taps(sps, self.SPAN, roll_off)
        taps += [0.0] * ((self.SPAN + 1) * sps - len(taps))
        # One reversed sub-filter per sample phase: a sample is a short dot
        # product of the symbols around it with the taps of its phase.
        self.phases = [[taps[d * sps + r] for d in range(self.SPAN, -1, -1)] for r in range(sps)]

    def samples(self, rng, gain=1.0):
        sps, span = self.sps, self.SPAN
        a = self.rms * gain / math.sqrt(2)
        choice = (complex(a, a), complex(-a, a), complex(-a, -a), complex(a, -a))
        symbols = [rng.choice(choice) for _ in range(SAMPLE_COUNT // sps + 2 * span + 2)]
        lead = span * sps // 2
        phases = self.phases
        out = []
        for n in range(SAMPLE_COUNT):
            q, r = divmod(n + lead, sps)
            out.append(sum(map(operator.mul, symbols[q:q + span + 1], phases[r])))
        return mix(out, self.freq, rng.uniform(0, 2 * math.pi))


def mix(baseband, freq, phase):
    """The samples moved to `freq` (fraction of the sample rate)."""
    step = cmath.exp(2j * math.pi * freq)
    out = []
    # Rotate in chunks from exact anchors so rounding cannot pile up.
    for chunk_start in range(0, len(baseband), 256):
        z = cmath.exp(1j * (phase + 2 * math.pi * freq * chunk_start))
        for value in baseband[chunk_start:chunk_start + 256]:
            out.append(value * z)
            z *= step
    return out


class SignalModel:
    """What the unit sees on a satellite downlink, within the quarter of the
    sample rate either side of the centre that the viewer's traces cover: three QPSK carriers of different
    symbol rates (wide, medium and narrow), the narrow one fading away and
    returning over a few tens of captures, an unmodulated beacon, and a noise
    floor that falls by a few dB from the low edge to the high one.

    Each signal has a fixed C/N: its power over the power of the floor in its
    band, the band being Rs * (1 + roll-off) wide for a carrier and nine
    analyzer points for the beacon. The power follows from the C/N and the
    floor where the signal sits. The narrow carrier has its C/N at full level,
    in capture 0 and once every fade period.

    Frequencies are fractions of the sample rate. The same seed and capture
    number always give the same samples; another seed moves the signals a
    little and fades the narrow carrier at another pace."""

    NOISE_SIGMA = 3.5           # of each of I and Q
    TILT = 0.25                 # colouring of the floor: about 4 dB across the band
    QUANTIZATION = 1.0 / 6      # power a sample of rounding I and Q to whole steps
    FADE_DEPTH_DB = 30.0
    # name, centre (fraction of the sample rate), samples a symbol, roll-off, C/N (dB)
    CARRIERS = (("wide", -0.14, 8, 0.25, 17.0),
                ("medium", 0.03, 16, 0.3, 22.0),
                ("narrow", 0.125, 40, 0.2, 22.0))
    BEACON = ("beacon", 0.2, 30.0)
    BEACON_HALF_WIDTH = 4.5 / SAMPLE_COUNT  # its band: 4 points either side of it

    def __init__(self, seed, fading=True):
        self.seed = seed
        self.fading_on = fading  # otherwise the narrow carrier stays at full level
        rng = random.Random(seed)
        jitter = lambda: rng.uniform(-0.008, 0.008)
        self.signals = []  # (name, centre, low, high, samples a symbol or None, power, C/N)
        carriers = []
        for name, freq, sps, roll_off, cn_db in self.CARRIERS:
            freq += jitter()
            half = (1 + roll_off) / (2 * sps)
            power = self.add_signal(name, freq, freq - half, freq + half, sps, cn_db)
            carriers.append(ModulatedCarrier(freq, sps, roll_off, power))
        self.steady, self.fading = carriers[:2], carriers[2]
        name, freq, cn_db = self.BEACON
        self.beacon_freq = freq + jitter()
        half = self.BEACON_HALF_WIDTH
        self.beacon_amplitude = math.sqrt(self.add_signal(name, self.beacon_freq, self.beacon_freq - half,
                                                          self.beacon_freq + half, None, cn_db))
        self.fade_period = rng.uniform(16.0, 24.0)   # captures per fade and return

    def add_signal(self, name, freq, low, high, sps, cn_db):
        power = 10 ** (cn_db / 10) * self.floor_power(low, high)
        self.signals.append((name, freq, low, high, sps, power, cn_db))
        return power

    def floor_power(self, low, high):
        """Power a sample of the floor between two frequencies: the coloured
        noise (its density 1 + g^2 - 2 g sin(2 pi f) over 1 + g^2 times the
        white power) and the rounding to bytes, white."""
        g = self.TILT
        coloured = (high - low) + g / math.pi * (math.cos(2 * math.pi * high) - math.cos(2 * math.pi * low)) / (1 + g * g)
        return 2 * self.NOISE_SIGMA ** 2 * coloured + self.QUANTIZATION * (high - low)

    def fade_gain(self, capture_number):
        """Amplitude factor of the fading carrier in a capture (1 at full level)."""
        if not self.fading_on:
            return 1.0
        fade_db = 0.5 * self.FADE_DEPTH_DB * (1 - math.cos(2 * math.pi * capture_number / self.fade_period))
        return 10 ** (-fade_db / 20)

    def capture(self, capture_number):
        """I and Q bytes (4096 each) of one capture."""
        rng = random.Random("%s/%d" % (self.seed, capture_number))
        sigma, gauss = self.NOISE_SIGMA, rng.gauss
        white = [complex(gauss(0, sigma), gauss(0, sigma)) for _ in range(SAMPLE_COUNT + 1)]
        # A one-tap colouring: power 1 + g^2 - 2 g sin(2 pi f), falling with f.
        tilt = -1j * self.TILT
        samples = [(white[k + 1] + tilt * white[k]) / math.sqrt(1 + self.TILT ** 2)
                   for k in range(SAMPLE_COUNT)]
        parts = [carrier.samples(rng) for carrier in self.steady]
        parts.append(self.fading.samples(rng, self.fade_gain(capture_number)))
        parts.append(mix([self.beacon_amplitude] * SAMPLE_COUNT, self.beacon_freq, rng.uniform(0, 2 * math.pi)))
        for part in parts:
            samples = list(map(operator.add, samples, part))
        i_bytes = bytes(encode_sample(s.real) for s in samples)
        q_bytes = bytes(encode_sample(s.imag) for s in samples)
        return i_bytes, q_bytes


def window_power_sum():
    """The sum of the squares of the viewer's window (on by default): a noise
    of power P a sample gives each analyzer point P times this."""
    half = SAMPLE_COUNT // 2
    return sum((0.5 * math.cos(((i - half + 0.5) * 3.14159) / half - 0.5) + 0.5) ** 2
               for i in range(1, SAMPLE_COUNT + 1))


def describe(model, centre_field, rate_exponent):
    """The signals of the band as CSV text, frequencies in MHz as the viewer's
    axis shows them (a point is labelled one point above the bin it holds),
    levels in dB as the viewer reads them with its window on:

      Signal        wide, medium, narrow, beacon
      Low, High     the signal's band
      Centre        its centre
      SymbolRate    MSym/s (empty for the beacon)
      Power         the signal alone, summed over its band (channel power)
      NoiseDensity  the floor under it, a point
      CN            its power over the floor's power in its band
      FadePeriod    captures per fade and return (the narrow carrier)"""
    rate = 1000.0 / 2 ** (min(rate_exponent, 12) + 1)
    axis = lambda f: centre_field / 1000.0 + (f + 1.0 / SAMPLE_COUNT) * rate
    points = SAMPLE_COUNT * window_power_sum()
    db = lambda power: 10 * math.log10(power)
    lines = ["Signal,Low,High,Centre,SymbolRate,Power,NoiseDensity,CN,FadePeriod"]
    for name, freq, low, high, sps, power, cn_db in model.signals:
        density = model.floor_power(low, high) / ((high - low) * SAMPLE_COUNT)
        lines.append("%s,%.6f,%.6f,%.6f,%s,%.3f,%.3f,%.3f,%s" % (
            name, axis(low), axis(high), axis(freq), "%.6f" % (rate / sps) if sps else "", db(points * power),
            db(points * density), cn_db, "%.3f" % model.fade_period if name == "narrow" and model.fading_on else ""))
    return "\n".join(lines) + "\n"


def build_block(centre_field, rate_exponent, i_bytes, q_bytes):
    """Whole capture block: header, I region, Q region, trailer word.

    The trailer word is a 16-bit sum of the sample bytes; readers ignore it."""
    header = bytearray(HEADER_SIZE)
    header[0:2] = LEAD_WORD.to_bytes(2, "big")
    header[2:6] = centre_field.to_bytes(4, "big")
    header[6:8] = rate_exponent.to_bytes(2, "big")
    trailer = (sum(i_bytes) + sum(q_bytes)) & 0xFFFF
    return bytes(header) + i_bytes + q_bytes + trailer.to_bytes(2, "big")
