"""Simulated captures of a Tavrix demodulator: baseband signal and block.

A capture block is 8224 bytes: a 30-byte header (lead word, centre frequency
in kHz as a big-endian 32-bit word, rate exponent D as a big-endian 16-bit
word, 22 reserved zero bytes), 4096 I bytes, 4096 Q bytes and a 16-bit
trailer word. The sample rate is 1000 / 2^(D+1) in the centre frequency's
unit (MHz). Standard library only, so it runs under any Python 3.
"""

import cmath
import math
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


class SignalModel:
    """Baseband scene: three steady carriers, one carrier that drifts in
    frequency and fades in level from capture to capture, Gaussian noise.

    Frequencies are fractions of the sample rate; all carriers stay within
    +-0.27 of it, inside the central 60 % that the viewer displays. The same
    seed and capture number always give the same samples."""

    NOISE_SIGMA = 3.5
    DRIFT_PEAK_AMPLITUDE = 30.0
    DRIFT_SWING = 0.15          # frequency swing around its centre
    FADE_DEPTH_DB = 20.0

    def __init__(self, seed):
        self.seed = seed
        rng = random.Random(seed)
        self.steady = [(rng.uniform(-0.26, -0.14), rng.uniform(30.0, 40.0)),
                       (rng.uniform(-0.04, 0.04), rng.uniform(18.0, 26.0)),
                       (rng.uniform(0.14, 0.26), rng.uniform(8.0, 14.0))]
        self.drift_centre = rng.uniform(-0.05, 0.05)
        self.drift_period = rng.uniform(30.0, 50.0)   # captures per cycle
        self.fade_period = rng.uniform(9.0, 15.0)      # captures per cycle

    def drifting_carrier(self, capture_number):
        """(frequency, amplitude) of the wandering carrier in a capture."""
        angle = 2 * math.pi * capture_number / self.drift_period
        freq = self.drift_centre + self.DRIFT_SWING * math.sin(angle)
        fade_db = 0.5 * self.FADE_DEPTH_DB * (
            1 - math.cos(2 * math.pi * capture_number / self.fade_period))
        return freq, self.DRIFT_PEAK_AMPLITUDE * 10 ** (-fade_db / 20)

    def capture(self, capture_number):
        """I and Q bytes (4096 each) of one capture."""
        rng = random.Random("%s/%d" % (self.seed, capture_number))
        sigma = self.NOISE_SIGMA
        gauss = rng.gauss
        samples = [complex(gauss(0, sigma), gauss(0, sigma))
                   for _ in range(SAMPLE_COUNT)]
        carriers = self.steady + [self.drifting_carrier(capture_number)]
        for freq, amplitude in carriers:
            start = cmath.rect(amplitude, rng.uniform(0, 2 * math.pi))
            step = cmath.exp(2j * math.pi * freq)
            # Rotate in chunks from exact anchors so rounding cannot pile up.
            for chunk_start in range(0, SAMPLE_COUNT, 256):
                z = start * step ** chunk_start
                for k in range(chunk_start, chunk_start + 256):
                    samples[k] += z
                    z *= step
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
