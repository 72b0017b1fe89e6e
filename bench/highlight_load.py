"""Counting receiver and CPU sampler for bench/highlight-load (run it through that script)."""
import os
import socket
import struct
import subprocess
import sys
import threading
import time

cli, map_path = sys.argv[1], sys.argv[2]
SECONDS = 10
FPS = 100
PORT_OUT = 0x0108
IP_PKTINFO = getattr(socket, "IP_PKTINFO", 8)  # Linux

sock = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
SO_RCVBUFFORCE = getattr(socket, "SO_RCVBUFFORCE", 33)
try:
    sock.setsockopt(socket.SOL_SOCKET, SO_RCVBUFFORCE, 64 << 20)
except PermissionError:
    sock.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, 64 << 20)
sock.setsockopt(socket.IPPROTO_IP, IP_PKTINFO, 1)
sock.bind(("0.0.0.0", 6038))
sock.settimeout(0.5)

counts = {}          # (destination address, port) -> datagrams in the counting window
window = [None, None]
stop = threading.Event()


def receive():
    while not stop.is_set():
        try:
            data, ancillary, _, _ = sock.recvmsg(2048, 64)
        except socket.timeout:
            continue
        if len(data) < 24 or struct.unpack_from("<H", data, 6)[0] != PORT_OUT:
            continue
        now = time.monotonic()
        if window[0] is None or not (window[0] <= now < window[1]):
            continue
        destination = None
        for level, kind, value in ancillary:
            if level == socket.IPPROTO_IP and kind == IP_PKTINFO:
                destination = socket.inet_ntoa(value[8:12])
        key = (destination, data[16])
        counts[key] = counts.get(key, 0) + 1


def cpu_seconds(pid):
    with open(f"/proc/{pid}/stat") as f:
        fields = f.read().rsplit(")", 1)[1].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


receiver = threading.Thread(target=receive)
receiver.start()
process = subprocess.Popen([cli, "--broadcast", "127.255.255.255", "highlight", map_path,
                            "--all", "--fps", str(FPS), "--for", str(SECONDS * 1000)],
                           stdout=subprocess.PIPE, text=True)
print(process.stdout.readline().strip())    # "Highlighting ..." once the map is loaded
start = time.monotonic()
# Count and sample over the middle of the run: one second in, eight seconds long.
window[0], window[1] = start + 1.0, start + 9.0
time.sleep(1.0)
cpu_start = cpu_seconds(process.pid)
time.sleep(8.0)
cpu_end = cpu_seconds(process.pid)
print(process.stdout.read().strip())
process.wait()
stop.set()
receiver.join()

ports = len(counts)
rates = sorted(count / 8.0 for count in counts.values())
print(f"CPU: {100.0 * (cpu_end - cpu_start) / 8.0:.1f} % of one core while highlighting")
if rates:
    print(f"ports heard: {ports}; frames a second per port: slowest {rates[0]:.1f}, "
          f"median {rates[len(rates) // 2]:.1f}, fastest {rates[-1]:.1f}")
else:
    print("no frames heard")
sys.exit(0 if ports == 400 and rates and rates[0] >= 97 and cpu_end - cpu_start <= 0.3 * 8 else 1)
