"""The simulator as a program: python3 program_test.py PATH_OF_THE_PROGRAM."""
import re
import signal
import socket
import struct
import subprocess
import sys
import unittest

PROGRAM = sys.argv.pop()
DEADLINE = 20


class Program(unittest.TestCase):
    def start(self, *options):
        program = subprocess.Popen([PROGRAM, *options], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        self.addCleanup(program.communicate, timeout=DEADLINE)
        self.addCleanup(program.kill)
        return program

    def test_says_where_it_listens_serves_and_ends_on_an_interrupt(self):
        for interrupt in (signal.SIGINT, signal.SIGTERM):
            program = self.start("--port", "0", "--speed", "0")
            line = program.stdout.readline()
            port = int(re.fullmatch(r"listening on 127\.0\.0\.1:(\d+)\n", line)[1])
            with socket.create_connection(("127.0.0.1", port), DEADLINE) as client:
                client.sendall(struct.pack("<3i", 12, 0, 6))
                self.assertEqual(struct.unpack("<4i", client.recv(16, socket.MSG_WAITALL)), (36, 0, 6, 0))
            program.send_signal(interrupt)
            self.assertEqual(program.wait(DEADLINE), 0)
            self.assertEqual(program.stderr.read(), "")

    def test_answers_bad_options_with_one_line_and_a_failure(self):
        with socket.socket() as taken:
            taken.bind(("127.0.0.1", 0))
            taken.listen()
            port = taken.getsockname()[1]
            for options in ("--port 99999", "--port 80x", "--port -1", f"--port {port}", "--port 0 --speed -1",
                            "--port 0 --speed nan", "--port 0 --unheard-of", "--port 0 --address nowhere"):
                with self.subTest(options=options):
                    program = self.start(*options.split())
                    self.assertNotEqual(program.wait(DEADLINE), 0)
                    self.assertRegex(program.stderr.read(), r"\Akestrine-simulator: .+\n\Z")


if __name__ == "__main__":
    unittest.main()
