"""Runs the command line tool itself: against its own simulator, against one that is killed, and with bad input."""

import signal
import socket
import unittest

from tool import PATIENCE, ToolCase

FAST = ["measure", "--simulate", "--speed", "20"]
STREAM = ["stream", "--simulate"]


class ToolTest(ToolCase):
    def test_a_stationary_series_gives_a_table_and_files(self):
        run = self.run_tool(*FAST, "--points", "4", *self.outputs)
        self.assertEqual((run.returncode, run.stderr), (0, ""))
        points = self.check_files()
        self.assertEqual(len(points), 4)
        for word in ("tracker", "serial number", "X [mm]", "mean", "spread", "wrote"):
            self.assertIn(word, run.stdout)
        for point in points:
            self.assertIn(f"{point['x_mm']:.4f}", run.stdout)
            self.assertGreater(point["std_total_mm"], 0)

    def test_every_mode_gives_its_points_and_says_what_of_them_is_missing(self):
        seen = "none seen; a loss at either end, or where the target came back, would not show"
        for arguments, count, verdict in (
            ("--count 500 --extended --length-unit in", 500, "none"),
            ("--count 300 --probe", 300, "none"),
            ("--duration 0.5 --time-separation 10", 50, "none from the first point .*; a loss .* would not show"),
            ("--mode distance --count 100 --probe --length-unit in", 100, "none"),
            ("--mode distance --duration 3", None, seen),
            ("--mode grid --count 50 --cell 30 0 10", 50, "none"),
            ("--mode grid --duration 3", None, seen),
        ):
            with self.subTest(arguments):
                run = self.run_tool(*STREAM, "--speed", "20", *arguments.split(), *self.outputs)
                self.assertEqual((run.returncode, run.stderr), (0, ""))
                points = self.check_files()
                self.assertEqual(len(points), count or max(len(points), 10))
                self.assertRegex(run.stdout, rf"received +\d+ packets?, .* bytes\nmissing +{verdict}\n")
                unit = "in" if "unit in" in arguments else "mm"
                self.assertEqual("std_total_" + unit in points[0], "--extended" in arguments or "--probe" in arguments)
                self.assertEqual(max(abs(point["x_" + unit]) for point in points) < 150, unit == "in")
                self.assertEqual("quaternion_0" in points[0], "--probe" in arguments)

    def test_centers_are_found_with_their_deviations(self):
        for mode, probe, arguments, truth in (
            ("sphere-center", True, [], (1900, 350, 50)),
            ("circle-center", False, ["--separation", "20", "--count", "60"], (2300, -350, 100)),
        ):
            with self.subTest((mode, probe)):
                more = [*arguments, *(["--probe"] if probe else [])]
                run = self.run_tool(*STREAM, "--speed", "20", "--mode", mode, *more, *self.outputs)
                self.assertEqual((run.returncode, run.stderr), (0, ""))
                (centre,) = self.check_files()
                for axis, true in zip("xyz", truth):
                    self.assertLess(abs(centre[f"{axis}_mm"] - true), 6 * centre[f"std_{axis}_mm"])
                    self.assertIn(f"{centre[f'{axis}_mm']:.4f}", run.stdout)
                self.assertEqual("cov_xy_mm2" in centre, probe)

    def test_the_same_seed_gives_the_same_points_and_quiet_prints_nothing(self):
        def series(seed):
            run = self.run_tool(*FAST, "--points", "1", "--seed", seed, "--quiet", *self.outputs)
            self.assertEqual((run.returncode, run.stdout, run.stderr), (0, "", ""))
            return [(point["x_mm"], point["y_mm"], point["z_mm"]) for point in self.check_files()]

        self.assertEqual(series("5"), series("5"))
        self.assertNotEqual(series("5"), series("6"))

    def test_wrong_usage_is_explained_in_one_line(self):
        host = ["measure", "--host", "127.0.0.1"]
        for arguments, pattern in (
            ([], "subcommand"),
            (["measure"], "--simulate"),
            ([*host, "--port", "65536"], "not in range"),
            ([*host, "--port", "70", "--simulate"], "excludes"),
            ([*FAST, "--points", "0"], "not in range"),
            ([*FAST, "--length-unit", "parsec"], "parsec"),
            ([*STREAM, "--duration", "nan"], "not in range"),
            ([*STREAM, "--mode", "grid", "--time-separation", "5"], "--time-separation: has no meaning with --mode grid"),
            ([*STREAM, "--cell", "5", "5", "5"], "no meaning with --mode time"),
            ([*STREAM, "--mode", "grid", "--cell", "0", "0", "0"], "--cell: needs a side that is not 0"),
            ([*STREAM, "--mode", "sphere-center", "--count", "3"], "not in range 4 to 10000"),
            ([*STREAM, "--probe", "--extended"], "excludes"),
            ([*FAST, "--svg", ""], "names no file"),
        ):
            with self.subTest(arguments):
                more = self.outputs if arguments and "--svg" not in arguments else []
                self.check_refusal(self.run_tool(*arguments, *more), 2, pattern)
                self.assertEqual(list(self.folder.iterdir()), [])

    def test_a_tracker_that_cannot_be_reached_is_named_with_the_reason_and_old_files_stay(self):
        self.files["csv"].write_text("old")
        with socket.socket() as unused:
            unused.bind(("127.0.0.1", 0))
            closed = str(unused.getsockname()[1])
            for command, host in (("measure", "127.0.0.1"), ("stream", "127.0.0.1"), ("measure", "no-such-host"),
                                  ("measure", "höst")):
                with self.subTest((command, host)):
                    run = self.run_tool(command, "--host", host, "--port", closed, *self.outputs)
                    self.check_refusal(run, 1, f"cannot connect to {host} port {closed}: .")
                    self.assertEqual(list(self.folder.iterdir()), [self.files["csv"]])
                    self.assertEqual(self.files["csv"].read_text(), "old")

    def test_files_that_cannot_be_written_are_refused_before_measuring(self):
        (self.folder / "old").write_text("old")
        for name in (self.folder / "no/such.csv", self.folder, self.folder / "old" / "below"):
            with self.subTest(name):
                run = self.run_tool(*FAST, "--csv", str(self.folder / "first"), "--json", str(name))
                self.check_refusal(run, 1, "cannot write")
                self.assertEqual(run.stdout, "")
        self.check_refusal(self.run_tool(*FAST, "--csv", "x", "--svg", "./x", cwd=self.folder), 1, "same file")
        self.assertEqual([(path.name, path.read_text()) for path in self.folder.iterdir()], [("old", "old")])

    def test_a_full_standard_output_is_a_failure_that_keeps_the_files(self):
        with open("/dev/full", "w") as full:
            run = self.run_tool(*FAST, "--points", "1", *self.outputs, stdout=full)
        self.check_refusal(run, 1, "standard output")
        self.assertEqual(len(self.check_files()), 1)

    def test_an_interrupt_ends_a_measurement_cleanly_and_keeps_its_points(self):
        stream = [*STREAM, "--duration", "3600"]
        streaming = r"[1-9]\d* points .*/s .*\d:\d\d\.\d"
        stopped = r"received +\d+ packets?, COUNT points, \d+ bytes\nmissing +none from (.*\n)+stopped after COUNT points"
        circle = [*STREAM, "--mode", "circle-center", "--count", "10000", "--separation"]
        for number, arguments, shown, words in (
            (signal.SIGINT, stream, streaming, stopped),
            (signal.SIGINT, ["measure", "--simulate", "--points", "1000"], "░{24}  2 of 1000 points",
             "stopped after COUNT points"),
            (signal.SIGINT, [*circle, "1000"], r"measuring +0:0[1-9]",
             r"received +nothing\nmissing +none; .*before.*\nstopped before there was a centre\n"),
            (signal.SIGINT, [*circle, "1"], r"measuring +0:0[1-9]",
             r"received +COUNT packet, the centre\nmissing +none\n(wrote .*\n)+stopped; the centre is that of "),
        ):
            with self.subTest((number, arguments)):
                process, terminal = self.start_on_terminal(*arguments, *self.outputs)
                terminal.wait_for(shown)
                process.send_signal(number)
                out, _ = process.communicate(timeout=PATIENCE)
                self.assertEqual(process.returncode, 130)
                count = len(self.check_files()) if any(self.folder.iterdir()) else 0
                self.assertRegex(out, words.replace("COUNT", str(count)))
                self.remove_files()


if __name__ == "__main__":
    unittest.main()
