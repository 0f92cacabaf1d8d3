"""qal rsa, against the openssl program."""

import base64
import os
import stat
import unittest

import program

SIZES = (512, 1024, 1536, 2048)
RAW = ("-pkeyopt", "rsa_padding_mode:none")


def number(bits):
    """Random bytes as long as the modulus, and below it."""
    return bytes([0]) + os.urandom(bits // 8 - 1)


def parameters(blob):
    """The values of a key in the library's format."""
    values = []
    while blob:
        length = int.from_bytes(blob[:2], "big")
        values.append(int.from_bytes(blob[2 : 2 + length], "big"))
        blob = blob[2 + length :]
    return values


def parameter(value):
    value = value.to_bytes((value.bit_length() + 7) // 8, "big")
    return len(value).to_bytes(2, "big") + value


def der(tag, contents):
    length = len(contents)
    head = bytes([length]) if length < 128 else bytes([0x82]) + length.to_bytes(2, "big")
    return bytes([tag]) + head + contents


def pem(label, body):
    text = base64.encodebytes(body).decode()
    return f"-----BEGIN {label}-----\n{text}-----END {label}-----\n".encode()


def integers(values):
    return b"".join(der(2, v.to_bytes(v.bit_length() // 8 + 1, "big")) for v in values)


class RsaTest(program.ProgramTest):
    def make(self, bits, *options):
        self.qal("rsa", "genkey", "--force", "-b", str(bits), *options, "-o", "private")
        self.qal("rsa", "pubkey", "-k", "private", *options, "-o", "public")

    def contents(self, name):
        with open(name, "rb") as file:
            return file.read()


class Keys(RsaTest):
    def test_library_format(self):
        for bits in SIZES:
            self.make(bits)
            p, q, dp, dq, qinv = parameters(self.contents("private"))
            n, e = parameters(self.contents("public"))
            self.assertEqual((n, e, n.bit_length()), (p * q, 65537, bits))
            self.assertGreater(p, q)
            self.assertEqual((e * dp % (p - 1), e * dq % (q - 1), qinv * q % p), (1, 1, 1))
            for prime in (p, q):
                self.assertIn(b"is prime", self.run_peer("openssl", "prime", str(prime)))

    def test_two_keys_differ(self):
        found = {self.qal("rsa", "genkey", "-b", "512").stdout for _ in range(5)}
        self.assertEqual(len(found), 5)

    def test_default_size(self):
        self.qal("rsa", "genkey", "-o", "private")
        p, q, *_ = parameters(self.contents("private"))
        self.assertEqual((p * q).bit_length(), 2048)

    def test_openssl_accepts_keys(self):
        for bits in SIZES:
            self.make(bits, "--pem")
            self.run_peer("openssl", "rsa", "-in", "private", "-check", "-noout")
            options = ("-noout", "-modulus")
            modulus = self.run_peer("openssl", "rsa", "-in", "private", *options)
            self.assertEqual(
                self.run_peer("openssl", "rsa", "-RSAPublicKey_in", "-in", "public", *options), modulus
            )
            # What is written is what OpenSSL writes.
            self.assertEqual(
                self.run_peer("openssl", "rsa", "-in", "private", "-traditional"), self.contents("private")
            )
            self.assertEqual(
                self.run_peer("openssl", "rsa", "-in", "private", "-RSAPublicKey_out"),
                self.contents("public"),
            )

    def test_keys_of_openssl(self):
        for bits in SIZES:
            key = self.run_peer("openssl", "genrsa", "-traditional", str(bits))
            self.write("private", b"# a comment\n" + key)
            self.qal("rsa", "pubkey", "-k", "private", "-o", "public")
            self.qal("rsa", "pubkey", "-k", "private", "--pem", "-o", "public.pem")
            self.assertEqual(
                self.run_peer("openssl", "rsa", "-in", "private", "-RSAPublicKey_out"),
                self.contents("public.pem"),
            )
            m = number(bits)
            for public in ("public", "public.pem"):
                c = self.qal("rsa", "encrypt", "-k", public, stdin=m).stdout
                self.assertEqual(self.qal("rsa", "decrypt", "-k", "private", stdin=c).stdout, m)

    def test_private_files_are_private(self):
        os.umask(0)
        self.write("private", b"")
        os.chmod("private", 0o666)
        for options in ([], ["--pem"]):
            self.make(512, *options)
            self.assertEqual(stat.S_IMODE(os.stat("private").st_mode), 0o600)
            self.assertEqual(stat.S_IMODE(os.stat("public").st_mode), 0o666)
            os.remove("public")

    def test_bad_private_keys(self):
        self.make(512)
        good = self.contents("private")
        p, q, dp, dq, qinv = parameters(good)
        d = pow(65537, -1, (p - 1) * (q - 1))
        m = number(512)
        n = p * q
        label = "RSA PRIVATE KEY"
        whole = [0, n, 65537, d, p, q, dp, dq, qinv]
        body = der(0x30, integers(whole))
        accepted = [good, pem(label, body), b"text\n" + pem(label, body)]
        refused = [
            b"",
            b"\0",
            good[:-1],
            good + b"\0",
            parameter(p) + parameter(q),
            parameter(p - 1) + parameter(q) + good[-3 * 34 :],
            self.contents("public"),
            b"\xff\xff" + good,
            os.urandom(70000),
            pem(label, b""),
            pem(label, body[:-1]),
            pem(label, body + b"\0"),
            pem(label, der(0x31, integers(whole))),
            pem(label, der(0x30, integers(whole[:-1]))),
            pem(label, der(0x30, integers(whole + [1]))),
            pem(label, der(0x30, integers([1] + whole[1:]))),
            pem(label, der(0x30, integers([0, n + 2] + whole[2:]))),
            pem(label, der(0x30, integers([0, n, 3] + whole[3:]))),
            pem(label, der(0x30, integers(whole[:4] + [q << 8 | 1] + whole[5:]))),
            pem(label, der(0x30, integers(whole[:-1]) + der(2, b"\xff"))),
            pem(label, der(0x30, integers(whole[:-1]) + der(2, b""))),
            pem(label, der(0x30, integers(whole[:-1]) + der(4, b"\1"))),
            pem(label, der(0x30, integers(whole[:-1]) + b"\x02\x7f\x01")),
            pem(label, body).replace(b"=", b"") if b"=" in pem(label, body) else b"no",
            pem(label, body).replace(b"-----END", b"*----END"),
            pem(label, body) + b"more",
            pem("RSA PUBLIC KEY", body),
            pem("PRIVATE KEY", body),
        ]
        # p and q may have any order.
        accepted.append(b"".join(parameter(x) for x in (q, p, dq, dp, pow(p, -1, q))))
        # Each number with a bit flipped; numbers that are congruent to the right ones.
        numbers = (p, q, dp, dq, qinv)
        for i in range(5):
            for bit in (1, 7, 100, 254):
                wrong = list(numbers)
                wrong[i] ^= 1 << bit
                refused.append(b"".join(map(parameter, wrong)))
                refused.append(pem(label, der(0x30, integers(whole[:4] + wrong))))
        for i, modulus in ((2, p - 1), (3, q - 1), (4, p)):
            wrong = list(numbers)
            wrong[i] += modulus
            refused.append(b"".join(map(parameter, wrong)))
        for wrong in (d ^ 2, d + (p - 1), d + (q - 1), 0):
            refused.append(pem(label, der(0x30, integers(whole[:3] + [wrong] + whole[4:]))))
        # All fits, but for a p that is the product of two primes.
        small = [int(self.run_peer("openssl", "prime", "-generate", "-bits", "128")) for _ in range(2)]
        self.assertEqual((small[0] * small[1]).bit_length(), 256)
        composite = small[0] * small[1]
        made_up = (composite, q, pow(65537, -1, composite - 1), dq, pow(q, -1, composite))
        refused.append(b"".join(map(parameter, made_up)))
        # Equal primes have no inverse.
        refused.append(b"".join(map(parameter, (p, p, dp, dp, qinv))))
        for key in accepted:
            self.qal("rsa", "sign", "-k", self.write("key", key), stdin=m)
        for key in refused:
            with self.subTest(key=key[:200]):
                done = self.qal("rsa", "sign", "-k", self.write("key", key), stdin=m, status=1)
                self.assertEqual(done.stdout, b"")
                self.assertTrue(done.stderr.startswith(b"qal: key: "), done.stderr)
        self.qal("rsa", "sign", "--pem", "-k", self.write("key", good), stdin=m, status=1)

    def test_bad_public_keys(self):
        self.make(512)
        n, e = parameters(self.contents("public"))
        label = "RSA PUBLIC KEY"
        self.qal(
            "rsa", "encrypt", "-k", self.write("key", pem(label, der(0x30, integers([n, e])))), stdin=number(512)
        )
        for key in (
            b"",
            parameter(n),
            parameter(n - 1) + parameter(e),
            parameter(n) + parameter(3),
            parameter(n << 256 | 1) + parameter(e),
            parameter(n) + parameter(e) + b"\0",
            parameter(0) + parameter(e),
            pem(label, der(0x30, integers([n]))),
            pem(label, der(0x30, integers([n, e, e]))),
            pem(label, der(0x30, integers([n, 5]))),
        ):
            with self.subTest(key=key):
                self.write("key", key)
                self.qal("rsa", "encrypt", "-k", "key", stdin=number(512), status=1)
                self.qal("rsa", "verify", "-k", "key", "-s", "key", stdin=number(512), status=1)


class Operations(RsaTest):
    def test_against_openssl(self):
        for bits in SIZES:
            self.make(bits, "--pem")
            for _ in range(3):
                m = self.write("m", number(bits))
                openssl = ("openssl", "pkeyutl", *RAW, "-in", "m")
                self.assertEqual(
                    self.qal("rsa", "sign", "-k", "private", "m").stdout,
                    self.run_peer(*openssl, "-decrypt", "-inkey", "private"),
                )
                self.assertEqual(
                    self.qal("rsa", "encrypt", "-k", "public", "m").stdout,
                    self.run_peer(*openssl, "-encrypt", "-pubin", "-inkey", "public"),
                )

    def test_round_trips(self):
        for options in ([], ["--pem"]):
            self.make(1024, *options)
            self.write("m", number(1024))
            self.qal("rsa", "sign", *options, "-k", "private", "-o", "s", "m")
            done = self.qal("rsa", "verify", *options, "-k", "public", "-s", "s", "m")
            self.assertEqual(done.stdout, b"m: OK\n")
            self.qal("rsa", "encrypt", *options, "-k", "public", "-o", "c", "m")
            self.qal("rsa", "decrypt", *options, "-k", "private", "-o", "d", "c")
            self.assertEqual(self.contents("d"), self.contents("m"))
            self.assertEqual(stat.S_IMODE(os.stat("d").st_mode), 0o600)

    def test_signatures_that_do_not_fit(self):
        self.make(512)
        m = self.write("m", number(512))
        s = self.qal("rsa", "sign", "-k", "private", "m").stdout
        for bad in (s[:-1] + bytes([s[-1] ^ 1]), s[:-1], s + b"\0", b"", b"\xff" * 64):
            self.write("s", bad)
            done = self.qal("rsa", "verify", "-k", "public", "-s", "s", "m", status=1)
            self.assertEqual(done.stdout, b"m: FAILED\n")
        self.qal("rsa", "verify", "-k", "public", "-s", "missing", "m", status=1)
        done = self.qal("rsa", "verify", "-k", "public", "-s", "s", status=1, stdin=number(512))
        self.assertEqual(done.stdout, b"-: FAILED\n")
        self.write("s", s)
        name = self.write("a\nb", self.contents("m"))
        done = self.qal("rsa", "verify", "-k", "public", "-s", "s", name)
        self.assertEqual(done.stdout, b"\\a\\nb: OK\n")

    def test_short_keys_are_warned_of(self):
        for bits in (512, 1024):
            m, c = number(bits), number(bits)
            said = b"qal: warning: a key of 512 bits is no protection any more\n" if bits == 512 else b""
            for arguments, options in (
                (["genkey", "-b", str(bits), "-o", "private", "--force"], {}),
                (["pubkey", "-k", "private", "-o", "public"], {}),
                (["sign", "-k", "private", "-o", "s"], {"stdin": m}),
                (["decrypt", "-k", "private"], {"stdin": c}),
                (["encrypt", "-k", "public"], {"stdin": m}),
                (["verify", "-k", "public", "-s", "s"], {"stdin": m}),
            ):
                self.assertEqual(self.qal("rsa", *arguments, **options).stderr, said)

    def test_messages_of_wrong_length_or_value(self):
        self.make(1024)
        n, _ = parameters(self.contents("public"))
        n = n.to_bytes(128, "big")
        for m in (b"", b"\1", bytes(127), bytes(129), bytes(1000), n, b"\xff" * 128):
            for command, key in (("sign", "private"), ("encrypt", "public"), ("decrypt", "private")):
                done = self.qal("rsa", command, "-k", key, "-o", "out", stdin=m, status=1)
                self.assertTrue(done.stderr.startswith(b"qal: -: not "), done.stderr)
                self.assertFalse(os.path.exists("out"))
        below = (int.from_bytes(n, "big") - 1).to_bytes(128, "big")
        self.assertEqual(self.qal("rsa", "encrypt", "-k", "public", stdin=below).stdout, below)

    def test_command_line(self):
        self.qal("rsa", status=2)
        self.qal("rsa", "genkey", "-b", "3072", status=2)
        self.qal("rsa", "genkey", "-b", "768", status=2)
        self.qal("rsa", "sign", status=2)
        self.qal("rsa", "verify", "-k", "key", status=2)
        self.qal("rsa", "sign", "-k", "missing", status=1)
        for command in ("sign", "verify", "encrypt", "decrypt"):
            help = self.qal("rsa", command, "--help").stdout
            self.assertIn(b"PADDING IS YOURS", help)
        self.assertIn(b"PADDING IS YOURS", self.qal("rsa", "--help").stdout)


if __name__ == "__main__":
    program.main()
