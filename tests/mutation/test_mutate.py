"""What ./dev mutate changes and how it judges the tests, without building anything."""

import os
import pathlib
import sys
import tempfile
import types
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import mutate  # which knows where listed is
import listed
import operators


def after(text, file="src/x/f.cpp"):
    return [change.after.strip() for change in operators.changes(file, text)]


class Operators(unittest.TestCase):
    def test_binary_operators_but_no_others(self):
        self.assertEqual(after("    r = a + b;"), ["r = a - b;", ";"])
        self.assertEqual(after("    r = a < b;"), ["r = a <= b;", "r = a >= b;", ";"])
        self.assertEqual(after("    return *p & -x;"), ["return *p | -x;"])
        self.assertEqual(after("    const T *p = f<T>(&x);"), [])
        self.assertEqual(after("    return a << 3;"), ["return a >> 3;", "return a << 4;", "return a << 2;"])
        self.assertEqual(after("    a ^= b;"), ["a |= b;", "a = b;", ";"])

    def test_numbers_keep_their_form(self):
        self.assertEqual(after("    return 0x0fu;"), ["return 0x10u;", "return 0x0eu;"])
        self.assertEqual(after("    return 1.5 + x2;"), ["return 1.5 - x2;"])
        self.assertEqual(after("    return 0;"), ["return 1;"])

    def test_conditions_and_statements(self):
        self.assertEqual(after("    if (f(x)) {"), ["if (!(f(x))) {"])
        self.assertEqual(after("    wipe(&x, size);"), [";"])
        self.assertEqual(after("    uint64_t carry;"), [])
        self.assertEqual(after("    qald *r = a;"), [])
        self.assertEqual(after("int f(int x);"), [])
        self.assertEqual(after("    *r = a;"), [";"])
        self.assertEqual(after("    ~Secret() { wipe(); }"), [])
        self.assertEqual(after("    f(x,\n      y);"), [])

    def test_carries_and_intrinsics(self):
        self.assertEqual(after("    return add_digit(x, y, carry);"),
                         ["return sub_digit(x, y, carry);", "return add_digit(x, y, 0);"])
        self.assertEqual(after("    return _mm256_xor_si256(a, b);"), ["return _mm256_or_si256(a, b);"])
        self.assertEqual(after("    return _mm512_madd52lo_epu64(a, b, c);"),
                         ["return _mm512_madd52hi_epu64(a, b, c);"])

    def test_nothing_that_is_no_code(self):
        for text in ("// a + b", "/* a + b\n 1 */", "#define N 3", 'f("a + 1"', "static_assert(N == 3);",
                     "    [[gnu::aligned(64)]]", "    uint8_t bytes[16];", "typedef qald Sum[1 + digits];"):
            self.assertEqual(after(text), [], text)

    def test_assembly(self):
        def changed(text):
            return after(text, "src/x/f.S")

        self.assertEqual(changed("    adcq    %rax, 8(%r8)"),
                         ["addq    %rax, 8(%r8)", "sbbq    %rax, 8(%r8)", "adcq    %rax, 16(%r8)", ""])
        self.assertEqual(changed("1:  decq    %rcx"), ["1:  incq    %rcx", "1:"])
        self.assertEqual(changed("    jz      .Ldone"), ["jnz      .Ldone", ""])
        self.assertEqual(changed("    mulxq   (%rsi), %r8, %r9"),
                         ["mulxq (%rsi), %r9, %r8", "mulxq   8(%rsi), %r8, %r9", ""])
        self.assertEqual(changed("    addq    $1, %rax")[2:4], ["addq    $2, %rax", "addq    $0, %rax"])
        for text in ("    .p2align 2", ".macro X", "qal_f:", "/* adcq */", "QAL_FUNCTION(qaladd)", "    ret"):
            self.assertEqual(changed(text), [], text)
        self.assertEqual([c.after for c in operators.changes("src/x/f.h", "    adcx %rax, %rbx ; \\")],
                         ["    adox %rax, %rbx ; \\", " \\"])

    def test_a_change_keeps_the_lines(self):
        text = "void f()\n{\n    g();\n}\n"
        (change,) = operators.changes("src/x/f.cpp", text)
        self.assertEqual((change.line, change.before, change.after), (3, "    g();", "    ;"))

    def test_every_source_has_changes(self):
        everything = mutate.all_changes(mutate.ROOT, ["src/*"])
        self.assertGreater(len(everything), 10_000)
        self.assertEqual({mutate.folder(change.file) for change in everything}, set(mutate.PROGRAMS))


