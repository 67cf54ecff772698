#!/usr/bin/env python3
"""Tests of the demodulator simulator, driven over real FTP with ftplib.

Run: python3 tools/test_demod_sim.py   (or python3 -m unittest discover tools)
Each test starts its own simulator on a free loopback port and stops it."""

import cmath
import ftplib
import io
import math
import os
import select
import statistics
import subprocess
import sys
import tempfile
import time
import unittest

SIMULATOR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "demod_sim.py")
BLOCK_SIZE = 8224
I_START, Q_START, SAMPLES = 30, 4126, 4096
TIMEOUT = 5.0


class Simulator:
    """One simulator process with its log and block dumps in a temporary
    folder. stop() leaves nothing running and fails if the simulator wrote
    anything to stderr (an internal error)."""

    def __init__(self, *options):
        self.workdir = tempfile.TemporaryDirectory()
        self.path = lambda name: os.path.join(self.workdir.name, name)
        self.stderr = open(self.path("stderr"), "w+")
        self.process = subprocess.Popen(
            [sys.executable, SIMULATOR, "--log", self.path("log"),
             "--dump-dir", self.workdir.name] + list(options),
            stdout=subprocess.PIPE, stderr=self.stderr, text=True)
        ready, _, _ = select.select([self.process.stdout], [], [], TIMEOUT)
        line = self.process.stdout.readline() if ready else ""
        self.port = int(line.split()[1]) if line.startswith("LISTENING ") else None
        if self.port is None:
            self.stop()
            raise RuntimeError("simulator did not start: %r" % line)

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(TIMEOUT)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.process.stdout.close()
        self.stderr.seek(0)
        errors = self.stderr.read()
        self.stderr.close()
        self.workdir.cleanup()
        if errors:
            raise AssertionError("simulator stderr:\n" + errors)

    def log_lines(self):
        with open(self.path("log")) as log:
            return log.read().splitlines()

    def dumped(self, number):
        with open(self.path("block_%04d.bin" % number), "rb") as block:
            return block.read()

    def connect(self, passive=False, timeout=TIMEOUT):
        ftp = ftplib.FTP()
        ftp.connect("127.0.0.1", self.port, timeout=timeout)
        ftp.login()  # anonymous
        ftp.set_pasv(passive)
        return ftp


def fetch(ftp):
    chunks = []
    ftp.retrbinary("RETR spectrum:", chunks.append)
    return b"".join(chunks)


def request_capture(ftp, payload=b"\x01"):
    ftp.storbinary("STOR capt_spec:", io.BytesIO(payload))


def header_fields(block):
    return (int.from_bytes(block[2:6], "big"), int.from_bytes(block[6:8], "big"))


def sample_values(block):
    """Complex samples as the viewer decodes them (b<=127: b, else b-255.5)."""
    value = lambda b: b if b <= 127 else b - 255.5
    return [complex(value(i), value(q))
            for i, q in zip(block[I_START:I_START + SAMPLES],
                            block[Q_START:Q_START + SAMPLES])]


