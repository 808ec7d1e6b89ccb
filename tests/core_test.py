#!/usr/bin/env python3
"""What replaces functions of the core, and the lexers' step, leaves what the published ones leave.

    core_test.py PUBLISHED REPLACED

The two are tests/core_trees.cpp with what was published and with what replaces it.
"""
import subprocess
import sys
import unittest


def trees(program):
    return subprocess.run([program], check=True, capture_output=True, text=True).stdout.splitlines()


class CoreTest(unittest.TestCase):
    def test_replaced_functions_leave_the_same(self):
        published, replaced = trees(PUBLISHED), trees(REPLACED)
        self.assertGreater(len(published), 1000)
        self.assertEqual(len(published), len(replaced))
        for one, other in zip(published, replaced):
            self.assertEqual(one, other)


if __name__ == "__main__":
    PUBLISHED, REPLACED = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
