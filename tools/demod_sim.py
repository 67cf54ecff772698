#!/usr/bin/env python3
"""Simulated Tavrix demodulator: a real FTP server on a loopback port.

The unit offers two pseudo-files in its login directory:

  capt_spec:  write-only. A STOR of exactly one byte of value 1 takes a new
              capture. Any other content is answered with 550 after the
              transfer and takes no capture.
  spectrum:   read-only. A RETR returns the latest capture block (8224 bytes:
              30 header bytes, 4096 I bytes, 4096 Q bytes, 2 trailer bytes).
              A capture exists from start-up.

Any other name is answered with 550. The transfer type is ignored: the block
always goes out byte for byte, and SIZE is answered in ASCII type too.
Fault modes for tests are listed by --help.

On start the server prints one line "LISTENING <port>" on stdout, then serves
until SIGTERM or SIGINT. Commands and events are logged one per line (see
EventLog) to stderr or to --log FILE.
"""

import io
import ipaddress
import logging
import os
import random
import signal
import socket
import stat
import sys
import threading
import time

SYSTEM_PYTHON = "/usr/bin/python3"

try:
    import pyftpdlib  # noqa: F401  (only to test that it is there)
except ImportError:
    # A Python other than the system one (pyenv, venv) does not see Debian's
    # python3-pyftpdlib: run this script under the system Python instead.
    if (__name__ == "__main__" and os.path.exists(SYSTEM_PYTHON)
            and os.path.realpath(sys.executable) != os.path.realpath(SYSTEM_PYTHON)):
        os.execv(SYSTEM_PYTHON, [SYSTEM_PYTHON, os.path.abspath(__file__)] + sys.argv[1:])
    sys.exit("demod_sim: pyftpdlib is missing; install it with "
             "'apt-get install -y python3-pyftpdlib'")

from pyftpdlib.filesystems import AbstractedFS, FilesystemError
from pyftpdlib.handlers import ActiveDTP, DTPHandler, FTPHandler
from pyftpdlib.authorizers import AuthenticationFailed, DummyAuthorizer
from pyftpdlib.ioloop import IOLoop, RetryError
from pyftpdlib.servers import FTPServer

from simulated_capture import SignalModel, describe
from sim_options import parse_arguments, unit_options
from sim_unit import EventLog, SampleSet, SimulatedUnit

SPECTRUM_NAME = "spectrum:"
CAPTURE_NAME = "capt_spec:"
# libcurl gives up on a 550 to its SIZE before RETR; after 500/502 it goes on.
NO_SIZE_REPLIES = {550: "550 SIZE not available.",
                   500: "500 Command \"SIZE\" not understood.",
                   502: "502 SIZE not implemented."}


# --------------------------------------------------------------------------
# Virtual file system: one root directory holding the two pseudo-files

class VirtualFS(AbstractedFS):
    """Paths stay virtual ("/spectrum:"); nothing touches the real disk."""

    unit = None  # set by main()

    def ftp2fs(self, ftppath):
        return self.ftpnorm(ftppath)

    def fs2ftp(self, fspath):
        return fspath

    def validpath(self, path):
        return True

    def realpath(self, path):
        return path

    @staticmethod
    def kind(path):
        """SPECTRUM_NAME, CAPTURE_NAME or None for a normalised path."""
        name = path[1:] if path.startswith("/") else None
        return name if name in (SPECTRUM_NAME, CAPTURE_NAME) else None

    def isdir(self, path):
        return path == "/"

    def isfile(self, path):
        return self.kind(path) is not None

    def chdir(self, path):
        if path != "/":
            raise FilesystemError("No such directory")
        self.cwd = "/"

    def listdir(self, path):
        if path != "/":
            raise FilesystemError("No such directory")
        return [CAPTURE_NAME, SPECTRUM_NAME]

    listdirinfo = listdir

    def stat(self, path):
        mtime = self.unit.captured_at
        if path == "/":
            mode, size, inode = stat.S_IFDIR | 0o755, 0, 1
        elif self.kind(path) == SPECTRUM_NAME:
            mode, size, inode = stat.S_IFREG | 0o444, len(self.unit.spectrum_file()), 2
        elif self.kind(path) == CAPTURE_NAME:
            mode, size, inode = stat.S_IFREG | 0o222, 0, 3
        else:
            raise FilesystemError("No such file")
        return os.stat_result((mode, inode, 1, 1, 0, 0, size, mtime, mtime, mtime))

    lstat = stat

    def getsize(self, path):
        return self.stat(path).st_size

    def getmtime(self, path):
        return self.stat(path).st_mtime

    def get_user_by_uid(self, uid):
        return "owner"

    def get_group_by_gid(self, gid):
        return "group"

    def _refuse(self, *args, **kwargs):
        raise FilesystemError("Operation not permitted")

    open = mkstemp = mkdir = rmdir = remove = rename = chmod = utime = _refuse