CHANGES = [operators.Change("src/x/f.cpp", line, f"a{line}", f"b{n}") for line in range(50) for n in range(3)]


class Sample(unittest.TestCase):
    def test_depends_on_the_seed_alone(self):
        first = mutate.sample(CHANGES, 10, 1)
        self.assertEqual(first, mutate.sample(CHANGES, 10, 1))
        self.assertNotEqual(first, mutate.sample(CHANGES, 10, 2))
        self.assertEqual(len({change.line for change in first}), 10)
        self.assertEqual(len(mutate.sample(CHANGES, 100, 1)), 50)

    def test_is_not_disturbed_by_edits(self):
        rest = [change for change in CHANGES if change.line != 7]
        whole = [change for change in mutate.sample(CHANGES, 50, 1) if change.line != 7]
        self.assertEqual(whole, mutate.sample(rest, 50, 1))


class Equivalent(unittest.TestCase):
    def read(self, text):
        with tempfile.NamedTemporaryFile("w") as file:
            file.write(text)
            file.flush()
            return mutate.read_equivalent(file.name)

    def test_pairs_and_staleness(self):
        found = self.read("src/x/f.cpp\n    - a1\n    + b0\n    + b1\n    - a2\n    + c\n    Why.\n")
        self.assertEqual(
            [key[1:] for key in found], [("a1", "b0", None), ("a1", "b1", None), ("a2", "c", None)]
        )
        self.assertEqual(len(mutate.stale(found, CHANGES)), 1)
        with self.assertRaises(listed.Malformed):
            self.read("src/x/f.cpp\n    + b\n    Why.\n")

    def test_the_line_above(self):
        text = "a:\n    f();\nb:\n    f();\n"
        first, second = operators.changes("src/x/f.cpp", text)
        found = self.read("src/x/f.cpp\n    > b:\n    - f();\n    + ;\n    Why.\n")
        self.assertFalse(any(key in found for key in mutate.keys(first)))
        self.assertTrue(any(key in found for key in mutate.keys(second)))
        self.assertEqual(mutate.stale(found, [first, second]), [])
        self.assertEqual(len(mutate.stale(found, [first])), 1)

    def test_our_list_is_of_our_sources(self):
        self.assertEqual(mutate.stale(mutate.read_equivalent(), mutate.all_changes(mutate.ROOT, ["src/*"])), [])


class Verdict(unittest.TestCase):
    def verdict(self, script, seconds=1):
        with tempfile.TemporaryDirectory() as directory:
            program = pathlib.Path(directory) / "test_f"
            program.write_text("#!/bin/sh\n" + script)
            program.chmod(0o755)
            return mutate.run_tests(program, ["A.b"], seconds, pathlib.Path(directory) / "log")

    def test_passed(self):
        self.assertIsNone(self.verdict('[ "$2" = --gtest_filter=A.b ]'))

    def test_failed(self):
        self.assertEqual(self.verdict("echo '[ RUN      ] A.b'; echo '[  FAILED  ] A.b (1 ms)'; exit 1"), "A.b")

    def test_crashed(self):
        self.assertEqual(self.verdict("echo '[ RUN      ] A.b'; kill -SEGV $$"), "A.b (crash)")

    def test_did_not_end(self):
        self.assertEqual(self.verdict("echo '[ RUN      ] A.b'; while :; do :; done", -1), "A.b (time limit)")


class Steps(unittest.TestCase):
    def test_all_objects_small_ones_of_the_library_first(self):
        sizes = {"tests/a.o": 1, "src/large.o": 10 * mutate.STEP, "src/small.o": 2, "src/smaller.o": 1}
        with tempfile.TemporaryDirectory() as directory:
            build = pathlib.Path(directory)
            for name, size in sizes.items():
                (build / name).parent.mkdir(exist_ok=True)
                (build / name).write_bytes(bytes(size))
            steps = mutate.Copy.steps(types.SimpleNamespace(build=build), list(sizes))
        self.assertEqual(steps, [["src/smaller.o", "src/small.o", "src/large.o"], ["tests/a.o"]])


class Summary(unittest.TestCase):
    def test_share_is_of_what_could_be_caught(self):
        kinds = [mutate.CAUGHT] * 3 + [mutate.SURVIVED, mutate.EQUAL, mutate.SAME_CODE, mutate.REFUSED]
        results = [{"file": "src/ua/f.cpp", "result": kind} for kind in kinds]
        self.assertEqual(mutate.summary(results).split("\n")[1].split(),
                         ["ua", "7", "3", "1", "1", "1", "1", "3", "of", "4", "(75.0", "%)"])


unittest.main()
