"""The table's arithmetic."""
import contextlib
import io
import json
import os
import tempfile
import unittest
from unittest import mock

import bench
import quiet
import rows
from figures import Goal, all_met, as_json, extremes, judge, median, quantile, table


def figure(kind, bound, pairs, row="row"):
    return judge(row, "what", "its limit", "ms", Goal(kind, bound), pairs)


class Quantiles(unittest.TestCase):
    def test_the_median_of_an_odd_number_is_the_middle_one(self):
        self.assertEqual(median([9, 1, 5]), 5)

    def test_the_median_of_an_even_number_lies_between_the_two_in_the_middle(self):
        self.assertEqual(median([8, 1, 4, 100]), 6)

    def test_the_quartiles_lie_between_values_where_none_is_there(self):
        self.assertEqual([quantile([40, 10, 20, 30], share) for share in (0.25, 0.75)], [17.5, 32.5])

    def test_one_value_is_all_of_its_quantiles(self):
        self.assertEqual([quantile([7], share) for share in (0, 0.25, 0.5, 1)], [7, 7, 7, 7])


class Judging(unittest.TestCase):
    def test_the_ratio_is_the_median_of_the_ratios_of_the_pairs(self):
        # The ratio of the medians would be 20 / 10.
        result = figure("ratio", 1.5, [(20, 20), (30, 10), (10, 10)])
        self.assertEqual((result.compared, result.ratio, result.measured, result.limit), (1, 1, 20, 10))

    def test_the_spread_is_the_quartiles_of_what_is_compared(self):
        result = figure("ratio", 9, [(1, 1), (2, 1), (3, 1), (4, 1), (5, 1)])
        self.assertEqual((result.low, result.compared, result.high, result.pairs), (2, 3, 4, 5))

    def test_at_most_includes_the_bound_and_below_does_not(self):
        self.assertTrue(figure("ratio", 1.25, [(5, 4)]).met)
        self.assertFalse(figure("ratio", 1.24, [(5, 4)]).met)
        self.assertFalse(figure("below", 1.25, [(5, 4)]).met)
        self.assertTrue(figure("below", 1.26, [(5, 4)]).met)

    def test_a_difference_is_compared_in_the_unit_of_the_row(self):
        result = figure("more", 0.25, [(1.5, 1.0), (1.25, 1.0), (1.125, 1.0)])
        self.assertEqual((result.compared, result.ratio, result.met), (0.25, 1.25, True))
        self.assertFalse(figure("more", 0.24, [(1.25, 1.0)]).met)

    def test_a_share_is_that_of_the_limit_in_what_was_measured(self):
        self.assertEqual(figure("share", 0.8, [(100, 80)]).compared, 0.8)
        self.assertTrue(figure("share", 0.8, [(100, 80)]).met)
        self.assertFalse(figure("share", 0.81, [(100, 80)]).met)

    def test_a_value_is_judged_whatever_its_limit_is(self):
        self.assertTrue(figure("value", 3, [(3, 1)]).met)
        self.assertFalse(figure("value", 3, [(3.1, 100)]).met)

    def test_what_is_only_told_neither_meets_nor_misses(self):
        told = figure("none", 0, [(9, 1)])
        self.assertIsNone(told.met)
        self.assertTrue(all_met([told]))

    def test_one_missed_goal_is_enough(self):
        met, missed = figure("ratio", 2, [(1, 1)]), figure("ratio", 2, [(3, 1)])
        self.assertTrue(all_met([met, met]))
        self.assertFalse(all_met([met, missed, met]))

    def test_nothing_measured_is_no_figure(self):
        with self.assertRaises(ValueError):
            figure("ratio", 1, [])


class Extremes(unittest.TestCase):
    def test_the_extremes_are_the_columns_with_the_largest_and_the_smallest_median(self):
        rounds = [(10, 13, 11), (10, 9, 11), (10, 14, 11)]
        self.assertEqual(extremes(rounds), [(13, 10), (9, 10), (14, 10)])


class Output(unittest.TestCase):
    figures = [figure("ratio", 1.03, [(10.4, 10), (10.2, 10), (10.6, 10)], "first"),
               figure("more", 4, [(8, 6)], "second"),
               figure("share", 0.98, [(100, 99.5)], "third"),
               figure("none", 0, [(3, 2)], "fourth")]

    def test_the_table_has_a_line_for_each_row_under_its_headings(self):
        lines = [" ".join(line.split()) for line in table(self.figures)]
        self.assertEqual(lines[0], "row what measured limit ratio quartiles goal met stolen tries")
        self.assertEqual(lines[2:], ["first what 10.4 ms 10 ms 1.040 1.030 .. 1.050 <= 1.03 NO 0.0% 1",
                                     "second what 8 ms 6 ms 1.333 +2.000 .. +2.000 <= +4 ms yes 0.0% 1",
                                     "third what 100 ms 99.5 ms 1.005 99.50% .. 99.50% >= 98.0% yes 0.0% 1",
                                     "fourth what 3 ms 2 ms 1.500 1.500 .. 1.500 (told) - 0.0% 1"])

    def test_the_json_says_the_same(self):
        read = json.loads(as_json(self.figures, {"pairs": 3}))
        self.assertEqual((read["pairs"], read["all_met"], len(read["rows"])), (3, False, 4))
        first = read["rows"][0]
        self.assertEqual([first[key] for key in ("row", "measured", "limit", "met", "goal", "bound", "pairs")],
                         ["first", 10.4, 10, False, "<= 1.03", 1.03, 3])
        self.assertAlmostEqual(first["ratio"], 1.04)
        self.assertIsNone(read["rows"][3]["met"])


