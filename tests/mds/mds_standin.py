"""A push server that checks each request against the rules of the wire and keeps what every handheld
got.

usage: mds_standin.py [--port N] [--record FILE] [--site FOLDER] [--quiet]

It says "listening on PORT" when it does. A GET of / answers 200, as a living push server does. A
POST to /push answers 200 when every rule holds, else 400 with the first reason against it.

Asked as a web proxy it stands in for whatever push server a request names. With --site it gives the
pages of the hosts that have a folder of their name there, too.

  GET  /handhelds            the destinations that got something, as JSON
  GET  /handhelds/PIN        what that one got: method, query, headers in their order, body (base64)
  POST /control?mode=MODE[&seconds=N][&pin=PIN]
                             how it answers from now on, everybody or one handheld: ok, slow (after
                             N seconds), close (without an answer), 401, 403, 500, nonsense, never
"""
import argparse
import base64
import email.utils
import json
import mimetypes
import pathlib
import re
import socket
import sys
import threading
import time
import urllib.parse
from http.server import BaseHTTPRequestHandler, ThreadingHTTPServer

BROWSER_PORT, APPLICATION_PORT = "7874", "8765"
MODES = {"ok", "slow", "close", "401", "403", "500", "nonsense", "never"}
LONGEST = 16 << 20

# The headers of each type in the order of the wire, behind those that all have; "?" may be missing.
TYPE_HEADERS = {
    "Browser-Message": ["Content-Location", "X-RIM-Push-Title", "X-RIM-Push-Description"],
    "Browser-Channel": ["Content-Location", "X-RIM-Push-Title", "X-RIM-Push-Description",
                        "X-RIM-Push-Channel-ID", "?X-RIM-Push-Unread-Icon-URL",
                        "?X-RIM-Push-Read-Icon-URL"],
    "Browser-Content": ["Content-Location"],
    "Browser-Channel-Delete": ["X-RIM-Push-Channel-ID"],
}
COMMON = ["?Authorization", "X-RIM-Push-Type", "?X-RIM-Push-NotifyURL", "?X-RIM-Push-ID",
          "?Content-Type", "?X-Rim-Transcode-Content", "?Cache-Control"]
# what the client's library adds by itself
TRANSPORT = {"host", "accept", "content-length", "user-agent", "connection", "proxy-connection"}
PAIRS = [("X-RIM-Push-NotifyURL", "X-RIM-Push-ID"), ("Content-Type", "X-Rim-Transcode-Content")]


def query_of(path):
    """The parts of the query in their order, as they stand on the wire."""
    return [part.partition("=")[::2] for part in urllib.parse.urlsplit(path).query.split("&")]


def check_order(names, expected):
    at = 0
    for name in names:
        while at < len(expected) and expected[at].lstrip("?") != name:
            if not expected[at].startswith("?"):
                return f"the header {expected[at]} is missing or out of its place"
            at += 1
        if at == len(expected):
            return f"the header {name} is unknown or out of its place"
        at += 1
    missing = [name for name in expected[at:] if not name.startswith("?")]
    return f"the header {missing[0]} is missing" if missing else None


def check_browser(headers, body):
    values = dict(headers)
    names = [name for name, _ in headers if name.lower() not in TRANSPORT]
    kind = values.get("X-RIM-Push-Type")
    if kind not in TYPE_HEADERS:
        return f"the push type {kind} is unknown"
    reason = check_order(names, COMMON + TYPE_HEADERS[kind] + ["X-RIM-Push-Deliver-Before"])
    if reason:
        return reason
    for one, other in PAIRS:
        if (one in values) != (other in values):
            return f"{one} and {other} go together"
    if body and "Content-Type" not in values:
        return "a body has no Content-Type"
    if values.get("X-Rim-Transcode-Content", "*/*") != "*/*":
        return "X-Rim-Transcode-Content is not */*"
    if not re.fullmatch(r"max-age=\d+", values.get("Cache-Control", "max-age=0")):
        return "Cache-Control has no age"
    if not re.fullmatch(r".*@\d+", values.get("X-RIM-Push-ID", "@0")):
        return "X-RIM-Push-ID has no tick count"
    before = values["X-RIM-Push-Deliver-Before"]
    if not re.fullmatch(r"[A-Z][a-z]{2}, \d{2} [A-Z][a-z]{2} \d{4} \d{2}:\d{2}:\d{2} GMT", before):
        return f"{before} is not the form of a date"
    ahead = email.utils.parsedate_to_datetime(before).timestamp() - time.time()
    if not 22 * 3600 < ahead < 26 * 3600:
        return "X-RIM-Push-Deliver-Before is not a day ahead"
    return None


def check_application(headers, body):
    names = [name for name, _ in headers if name.lower() not in TRANSPORT]
    reason = check_order(names, ["?Authorization", "Content-Type"])
    if reason:
        return reason
    if dict(headers)["Content-Type"] != "application/x-www-form-urlencoded":
        return "Content-Type is not application/x-www-form-urlencoded"
    return None if body else "there is no payload"


def check(path, headers, body):
    """The first reason against a push, or None."""
    parts = query_of(path)
    if urllib.parse.urlsplit(path).path != "/push":
        return "the path is not /push"
    if [name for name, _ in parts] != ["DESTINATION", "PORT", "REQUESTURI"]:
        return "the query is not DESTINATION, PORT, REQUESTURI in this order"
    destination, port, uri = (value for _, value in parts)
    if not destination:
        return "there is no destination"
    if uri != "/":
        return "REQUESTURI is not /"
    credential = dict(headers).get("Authorization")
    if credential is not None:
        try:
            if ":" not in base64.b64decode(credential.removeprefix("Basic "), validate=True).decode():
                return "Authorization holds no name and password"
        except ValueError:
            return "Authorization is no Base64"
    if port == BROWSER_PORT:
        return check_browser(headers, body)
    if port == APPLICATION_PORT:
        return check_application(headers, body)
    return f"the port {port} is unknown"


