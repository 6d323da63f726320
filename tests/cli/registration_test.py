"""Runs the command line tool's subcommands for registered classes."""

import os
import shutil
import unittest

from tool import ToolCase


class RegistrationTest(ToolCase):
    def run_tool(self, *arguments, status=0):
        places = {"XDG_DATA_HOME": f"{self.folder}/user", "XDG_DATA_DIRS": f"{self.folder}/system"}
        run = super().run_tool(*arguments, env=os.environ | places, cwd=self.folder)
        self.assertEqual(run.returncode, status, run)
        return run.stdout if status == 0 else run.stderr

    def file(self, place):
        return self.folder / place / "kestrine/classes.reg"

    def test_classes_are_registered_listed_and_taken_out_for_the_user_and_the_system(self):
        self.assertEqual(self.run_tool("classes"), "no classes are registered\n")
        table = self.run_tool("register", "--system").splitlines()
        self.assertEqual(len(table), 7)
        self.assertEqual(table[0], f"{self.file('system')}:")
        self.assertRegex(table[1], r"^  Kestrine\.LTCommandSync\.1    \{[0-9A-F-]{36}\}  /.*/libkestrine\.so\.3$")
        copy = shutil.copy(table[1].split()[-1], self.folder / "copy.so")
        both = self.run_tool("register", "--library", "copy.so")
        self.assertLess(both.index(str(self.file("user"))), both.index(str(self.file("system"))))
        self.assertEqual(both.count(f"{copy}\n"), 6)
        copy.unlink()
        self.assertEqual(self.run_tool("classes").count("copy.so (missing)\n"), 6)
        self.assertEqual(self.run_tool("unregister").splitlines(), table)

    def test_failures_are_one_line_each(self):
        text = self.folder / "text.so"
        text.write_text("no library")
        damaged = self.file("system")
        damaged.parent.mkdir(parents=True)
        damaged.write_text("damaged")
        for arguments, status, words in (
            (["register", "--library", "gone.so"], 2, "gone.so"),
            (["register", "--library", "text.so"], 1, "text.so"),
            (["classes"], 1, "line 1 of"),
        ):
            with self.subTest(arguments):
                self.assertRegex(self.run_tool(*arguments, status=status), rf"\Akestrine: [^\n]*{words}[^\n]*\n\Z")


if __name__ == "__main__":
    unittest.main()
