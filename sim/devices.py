#!/usr/bin/python3
"""Stand-ins for the daemons around nxcgi on the device, for the simulator.

    devices.py uartsvc   ROOT QIDFILE   the serial output service (message queue)
    devices.py isensd    ROOT           the sensor link daemon (pid file, SIGUSR1)
    devices.py nxcamctld ROOT           the camera control daemon (pid file, signal 12)
    devices.py ftpd      ROOT DIR PORT USER PASSWD
                                        the FTP server the upload services use;
                                        PORT 0: a free port, printed on one line,
                                        and the server ends with its parent

Every event goes to ROOT/var/log/device.journal as one line: a UTC time
stamp, a blank, the daemon's name, ": " and what happened. SIGTERM and
SIGINT stop a daemon; it removes its pid file or message queue first.
"""
import ctypes
import datetime
import errno
import os
import signal
import struct
import sys
import time

JOURNAL = "/var/log/device.journal"
REPLY_FILE = "/var/run/uartsvc.reply"

# The serial output service's request queue and the request layout: a
# 32-bit message type, then RetMsgQId, RxLength, RxWaitTm, TxMode, Length
# (32-bit little-endian each) and 200 data bytes.
UART_REQUEST_KEY = 0x20030922
UART_TEXT_SIZE = 220
UART_DATA_SIZE = 200
MSG_MAX_TEXT = 256
IPC_CREAT = 0o1000
IPC_EXCL = 0o2000
IPC_NOWAIT = 0o4000
IPC_RMID = 0


def stamp():
    now = datetime.datetime.now(datetime.timezone.utc)
    return now.strftime("%Y-%m-%dT%H:%M:%S.%fZ")


class Journal:
    def __init__(self, root, source):
        self.path = root + JOURNAL
        self.source = source

    def __call__(self, text):
        line = "%s %s: %s\n" % (stamp(), self.source, text)
        # One write with O_APPEND: lines of concurrent writers never mix.
        fd = os.open(self.path, os.O_WRONLY | os.O_APPEND | os.O_CREAT, 0o644)
        try:
            os.write(fd, line.encode())
        finally:
            os.close(fd)


class Stop(Exception):
    pass


def stop_on_terminate():
    def handler(signum, frame):
        # Ctrl-C reaches the daemon and then the simulator's SIGTERM: the
        # first one stops it, later ones must not cut the clean-up short.
        signal.signal(signal.SIGTERM, signal.SIG_IGN)
        signal.signal(signal.SIGINT, signal.SIG_IGN)
        raise Stop()

    signal.signal(signal.SIGTERM, handler)
    signal.signal(signal.SIGINT, handler)


def hex_bytes(data):
    return ",".join("0x%02x" % b for b in data) if data else "(none)"


def publish_queue_id(path, queue):
    with open(path, "w") as out:
        out.write("%d\n" % queue)


