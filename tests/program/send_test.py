"""`tilvanego send`: what goes out for each option, and what is shown of the answer."""

import base64
import os
import re
import unittest

from running import InDirectory, on_terminal, run
from servers import RESET, SILENCE, ScriptedServer, answer

# As a till without a proxy of its own would run it.
ENVIRONMENT = {name: value for name, value in os.environ.items() if not name.lower().endswith("_proxy")}


def send(*arguments, given=b"", **environment):
    done = run("send", *arguments, given=given, env=ENVIRONMENT | environment)
    return done.returncode, done.stdout, done.stderr


class Requests(InDirectory):
    def sent(self, *arguments, given=b""):
        """The request that a server gets."""
        with ScriptedServer(answer()) as server:
            method, path, *options = arguments
            self.assertEqual(send(method, server.url(path), *options, given=given), (0, b"", b""), arguments)
            self.assertEqual(len(server.requests), 1)
            return server.requests[0]

    def file(self, name, content):
        (self.directory / name).write_bytes(content)
        return str(self.directory / name)

    def test_the_method_and_the_query_stand_in_the_request_line(self):
        for arguments, line in [
            (["GET", "/a?x=1"], "GET /a?x=1"),
            (["GET", "/a?x=1#f", "--query", "b=x y&z", "--query", "a=", "--query", "b=2=2"],
             "GET /a?a=&b=x%20y%26z&b=2%3D2"),
            (["POST", "/a?x=1", "--form", "f=1", "--query", "q=+é"], "POST /a?q=+%C3%A9"),
            (["PUT", "/", "--query", "=v"], "PUT /?=v"),
            (["PATCH", "/p", "--form", "a=1"], "PATCH /p"),
        ]:
            self.assertEqual(self.sent(*arguments).line, line + " HTTP/1.1")

    def test_the_last_header_of_a_name_wins(self):
        request = self.sent("GET", "/", "--header", "User-Agent: 1", "--header", "user-agent:  2 : 3 ")
        self.assertEqual(request.headers.get_all("User-Agent"), ["2 : 3"])

    def test_each_kind_of_body_has_its_content_type(self):
        json_file = self.file("a.json", b'{"n": 1.50, "big": 1e400}\n')
        octet_file = self.file("a b.bin", b"\0\r\n\xff")
        for options, given, body, content_type in [
            ([], b"", b"", ""),
            (["--json", json_file], b"", b'{"n": 1.50, "big": 1e400}\n', "application/json"),
            (["--json", "-"], b"[1]", b"[1]", "application/json"),
            (["--form", "b=x y", "--form", "a=&=", "--form", "b=2"], b"", b"a=%26%3D&b=x%20y&b=2",
             "application/x-www-form-urlencoded"),
            (["--octet", octet_file], b"", b"\0\r\n\xff", "application/octet-stream"),
            (["--octet", "-"], b"\0 from a pipe", b"\0 from a pipe", "application/octet-stream"),
            (["--json", "-", "--header", "content-type: text/csv"], b"{}", b"{}", "text/csv"),
        ]:
            request = self.sent("POST", "/", *options, given=given)
            self.assertEqual((request.body, request.field("Content-Type")), (body, content_type), options)

    def test_a_multipart_body_has_values_and_files_in_the_order_of_their_names(self):
        receipt = self.file("receipt 1.pdf", b"%PDF\r\n")
        request = self.sent("POST", "/", "--multipart", f"file=@{receipt}", "--multipart", "b=1", "--multipart",
                            "b=x=@y", "--multipart", "a=@-", "--header", "Content-Type: text/plain", given=b"\xff")
        boundary = re.fullmatch("multipart/form-data; boundary=(Boundary-[0-9A-F-]{36})",
                                request.field("Content-Type"))[1]
        self.assertEqual(
            request.body.replace(boundary.encode(), b"X"),
            b'--X\r\nContent-Disposition: form-data; name="a"\r\n\r\n\xff\r\n'
            b'--X\r\nContent-Disposition: form-data; name="b"\r\n\r\n1\r\n'
            b'--X\r\nContent-Disposition: form-data; name="b"\r\n\r\nx=@y\r\n'
            b'--X\r\nContent-Disposition: form-data; name="file"; filename="receipt 1.pdf"\r\n'
            b'Content-Type: application/pdf\r\n\r\n%PDF\r\n\r\n--X--\r\n')

    def test_a_basic_challenge_is_answered_with_the_user(self):
        challenge = answer("401 Unauthorized", b"who?", 'WWW-Authenticate: Basic realm="till"')
        with ScriptedServer(challenge, answer(body=b"in")) as server:
            self.assertEqual(send("GET", server.url(), "--user", "me:a:b"), (0, b"in", b""))
            credentials = base64.b64encode(b"me:a:b").decode()
            self.assertEqual([request.field("Authorization") for request in server.requests],
                             ["", f"Basic {credentials}"])

    def test_a_proxy_gets_the_request(self):
        with ScriptedServer(answer(body=b"by proxy")) as proxy:
            done = send("GET", "http://shop.invalid/a", "--proxy", proxy.url(""))
            self.assertEqual(done, (0, b"by proxy", b""))
            self.assertEqual(proxy.requests[0].line, "GET http://shop.invalid/a HTTP/1.1")
        with ScriptedServer(answer(body=b"direct")) as server:
            self.assertEqual(send("GET", server.url(), "--proxy", "", http_proxy=proxy.url("")), (0, b"direct", b""))


