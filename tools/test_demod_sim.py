#!/usr/bin/env python3
"""Tests of the demodulator simulator over real FTP (ftplib), each with its own simulators."""

import cmath
import ftplib
import io
import itertools
import math
import os
import select
import statistics
import subprocess
import sys
import tempfile
import unittest

SIMULATOR = os.path.join(os.path.dirname(os.path.abspath(__file__)), "demod_sim.py")
BLOCK_SIZE, I_START, Q_START, SAMPLES, TIMEOUT = 8224, 30, 4126, 4096, 5.0


class Simulator:
    def __init__(self, test, *options):
        folder = tempfile.TemporaryDirectory()
        test.addCleanup(folder.cleanup)
        self.path = lambda name: os.path.join(folder.name, name)
        with open(self.path("stderr"), "w") as stderr:
            self.process = subprocess.Popen(
                [sys.executable, SIMULATOR, "--log", self.path("log"), "--dump-dir", folder.name, *options],
                stdout=subprocess.PIPE, stderr=stderr, text=True)
        test.addCleanup(self.process.kill)  # after stop(), should that time out
        test.addCleanup(self.stop, test)
        ready, _, _ = select.select([self.process.stdout], [], [], TIMEOUT)
        line = self.process.stdout.readline() if ready else ""
        test.assertTrue(line.startswith("LISTENING "), "simulator did not start: %r" % line)
        self.port = int(line.split()[1])

    def stop(self, test):
        self.process.terminate()
        self.process.wait(TIMEOUT)
        self.process.stdout.close()
        test.assertEqual(self.read("stderr"), "", "simulator stderr")

    def read(self, name, mode="r"):
        with open(self.path(name), mode) as file:
            return file.read()

    def connect(self, test, passive=False, timeout=TIMEOUT):
        ftp = ftplib.FTP()
        ftp.connect("127.0.0.1", self.port, timeout=timeout)
        test.addCleanup(ftp.close)
        ftp.login()  # anonymous
        ftp.set_pasv(passive)
        return ftp


def fetch(ftp):
    data = bytearray()
    ftp.retrbinary("RETR spectrum:", data.extend)
    return bytes(data)


def request_capture(ftp, payload=b"\x01"):
    ftp.storbinary("STOR capt_spec:", io.BytesIO(payload))


def header_fields(block):  # centre in kHz, rate exponent
    return (int.from_bytes(block[2:6], "big"), int.from_bytes(block[6:8], "big"))


def sample_values(block):
    """Complex samples as the viewer decodes them (b<=127: b, else b-255.5)."""
    value = lambda b: b if b <= 127 else b - 255.5
    return [complex(value(i), value(q)) for i, q in zip(block[I_START:Q_START], block[Q_START:Q_START + SAMPLES])]


