"""The simulated demodulator's unit state, shared by all its FTP sessions: the event log,
the sample sets a unit's captures come from, and the unit's capture memory and fault
settings. Nothing here speaks FTP."""

import os
import time

from simulated_capture import SignalModel, build_block

CAPTURE_REQUEST = b"\x01"


class EventLog:
    """One line per FTP command as received ("RETR spectrum:", upper-case
    verb, argument verbatim, PASS argument hidden) and per event:

      CONNECT            control connection accepted
      DISCONNECT         control connection closed
      CAPTURE <n>        capture n taken (0 is the one made at start)
      SENT <bytes> complete|incomplete      end of a RETR data transfer
      RECEIVED <bytes> complete|incomplete  end of a STOR data transfer
      STALL <seconds>    a RETR transfer pauses halfway
      DROP               a RETR transfer and its session are cut halfway
      REFUSING           no further connections are accepted
      FORGED <addr>      a data connection is made from another address
    """

    def __init__(self, stream, prefix=""):
        self.stream = stream  # None: no log is kept
        self.prefix = prefix  # "U<n> " for the units of a rack

    def write(self, line):
        if self.stream is None:
            return
        self.stream.write(self.prefix + line + "\n")
        self.stream.flush()


class SampleSet:
    """The captures of one signal model. For a rack, and with --capture-pool, they are
    made at start and repeated in turn, so that a capture request costs nothing: Python
    takes tens of milliseconds to make one, and a rack asks for hundreds a second."""

    def __init__(self, seed, fading, pool_size):
        self.model = SignalModel(seed, fading)
        self.pool = [self.model.capture(n) for n in range(pool_size)]

    def capture(self, number):
        if self.pool:
            return self.pool[number % len(self.pool)]
        return self.model.capture(number)

    @staticmethod
    def for_rack(options):
        """The sample sets of --units: the odd-numbered (1, 3, ...) fading through one whole
        fade in their captures, the even-numbered steady."""
        sets = []
        for k in range(min(options.sample_sets, options.units)):
            fading = k % 2 == 0
            size = options.capture_pool
            if not size:
                size = max(1, round(SignalModel(options.seed + k, fading).fade_period)) if fading else 4
            sets.append(SampleSet(options.seed + k, fading, size))
        return sets


class SimulatedUnit:
    """The demodulator's capture memory and the fault settings."""

    def __init__(self, options, events, samples, start=0):
        self.options = options
        self.events = events
        self.samples = samples
        self.start = start  # units sharing a sample set start at different captures of it
        self.centre_field = int(round(options.center_mhz * 1000))
        self.capture_number = -1
        self.block = b""
        self.captured_at = time.time()
        self.blocks_served = 0
        self.data_connections = 0
        self.take_capture()

    def take_capture(self):
        self.capture_number += 1
        i_bytes, q_bytes = self.samples.capture(self.start + self.capture_number)
        self.block = build_block(self.centre_field, self.options.rate_exponent,
                                 i_bytes, q_bytes)
        self.captured_at = time.time()
        self.events.write("CAPTURE %d" % self.capture_number)

    def spectrum_file(self):
        """The bytes "spectrum:" holds: the block, cut when --short-block,
        followed by filler up to N bytes when --long-block."""
        if self.options.short_block is not None:
            return self.block[:self.options.short_block]
        if self.options.long_block is not None:
            filler = self.options.long_block - len(self.block)
            return self.block + bytes(range(256)) * (filler // 256) + bytes(filler % 256)
        return self.block

    def capture_request(self, payload):
        """Act on the content written to "capt_spec:"; error text or None."""
        if payload != CAPTURE_REQUEST:
            return "Capture request must be the single byte 1."
        self.take_capture()
        return None

    def record_served(self, data):
        """Keep a copy of each block handed out, when --dump-dir is set."""
        self.blocks_served += 1
        if self.options.dump_dir:
            rack = "u%d_" % self.options.number if self.options.units > 1 else ""
            path = os.path.join(self.options.dump_dir,
                                "%sblock_%04d.bin" % (rack, self.blocks_served))
            with open(path, "wb") as out:
                out.write(data)
