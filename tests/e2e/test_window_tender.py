"""TTransactionHook tenders, the window run by an operator script as a till vendor's CI runs it."""

import json
import os
import re
import sqlite3
import subprocess
import sys
import unittest

import ccaddin
from ccaddin import ByRef
from tillsite import TillSite

LIB = ccaddin.Library(os.environ["CCADDIN_LIBRARY"])
os.environ.setdefault("QT_QPA_PLATFORM", "offscreen")  # the widgets of a window drawn by Qt

SERVICE_TILL = """
import ccaddin, sys
lib = ccaddin.Library(sys.argv[1])
till, info = (ccaddin.ByRef(lib.create("TamberinCcAddin." + n)) for n in ("TTillInformation", "TTransactionInfo"))
print(lib.create("TamberinCcAddin.TTransactionHook").call("Process", 0, 2000, till, info))
"""


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

    def tender(self, step, method, *args, hook=None):
        """The hook's call with the till's records where `...` stands."""
        with open(self.script, "w") as f:
            f.write(step + "\n")
        at = args.index(...)
        return (hook or self.hook).call(method, *args[:at], ByRef(self.till), ByRef(self.info),
                                        *args[at + 1:])

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
                (0, 1, True, "Process2", 990, 0, 0, ...),
                (1, 6, True, "Process", 2599, ...),
                (2, 4, True, "Process3", 15000, "ORDER 77", ...),
                (3, 5, True, "Process4", 14250, "ORDER 77", ..., True)]:
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

    def test_split_request_zero_tender_and_till_without_display_or_script_leave_it_unpaid(self):
        self.site.configure({"readerStates": [1]})  # no card ever comes
        self.assertFalse(self.tender("when cmdSplitTender is visible: click cmdSplitTender",
                                     "Process", 0, 2000, ...))
        self.assertFalse(self.tender("close the window", "Process2", 0, 0, 0, 0, ...))
        # A till process run as a service (no display), or told to draw offscreen: its window
        # must not wait for ever for nobody.
        env = {name: value for name, value in os.environ.items() if name not in
               ("DISPLAY", "WAYLAND_DISPLAY", "QT_QPA_PLATFORM", "CCADDIN_OPERATOR_SCRIPT")}
        for platform in ({}, {"QT_QPA_PLATFORM": "offscreen", "DISPLAY": ":0"}):
            service = subprocess.run([sys.executable, "-c", SERVICE_TILL, os.environ["CCADDIN_LIBRARY"]],
                                     env=dict(env, PYTHONPATH=os.path.dirname(ccaddin.__file__), **platform),
                                     capture_output=True, text=True, timeout=60)
            self.assertEqual(service.stdout, "False\n", service.stderr)
        self.assertEqual((self.info.lResponseCode, self.server(), os.path.getsize(self.paper)),
                         (0, [], 0))
        self.assertRegex(self.site.journal(), "(?s)Split tender is not available.*"
                         "Transaction value must be greater than 0.*no operator script")

    def test_a_card_the_server_stored_pays_again_without_the_card(self):
        accept = "when fraConfirm is visible: click cmdConfirmAuth"
        self.site.configure({"card": "visa_token", "readerStates": [3]})
        self.assertTrue(self.tender(accept, "Process", 0, 1250, ...))
        token = self.info.strToken
        self.assertTrue(token)
        stored = LIB.create("TamberinCcAddin.TTokenTransactionHook")
        try:
            # continuous authority; a pre-authorisation asked of a stored card pays back
            for kind, code, amount in [(0, 1, 1999), (2, 6, 500)]:
                with self.subTest(kind=kind):
                    self.assertTrue(self.tender(accept, "Process", kind, 2, amount, token, "1228",
                                                "SUB 4411", ..., hook=stored))
                    self.assertEqual(self.server()[-1], (self.info.lTransactionRefNo, 1, code, amount))
                    self.assertEqual((self.info.lResponseCode, self.info.strPanLast4Digits), (1, "0000"))
            self.assertFalse(self.tender(accept, "Process", 0, 2, 1999, token, "28/12", "", ...,
                                         hook=stored))
            self.assertEqual((self.info.lResponseCode, len(self.server())), (0, 3))
            self.assertIn('"28/12" is not MMYY', stored.strErrorMessage)
        finally:
            stored.close()
        for path in self.site.files():
            with open(path, "rb") as f:
                self.assertNotIn(token.encode(), f.read(), path)
