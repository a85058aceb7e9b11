"""Servers on loopback for the tests beside this file: one that answers what a test says, and an nginx."""

import os
import pathlib
import select
import socket
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
    above, or a function from the request to such."""

    def __init__(self, *answers):
        self.answers, self.requests = list(answers), []
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
        return f"http://127.0.0.1:{self.port}{path}"

    def serve(self):
        while self.ready(self.listener):
            connection, _ = self.listener.accept()
            with connection:
                self.serve_connection(connection)

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


class Nginx:
    """An nginx with files, statuses, a password, and TLS with a certificate of its own."""

    def __init__(self, directory):
        self.directory = pathlib.Path(directory)
        self.files = self.directory / "files"
        self.certificate = self.directory / "certificate.pem"

    def __enter__(self):
        self.files.mkdir()
        # They hold the ports for nginx, and never listen.
        self.plain, self.secure = held_port(), held_port()
        subprocess.run(
            ["openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "2",
             "-subj", "/CN=till", "-addext", "subjectAltName=IP:127.0.0.1", "-keyout", self.directory / "key.pem",
             "-out", self.certificate, "-batch"], check=True, capture_output=True)
        password = subprocess.run(["openssl", "passwd", "-apr1", "s3cret:pass"], check=True, capture_output=True).stdout
        (self.directory / "passwords").write_bytes(b"till:" + password)
        (self.directory / "nginx.conf").write_text(self.configuration())
        usual = "/usr/sbin/nginx"  # where an ordinary user's PATH may not lead
        self.process = subprocess.Popen(
            [usual if os.path.exists(usual) else "nginx", "-p", f"{self.directory}/", "-e", "error.log", "-c", "nginx.conf"])
        for held in [self.plain, self.secure]:
            while not is_listening(held):
                if self.process.poll() is not None:
                    raise RuntimeError((self.directory / "error.log").read_text())
                os.sched_yield()
        return self

    def __exit__(self, *_):
        self.process.terminate()
        self.process.wait()
        self.plain.close()
        self.secure.close()

    def configuration(self):
        user = "user root;" if os.geteuid() == 0 else ""  # the directory is the user's alone
        listens = [f"listen 127.0.0.1:{self.plain.getsockname()[1]} reuseport;",
                   f"listen 127.0.0.1:{self.secure.getsockname()[1]} ssl reuseport; "
                   "ssl_certificate certificate.pem; ssl_certificate_key key.pem;"]
        servers = "".join(f"""
  server {{
    {listen}
    location /files/ {{ alias files/; }}
    location /private/ {{ alias files/; auth_basic "till"; auth_basic_user_file passwords; }}
    location = /missing {{ default_type text/plain; return 404 "nothing here\n"; }}
    location = /gone {{ return 410; }}
    location = /empty {{ return 204; }}
    location = /moved {{ return 302 /files/hello.txt; }}
  }}""" for listen in listens)
        paths = "".join(f"  {name}_temp_path temporary;\n" for name in ["client_body", "proxy", "fastcgi", "uwsgi", "scgi"])
        return f"""{user}
daemon off;
worker_processes 1;
pid nginx.pid;
events {{ worker_connections 64; }}
http {{
  access_log off;
  server_tokens off;
{paths}{servers}
}}
"""

    def url(self, path):
        return f"http://127.0.0.1:{self.plain.getsockname()[1]}{path}"

    def secure_url(self, path):
        return f"https://127.0.0.1:{self.secure.getsockname()[1]}{path}"


def held_port():
    held = socket.socket()
    held.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEPORT, 1)
    held.bind(("127.0.0.1", 0))
    return held


def is_listening(held):
    with socket.socket() as client:
        return client.connect_ex(held.getsockname()) == 0
