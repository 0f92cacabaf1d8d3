"""Where results go: files that are replaced whole or not at all, and what is no file."""

import errno
import os
import pty
import resource
import select
import signal
import stat
import subprocess
import threading

import program

TEXT = b"some text"
CIPHER = ["cipher", "-a", "kuznyechik-ctr", "--key-file", "key", "--iv-file", "iv"]
ENDING = (signal.SIGHUP, signal.SIGINT, signal.SIGQUIT, signal.SIGTERM)


class OutputTest(program.ProgramTest):
    def setUp(self):
        super().setUp()
        self.write("key", b"0123456789abcdef" * 4)
        self.write("iv", b"0123456789abcdef")
        self.result = self.qal(*CIPHER, "-e", stdin=TEXT).stdout

    def encrypt(self, name, *arguments, **options):
        return self.qal(*CIPHER, "-e", "-o", name, *arguments, stdin=TEXT, **options)

    def contents(self, name):
        with open(name, "rb") as file:
            return file.read()

    def mode(self, name):
        return stat.S_IMODE(os.stat(name).st_mode)

    def ways(self):
        """Environments in which files are made by each of the two ways."""
        return (os.environ, self.preloading("NO_UNNAMED_FILES"))


class NoFiles(OutputTest):
    def test_pipes(self):
        os.mkfifo("pipe")
        os.symlink("pipe", "link")
        for name in ("pipe", "link"):
            found = []
            reader = threading.Thread(
                target=lambda: found.append(self.contents("pipe")), daemon=True
            )
            reader.start()
            self.encrypt(name)
            reader.join(60)
            self.assertEqual(found, [self.result])
            self.assertTrue(stat.S_ISFIFO(os.stat("pipe").st_mode))
        self.assertTrue(os.path.islink("link"))

    def test_terminals(self):
        master, slave = pty.openpty()
        name = os.ttyname(slave)
        os.symlink(name, "link")
        for output in (name, "link"):
            self.qal("gost", "genkey", "-o", output)
            self.assertRegex(os.read(master, 1000), rb"\A[0-9a-f]{64}\r\n\Z")
            self.assertTrue(stat.S_ISCHR(os.stat(name).st_mode))
        os.close(slave)
        os.close(master)

    def test_devices(self):
        # Never the system's own node. Where none may be made, the terminals above are devices, too.
        try:
            os.mknod("null", 0o666 | stat.S_IFCHR, os.makedev(1, 3))
            os.mknod("full", 0o666 | stat.S_IFCHR, os.makedev(1, 7))
        except PermissionError:
            self.assertNotEqual(os.geteuid(), 0)
            return
        self.encrypt("null")
        self.qal("gost", "genkey", "-o", "null")
        done = self.encrypt("full", status=1)
        self.assertEqual(done.stderr, b"qal: full: No space left on device\n")
        for name, minor in (("null", 3), ("full", 7)):
            self.assertEqual(os.stat(name).st_rdev, os.makedev(1, minor))

    def test_directories(self):
        os.mkdir("directory")
        for name in ("directory", "directory/", ".", "directory/.."):
            done = self.encrypt(name, status=1)
            self.assertEqual(done.stderr, f"qal: {name}: Is a directory\n".encode())
        self.assertEqual(os.listdir("directory"), [])
        for name in ("missing/", "missing/file", "key/file", "key/"):
            self.encrypt(name, status=1)

    def test_descriptors(self):
        # As /dev/stdout and /dev/stderr are, which a program that fails here might destroy.
        os.symlink("/proc/self/fd/1", "stdout")
        os.symlink("/proc/self/fd/2", "stderr")
        for name in ("stdout", "/proc/self/fd/1", "/proc/thread-self/fd/1"):
            self.assertEqual(self.encrypt(name).stdout, self.result)
            # Behind what is there.
            self.write("log", b"before")
            with open("log", "ab") as log:
                self.encrypt(name, stdout=log)
            self.assertEqual(self.contents("log"), b"before" + self.result)
        self.write("log", b"before")
        with open("log", "ab") as log:
            self.encrypt(f"/proc/self/fd/{log.fileno()}", pass_fds=[log.fileno()])
            self.encrypt("stderr", stderr=log)
            self.encrypt("log", stdout=log)
        self.assertEqual(self.contents("log"), b"before" + 3 * self.result)
        with open("gone", "wb") as gone:
            os.remove("gone")
            self.encrypt(f"/proc/{os.getpid()}/fd/{gone.fileno()}")
            with open(f"/proc/self/fd/{gone.fileno()}", "rb") as file:
                self.assertEqual(file.read(), self.result)
        self.assertEqual(sorted(os.listdir()), ["iv", "key", "log", "stderr", "stdout"])


