#!/usr/bin/env bash
# scripts/mutate.sh makes the right changes, and every change in its list of equivalents still exists.
# mutants_test.sh SOURCE
set -euo pipefail
export root=$1 PYTHONDONTWRITEBYTECODE=1 PYTHONPATH=$1/scripts/mutation
exec python3 - <<'END'
import os
from equivalents import LIST, read_list, written
from mutants import mutants_of


def expect(text, *expected):
    made = [mutant.mutated for mutant in mutants_of("file", text)]
    assert sorted(made) == sorted(expected), f"{text!r} became {made}"


# Not mutated.
expect('// a + 1\n#if 1 + 1\n#endif\n/* 2 */ const char* text = "a + 1";\n')
expect("static_assert(sizeof(x) == 4);\n[[gnu::aligned(4)]] alignas(16) TVector<float, 4>* p;\n")
expect("template <int k, size_t... kEdges>\nvoid f(const std::array<T, kCount>& a, T&& b);\n")
# Operators and constants.
expect("x = a + b;\n", "x = a - b;", ";")
expect("y = -a;\n", "y = a;", ";")
expect("int k = 7u;\n", "int k = 8u;", "int k = 6u;", "int k = 0u;")
expect("float f = -1.5f;\n", "float f = 1.5f;", "float f = -0x1.8000180000000p+0f;")
expect("const auto b = a[k] ^ m;\n", "const auto b = a[k] | m;", "const auto b = a[k] & m;")
expect("bool b = x >= y && !z;\n", "bool b = x > y && !z;", "bool b = x >= y || !z;", "bool b = x >= y && z;")
expect("auto x = InterleaveLow(a, b);\n", "auto x = InterleaveHigh(a, b);", "auto x = InterleaveLow(b, a);")
# Statements, conditions and arguments.
expect("void f() {\n    g(a);\n    return;\n}\n", ";", ";")
expect("if (a < b) {\n}\n", "if (a <= b) {", "if (!(a < b)) {")
expect("return a ? b : c;\n", "return a ? c : b;")
expect("auto x = f(a, b<1>(c), d);\n", "auto x = f(b<1>(c), a, d);", "auto x = f(a, d, b<1>(c));",
       "auto x = f(a, b<2>(c), d);", "auto x = f(a, b<0>(c), d);")
expect("x = f(a,\n      b);\n", "x = f(b, a);", ";")

# Equal mutants have different numbers, and lines keep theirs.
twice = list(mutants_of("file", "++a;\n++a;\n"))
assert [mutant.number for mutant in twice] == [1, 1, 2, 2] or [mutant.number for mutant in twice] == [1, 2, 1, 2]
assert all(mutant.text.count("\n") == 2 for mutant in twice)

# The list of equivalents.
key = ("file", "a + b", "a - b", 2)
assert read_list(written(key) + "\n= why\n") == {key: "why"}
for wrong in ("- a\n", "file:\n+ a\n", "file:\n- a\n+ b\n", "file:\n- a\n= why\n"):
    try:
        read_list(wrong)
    except ValueError:
        continue
    raise AssertionError(f"{wrong!r} was read")

os.chdir(os.environ["root"])
reasons = read_list(LIST.read_text())
files = {key[0] for key in reasons}
made = {mutant[:4] for file in files for mutant in mutants_of(file, open(file).read())}
stale = [written(key) for key in reasons if key not in made]
assert not stale, "no longer made:\n" + "\n".join(stale)
print(f"{len(reasons)} mutants have a reason")
END
