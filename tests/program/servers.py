"""A server on loopback for the tests beside this file, which answers what a test says."""

import http.server
import socket
import ssl
import struct
import subprocess
import threading

RESET = object()  # an answer: the connection is reset
SILENCE = object()  # an answer: none comes, until the client goes away


def answer(status="200 OK", body=b"", *fields):
    """A whole HTTP answer in bytes."""
    head = [f"HTTP/1.1 {status}", *fields, f"Content-Length: {len(body)}", "", ""]
    return "\r\n".join(head).encode() + body


class Request:
    """One request as it came."""

    def __init__(self, line, headers, body):
        self.line, self.headers, self.body = line, headers, body

    def field(self, name):
        return ", ".join(self.headers.get_all(name, []))


class Connection(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"

    def answer(self):
        body = self.rfile.read(int(self.headers.get("Content-Length") or 0))
        script = self.server.script
        script.requests.append(Request(self.requestline, self.headers, body))
        given = script.answers.pop(0) if script.answers else script.always(script.requests[-1])
        self.close_connection = given in (RESET, SILENCE)
        if given is RESET:
            self.connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
            self.connection.close()
        elif given is SILENCE:
            self.rfile.read(1)
        else:
            self.wfile.write(given)

    do_GET = do_POST = do_PUT = do_DELETE = do_PATCH = answer

    def log_message(self, *_):
        pass


class ScriptedServer:
    """Gives its answers in their order, whatever is asked, and keeps the requests. An answer is bytes, or one of the
    above. Speaks TLS with a certificate that it makes in the file `secure`."""

    always = staticmethod(lambda request: answer("599 No answer left"))  # what it gives when none is left

    def __init__(self, *answers, secure=None):
        self.answers, self.requests = list(answers), []
        self.server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), Connection)
        self.server.script = self
        self.root = f"{'https' if secure else 'http'}://127.0.0.1:{self.server.server_address[1]}"
        if secure:
            key = secure.with_suffix(".key")
            subprocess.run(
                ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
                 "-subj", "/CN=till", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", secure, "-batch"],
                check=True, capture_output=True)
            context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            context.load_cert_chain(secure, key)
            self.server.socket = context.wrap_socket(self.server.socket, server_side=True)
        self.thread = threading.Thread(target=self.server.serve_forever, args=(0.01,))

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()

    def url(self, path="/"):
        return self.root + path
