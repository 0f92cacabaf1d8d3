"""qal digest, against lists that other implementations made and habits that people know."""

import os
import pty
import select
import subprocess
import time
import unittest

import program

EMPTY_512 = (
    b"8e945da209aa869f0455928529bcae4679e9873ab707b55315f56ceb98bef0a7"
    b"362f715528356ee83cda5f2aac4c6ad2ba3a715c1bcd81cb8e9f90bf4c1c1a8a"
)
EMPTY_256 = b"3f539a213e97c802cc229d474c6aa32a825a360b2a933a949fd925208d9ce1bb"
OTHER_512 = b"0" * 128


def reversed_hex(digest):
    return bytes.fromhex(digest.decode())[::-1].hex().encode()


class Printing(program.ProgramTest):
    def test_empty_input_in_every_form(self):
        self.write("empty", b"")
        self.assertEqual(self.qal("digest", "empty").stdout, EMPTY_512 + b"  empty\n")
        self.assertEqual(
            self.qal("digest", "-a", "streebog-256", "empty").stdout, EMPTY_256 + b"  empty\n"
        )
        self.assertEqual(
            self.qal("digest", "--algorithm=STREEBOG-256", "-b", "empty").stdout,
            EMPTY_256 + b" *empty\n",
        )
        self.assertEqual(
            self.qal("digest", "--tag", "empty").stdout, b"STREEBOG-512 (empty) = " + EMPTY_512 + b"\n"
        )
        self.assertEqual(self.qal("digest", "-z", "empty").stdout, EMPTY_512 + b"  empty\0")

    def test_standard_input(self):
        for arguments in ([], ["-"]):
            with self.subTest(arguments):
                self.assertEqual(self.qal("digest", *arguments).stdout, EMPTY_512 + b"  -\n")

    def test_byte_order(self):
        self.write("empty", b"")
        self.assertEqual(
            self.qal("digest", "--byte-order", "lsb", "empty").stdout, EMPTY_512 + b"  empty\n"
        )
        # The standard prints the most significant byte first.
        self.assertEqual(
            self.qal("digest", "--byte-order", "msb", "empty").stdout,
            reversed_hex(EMPTY_512) + b"  empty\n",
        )
        listed = self.qal("digest", "--byte-order", "msb", "empty").stdout
        self.qal("digest", "--byte-order", "msb", "--check", stdin=listed)
        self.qal("digest", "--check", stdin=listed, status=1)

    def test_agrees_with_other_programs(self):
        for size in (0, 1, 63, 64, 65, 1000, 262143, 262144, 262145, 3_000_000):
            name = self.write(f"file{size}", os.urandom(size))
            for bits in ("256", "512"):
                with self.subTest(size=size, bits=bits):
                    ours = self.qal("digest", "-a", f"streebog-{bits}", name).stdout
                    self.assertEqual(ours, self.run_peer("rhash", f"--gost12-{bits}", name))
                    theirs = self.run_peer(
                        "openssl", "dgst", "-engine", "gost", "-r", f"-md_gost12_{bits}", name
                    )
                    self.assertEqual(ours.split()[0], theirs.split()[0])

    def test_gost94_agrees_with_other_programs(self):
        for size in (0, 1, 31, 32, 33, 300_000):
            name = self.write(f"file{size}", os.urandom(size))
            with self.subTest(size):
                ours = self.qal("digest", "-a", "gost94", name).stdout
                self.assertEqual(ours, self.run_peer("rhash", "--gost94-cryptopro", name))
                if size > 0:  # where the engine's answer is not the published one
                    theirs = self.run_peer(
                        "openssl", "dgst", "-engine", "gost", "-r", "-md_gost94", name
                    )
                    self.assertEqual(ours.split()[0], theirs.split()[0])
                tagged = self.qal("digest", "-a", "gost94", "--tag", name).stdout
                self.assertTrue(tagged.startswith(b"GOST94 ("))
                self.qal("digest", "--check", stdin=tagged)
                self.qal("digest", "--check", "-a", "gost94", stdin=ours)

    def test_names_with_special_characters(self):
        names = {
            b"with space": b"with space",
            b" leading": b" leading",
            b"new\nline": b"new\\nline",
            b"carriage\rreturn": b"carriage\\rreturn",
            b"back\\slash": b"back\\\\slash",
            b"[a,b]": b"[a,b]",
            b"{}": b"{}",
            b"-": b"./-",
            b"\xff\xfe": b"\xff\xfe",
            b"a) = b": b"a) = b",
        }
        for name, shown in names.items():
            self.write(name, b"")
            argument = b"./-" if name == b"-" else name
            mark = b"\\" if b"\\" in shown else b""
            with self.subTest(name):
                plain = self.qal("digest", argument).stdout
                self.assertEqual(plain, mark + EMPTY_512 + b"  " + shown + b"\n")
                tagged = self.qal("digest", "--tag", argument).stdout
                self.assertEqual(
                    tagged, mark + b"STREEBOG-512 (" + shown + b") = " + EMPTY_512 + b"\n"
                )
                zero = self.qal("digest", "-z", argument).stdout
                self.assertEqual(zero, EMPTY_512 + b"  " + argument + b"\0")
                for listed in (plain, tagged):
                    self.assertEqual(
                        self.qal("digest", "-c", stdin=listed).stdout, mark + shown + b": OK\n"
                    )

    def test_form_is_that_of_coreutils(self):
        for name in (b"plain", b"new\nline", b"back\\slash", b"a b"):
            self.write(name, b"x")
            for options in ([], ["--tag"], ["-b"], ["-z"]):
                with self.subTest(name=name, options=options):
                    theirs = self.run_peer("sha512sum", *options, name)
                    theirs = theirs.replace(b"SHA512", b"STREEBOG-512")
                    ours = self.qal("digest", *options, name).stdout
                    position = theirs.find(b"= ") + 2 if "--tag" in options else theirs.startswith(b"\\")
                    self.assertEqual(ours[:position], theirs[:position])
                    self.assertEqual(ours[position + 128 :], theirs[position + 128 :])

    def test_missing_and_unreadable_files(self):
        self.write("good", b"")
        os.mkdir("directory")
        done = self.qal("digest", "missing", "good", "directory", "", status=1)
        self.assertEqual(done.stdout, EMPTY_512 + b"  good\n")
        self.assertEqual(
            done.stderr,
            b"qal: missing: No such file or directory\n"
            b"qal: directory: Is a directory\n"
            b"qal: '': No such file or directory\n",
        )

    def test_names_behind_a_double_dash(self):
        for name in ("-name", "--tag", "[a,b]", "mac", "\1x"):
            self.write(name, b"")
        for arguments in (
            ["digest", "-a", "streebog-256", "mac", "--", "-name", "[a,b]", "--tag", "\1x"],
            ["digest", "mac", "-a", "streebog-256", "--", "-name", "[a,b]", "--tag", "\1x"],
            ["--", "digest", "mac", "-name", "[a,b]", "--tag", "\1x"],
        ):
            with self.subTest(arguments):
                digest = EMPTY_256 if "-a" in arguments else EMPTY_512
                names = (b"mac", b"-name", b"[a,b]", b"--tag", b"\1x")
                self.assertEqual(
                    self.qal(*arguments).stdout, b"".join(digest + b"  " + n + b"\n" for n in names)
                )
        self.assertEqual(self.qal("digest", "--", "-").stdout, EMPTY_512 + b"  -\n")
        self.write("--", b"")
        self.assertEqual(self.qal("digest", "--", "--").stdout, EMPTY_512 + b"  --\n")
        self.write("list", EMPTY_512 + b"  -name\n")
        os.rename("list", "-list")
        self.assertEqual(self.qal("digest", "-c", "--", "-list").stdout, b"-name: OK\n")

    def test_names_in_messages_are_those_of_coreutils(self):
        names = [
            "plain", "with space", "new\nline", "two\n\nlines\n", "\nfirst", "tab\t", "\x1b[31mred", "\x7f", "\1",
            "a:b", "~", "#x", "x~#", "[x]", "{", "}", "{}", "back\\slash", 'two "quotes"', "$x", "`x`", "a&b",
            "a=b", "a,b", "%d", "ж", "\u0085", "\ud7a3", "€", "🗝", "it's \"it\"",
        ]  # fmt: skip
        names = [name.encode() for name in names] + [b"\xff", b"\xc3", b"\xe2\x82", b"\xed\xa0\x80", b"\xc0\x80"]
        done = subprocess.run(
            [b"cat", b"--", *names], stderr=subprocess.PIPE, env=os.environ | {"LC_ALL": "C.UTF-8"}
        )
        theirs = done.stderr.replace(b"cat: ", b"qal: ")
        self.assertEqual(self.qal("digest", "--", *names, status=1).stderr, theirs)
        # One quote alone, which they put into double quotes.
        self.assertEqual(
            self.qal("digest", "it's", status=1).stderr,
            b"qal: 'it'\\''s': No such file or directory\n",
        )

    def test_no_message_has_control_characters(self):
        name = self.write("a\n\x1b[31mb", b"")
        for arguments, status in (
            (["digest", "-a", name], 2),
            (["digest", "--" + name], 2),
            (["digest", "-c", name], 1),
            (["rsa", "sign", "-k", name], 1),
            (["cipher", "-a", "gost28147-ecb", "-e", "--key-file", name], 1),
            (["mac", "-a", "gost28147", "--key-file", name], 1),
            (["gost", "pubkey", "--key-file", name], 1),
            (["gost", "verify", "--pubkey-file", name, "--signature-file", name], 1),
            (["gost", "genkey", "--curve-file", name], 1),
            (["dstu", "pubkey", "-c", "m163", "--key-file", name], 1),
        ):
            with self.subTest(arguments):
                message = self.qal(*arguments, status=status).stderr
                self.assertIn(b"a", message)
                self.assertNotIn(b"\x1b", message)
                self.assertIn(rb"\n", message)
                self.assertEqual(message.count(b"\n"), status)

    def test_several_threads_keep_the_order(self):
        names = []
        for i in range(60):
            names.append(self.write(f"file{i}", os.urandom(1000 * (60 - i) ** 2 % 400_000)))
        names.insert(17, "missing")
        one = self.qal("digest", *names, status=1)
        several = self.qal("digest", "--threads", "7", *names, status=1)
        self.assertEqual(one.stdout, several.stdout)
        self.assertEqual(one.stderr, several.stderr)
        checked = self.qal("digest", "-c", "--threads=4", stdin=one.stdout).stdout
        self.assertEqual(checked, b"".join(f"{n}: OK\n".encode() for n in names if n != "missing"))

    def test_large_files_take_no_memory(self):
        with open("sparse", "wb") as file:
            file.truncate(1 << 30)
        sparse = subprocess.Popen([program.QAL, "digest", "sparse"], stdout=subprocess.PIPE)
        line = sparse.stdout.read()
        sparse.stdout.close()
        _, status, usage = os.wait4(sparse.pid, 0)
        sparse.returncode = os.waitstatus_to_exitcode(status)
        self.assertEqual(sparse.returncode, 0)
        self.assertLess(usage.ru_maxrss, 128 << 10)  # KiB
        feed = subprocess.Popen(["head", "-c", str(1 << 30), "/dev/zero"], stdout=subprocess.PIPE)
        piped = subprocess.run(
            [program.QAL, "digest"], stdin=feed.stdout, stdout=subprocess.PIPE, check=True
        )
        feed.stdout.close()
        feed.wait()
        self.assertEqual(line.split()[0], piped.stdout.split()[0])


