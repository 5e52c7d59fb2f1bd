#!/usr/bin/env python3
"""What counts.py reads from a profile, and what it finds wrong with counts."""
import unittest

from counts import Count, judge, name_of, read_profile

PROFILE = """\
# callgrind format
desc: Trigger: Client Request: a piece of work
positions: line
events: Ir
summary: 1000

fl=/somewhere/src/api/exchange.cpp
fn=Communicate
10 7
fi=/usr/include/string_fortified.h
29 5
fe=/somewhere/src/api/exchange.cpp
cfi=/somewhere/tests/counts/plain_memory.c
cfn=memcpy
calls=2 11
12 40
cfi=/somewhere/tests/simulation/sim_platform_port.cpp
cfn=plat_port_open
calls=3 15
13 600
cfi=/somewhere/src/vko_utils/log.cpp
cfn=VKO_LogEnabled
calls=4 16
14 20
15 1

fl=/somewhere/src/vko_utils/log.cpp
fn=VKO_LogEnabled
16 20

fl=/somewhere/tests/simulation/sim_platform_port.cpp
fn=plat_port_open
15 300
cfn=memcpy
calls=1 11
17 300

fl=/somewhere/tests/counts/plain_memory.c
fn=memcpy
11 340
""".splitlines(keepends=True)


class ReadTest(unittest.TestCase):
    def test_a_piece_of_work_has_the_name_that_was_asked_for(self):
        self.assertEqual(name_of(PROFILE), "a piece of work")
        self.assertIsNone(name_of(PROFILE[2:]))

    def test_the_librarys_own_instructions_count_with_the_bytes_that_it_touches(self):
        self.assertEqual(read_profile(PROFILE).instructions, 7 + 5 + 1 + 20 + 40)

    def test_only_what_leaves_the_library_is_a_call_out(self):
        self.assertEqual(read_profile(PROFILE).calls, 3)


class JudgeTest(unittest.TestCase):
    recorded = {"work": Count(1000, 10)}

    def test_a_tenth_more_is_let_pass(self):
        self.assertEqual(judge(self.recorded, {"work": Count(1100, 11)}), [])

    def test_more_than_a_tenth_is_not(self):
        self.assertEqual(judge(self.recorded, {"work": Count(1101, 11)}),
                         ["work: 1101 instructions, recorded 1000, 10 % more"])
        self.assertEqual(judge(self.recorded, {"work": Count(10, 12)}), ["work: 12 calls, recorded 10, 20 % more"])

    def test_something_is_more_than_nothing(self):
        self.assertEqual(judge({"work": Count(5, 0)}, {"work": Count(5, 1)}), ["work: 1 calls, recorded none"])

    def test_work_that_is_missing_on_either_side_is_said(self):
        self.assertEqual(judge(self.recorded, {"other": Count(1, 1)}),
                         ["other: counted, but not recorded", "work: recorded, but not counted"])


if __name__ == "__main__":
    unittest.main()
