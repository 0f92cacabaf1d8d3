"""Runs the qal program in a directory of its own."""

import os
import subprocess
import sys
import tempfile
import unittest

QAL = None


class ProgramTest(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.addCleanup(self.directory.cleanup)
        self.addCleanup(os.chdir, os.getcwd())
        os.chdir(self.directory.name)

    def qal(self, *arguments, stdin=b"", status=0, **options):
        """What the program wrote; it must end with the status."""
        options = {"stdout": subprocess.PIPE, "stderr": subprocess.PIPE} | options
        done = subprocess.run([QAL, *arguments], input=stdin, timeout=300, **options)
        self.assertEqual(done.returncode, status, done)
        return done

    def preloading(self, name):
        """An environment in which the program does not find the system as it should be: see CMakeLists.txt."""
        return os.environ | {
            "LD_PRELOAD": os.environ["QAL_" + name],
            "ASAN_OPTIONS": "verify_asan_link_order=0:" + os.environ.get("ASAN_OPTIONS", ""),
        }

    def write(self, name, contents):
        with open(name, "wb") as file:
            file.write(contents)
        return name

    def run_peer(self, *command, stdin=None):
        done = subprocess.run(command, input=stdin, stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.assertEqual(done.returncode, 0, done)
        return done.stdout


def main():
    global QAL
    QAL = os.path.abspath(sys.argv.pop(1))
    unittest.main(module="__main__")
