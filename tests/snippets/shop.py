"""The server that the pages call $SHOP: it says what it was sent."""

import http.server
import re
import threading


class Answer(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def answer(self):
        body = self.rfile.read(int(self.headers.get("Content-Length") or 0))
        status = re.fullmatch(r"/status/(\d+)", self.path)
        if self.path == "/terminals/4711":
            return self.give(200, b'{"name":"Bar","battery":81}')
        if self.path == "/private" and not self.headers.get("Authorization"):
            return self.give(401, b"Who are you?\n", ("WWW-Authenticate", 'Basic realm="shop"'))
        return self.give(int(status[1]) if status else 200, self.request_as_it_came(body))

    def request_as_it_came(self, body):
        shown = [f"{name}: {value}" for name, value in self.headers.items() if re.match(r"(?i)content-type|x-", name)]
        return "\n".join([f"{self.command} {self.path}", *shown, ""]).encode() + (b"\n" + body if body else b"")

    def give(self, status, body, *fields):
        self.send_response(status)
        for name, value in [*fields, ("Content-Length", str(len(body)))]:
            self.send_header(name, value)
        self.end_headers()
        self.wfile.write(body)

    do_GET = do_POST = do_PUT = do_DELETE = answer

    def log_message(self, *_):
        pass


class Shop:
    """Runs for as long as it is entered; gives its URL."""

    def __enter__(self):
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Answer)
        self.thread = threading.Thread(target=self.server.serve_forever)
        self.thread.start()
        return f"http://127.0.0.1:{self.server.server_address[1]}"

    def __exit__(self, *_):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()
