"""From samples to the page: figures, verdicts, and what is said of missing ones."""

import unittest

import made_up
from made_up import document, entry

import formats
import page
import results
import targets
from results import Figure, Results


class FigureTest(unittest.TestCase):
    def test_is_median_and_quartiles(self):
        self.assertEqual(Figure.of([5, 1, 2, 4, 3]), Figure(3, 2, 4, 5))

    def test_of_one_sample_has_no_spread(self):
        self.assertEqual(Figure.of([7]), Figure(7, 7, 7))

    def test_ratio_has_room_for_both_spreads(self):
        self.assertEqual(Figure(10, 8, 12, 9) / Figure(2, 1, 4, 3), Figure(5, 2, 12, 3))

    def test_rate_is_slow_where_the_time_is_long(self):
        self.assertEqual(Figure(0.5, 0.25, 1).inverse(), Figure(2, 1, 4))


class ResultsTest(unittest.TestCase):
    def test_collect_repetitions_over_files(self):
        measured = Results([document(entry("a", signal=3e-9), entry("a", signal=1e-9)), document(entry("a", signal=2e-9))])
        self.assertEqual(measured.figure("a", "signal").median, 2e-9)
        self.assertEqual(measured.largest("a", "signal"), 3e-9)

    def test_leave_out_what_was_computed_from_repetitions(self):
        mean = {"run_name": "a", "run_type": "aggregate", "signal": 100.0}
        self.assertEqual(Results([document(entry("a", signal=1.0), mean)]).samples("a", "signal"), [1.0])

    def test_time_an_iteration_in_seconds(self):
        measured = Results([document({**entry("a"), "cpu_time": 2.5, "time_unit": "us"})])
        self.assertAlmostEqual(measured.figure("a", "time").median, 2.5e-6)

    def test_find_sizes_in_order(self):
        measured = Results([document(entry("a/100"), entry("a/20"), entry("a/20/b"), entry("ab/30"))])
        self.assertEqual(measured.sizes("a"), [20, 100])

    def test_name_all_that_is_missing(self):
        measured = Results([document(entry("a", signal=1.0))])
        measured.figure("a", "frame")
        measured.figure("b", "time")
        measured.sizes("c")
        with self.assertRaises(results.UnusableResults) as raised:
            measured.check()
        self.assertEqual(str(raised.exception), "not measured: a (frame), b (time), c/N")

    def test_name_a_benchmark_that_failed(self):
        failed = {**entry("a"), "error_occurred": True, "error_message": "wrong value"}
        with self.assertRaises(results.UnusableResults) as raised:
            Results([document(failed)])
        self.assertEqual(str(raised.exception), "a: wrong value")


class FormatsTest(unittest.TestCase):
    def test_three_digits(self):
        cases = {0: "0", 1: "1.00", 0.9996: "1.00", 9.996: "10.0", 12.34: "12.3", 123.4: "123", 99.96: "100",
                 1234.5: "1,234", 0.01234: "0.0123", 0.001: "0.00100"}
        for number, text in cases.items():
            self.assertEqual(formats.digits(number), text)

    def test_units_follow_the_median(self):
        self.assertEqual(formats.seconds(Figure(1.5e-6, 0.9e-6, 2e-6)), "1.50 µs (0.900 to 2.00)")
        self.assertEqual(formats.seconds(Figure(3e-10, 3e-10, 3e-10)), "0.300 ns")
        self.assertEqual(formats.seconds(Figure(0.25, 0.25, 0.5)), "250 ms (250 to 500)")
        self.assertEqual(formats.per_second(Figure(2.5e6, 2e6, 3e6)), "2.50 million/s (2.00 to 3.00)")
        self.assertEqual(formats.per_second(Figure(0, 0, 0)), "none")
        self.assertEqual(formats.ratio(Figure(2, 1, 3)), "2.00 (1.00 to 3.00)")


def outcome(limit, **samples):
    """Of a target that `measured` is measured for."""
    measured = Results([document(*(entry(name, frame=sample) for name, all_of_it in samples.items() for sample in all_of_it))])
    result = targets.Outcome.of(targets.Target("", "measured", "frame", limit), measured)
    measured.check()
    return result


