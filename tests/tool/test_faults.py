"""What the program does when the library errs: nothing leaves that could tell a private key."""

import os

import program


class Faults(program.ProgramTest):
    def erring(self, *arguments, **options):
        return self.qal(*arguments, env=self.preloading("ERRING"), **options)

    def test_gost_signatures(self):
        self.write("text", b"text")
        self.qal("gost", "genkey", "-o", "key")
        self.qal("gost", "sign", "--key-file", "key", "text")
        for output in [], ["-o", "signature"]:
            done = self.erring("gost", "sign", "--key-file", "key", *output, "text", status=1)
            self.assertEqual(done.stdout, b"")
            self.assertIn(b"came out wrong", done.stderr)
        self.assertFalse(os.path.exists("signature"))

    def test_dstu_signatures(self):
        self.write("text", b"text")
        for curve in "m163", "m191", "m257", "m431":
            self.qal("dstu", "genkey", "-c", curve, "-o", curve)
            arguments = "dstu", "sign", "-c", curve, "--key-file", curve, "text"
            self.qal(*arguments)
            done = self.erring(*arguments, status=1)
            self.assertEqual(done.stdout, b"")
            self.assertIn(b"came out wrong", done.stderr)

    def test_rsa_results(self):
        self.write("text", bytes([0]) + os.urandom(127))
        for format in [], ["--pem"]:
            self.qal("rsa", "genkey", "-b", "1024", *format, "--force", "-o", "key")
            for command in "sign", "decrypt":
                self.qal("rsa", command, "-k", "key", "text")
                for output in [], ["-o", "result"]:
                    done = self.erring("rsa", command, "-k", "key", *output, "text", status=1)
                    self.assertEqual(done.stdout, b"")
                    self.assertIn(b"came out wrong", done.stderr)
        self.assertFalse(os.path.exists("result"))


if __name__ == "__main__":
    program.main()
