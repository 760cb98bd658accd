"""Card transactions through TNonGuiTransactionHook2 in libccaddin.so, driven as a till drives
them, against the built-in simulator. After every test no file the component wrote may hold
a full card number.
"""

import os
import threading
import time
import unittest

import ccaddin
from ccaddin import ByRef, CcaddinError, NOTHING
from tillsite import TillSite

HOOK = "TamberinCcAddin.TNonGuiTransactionHook2"
LIB = ccaddin.Library(os.environ["CCADDIN_LIBRARY"])

SALE, REFUND, PREAUTH, FINALAUTH = 0, 1, 2, 3
CHIP_OR_TAP, SWIPE = 0, 1
SUCCESS, FAILED, FALLBACK, CASHBACK_ALLOWED = 0, 1, 2, 3
AUTHORISED, DECLINED, CANCELLED = 0, 1, 2


class TillCase(unittest.TestCase):
    config = None
    settings = None

    def setUp(self):
        self.site = TillSite(self.config, self.settings)
        self.till = LIB.create("TamberinCcAddin.TTillInformation")
        self.till.strMerchantName = "E2E CAFÉ"
        self.till.strAddressLine1 = "1 High Street"
        self.till.strStoreNumber = "42"
        self.till.strTillNumber = "7"
        self.till.strReceiptNumber = "1001"
        self.info = LIB.create("TamberinCcAddin.TTransactionInfo")
        self.hook = LIB.create(HOOK)

    def tearDown(self):
        self.hook.call("EndTransaction")
        self.hook.close()
        self.assertEqual(self.site.files_with_a_card_number(), [])
        self.site.close()

    def start(self):
        self.assertEqual(self.hook.call("StartTransaction"), 0, self.hook.strErrorMessage)

    def enquire(self, amount, kind=SALE, entry=CHIP_OR_TAP):
        return self.hook.call("CardEnquiry", kind, entry, amount, ByRef(self.till))

    def authorise(self, amount, cashback=0, kind=SALE):
        return self.hook.call("AuthoriseTransaction", kind, amount, cashback, ByRef(self.till),
                              ByRef(self.info))

    def confirm(self, reference, kind=AUTHORISED, auth_code="", info=None):
        return self.hook.call("ConfirmTransaction", kind, reference, auth_code, ByRef(self.till),
                              ByRef(info or self.info))

    def sale(self, amount, cashback=0, kind=SALE, entry=CHIP_OR_TAP):
        self.start()
        self.assertIn(self.enquire(amount, kind, entry), (SUCCESS, CASHBACK_ALLOWED),
                      self.hook.strErrorMessage)
        self.assertEqual(self.authorise(amount, cashback, kind), SUCCESS,
                         self.hook.strErrorMessage)
        return self.hook.strTransactionReference


class SaleTest(TillCase):
    settings = {"CashbackEnabled": "1"}

    def test_sale_authorised_confirmed_with_both_receipts(self):
        reference = self.sale(1250)
        self.assertRegex(reference, r"^\d{10}_\d{8}_\d{4}$")
        self.assertTrue(os.path.exists(os.path.join(self.site.receipt_folder, reference + ".rcpt")))
        merchant = self.hook.strMerchantReceipt
        self.assertIn("E2E CAFÉ", merchant)
        self.assertIn("12.50", merchant)
        self.assertEqual(self.info.strPanLast4Digits, "0010")
        self.assertGreater(self.info.lTransactionRefNo, 0)

        self.assertTrue(self.confirm(reference, AUTHORISED, "A1B2C3"), self.hook.strErrorMessage)
        customer = self.info.strCustomerReceipt
        self.assertIn("12.50", customer)
        self.assertEqual(self.info.strAuthorisationCode, "A1B2C3")
        self.assertIn("A1B2C3", self.hook.strMerchantReceipt)
        self.assertIn(reference, self.site.journal())

    def test_sale_with_cashback_is_offered_and_sent_as_a_cashback_sale(self):
        self.start()
        self.assertEqual(self.enquire(2000), CASHBACK_ALLOWED)
        self.assertEqual(self.authorise(2000, 500), SUCCESS, self.hook.strErrorMessage)
        self.assertIn("5.00", self.hook.strMerchantReceipt)

    def test_refund_pre_authorisation_and_final_authorisation(self):
        for kind in (REFUND, PREAUTH, FINALAUTH):
            with self.subTest(kind=kind):
                reference = self.sale(3000, kind=kind)
                self.assertTrue(self.confirm(reference), self.hook.strErrorMessage)
                self.assertIn("30.00", self.info.strCustomerReceipt)

    def test_swipe_is_enquired_without_waiting_for_the_reader(self):
        self.site.configure({"card": "visa_swipe"})
        reference = self.sale(800, entry=SWIPE)
        self.assertTrue(self.confirm(reference))
        self.assertEqual(self.info.strPanLast4Digits, "1111")

    def test_enquiry_needed_repeats_the_enquiry_and_is_authorised(self):
        reference = self.sale(10009)
        self.assertTrue(self.confirm(reference), self.hook.strErrorMessage)


