"""Answers echo requests so many milliseconds late, in the place of a kernel that was told to ignore
them: the network of the lab has no distance of its own. Says "ready" when it listens.
"""

import heapq
import select
import socket
import struct
import sys
import time

ECHO_REQUEST = 8
ECHO_REPLY = 0


def checksum(data):
    data += b"\0" * (len(data) % 2)
    total = sum(struct.unpack(f"!{len(data) // 2}H", data))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return ~total & 0xFFFF


def reply_to(request):
    body = struct.pack("!BBH", ECHO_REPLY, 0, 0) + request[4:]
    return body[:2] + struct.pack("!H", checksum(body)) + body[4:]


def main():
    late_s = int(sys.argv[1]) / 1000
    listener = socket.socket(socket.AF_INET, socket.SOCK_RAW, socket.IPPROTO_ICMP)
    print("ready", flush=True)
    waiting = []  # (when, whom, what)
    while True:
        wait_s = max(0, waiting[0][0] - time.monotonic()) if waiting else None
        if select.select([listener], [], [], wait_s)[0]:
            packet, (sender, _) = listener.recvfrom(65535)
            request = packet[(packet[0] & 15) * 4:]
            if request[0] == ECHO_REQUEST:
                heapq.heappush(waiting, (time.monotonic() + late_s, sender, reply_to(request)))
        while waiting and waiting[0][0] <= time.monotonic():
            _, sender, reply = heapq.heappop(waiting)
            listener.sendto(reply, (sender, 0))


main()
