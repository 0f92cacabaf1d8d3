"""qal cipher and qal mac, against OpenSSL's GOST engine and the habits of good tools."""

import os
import stat
import subprocess
import unittest

import program

KEY = "8899aabbccddeeff0011223344556677fedcba98765432100123456789abcdef"
IV = "1234567890abcef0"
GOST = ["gost28147-ecb", "gost28147-gamma", "gost28147-cfb"]
ALL = GOST + ["kuznyechik-ctr"]


class CipherTest(program.ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("key", KEY.encode() + b"\n")
        self.write("iv", IV.encode())

    def options(self, algorithm, *more):
        iv = [] if algorithm.endswith("ecb") else ["--iv-file", "iv"]
        return ["cipher", "-a", algorithm, "--key-file", "key", *iv, *more]

    def engine(self, name, text):
        return self.run_peer(
            "openssl", "enc", "-engine", "gost", "-" + name, "-K", KEY, "-iv", IV, stdin=text
        )


class Results(CipherTest):
    def test_agrees_with_openssl(self):
        for size in (0, 1, 15, 16, 17, 1000, 1023, 1024, 100_000, 262_144, 1_000_001):
            text = os.urandom(size)
            self.assertEqual(
                self.qal(*self.options("kuznyechik-ctr", "-e"), stdin=text).stdout,
                self.engine("kuznyechik-ctr", text),
                size,
            )
            if size > 1024:  # from there on the engine changes its key
                continue
            self.assertEqual(
                self.qal(*self.options("gost28147-gamma", "-e"), stdin=text).stdout,
                self.engine("gost89-cnt", text),
                size,
            )
            self.assertEqual(
                self.qal(*self.options("gost28147-cfb", "--sbox", "tc26-z", "-e"), stdin=text).stdout,
                self.engine("gost89", text),
                size,
            )

    def test_back_and_forth(self):
        for algorithm in ALL:
            for size in (0, 8, 4096, 1 << 20, (1 << 20) + (0 if algorithm.endswith("ecb") else 5)):
                with self.subTest(algorithm=algorithm, size=size):
                    text = self.write("text", os.urandom(size))
                    self.qal(*self.options(algorithm, "-e", "-o", "cipher", text))
                    self.qal(*self.options(algorithm, "--decrypt", "-o", "plain", "cipher"))
                    with open("text", "rb") as a, open("cipher", "rb") as b, open("plain", "rb") as c:
                        text, cipher, plain = a.read(), b.read(), c.read()
                    self.assertEqual(plain, text)
                    self.assertEqual(len(cipher), len(text))
                    if size:
                        self.assertNotEqual(cipher, text)

    def test_parameter_sets_differ(self):
        found = {
            self.qal(*self.options("gost28147-ecb", "-e", "--sbox", name), stdin=bytes(8)).stdout
            for name in ("cryptopro-a", "cryptopro-b", "cryptopro-c", "cryptopro-d", "test-89", "tc26-z")
        }
        self.assertEqual(len(found), 6)

    def test_slow_pipes(self):
        text = os.urandom(300_001)
        for algorithm in ("gost28147-cfb", "kuznyechik-ctr"):
            running = subprocess.Popen(
                [program.QAL, *self.options(algorithm, "-e")],
                stdin=subprocess.PIPE,
                stdout=subprocess.PIPE,
            )
            for i in range(0, len(text), 12_345):
                running.stdin.write(text[i : i + 12_345])
                running.stdin.flush()
            output, _ = running.communicate()
            self.assertEqual(running.returncode, 0)
            self.assertEqual(output, self.qal(*self.options(algorithm, "-e"), stdin=text).stdout)


class Files(CipherTest):
    def test_output_appears_only_complete(self):
        self.write("text", bytes(9))
        self.write("result", b"before")
        done = self.qal(*self.options("gost28147-ecb", "-e", "-o", "result", "text"), status=1)
        self.assertIn(b"whole number of blocks", done.stderr)
        self.qal(*self.options("gost28147-ecb", "-e", "-o", "result", "missing"), status=1)
        self.qal(*self.options("gost28147-ecb", "-e", "-o", "new", "missing"), status=1)
        with open("result", "rb") as file:
            self.assertEqual(file.read(), b"before")
        self.assertEqual(sorted(os.listdir()), ["iv", "key", "result", "text"])

    def test_replaces_its_own_input(self):
        self.write("text", b"some text")
        self.qal(*self.options("kuznyechik-ctr", "-e", "-o", "text", "text"))
        self.qal(*self.options("kuznyechik-ctr", "-d", "-o", "text", "text"))
        with open("text", "rb") as file:
            self.assertEqual(file.read(), b"some text")

    def test_names_with_brackets(self):
        text = self.write("[text]", b"text")
        self.qal(*self.options("kuznyechik-ctr", "-e", "-o", "[a,b]", text))
        self.assertTrue(os.path.exists("[a,b]"))

    def test_modes_of_files(self):
        self.write("text", b"text")
        os.umask(0o027)
        self.qal(*self.options("kuznyechik-ctr", "-e", "-o", "new", "text"))
        self.assertEqual(stat.S_IMODE(os.stat("new").st_mode), 0o640)
        os.chmod("new", 0o600)
        self.qal(*self.options("kuznyechik-ctr", "-e", "-o", "new", "text"))
        self.assertEqual(stat.S_IMODE(os.stat("new").st_mode), 0o600)
        os.umask(0o022)

    def test_failed_writes(self):
        with open("/dev/full", "wb") as full:
            done = self.qal(*self.options("kuznyechik-ctr", "-e"), stdin=b"x", stdout=full, status=1)
        self.assertEqual(done.stderr, b"qal: write error: No space left on device\n")
        done = self.qal(*self.options("kuznyechik-ctr", "-e", "-o", "no/file"), stdin=b"x", status=1)
        self.assertEqual(done.stderr, b"qal: no/file: No such file or directory\n")


class Secrets(CipherTest):
    def encrypt(self, key, status=0):
        self.write("other", key)
        return self.qal(
            "cipher", "-a", "gost28147-ecb", "-e", "--key-file", "other", stdin=bytes(8), status=status
        )

    def test_forms(self):
        expected = self.encrypt(KEY.encode()).stdout
        spaced = " ".join(KEY[i : i + 8].upper() for i in range(0, 64, 8))
        for form in (spaced, KEY + "\n", KEY[:32] + "\r\n" + KEY[32:], "\t" + KEY):
            self.assertEqual(self.encrypt(form.encode()).stdout, expected)

    def test_refused(self):
        for key in (b"", KEY[:-1].encode(), KEY.encode() + b"0", b"x" * 64, KEY.encode()[:-1] + b"g",
                    b"0" * 5000, KEY.encode() + b"\0"):
            with self.subTest(key):
                done = self.encrypt(key, status=1)
                self.assertEqual(done.stdout, b"")
                self.assertIn(b"key file other", done.stderr)
                self.assertNotIn(KEY.encode()[:16], done.stderr)
        done = self.qal(
            "cipher", "-a", "gost28147-ecb", "-e", "--key-file", "missing", stdin=b"", status=1
        )
        self.assertIn(b"missing: No such file or directory", done.stderr)

    def test_descriptors(self):
        expected = self.qal(*self.options("kuznyechik-ctr", "-e"), stdin=b"text").stdout
        key_reader, key_writer = os.pipe()
        iv_reader, iv_writer = os.pipe()
        for writer, text in ((key_writer, KEY), (iv_writer, IV)):
            os.write(writer, text.encode())
            os.close(writer)
        done = self.qal(
            "cipher", "-a", "kuznyechik-ctr", "-e", "--key-fd", str(key_reader), "--iv-fd",
            str(iv_reader), stdin=b"text", pass_fds=(key_reader, iv_reader),
        )
        os.close(key_reader)
        os.close(iv_reader)
        self.assertEqual(done.stdout, expected)
        done = self.qal("cipher", "-a", "gost28147-ecb", "-e", "--key-fd", "77", stdin=b"", status=1)
        self.assertIn(b"key (descriptor 77): Bad file descriptor", done.stderr)

    def test_wrong_usage(self):
        key = ["--key-file", "key"]
        for arguments in (
            ["cipher"],
            ["cipher", "-a", "gost28147-ecb", *key],
            ["cipher", "-a", "gost28147-ecb", "-e", "-d", *key],
            ["cipher", "-a", "gost28147-ecb", "-e"],
            ["cipher", "-a", "gost28147-ecb", "-e", *key, "--key-fd", "3"],
            ["cipher", "-a", "gost28147-ecb", "-e", *key, "--iv-file", "iv"],
            ["cipher", "-a", "gost28147-cfb", "-e", *key],
            ["cipher", "-a", "kuznyechik-ctr", "-e", *key, "--iv-file", "iv", "--sbox", "tc26-z"],
            ["cipher", "-a", "aes", "-e", *key],
            ["cipher", "-a", "gost28147-ecb", "-e", *key, "--sbox", "none"],
            ["cipher", "-a", "gost28147-ecb", "-e", *key, "one", "two"],
            ["mac", "-a", "gost28147"],
            ["mac", *key],
            ["mac", "-a", "hmac", *key],
            ["mac", "-a", "gost28147", *key, "--verify", "00112233", "one", "two"],
            ["mac", "-a", "gost28147", *key, "--verify", "0011223"],
            ["mac", "-a", "gost28147", *key, "--verify", "0011223g"],
        ):
            with self.subTest(arguments):
                done = self.qal(*arguments, status=2)
                self.assertEqual(done.stdout, b"")
                self.assertNotEqual(done.stderr, b"")


class Mac(CipherTest):
    def mac(self, *arguments, **options):
        return self.qal("mac", "-a", "gost28147", "--key-file", "key", *arguments, **options)

    def test_agrees_with_openssl(self):
        for size in (9, 16, 17, 1000, 1024):  # from there on the engine changes its key
            name = self.write(f"file{size}", os.urandom(size))
            theirs = self.run_peer(
                "openssl", "dgst", "-engine", "gost", "-mac", "gost-mac", "-macopt",
                "hexkey:" + KEY, name,
            )
            ours = self.mac(name).stdout
            self.assertEqual(ours, theirs.split()[-1] + b"  " + name.encode() + b"\n")

    def test_verification(self):
        self.write("text", b"some text to authenticate")
        code = self.mac("text").stdout.split()[0].decode()
        self.assertEqual(self.mac("--verify", code, "text").stdout, b"text: OK\n")
        self.assertEqual(self.mac("--verify", code.upper(), "text").stdout, b"text: OK\n")
        wrong = format(int(code, 16) ^ 1, "08x")
        self.assertEqual(self.mac("--verify", wrong, "text", status=1).stdout, b"text: FAILED\n")
        self.mac("--verify", code, "--sbox", "cryptopro-b", "text", status=1)
        self.mac("--verify", code, "missing", status=1)

    def test_several_files(self):
        self.write("short", bytes(8))
        self.write("new\nline", bytes(9))
        done = self.mac("short", "new\nline", "missing", status=1)
        self.assertRegex(done.stdout, rb"\A\\[0-9a-f]{8}  new\\nline\n\Z")
        self.assertIn(b"qal: short: too short to have a MAC", done.stderr)
        self.assertIn(b"qal: missing: No such file or directory\n", done.stderr)
        self.assertEqual(
            self.mac(stdin=bytes(9)).stdout.split()[0], self.mac("new\nline").stdout.split()[0][1:]
        )
        self.mac("--verify", "00000000", "short", status=1)


if __name__ == "__main__":
    program.main()
