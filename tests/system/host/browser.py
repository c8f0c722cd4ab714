"""Chromium without a screen: what a page says, asks for, looks like and prints."""
import json
import re
import shutil
import struct
import subprocess
import zlib

QUIET = ["--headless", "--no-sandbox", "--disable-gpu", "--hide-scrollbars", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--virtual-time-budget=3000"]


def program():
    """The browser; None where it isn't installed."""
    return shutil.which("chromium")


def _run(folder, page, *options):
    command = [program(), *QUIET, f"--user-data-dir={folder}/profile", *options, f"file://{page}"]
    return subprocess.run(command, capture_output=True, text=True, errors="replace", timeout=110, check=False)


class Visit:
    """What came of showing a page."""

    def __init__(self, folder, page):
        log = folder / "network.json"
        done = _run(folder, page, "--dump-dom", "--enable-logging=stderr", f"--log-net-log={log}")
        self.document = done.stdout
        self.console = re.findall(r":CONSOLE[^\]]*\] (.*)", done.stderr)
        self.requests = _requests_of_page(log)


def _requests_of_page(log):
    """What the page asked the network for; the browser's own business has another key."""
    found = set()
    for event in json.loads(log.read_text())["events"]:
        values = event.get("params", {})
        if "file://" in values.get("network_isolation_key", "") and not values.get("url", "").startswith("file:"):
            found.add(values.get("url"))
    return found


def print_to_pdf(folder, page):
    """The page on paper, as the bytes of a PDF file."""
    target = folder / "page.pdf"
    _run(folder, page, "--no-pdf-header-footer", f"--print-to-pdf={target}")
    return target.read_bytes()


def colours(folder, page, width, height):
    """The colours of a picture of the page, each with the number of its points."""
    target = folder / "page.png"
    _run(folder, page, f"--window-size={width},{height}", f"--screenshot={target}")
    seen = {}
    for row, size in _rows(target.read_bytes()):
        for at in range(0, len(row), size):
            colour = bytes(row[at:at + 3])
            seen[colour] = seen.get(colour, 0) + 1
    return seen


def _rows(png):
    """The rows of a PNG file with eight bits a colour, and the bytes of a point."""
    at, packed, width, kind = 8, b"", 0, 0
    while at < len(png):
        length, name = struct.unpack(">I4s", png[at:at + 8])
        body = png[at + 8:at + 8 + length]
        if name == b"IHDR":
            width, _, _, kind = struct.unpack(">IIBB", body[:10])
        elif name == b"IDAT":
            packed += body
        at += length + 12
    size = {2: 3, 6: 4}[kind]
    raw, before = zlib.decompress(packed), bytearray(width * size)
    for start in range(0, len(raw), width * size + 1):
        before = _unfilter(raw[start], bytearray(raw[start + 1:start + 1 + width * size]), before, size)
        yield before, size


def _unfilter(kind, row, above, size):
    for at in range(len(row) if kind else 0):
        left = row[at - size] if at >= size else 0
        corner = above[at - size] if at >= size else 0
        guess = (left, above[at], (left + above[at]) // 2, _paeth(left, above[at], corner))[kind - 1]
        row[at] = (row[at] + guess) & 255
    return row


def _paeth(left, up, corner):
    guess = left + up - corner
    return min((left, up, corner), key=lambda value: abs(guess - value))
