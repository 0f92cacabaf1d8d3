"""qal dstu: the standard's worked example, whole exchanges, refusals."""

import os
import stat
import unittest

import program

CURVES = {"m163": (21, 21, 42), "m191": (24, 24, 48), "m257": (33, 32, 64), "m431": (54, 54, 108)}

# The private key of DSTU 4145-2002, appendix B, whose base point is not the recommended one; its public
# key with that, worked out by the definition of the group. Least significant byte first.
PRIVATE = "3e5a9b1c0c7973d0f89371d647ff5179df0ff68301"
PUBLIC = "6252fda98e6989eecfec954f1b2874d8cbe6d6f700"


class Dstu(program.ProgramTest):
    def dstu(self, *arguments, **options):
        return self.qal("dstu", *arguments, **options)

    def keys(self, curve, name):
        """The public key; the private one is in the file."""
        return self.dstu("genkey", "-c", curve, "-o", name).stdout.decode().strip()

    def test_exchange_on_every_curve(self):
        self.write("text", b"some text")
        for curve, (field, key, size) in CURVES.items():
            with self.subTest(curve=curve):
                a, b = self.keys(curve, "a"), self.keys(curve, "b")
                self.assertEqual((len(a), len(b)), (2 * field, 2 * field))
                self.assertNotEqual(a, b)
                self.assertEqual(stat.S_IMODE(os.stat("a").st_mode), 0o600)
                with open("a") as file:
                    self.assertEqual(len(file.read()), 2 * key + 1)
                self.assertEqual(
                    self.dstu("pubkey", "-c", curve, "--key-file", "a").stdout.decode().strip(), a
                )
                line = self.dstu("sign", "-c", curve, "--key-file", "a", "text").stdout.decode()
                signature, name = line.split()
                self.assertEqual((len(signature), name), (2 * size, "text"))
                verify = ("verify", "-c", curve, "--public", a, "--signature", signature)
                self.assertEqual(self.dstu(*verify, "text").stdout, b"text: OK\n")
                self.assertEqual(self.dstu(*verify, stdin=b"some text").stdout, b"-: OK\n")
                self.assertEqual(
                    self.dstu(*verify, stdin=b"other text", status=1).stdout, b"-: FAILED\n"
                )
                other = ("verify", "-c", curve, "--public", b, "--signature", signature)
                self.dstu(*other, "text", status=1)
                # Nonces differ from one signature to the next.
                again = self.dstu("sign", "-c", curve, "--key-file", "a", "text").stdout.decode()
                self.assertNotEqual(again.split()[0], signature)
                for options in ([], ["--cofactor"]):
                    ours = self.dstu("derive", "-c", curve, "--key-file", "a", "--peer", b, *options)
                    theirs = self.dstu("derive", "-c", curve, "--key-file", "b", "--peer", a, *options)
                    self.assertEqual(ours.stdout, theirs.stdout)
                    self.assertEqual(len(ours.stdout), 2 * field + 1)

    def test_digest_stands_for_a_file(self):
        self.write("text", b"text to hash")
        digest = self.qal("digest", "-a", "gost94", "text").stdout.decode().split()[0]
        public = self.keys("m257", "key")
        line = self.dstu("sign", "-c", "m257", "--key-file", "key", "--digest", digest).stdout
        signature, name = line.decode().split()
        self.assertEqual(name, digest)
        arguments = ("verify", "-c", "m257", "--public", public, "--signature", signature)
        self.assertEqual(self.dstu(*arguments, "text").stdout, b"text: OK\n")
        self.dstu(*arguments, "--digest", digest)
        self.dstu(*arguments, "--digest", digest[2:], status=1)
        self.dstu(*arguments, "--digest", digest, "text", status=2)
        self.dstu(*arguments, "--digest", "0", status=2)
        self.dstu(*arguments, "text", "text", status=2)

    def test_private_key_of_the_worked_example(self):
        self.write("key", PRIVATE.encode())
        public = self.dstu("pubkey", "-c", "m163", "--key-file", "key").stdout.decode().strip()
        self.assertEqual(public, PUBLIC)
        line = self.dstu("sign", "-c", "m163", "--key-file", "key", "--digest", "ff4722f5")
        signature = line.stdout.decode().split()[0]
        self.dstu("verify", "-c", "m163", "--public", public, "--signature", signature,
                  "--digest", "ff4722f5")  # fmt: skip

    def test_files_that_cannot_be_read(self):
        self.keys("m163", "key")
        self.write("text", b"text")
        done = self.dstu("sign", "-c", "m163", "--key-file", "key", "missing", "text", status=1)
        self.assertEqual(len(done.stdout.splitlines()), 1)
        self.assertIn(b"missing", done.stderr)

    def test_keys_that_do_not_fit(self):
        public = self.keys("m163", "key")
        for key in ("00" * 21, "ff" * 21):
            self.write("bad", key.encode())
            for command in (
                ("pubkey",), ("sign", "--digest", "01"), ("derive", "--peer", public)
            ):  # fmt: skip
                done = self.dstu(command[0], "-c", "m163", "--key-file", "bad", *command[1:], status=1)
                self.assertIn(b"private key", done.stderr)
                self.assertEqual(done.stdout, b"")
        self.write("short", b"01")
        self.dstu("pubkey", "-c", "m163", "--key-file", "short", status=1)
        self.dstu("derive", "-c", "m163", "--key-file", "key", "--peer", "01", status=2)
        # Of degree 163.
        bad = "05" + "00" * 19 + "08"
        done = self.dstu("derive", "-c", "m163", "--key-file", "key", "--peer", bad, status=1)
        self.assertIn(b"public key", done.stderr)
        signature = "01" + "00" * 20 + "01" + "00" * 20
        done = self.dstu("verify", "-c", "m163", "--public", bad, "--signature", signature,
                         "--digest", "01", status=1)  # fmt: skip
        self.assertIn(b"public key", done.stderr)

    def test_command_line(self):
        self.dstu(status=2)
        self.dstu("genkey", status=2)
        self.dstu("genkey", "-c", "m233", status=2)
        self.assertIn(b"genkey", self.dstu("--help").stdout)
        line = self.dstu("genkey", "-c", "m191").stdout.decode()
        self.assertRegex(line, r"^[0-9a-f]{48}\n$")


if __name__ == "__main__":
    program.main()