class AnonymousAuthorizer(DummyAuthorizer):
    """Accepts the anonymous user (any password); everyone else gets 530."""

    ANONYMOUS_NAMES = ("anonymous", "ftp")

    def validate_authentication(self, username, password, handler):
        if username.lower() not in self.ANONYMOUS_NAMES:
            raise AuthenticationFailed("Only anonymous login is accepted.")

    def get_home_dir(self, username):
        return "/"

    def has_perm(self, username, perm, path=None):
        return True  # what each name permits is decided by the handler

    def get_perms(self, username):
        return "elrw"

    def get_msg_login(self, username):
        return "Anonymous login ok."

    def get_msg_quit(self, username):
        return "Goodbye."


# --------------------------------------------------------------------------
# Data channel and control channel

class TransferPlan:
    """Bytes to send on a RETR and how the unit misbehaves while sending."""

    def __init__(self, data, stall_seconds, drop):
        self.data = data
        self.stall_seconds = stall_seconds
        self.drop = drop


class CaptureRequestSink(io.BytesIO):
    """Collects what a STOR to "capt_spec:" writes; judged when it ends."""

    name = CAPTURE_NAME


class SimDataChannel(DTPHandler):
    """Data connection that can pause or cut a RETR halfway and that turns a
    finished STOR to "capt_spec:" into a capture (or a 550)."""

    def __init__(self, sock, cmd_channel):
        self._plan_pending = False
        self._close_after_plan = False
        super().__init__(sock, cmd_channel)

    def push_with_producer(self, producer):
        if not isinstance(producer, TransferPlan):
            return super().push_with_producer(producer)
        plan = producer
        if not plan.stall_seconds and not plan.drop:
            self.push(plan.data)
            return None
        half = len(plan.data) // 2
        self._plan_pending = True
        self.push(plan.data[:half])
        # Act from the event loop, not from inside the RETR command handler.
        self.call_later(0, self._when_sent,
                        lambda: self._after_first_half(plan, half))
        return None

    def close_when_done(self):
        if self._plan_pending:
            self._close_after_plan = True
        else:
            super().close_when_done()

    def _when_sent(self, action):
        """Run action once everything queued has gone to the socket."""
        if self._closed:
            return
        if self.producer_fifo:
            self.call_later(0.005, self._when_sent, action)
        else:
            action()

    def _after_first_half(self, plan, half):
        events = self.cmd_channel.events
        if plan.stall_seconds:
            events.write("STALL %g" % plan.stall_seconds)
            # Nothing to write for a while: listen for the client hanging up.
            self.modify_ioloop_events(self.ioloop.READ)
            self.call_later(plan.stall_seconds, self._after_stall, plan, half)
        else:
            self._after_stall(plan, half)

    def _after_stall(self, plan, half):
        if self._closed:
            return
        if plan.drop:
            self.cmd_channel.events.write("DROP")
            control = self.cmd_channel
            self._resp = ()  # no reply: both connections just go away
            self.close()
            control.close()
            return
        self.push(plan.data[half:])
        self._plan_pending = False
        if self._close_after_plan:
            super().close_when_done()

    def handle_read(self):
        if self.receive:
            return super().handle_read()
        try:
            self.recv(1024)  # a sender only reads to notice the client leaving
        except RetryError:
            pass

    def handle_close(self):
        if self._plan_pending and not self._closed:
            self._resp = ("426 Transfer aborted; %d bytes transmitted."
                          % self.tot_bytes_sent, logging.getLogger(__name__).info)
            self.close()
            return
        super().handle_close()

    def close(self):
        if not self._closed:
            self._report_end()
        super().close()

    def _report_end(self):
        events = self.cmd_channel.events
        if self.receive and isinstance(self.file_obj, CaptureRequestSink):
            finished = bool(self._resp) and self._resp[0].startswith("226")
            events.write("RECEIVED %d %s" % (
                self.tot_bytes_received, "complete" if finished else "incomplete"))
            if finished:
                error = self.cmd_channel.unit.capture_request(self.file_obj.getvalue())
                if error:
                    self._resp = ("550 " + error, logging.getLogger(__name__).info)
        elif self.cmd == "RETR":
            finished = bool(self._resp) and self._resp[0].startswith("226")
            events.write("SENT %d %s" % (
                self.tot_bytes_sent, "complete" if finished else "incomplete"))


