"""TTransactionHook tenders, the window run by an operator script as a till vendor's CI runs it."""

import json
import os
import re
import sqlite3
import unittest

import ccaddin
from ccaddin import ByRef
from tillsite import TillSite

LIB = ccaddin.Library(os.environ["CCADDIN_LIBRARY"])
os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")  # the widgets of a window drawn by Qt


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
        for name in ("CCADDIN_PRINTERS", "CCADDIN_OPERATOR_SCRIPT", "CCADDIN_OPERATOR_DISPLAY"):
            os.environ.pop(name, None)
        self.assertEqual(self.site.files_with_a_card_number(), [])
        self.site.close()

    def tender(self, step, method, *args):
        """The hook's call with the till's records where `...` stands."""
        with open(self.script, "w") as f:
            f.write(step + "\n")
        at = args.index(...)
        return self.hook.call(method, *args[:at], ByRef(self.till), ByRef(self.info), *args[at + 1:])

    def server(self):
        """What the simulated server recorded: reference, state, transaction code, amount."""
        with sqlite3.connect(os.path.join(self.site.config_folder, "qlsim-server.sqlite")) as db:
            rows = db.execute("SELECT ref, state, record FROM transactions").fetchall()
        return [(ref, state, json.loads(record)["lTransactionTypeCode"],
                 int(json.loads(record)["strAmount"])) for ref, state, record in rows]

    def test_each_kind_of_tender_accepted_at_the_window_is_confirmed_printed_and_reported(self):
        self.hook.call("SetCustomerReceiptEndText", "<B>THANK YOU", "", "")
        # kind, the server's code for it, whether the operator acts on the Qt widgets, the call
        # (the final authorisation's customer copy is left to the till)
        for kind, code, drawn, method, *args in [
                (0, 1, False, "Process4", 1250, "ORDER 77", ..., False),
                (1, 6, False, "Process", 2599, ...),
                (2, 4, False, "Process3", 15000, "ORDER 77", ...),
                (3, 5, False, "Process4", 14250, "ORDER 77", ..., True),
                (0, 1, True, "Process2", 990, 0, 0, ...)]:
            with self.subTest(kind=kind, drawn=drawn):
                open(self.paper, "wb").close()
                os.environ["CCADDIN_OPERATOR_DISPLAY"] = "1" if drawn else "0"
                self.assertTrue(self.tender("when fraConfirm is visible: click cmdConfirmAuth",
                                            method, kind, *args))
                self.assertEqual("windows drawn on the display" in self.site.journal(), drawn)
                self.assertEqual((self.info.lResponseCode, self.info.strPanLast4Digits), (1, "0010"))
                self.assertEqual(self.server()[-1], (self.info.lTransactionRefNo, 1, code, args[0]))
                self.assertIn("**** 0010", self.info.strCustomerReceipt)
                with open(self.paper, "rb") as f:
                    paper = f.read().decode("cp1252")
                self.assertEqual(re.findall(r"(MERCHANT|CUSTOMER) COPY\s+(?:\S*(THANK YOU))?", paper),
                                 [("MERCHANT", "")] + [("CUSTOMER", "THANK YOU")] * (kind != 3))
                self.assertEqual("ORDER 77" in paper, "ORDER 77" in args)

    def test_split_request_leaves_the_tender_unpaid_and_a_zero_tender_shows_no_window(self):
        self.site.configure({"readerStates": [1]})
        self.assertFalse(self.tender("when cmdSplitTender is visible: click cmdSplitTender",
                                     "Process", 0, 2000, ...))
        self.assertFalse(self.tender("close the window", "Process2", 0, 0, 0, 0, ...))
        self.assertEqual((self.info.lResponseCode, self.server(), os.path.getsize(self.paper)),
                         (0, [], 0))
        self.assertRegex(self.site.journal(), "(?s)Split tender is not available.*"
                         "Transaction value must be greater than 0")