class Retries(unittest.TestCase):
    def test_a_broken_connection_and_a_servers_failure_are_tried_again(self):
        with ScriptedServer(RESET, answer("503 Busy", b"", "X-Try: 1"), answer("201 Made", b"", "X-Try: 2")) as server:
            done = send("POST", server.url("/a"), "--form", "a=1", "--retries", "2", "--include")
            self.assertEqual(done, (0, b"HTTP/1.1 201 Made\nX-Try: 2\nContent-Length: 0\n\n", b""))
            self.assertEqual([request.body for request in server.requests], [b"a=1"] * 3)

    def test_there_are_no_more_sends_than_asked_for_and_none_that_would_mend_nothing(self):
        refused = answer("401 No", b"why", 'WWW-Authenticate: Basic realm="r"')
        for failing, retries, sends in [(answer("500 No", b"why"), [], 1), (answer("500 No", b"why"), ["--retries", "2"], 3),
                                        (answer("499 No", b"why"), ["--retries", "2"], 1),
                                        (refused, ["--retries", "2", "--user", "till:wrong"], 2)]:
            with ScriptedServer(*[failing] * 5) as server:
                status, output, error = send("PUT", server.url(), *retries)
                self.assertEqual((status, output, len(server.requests)), (1, b"", sends))
                self.assertRegex(error, rb"\Aerror: \d{3}: [^\n]+\nwhy\Z")
                self.assertNotIn(b"wrong", error)