def run_uartsvc(root, queue_id_file):
    """Serves the request queue; its current id goes to queue_id_file, so
    that whoever started it can remove it should this process be killed."""
    journal = Journal(root, "uartsvc")
    libc = ctypes.CDLL(None, use_errno=True)
    libc.msgget.argtypes = [ctypes.c_int, ctypes.c_int]
    libc.msgrcv.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_long, ctypes.c_int]
    libc.msgrcv.restype = ctypes.c_ssize_t
    libc.msgsnd.argtypes = [ctypes.c_int, ctypes.c_void_p, ctypes.c_size_t, ctypes.c_int]
    libc.msgctl.argtypes = [ctypes.c_int, ctypes.c_int, ctypes.c_void_p]

    queue = libc.msgget(UART_REQUEST_KEY, IPC_CREAT | IPC_EXCL | 0o666)
    if queue < 0:
        err = ctypes.get_errno()
        sys.stderr.write("uartsvc: cannot create the request queue 0x%08x: %s%s\n" % (
            UART_REQUEST_KEY, os.strerror(err),
            " (another simulator or a test owns it; `ipcrm -Q 0x%08x` removes a stale one)" % UART_REQUEST_KEY
            if err == errno.EEXIST else ""))
        return 1
    stop_on_terminate()
    publish_queue_id(queue_id_file, queue)
    journal("started, request queue 0x%08x (id %d)" % (UART_REQUEST_KEY, queue))
    # The C library's message buffer: a long type, then the text.
    long_size = ctypes.sizeof(ctypes.c_long)
    buffer = ctypes.create_string_buffer(long_size + MSG_MAX_TEXT)
    try:
        while True:
            received = libc.msgrcv(queue, buffer, MSG_MAX_TEXT, 0, 0)
            if received < 0:
                err = ctypes.get_errno()
                if err == errno.EINTR:  # a signal; the handler decides
                    continue
                if err not in (errno.EIDRM, errno.EINVAL):
                    journal("receive failed: %s" % os.strerror(err))
                    return 1
                # Someone removed the queue (ipcrm, a test cleaning up):
                # make it again as soon as the key is free.
                journal("request queue removed by another process; waiting to make it again")
                queue = -1
                while queue < 0:
                    time.sleep(0.5)
                    queue = libc.msgget(UART_REQUEST_KEY, IPC_CREAT | IPC_EXCL | 0o666)
                publish_queue_id(queue_id_file, queue)
                journal("request queue 0x%08x made again (id %d)" % (UART_REQUEST_KEY, queue))
                continue
            raw = buffer.raw
            msg_type = struct.unpack_from("l", raw, 0)[0]
            text = bytearray(raw[long_size:long_size + received].ljust(UART_TEXT_SIZE, b"\0"))
            ret_queue, rx_length, rx_wait, tx_mode, length = struct.unpack_from("<5i", text, 0)
            data = bytes(text[20:20 + max(0, min(length, UART_DATA_SIZE))])
            journal("request type 0x%x, reply queue %d, TxMode %d, RxLength %d, RxWaitTm %d, "
                    "transmit %d bytes %s" % (msg_type, ret_queue, tx_mode, rx_length, rx_wait, length,
                                              hex_bytes(data)))
            # The line is looped back: what was transmitted is received. A
            # reply file in the root (/var/run/uartsvc.reply) stands for a
            # device that answers otherwise: its bytes are the reply's text,
            # or, when it says "silent", there is no reply at all.
            answer = bytes(text[:UART_TEXT_SIZE])
            try:
                with open(root + REPLY_FILE, "rb") as override:
                    answer = override.read()
            except FileNotFoundError:
                pass
            if answer == b"silent":
                journal("left the request unanswered")
                continue
            reply = ctypes.create_string_buffer(long_size + max(len(answer), 1))
            struct.pack_into("l", reply, 0, msg_type if msg_type > 0 else 1)
            reply[long_size:long_size + len(answer)] = answer
            if libc.msgsnd(ret_queue, reply, len(answer), IPC_NOWAIT) < 0:
                journal("reply to queue %d failed: %s" % (ret_queue, os.strerror(ctypes.get_errno())))
            else:
                journal("replied on queue %d: received %d bytes %s" % (ret_queue, length, hex_bytes(data))
                        if answer == bytes(text[:UART_TEXT_SIZE])
                        else "replied on queue %d with %d bytes of %s" % (ret_queue, len(answer), REPLY_FILE))
    except Stop:
        pass
    finally:
        if queue >= 0:
            libc.msgctl(queue, IPC_RMID, None)
        try:
            os.remove(queue_id_file)
        except FileNotFoundError:
            pass
        journal("stopped, request queue removed")
    return 0


