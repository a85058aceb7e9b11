"""The payment application as a command: what it shows of a link, and how it answers."""

import os
import pty
import subprocess
import tempfile
import unittest

from running import PROGRAM

PAYMENT = ("tilvanego://payment/v1/start?request_id=A-1&amount={}&type=sale&currency=EUR&return_url=shop://done"
           "&basic_token=s3cret&account_id=acc&environment=CERT&require_reader_ready=true")


def sandbox(*arguments, **options):
    options.setdefault("stdin", subprocess.DEVNULL)
    return subprocess.run([PROGRAM, "sandbox", *arguments], capture_output=True, encoding="utf-8", **options)


class SandboxCommand(unittest.TestCase):
    def test_shows_the_request_without_its_secret_and_the_callback_last(self):
        done = sandbox(PAYMENT.format("12.5"))
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        lines = done.stdout.splitlines()
        self.assertEqual(lines[:3], ["payment", "request_id: A-1", "amount: 12.5"])
        self.assertIn("basic_token: hidden", lines)
        self.assertNotIn("s3cret", done.stdout)
        self.assertEqual(lines[-2], "outcome: approve")
        self.assertTrue(lines[-1].startswith("shop://done?request_id=A-1&status=approved&"), lines[-1])
        self.assertEqual(done.stdout, sandbox(PAYMENT.format("12.5")).stdout)

    def test_the_amount_decides_unless_an_outcome_is_given_and_silence_is_no_failure(self):
        self.assertIn("status=declined", sandbox(PAYMENT.format("12.01")).stdout)
        self.assertIn("status=cancelled", sandbox("--outcome", "cancel", PAYMENT.format("12.01")).stdout)
        done = sandbox(PAYMENT.format("12.04"))
        self.assertEqual((done.returncode, done.stdout.splitlines()[-1]), (0, "outcome: silent"))

    def test_fails_with_one_clear_line_and_no_callback(self):
        for arguments, error in [
                ((PAYMENT.format("ten"),), "the link's amount is \"ten\", which is no number"),
                (("",), "the link is no URL: "),
                (("--fault", "not-json", PAYMENT.format("1")), "the fault not-json needs an answer by gzip or "),
                (("--open", "false", PAYMENT.format("1")), "the callback URL was not opened by: false"),
                (("--open", "/no/such/program", PAYMENT.format("1")), "the callback URL was not opened by: "),
        ]:
            with self.subTest(arguments):
                done = sandbox(*arguments)
                self.assertEqual(done.returncode, 1)
                self.assertTrue(done.stderr.startswith("tilvanego sandbox: " + error), done.stderr)
                self.assertEqual(len(done.stderr.splitlines()), 1)
                self.assertNotIn("shop://done?request_id", done.stdout)

    def test_wrong_usage_repeats_no_link(self):
        link = PAYMENT.format("1")
        done = sandbox("--colour=s3cret", link, "basic_token=s3cret")
        self.assertTrue(done.returncode == 2 and done.stderr.startswith("Not expected: --colour"), done.stderr)
        self.assertNotIn("s3cret", done.stderr)

    def test_words_keys_and_transport_are_the_ones_asked_for(self):
        for arguments, callback in [
                (("--outcome", "cancel", "--word", "canceled", "--keys", "third"),
                 "session_id=A-1&result=canceled&message=Cancelled%20on%20the%20terminal"),
                (("--outcome", "fail", "--word", "error", "--keys", "camelCase"),
                 "requestId=A-1&status=error&processorMessage="),
                (("--answer", "gzip"), "transport=gzip&encoding=gzip-json&"),
        ]:
            with self.subTest(arguments):
                done = sandbox(*arguments, PAYMENT.format("1"))
                self.assertEqual((done.returncode, done.stderr), (0, ""))
                self.assertTrue(done.stdout.splitlines()[-1].startswith("shop://done?" + callback), done.stdout)

    def test_opens_the_callback_with_the_given_command(self):
        script = "printf %s \"$2\" > \"$1\""
        with tempfile.NamedTemporaryFile("r", prefix="it's ", encoding="utf-8") as file:
            done = sandbox("--open", f"sh -c '{script}' sh \"{file.name}\"", PAYMENT.format("1"))
            self.assertEqual((done.returncode, done.stderr), (0, ""))
            self.assertTrue(file.read().startswith("shop://done?request_id=A-1&status=approved&"))
        self.assertNotIn("shop://done?", done.stdout)

    def test_a_script_answers_the_one_request_and_tells_what_did_not_happen(self):
        start = "shop://done?request_id=A-1&status="
        unused = "line 1 decided 0 requests of 1\n"
        for line, callbacks, told in [
                ('{"amount": "5", "outcome": "decline"}', [start + "declined"], ""),
                ('{"delivery": "twice", "keys": "first"}', [start + "approved"] * 2, ""),
                ('{"delivery": "other-path", "delay": 0.001}', [start.replace("done", "done/other") + "approved"], ""),
                ('{"delivery": "never"}', [], ""),
                ('{"delivery": "late"}', [], "the callback would come after the next request, and this is the only one\n"),
                ('{"requestId": "A-2"}', [start + "cancelled"], 'FILE: request 1, payment "A-1" of 5.02: no line fits\n'
                                                               "FILE: " + unused),
                ('{"nth": 2}', [start + "cancelled"], 'FILE: request 1, payment "A-1" of 5.02: no line fits\nFILE: '
                                                      + unused),
        ]:
            with self.subTest(line), tempfile.NamedTemporaryFile("w", encoding="utf-8") as file:
                file.write(line + "\n")
                file.flush()
                done = sandbox("--script", file.name, PAYMENT.format("5.02" if "FILE" in told else "5"))
                self.assertEqual(done.returncode, 0)
                said = done.stderr.replace("tilvanego sandbox: ", "").replace(file.name, "FILE")
                self.assertEqual(said, told)
                shown = [line for line in done.stdout.splitlines() if line.startswith("shop:")]
                self.assertEqual([line.split("&processor")[0] for line in shown], callbacks)

        with tempfile.NamedTemporaryFile("w", encoding="utf-8") as file:
            file.write('\n{"outcome": "tampered"}\n')
            file.flush()
            done = sandbox("--script", file.name, PAYMENT.format("5"))
            self.assertEqual(done.returncode, 1)
            self.assertTrue(done.stderr.startswith(f"tilvanego sandbox: {file.name}: line 2: the outcome tampered needs"))

    def test_a_script_is_a_small_regular_file_that_can_be_read(self):
        with tempfile.TemporaryDirectory() as folder:
            def path(name, text=None):
                if text is not None:
                    with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                        file.write(text)
                return os.path.join(folder, name)

            os.symlink(path("good", '{"outcome": "decline"}'), path("link"))
            os.mkfifo(path("pipe"))
            for name, error in [
                    (path("missing"), "No such file or directory"),
                    (path("link"), "is a symbolic link; name the file itself"),
                    (path("pipe"), "is no regular file"),
                    (folder, "is no regular file"),
                    (path("large", "\n" * (1 << 21)), "the script is longer than 1048576 bytes"),
                    (path("wrong", '\n{"outcome": "no"}'), 'line 2 of the script has the field "outcome", which must be'),
            ]:
                with self.subTest(name):
                    done = sandbox("--script", name, PAYMENT.format("5"))
                    self.assertEqual((done.returncode, done.stdout), (1, ""))
                    self.assertTrue(done.stderr.startswith(f"tilvanego sandbox: {name}: {error}"), done.stderr)
            self.assertEqual(sandbox("--script", path("good"), "--keys", "first", PAYMENT.format("5")).returncode, 2)

    def test_asks_the_person_at_a_terminal(self):
        for typed, status in [("\n", "declined"), ("maybe\ncancel\n", "cancelled"), ("\x04", "declined")]:
            with self.subTest(typed):
                controller, terminal = pty.openpty()
                os.write(controller, typed.encode())
                done = sandbox(PAYMENT.format("1.01"), stdin=terminal)
                os.close(terminal)
                os.close(controller)
                self.assertEqual(done.returncode, 0)
                self.assertIn("status=" + status, done.stdout)
                self.assertTrue(done.stderr.startswith("outcome [decline]: "))
                self.assertEqual("one of approve decline" in done.stderr, typed.startswith("maybe"))