class Links(OutputTest):
    def test_followed(self):
        os.mkdir("folder")
        os.symlink("folder/file", "link")
        os.symlink(os.path.abspath("link"), "folder/again")
        for env in self.ways():
            for before in (None, b"before"):
                for name in ("link", "folder/again"):
                    if before is None and os.path.exists("folder/file"):
                        os.remove("folder/file")
                    elif before is not None:
                        self.write("folder/file", before)
                    self.encrypt(name, env=env)
                    self.assertEqual(self.contents("folder/file"), self.result)
                    self.assertFalse(os.path.islink("folder/file"))
                    self.assertTrue(os.path.islink("link") and os.path.islink("folder/again"))
        self.assertEqual(sorted(os.listdir("folder")), ["again", "file"])

    def test_that_lead_nowhere(self):
        os.symlink("round", "round")
        done = self.encrypt("round", status=1)
        self.assertIn(os.strerror(errno.ELOOP).encode(), done.stderr)
        os.symlink("missing/file", "link")
        self.encrypt("link", status=1)


class RegularFiles(OutputTest):
    def test_keep_mode_and_owner(self):
        os.umask(0o027)
        self.addCleanup(os.umask, 0o022)
        for env in self.ways():
            self.encrypt("file", env=env)
            self.assertEqual(self.mode("file"), 0o640)
            for mode in (0o600, 0o777, 0o4755):
                os.chmod("file", mode)
                self.encrypt("file", env=env)
                self.assertEqual(self.mode("file"), mode & 0o777)
            os.remove("file")
        if os.geteuid() == 0:
            for env in self.ways():
                self.write("file", b"")
                os.chown("file", 12345, 54321)
                os.chmod("file", 0o640)
                self.encrypt("file", env=env)
                found = os.stat("file")
                self.assertEqual((found.st_uid, found.st_gid), (12345, 54321))
                self.assertEqual(self.mode("file"), 0o640)

    def test_that_may_not_be_written(self):
        user = {"user": 65534, "group": 65534, "extra_groups": []} if os.geteuid() == 0 else {}
        os.chmod(".", 0o777)
        for name in ("key", "iv"):
            os.chmod(name, 0o444)
        self.write("file", b"before")
        os.chmod("file", 0o444)
        done = self.encrypt("file", status=1, **user)
        self.assertEqual(done.stderr, b"qal: file: Permission denied\n")
        # Of another owner, whom only the superuser can give a file.
        if user:
            os.chmod("file", 0o666)
            done = self.encrypt("file", status=1, **user)
            self.assertEqual(done.stderr, b"qal: file: Operation not permitted\n")
        self.assertEqual(self.contents("file"), b"before")
        self.assertEqual(sorted(os.listdir()), ["file", "iv", "key"])

    def test_plaintext_is_private(self):
        os.umask(0)
        self.addCleanup(os.umask, 0o022)
        self.write("cipher", self.result)
        self.qal(*CIPHER, "-d", "-o", "plain", "cipher")
        self.assertEqual(self.contents("plain"), TEXT)
        self.assertEqual(self.mode("plain"), 0o600)
        os.chmod("plain", 0o664)
        self.qal(*CIPHER, "-d", "-o", "plain", "cipher")
        self.assertEqual(self.mode("plain"), 0o664)
        self.encrypt("other")
        self.assertEqual(self.mode("other"), 0o666)

    def test_failures_leave_nothing(self):
        self.write("file", b"before")

        def limit():
            signal.signal(signal.SIGXFSZ, signal.SIG_IGN)
            resource.setrlimit(resource.RLIMIT_FSIZE, (4, 4))

        for env in self.ways():
            for name in ("file", "new"):
                done = self.encrypt(
                    name, env=env, status=1, preexec_fn=limit, restore_signals=False
                )
                self.assertEqual(done.stderr, f"qal: {name}: File too large\n".encode())
                self.assertEqual(self.contents("file"), b"before")
                self.assertEqual(sorted(os.listdir()), ["file", "iv", "key"])

    def test_keys_are_not_replaced_unasked(self):
        os.umask(0)
        self.addCleanup(os.umask, 0o022)
        commands = (
            ["rsa", "genkey", "-b", "1024"],
            ["rsa", "genkey", "-b", "1024", "--pem"],
            ["gost", "genkey"],
            ["gost", "genkey", "--pem"],
            ["dstu", "genkey", "-c", "m163"],
        )
        for env in self.ways():
            for command in commands:
                with self.subTest(command):
                    self.qal(*command, "-o", "new", env=env)
                    self.assertEqual(self.mode("new"), 0o600)
                    before = self.contents("new")
                    os.chmod("new", 0o644)
                    os.symlink("new", "link")
                    for name in ("new", "link"):
                        done = self.qal(*command, "-o", name, env=env, status=1)
                        self.assertEqual(done.stdout, b"")
                        self.assertEqual(
                            done.stderr,
                            f"qal: {name}: exists already, and only --force replaces it\n".encode(),
                        )
                        self.assertEqual(self.contents("new"), before)
                    self.qal(*command, "--force", "-o", "link", env=env)
                    self.assertTrue(os.path.islink("link"))
                    self.assertNotEqual(self.contents("new"), before)
                    self.assertEqual(self.mode("new"), 0o600)
                    os.remove("new")
                    os.remove("link")
                    self.assertEqual(sorted(os.listdir()), ["iv", "key"])


