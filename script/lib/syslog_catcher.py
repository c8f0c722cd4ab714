#!/usr/bin/python3
"""Listens at /dev/log and appends what arrives to a file: script/lib/syslog_catcher.py FILE

A line a message, its priority as the decimal number that the message begins with. For hosts of our own only: it
replaces what is at /dev/log. Runs until it is ended.
"""
import os
import socket
import sys

PLACE = "/dev/log"


def main(name):
    if os.path.lexists(PLACE):
        os.unlink(PLACE)
    listener = socket.socket(socket.AF_UNIX, socket.SOCK_DGRAM)
    listener.bind(PLACE)
    os.chmod(PLACE, 0o666)
    with open(name, "ab", buffering=0) as log:
        while True:
            log.write(listener.recv(65536).rstrip(b"\n\0") + b"\n")


if __name__ == "__main__":
    main(sys.argv[1])