class ExitStatus(unittest.TestCase):
    stolen = [0.0]

    def run_with(self, *measured):
        left = list(measured)
        row = rows.Row("made-up", "what", "limit", "ms", Goal("ratio", 1.5), lambda stage, pairs: [(left.pop(0), 2)] * pairs)
        with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stdout(io.StringIO()) as output, \
                contextlib.redirect_stderr(io.StringIO()), mock.patch.object(rows, "ROWS", [row]), \
                mock.patch("sys.argv", ["bench", "--pairs", "4", "--json", os.path.join(folder, "out.json")]), \
                mock.patch("quiet.stolen", side_effect=self.stolen), mock.patch("time.sleep"):
            status = bench.main()
            with open(os.path.join(folder, "out.json"), encoding="utf-8") as file:
                self.about = json.load(file)
            self.assertEqual(self.about["rows"][0]["pairs"], 4)
            self.lines = output.getvalue().splitlines()
        return status, output.getvalue().splitlines()[-1]

    def test_every_goal_met_is_success(self):
        self.assertEqual(self.run_with(3), (0, "1 rows, every goal met"))

    def test_a_missed_goal_is_failure_and_is_named(self):
        self.assertEqual(self.run_with(4), (1, "1 rows, missed: made-up"))

    def test_each_row_says_what_the_host_took_meanwhile(self):
        self.stolen = [0.015]
        self.run_with(3)
        self.assertEqual((0.015, []), (self.about["rows"][0]["stolen"], self.about["rows"][0]["set_aside"]))
        self.assertEqual(["1.5%", "1"], self.lines[2].split()[-2:])

    def test_a_row_that_the_host_disturbed_is_measured_again_and_tells_of_it(self):
        self.stolen = [0.03, 0.0]
        self.assertEqual((1, "1 rows, missed: made-up"), self.run_with(3, 4))
        self.assertEqual((0.0, [[1.5, 0.03]]), (self.about["rows"][0]["stolen"], self.about["rows"][0]["set_aside"]))
        self.assertEqual(["0.0%", "2"], self.lines[2].split()[-2:])


class Quiet(unittest.TestCase):
    def test_times_are_the_sum_of_the_first_line_and_what_was_stolen(self):
        with mock.patch("builtins.open", mock.mock_open(read_data="cpu  1 2 3 4 5 6 7 8 9 10\ncpu0 1\n")):
            self.assertEqual((36, 8), quiet.processor_times())

    def test_no_time_between_is_nothing_stolen(self):
        self.assertEqual(0, quiet.stolen((36, 8), (36, 8)))

    def chosen(self, *stolen):
        """The number of the try that counts, and how many there were, where the host took such shares."""
        with mock.patch("quiet.stolen", side_effect=stolen), mock.patch("time.sleep") as sleep:
            tries = quiet.quietest(iter(range(1, 9)).__next__)
        self.assertEqual([mock.call(quiet.PAUSE_S)] * (len(tries) - 1), sleep.mock_calls)
        self.assertEqual(sorted(stolen[:len(tries)]), [share for _, share in tries])
        return tries[0][0], len(tries)

    def test_a_quiet_machine_is_measured_once(self):
        self.assertEqual((1, 1), self.chosen(0.02))

    def test_a_busy_one_is_measured_until_it_is_quiet(self):
        self.assertEqual((3, 3), self.chosen(0.5, 0.021, 0.01))

    def test_of_a_machine_that_is_never_quiet_the_quietest_try_counts(self):
        self.assertEqual((2, 4), self.chosen(0.5, 0.03, 0.4, 0.04))

    def test_this_machine_has_times(self):
        time, stolen = quiet.processor_times()
        self.assertGreater(time, stolen)


class Choosing(unittest.TestCase):
    def test_a_part_of_a_name_chooses_in_the_order_of_the_table(self):
        names = [row.name for row in rows.chosen(["encode", "consult-native"])]
        self.assertEqual(names, ["consult-native-log1", "consult-native-log5", "encode"])

    def test_without_a_name_all_rows_are_measured(self):
        self.assertEqual(rows.chosen([]), rows.ROWS)

    def test_an_unknown_name_is_refused(self):
        with self.assertRaises(KeyError):
            rows.chosen(["encode", "no-such-row"])

    def test_no_two_rows_have_one_name(self):
        names = [row.name for row in rows.ROWS]
        self.assertEqual(sorted(set(names)), sorted(names))
