"""A till aborts the card wait from another of its threads, the one call that may cross."""

import os
import threading
import time
import unittest

import ccaddin
from ccaddin import ByRef
from tillsite import TillSite

LIB = ccaddin.Library(os.environ["CCADDIN_LIBRARY"])


class AbortTest(unittest.TestCase):
    def setUp(self):
        self.site = TillSite({"readerStates": [1]})  # waiting for a card that never comes

    def tearDown(self):
        self.assertEqual(self.site.files_with_a_card_number(), [])
        self.site.close()

    def test_abort_from_another_thread_stops_the_card_wait(self):
        hook = LIB.create("TamberinCcAddin.TNonGuiTransactionHook2")
        till = LIB.create("TamberinCcAddin.TTillInformation")
        self.assertEqual(hook.call("StartTransaction"), 0, hook.strErrorMessage)
        aborter = threading.Timer(0.4, lambda: hook.call("AbortTransaction"))
        began = time.monotonic()
        aborter.start()
        try:
            self.assertEqual(hook.call("CardEnquiry", 0, 0, 1000, ByRef(till)), 1)
        finally:
            aborter.join()
        self.assertLess(time.monotonic() - began, 5)
        self.assertEqual(hook.strErrorMessage, "ABORTED BY OPERATOR")
        hook.call("EndTransaction")
        self.assertIn("Transaction aborted by operator", self.site.journal())


if __name__ == "__main__":
    unittest.main()
