"""qal dstu: the standard's worked example, whole exchanges, refusals."""

import os
import random
import stat
import unittest

import program
from curves import BinaryCurve

CURVES = {"m163": (21, 21, 42), "m191": (24, 24, 48), "m257": (33, 32, 64), "m431": (54, 54, 108)}

# The private key of DSTU 4145-2002, appendix B, whose base point is not the recommended one; its public
# key with that, worked out by the definition of the group. Least significant byte first.
PRIVATE = "3e5a9b1c0c7973d0f89371d647ff5179df0ff68301"
PUBLIC = "6252fda98e6989eecfec954f1b2874d8cbe6d6f700"

# DSTU 4145-2002, appendix G.1: curve, order of the base point, cofactor
MODELS = {
    "m163": (
        BinaryCurve((163, 7, 6, 3), 1, 0x5FF6108462A2DC8210AB403925E638A19C1455D21),
        0x400000000000000000002BEC12BE2262D39BCF14D,
        2,
    ),
    "m191": (
        BinaryCurve((191, 9), 1, 0x7BC86E2102902EC4D5890E8B6B4981FF27E0482750FEFC03),
        0x40000000000000000000000069A779CAC1DABC6788F7474F,
        2,
    ),
    "m257": (
        BinaryCurve((257, 12), 0, 0x1CEF494720115657E18F938D7A7942394FF9425C1458C57861F9EEA6ADBE3BE10),
        0x800000000000000000000000000000006759213AF182E987D3E17714907D470D,
        4,
    ),
    "m431": (
        BinaryCurve(
            (431, 5, 3, 1),
            1,
            0x3CE10490F6A708FC26DFE8C3D27C4F94E690134D5BFF988D8D28AAEAEDE975936C66BAC536B18AE2DC312CA493117DAA469C640CAF3,
        ),
        0x3FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFBA3175458009A8C0A724F02F81AA8A1FCBAF80D90C7A95110504CF,
        2,
    ),
}


class DstuTest(program.ProgramTest):
    def dstu(self, *arguments, **options):
        return self.qal("dstu", *arguments, **options)


class Dstu(DstuTest):
    def keys(self, curve, name):
        """The public key; the private one is in the file."""
        return self.dstu("genkey", "-c", curve, "--force", "-o", name).stdout.decode().strip()

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


class PublicKeys(DstuTest):
    def private_key(self, curve, d):
        return self.write("key", d.to_bytes(CURVES[curve][1], "little").hex().encode())

    def public_key(self, curve, d):
        """The point of a private key."""
        self.private_key(curve, d)
        text = self.dstu("pubkey", "-c", curve, "--key-file", "key").stdout.decode()
        return MODELS[curve][0].expand(int.from_bytes(bytes.fromhex(text), "little"))

    def hexadecimal(self, curve, c):
        return c.to_bytes(CURVES[curve][0], "little").hex()

    def refuse(self, curve, c, reason, signature=None, digest="01"):
        """Every command refuses this compressed point."""
        signature = signature or "01" + "00" * (CURVES[curve][2] - 1)
        for command in (
            ("verify", "--public", self.hexadecimal(curve, c), "--signature", signature, "--digest", digest),
            ("derive", "--peer", self.hexadecimal(curve, c), "--key-file", "key"),
            ("derive", "--peer", self.hexadecimal(curve, c), "--key-file", "key", "--cofactor"),
        ):  # fmt: skip
            done = self.dstu(command[0], "-c", curve, *command[1:], status=1)
            self.assertEqual(done.stderr.decode(), f"qal: the public key is {reason}\n")
            self.assertEqual(done.stdout, b"")

    def test_the_curves_are_sound(self):
        for name, (curve, n, cofactor) in MODELS.items():
            with self.subTest(curve=name):
                self.assertTrue(all(pow(base, n - 1, n) == 1 for base in range(2, 40)))
                self.assertLessEqual((cofactor * n - 2**curve.m - 1) ** 2, 2 ** (curve.m + 2))
                base = self.public_key(name, 1)
                self.assertTrue(curve.contains(*base))
                self.assertIsNone(curve.multiply(n, base))

    def test_agreed_secrets(self):
        for name, (curve, n, cofactor) in MODELS.items():
            with self.subTest(curve=name):
                d = random.randrange(1, 2 ** (n.bit_length() - 1))
                peer = self.public_key(name, random.randrange(1, 2 ** (n.bit_length() - 1)))
                self.private_key(name, d)
                shared = curve.multiply(d, peer)
                for options, (x, _) in (
                    ([], shared), (["--cofactor"], curve.multiply(cofactor, shared))
                ):  # fmt: skip
                    done = self.dstu("derive", "-c", name, "--key-file", "key", *options,
                                     "--peer", self.hexadecimal(name, curve.compress(peer)))  # fmt: skip
                    self.assertEqual(done.stdout.decode(), self.hexadecimal(name, x) + "\n")

    def test_the_zero_key(self):
        # It stands for T = (0, sqrt b) of order 2. s G + r T is s G for even r, so that everybody
        # finds a signature of the digest 2: r is the product of this, as a polynomial, and of the x
        # of s G.
        for name, (curve, n, _) in MODELS.items():
            with self.subTest(curve=name):
                base = curve.negative(self.public_key(name, 1))
                s, r = 0, 1
                while r % 2 != 0:
                    s += 1
                    r = curve.times(2, curve.multiply(s, base)[0]) % 2 ** (n.bit_length() - 1)
                half = CURVES[name][2] // 2
                signature = r.to_bytes(half, "little") + s.to_bytes(half, "little")
                self.private_key(name, 3)
                self.refuse(name, 0, "not a multiple of the base point", signature.hex(), "02")

    def test_a_point_of_small_order_added(self):
        # With a cofactor of 4 the sum of a key and the point of order 2 can be compressed; d (Q + T)
        # tells whether d is even.
        curve, n, _ = MODELS["m257"]
        T = 0, curve.root(curve.b)
        for _ in range(3):
            Q = curve.add(self.public_key("m257", random.randrange(1, 2 ** (n.bit_length() - 1))), T)
            c = curve.compress(Q)
            self.assertEqual(curve.expand(c), Q)
            self.refuse("m257", c, "not a multiple of the base point")

    def test_no_points(self):
        for name, (curve, _, _) in MODELS.items():
            with self.subTest(curve=name):
                Q = self.public_key(name, 5)
                c = curve.compress(Q)
                other = next(x for x in range(2, 100) if curve.expand(x) is None)
                # Of the twist, and with more bits than elements have: the modulus added, too
                for bad in (other, c ^ curve.modulus, c | 1 << curve.m):
                    self.refuse(name, bad, "not a point of the curve")
        self.refuse("m257", 1, "not a point of the curve")  # x = 0 has no second point


if __name__ == "__main__":
    program.main()
