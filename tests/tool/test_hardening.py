"""How the program is linked."""

import re

import program


class Hardening(program.ProgramTest):
    def readelf(self, option, file=None):
        return self.run_peer("readelf", "-W", option, file or program.QAL).decode()

    def test_position_independent(self):
        self.assertRegex(self.readelf("-h"), r"Type: +DYN")
        self.assertIn("PIE", self.readelf("-d"))

    def test_binds_all_names_at_the_start(self):
        dynamic = self.readelf("-d")
        self.assertRegex(dynamic, r"FLAGS_1\).*\bNOW\b")
        self.assertIn("GNU_RELRO", self.readelf("-l"))
        # And what it is linked with: the loader saves registers, with whatever they hold.
        paths = self.run_peer("ldd", program.QAL).decode()
        needed = re.findall(r"NEEDED\).*\[(.*)\]", dynamic)
        self.assertIn("libqal.so.1", needed)
        for name in needed:
            # The C library and the loader call nobody by name.
            if not re.match(r"libc\.so|ld-linux", name):
                path = re.search(rf"{re.escape(name)} => (\S+)", paths)[1]
                self.assertRegex(self.readelf("-d", path), r"FLAGS_1\).*\bNOW\b", name)

    def test_stack_is_not_executable(self):
        self.assertRegex(self.readelf("-l"), r"GNU_STACK .* RW +0x")

    def test_buffers_are_checked(self):
        symbols = self.readelf("--dyn-syms")
        self.assertIn("__stack_chk_fail", symbols)
        self.assertRegex(symbols, r"UND __(?!stack)\w+_chk\b")


if __name__ == "__main__":
    program.main()