class Signals(OutputTest):
    def start(self, *arguments, **options):
        """The program in the middle of its work: it has taken more than its pipe holds."""
        running = subprocess.Popen(
            [program.QAL, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
            stderr=subprocess.PIPE, **options,
        )  # fmt: skip
        self.addCleanup(running.stdout.close)
        self.addCleanup(running.stderr.close)
        self.addCleanup(running.stdin.close)
        running.stdin.write(bytes(4 << 20))
        running.stdin.flush()
        return running

    def test_leave_nothing_behind(self):
        self.write("file", b"before")
        for env, signals in zip(self.ways(), ((*ENDING, signal.SIGKILL), ENDING)):
            for name in ("file", "new"):
                for number in signals:
                    with self.subTest(name=name, number=number):
                        running = self.start(*CIPHER, "-e", "-o", name, env=env)
                        running.send_signal(number)
                        self.assertEqual(running.wait(), -number)
                        self.assertEqual(self.contents("file"), b"before")
                        self.assertEqual(sorted(os.listdir()), ["file", "iv", "key"])

    def test_of_the_system_leave_nothing_behind(self):
        def limit():
            resource.setrlimit(resource.RLIMIT_FSIZE, (4, 4))

        for env in self.ways():
            self.encrypt("new", env=env, status=-signal.SIGXFSZ, preexec_fn=limit)
            self.assertEqual(sorted(os.listdir()), ["iv", "key"])

    def test_that_are_ignored_stay_so(self):
        running = self.start(
            *CIPHER, "-e", "-o", "new", preexec_fn=lambda: signal.signal(signal.SIGHUP, signal.SIG_IGN)
        )
        running.send_signal(signal.SIGHUP)
        running.stdin.close()
        self.assertEqual(running.wait(), 0)
        self.assertEqual(os.path.getsize("new"), 4 << 20)

    def test_lost_readers_end_the_program_silently(self):
        reader, writer = os.pipe()
        os.close(reader)
        self.assertEqual(self.qal(*CIPHER, "-e", stdin=TEXT, stdout=writer,
                                  status=-signal.SIGPIPE).stderr, b"")  # fmt: skip
        os.close(writer)

    def test_restore_the_line_of_the_terminal(self):
        for arguments in (["digest"], [*CIPHER, "-e", "-o", "new"]):
            for number in (signal.SIGINT, signal.SIGTERM):
                master, slave = pty.openpty()
                running = subprocess.Popen(
                    [program.QAL, *arguments], stdin=subprocess.PIPE, stdout=subprocess.PIPE, stderr=slave
                )
                os.close(slave)
                shown = b""
                while b"MiB/s" not in shown:
                    shown += os.read(master, 1000)
                running.send_signal(number)
                self.assertEqual(running.wait(), -number)
                running.stdin.close()
                running.stdout.close()
                while select.select([master], [], [], 0)[0]:
                    try:
                        shown += os.read(master, 1000)
                    except OSError:  # how Linux tells the end of a terminal
                        break
                os.close(master)
                self.assertTrue(shown.endswith(b"MiB/s\r\033[K"), shown)


if __name__ == "__main__":
    program.main()
