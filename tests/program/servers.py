"""A server on loopback for the tests beside this file, which answers what a test says."""

import contextlib
import select
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

    def __init__(self, head, body):
        lines = head.decode("latin-1").split("\r\n")
        self.line, self.body = lines[0], body
        self.fields = {}
        for line in lines[1:]:
            name, _, value = line.partition(":")
            self.fields.setdefault(name.lower(), []).append(value.strip())

    def field(self, name):
        return ", ".join(self.fields.get(name.lower(), []))


class ScriptedServer:
    """Gives its answers in their order, whatever is asked, and keeps the requests. An answer is bytes, one of the
    above, or a function from the request to such. Speaks TLS with a certificate that it makes in the file `secure`."""

    def __init__(self, *answers, secure=None):
        self.answers, self.requests = list(answers), []
        self.scheme, self.context = "http", None
        if secure:
            self.scheme, self.context = "https", ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
            key = secure.with_suffix(".key")
            subprocess.run(
                ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
                 "-subj", "/CN=till", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", key, "-out", secure, "-batch"],
                check=True, capture_output=True)
            self.context.load_cert_chain(secure, key)
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = self.listener.getsockname()[1]
        self.ending, self.end = socket.socketpair()
        self.thread = threading.Thread(target=self.serve)

    def __enter__(self):
        self.thread.start()
        return self

    def __exit__(self, *_):
        self.end.close()
        self.thread.join()
        self.listener.close()
        self.ending.close()

    def url(self, path="/"):
        return f"{self.scheme}://127.0.0.1:{self.port}{path}"

    def serve(self):
        while self.ready(self.listener):
            connection, _ = self.listener.accept()
            with connection, contextlib.suppress(ssl.SSLError, ConnectionError):  # a refused certificate
                self.serve_connection(self.context.wrap_socket(connection, server_side=True) if self.context else connection)

    def serve_connection(self, connection):
        buffer = b""
        while True:
            while b"\r\n\r\n" not in buffer or len(buffer) < self.length(buffer):
                received = connection.recv(65536) if self.ready(connection) else b""
                if not received:
                    return
                buffer += received
            head, _, rest = buffer[:self.length(buffer)].partition(b"\r\n\r\n")
            buffer = buffer[self.length(buffer):]
            self.requests.append(Request(head, rest))
            given = self.answers.pop(0) if self.answers else answer("599 No answer left")
            given = given(self.requests[-1]) if callable(given) else given
            if given is RESET:
                connection.setsockopt(socket.SOL_SOCKET, socket.SO_LINGER, struct.pack("ii", 1, 0))
                return
            if given is SILENCE:
                self.ready(connection)
                return
            connection.sendall(given)

    def ready(self, waiting):
        """Waits for a socket; false at the end of the test."""
        readable, _, _ = select.select([waiting, self.ending], [], [])
        return self.ending not in readable

    @staticmethod
    def length(buffer):
        head, _, _ = buffer.partition(b"\r\n\r\n")
        return len(head) + 4 + int(Request(head, b"").field("Content-Length") or 0)
