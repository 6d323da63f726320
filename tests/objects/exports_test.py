"""The library shows its four entry points and nothing of its inside."""

import subprocess
import sys
import unittest

LIBRARY = sys.argv.pop()


class Exports(unittest.TestCase):
    def test_are_the_entry_points_of_a_component_server(self):
        listed = subprocess.run(["nm", "-D", "--defined-only", LIBRARY], capture_output=True, text=True, check=True)
        names = {line.split()[-1] for line in listed.stdout.splitlines()}
        # What a sanitizer puts into every library is not ours.
        ours = {name for name in names if not name.startswith(("__asan", "__odr_asan", "__ubsan"))}
        self.assertEqual(ours, {"DllCanUnloadNow", "DllGetClassObject", "DllRegisterServer", "DllUnregisterServer"})


if __name__ == "__main__":
    unittest.main()