def fft(values):
    """Radix-2 FFT (length a power of two)."""
    n = len(values)
    if n == 1:
        return values
    even, odd = fft(values[0::2]), fft(values[1::2])
    turned = [cmath.exp(-2j * math.pi * k / n) * odd[k] for k in range(n // 2)]
    return [e + t for e, t in zip(even, turned)] + [e - t for e, t in zip(even, turned)]


def band_power(block):
    """Power of the Hann-windowed spectrum, bins from -1/2 to +1/2 of the rate."""
    samples = sample_values(block)
    n = len(samples)
    power = [abs(c) ** 2 for c in fft([s * (0.5 - 0.5 * math.cos(2 * math.pi * k / n)) for k, s in enumerate(samples)])]
    return power[n // 2:] + power[:n // 2]


def smoothed_db(power, width=16):
    """dB of each bin's power averaged with its `width` neighbours."""
    return [10 * math.log10(sum(power[max(0, k - width // 2):k + width // 2 + 1]) / width + 1e-12)
            for k in range(len(power))]


def regions_above(levels, threshold):
    """(first bin, last bin) of each run of bins above the threshold."""
    runs = (list(run) for above, run in itertools.groupby(range(len(levels)), lambda k: levels[k] > threshold))
    return [(run[0], run[-1]) for run in runs if levels[run[0]] > threshold]


class SimulatorTest(unittest.TestCase):

    def assertRefused(self, code, command, *args):
        with self.assertRaises(ftplib.error_perm) as caught:
            command(*args)
        self.assertTrue(str(caught.exception).startswith(code), str(caught.exception))

    def test_block_header_range_copy_served_and_capture_requests(self):
        sim = Simulator(self, "--seed", "5", "--center-mhz", "1234.567", "--rate-exponent", "7")
        ftp = sim.connect(self)
        self.assertEqual(ftp.size("spectrum:"), BLOCK_SIZE)
        first = fetch(ftp)
        self.assertEqual((len(first), header_fields(first), first[8:30]), (BLOCK_SIZE, (1234567, 7), bytes(22)))
        self.assertEqual(sim.read("block_0001.bin", "rb"), first)
        self.assertEqual(fetch(sim.connect(self, passive=True)), first)  # reads alone change nothing
        values = [v for s in sample_values(first) for v in (s.real, s.imag)]
        self.assertGreater(statistics.pstdev(values), 10)
        self.assertLess(sum(1 for v in values if v >= 127 or v <= -127.5), len(values) * 0.005)
        # Only the single byte 1 takes a new capture; the header stays.
        for payload in (b"\x02", b"\x01\x01", b""):
            self.assertRefused("550", request_capture, ftp, payload)
        self.assertEqual(fetch(ftp), first)
        request_capture(ftp)
        second = fetch(ftp)
        self.assertEqual((len(second), second[:30]), (BLOCK_SIZE, first[:30]))
        self.assertNotEqual(second, first)
        # The directory holds only the two pseudo files; anything else is refused.
        listing = []
        ftp.retrlines("LIST", listing.append)
        self.assertEqual(len(listing), 2)
        self.assertIn(" 8224 ", [e for e in listing if e.endswith(" spectrum:")][0])
        one = io.BytesIO(b"\x01")
        for command, *args in ((ftp.retrbinary, "RETR other", print), (ftp.retrbinary, "RETR capt_spec:", print),
                               (ftp.storbinary, "STOR spectrum:", one), (ftp.storbinary, "STOR other", one),
                               (ftp.delete, "spectrum:"), (ftp.size, "capt_spec:"), (ftp.cwd, "sub")):
            self.assertRefused("550", command, *args)
        self.assertEqual(len(fetch(ftp)), BLOCK_SIZE)  # the session is still fine

    def test_band_holds_flat_topped_carriers_a_beacon_a_fading_carrier_and_a_tilted_floor(self):
        ftp = Simulator(self, "--seed", "5", "--center-mhz", "1234.567", "--rate-exponent", "7").connect(self)
        powers = []
        for _ in range(12):
            request_capture(ftp)
            powers.append(band_power(fetch(ftp)))
        # The shapes from the average of the captures, as the video average shows them.
        levels = smoothed_db([statistics.mean(bins) for bins in zip(*powers)])
        signals = [r for r in regions_above(levels, statistics.median(levels) + 10) if r[1] - r[0] >= 8]
        widths = sorted(last - first + 1 for first, last in signals)
        # Three carriers of different symbol rates and a clean line, within a quarter of the rate.
        self.assertEqual(len(signals), 4, signals)
        self.assertTrue(all(SAMPLES // 4 < first and last < 3 * SAMPLES // 4 for first, last in signals), signals)
        self.assertLessEqual(widths[0], 24)
        self.assertTrue(1.6 < widths[3] / widths[2] < 2.6 and 1.8 < widths[2] / widths[1] < 3.4, widths)
        humps = [r for r in signals if r[1] - r[0] > 24]
        for first, last in humps:
            # Flat: the middle of the top no higher than its sides, as a peak would be.
            top = levels[first + (last - first) // 4:last - (last - first) // 4]
            third = len(top) // 3
            self.assertLess(abs(statistics.mean(top[third:-third]) - statistics.mean(top[:third] + top[-third:])),
                            1.5, (first, last))
        # The narrowest hump fades and returns from capture to capture.
        first, last = min(humps, key=lambda r: r[1] - r[0])
        faded = [smoothed_db(power[first:last + 1])[(last - first) // 2] for power in powers]
        self.assertGreater(max(faded) - min(faded), 10.0)
        # The floor falls by a few dB from the low edge of the band to the high one.
        low, high = levels[SAMPLES // 20:SAMPLES // 5], levels[-SAMPLES // 5:-SAMPLES // 20]
        tilt = statistics.mean(low) - statistics.mean(high)
        self.assertTrue(2.0 < tilt < 8.0, tilt)

    def test_refused_sessions_and_seeds(self):
        # The FTP client's tests refuse the first and the second session; here the third.
        sim = Simulator(self, "--refuse-after", "2")
        first = sim.connect(self)
        sim.connect(self)
        with self.assertRaises(ConnectionRefusedError):
            sim.connect(self)
        self.assertEqual(len(fetch(first)), BLOCK_SIZE)  # accepted ones go on
        # The same seed gives the same captures, another seed others.
        def two_captures(seed):
            ftp = Simulator(self, "--seed", str(seed)).connect(self)
            first = fetch(ftp)
            request_capture(ftp)
            return first, fetch(ftp)
        seven = two_captures(7)
        self.assertEqual(two_captures(7), seven)
        self.assertTrue(all(a != b for a, b in zip(two_captures(8), seven)))

    def test_rack_of_units_on_consecutive_ports(self):
        # Each unit its own centre, samples and log prefix; the fault modes on unit 2 alone.
        sim = Simulator(self, "--units", "3", "--center-step-mhz", "2.5", "--fault-units", "2", "--reject-capture")
        blocks = []
        for k in range(3):
            ftp = ftplib.FTP()
            ftp.connect("127.0.0.1", sim.port + k, timeout=TIMEOUT)
            self.addCleanup(ftp.close)
            ftp.login()
            ftp.set_pasv(False)
            if k == 1:
                self.assertRefused("550", request_capture, ftp)
            else:
                request_capture(ftp)
            blocks.append(fetch(ftp))
        self.assertEqual([header_fields(b) for b in blocks], [(70000, 3), (72500, 3), (75000, 3)])
        self.assertEqual(len({b[I_START:] for b in blocks}), 3)
        self.assertEqual(sim.read("log").count("U2 CAPTURE"), 1)  # the one made at start
        described = subprocess.run([sys.executable, SIMULATOR, "--units", "3", "--describe"], capture_output=True,
                                   text=True, timeout=TIMEOUT).stdout.splitlines()
        narrow = [line.split(",") for line in described if ",narrow," in line]
        self.assertEqual([(n[0], n[-1] != "") for n in narrow], [("1", True), ("2", False), ("3", True)])

    def test_parent_watch_ends_cleanly_and_bad_options_are_refused(self):
        # The watch thread sits in a read of standard input; the interpreter's exit must
        # not trip over it (a read through sys.stdin aborted about one exit in five).
        for ending in ["signal"] * 8 + ["closed input"] * 2:
            with subprocess.Popen([sys.executable, SIMULATOR, "--port", "0", "--exit-with-parent", "--log", os.devnull],
                                  stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=subprocess.PIPE) as process:
                self.assertTrue(process.stdout.readline().startswith(b"LISTENING "))
                process.terminate() if ending == "signal" else process.stdin.close()
                status, errors = process.wait(TIMEOUT), process.stderr.read()
            self.assertEqual((status, errors), (0, b""), ending)
        for options in (["--host", "192.0.2.1"], ["--short-block", "9000"], ["--long-block", "8224"],
                        ["--short-block", "10", "--long-block", "9000"], ["--center-mhz", "-1"], ["--no-size", "404"],
                        ["--units", "3", "--fault-units", "4"], ["--units", "2", "--port", "65535"]):
            result = subprocess.run([sys.executable, SIMULATOR] + options, capture_output=True, text=True,
                                    timeout=TIMEOUT)
            self.assertEqual((result.returncode, result.stdout), (2, ""), options)

    def test_block_faults_and_size(self):  # the FTP client's tests reject the capture request
        whole = fetch(Simulator(self).connect(self))
        for options, size, served in ((("--no-size",), "550", BLOCK_SIZE), (("--no-size", "502"), "502", BLOCK_SIZE),
                                      (("--short-block", "100"), 100, 100), (("--short-block", "0"), 0, 0),
                                      (("--long-block", "2000000"), 2000000, 2000000),
                                      (("--short-block", "100", "--size-says", "8224"), 8224, 100)):
            ftp = Simulator(self, *options).connect(self)
            if isinstance(size, str):
                self.assertRefused(size, ftp.size, "spectrum:")
            else:
                self.assertEqual(ftp.size("spectrum:"), size, options)
            block = fetch(ftp)
            self.assertEqual(len(block), served, options)
            if served:
                self.assertEqual(header_fields(block), (70000, 3))
            # A long file begins with the whole block a unit without the fault serves.
            self.assertEqual(block[:BLOCK_SIZE], whole[:served], options)

    def test_stalled_transfer_and_forged_data_after_a_skip(self):
        sim = Simulator(self, "--stall-transfer", "1.5")
        received = bytearray()
        with self.assertRaises(TimeoutError):
            sim.connect(self, timeout=0.4).retrbinary("RETR spectrum:", received.extend)
        self.assertEqual(len(received), BLOCK_SIZE // 2)
        block = fetch(sim.connect(self))  # paused too, then whole
        self.assertEqual((len(block), block, sim.read("log").splitlines().count("STALL 1.5")),
                         (BLOCK_SIZE, sim.read("block_0002.bin", "rb"), 2))
        # The FTP client's tests see a forged connection refused; here it comes only after the skipped one.
        sim = Simulator(self, "--forge-data-from", "127.0.0.2", "--forge-skip", "1")
        ftp, peers = sim.connect(self), []
        for _ in range(2):
            with ftp.transfercmd("RETR spectrum:") as connection, connection.makefile("rb") as stream:
                peers.append((connection.getpeername()[0], len(stream.read())))
            ftp.voidresp()
        self.assertEqual(peers, [("127.0.0.1", BLOCK_SIZE), ("127.0.0.2", BLOCK_SIZE)])
        self.assertEqual(sim.read("log").splitlines().count("FORGED 127.0.0.2"), 1)


if __name__ == "__main__":
    unittest.main()