class OutcomeTest(unittest.TestCase):
    def test_multiple_of_a_yardstick(self):
        limit = targets.times(2.0, "Y", "yardstick")
        self.assertEqual(limit.goal(), "at most 2 × Y")
        self.assertEqual(outcome(limit, measured=[19], yardstick=[10]).verdict(), "yes")
        self.assertEqual(outcome(limit, measured=[20], yardstick=[10]).verdict(), "yes")
        self.assertEqual(outcome(limit, measured=[21], yardstick=[10]).verdict(), "**no**")

    def test_close_ones_are_told(self):
        limit = targets.times(2.0, "Y", "yardstick")
        self.assertEqual(outcome(limit, measured=[18, 19, 24], yardstick=[10]).verdict(), "yes, close")
        self.assertEqual(outcome(limit, measured=[18, 21, 22], yardstick=[10]).verdict(), "**no**, close")

    def test_fastest_of_several_yardsticks_counts(self):
        result = outcome(targets.faster_than("a and b", "a", "b"), measured=[9], a=[10], b=[6])
        self.assertEqual(result.yardstick.median, 6)
        self.assertEqual(result.verdict(), "**no**")

    def test_absolute_limit(self):
        self.assertEqual(outcome(targets.seconds(3.0, ""), measured=[2.9]).verdict(), "yes")
        self.assertEqual(outcome(targets.seconds(3.0, ""), measured=[3.1]).verdict(), "**no**")

    def test_least_rate(self):
        limit = targets.per_second(4, "", "reader", "yardstick")
        self.assertEqual(outcome(limit, measured=[0.2], yardstick=[0.1]).verdict(), "yes")
        self.assertEqual(outcome(limit, measured=[0.3], yardstick=[0.1]).verdict(), "**no**")
        self.assertAlmostEqual(outcome(limit, measured=[0.5], yardstick=[0.1]).used.median, 2)


class PageTest(unittest.TestCase):
    def lines(self, entries):
        measured = Results([document(*entries)])
        text = page.page(measured, made_up.MACHINE, made_up.COUNTS)
        measured.check()
        return text.splitlines()

    def test_has_a_row_for_each_target(self):
        lines = self.lines(made_up.complete())
        for target in targets.TARGETS:
            rows = [line for line in lines if line.startswith(f"| {target.what} | {target.limit.goal()} |")]
            self.assertEqual(len(rows), 1, target)

    def test_tells_what_a_signal_takes_of_the_heap(self):
        self.assertIn("A local signal takes 1,234 bytes of the heap", "\n".join(self.lines(made_up.complete())))

    def test_counts_what_is_met(self):
        entries = made_up.complete()
        met = sum(targets.Outcome.of(target, Results([document(*entries)])).met() for target in targets.TARGETS)
        self.assertNotIn(met, (0, len(targets.TARGETS)))
        said = next(line for line in self.lines(entries) if "are met." in line)
        self.assertTrue(said.startswith(f"{met} of {len(targets.TARGETS)} are met."), said)

    def test_shows_figure_yardstick_ratio_and_verdict(self):
        changed = {"decode/local/unchanged": 3.3e-6, "yardstick/decode": 1.0e-6}
        entries = [each for each in made_up.complete() if each["run_name"] not in changed]
        entries += [entry(name, frame=time, signal=time / 10) for name, time in changed.items()]
        row = next(line for line in self.lines(entries) if line.startswith("| decodeMessage, local signals, payload unchanged"))
        self.assertEqual(row.split(" | ")[1:],
                         ["at most 3 × Y1, then towards 2.0", "3.30 µs", "Y1: 1.00 µs", "3.30", "**no** |"])

    def test_describes_the_machine(self):
        lines = self.lines(made_up.complete())
        self.assertIn("| processor | Abacus \\| wood |", lines)
        self.assertTrue(any("`scripts/bench.sh --made-up`" in line for line in lines))

    def test_breaks_lines(self):
        for line in self.lines(made_up.complete()):
            if not line.startswith(("|", "!", "<")):
                self.assertLessEqual(len(line), 120)
        self.assertEqual(page.wrapped("a\nb\n\n- c\nd\n- e\n\n| f\n| g\n"), "a b\n\n- c d\n- e\n\n| f\n| g\n")

    def test_puts_targets_of_instructions_side_by_side(self):
        lines = self.lines(made_up.complete())
        self.assertIn("| `decode/known` | 1,000 | 2,000 |", lines)
        self.assertIn("| `only/here` | 12 |  |", lines)

    def test_names_a_benchmark_that_is_missing(self):
        entries = [each for each in made_up.complete() if each["run_name"] != "yardstick/decode"]
        with self.assertRaisesRegex(results.UnusableResults, r"^not measured: yardstick/decode \(frame\)"):
            self.lines(entries)


if __name__ == "__main__":
    unittest.main()
