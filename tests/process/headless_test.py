#!/usr/bin/env python3
"""kvo --headless as a shell script, a Makefile or a CI job sees it: the exit
status, standard output and standard error of the program run as a process.

    python3 tests/process/headless_test.py --kvo build/app/kvo
"""

import argparse
import os
import re
import shutil
import subprocess
import sys
import tempfile
import textwrap
import unittest

KVO = None
REPO = os.path.dirname(os.path.dirname(os.path.dirname(os.path.abspath(__file__))))
CHECK_LIB = os.path.join(REPO, "tests", "lib", "check.kvs")


class Headless(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.mkdtemp(prefix="kvo_headless_")
        self.addCleanup(shutil.rmtree, self.dir, True)

    def source(self, name, text):
        """Writes a source file; its lines count from the first line of `text`."""
        path = os.path.join(self.dir, name)
        with open(path, "w", encoding="utf-8") as f:
            f.write(textwrap.dedent(text).lstrip("\n"))
        return path

    def kvo(self, *args, stdin="", kvo=None):
        run = subprocess.run([kvo or KVO, *args], input=stdin, capture_output=True, text=True,
                             cwd=self.dir, timeout=60)
        return run.returncode, run.stdout.splitlines(), run.stderr.splitlines()

    # -- what a run prints ---------------------------------------------------

    def test_a_run_prints_only_what_the_macro_writes(self):
        path = self.source("hello.kvs", """
            [MACRO MAIN #who]
            WRITELOG 'hello $#who'
            #t := NEW TABLE *
            SET $#t * one
            #n := SET $#t[!NROW]
            WRITELOG 'rows $#n'
            DELETE $#t
            """)
        status, out, err = self.kvo("--headless", path, "MAIN", "world")
        self.assertEqual((status, out, err), (0, ["hello world", "rows 1"], []))

    def test_verbose_adds_the_loader_lines_on_standard_error_only(self):
        path = self.source("hello.kvs", """
            [MACRO MAIN]
            WRITELOG hello
            """)
        status, out, err = self.kvo("--headless", "--verbose", path)
        self.assertEqual((status, out), (0, ["hello"]))
        self.assertIn(f"load sources from file '{path}'", err)
        self.assertIn("-- section #1 - MACRO MAIN loaded - linked (add)", err)
        self.assertTrue(any(line.startswith(f"Unload sourcefile {path}. Trial #1") for line in err), err)
        self.assertTrue(any(line.endswith("code objects removed - finished") for line in err), err)

    def test_items_left_behind_are_a_warning_on_standard_error(self):
        path = self.source("leaky.kvs", """
            [MACRO MAIN]
            NEW TABLE kept
            WRITELOG done
            """)
        status, out, err = self.kvo("--headless", path)
        self.assertEqual((status, out), (0, ["done"]))
        self.assertEqual(len(err), 1, err)
        self.assertRegex(err[0], r"^Shell \w+ Destruct - Warning: 1 shell items are still active!$")

    def test_the_shipped_example_releases_what_it_makes(self):
        report = os.path.join(self.dir, "report.txt")
        status, out, err = self.kvo("--headless", os.path.join(REPO, "examples", "report.kvs"), "MAIN",
                                    os.path.join(REPO, "examples", "vowels.txt"), report)
        self.assertEqual((status, err), (0, []))
        self.assertEqual(out[-1], f"report written to {report}")
        self.assertTrue(os.path.exists(report))

    # -- exit status ---------------------------------------------------------

    def test_the_exit_status_is_the_value_the_macro_ends_with(self):
        path = self.source("status.kvs", """
            [MACRO RESULT]
            EXIT 1 3
            [MACRO ENDSHELL]
            EXIT 0 7
            [MACRO DEEP]
            INNER
            WRITELOG unreachable
            [MACRO INNER]
            EXIT 0 9
            [MACRO NOVALUE]
            WRITELOG fine
            EXIT 1
            [MACRO LASTLINE]
            SEGMENT 10_+5 8000 100 /S
            TOKEN 5 a b /S
            [MACRO STALE]
            #n := RESULT
            WRITELOG '$#n'
            [MACRO TEXT]
            EXIT 1 'not a number'
            [MACRO HIGH]
            EXIT 1 300
            [MACRO LOW]
            EXIT 1 -4
            """)
        # STALE: a macro that runs off its end leaves no result, whatever its callees left.
        cases = {"RESULT": 3, "ENDSHELL": 7, "DEEP": 9, "NOVALUE": 0, "LASTLINE": 255, "STALE": 0,
                 "TEXT": 0, "HIGH": 255, "LOW": 0}
        for macro, want in cases.items():
            with self.subTest(macro=macro):
                status, _, _ = self.kvo("--headless", path, macro)
                self.assertEqual(status, want)

    def test_rc_of_the_last_line_below_256_comes_through_unchanged(self):
        path = self.source("rc.kvs", """
            [MACRO MAIN]
            MSG DEBUG RTERROR 0
            WRITELOG before
            x := EVAL 1/0
            """)
        status, out, err = self.kvo("--headless", path)
        self.assertEqual((status, out, err), (22, ["before"], []))

    def test_a_missing_file_is_status_66_and_one_line(self):
        status, out, err = self.kvo("--headless", "no_such_file.kvs", "MAIN")
        self.assertEqual((status, out), (66, []))
        self.assertEqual(err, ["open file 'no_such_file.kvs' failed"])

    def test_a_file_that_does_not_compile_is_status_66_and_says_why(self):
        path = self.source("broken.kvs", """
            [MACRO MAIN]
            WRITELOG 'unclosed
            """)
        status, out, err = self.kvo("--headless", path)
        self.assertEqual((status, out), (66, []))
        self.assertTrue(err and any("odd number of quotes" in line for line in err), err)

    def test_a_missing_macro_is_status_127_and_one_line(self):
        path = self.source("one.kvs", """
            [MACRO MAIN]
            WRITELOG main
            """)
        status, out, err = self.kvo("--headless", path, "NOPE")
        self.assertEqual((status, out), (127, []))
        self.assertEqual(err, [f"no macro NOPE in {path}"])

    def test_without_a_macro_name_main_runs_once(self):
        path = self.source("one.kvs", """
            [MACRO MAIN]
            WRITELOG main
            EXIT 1 5
            """)
        self.assertEqual(self.kvo("--headless", path), (5, ["main"], []))

    def test_the_macro_name_matches_without_regard_to_case(self):
        path = self.source("one.kvs", """
            [MACRO Main]
            WRITELOG main
            """)
        self.assertEqual(self.kvo("--headless", path, "mAiN"), (0, ["main"], []))

    def test_a_library_that_is_not_there_is_status_2(self):
        lonely = os.path.join(self.dir, "kvo")
        shutil.copy(KVO, lonely)
        status, out, err = self.kvo("--headless", "anything.kvs", kvo=lonely)
        self.assertEqual((status, out), (2, []))
        self.assertEqual(err[-1], "Startup failed! Program terminated.")
        self.assertTrue(any("kvo.lib" in line for line in err[:-1]), err)

    def test_an_unknown_option_is_status_64(self):
        status, out, err = self.kvo("--headless", "--verbos", "x.kvs")
        self.assertEqual((status, out), (64, []))
        self.assertEqual(len(err), 1)
        self.assertIn("--verbos", err[0])

    def test_help_names_the_statuses(self):
        status, out, _ = self.kvo("--help")
        self.assertEqual(status, 0)
        text = "\n".join(out)
        for option in ("--headless", "--verbose", "--strict"):
            self.assertIn(option, text)
        for code in ("66", "70", "127", "64"):
            self.assertRegex(text, rf"(?m)^\s+{code}\s+\S")

    def test_the_console_ends_with_the_value_of_its_exit(self):
        status, out, err = self.kvo("--headless", stdin="UPPER abc\nEXIT 0 5\n")
        self.assertEqual((status, err), (5, []))
        self.assertIn("ABC", out)

    # -- program checks ------------------------------------------------------

    def test_a_program_check_is_one_line_and_the_macro_goes_on(self):
        path = self.source("zero.kvs", """
            [MACRO MAIN]
            WRITELOG before
            x := EVAL 1/0
            WRITELOG after
            EXIT 1 4
            """)
        status, out, err = self.kvo("--headless", path)
        self.assertEqual((status, out), (4, ["before", "after"]))
        self.assertEqual(err, [f"{path}:3: error 22: division does not compute (in macro MAIN)"])

    def test_strict_stops_at_the_first_program_check(self):
        path = self.source("zero.kvs", """
            [MACRO MAIN]
            WRITELOG before
            HELPER
            WRITELOG after
            EXIT 1 0
            [MACRO HELPER]
            x := EVAL 1/0
            y := EVAL 2/0
            """)
        status, out, err = self.kvo("--headless", "--strict", path)
        self.assertEqual((status, out), (70, ["before"]))
        self.assertEqual(err, [f"{path}:7: error 22: division does not compute (in macro HELPER)"])

    def test_strict_also_ends_the_other_shells(self):
        path = self.source("shells.kvs", """
            [MACRO MAIN]
            SHELL WAITER
            x := EVAL 1/0
            WRITELOG after
            [MACRO WAITER]
            FOREVER
              MSG LOOP
            END
            """)
        status, out, err = self.kvo("--headless", "--strict", path)
        self.assertEqual((status, out), (70, []))
        self.assertEqual(len(err), 1, err)

    def test_a_program_check_names_the_included_file_and_its_line(self):
        helper = self.source("helper.kvs", """
            // a helper file
            [MACRO HELP_DIVIDE]
            x := EVAL 1/0
            """)
        path = self.source("main.kvs", f"""
            !include '{helper}'
            [MACRO MAIN]
            HELP_DIVIDE
            """)
        status, _, err = self.kvo("--headless", path)
        self.assertEqual(status, 22)
        self.assertEqual(err, [f"{helper}:3: error 22: division does not compute (in macro HELP_DIVIDE)"])

    def test_a_program_check_turned_off_says_nothing(self):
        path = self.source("quiet.kvs", """
            [MACRO MAIN]
            MSG DEBUG RTERROR 0
            foo bar
            WRITELOG after
            """)
        self.assertEqual(self.kvo("--headless", "--strict", path), (0, ["after"], []))

    def test_writelog_e_goes_to_standard_error(self):
        path = self.source("err.kvs", """
            [MACRO MAIN]
            WRITELOG /E 'something is wrong'
            WRITELOG fine
            """)
        self.assertEqual(self.kvo("--headless", path), (0, ["fine"], ["something is wrong"]))

    # -- the language's own test harness -------------------------------------

    def test_check_fails_loudly_on_anything_but_three_arguments(self):
        path = self.source("checks.kvs", f"""
            !include '{CHECK_LIB}'
            [MACRO MAIN]
            BEGIN harness
            #line := SET 11025 2 0 PCM16
            CHECK split $#line '11025 2 0 PCM16'
            CHECK quoted '$#line' '11025 2 0 PCM16'
            CHECK two onlyone
            CHECK numbers 2 2.0
            CHECK differ a b
            CHECK slash '1/0' '2/0'
            DONE
            """)
        status, out, err = self.kvo("--headless", path)
        self.assertEqual(err, [])
        failed = [line for line in out if line.startswith("FAILED:")]
        self.assertEqual(len(failed), 4, out)
        self.assertIn("split: CHECK takes 3 arguments", failed[0])
        self.assertIn("two: CHECK takes 3 arguments", failed[1])
        self.assertEqual(failed[2], "FAILED: harness: differ: got [a], want [b]")
        self.assertEqual(failed[3], "FAILED: harness: slash: got [1/0], want [2/0]")
        self.assertEqual(out[-1], "harness: 2 passed, 4 failed")
        # DONE hands the count of failures on as the exit status.
        self.assertEqual(status, 4)


def main():
    global KVO
    parser = argparse.ArgumentParser()
    parser.add_argument("--kvo", required=True)
    args, rest = parser.parse_known_args()
    KVO = os.path.abspath(args.kvo)
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)


if __name__ == "__main__":
    main()