class SimActiveDTP(ActiveDTP):
    """The unit's side of an active-mode data connection; with --forge-data-from it
    comes from another address, as a host racing the unit would."""

    def connect_af_unspecified(self, addr, source_address=None):
        unit = self.cmd_channel.unit
        unit.data_connections += 1
        forged = unit.options.forge_data_from
        if forged and unit.data_connections > unit.options.forge_skip:
            self.cmd_channel.events.write("FORGED %s" % forged)
            source_address = (forged, 0)
        return super().connect_af_unspecified(addr, source_address)

    def handle_connect(self):
        super().handle_connect()
        # The socket now belongs to the data channel. The library's connector keeps its
        # descriptor number, and closing it later (when the session ends) took that number
        # out of the event loop even when a newer socket of another session had it by then:
        # that session's data connection was never seen again and its transfer hung.
        self._fileno = None


class SimHandler(FTPHandler):
    """Control connection of the simulated unit."""

    unit = None    # set by main()
    events = None  # set by main()
    authorizer = AnonymousAuthorizer()
    abstracted_fs = VirtualFS
    dtp_handler = SimDataChannel
    active_dtp = SimActiveDTP
    banner = "Tavrix demodulator (simulated) ready."
    timeout = 120
    use_sendfile = False
    auth_failed_timeout = 0.5

    def on_connect(self):
        self.events.write("CONNECT")

    def on_disconnect(self):
        self.events.write("DISCONNECT")

    def pre_process_command(self, line, cmd, arg):
        if cmd == "PASS":
            self.events.write("PASS ****")
        else:
            self.events.write(("%s %s" % (cmd, arg)).rstrip())
        return super().pre_process_command(line, cmd, arg)

    def ftp_SIZE(self, path):
        if VirtualFS.kind(path) != SPECTRUM_NAME:
            self.respond("550 %s is not retrievable." % self.fs.fs2ftp(path))
        elif self.unit.options.no_size:
            self.respond(NO_SIZE_REPLIES[self.unit.options.no_size])
        elif self.unit.options.size_says is not None:
            self.respond("213 %d" % self.unit.options.size_says)
        else:
            self.respond("213 %d" % len(self.unit.spectrum_file()))

    def ftp_RETR(self, file):
        rest_pos, self._restart_position = self._restart_position, 0
        if VirtualFS.kind(file) != SPECTRUM_NAME:
            self.respond("550 No such file.")
            return None
        data = self.unit.spectrum_file()
        if rest_pos > len(data):
            self.respond("554 REST position beyond end of file.")
            return None
        data = data[rest_pos:]
        self.unit.record_served(data)
        options = self.unit.options
        plan = TransferPlan(data, options.stall_transfer, options.drop_mid_transfer)
        self.push_dtp_data(plan, isproducer=True, cmd="RETR")
        return file

    def ftp_STOR(self, file, mode="w"):
        self._restart_position = 0
        if VirtualFS.kind(file) != CAPTURE_NAME:
            self.respond("550 Permission denied.")
            return None
        if self.unit.options.reject_text is not None:
            # Raw bytes, not text: the reply goes out exactly as given.
            super(FTPHandler, self).push(b"550 " + self.unit.options.reject_text + b"\r\n")
            return None
        if self.unit.options.reject_capture:
            self.respond("550 Capture request rejected.")
            return None
        sink = CaptureRequestSink()
        if self.data_channel is not None:
            self.respond("125 Data connection already open. Transfer starting.")
            self.data_channel.file_obj = sink
            self.data_channel.enable_receiving("i", "STOR")
        else:
            self.respond("150 File status okay. About to open data connection.")
            self._in_dtp_queue = (sink, "STOR")
        return file


