"""What is installed runs where it lies, and other projects can build with it, or with the source folder in them.

install_test.py SOURCE_FOLDER BUILD_FOLDER COMPILER
"""

import os
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE, BUILD, COMPILER = map(Path, sys.argv[1:])
CONSUMER = Path(__file__).parent / "consumer"
A_POINT = r"\A-?\d+\.\d{6} -?\d+\.\d{6} -?\d+\.\d{6}\n\Z"


class Installed(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        # Nothing of the caller's environment helps; what is asked of the user's settings is answered by an empty home.
        self.environment = {"HOME": str(self.folder)}

    def run_quietly(self, *command, **more_environment):
        run = subprocess.run(command, env=self.environment | more_environment, text=True, timeout=120,
                             stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        self.assertEqual(run.returncode, 0, run.stdout)
        return run.stdout

    def cmake(self, *arguments, **more_environment):
        return self.run_quietly("cmake", *arguments, PATH=os.environ["PATH"], **more_environment)

    def configure(self, *options):
        self.cmake("-S", CONSUMER, "-B", self.folder / "build", "-G", "Ninja", f"-DCMAKE_CXX_COMPILER={COMPILER}", *options)

    def test_an_installed_tree_works_where_it_lies(self):
        for _ in range(2):  # the second time over the first
            self.cmake("--install", BUILD, "--prefix", "/opt/kestrine", DESTDIR=str(self.folder / "stage"))
        prefix = self.folder / "stage/opt/kestrine"

        self.assertTrue((prefix / "share/doc/kestrine/html/index.html").exists())
        self.run_quietly(prefix / "bin/kestrine", "measure", "--simulate", "--points", "1")
        readme = (SOURCE / "README.md").read_text()
        snippet = re.search(r"```python\n(.*?)```", readme, re.DOTALL)[1]
        package = next(prefix.glob("lib/python3*/dist-packages"))
        self.assertRegex(self.run_quietly(sys.executable, "-B", "-c", snippet, PYTHONPATH=str(package)), A_POINT)

        self.configure(f"-DCMAKE_PREFIX_PATH={prefix}")
        self.cmake("--build", self.folder / "build")
        self.assertRegex(self.run_quietly(self.folder / "build/consumer"), A_POINT)

        description = next(prefix.rglob("kestrine.pc"))
        flags = self.run_quietly("pkg-config", "--cflags", "--libs", description).split()
        folders = [Path(flag[2:]).resolve() for flag in flags if flag[:2] in ("-I", "-L")]
        self.assertEqual(folders, [prefix / "include", description.parents[1]])

    def test_the_source_folder_is_a_guest_in_another_project(self):
        self.configure(f"-DKESTRINE_SOURCE={SOURCE}")
        build = self.folder / "build"
        # The headers that the schema gives are made first, without the consumer saying so.
        object_file = "CMakeFiles/consumer.dir/main.cpp.o"
        self.cmake("--build", build, "--target", object_file)
        command = self.run_quietly("ninja", "-C", build, "-t", "commands", "-s", object_file)
        options = [word for word in command.split() if re.match("-([DfgIOW]|std)", word)]
        generated = build / "kestrine/generated/include"
        self.assertEqual(options, [f"-I{SOURCE}/include", f"-I{generated}", "-std=gnu++20"])
        self.assertNotRegex((build / "CMakeCache.txt").read_text(), r"(?m)^(BUILD_TESTING|Python3_EXECUTABLE):")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
