"""What the commands are timed with, and how."""

import importlib.util
import pathlib
import sys
import unittest

SOURCE = pathlib.Path(__file__).resolve().parents[2] / "benchmarks" / "measure-commands.py"
spec = importlib.util.spec_from_file_location("measure_commands", SOURCE)
measure_commands = importlib.util.module_from_spec(spec)
spec.loader.exec_module(measure_commands)

DEFINITIONS = """\
BO_ 16 Rare: 8 Gateway
 SG_ Rarely : 7|8@0+ (1,0) [0|1] ""  Car

BO_ 32 Usual: 8 Gateway
 SG_ First : 7|8@0+ (1,0) [0|1] ""  Car
 SG_ Second : 15|8@0+ (1,0) [0|1] ""  Car

BO_ 48 Other: 8 Gateway
 SG_ Level : 7|8@0+ (1,0) [0|1] ""  Car
"""


def frames(identifier, count):
    return f"(1.000000) can0 {identifier:03X}#00\n" * count


class ConditionTest(unittest.TestCase):
    def test_is_over_the_most_frequent_messages_that_are_defined(self):
        log = frames(16, 1) + frames(32, 2) + frames(48, 3) + frames(64, 4)
        self.assertEqual(measure_commands.condition(DEFINITIONS, log), "Other.Level > 1 && Usual.First > 1")

    def test_needs_two_messages(self):
        with self.assertRaises(SystemExit):
            measure_commands.condition(DEFINITIONS, frames(16, 5) + frames(64, 1))


class ProcessorTimeTest(unittest.TestCase):
    def test_is_what_the_process_has_used(self):
        command = [sys.executable, "-c", "import time\nwhile time.process_time() < 0.2: pass"]
        self.assertGreaterEqual(measure_commands.processor_time(command), 0.2)

    def test_other_statuses_end_the_run(self):
        with self.assertRaisesRegex(SystemExit, "status 3\nwhy"):
            measure_commands.processor_time([sys.executable, "-c", "import sys; print('why', file=sys.stderr); exit(3)"], (0, 1))
        measure_commands.processor_time([sys.executable, "-c", "exit(1)"], (0, 1))


if __name__ == "__main__":
    unittest.main()