class Answers(InDirectory):
    def shown(self, given, *options):
        with ScriptedServer(given) as server:
            return send("GET", server.url("/dir/name"), *options, XDG_CACHE_HOME=str(self.directory))

    def test_the_body_is_shown_in_the_form_that_is_asked_for(self):
        pretty = b'{\n  "a" : [\n    1,\n    2.5\n  ],\n  "b" : "\xc3\xa9"\n}\n'
        for body, form, output in [
            (b"h\xc3\xa9\r\n", [], b"h\xc3\xa9\r\n"),
            (b"h\xc3\xa9\0", ["--as", "text"], b"h\xc3\xa9\0"),
            (b"\xff\0", ["--as", "text"], b""),
            (b"\xff\0\r\n", ["--as", "bytes"], b"\xff\0\r\n"),
            (b'{"b":"\\u00e9", "a":[1,2.50]}', ["--as", "json"], pretty),
            (b"", ["--as", "json"], b"null\n"),
            (b"anything", ["--as", "none"], b""),
            (b'{"total":"12.50","unknown":1,"currency":"USD"}', ["--as", "model:Amounts"],
             b'{\n  "currency" : "USD",\n  "total" : "12.50"\n}\n'),
        ]:
            self.assertEqual(self.shown(answer(body=body), *form), (0, output, b""))

    def test_a_file_is_kept_and_its_path_is_shown(self):
        kept = self.directory / "tilvanego" / "dir" / "name" / "a b.txt"
        done = self.shown(answer("200 OK", b"\0content", 'Content-Disposition: attachment; filename="a b.txt"'),
                          "--as", "file")
        self.assertEqual(done, (0, f"{kept}\n".encode(), b""))
        self.assertEqual(kept.read_bytes(), b"\0content")

    def test_status_line_and_headers_come_first_if_they_are_asked_for(self):
        given = answer("200 Very Good", b"body", "X-One: 1", "x-two: a", "X-One: 3")
        head = b"HTTP/1.1 200 Very Good\nX-One: 1, 3\nx-two: a\nContent-Length: 4\n\n"
        self.assertEqual(self.shown(given, "--include"), (0, head + b"body", b""))
        self.assertEqual(self.shown(given, "--include", "--as", "none"), (0, head, b""))
        status, output, error = self.shown(given.replace(b"200 Very Good", b"404 Very Bad"), "--include")
        report, _, rest = error.partition(b"\n")
        self.assertEqual((status, output), (1, b""))
        self.assertTrue(report.startswith(b"error: 404: "))
        self.assertEqual(rest, head.replace(b"200 Very Good", b"404 Very Bad") + b"body")

    def test_an_answer_that_isnt_what_was_asked_for_fails_with_its_status_and_is_shown(self):
        for body, form, shown in [(b'{"total": 12}', "model:Amounts", b"total"), (b"{", "model:Amounts", b"byte 1"),
                                  (b"", "model:Amounts", b""), (b'{"a": }', "json", b"byte 6")]:
            status, output, error = self.shown(answer("201 Made", body), "--as", form)
            self.assertEqual((status, output), (1, b""))
            self.assertRegex(error, rb"\Aerror: 201: [^\n]*" + shown + rb"[^\n]*\n" + re.escape(body) + rb"\Z")

    def test_timings_follow_all_else_on_standard_error(self):
        with ScriptedServer(answer(503), answer(404, b"gone")) as server:
            status, shown, told = send("GET", server.url(), "--timings", "--retries", "1")
        self.assertEqual((status, shown), (1, b""))
        self.assertRegex(told, rb"\Aerror: 404: [^\n]*\ngone(timings: waiting [0-9.]+ ms, .*, received \d+ bytes, "
                               rb"(new|kept) connection, HTTP/1.1, tries 1, redirects 0\n){2}\Z")

    def test_progress_is_shown_on_a_terminal_alone(self):
        with ScriptedServer(answer(body=b"x" * 5000)) as server:
            self.assertEqual(send("GET", server.url(), "--progress"), (0, b"x" * 5000, b""))
        with ScriptedServer(answer(body=b"x" * 5000)) as server:
            done, shown = on_terminal("stderr", "send", "GET", server.url(), "--progress", env=ENVIRONMENT)
        self.assertEqual((done.returncode, done.stdout), (0, b"x" * 5000))
        self.assertIn(b"[" + b"#" * 30 + b"] 100% of 5.0 kB", shown)
        self.assertTrue(shown.endswith(b"\r\x1b[K"), shown)


