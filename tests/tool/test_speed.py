"""qal speed: its shape, since its figures are the machine's."""

import json

import program


class Speed(program.ProgramTest):
    def test_table(self):
        out = self.qal("speed", "--seconds", "0.1").stdout.decode()
        # The last columns are there where the processor has a counter of one speed.
        known = self.cycles() is not None
        cycles_per_byte, cycles = (" +cycles/byte", " +cycles") if known else ("", "")
        self.assertRegex(out, rf"^qal \d+\.\d+\.\d+, .+\n\nMB/s +64 B +1 KiB +64 KiB +1 MiB{cycles_per_byte}\n")
        last = r" +\d+\.\d\d" if known else ""
        for name in (
            "streebog-512", "streebog-256", "gost94", "kuznyechik-ctr", "gost28147-ecb", "gost28147-gamma",
            "gost28147-cfb-encrypt", "gost28147-cfb-decrypt", "gost28147-mac",
        ):
            self.assertRegex(out, rf"(?m)^{name}( +\d+\.\d){{4}}{last}$")
        self.assertRegex(out, rf"(?m)^operation +us +per second{cycles}$")
        last = r" +\d+" if known else ""
        names = ["Kuznyechik round keys", "GOST 28147-89 key", "GOST 28147-89 S-box"]
        for bits in (256, 512, 1024, 2048):
            for operation in ("product", "square", "division of a product", "Montgomery product", "exponentiation"):
                names.append(f"{operation}, {bits} bits")
        for bits in (512, 1024, 1536, 2048):
            names += [f"RSA {operation}, {bits} bits" for operation in ("private", "public", "key")]
        names += [f"GOST R 34.10-2001 {operation}" for operation in ("curve", "key", "sign", "verify", "agree")]
        for curve in ("m163", "m191", "m257", "m431"):
            for operation in ("curve", "key", "sign", "sign, full pool", "verify", "agree"):
                names.append(f"DSTU 4145-2002 {operation}, {curve}")
        for name in names:
            self.assertRegex(out, rf"(?m)^{name} +\d+\.\d{{3}} +\d+{last}$")
        self.assertEqual(len(out.splitlines()), 2 + 1 + 9 + 1 + 1 + len(names))

    def cycles(self):
        return json.loads(self.qal("speed", "--json", "--seconds", "0.01", "S-box").stdout)["cycles_per_ns"]

    def test_json(self):
        report = json.loads(self.qal("speed", "--json", "--seconds", "0.05", "streebog").stdout)
        self.assertIn("cycles_per_ns", report)
        if report["cycles_per_ns"] is not None:
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

    def test_a_full_pool_saves_most_of_a_signature(self):
        report = json.loads(self.qal("speed", "--json", "--seconds", "0.5", "sign").stdout)
        ns = {figure["name"]: figure["ns"] for figure in report["figures"]}
        self.assertLess(2 * ns["DSTU 4145-2002 sign, full pool, m257"], ns["DSTU 4145-2002 sign, m257"])

    def test_longer_messages_take_longer(self):
        report = json.loads(self.qal("speed", "--json", "--seconds", "0.5", "gost94").stdout)
        ns = {figure["bytes"]: figure["ns"] for figure in report["figures"]}
        self.assertLess(ns[64] * 16, ns[1048576])

    def test_mistakes(self):
        self.assertIn(b"nothing has 'md5'", self.qal("speed", "md5", status=2).stderr)
        self.qal("speed", "--seconds", "0", status=2)
        self.qal("speed", "--seconds", "x", status=2)


program.main()
