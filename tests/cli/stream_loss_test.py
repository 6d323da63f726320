"""What the tool says of streams that do not come as a whole: through a proxy that loses packets, and of a server that
goes away."""

import contextlib
import select
import socket
import struct
import threading
import unittest

from tool import PATIENCE, ToolCase

BLOCKS = (3, 5, 10)
CENTERS = (2, 9)
COUNT_REACHED = struct.pack("<3i", 12, 8, 28)  # a status packet
SET_SYSTEM_SETTINGS = 47
ALL = range(1000)


class Proxy:
    """Serves one client. Of the packets of the lossy types, those with the numbers in `lost` do not arrive."""

    def __init__(self, port, types, lost, before=b""):
        self.types, self.lost, self.before = types, lost, before
        self.settings = []  # whether each command that set them wanted unsolicited messages
        self.seen = 0
        self.listener = socket.create_server(("127.0.0.1", 0))
        self.port = str(self.listener.getsockname()[1])
        self.server = socket.create_connection(("127.0.0.1", int(port)))
        threading.Thread(target=self.serve, daemon=True).start()

    def close(self):
        self.listener.close()
        self.server.close()

    def serve(self):
        client, _ = self.listener.accept()
        with contextlib.suppress(OSError), client:
            while True:
                for source in select.select([client, self.server], [], [])[0]:
                    if not (size := source.recv(4, socket.MSG_WAITALL)):
                        return
                    packet = size + source.recv(struct.unpack("<i", size)[0] - len(size), socket.MSG_WAITALL)
                    if source is client:
                        self.note(packet)
                        self.server.sendall(packet)
                    else:
                        client.sendall(self.lose(packet))

    def note(self, request):
        if struct.unpack_from("<i", request, 8)[0] == SET_SYSTEM_SETTINGS:
            self.settings.append(struct.unpack_from("<i", request, 28)[0])

    def lose(self, packet):
        kind = struct.unpack_from("<i", packet, 4)[0]
        if kind not in self.types:
            return packet
        self.seen += 1
        return self.before + (b"" if self.seen - 1 in self.lost else packet)


class StreamLossTest(ToolCase):
    def stream(self, *arguments, types=BLOCKS, lost=(), **keywords):
        _, port = self.start_simulator("--speed", "5")
        proxy = Proxy(port, types, lost, **keywords)
        self.addCleanup(proxy.close)
        run = self.run_tool("stream", "--host", "127.0.0.1", "--port", proxy.port, *arguments, *self.outputs)
        self.assertEqual(proxy.settings, [1, 0])
        return run

    def test_points_that_are_lost_on_the_way_are_missing(self):
        for arguments, lost, received, missing in (
            (["--count", "1000"], ALL[4:], "4 packets, 400 points", "600 of 1000 points asked for"),
            (["--duration", "2"], [2], r"\d+ packets, \d+ points", "about 100 points in 1 gap of more than 1.5 ms"),
            (["--mode", "distance", "--duration", "2"], [2], r"\d+ packets, \d+ points",
             r"about \d+ points? in 1 gap of more than 7.5 mm"),
        ):
            with self.subTest((arguments, lost)):
                run = self.stream(*arguments, lost=lost)
                self.check_refusal(run, 1, f"not everything came: {missing}")
                self.assertRegex(run.stdout, rf"received +{received}.*\nMISSING +{missing}")
                self.assertGreater(len(self.check_files()), 10)

    def test_there_is_a_statement_when_nothing_came(self):
        for arguments, types, missing, words in (
            (["--mode", "grid", "--duration", "1"], BLOCKS, "missing +unknown; .* would not show", "no points"),
            (["--mode", "sphere-center"], CENTERS, "MISSING +the centre", "not everything came: the centre"),
            (["--mode", "sphere-center", "--radius", "100"], (), "MISSING +the centre",
             r"No Sphere Center.*\(error \d+\)"),
        ):
            with self.subTest(arguments):
                run = self.stream(*arguments, types=types, lost=ALL)
                self.check_refusal(run, 1, words)
                self.assertRegex(run.stdout, rf"received +nothing\n{missing}\n\Z")
                self.assertEqual(list(self.folder.iterdir()), [])

    def test_what_comes_after_the_count_is_said_to_be_reached_still_counts(self):
        run = self.stream("--count", "1000", before=COUNT_REACHED)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        self.assertRegex(run.stdout, r"received +10 packets, 1000 points.*\nmissing +none\n")

    def test_a_server_that_goes_away_is_named_and_what_it_owes_is_missing(self):
        for arguments, shown, words in (
            ("measure --points 1000", "[1-9]\\d* of 1000 points ", r"\nwrote "),
            ("stream --duration 3600", "[1-9]\\d* points ", r"\nMISSING +everything after \d+\.\d+ s\n"),
        ):
            with self.subTest(arguments):
                server, port = self.start_simulator()
                process, terminal = self.start_on_terminal(*arguments.split(), "--host", "localhost", "--port", port,
                                                           *self.outputs)
                terminal.wait_for(shown)
                server.kill()
                terminal.wait_for(r"\r\x1b\[Kkestrine: the server closed the connection\r\n")
                out, _ = process.communicate(timeout=PATIENCE)
                self.assertEqual(process.returncode, 1)
                self.assertRegex(out, words)
                self.assertGreater(len(self.check_files()), 0)
                self.remove_files()


if __name__ == "__main__":
    unittest.main()
