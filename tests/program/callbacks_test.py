"""What comes to a running host from outside: outcomes of opened links, and callbacks over its socket."""

import os
import signal
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


class Callbacks(InDirectory):
    def setUp(self):
        super().setUp()
        self.host = self.listening()

    def listening(self):
        """A host that has answered: it listens from then on."""
        host = RunningHost("--callbacks", str(self.socket))
        self.addCleanup(host.__exit__)
        host.ask({"pending": "payment"}, "pending")
        return host

    def callback(self, url):
        return run("callback", str(self.socket), url)

    def test_a_callback_finishes_the_payment_before_its_sender_ends(self):
        self.host.ask(payment(), "open")
        done = self.callback("myshop://done?status=approved&request_id=A1")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (0, b"", b""))
        self.assertEqual(self.host.hear("completion")["value"]["case"], "success")
        self.assertFalse(self.host.ask({"pending": "payment"}, "pending")["inProgress"])

    def test_a_callback_that_nobody_waits_for_is_delivered_and_warned_of(self):
        self.assertEqual(self.callback("a:b").returncode, 0)
        self.assertEqual(self.host.hear("log")["log"], "warning")

    def test_without_a_host_the_sender_fails_and_says_what_to_start(self):
        self.host.finish()
        done = self.callback("a:b")
        self.assertEqual(done.returncode, 1)
        self.assertIn(f"tilvanego host --callbacks {self.socket}".encode(), done.stderr)

    def test_what_is_no_url_is_refused(self):
        self.assertEqual(self.callback("1:2").returncode, 1)
        self.assertEqual(self.callback("a:b").returncode, 0)

    def test_the_socket_is_the_users_alone_and_gone_afterwards(self):
        for host, end in [(self.host, lambda host: host.finish()),
                          (None, lambda host: host.process.send_signal(signal.SIGTERM))]:
            host = host or self.listening()
            self.assertEqual(stat.S_IMODE(os.lstat(self.socket).st_mode), 0o600)
            end(host)
            host.process.wait(60)
            self.assertFalse(self.socket.exists())

    def test_an_abandoned_socket_is_replaced_and_nothing_else(self):
        done = run("host", "--callbacks", str(self.socket))
        self.assertEqual((done.returncode, done.stdout), (1, b""))
        self.assertIn(b"Another host", done.stderr)
        self.assertEqual(self.callback("a:b").returncode, 0)
        self.host.process.kill()
        self.host.process.wait(60)
        self.assertTrue(self.socket.is_socket())
        self.listening().finish()
        self.socket.write_text("mine")
        done = run("host", "--callbacks", str(self.socket))
        self.assertEqual((done.returncode, self.socket.read_text()), (1, "mine"))

    def test_a_path_that_no_socket_can_have_is_an_error(self):
        for path in [str(self.directory / ("x" * 120)), str(self.directory / "missing" / "socket")]:
            self.assertEqual(run("host", "--callbacks", path).returncode, 1)