class OutcomeTest(TillCase):
    def test_reader_outcomes_fallback_and_card_not_accepted(self):
        cases = [("mc_fallback", 3, FALLBACK, ""),           # chip unreadable: use the stripe
                 ("mc_must_swipe", 10, FALLBACK, ""),       # reader asks for the stripe
                 ("discover_not_accepted", 11, FAILED, "CARD NOT ACCEPTED")]
        for card, state, result, message in cases:
            with self.subTest(card=card):
                self.site.configure({"card": card, "readerStates": [state]})
                self.start()
                self.assertEqual(self.enquire(1000), result)
                self.assertEqual(self.hook.strErrorMessage, message)
                self.hook.call("EndTransaction")
        self.assertIn("Fallback to magstripe", self.site.journal())

    def test_fallback_asked_at_authorisation(self):
        self.start()
        self.assertEqual(self.enquire(10004), SUCCESS)
        self.assertEqual(self.authorise(10004), FALLBACK)
        self.assertEqual(self.hook.strTransactionReference, "")

    def test_confirm_declined_and_cancelled(self):
        for kind in (DECLINED, CANCELLED):
            with self.subTest(kind=kind):
                reference = self.sale(1500)
                info = LIB.create("TamberinCcAddin.TTransactionInfo")
                self.assertTrue(self.confirm(reference, kind, info=info), self.hook.strErrorMessage)
                self.assertNotEqual(info.strCustomerReceipt, "")
                self.assertNotEqual(self.hook.strMerchantReceipt, "")

    def test_unknown_reference_is_not_confirmed_and_nothing_is_sent(self):
        self.start()
        self.assertFalse(self.confirm("0000009999_20260101_1200"))
        self.assertEqual(self.hook.strErrorMessage, "READ TRANSACTION FROM FILE FAILED")
        self.assertEqual(self.info.strCustomerReceipt, "")


class AbortTest(TillCase):
    config = {"readerStates": [1]}  # waiting for a card that never comes

    def test_abort_from_the_till_stops_the_card_wait(self):
        self.start()
        aborter = threading.Timer(0.4, lambda: self.hook.call("AbortTransaction"))
        began = time.monotonic()
        aborter.start()
        try:
            self.assertEqual(self.enquire(1000), FAILED)
        finally:
            aborter.join()
        self.assertLess(time.monotonic() - began, 5)
        self.assertEqual(self.hook.strErrorMessage, "ABORTED BY OPERATOR")
        self.assertIn("Transaction aborted by operator", self.site.journal())


class LostConnectionTest(TillCase):
    settings = {"SemiIntegrated": "1"}

    def fault(self, operation, **extra):
        entry = {"operation": operation, "result": 1, "count": 0, "errorCode": 30003,
                 "errorText": "SERVER CLOSED THE CONNECTION"}
        entry.update(extra)
        self.site.configure({"readerStates": [3], "faults": [entry]})

    def test_each_request_losing_the_connection_fails_with_its_text(self):
        cases = [
            ("Session.Connect", "start", "SERVER CONNECTION FAILED"),
            ("Login.Login", "start", "LOGIN FAILED"),
            ("TransactionStart.Start", "enquire", "AUTHORISATION FAILED"),
            ("CardReaderStatus.Poll", "enquire", "CARDREADER UNAVAILABLE"),
            ("CardEnquiry.Enquire", "enquire", "CARDENQUIRY FAILED"),
            ("Processor.Process", "authorise", "AUTHORISATION FAILED"),
            ("Confirm.Confirm", "confirm", "CONFIRMATION FAILED"),
        ]
        for operation, step, message in cases:
            with self.subTest(operation=operation):
                reference = self.sale(1000) if step == "confirm" else None
                self.fault(operation, result=3 if operation == "Login.Login" else 1)
                if step == "start":
                    self.assertEqual(self.hook.call("StartTransaction"), 1)
                elif step == "enquire":
                    self.start()
                    self.assertEqual(self.enquire(1000), FAILED)
                elif step == "authorise":
                    self.start()
                    self.assertEqual(self.enquire(1000), SUCCESS)
                    self.assertEqual(self.authorise(1000), FAILED)
                    self.assertEqual(self.hook.strTransactionReference, "")
                else:
                    self.start()
                    self.assertFalse(self.confirm(reference))
                self.assertEqual(self.hook.strErrorMessage, message)
                if step != "start":  # a session that never started journals no outcome
                    self.assertIn(message, self.site.journal())
                self.hook.call("EndTransaction")
                self.site.configure({"readerStates": [3]})

    def test_lost_connection_magic_amounts(self):
        for amount in (30001, 30003, 30006, 30056, 10200):
            with self.subTest(amount=amount):
                self.start()
                self.assertEqual(self.enquire(amount), SUCCESS)
                self.assertEqual(self.authorise(amount), FAILED)
                self.assertEqual(self.hook.strErrorMessage, "AUTHORISATION FAILED")


class BadInputTest(TillCase):
    def test_wrong_argument_types_and_missing_objects_are_refused(self):
        self.start()
        with self.assertRaises(CcaddinError) as e:
            self.hook.call("CardEnquiry", SALE, CHIP_OR_TAP, "ten pounds", ByRef(self.till))
        self.assertEqual(e.exception.status, ccaddin.E_TYPE_MISMATCH)
        with self.assertRaises(CcaddinError) as e:
            self.hook.call("CardEnquiry", SALE, CHIP_OR_TAP, 100, ByRef(NOTHING))
        self.assertEqual(e.exception.status, ccaddin.E_FAILED)
        with self.assertRaises(CcaddinError) as e:
            self.hook.call("CardEnquiry", SALE, CHIP_OR_TAP, 100)
        self.assertEqual(e.exception.status, ccaddin.E_ARG_COUNT)
        with self.assertRaises(CcaddinError) as e:
            self.hook.call("ConfirmTransaction", 0, b"\xff\xfe", "", ByRef(self.till),
                           ByRef(self.info))
        self.assertEqual(e.exception.status, ccaddin.E_INVALID_ARG)
        # An authorisation whose record object is missing never reaches the server.
        self.assertEqual(self.enquire(100), SUCCESS)
        with self.assertRaises(CcaddinError):
            self.hook.call("AuthoriseTransaction", SALE, 100, 0, ByRef(self.till), ByRef(NOTHING))
        self.assertEqual(os.listdir(self.site.receipt_folder), [])


if __name__ == "__main__":
    unittest.main()