def fft(values):
    """Iterative radix-2 FFT (length a power of two)."""
    n = len(values)
    bits = n.bit_length() - 1
    out = [values[int(format(k, "0%db" % bits)[::-1], 2)] for k in range(n)]
    size = 2
    while size <= n:
        step = cmath.exp(-2j * math.pi / size)
        for start in range(0, n, size):
            w = 1
            for k in range(start, start + size // 2):
                t = w * out[k + size // 2]
                out[k + size // 2] = out[k] - t
                out[k] += t
                w *= step
        size *= 2
    return out


def band_power(block):
    """Power of the Hann-windowed spectrum, bins from -1/2 to +1/2 of the rate."""
    samples = sample_values(block)
    n = len(samples)
    windowed = [s * (0.5 - 0.5 * math.cos(2 * math.pi * k / n)) for k, s in enumerate(samples)]
    power = [abs(c) ** 2 for c in fft(windowed)]
    return power[n // 2:] + power[:n // 2]


def smoothed_db(power, width=16):
    """dB of each bin's power averaged with its `width` neighbours."""
    half = width // 2
    return [10 * math.log10(sum(power[max(0, k - half):k + half + 1]) / width + 1e-12)
            for k in range(len(power))]


def regions_above(levels, threshold):
    """(first bin, last bin) of each run of bins above the threshold."""
    runs, start = [], None
    for k, level in enumerate(levels + [threshold]):
        if level > threshold and start is None:
            start = k
        elif level <= threshold and start is not None:
            runs.append((start, k - 1))
            start = None
    return runs


class SimulatorTestCase(unittest.TestCase):
    """Starts simulators and clients that are stopped after the test."""

    def start(self, *options):
        sim = Simulator(*options)
        self.addCleanup(sim.stop)
        return sim

    def open(self, sim, **kwargs):
        ftp = sim.connect(**kwargs)
        self.addCleanup(ftp.close)
        return ftp

    def assertRefused(self, code, command, *args):
        with self.assertRaises(ftplib.error_perm) as caught:
            command(*args)
        self.assertTrue(str(caught.exception).startswith(code), str(caught.exception))


class CaptureBlockTest(SimulatorTestCase):
    """What a fetch returns, and how capture requests change it."""

    def setUp(self):
        self.sim = self.start("--seed", "5", "--center-mhz", "1234.567",
                              "--rate-exponent", "7")
        self.ftp = self.open(self.sim)

    def test_block_size_header_range_and_copy_served(self):
        self.assertEqual(self.ftp.size("spectrum:"), BLOCK_SIZE)
        block = fetch(self.ftp)
        self.assertEqual(len(block), BLOCK_SIZE)
        self.assertEqual(header_fields(block), (1234567, 7))
        self.assertEqual(block[8:30], bytes(22))
        self.assertEqual(self.sim.dumped(1), block)
        self.assertEqual(fetch(self.open(self.sim, passive=True)), block)
        values = [v for s in sample_values(block) for v in (s.real, s.imag)]
        self.assertGreater(statistics.pstdev(values), 10)
        clipped = sum(1 for v in values if v >= 127 or v <= -127.5)
        self.assertLess(clipped, len(values) * 0.005)

    def test_band_holds_flat_topped_carriers_a_beacon_a_fading_carrier_and_a_tilted_floor(self):
        powers = [band_power(fetch(self.ftp))]
        for _ in range(11):
            request_capture(self.ftp)
            powers.append(band_power(fetch(self.ftp)))
        # The shapes from the average of the captures, as the video average shows them.
        levels = smoothed_db([statistics.mean(bins) for bins in zip(*powers)])
        floor = statistics.median(levels)
        signals = [r for r in regions_above(levels, floor + 10) if r[1] - r[0] >= 8]
        widths = sorted(last - first + 1 for first, last in signals)
        # Three modulated carriers of different symbol rates and one clean line,
        # all where the viewer's traces reach (a quarter of the rate either side).
        self.assertEqual(len(signals), 4, signals)
        for first, last in signals:
            self.assertGreater(first, SAMPLES // 4)
            self.assertLess(last, 3 * SAMPLES // 4)
        self.assertLessEqual(widths[0], 24)
        self.assertTrue(1.6 < widths[3] / widths[2] < 2.6 and 1.8 < widths[2] / widths[1] < 3.4, widths)
        humps = [r for r in signals if r[1] - r[0] > 24]
        for first, last in humps:
            # Flat: the middle of the top no higher than its sides, as a peak would be.
            top = levels[first + (last - first) // 4:last - (last - first) // 4]
            third = len(top) // 3
            sides = statistics.mean(top[:third] + top[-third:])
            self.assertLess(abs(statistics.mean(top[third:-third]) - sides), 1.5, (first, last))
        # The narrowest hump fades and returns from capture to capture.
        first, last = min(humps, key=lambda r: r[1] - r[0])
        faded = [smoothed_db(power[first:last + 1])[(last - first) // 2] for power in powers]
        self.assertGreater(max(faded) - min(faded), 10.0)
        # The floor falls by a few dB from the low edge of the band to the high one.
        low = statistics.mean(levels[SAMPLES // 20:SAMPLES // 5])
        high = statistics.mean(levels[4 * SAMPLES // 5:19 * SAMPLES // 20])
        self.assertTrue(2.0 < low - high < 8.0, (low, high))

    def test_capture_request_takes_a_new_capture_only_for_byte_1(self):
        first = fetch(self.ftp)
        self.assertEqual(fetch(self.ftp), first)  # reads alone change nothing
        for payload in (b"\x02", b"\x01\x01", b""):
            self.assertRefused("550", request_capture, self.ftp, payload)
        self.assertEqual(fetch(self.ftp), first)
        request_capture(self.ftp)
        second = fetch(self.ftp)
        self.assertEqual(len(second), BLOCK_SIZE)
        self.assertEqual(second[:30], first[:30])
        self.assertNotEqual(second, first)

    def test_directory_holds_only_the_two_pseudo_files(self):
        self.assertEqual(self.ftp.pwd(), "/")
        self.assertEqual(sorted(self.ftp.nlst()), ["capt_spec:", "spectrum:"])
        listing = []
        self.ftp.retrlines("LIST", listing.append)
        self.assertEqual(len(listing), 2)
        self.assertIn(" 8224 ", [e for e in listing if e.endswith(" spectrum:")][0])
        one = io.BytesIO(b"\x01")
        for command, args in ((self.ftp.retrbinary, ("RETR other", print)),
                              (self.ftp.retrbinary, ("RETR capt_spec:", print)),
                              (self.ftp.storbinary, ("STOR spectrum:", one)),
                              (self.ftp.storbinary, ("STOR other", one)),
                              (self.ftp.delete, ("spectrum:",)),
                              (self.ftp.size, ("capt_spec:",)),
                              (self.ftp.cwd, ("sub",))):
            self.assertRefused("550", command, *args)
        self.assertEqual(len(fetch(self.ftp)), BLOCK_SIZE)  # session still fine


class SessionTest(SimulatorTestCase):

    def test_log_has_one_line_per_connection_command_and_capture(self):
        sim = self.start()
        for step in ("request", "fetch", "idle"):
            ftp = sim.connect()
            if step == "request":
                request_capture(ftp)
            elif step == "fetch":
                ftp.size("spectrum:")
                fetch(ftp)
            ftp.quit()
        deadline = time.monotonic() + TIMEOUT
        while sim.log_lines().count("DISCONNECT") < 3 and time.monotonic() < deadline:
            time.sleep(0.02)
        lines = sim.log_lines()
        for line, count in (("CONNECT", 3), ("DISCONNECT", 3), ("USER anonymous", 3),
                            ("STOR capt_spec:", 1), ("RETR spectrum:", 1),
                            ("SIZE spectrum:", 1), ("CAPTURE 1", 1),
                            ("SENT 8224 complete", 1), ("RECEIVED 1 complete", 1)):
            self.assertEqual(lines.count(line), count, line)
        self.assertLess(lines.index("STOR capt_spec:"), lines.index("CAPTURE 1"))

    def test_same_seed_same_captures_other_seed_other_captures(self):
        def two_captures(seed):
            ftp = self.open(self.start("--seed", str(seed)))
            first = fetch(ftp)
            request_capture(ftp)
            return first, fetch(ftp)
        seven = two_captures(7)
        self.assertEqual(two_captures(7), seven)
        eight = two_captures(8)
        self.assertNotEqual(eight[0], seven[0])
        self.assertNotEqual(eight[1], seven[1])

    def test_parent_watch_ends_cleanly_on_a_signal_or_a_closed_input(self):
        # The watch thread sits in a read of standard input; the interpreter's exit must
        # not trip over it (a read through sys.stdin aborted about one exit in five).
        for ending in ["signal"] * 8 + ["closed input"] * 2:
            process = subprocess.Popen(
                [sys.executable, SIMULATOR, "--port", "0", "--exit-with-parent", "--log", os.devnull],
                stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
            self.assertTrue(process.stdout.readline().startswith(b"LISTENING "))
            if ending == "signal":
                process.terminate()
            else:
                process.stdin.close()
            status = process.wait(TIMEOUT)
            errors = process.stderr.read()
            for stream in (process.stdin, process.stdout, process.stderr):
                stream.close()
            self.assertEqual((status, errors), (0, b""), ending)

    def test_rejects_non_loopback_host_and_bad_values(self):
        for options in (["--host", "192.0.2.1"], ["--short-block", "9000"], ["--long-block", "8224"],
                        ["--short-block", "10", "--long-block", "9000"],
                        ["--center-mhz", "-1"], ["--no-size", "404"]):
            result = subprocess.run([sys.executable, SIMULATOR] + options,
                                    capture_output=True, text=True, timeout=TIMEOUT)
            self.assertEqual(result.returncode, 2, options)
            self.assertEqual(result.stdout, "")


class FaultModeTest(SimulatorTestCase):

    def test_no_size_answers_550_or_chosen_code_and_block_still_served(self):
        for options, code in ((("--no-size",), "550"), (("--no-size", "502"), "502")):
            ftp = self.open(self.start(*options))
            self.assertRefused(code, ftp.size, "spectrum:")
            self.assertEqual(len(fetch(ftp)), BLOCK_SIZE)

    def test_short_and_long_blocks_are_consistently_sized_files(self):
        for options, size in ((("--short-block", "100"), 100), (("--short-block", "0"), 0),
                              (("--long-block", "2000000"), 2000000)):
            sim = self.start(*options)
            ftp = self.open(sim)
            self.assertEqual(ftp.size("spectrum:"), size, options)
            block = fetch(ftp)
            self.assertEqual(len(block), size, options)
            if size:
                self.assertEqual(header_fields(block), (70000, 3))
            # A long file begins with the whole block a unit without the fault serves.
            if size > BLOCK_SIZE:
                self.assertEqual(block[:BLOCK_SIZE], fetch(self.open(self.start())))

    def test_rejected_capture_request_keeps_the_old_capture(self):
        sim = self.start("--reject-capture")
        ftp = self.open(sim)
        before = fetch(ftp)
        self.assertRefused("550", request_capture, ftp)
        self.assertEqual(fetch(ftp), before)
        self.assertNotIn("CAPTURE 1", sim.log_lines())

    def test_refuse_after_n_sessions(self):
        sim = self.start("--refuse-after", "2")
        first = self.open(sim)
        self.open(sim)
        with self.assertRaises(ConnectionRefusedError):
            sim.connect()
        self.assertEqual(len(fetch(first)), BLOCK_SIZE)  # accepted ones go on
        with self.assertRaises(ConnectionRefusedError):
            self.start("--refuse-after", "0").connect()

    def test_drop_mid_transfer_cuts_data_and_control(self):
        ftp = self.open(self.start("--drop-mid-transfer"), timeout=2)
        chunks = []
        # The control connection ends (EOF or reset); it does not go silent.
        with self.assertRaises((EOFError, ConnectionError)):
            ftp.retrbinary("RETR spectrum:", chunks.append)
        self.assertTrue(0 < len(b"".join(chunks)) < BLOCK_SIZE)

    def test_stalled_transfer_pauses_halfway_then_completes(self):
        sim = self.start("--stall-transfer", "1.5")
        chunks = []
        with self.assertRaises(TimeoutError):
            self.open(sim, timeout=0.4).retrbinary("RETR spectrum:", chunks.append)
        self.assertEqual(len(b"".join(chunks)), BLOCK_SIZE // 2)
        started = time.monotonic()
        block = fetch(self.open(sim))
        self.assertGreaterEqual(time.monotonic() - started, 1.0)
        self.assertEqual(len(block), BLOCK_SIZE)
        self.assertEqual(block, sim.dumped(2))

    def test_lying_size_raw_reply_bytes_and_forged_data_connections(self):
        sim = self.start("--short-block", "100", "--size-says", "8224",
                         "--forge-data-from", "127.0.0.2", "--forge-skip", "1")
        ftp = self.open(sim)
        self.assertEqual(ftp.size("spectrum:"), 8224)
        peers = []
        for _ in range(2):
            connection, _ = ftp.ntransfercmd("RETR spectrum:")
            peers.append(connection.getpeername()[0])
            received = b""
            while chunk := connection.recv(65536):
                received += chunk
            connection.close()
            ftp.voidresp()
            self.assertEqual(len(received), 100)
        self.assertEqual(peers, ["127.0.0.1", "127.0.0.2"])
        self.assertEqual(sim.log_lines().count("FORGED 127.0.0.2"), 1)

        raw = ftplib.FTP(encoding="latin-1")  # the reply's bytes, one character each
        raw.connect("127.0.0.1", self.start("--reject-text", r"\x1b[2J\xff\x00").port, timeout=TIMEOUT)
        self.addCleanup(raw.close)
        raw.login()
        raw.set_pasv(False)
        with self.assertRaises(ftplib.error_perm) as caught:
            request_capture(raw)
        self.assertEqual(str(caught.exception), "550 \x1b[2J\xff\x00")


if __name__ == "__main__":
    unittest.main()
