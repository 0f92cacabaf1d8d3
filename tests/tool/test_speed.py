"""qal speed: its shape, since its figures are the machine's."""

import json

import program


class Speed(program.ProgramTest):
    def test_table(self):
        out = self.qal("speed", "--seconds", "0.1").stdout.decode()
        self.assertRegex(out, r"^qal \d+\.\d+\.\d+, .+\n\nMB/s +64 B +1 KiB +64 KiB +1 MiB +cycles/byte\n")
        for name in ("streebog-512", "streebog-256", "gost94", "kuznyechik-ctr", "gost28147-mac"):
            self.assertRegex(out, rf"(?m)^{name}( +\d+\.\d){{4}} +\d+\.\d\d$")
        self.assertRegex(out, r"(?m)^operation +us +per second +cycles$")
        for name in ("exponentiation, 1024 bits", "RSA private, 2048 bits", "RSA public, 512 bits"):
            self.assertRegex(out, rf"(?m)^{name} +\d+\.\d{{3}} +\d+ +\d+$")

    def test_json(self):
        report = json.loads(self.qal("speed", "--json", "--seconds", "0.05", "streebog").stdout)
        self.assertGreater(report["cycles_per_ns"], 0.1)
        self.assertEqual(
            {(figure["name"], figure["bytes"]) for figure in report["figures"]},
            {
                (f"streebog-{bits}", size)
                for bits in (256, 512)
                for size in (64, 1024, 65536, 1048576)
            },
        )
        for figure in report["figures"]:
            self.assertGreater(figure["ns"], 0)

    def test_longer_messages_take_longer(self):
        report = json.loads(self.qal("speed", "--json", "--seconds", "0.5", "gost94").stdout)
        ns = {figure["bytes"]: figure["ns"] for figure in report["figures"]}
        self.assertLess(ns[64] * 16, ns[1048576])

    def test_mistakes(self):
        self.assertIn(b"nothing has 'md5'", self.qal("speed", "md5", status=2).stderr)
        self.qal("speed", "--seconds", "0", status=2)
        self.qal("speed", "--seconds", "x", status=2)


program.main()