# --------------------------------------------------------------------------
# Listening socket

class SimServer(FTPServer):
    """FTP server that stops listening once --refuse-after sessions came in."""

    def __init__(self, address, handler, refuse_after, events, ioloop=None):
        self.refuse_after = refuse_after
        self.events = events
        self.sessions = 0
        self.port_holder = None
        if ioloop is not None:
            # The library counts every socket of the event loop against its limit, and a
            # rack's units share one loop: each unit serves its own few sessions anyway.
            self.max_cons = 0
        super().__init__(address, handler, ioloop=ioloop)
        self.bound_address = self.socket.getsockname()
        self.family = self.socket.family
        if refuse_after == 0:
            self.stop_listening()

    def handle_accepted(self, sock, addr):
        handler = super().handle_accepted(sock, addr)
        self.sessions += 1
        if self.refuse_after is not None and self.sessions >= self.refuse_after:
            self.stop_listening()
        return handler

    def stop_listening(self):
        """Close the listener but keep the port bound without listening, so
        new connections are refused and no one else takes the port."""
        if self.port_holder is not None:
            return
        self.close()
        self.events.write("REFUSING")
        holder = socket.socket(self.family, socket.SOCK_STREAM)
        holder.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        try:
            holder.bind(self.bound_address)
        except OSError:
            holder.close()  # the port is merely free; connects still fail
            holder = False
        self.port_holder = holder


# --------------------------------------------------------------------------
# Command line

class Shutdown(SystemExit):
    """Raised by the signal handler to leave the serving loop. A SystemExit,
    so that the event loop's error handlers let it through."""


def serve(server):
    """Run the event loop until a signal raises Shutdown."""
    ioloop = server.ioloop
    wait = 0.5
    while True:
        if ioloop.socket_map:
            ioloop.poll(wait)
        else:
            time.sleep(wait)  # listener closed and no sessions left
        soonest = ioloop.sched.poll()
        wait = 0.5 if soonest is None else min(0.5, soonest)


def watch_parent():
    """Ends the simulator once standard input reaches its end: the viewer that started it
    holds the other end of the pipe, and the system closes it when the viewer ends."""
    def wait_for_end():
        # The descriptor itself, not sys.stdin: a thread blocked in the buffered reader
        # holds its lock, and Python aborts at exit when it cannot take that lock.
        try:
            while os.read(sys.stdin.fileno(), 4096):
                pass
        except (OSError, ValueError):
            pass
        os.kill(os.getpid(), signal.SIGTERM)
    threading.Thread(target=wait_for_end, name="parent-watch", daemon=True).start()


