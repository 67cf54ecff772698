"""Command line of the simulated demodulator (see demod_sim.py)."""

import argparse
import codecs
import ipaddress
import math
import os

from simulated_capture import BLOCK_SIZE

NO_SIZE_CODES = (550, 500, 502)  # the replies demod_sim.py can give to SIZE


def loopback_host(text):
    """Accept only loopback addresses ("localhost" means 127.0.0.1)."""
    if text == "localhost":
        return "127.0.0.1"
    try:
        address = ipaddress.ip_address(text)
    except ValueError:
        raise argparse.ArgumentTypeError("not an IP address: %r" % text)
    if not address.is_loopback:
        raise argparse.ArgumentTypeError("only loopback addresses are allowed")
    return str(address)


def escaped_bytes(text):
    """TEXT with its backslash escapes turned into the bytes they name."""
    try:
        return codecs.escape_decode(text.encode("utf-8"))[0]
    except ValueError as error:
        raise argparse.ArgumentTypeError(str(error))


def bounded_int(low, high):
    def parse(text):
        value = int(text)
        if not low <= value <= high:
            raise argparse.ArgumentTypeError("must be %d..%d" % (low, high))
        return value
    return parse


def positive_float(text):
    value = float(text)
    if not value > 0 or math.isinf(value):
        raise argparse.ArgumentTypeError("must be a positive number")
    return value


def parse_arguments(argv):
    parser = argparse.ArgumentParser(
        description="Simulated Tavrix demodulator FTP service on loopback.")
    parser.add_argument("--port", type=bounded_int(0, 65535), default=0,
                        help="TCP port; 0 picks a free one (default 0)")
    parser.add_argument("--host", type=loopback_host, default="127.0.0.1",
                        help="loopback address to listen on (default 127.0.0.1)")
    parser.add_argument("--seed", type=int, default=1,
                        help="seed of the simulated signal (default 1)")
    parser.add_argument("--center-mhz", type=float, default=70.0,
                        help="centre frequency in MHz (default 70.0)")
    parser.add_argument("--rate-exponent", type=bounded_int(0, 65535), default=3,
                        help="rate exponent D, sample rate 1000/2^(D+1) (default 3)")
    parser.add_argument("--describe", action="store_true",
                        help="print the signals of the band for this seed, centre and rate "
                             "(their bands in MHz as the viewer's axis shows them, power, floor "
                             "and fixed C/N, as CSV) and exit without serving")
    parser.add_argument("--log", metavar="FILE",
                        help="write the command/event log here instead of stderr")
    parser.add_argument("--dump-dir", metavar="DIR",
                        help="also write every served block to DIR/block_NNNN.bin")
    parser.add_argument("--exit-with-parent", action="store_true",
                        help="stop when standard input closes, as it does when the "
                             "program that started the simulator ends, a crash included")
    parser.add_argument("--capture-pool", type=bounded_int(0, 64), default=0, metavar="N",
                        help="make N captures at start and repeat them in turn "
                             "(capture requests then cost nothing; for benchmarks)")
    faults = parser.add_argument_group("fault modes")
    faults.add_argument("--refuse-after", type=bounded_int(0, 1 << 30), metavar="N",
                        help="refuse connections once N sessions were accepted")
    faults.add_argument("--stall-transfer", type=positive_float, metavar="SECONDS",
                        help="pause every RETR of spectrum: halfway for SECONDS")
    faults.add_argument("--short-block", type=bounded_int(0, BLOCK_SIZE), metavar="N",
                        help="spectrum: holds only the first N bytes of the block")
    faults.add_argument("--long-block", type=bounded_int(BLOCK_SIZE + 1, 4 << 20), metavar="N",
                        help="spectrum: holds N bytes, the block followed by filler (SIZE says N)")
    faults.add_argument("--no-size", type=int, nargs="?", const=550,
                        choices=NO_SIZE_CODES, metavar="CODE",
                        help="answer SIZE of spectrum: with CODE (550, the "
                             "default, or 500/502: command not known)")
    faults.add_argument("--drop-mid-transfer", action="store_true",
                        help="close data and control connection halfway through RETR")
    faults.add_argument("--reject-capture", action="store_true",
                        help="answer STOR capt_spec: with 550")
    faults.add_argument("--reject-text", type=escaped_bytes, metavar="TEXT",
                        help="answer STOR capt_spec: with 550 followed by TEXT, its "
                             "backslash escapes (\\x1b, \\0, ...) sent as raw bytes")
    faults.add_argument("--size-says", type=bounded_int(0, 1 << 30), metavar="N",
                        help="answer SIZE of spectrum: with N, whatever it holds")
    faults.add_argument("--forge-data-from", type=loopback_host, metavar="ADDR",
                        help="make the data connections from this loopback address "
                             "instead of the one the client is connected to")
    faults.add_argument("--forge-skip", type=bounded_int(0, 1 << 30), default=0, metavar="N",
                        help="with --forge-data-from, the first N data connections are "
                             "made as usual (default 0)")
    options = parser.parse_args(argv)
    if options.short_block is not None and options.long_block is not None:
        parser.error("--short-block and --long-block cannot be given together")
    if not 0 <= round(options.center_mhz * 1000) <= 0xFFFFFFFF:
        parser.error("--center-mhz must be 0..4294967.295")
    if options.forge_data_from and ":" in options.forge_data_from:
        parser.error("--forge-data-from takes an IPv4 loopback address")
    if options.dump_dir and not os.path.isdir(options.dump_dir):
        parser.error("--dump-dir %s is not a directory" % options.dump_dir)
    return options
