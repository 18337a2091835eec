"""Which changes are made to a source file, and which are not; and what is made of the outcomes."""

import pathlib
import sys
import tempfile
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "scripts"))
import mutate
from mutation.mutants import mutants_of

FUNCTION = """\
// A comment: 1 < 2.
#include <vector>
#define LESS(a) \\
    (a < 2)
static_assert(1 < 2, "1 < 2");

/* 3 == 3
   && true */
template <int count = 1>
bool f(std::vector<int> const& a, int b) {
    if (a.size() <= 7 && b != 0x1F)
        return "\\tb < 1" == nullptr;
    b = 'c'; // not 2
    return __builtin_expect(b > 1.5, 0);
}
"""


def changes(text, path="File.cpp"):
    """Pairs of the lines before and after each change."""
    return [mutant.key()[1:] for mutant in mutants_of(path, text)]


class MutantsTest(unittest.TestCase):
    def test_are_made_of_code_alone(self):
        self.assertEqual(changes(FUNCTION), [
            ("if (a.size() <= 7 && b != 0x1F)", "if (a.size() < 7 && b != 0x1F)"),
            ("if (a.size() <= 7 && b != 0x1F)", "if (a.size() <= 8 && b != 0x1F)"),
            ("if (a.size() <= 7 && b != 0x1F)", "if (a.size() <= 7 || b != 0x1F)"),
            ("if (a.size() <= 7 && b != 0x1F)", "if (a.size() <= 7 && b == 0x1F)"),
            ("if (a.size() <= 7 && b != 0x1F)", "if (a.size() <= 7 && b != 0x20)"),
            ('return "\\tb < 1" == nullptr;', "return {};"),
            ('return "\\tb < 1" == nullptr;', 'return "\\tx < 1" == nullptr;'),
            ('return "\\tb < 1" == nullptr;', 'return "\\tb < 1" != nullptr;'),
            ("b = 'c'; // not 2", "; // not 2"),
            ("return __builtin_expect(b > 1.5, 0);", "return {};"),
            ("return __builtin_expect(b > 1.5, 0);", "return __builtin_expect(b >= 1.5, 0);"),
            ("return __builtin_expect(b > 1.5, 0);", "return __builtin_expect(b > 2.5, 0);"),
        ])

    def test_differ_from_the_file_in_one_place(self):
        for mutant in mutants_of("File.cpp", FUNCTION):
            changed = mutant.changed()
            self.assertNotEqual(changed, FUNCTION)
            self.assertTrue(changed.startswith(FUNCTION[:mutant.begin]))
            self.assertTrue(changed.endswith(FUNCTION[mutant.end:]))
            self.assertEqual(changed.count("\n"), FUNCTION.count("\n"))

    def test_swap_what_is_chosen_from(self):
        self.assertIn(('f(a ? "b" : c::d);', 'f(a ? c::d : "b");'), changes('    f(a ? "b" : c::d);\n'))
        self.assertIn(("e = a ? b(c, d) : f();", "e = a ? f() : b(c, d);"), changes("    e = a ? b(c, d) : f();\n"))

    def test_take_the_opposite(self):
        self.assertEqual(changes("if (a->b())\n"), [("if (a->b())", "if (!(a->b()))")])
        self.assertEqual(changes("if (!a)\n"), [("if (!a)", "if (a)")])
        self.assertEqual(changes("x(-a, ~b)\n"), [("x(-a, ~b)", "x(a, ~b)"), ("x(-a, ~b)", "x(-a, b)")])

    def test_delete_statements_of_one_line(self):
        self.assertEqual(changes("{\n    f(a,\n      b);\n    d_a = b;\n    ++d_a;\n    int c = d;\n    f(e);\n}\n"), [
            ("d_a = b;", ";"), ("++d_a;", ";"), ("++d_a;", "--d_a;"), ("f(e);", ";")])

    def test_leave_numbers_in_names_and_brackets_of_templates_alone(self):
        self.assertEqual(changes("std::uint64_t const& a1 = b<c>(d && e2);\n"),
                         [("std::uint64_t const& a1 = b<c>(d && e2);", "std::uint64_t const& a1 = b<c>(d || e2);")])

    def test_change_the_actions_of_a_grammar_and_nothing_else_of_it(self):
        self.assertEqual(changes("%expect 2\n\n%%\n\na: '!' b  { add(parser, 1.0); }\n", "a.y"), [
            ("a: '!' b { add(parser, 1.0); }", "a: '!' b { }"),
            ("a: '!' b { add(parser, 1.0); }", "a: '!' b { add(parser, 2.0); }")])

    def test_change_the_results_of_a_scanner_and_nothing_else_of_its_rules(self):
        self.assertEqual(changes('%option 8bit\n%%\n[1-9]+    return A;\n"=="  /* ! */\n', "a.l"),
                         [("[1-9]+ return A;", "[1-9]+ return {};")])


class ReportTest(unittest.TestCase):
    MUTANTS = mutants_of("File.cpp", "a < b\na == b\na < b\n")

    def test_counts_what_is_caught_among_what_is_not_answered(self):
        outcomes = list(zip(self.MUTANTS, ("survived", "program: timeout", "survived")))
        text, share = mutate.report(outcomes, {})
        self.assertEqual(share, 1 / 3)
        self.assertTrue(text.endswith("\n\nFile.cpp:1\n- a < b\n+ a <= b\n\nFile.cpp:3\n- a < b\n+ a <= b"), text)
        text, share = mutate.report(outcomes, {("File.cpp", "a < b", "a <= b"): "why"})
        self.assertEqual(share, 1)
        self.assertEqual(text.split()[-6:], ["3", "0", "0", "1", "2", "0"])

    def test_does_not_count_what_is_no_mutant(self):
        self.assertEqual(mutate.report(list(zip(self.MUTANTS, ("same", "invalid", "status 1"))), {})[1], 1)

    def test_lists_of_mutants_give_their_reasons(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder, "list")
            path.write_text("# What\n\na/b.h:7\n- a < b\n+ a <= b\n- c\n+ d\n  Why,\n  and how.\n- e\n+ f\n\n  That.\n")
            self.assertEqual(mutate.read_list(path), {
                ("a/b.h", "a < b", "a <= b"): "Why, and how.", ("a/b.h", "c", "d"): "Why, and how.",
                ("a/b.h", "e", "f"): ""})

    def test_answers_are_those_of_mutants_that_there_are(self):
        there = {mutant.key() for mutant in mutate.mutants_below(["qzsignal"])}
        answered = mutate.read_list(mutate.ANSWERED)
        self.assertEqual([key for key in answered if key not in there], [])
        self.assertEqual([key for key, reason in answered.items() if not reason], [])


if __name__ == "__main__":
    unittest.main()
