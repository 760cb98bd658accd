"""TTransactionHook tenders, the window run by an operator script as a till vendor's CI runs it."""

import json
import os
import sqlite3
import unittest

import ccaddin
from ccaddin import ByRef
from tillsite import TillSite

LIB = ccaddin.Library(os.environ["CCADDIN_LIBRARY"])


class WindowTenderTest(unittest.TestCase):
    def setUp(self):
        self.site = TillSite(settings={
            "CardReaderStatusEnabled": "1", "CardEnquiryEnabled": "1", "SplitTender": "1",
            "PrinterType": "1", "OPOSPrinterDeviceName": "Receipts", "ObscureCardNumber": "1"})
        self.paper, printers, self.script = (os.path.join(self.site.folder, name) for name in
                                             ("paper.bin", "printers.json", "operator"))
        open(self.paper, "wb").close()  # the receipt printer's device
        with open(printers, "w") as f:
            json.dump({"Receipts": {"device": self.paper}}, f)
        os.environ.update(CCADDIN_PRINTERS=printers, CCADDIN_OPERATOR_SCRIPT=self.script)
        self.till, self.info, self.hook = (LIB.create("TamberinCcAddin." + name) for name in
                                           ("TTillInformation", "TTransactionInfo", "TTransactionHook"))

    def tearDown(self):
        self.hook.close()
        del os.environ["CCADDIN_PRINTERS"], os.environ["CCADDIN_OPERATOR_SCRIPT"]
        self.assertEqual(self.site.files_with_a_card_number(), [])
        self.site.close()

    def tender(self, step, method, *args):
        """The hook's call with the till's records where `...` stands."""
        with open(self.script, "w") as f:
            f.write(step + "\n")
        at = args.index(...)
        return self.hook.call(method, *args[:at], ByRef(self.till), ByRef(self.info), *args[at + 1:])

    def server(self):
        with sqlite3.connect(os.path.join(self.site.config_folder, "qlsim-server.sqlite")) as db:
            return db.execute("SELECT ref, state FROM transactions").fetchall()

    def test_sale_accepted_at_the_window_is_confirmed_printed_and_reported(self):
        self.hook.call("SetCustomerReceiptEndText", "<B>THANK YOU", "", "")
        self.assertTrue(self.tender("when fraConfirm is visible: click cmdConfirmAuth",
                                    "Process4", 0, 1250, "ORDER 77", ..., False))
        self.assertEqual((self.info.lResponseCode, self.info.strPanLast4Digits), (1, "0010"))
        self.assertEqual(self.server(), [(self.info.lTransactionRefNo, 1)])  # confirmed
        self.assertIn("ORDER 77", self.info.strCustomerReceipt)
        with open(self.paper, "rb") as f:
            self.assertRegex(f.read().decode("cp1252"),
                             r"(?s)MERCHANT COPY.*ORDER 77.*CUSTOMER COPY\s+\S*THANK YOU")

    def test_split_request_leaves_the_tender_unpaid_and_a_zero_tender_shows_no_window(self):
        self.site.configure({"readerStates": [1]})
        self.assertFalse(self.tender("when cmdSplitTender is visible: click cmdSplitTender",
                                     "Process", 0, 2000, ...))
        self.assertFalse(self.tender("close the window", "Process2", 0, 0, 0, 0, ...))
        self.assertEqual((self.info.lResponseCode, self.server(), os.path.getsize(self.paper)),
                         (0, [], 0))
        self.assertRegex(self.site.journal(), "(?s)Split tender is not available.*"
                         "Transaction value must be greater than 0")