class Checking(program.ProgramTest):
    def check(self, listed, *options, status=0):
        return self.qal("digest", "--check", *options, stdin=listed, status=status)

    def test_lists_of_other_programs(self):
        for i in range(5):
            self.write(f"file {i}", os.urandom(10_000 * i))
        names = sorted(os.listdir())
        for bits in ("256", "512"):
            listed = self.run_peer("rhash", f"--gost12-{bits}", *names)
            done = self.check(listed)
            self.assertEqual(done.stdout, b"".join(f"{n}: OK\n".encode() for n in names))
            self.assertEqual(done.stderr, b"")
            listed = self.run_peer(
                "openssl", "dgst", "-engine", "gost", "-r", f"-md_gost12_{bits}", *names
            )
            self.check(listed, "-a", f"streebog-{bits}")

    def test_verdicts(self):
        self.write("good", b"")
        self.write("bad", b"x")
        listed = EMPTY_512 + b"  good\n" + EMPTY_512 + b"  bad\n" + EMPTY_512 + b"  missing\n"
        done = self.check(listed, status=1)
        self.assertEqual(
            done.stdout, b"good: OK\nbad: FAILED\nmissing: FAILED open or read\n"
        )
        self.assertEqual(
            done.stderr,
            b"qal: missing: No such file or directory\n"
            b"qal: WARNING: 1 listed file could not be read\n"
            b"qal: WARNING: 1 computed checksum did NOT match\n",
        )
        done = self.check(listed * 2, "--quiet", status=1)
        self.assertEqual(done.stdout, b"bad: FAILED\nmissing: FAILED open or read\n" * 2)
        self.assertIn(b"WARNING: 2 listed files could not be read\n", done.stderr)
        self.assertIn(b"WARNING: 2 computed checksums did NOT match\n", done.stderr)
        done = self.check(listed, "--status", status=1)
        self.assertEqual(done.stdout, b"")
        self.assertEqual(done.stderr, b"qal: missing: No such file or directory\n")
        self.assertEqual(self.check(EMPTY_512 + b"  good\n", "--status").stdout, b"")

    def test_missing_files_may_be_ignored(self):
        self.write("good", b"")
        listed = EMPTY_512 + b"  missing\n" + EMPTY_512 + b"  good\n"
        done = self.check(listed, "--ignore-missing")
        self.assertEqual((done.stdout, done.stderr), (b"good: OK\n", b""))
        done = self.check(EMPTY_512 + b"  missing\n", "--ignore-missing", status=1)
        self.assertEqual(done.stderr, b"qal: standard input: no file was verified\n")
        os.mkdir("directory")
        self.check(EMPTY_512 + b"  directory\n", "--ignore-missing", status=1)

    def test_improper_lines(self):
        self.write("good", b"")
        proper = EMPTY_512 + b"  good\n"
        improper = [
            b"nonsense",
            EMPTY_512 + b" good",
            EMPTY_512[:-1] + b"  good",
            EMPTY_512[:-2] + b"  good",
            EMPTY_512 + b"  ",
            b"SHA512 (good) = " + EMPTY_512,
            b"STREEBOG-256 (good) = " + EMPTY_512,
            b"STREEBOG-512 (good) = ",
            b"STREEBOG-512 (good) = " + EMPTY_512[:-1] + b"g",
            b"\\" + EMPTY_512 + b"  go\\od",
            b"\\" + EMPTY_512 + b"  good\\",
        ]
        for line in improper:
            with self.subTest(line):
                done = self.check(line + b"\n", status=1)
                self.assertEqual(
                    done.stderr,
                    b"qal: standard input: no properly formatted checksum lines found\n",
                )
                done = self.check(proper + line + b"\n")
                self.assertEqual(done.stdout, b"good: OK\n")
                self.assertEqual(done.stderr, b"qal: WARNING: 1 line is improperly formatted\n")
                done = self.check(proper + line + b"\n", "--warn")
                self.assertIn(
                    b"qal: standard input: 2: improperly formatted checksum line\n", done.stderr
                )
                self.check(proper + line + b"\n", "--strict", status=1)
        done = self.check(proper + b"a\nb\n")
        self.assertEqual(done.stderr, b"qal: WARNING: 2 lines are improperly formatted\n")

    def test_forgiving_about_form(self):
        self.write("good", b"")
        for line in (
            EMPTY_512.upper() + b"  good",
            EMPTY_512 + b" *good",
            EMPTY_512 + b"  good\r",
            b"  " + EMPTY_512 + b"  good",
            b"# a comment\n\n" + EMPTY_512 + b"  good",
            b"streebog-512 (good) = " + EMPTY_512,
            EMPTY_256 + b"  good",
            b"STREEBOG-256 (good) = " + EMPTY_256,
        ):
            with self.subTest(line):
                for end in (b"\n", b""):
                    done = self.check(line + end, "--strict")
                    self.assertEqual((done.stdout, done.stderr), (b"good: OK\n", b""))

    def test_named_algorithm_holds(self):
        self.write("good", b"")
        self.check(EMPTY_256 + b"  good\n", "-a", "streebog-256")
        self.check(EMPTY_256 + b"  good\n", "-a", "streebog-512", status=1)
        self.check(b"STREEBOG-256 (good) = " + EMPTY_256, "-a", "streebog-512", status=1)

    def test_several_lists(self):
        self.write("good", b"")
        self.write("first", EMPTY_512 + b"  good\n")
        self.write("second", OTHER_512 + b"  good\n")
        done = self.qal("digest", "-c", "first", "missing", "second", status=1)
        self.assertEqual(done.stdout, b"good: OK\ngood: FAILED\n")
        self.assertIn(b"qal: missing: No such file or directory\n", done.stderr)
        os.mkdir("directory")
        self.qal("digest", "-c", "directory", status=1)
        self.write("empty list", b"")
        self.qal("digest", "-c", "empty list", status=1)


