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
    rate), `freq` the centre as a fraction of the sample rate, `level_db` the
    height of the flat top over the noise floor."""

    SPAN = 8  # symbols under one pulse

    def __init__(self, freq, sps, roll_off, level_db, noise_power):
        self.freq, self.sps = freq, sps
        self.rms = math.sqrt(10 ** (level_db / 10) * noise_power / sps)
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

    Frequencies are fractions of the sample rate. The same seed and capture
    number always give the same samples; another seed moves and levels the
    carriers a little differently."""

    NOISE_SIGMA = 3.5           # of each of I and Q
    TILT = 0.25                 # colouring of the floor: about 4 dB across the band
    FADE_DEPTH_DB = 30.0
    BEACON_AMPLITUDE = 7.0

    def __init__(self, seed):
        self.seed = seed
        rng = random.Random(seed)
        noise_power = 2 * self.NOISE_SIGMA ** 2
        jitter = lambda: rng.uniform(-0.008, 0.008)
        self.steady = [
            ModulatedCarrier(-0.14 + jitter(), 8, 0.25, rng.uniform(17, 20), noise_power),
            ModulatedCarrier(0.03 + jitter(), 16, 0.3, rng.uniform(22, 25), noise_power),
        ]
        self.fading = ModulatedCarrier(0.125 + jitter(), 40, 0.2, rng.uniform(20, 23), noise_power)
        self.beacon_freq = 0.2 + jitter()
        self.fade_period = rng.uniform(16.0, 24.0)   # captures per fade and return

    def fade_gain(self, capture_number):
        """Amplitude factor of the fading carrier in a capture (1 at full level)."""
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
        parts.append(mix([self.BEACON_AMPLITUDE] * SAMPLE_COUNT, self.beacon_freq, rng.uniform(0, 2 * math.pi)))
        for part in parts:
            samples = list(map(operator.add, samples, part))
        i_bytes = bytes(encode_sample(s.real) for s in samples)
        q_bytes = bytes(encode_sample(s.imag) for s in samples)
        return i_bytes, q_bytes


def build_block(centre_field, rate_exponent, i_bytes, q_bytes):
    """Whole capture block: header, I region, Q region, trailer word.

    The trailer word is a 16-bit sum of the sample bytes; readers ignore it."""
    header = bytearray(HEADER_SIZE)
    header[0:2] = LEAD_WORD.to_bytes(2, "big")
    header[2:6] = centre_field.to_bytes(4, "big")
    header[6:8] = rate_exponent.to_bytes(2, "big")
    trailer = (sum(i_bytes) + sum(q_bytes)) & 0xFFFF
    return bytes(header) + i_bytes + q_bytes + trailer.to_bytes(2, "big")
