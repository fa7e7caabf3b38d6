"""The faults that scripts/mutate.sh puts into the sources: they are put where code is, and nowhere else."""

import sys

import message_texts
import pytest

sys.path.insert(0, str(message_texts.sources() / "scripts"))

import mutations  # noqa: E402  (behind the path above)


def results(text):
    return {text[: m.begin] + m.new + text[m.end :] for m in mutations.mutations_of(text)}


def body(code):
    return f"void f() {{ {code} }}\n"


@pytest.mark.parametrize(
    "code, mutated",
    [
        ("return a < b;", ["return a <= b;"]),
        ("return a >= b;", ["return a > b;"]),
        ("return a == b && c;", ["return a != b && c;", "return a == b || c;"]),
        ("return a + b % c;", ["return a - b % c;", "return a + b * c;"]),
        ("return a << 3U;", ["return a >> 3U;", "return a << 4U;", "return a << 2U;"]),
        ("return 0xFF;", ["return 0x100;", "return 0xfe;"]),
        ("return 0;", ["return 1;"]),
        ("return 'x';", ["return char('x' + 1);"]),
        ("return !a;", ["return a;"]),
        ("return true;", ["return false;"]),
        ("for (; a; ++i) return;", ["for (; a; --i) return;"]),
        ("if (a) return;", ["if (!(a)) return;"]),
        ("while (a) return;", ["while (!(a)) return;"]),
        ("if (!a) return;", ["if (a) return;"]),
        ("return g(a, b, c);", ["return g(b, a, c);", "return g(a, c, b);"]),
        ("a = b;", [";"]),
        ("g();", [";"]),
        ("if (a) break;", ["if (!(a)) break;", "if (a) ;"]),
        ("throw a;", [";"]),
        ("case a: g(); return;", ["case a: ; return;"]),
        ("g([&] { h(); });", [";", "g([&] { ; });"]),
    ],
)
def test_of_code(code, mutated):
    assert results(body(code)) == {body(text) for text in mutated}


@pytest.mark.parametrize(
    "code",
    [
        "std::vector<int> a;",
        "const char* a = g();",
        "auto&& a = *b;",
        "Type a(b);",
        'return "a < b";',
        "return g(a, a);",
        'return g("text", a);',
        "return 1.5;",
        "assert(a == 1 && g(b, c));",
        "// a < 1\n",
        "/* a < 1 */",
    ],
)
def test_not_of_what_is_no_code_or_cannot_matter(code):
    assert results(body(code)) == set()


def test_outside_functions_only_numbers():
    before = "#define A 1\nnamespace n {\nstruct S {\n  bool a = true;\n  int b = "
    assert results(before + "2;\n};\n}\n") == {before + "3;\n};\n}\n", before + "1;\n};\n}\n"}


def test_not_in_tables():
    assert results("const int table[] = {1, 2, 3};\nconst S t{4, true};\n") == set()


@pytest.mark.parametrize(
    "head", ["A::A() : b_(c), d_{e} ", "bool A::f() const noexcept ", "const auto f = [](int a) ", "struct S { void f() "]
)
def test_bodies_of_every_form(head):
    tail = " };" if "struct" in head else ";"
    assert results(head + "{ return true; }" + tail) == {head + "{ return false; }" + tail}


def test_lines_keep_their_numbers():
    text = body("g(a,\n  b);\n")
    assert {mutated.count("\n") for mutated in results(text)} == {text.count("\n")}