class Connections(InDirectory):
    def test_a_secure_server_is_trusted_by_its_certificate_alone(self):
        certificate = self.directory / "certificate.pem"
        with ScriptedServer(answer(body=b"secret"), secure=certificate) as server:
            self.assertEqual(send("GET", server.url(), "--cacert", str(certificate)), (0, b"secret", b""))
        for trusted in [[], ["--cacert", str(self.directory / "missing.pem")]]:
            with ScriptedServer(secure=certificate) as server:
                status, output, error = send("GET", server.url(), *trusted)
            self.assertEqual((status, output), (1, b""))
            self.assertRegex(error, rb"\Aerror: -1: [^\n]+\n\Z")


class Failures(InDirectory):
    def failure(self, *arguments, given=b""):
        status, output, error = send(*arguments, given=given)
        self.assertEqual((status, output), (1, b""), arguments)
        return error

    def test_a_request_that_cannot_be_made_isnt_sent(self):
        missing = str(self.directory / "missing")
        broken = self.directory / "broken.json"
        broken.write_bytes(b'{"a": 1,}')
        with ScriptedServer() as server:
            for arguments, cause in [
                (["GET", "http://[::1"], b"URL"),
                (["POST", server.url(), "--octet", missing], missing.encode()),
                (["POST", server.url(), "--octet", str(self.directory)], b"directory"),
                (["POST", server.url(), "--multipart", f"f=@{missing}"], missing.encode()),
                (["POST", server.url(), "--multipart", "a\nb=1"], b"line end"),
                (["POST", server.url(), "--json", str(broken)], b"isn't JSON"),
            ]:
                error = self.failure(*arguments)
                self.assertRegex(error, rb"\Aerror: 415: [^\n]+\n\Z")
                self.assertIn(cause, error)
            self.assertEqual(server.requests, [])

    def test_a_transport_that_fails_has_the_code_minus_one(self):
        with ScriptedServer(RESET) as server:
            self.assertRegex(self.failure("GET", server.url()), rb"\Aerror: -1: [^\n]+\n\Z")
        with ScriptedServer(SILENCE) as server:
            self.assertRegex(self.failure("GET", server.url(), "--timeout", "0.2"), rb"\Aerror: -1: timed out[^\n]*\n\Z")
        for arguments in [["GET", server.url()], ["GET", "ftp://127.0.0.1/"], ["GET", "no-scheme"],
                          ["GET", server.url(), "--header", "Bad Name: 1"]]:
            self.assertRegex(self.failure(*arguments), rb"\Aerror: -1: [^\n]+\n\Z")

    def test_wrong_usage_sends_nothing_and_repeats_no_secret(self):
        with ScriptedServer() as server:
            for arguments, named in [
                (["get", server.url()], b"METHOD"),
                (["GET"], b"URL"),
                (["GET", server.url(), "extra"], b"extra"),
                (["POST", server.url(), "--json", "-", "--octet", "-"], b"excludes"),
                (["POST", server.url(), "--json", "-", "--json", "-"], b"--json"),
                (["GET", server.url(), "--form", "a=1"], b"GET"),
                (["HEAD", server.url(), "--json", "-"], b"HEAD"),
                (["POST", server.url(), "--form", "s3cret"], b"--form"),
                (["POST", server.url(), "--multipart", "s3cret"], b"--multipart"),
                (["GET", server.url(), "--query", "s3cret"], b"--query"),
                (["GET", server.url(), "--header", "s3cret"], b"--header"),
                (["GET", server.url(), "--header", ": s3cret"], b"--header"),
                (["GET", server.url(), "--user", "s3cret"], b"--user"),
                (["GET", server.url(), "--as", "pdf"], b"--as"),
                (["GET", server.url(), "--as", "model:Unheard"], b"--as"),
                (["GET", server.url(), "--retries", "-1"], b"--retries"),
                (["GET", server.url(), "--timeout", "0"], b"--timeout"),
                (["GET", server.url(), "--timeout", "nan"], b"--timeout"),
            ]:
                status, output, error = send(*arguments)
                self.assertEqual((status, output), (2, b""), arguments)
                self.assertIn(named, error)
                self.assertNotIn(b"s3cret", error)
            self.assertEqual(server.requests, [])