def describe_rack(options):
    """--describe for a rack: the signals of each unit, a column "Unit" first."""
    lines = []
    for number in range(1, options.units + 1):
        unit = unit_options(options, number)
        text = describe(SignalModel(unit.seed, unit.sample_set % 2 == 0),
                        int(round(unit.center_mhz * 1000)), unit.rate_exponent).splitlines()
        if not lines:
            lines.append("Unit," + text[0])
        lines.extend("%d,%s" % (number, line) for line in text[1:])
    return "\n".join(lines) + "\n"


def raise_open_file_limit():
    """A rack holds a listener and a few connections for every unit."""
    try:
        import resource
        soft, hard = resource.getrlimit(resource.RLIMIT_NOFILE)
        if soft < hard:
            resource.setrlimit(resource.RLIMIT_NOFILE, (hard, hard))
    except (ImportError, ValueError, OSError):
        pass


def make_servers(options, units, ioloop):
    """One listening server for each unit, on consecutive ports. With --port 0 a run of
    free ports is looked for."""
    tries = 1 if options.port or options.units == 1 else 50
    for attempt in range(tries):
        # Below the ports the system hands out for outgoing connections.
        first = options.port if options.port or options.units == 1 else random.randrange(20000, 32768 - min(options.units, 10000))
        servers = []
        try:
            for offset, (unit, handler) in enumerate(units):
                host, port = options.host, first + offset if first else 0
                if options.spread_hosts:
                    host, port = str(ipaddress.ip_address(options.host) + offset), first
                servers.append(SimServer((host, port), handler, unit.options.refuse_after,
                                         unit.events, ioloop))
            return servers
        except OSError as error:
            for server in servers:
                server.close()
            if attempt + 1 == tries:
                sys.exit("demod_sim: cannot listen on %s port %d: %s"
                         % (options.host, first + len(servers), error.strerror))
    return []


def main(argv=None):
    options = parse_arguments(sys.argv[1:] if argv is None else argv)
    if options.describe:
        if options.units == 1:
            sys.stdout.write(describe(SignalModel(options.seed), int(round(options.center_mhz * 1000)),
                                      options.rate_exponent))
        else:
            sys.stdout.write(describe_rack(options))
        return 0
    log_stream = None if options.quiet else open(options.log, "w") if options.log else sys.stderr
    library_log = logging.getLogger("pyftpdlib")
    library_log.setLevel(logging.ERROR)
    library_log.addHandler(logging.StreamHandler(sys.stderr))
    library_log.propagate = False

    if options.units == 1:
        sets = [SampleSet(options.seed, True, options.capture_pool)]
    else:
        raise_open_file_limit()
        sets = SampleSet.for_rack(options)
    units = []
    for number in range(1, options.units + 1):
        unit_opts = unit_options(options, number)
        events = EventLog(log_stream, "U%d " % number if options.units > 1 else "")
        shared = (number - 1) // len(sets)  # how many units before it share its set
        unit = SimulatedUnit(unit_opts, events, sets[unit_opts.sample_set], start=5 * shared)
        fs = type("UnitFS%d" % number, (VirtualFS,), {"unit": unit})
        handler = type("UnitHandler%d" % number, (SimHandler,),
                       {"unit": unit, "events": events, "abstracted_fs": fs})
        units.append((unit, handler))
    servers = make_servers(options, units, IOLoop() if options.units > 1 else None)

    def on_signal(signum, frame):
        raise Shutdown()

    signal.signal(signal.SIGTERM, on_signal)
    signal.signal(signal.SIGINT, on_signal)
    if options.exit_with_parent:
        watch_parent()
    try:
        print("LISTENING %d" % servers[0].bound_address[1], flush=True)
        serve(servers[0])
    except Shutdown:
        pass
    finally:
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        signal.signal(signal.SIGINT, signal.SIG_IGN)
        for server in servers:
            try:
                server.close_all()
            except Exception:
                pass  # a session interrupted halfway may not close cleanly
            if server.port_holder:
                server.port_holder.close()
        if log_stream not in (None, sys.stderr):
            log_stream.close()
    return 0


if __name__ == "__main__":
    sys.exit(main())
