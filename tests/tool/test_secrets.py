"""Where keys are in the memory of the program: in pages that are neither swapped nor dumped, and nowhere else.

The program is stopped by a pipe that it waits for, and all that it could write to is searched.
"""

import base64
import ctypes
import fcntl
import os
import re
import resource
import subprocess
import time

import program

READ, WRITE, OPENAT = 0, 1, 257  # system calls
CIPHERS = ("gost28147-ecb", "gost28147-gamma", "gost28147-cfb", "kuznyechik-ctr")


def pieces(data, size, step):
    return [data[i : i + size] for i in range(0, len(data) - size + 1, step)]


def forms_of(key):
    """What a piece of a key of 16 bytes and more would look like."""
    found = []
    for order in (key, key[::-1]):
        found += pieces(order, 8, 8)
        for text in (order.hex(), order.hex().upper()):
            found += pieces(text.encode(), 16, 8)
        found += pieces(bytes(int(digit, 16) for digit in order.hex()), 16, 8)
    return found


def forms_of_pem(text):
    """The second half of what is in it; at its beginning there are public things."""
    body = b"".join(line for line in text.splitlines() if not line.startswith(b"-"))
    return pieces(body[len(body) // 2 :], 16, 8)


def forms_of_rsa_key(p, q):
    d = pow(65537, -1, (p - 1) * (q - 1))
    numbers = (p, q, d, d % (p - 1), d % (q - 1), pow(q, -1, p))
    return [form for x in numbers for form in forms_of(x.to_bytes((x.bit_length() + 7) // 8, "big"))]


class Memory:
    """All that a stopped process can write to."""

    def __init__(self, pid):
        self.kept, self.open, self.locked = b"", [], True
        with open(f"/proc/{pid}/smaps") as file:
            maps = re.split(r"(?m)^(?=[0-9a-f]+-[0-9a-f]+ )", file.read())[1:]
        with open(f"/proc/{pid}/mem", "rb", buffering=0) as memory:
            for text in maps:
                begin, end, rights, name = re.match(
                    r"([0-9a-f]+)-([0-9a-f]+) (\S+) \S+ \S+ \S+ *(.*)", text
                ).groups()
                if "w" not in rights:
                    continue
                begin, end = int(begin, 16), int(end, 16)
                memory.seek(begin)
                contents = b""
                while len(contents) < end - begin:
                    contents += memory.read(end - begin - len(contents))
                flags = re.search("(?m)^VmFlags: (.*)", text)[1].split()
                if "dd" in flags:
                    self.kept += contents
                    self.locked &= "lo" in flags
                else:
                    self.open.append((name, contents))

    def strays(self, forms):
        return [
            (name, hex(contents.find(form)), form)
            for name, contents in self.open
            for form in forms
            if form in contents
        ]


class SecretsTest(program.ProgramTest):
    def setUp(self):
        super().setUp()
        os.mkfifo("in")
        os.mkfifo("out")
        self.write("iv", b"0123456789abcdef")

    def start(self, *arguments, **options):
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL} | options
        running = subprocess.Popen([program.QAL, *arguments], **options)
        self.addCleanup(self.end, running)
        return running

    def end(self, running):
        if running.poll() is None:
            running.kill()
            running.wait()

    def stopped(self, running, call):
        """Its memory, once it waits in a system call."""
        while running.poll() is None:
            with open(f"/proc/{running.pid}/stat") as stat, open(f"/proc/{running.pid}/syscall") as now:
                if now.read().split()[0] == str(call) and stat.read().rsplit(")", 1)[1].split()[0] == "S":
                    return Memory(running.pid)
            time.sleep(0.002)
        self.fail(f"{running.args} has ended with {running.returncode}")

    def feed(self, running, text):
        """Writes to the pipe "in"; gives the memory after all has been read, and ends it."""
        with open("in", "wb") as pipe:
            pipe.write(text)
            pipe.flush()
            memory = self.stopped(running, READ)
        return memory

    def drain(self, running):
        with open("out", "rb") as pipe:
            contents = pipe.read()
        self.assertEqual(running.wait(), 0)
        return contents

    def at_its_end(self, *arguments, **options):
        """The memory of a program that cannot write its last lines, and these lines."""
        reader, writer = os.pipe()
        full = fcntl.fcntl(writer, fcntl.F_GETPIPE_SZ)
        os.write(writer, bytes(full))
        running = self.start(*arguments, stdout=writer, **options)
        os.close(writer)
        memory = self.stopped(running, WRITE)
        with open(reader, "rb") as pipe:
            text = pipe.read()[full:]
        self.assertEqual(running.wait(), 0)
        return memory, text

    def assert_clean(self, memory, forms):
        self.assertGreater(sum(len(contents) for _, contents in memory.open), 100_000)
        self.assertEqual(memory.strays(forms), [])

    def assert_kept(self, memory, forms):
        """Clean, and at work with the key in its proper place."""
        self.assert_clean(memory, forms)
        self.assertTrue(any(form in memory.kept for form in forms))
        limit = resource.getrlimit(resource.RLIMIT_MEMLOCK)[0]
        if os.geteuid() == 0 or limit == resource.RLIM_INFINITY or limit >= 1 << 20:
            self.assertTrue(memory.locked)

    def test_searches_find(self):
        """What is meant to be found: an argument on the stack, the environment, a buffer of the program."""
        text = os.urandom(16).hex()
        running = self.start("digest", text, "in", env=os.environ | {"QAL_TEST": text[::-1]},
                             stderr=subprocess.DEVNULL)  # fmt: skip
        memory = self.feed(running, text.upper().encode())
        for needle in (text, text[::-1], text.upper()):
            self.assertNotEqual(memory.strays([needle.encode()[:16]]), [])

    def test_ciphers_and_macs(self):
        for algorithm in CIPHERS:
            for direction in ("-e", "-d"):
                for number in range(2):
                    with self.subTest(algorithm=algorithm, direction=direction, number=number):
                        key = os.urandom(32)
                        text = key.hex() if number == 0 else key.hex().upper() + "\n"
                        self.write("key", text.encode())
                        iv = [] if algorithm.endswith("ecb") else ["--iv-file", "iv"]
                        command = ("cipher", "-a", algorithm, direction, *iv, "--key-file", "key", "in")
                        running = self.start(*command)
                        self.assert_kept(self.feed(running, bytes(300_000)), forms_of(key))
                        self.assertEqual(running.wait(), 0)
        key = os.urandom(32)
        self.write("key", key.hex().encode())
        command = ("mac", "-a", "gost28147", "--key-file", "key")
        running = self.start(*command, "in")
        self.assert_kept(self.feed(running, bytes(100_000)), forms_of(key))
        self.assertEqual(running.wait(), 0)
        memory, _ = self.at_its_end(*command, "iv")
        self.assert_clean(memory, forms_of(key))
        self.assertFalse(any(form in memory.kept for form in forms_of(key)))

    def test_dstu(self):
        for curve in ("m163", "m191", "m257", "m431"):
            with self.subTest(curve):
                memory, public = self.at_its_end("dstu", "genkey", "-c", curve, "--force", "-o", "key")
                with open("key") as file:
                    forms = forms_of(bytes.fromhex(file.read()))
                self.assert_clean(memory, forms)
                running = self.start("dstu", "genkey", "-c", curve, "-o", "out")
                memory = self.stopped(running, OPENAT)
                self.assert_kept(memory, forms_of(bytes.fromhex(self.drain(running).decode())))
                with_key = ("-c", curve, "--key-file", "key")
                memory, derived = self.at_its_end("dstu", "pubkey", *with_key)
                self.assertEqual(derived, public)
                self.assert_clean(memory, forms)
                running = self.start("dstu", "sign", *with_key, "in")
                self.assert_kept(self.feed(running, b"text"), forms)
                self.assertEqual(running.wait(), 0)
                memory, _ = self.at_its_end("dstu", "sign", *with_key, "--digest", "0123")
                self.assert_clean(memory, forms)
                running = self.start("dstu", "derive", *with_key, "--peer", public.decode().strip(), "-o", "out")
                memory = self.stopped(running, OPENAT)
                self.assert_kept(memory, forms)
                self.assert_kept(memory, forms_of(bytes.fromhex(self.drain(running).decode())))

    def test_gost(self):
        for pem in ([], ["--pem"]):
            with self.subTest(pem):
                running = self.start("gost", "genkey", *pem, "-o", "out")
                memory = self.stopped(running, OPENAT)
                text = self.drain(running)
                self.write("key", text)
                if pem:
                    der = base64.b64decode(b"".join(text.splitlines()[1:-1]))
                    forms = forms_of(der[-32:]) + forms_of_pem(text)
                else:
                    forms = forms_of(bytes.fromhex(text.decode()))
                self.assert_kept(memory, forms)
                self.qal("gost", "pubkey", "--key-file", "key", *pem, "-o", "pubkey")
                for command in (
                    ["pubkey"],
                    ["pubkey", "--pem"],
                    ["sign", "iv"],
                    ["kek", "--pubkey-file", "pubkey", "--ukm", "0123456789abcdef"],
                ):
                    running = self.start("gost", *command, "--key-file", "key", "-o", "out")
                    memory = self.stopped(running, OPENAT)
                    self.assert_kept(memory, forms)
                    result = self.drain(running)
                    if command[0] == "kek":
                        self.assert_kept(memory, forms_of(bytes.fromhex(result.decode())))
                running = self.start("gost", "sign", "--key-file", "key", "in")
                self.assert_kept(self.feed(running, b"text"), forms)
                self.assertEqual(running.wait(), 0)

    def test_rsa(self):
        for pem in ([], ["--pem"]):
            for bits in (1024, 2048):
                with self.subTest(pem=pem, bits=bits):
                    running = self.start("rsa", "genkey", "-b", str(bits), *pem, "-o", "out")
                    memory = self.stopped(running, OPENAT)
                    text = self.drain(running)
                    self.write("key", text)
                    if pem:
                        p, q = self.primes_of_pem(text)
                    else:
                        size = bits // 16
                        p, q = (int.from_bytes(text[i : i + size], "big") for i in (2, 4 + size))
                    forms = forms_of_rsa_key(p, q) + (forms_of_pem(text) if pem else [])
                    self.assert_kept(memory, forms)
                    running = self.start("rsa", "pubkey", "-k", "key", *pem, "-o", "out")
                    self.assert_clean(self.stopped(running, OPENAT), forms)
                    self.drain(running)
                    number = bytes([0]) + os.urandom(bits // 8 - 1)
                    for command in ("sign", "decrypt"):
                        running = self.start("rsa", command, "-k", "key", *pem, "-o", "out", "in")
                        self.assert_kept(self.feed(running, number), forms)
                        self.assert_kept(self.stopped(running, OPENAT), forms)
                        self.drain(running)

    def primes_of_pem(self, text):
        listed = self.run_peer("openssl", "rsa", "-noout", "-text", stdin=text).decode()
        return [
            int(re.search(rf"{name}:\n([ 0-9a-f:\n]+)", listed)[1].replace(":", "").replace("\n", "").replace(" ", ""), 16)
            for name in ("prime1", "prime2")
        ]

    def test_without_locked_memory(self):
        """Then keys are swapped like everything else, and the work is done."""
        key = os.urandom(32)
        self.write("key", key.hex().encode())

        def limit():
            resource.setrlimit(resource.RLIMIT_MEMLOCK, (0, 0))
            if os.geteuid() == 0:  # who would not be bound by it
                ipc_lock, drop_from_bounding_set = 14, 24
                ctypes.CDLL(None).prctl(drop_from_bounding_set, ipc_lock, 0, 0, 0)

        command = ("mac", "-a", "gost28147", "--key-file", "key")
        running = self.start(*command, "in", preexec_fn=limit)
        memory = self.feed(running, bytes(100))
        self.assert_clean(memory, forms_of(key))
        self.assertTrue(any(form in memory.kept for form in forms_of(key)))
        self.assertFalse(memory.locked)
        self.assertEqual(running.wait(), 0)


if __name__ == "__main__":
    program.main()