class CommandLine(program.ProgramTest):
    def test_wrong_usage(self):
        for arguments in (
            [],
            ["digests"],
            ["digest", "--unknown"],
            ["digest", "-a", "md5"],
            ["digest", "--byte-order", "middle"],
            ["digest", "--threads", "0"],
            ["digest", "--threads", "many"],
            ["digest", "--tag", "--check"],
            ["digest", "-z", "--check"],
            ["digest", "-b", "--check"],
            ["digest", "--quiet"],
            ["digest", "--status"],
            ["digest", "--strict"],
            ["digest", "--warn"],
            ["digest", "--ignore-missing"],
        ):
            with self.subTest(arguments):
                done = self.qal(*arguments, status=2)
                self.assertEqual(done.stdout, b"")
                self.assertNotEqual(done.stderr, b"")

    def test_help_and_version(self):
        self.assertIn(b"digest", self.qal("--help").stdout)
        self.assertIn(b"--byte-order", self.qal("digest", "--help").stdout)
        self.assertRegex(self.qal("--version").stdout, rb"\Aqal \d+\.\d+\.\d+\n\Z")

    def test_failed_writes(self):
        self.write("good", b"")
        self.write("list", EMPTY_512 + b"  good\n")
        for arguments in (["digest", "good"], ["digest", "-c", "list"], ["--help"], ["--version"]):
            with self.subTest(arguments), open("/dev/full", "wb") as full:
                done = self.qal(*arguments, stdout=full, status=1)
                self.assertEqual(done.stderr, b"qal: write error: No space left on device\n")
        done = subprocess.run(
            ["sh", "-c", '"$0" digest good >&-', program.QAL], stderr=subprocess.PIPE
        )
        self.assertEqual(done.returncode, 1)
        self.assertEqual(done.stderr, b"qal: write error: Bad file descriptor\n")
        done = subprocess.run(
            ["sh", "-c", '"$0" digest <&-', program.QAL], stdout=subprocess.PIPE, stderr=subprocess.PIPE
        )
        self.assertEqual((done.returncode, done.stdout), (1, b""))


class ProgressBar(program.ProgramTest):
    def long_work(self, stderr):
        """Three seconds of input from a slow pipe."""
        done = subprocess.Popen(
            [program.QAL, "digest"], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=stderr
        )
        for _ in range(30):
            done.stdin.write(bytes(100_000))
            done.stdin.flush()
            time.sleep(0.1)
        done.stdin.close()
        output = done.stdout.read()
        done.stdout.close()
        self.assertEqual(done.wait(), 0)
        return output

    def test_shown_on_a_terminal(self):
        master, slave = pty.openpty()
        output = self.long_work(slave)
        os.close(slave)
        shown = b""
        while select.select([master], [], [], 0)[0]:
            try:
                shown += os.read(master, 65536)
            except OSError:  # how Linux tells the end of a terminal
                break
        os.close(master)
        self.assertIn(b"MiB/s", shown)
        self.assertTrue(shown.endswith(b"\r\033[K"), "the bar is taken away at the end")
        self.assertNotIn(b"MiB", output)

    def test_absent_in_a_pipe(self):
        reader, writer = os.pipe()
        self.long_work(writer)
        os.close(writer)
        with open(reader, "rb") as end:
            self.assertEqual(end.read(), b"")


if __name__ == "__main__":
    program.main()
