"""What script/mutation takes for a place, and how it names one."""

import pathlib
import sys
import unittest

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "script"))
from mutants import places  # noqa: E402


def changes(source, kind=None):
    return [(place.old, place.new) for place in places.places("a.cpp", source) if kind in (None, place.kind)]


def in_function(body, kind=None):
    return changes("void f()\n{\n    " + body + "\n}\n", kind)


class Comparisons(unittest.TestCase):
    def test_an_edge_is_moved(self):
        self.assertEqual(changes("bool b = x < y;"), [("<", "<=")])

    def test_an_equality_is_turned_round(self):
        self.assertEqual(changes("bool b = x == y || z;"), [("==", "!="), ("||", "&&")])

    def test_a_negation_is_left_out(self):
        self.assertEqual(changes("bool b = !x;"), [("!", "")])

    def test_brackets_of_templates_are_none(self):
        self.assertEqual(changes("template <class T> std::vector<T> v; T&& r; std::map<A, std::set<B>> m;"), [])

    def test_operators_that_are_declared_are_none(self):
        self.assertEqual(changes("bool operator==(A, A); bool operator < (A, A); bool operator!();"), [])

    def test_arrows_shifts_and_three_ways_are_none(self):
        self.assertEqual(changes("auto f = [] { return a->b << c >> d <=> e; };"), [])


class Constants(unittest.TestCase):
    def test_a_number_grows_by_one_in_its_own_form(self):
        for number, higher in {
            "0": "1", "9'999": "10000", "0xFFu": "0x100u", "0x0F": "0x10", "0b01": "0b10", "017": "16",
            "1.5": "2.5", "1e3f": "1001.0f", "2ULL": "3ULL",
        }.items():  # fmt: skip
            self.assertEqual(places.one_higher(number), higher)

    def test_true_becomes_false(self):
        self.assertEqual(changes("bool b = true;"), [("true", "false")])

    def test_what_makes_a_function_pure_is_none(self):
        self.assertEqual(changes("struct A { virtual void f() const = 0; };"), [])

    def test_texts_comments_and_directives_have_none(self):
        self.assertEqual(changes('#define A 1 \\\n  2\nauto s = "1" R"x(2")x"; // 3\n/* 4 */ char c = \'5\';\n'), [])

    def test_what_the_compiler_asserts_has_none(self):
        self.assertEqual(changes("static_assert(sizeof(A) == 4);\nint a = 1;"), [("1", "2")])


class RemovedStatements(unittest.TestCase):
    def test_calls_assignments_and_jumps_can_be_left_out(self):
        for statement in (
            "f(a);", "a.b[c]->d(e).g();", "f<A>(b);", "A::f();", "*p = b;", "a.b += c;", "++i;", "i++;", "delete p;",
            "break;", "return;",
        ):  # fmt: skip
            self.assertEqual(in_function(statement, "removed"), [(statement, "(void)0;")], statement)

    def test_declarations_and_values_returned_can_not(self):
        for statement in ("A a(b);", "A a = b;", "A* a = b;", "const Lock lock(m);", "A<B> a = c;", "return a;", "a;"):
            self.assertEqual(in_function(statement, "removed"), [], statement)

    def test_those_behind_conditions_labels_and_in_closures_are_found(self):
        found = in_function("if (a) b(); else c(); for (;;) d(); case A::x: e(); g([&] { h(); });", "removed")
        self.assertEqual([old for old, _ in found], ["b();", "c();", "d();", "e();", "g([&] { h(); });", "h();"])

    def test_members_of_a_class_are_none(self):
        self.assertEqual(changes("class A : public B {\n    A();\n    f(c);\n};\nnamespace n {\nmacro(a);\n}", "removed"), [])

    def test_a_constructor_with_initialisers_has_them(self):
        self.assertEqual(changes("A::A() : m_a{b}, m_c(d)\n{\n    e();\n}\n", "removed"), [("e();", "(void)0;")])


class SwappedOrder(unittest.TestCase):
    def test_two_names_or_two_numbers_are_exchanged(self):
        self.assertEqual(in_function("f(a, b.c);", "swapped"), [("a, b.c", "b.c, a")])
        self.assertEqual(in_function("f(x, 1, 2);", "swapped"), [("1, 2", "2, 1")])

    def test_a_name_and_a_number_are_not(self):
        self.assertEqual(in_function("f(a, 1);", "swapped"), [])

    def test_an_assignment_changes_places_with_what_shares_its_name(self):
        self.assertEqual(in_function("a = b;\n    f(a);", "swapped"), [("a = b;\n    f(a);", "f(a);\n    a = b;")])

    def test_statements_that_share_nothing_stay(self):
        self.assertEqual(in_function("a = b; f(c);", "swapped"), [])


class Places(unittest.TestCase):
    SOURCE = "int a = 1;\n\nint b = 1;\nint a = 1;\n"

    def test_a_place_is_applied_to_its_source(self):
        self.assertEqual(places.places("a.cpp", self.SOURCE)[1].applied(self.SOURCE), "int a = 1;\n\nint b = 2;\nint a = 1;\n")

    def test_a_line_added_above_moves_a_place_and_keeps_its_key(self):
        before, after = places.places("a.cpp", self.SOURCE), places.places("a.cpp", "int c;\n" + self.SOURCE)
        self.assertEqual([place.line for place in after], [2, 4, 5])
        self.assertEqual([place.key for place in after], [place.key for place in before])

    def test_lines_of_one_text_are_told_apart(self):
        self.assertEqual(len({place.key for place in places.places("a.cpp", self.SOURCE)}), 3)


if __name__ == "__main__":
    unittest.main()