def run_signal_daemon(root, name, pid_file):
    """Journals every notification signal it receives. The handlers only
    note the signal; the main loop writes the lines, so that a stop can
    never cut a line short, and every signal that arrived before the stop
    (a lower number than SIGTERM) is journaled before the daemon ends."""
    journal = Journal(root, name)
    pid_path = root + pid_file
    # The daemon's own process name: the handlers signal only a process of that name.
    with open("/proc/self/comm", "w") as comm:
        comm.write(name)
    names = {signal.SIGUSR1: "SIGUSR1", signal.SIGUSR2: "SIGUSR2", signal.SIGHUP: "SIGHUP"}
    received = []
    stopping = []
    for signum in names:
        signal.signal(signum, lambda signum, frame: received.append(signum))
    for signum in (signal.SIGTERM, signal.SIGINT):
        signal.signal(signum, lambda signum, frame: stopping.append(signum))
    with open(pid_path, "w") as out:
        out.write("%d\n" % os.getpid())
    journal("started, pid %d in %s" % (os.getpid(), pid_file))
    while True:
        while received:
            signum = received.pop(0)
            journal("received signal %d (%s)" % (signum, names[signum]))
        if stopping:
            break
        time.sleep(0.05)  # pause() could miss a signal that came just before it
    try:
        os.remove(pid_path)
    except FileNotFoundError:
        pass
    journal("stopped, %s removed" % pid_file)
    return 0


def run_ftpd(root, directory, port, user, password):
    import logging
    from pyftpdlib.authorizers import DummyAuthorizer
    from pyftpdlib.handlers import FTPHandler
    from pyftpdlib.servers import FTPServer

    journal = Journal(root, "ftpd")
    logging.basicConfig(level=logging.WARNING)

    class JournalingHandler(FTPHandler):
        def on_connect(self):
            journal("connection from %s:%d" % (self.remote_ip, self.remote_port))

        def on_login(self, username):
            journal("%s logged in" % username)

        def on_login_failed(self, username, password):
            journal("login of %s refused" % username)

        def on_file_sent(self, file):
            journal("sent %s" % os.path.relpath(file, directory))

        def on_file_received(self, file):
            journal("received %s (%d bytes)" % (os.path.relpath(file, directory), os.path.getsize(file)))

        def on_incomplete_file_received(self, file):
            journal("incomplete upload %s" % os.path.relpath(file, directory))

        def ftp_MKD(self, path):
            result = super().ftp_MKD(path)
            if os.path.isdir(path):
                journal("made directory %s" % os.path.relpath(path, directory))
            return result

        def on_disconnect(self):
            journal("connection from %s:%d closed" % (self.remote_ip, self.remote_port))

    authorizer = DummyAuthorizer()
    authorizer.add_user(user, password, directory, perm="elradfmwMT")
    JournalingHandler.authorizer = authorizer
    JournalingHandler.banner = "simulated upload server ready."
    JournalingHandler.passive_ports = None
    server = FTPServer(("127.0.0.1", port), JournalingHandler)
    stop_on_terminate()
    if port == 0:
        # Started by a test: tell it the port, and end with it.
        ctypes.CDLL(None).prctl(1, signal.SIGTERM)  # PR_SET_PDEATHSIG
        port = server.address[1]
        print(port, flush=True)
    journal("started on 127.0.0.1:%d, user %s, files in %s" % (port, user, directory))
    try:
        server.serve_forever(handle_exit=False)
    except Stop:
        pass
    finally:
        server.close_all()
        journal("stopped")
    return 0


def main(argv):
    if len(argv) == 4 and argv[1] == "uartsvc":
        return run_uartsvc(argv[2], argv[3])
    if len(argv) >= 3 and argv[1] == "isensd":
        return run_signal_daemon(argv[2], "isensd", "/var/run/isensd.pid")
    if len(argv) >= 3 and argv[1] == "nxcamctld":
        return run_signal_daemon(argv[2], "nxcamctld", "/var/run/nxcamctld.pid")
    if len(argv) == 7 and argv[1] == "ftpd":
        return run_ftpd(argv[2], argv[3], int(argv[4]), argv[5], argv[6])
    sys.stderr.write(__doc__)
    return 2


if __name__ == "__main__":
    sys.exit(main(sys.argv))
