"""Serves the page of web/ and the copies of the JSON files, and nothing else, on loopback."""

import http.server
import os
import posixpath
import urllib.parse
from email.utils import formatdate, parsedate_to_datetime

D3 = "/usr/share/javascript/d3/d3.min.js"
PAGE = {"index.html": "text/html; charset=utf-8", "app.js": "text/javascript; charset=utf-8",
        "style.css": "text/css; charset=utf-8", "icon.svg": "image/svg+xml"}
COPIES = ("vm1905.json", "vm1905_APautoconfig.json", "vm1905_log.json")
HEADERS = {
    "Content-Security-Policy": "default-src 'none'; script-src 'self'; style-src 'self'; "
    "connect-src 'self'; img-src 'self'; base-uri 'none'; form-action 'none'; "
    "frame-ancestors 'none'",
    "X-Content-Type-Options": "nosniff", "Referrer-Policy": "no-referrer",
    "Cache-Control": "no-cache"}


class Handler(http.server.BaseHTTPRequestHandler):
    def find(self):
        """The path and the type of the requested file; None for anything but the known names."""
        folder, name = posixpath.split(urllib.parse.urlsplit(self.path).path)
        name = name or "index.html"
        if folder == "/" and name in PAGE:
            return os.path.join(self.server.page, name), PAGE[name]
        if folder == "/" and name == "d3.min.js":
            return D3, PAGE["app.js"]
        if folder == "/data" and name in COPIES:
            return os.path.join(self.server.copies(), name), "application/json"
        return None

    def is_unchanged(self, modified):
        try:
            return int(modified) <= parsedate_to_datetime(
                self.headers["If-Modified-Since"]).timestamp()
        except (TypeError, ValueError):
            return False

    def respond(self, has_body):
        # A page of another host, whose name leads to 127.0.0.1, must not read the data.
        host = self.headers.get("Host", "").rpartition(":")[0]
        content, status, modified, kind = b"", 404, None, "text/plain"
        try:
            found = self.find() if host in ("127.0.0.1", "localhost") else None
            if found:
                with open(found[0], "rb") as file:
                    modified = os.fstat(file.fileno()).st_mtime
                    content, status, kind = file.read(), 200, found[1]
        except Exception:  # noqa: BLE001  (no copy yet, or the device is off)
            pass
        if status == 200 and self.is_unchanged(modified):
            content, status = b"", 304
        self.send_response(status)
        for name, value in {**HEADERS, "Content-Type": kind}.items():
            self.send_header(name, value)
        self.send_header("Content-Length", str(len(content)))
        if modified is not None:
            self.send_header("Last-Modified", formatdate(modified, usegmt=True))
        self.end_headers()
        if has_body:
            self.wfile.write(content)

    def do_GET(self):
        self.respond(True)

    def do_HEAD(self):
        self.respond(False)

    def log_message(self, *_):
        pass


class Server(http.server.ThreadingHTTPServer):
    """page: the folder of the page; copies: returns the folder of the copies."""

    daemon_threads = True

    def __init__(self, port, page, copies):
        super().__init__(("127.0.0.1", port), Handler)
        self.page = page
        self.copies = copies
