"""The reference till under examples/ runs a card sale against the product library."""

import os
import subprocess
import sys
import unittest

from tillsite import TillSite

EXAMPLE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "examples",
                       "reference_till.py")


class ReferenceTillTest(unittest.TestCase):
    def setUp(self):
        self.site = TillSite(settings={"CashbackEnabled": "1"})

    def tearDown(self):
        self.assertEqual(self.site.files_with_a_card_number(), [])
        self.site.close()

    def run_till(self, *args):
        return subprocess.run([sys.executable, EXAMPLE, *args], capture_output=True, text=True,
                              encoding="utf-8", timeout=60, env=dict(os.environ))

    def test_a_sale_is_authorised_confirmed_and_both_receipts_printed(self):
        run = self.run_till("12.50", "--cashback", "5.00")
        self.assertEqual(run.returncode, 0, run.stdout + run.stderr)
        self.assertIn("Sale of £12.50 at Forecourt Café, till 01", run.stdout)
        self.assertRegex(run.stdout, r"Transaction reference: \d{10}_\d{8}_\d{4}")
        self.assertIn("--- merchant receipt ---", run.stdout)
        self.assertIn("--- customer receipt ---", run.stdout)
        self.assertIn("Pétersfield", run.stdout)
        self.assertIn("strPanLast4Digits        '0010'", run.stdout)

    def test_a_declined_card_is_reported_and_exits_non_zero(self):
        self.site.configure({"card": "mc_declined", "readerStates": [3]})
        run = self.run_till("20.00")
        self.assertEqual(run.returncode, 1, run.stdout + run.stderr)
        self.assertIn("Declined by the card issuer: no payment was taken", run.stdout)
        self.assertIn("DECLINED", run.stdout)


if __name__ == "__main__":
    unittest.main()
