#!/usr/bin/env python3
"""What `monitor live` costs on a bus of 1 Mbit/s that is full of frames with 8 bytes: 9,009 frames
a second, which is what 111 bits each leave room for.

Usage: liveLoad.py MONITOR [SIGNALS [SECONDS]]

Four signals of 16 bits in each message, 4 in all if not given otherwise, for 60 s. Simulated by the
plugin virtualcan, which a third program keeps up. The table stands on a terminal of 50 lines.
Prints the frames sent, shown and dropped, and the processor time of each kind of thread in percent
of one core.
"""
import collections
import fcntl
import os
import pathlib
import pty
import random
import socket
import struct
import subprocess
import sys
import tempfile
import termios
import threading
import time

RATE = 9009
PORTION = 9  # frames that come together, about once in a millisecond


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return listener.getsockname()[1]


def write_description(path, messages):
    lines = []
    for message in range(messages):
        lines.append(f"BO_ {256 + message} M{message}: 8 X\n")
        lines += [f" SG_ S{message}_{i} : {16 * i}|16@1+ (0.125,0) [0|0] \"\" X\n"
                  for i in range(4)]
    path.write_text("".join(lines))


def write_recording(path, messages, frames):
    noise = random.Random(1)
    with path.open("w") as recording:
        for i in range(frames):
            data = struct.pack("<4H", *(int(noise.gauss(30000, 500)) for _ in range(4)))
            due = i // PORTION * PORTION / RATE
            recording.write(f"({due:.6f}) can0 {256 + i % messages:03X}#{data.hex().upper()}\n")


def thread_times(pid):
    """Processor seconds by what the thread does. The name of the program is that of the main
    thread; signals have one each for what the library refreshes."""
    times = collections.Counter()
    for task in pathlib.Path(f"/proc/{pid}/task").iterdir():
        name = (task / "comm").read_text().strip()
        kind = "table" if task.name == str(pid) else "bus" if name == "bus" else "signals"
        times[kind] += int((task / "schedstat").read_text().split()[0]) / 1e9
    return times


def start_on_terminal(command):
    master, slave = pty.openpty()
    fcntl.ioctl(slave, termios.TIOCSWINSZ, struct.pack("HHHH", 50, 200, 0, 0))
    process = subprocess.Popen(command, stdin=slave, stdout=slave, stderr=slave,
                               start_new_session=True)
    os.close(slave)
    output = []

    def read():
        try:
            while chunk := os.read(master, 65536):
                output.append(chunk)
        except OSError:
            pass

    reader = threading.Thread(target=read)
    reader.start()
    return process, reader, output


def wait_connected(process):
    while b"connected" not in process.stderr.readline():
        if process.poll() is not None:
            sys.exit("the bus cannot be connected")


def main():
    monitor = sys.argv[1]
    messages = int(sys.argv[2]) // 4 if len(sys.argv) > 2 else 1
    seconds = float(sys.argv[3]) if len(sys.argv) > 3 else 60
    frames = round(RATE * seconds)
    with tempfile.TemporaryDirectory() as name:
        directory = pathlib.Path(name)
        description, recording = directory / "bus.dbc", directory / "bus.log"
        write_description(description, messages)
        write_recording(recording, messages, frames)
        port = free_port()
        bus = ["--plugin", "virtualcan", "--interface", f"tcp://127.0.0.1:{port}/can0"]
        other = ["--plugin", "virtualcan", "--interface", f"tcp://127.0.0.1:{port}/can1"]
        with subprocess.Popen([monitor, "live", *other, "--dbc", description],
                              stdout=subprocess.DEVNULL, stderr=subprocess.PIPE) as host:
            wait_connected(host)
            live, reader, output = start_on_terminal(
                [monitor, "live", *bus, "--dbc", description, "--bitrate", "1000000"])
            while not any(b"frames 0 " in chunk for chunk in output):
                time.sleep(0.01)
            begin = time.monotonic()
            sent = subprocess.run([monitor, "send", recording, *bus], stdout=subprocess.PIPE,
                                  text=True, check=True).stdout.split()[1]
            duration = time.monotonic() - begin
            times = thread_times(live.pid)
            live.terminate()
            ending = time.monotonic()
            live.wait()
            ended = time.monotonic() - ending
            reader.join()
            host.terminate()
    report = b"".join(output).decode().split("\x1b[?1049l")[1].split()
    print(f"{4 * messages} signals, {duration:.1f} s: sent {sent}, shown "
          f"{report[report.index('frames') + 1]}, dropped {report[report.index('dropped') + 1]}")
    for thread, used in sorted(times.items()):
        print(f"{thread:8}{100 * used / duration:6.2f} % of a core")
    print(f"ended with the table after {1000 * ended:.0f} ms")


if __name__ == "__main__":
    main()
