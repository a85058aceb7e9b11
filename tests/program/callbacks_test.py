"""What comes to a running host from outside: outcomes of opened links, and callbacks over its socket."""

import os
import signal
import socket
import stat
import unittest

from running import InDirectory, RunningHost, payment, run


class Opening(InDirectory):
    def test_the_link_is_the_commands_last_argument_and_a_command_that_fails_opened_nothing(self):
        kept = self.directory / "kept"
        with RunningHost("--open", f"sh -c 'printf %s \"$2\" > \"$1\"; exit 1' sh {kept}") as host:
            host.tell(payment(notes="a 'b' $(c)"))
            link = host.hear("open")["open"]
            self.assertEqual(host.hear("completion")["value"]["error"], "paymentAppNotInstalled")
        self.assertEqual(kept.read_text(), link)

    def test_an_opened_link_leaves_the_payment_pending_and_the_end_of_input_ends_the_host(self):
        with RunningHost("--open", "true") as host:
            host.ask(payment(), "open")
            self.assertEqual(host.ask({"opened": True}, "error").keys(), {"error"})
            host.tell({"pending": "payment"})
            self.assertEqual(host.finish(), (0, [{"pending": "payment", "inProgress": True}]))


class SocketTest(InDirectory):
    def host(self, *options):
        return RunningHost("--callbacks", str(self.socket), *options)

    def ready(self, host):
        """Once a host has answered, it listens."""
        host.ask({"pending": "payment"}, "pending")

    def callback(self, url):
        return run("callback", str(self.socket), url)


class Callbacks(SocketTest):
    def test_a_callback_finishes_the_payment_before_its_sender_ends(self):
        with self.host() as host:
            host.ask(payment(), "open")
            done = self.callback("myshop://done?status=approved&request_id=A1")
            self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
            self.assertEqual(host.hear("completion")["value"]["case"], "success")
            self.assertFalse(host.ask({"pending": "payment"}, "pending")["inProgress"])

    def test_a_callback_that_nobody_waits_for_is_delivered_and_warned_of(self):
        with self.host() as host:
            self.ready(host)
            self.assertEqual(self.callback("a:b").returncode, 0)
            self.assertEqual(host.hear("log")["log"], "warning")

    def test_without_a_host_the_sender_fails_and_says_what_to_start(self):
        done = self.callback("a:b")
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"tilvanego host --callbacks {self.socket}".encode(), done.stderr)

    def test_what_is_no_url_is_refused(self):
        with self.host() as host:
            self.ready(host)
            self.assertEqual(self.callback("1:2").returncode, 1)
            for text, reply in [(b"", b"no URL"), (b"1:2", b"no URL"), (b"\xff\0:", b"no URL")]:
                with socket.socket(socket.AF_UNIX) as sender:
                    sender.connect(str(self.socket))
                    sender.sendall(text)
                    sender.shutdown(socket.SHUT_WR)
                    self.assertIn(reply, sender.recv(4096))
            self.ready(host)

    def test_a_url_beyond_the_limit_is_refused(self):
        with self.host() as host, socket.socket(socket.AF_UNIX) as sender:
            self.ready(host)
            sender.connect(str(self.socket))
            with self.assertRaises(OSError):
                while True:
                    sender.sendall(b"x" * (1 << 20))
            self.ready(host)

    def test_senders_that_stall_hold_up_nobody(self):
        with self.host() as host:
            self.ready(host)
            stalled = [socket.socket(socket.AF_UNIX) for _ in range(10)]
            for one in stalled:
                one.connect(str(self.socket))
                one.sendall(b"a:")
            self.assertEqual(self.callback("a:b").returncode, 0)
            for one in stalled:
                one.close()
            self.assertEqual(self.callback("a:b").returncode, 0)

    def test_the_socket_is_the_users_alone_and_gone_afterwards(self):
        for end in [lambda host: host.finish(), lambda host: host.process.send_signal(signal.SIGTERM)]:
            with self.host() as host:
                self.ready(host)
                self.assertEqual(stat.S_IMODE(os.lstat(self.socket).st_mode), 0o600)
                end(host)
                host.process.wait(60)
            self.assertFalse(self.socket.exists())

    def test_an_abandoned_socket_is_replaced(self):
        with self.host() as host:
            self.ready(host)
        self.assertTrue(self.socket.is_socket())
        with self.host() as host:
            self.ready(host)

    def test_what_isnt_an_abandoned_socket_stays(self):
        self.socket.write_text("mine")
        done = run("host", "--callbacks", str(self.socket))
        self.assertEqual((done.returncode, self.socket.read_text()), (1, "mine"))
        self.socket.unlink()
        with self.host() as host:
            self.ready(host)
            done = run("host", "--callbacks", str(self.socket))
            self.assertEqual((done.returncode, done.stdout), (1, b""))
            self.assertIn(b"Another host", done.stderr)
            self.assertEqual(self.callback("a:b").returncode, 0)

    def test_a_path_that_no_socket_can_have_is_an_error(self):
        for path in [str(self.directory / ("x" * 120)), str(self.directory / "missing" / "socket")]:
            self.assertEqual(run("host", "--callbacks", path).returncode, 1)


if __name__ == "__main__":
    unittest.main()
