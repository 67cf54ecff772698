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


def unit_numbers(text, units):
    """The set of unit numbers in "2,5-7" (all of 1..units when text is None)."""
    if text is None:
        return set(range(1, units + 1))
    numbers = set()
    for part in text.split(","):
        low, _, high = part.partition("-")
        first, last = int(low), int(high or low)
        if not 1 <= first <= last <= units:
            raise ValueError("%r is not within units 1-%d" % (part, units))
        numbers.update(range(first, last + 1))
    return numbers


FAULT_OPTIONS = ("refuse_after", "stall_transfer", "short_block", "long_block", "no_size",
                 "drop_mid_transfer", "reject_capture", "reject_text", "size_says", "forge_data_from")


def unit_options(options, number):
    """The options of unit `number` (from 1): its seed and centre, and the fault modes only
    when it is one of --fault-units."""
    unit = argparse.Namespace(**vars(options))
    unit.number = number
    unit.sample_set = (number - 1) % options.sample_sets
    unit.seed = options.seed + unit.sample_set
    unit.center_mhz = options.center_mhz + (number - 1) * options.center_step_mhz
    if number not in options.fault_units:
        for name in FAULT_OPTIONS:
            setattr(unit, name, None if name not in ("drop_mid_transfer", "reject_capture") else False)
    return unit


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
    rack = parser.add_argument_group("a rack of units")
    rack.add_argument("--units", type=bounded_int(1, 2000), default=1, metavar="N",
                      help="N units on N consecutive ports from --port (with port 0, from "
                           "the first of N free ones), unit k with centre CENTER+(k-1)*STEP "
                           "and the samples of set (k-1) mod K, made with seed SEED+that "
                           "set's number; units sharing a set start at other captures of it "
                           "(default 1)")
    rack.add_argument("--sample-sets", type=bounded_int(1, 64), metavar="K",
                      help="how many different sets of captures the units share, made at "
                           "start (default N, at most 8); the odd-numbered sets (1, 3, ...) "
                           "have the narrow carrier fading, the even ones steady, and each "
                           "set holds one whole fade of captures (or --capture-pool of them)")
    rack.add_argument("--center-step-mhz", type=float, default=5.0, metavar="STEP",
                      help="centre frequency step from one unit to the next (default 5.0)")
    rack.add_argument("--fault-units", metavar="LIST",
                      help="the fault modes apply to these units only: numbers and ranges "
                           "from 1, such as 2,5-7 (default all)")
    rack.add_argument("--spread-hosts", action="store_true",
                      help="unit k listens on the k-th loopback address from --host "
                           "(127.0.0.1, 127.0.0.2, ...), all on one port: a rack polled "
                           "every few seconds on one address pair runs out of ports, each "
                           "closed connection keeping its port for a minute")
    rack.add_argument("--quiet", action="store_true",
                      help="keep no command/event log (for many units)")
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
    try:
        options.fault_units = unit_numbers(options.fault_units, options.units)
    except ValueError as error:
        parser.error("--fault-units: %s" % error)
    if options.sample_sets is None:
        options.sample_sets = min(options.units, 8)
    if options.spread_hosts and not ipaddress.ip_address(options.host).version == 4:
        parser.error("--spread-hosts needs an IPv4 --host")
    if options.spread_hosts and not (ipaddress.ip_address(options.host) + options.units - 1).is_loopback:
        parser.error("--spread-hosts: %d units do not fit in the loopback addresses from %s"
                     % (options.units, options.host))
    if options.units > 1 and not options.spread_hosts and options.port and options.port + options.units - 1 > 65535:
        parser.error("--port %d leaves no room for %d units" % (options.port, options.units))
    last_centre = options.center_mhz + (options.units - 1) * options.center_step_mhz
    if not 0 <= round(min(options.center_mhz, last_centre) * 1000) <= round(max(options.center_mhz, last_centre) * 1000) <= 0xFFFFFFFF:
        parser.error("the units' centre frequencies must lie in 0..4294967.295 MHz")
    if options.short_block is not None and options.long_block is not None:
        parser.error("--short-block and --long-block cannot be given together")
    if options.forge_data_from and ":" in options.forge_data_from:
        parser.error("--forge-data-from takes an IPv4 loopback address")
    if options.dump_dir and not os.path.isdir(options.dump_dir):
        parser.error("--dump-dir %s is not a directory" % options.dump_dir)
    return options