class Standin(ThreadingHTTPServer):
    """The server with all that it remembers."""
    daemon_threads = True

    def __init__(self, port=0, record=None, quiet=True, site=None):
        super().__init__(("127.0.0.1", port), Handler)
        self.lock = threading.Lock()
        self.pushes = {}
        self.modes = {None: ("ok", 0.0)}
        self.record = record
        self.site = pathlib.Path(site).resolve() if site else None
        self.quiet = quiet
        self.stopping = threading.Event()

    def mode_of(self, pin):
        with self.lock:
            return self.modes.get(pin, self.modes[None])

    def keep(self, pin, entry):
        with self.lock:
            self.pushes.setdefault(pin, []).append(entry)
            if self.record:
                with open(self.record, "a", encoding="utf-8") as file:
                    file.write(json.dumps({"destination": pin, **entry}) + "\n")


def page_of(site, address):
    """The file below the folder of the address's host; None when the host has no folder, a path
    without a file when it has."""
    url = urllib.parse.urlsplit(address)
    folder = site / url.hostname if site and url.hostname else None
    if not folder or folder.parent != site or not folder.is_dir():
        return None
    file = (folder / urllib.parse.unquote(url.path).lstrip("/")).resolve()
    if not file.is_relative_to(folder):
        return folder / "none"
    return file / "index.html" if file.is_dir() else file


class Handler(BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def log_message(self, form, *args):
        if not self.server.quiet:
            super().log_message(form, *args)

    def answer(self, status, text="", kind="text/plain"):
        body = text if isinstance(text, bytes) else text.encode()
        self.send_response(status)
        self.send_header("Content-Type", kind)
        self.send_header("Content-Length", str(len(body)))
        self.end_headers()
        self.wfile.write(body)

    def do_GET(self):
        page = page_of(self.server.site, self.path)
        if page is not None:
            return self.give(page)
        path = urllib.parse.urlsplit(self.path).path or "/"
        with self.server.lock:
            pushes = {pin: list(entries) for pin, entries in self.server.pushes.items()}
        if path == "/handhelds":
            self.answer(200, json.dumps(sorted(pushes)), "application/json")
        elif path.startswith("/handhelds/"):
            pin = urllib.parse.unquote(path.removeprefix("/handhelds/"))
            self.answer(200, json.dumps(pushes.get(pin, [])), "application/json")
        elif path == "/":
            self.behave(None, 200, "push server")
        else:
            self.answer(404, "there is nothing")

    def give(self, page):
        if not page.is_file():
            return self.answer(404, "there is no such page")
        kind = mimetypes.guess_type(page.name)[0] or "application/octet-stream"
        return self.answer(200, page.read_bytes(), kind)

    def do_POST(self):
        length = int(self.headers.get("Content-Length", "-1"))
        if not 0 <= length <= LONGEST:
            self.close_connection = True
            return self.answer(411, "Content-Length is missing or too large")
        body = self.rfile.read(length)
        if urllib.parse.urlsplit(self.path).path == "/control":
            return self.control(dict(query_of(self.path)))
        headers = self.headers.items()
        reason = check(self.path, headers, body)
        if reason:
            return self.answer(400, reason)
        pin = query_of(self.path)[0][1]
        status, text = self.behave(pin)
        if status == 200:
            self.server.keep(pin, {"query": urllib.parse.urlsplit(self.path).query,
                                   "headers": headers,
                                   "body": base64.b64encode(body).decode()})
            self.answer(200)
        elif status:
            self.answer(status, text)

    def control(self, query):
        mode, pin = query.get("mode"), query.get("pin")
        if mode not in MODES:
            return self.answer(400, f"the mode {mode} is unknown")
        with self.server.lock:
            self.server.modes[pin] = (mode, float(query.get("seconds", "0")))
        return self.answer(200)

    def behave(self, pin, status=200, text=""):
        """What to answer in the present mode; status 0 when the connection is gone already."""
        mode, seconds = self.server.mode_of(pin)
        if mode == "slow":
            self.server.stopping.wait(seconds)
        elif mode == "never":
            self.server.stopping.wait()
        elif mode == "nonsense":
            self.wfile.write(b"no HTTP at all\r\n\r\n")
        if mode in ("close", "never", "nonsense"):
            self.close_connection = True
            self.connection.shutdown(socket.SHUT_RDWR)
            return 0, ""
        if mode.isdigit():
            status, text = int(mode), "as it was told"
        if pin is None:
            self.answer(status, text)
        return status, text


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    parser.add_argument("--port", type=int, default=0)
    parser.add_argument("--record")
    parser.add_argument("--site")
    parser.add_argument("--quiet", action="store_true")
    args = parser.parse_args()
    server = Standin(args.port, args.record, args.quiet, args.site)
    # one write, also where the output isn't buffered
    sys.stdout.write(f"listening on {server.server_address[1]}\n")
    sys.stdout.flush()
    try:
        server.serve_forever()
    except KeyboardInterrupt:
        server.stopping.set()
        sys.exit(0)


if __name__ == "__main__":
    main()
