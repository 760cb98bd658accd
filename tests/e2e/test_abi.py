"""The C ABI driven from Python as a till would drive it.

CCADDIN_LIBRARY is the product library; CCADDIN_TEST_LIBRARY the same library with the
TAbiProbe test class, which writes by-reference arguments and calls the till's objects.
"""

import ctypes
import gc
import os
import unittest

import ccaddin
from ccaddin import ByRef, CcaddinError, HostObject, NOTHING, NULL

TILL = "TamberinCcAddin.TTillInformation"
TRANS = "TamberinCcAddin.TTransactionInfo"
OLD_HOOK = "TamberinCcAddin.TNonGuiTransactionHook"
PROBE = "TamberinCcAddin.TAbiProbe"

TILL_PROPERTIES = ["strMerchantName", "strAddressLine1", "strAddressLine2", "strAddressLine3",
                   "strSitePhoneNumber", "strTillNumber", "strStoreNumber", "strReceiptNumber"]

# Every TTransactionInfo property with the value of a new record.
TRANS_DEFAULTS = {
    "strAuthorisationCode": "", "lTransactionRefNo": 0, "lResponseCode": 0,
    "strPanFirst6Digits": "", "strPanLast4Digits": "", "strSchemeName": "",
    "strEmvAppicationLabel": "", "strEmvAppicationId": "", "strMerchantNo": "",
    "strTerminalId": "", "strCurrencyCode": "", "lCustomerVerification": 0,
    "lCashbackAmount": 0, "lDataEntryMethod": 0, "lCardClass": 0, "bFuelBunkerCard": False,
    "bPrintFuelBunkerTotal": False, "lCustomerMileage": 0, "strCustomerRegNo": "",
    "strCustomerReceipt": "", "strToken": "", "strFuelProducts": "",
}

PRODUCT = ccaddin.Library(os.environ["CCADDIN_LIBRARY"])
TESTLIB = ccaddin.Library(os.environ["CCADDIN_TEST_LIBRARY"])


def raw_get(lib, obj, name):
    """The variant exactly as the C caller receives it: (type, payload)."""
    status, result, _ = lib.invoke_raw(obj.handle, name, ccaddin.GET, [])
    try:
        lib.check(status)
        payload = {ccaddin.VT_BOOL: result.u.boolean, ccaddin.VT_INT32: result.u.i32}
        return result.type, payload.get(result.type)
    finally:
        lib.dll.ccaddin_variant_clear(ctypes.byref(result))


class ClassesTest(unittest.TestCase):
    def test_every_registered_class_is_created_by_its_program_identifier(self):
        for progid in (TILL, TRANS, OLD_HOOK, TILL.upper()):
            obj = PRODUCT.create(progid)
            self.assertTrue(obj.handle)
            self.assertEqual(PRODUCT.last_error(), "")

    def test_unknown_classes_and_bad_identifiers_are_refused(self):
        for progid, status in (("TamberinCcAddin.TNoSuchHook", ccaddin.E_UNKNOWN_CLASS),
                               ("TTillInformation", ccaddin.E_UNKNOWN_CLASS),
                               (PROBE, ccaddin.E_UNKNOWN_CLASS),  # tests' library only
                               (b"TamberinCcAddin.T\xc3", ccaddin.E_INVALID_ARG),
                               (None, ccaddin.E_INVALID_ARG)):
            with self.assertRaises(CcaddinError) as caught:
                PRODUCT.create(progid)
            self.assertEqual(caught.exception.status, status, progid)
            self.assertNotEqual(caught.exception.message, "")
        with self.assertRaises(CcaddinError) as caught:
            PRODUCT.create("TamberinCcAddin.TNoSuchHook")
        self.assertIn("TamberinCcAddin.TNoSuchHook", caught.exception.message)

    def test_the_old_programmatic_hook_answers_false_and_empty_texts(self):
        hook = PRODUCT.create(OLD_HOOK)
        till, info = PRODUCT.create(TILL), PRODUCT.create(TRANS)
        self.assertIs(hook.call("AuthoriseTransaction", 0, 1250, ByRef(till), ByRef(info)), False)
        self.assertIs(hook.call("ConfirmTransaction", 0, "0000000042_20261123_1015", "",
                                ByRef(till), ByRef(info)), False)
        for name in ("strErrorMessage", "strMerchantReceipt", "strTransactionReference"):
            self.assertEqual(hook.get(name), "")
        self.assertEqual(raw_get(PRODUCT, info, "bFuelBunkerCard"), (ccaddin.VT_BOOL, 0))


class RecordPropertiesTest(unittest.TestCase):
    def test_a_new_transaction_info_has_every_property_with_its_default(self):
        info = PRODUCT.create(TRANS)
        for name, default in TRANS_DEFAULTS.items():
            self.assertEqual(info.get(name), default, name)
            self.assertIs(type(info.get(name)), type(default), name)
        till = PRODUCT.create(TILL)
        for name in TILL_PROPERTIES:
            self.assertEqual(till.get(name), "", name)

    def test_values_of_every_type_are_stored_and_coerced_like_typed_properties(self):
        info = PRODUCT.create(TRANS)
        info.lResponseCode = 1
        info.lTransactionRefNo = "77"       # text to Long
        info.lCashbackAmount = 2.5          # halves round to even
        info.strAuthorisationCode = 123456  # Long to text
        info.bFuelBunkerCard = True
        info.bPrintFuelBunkerTotal = 5      # any non-zero is True
        info.lCustomerMileage = None        # Empty reads as 0
        self.assertEqual(info.lResponseCode, 1)
        self.assertEqual(info.lTransactionRefNo, 77)
        self.assertEqual(info.lCashbackAmount, 2)
        self.assertEqual(info.strAuthorisationCode, "123456")
        self.assertEqual(info.lCustomerMileage, 0)
        # Booleans cross as COM booleans.
        self.assertEqual(raw_get(PRODUCT, info, "bFuelBunkerCard"), (ccaddin.VT_BOOL, -1))
        self.assertEqual(raw_get(PRODUCT, info, "bPrintFuelBunkerTotal"), (ccaddin.VT_BOOL, -1))
        self.assertEqual(raw_get(PRODUCT, info, "lResponseCode"), (ccaddin.VT_INT32, 1))

    def test_text_crosses_as_utf8_and_is_held_as_windows_1252(self):
        till = PRODUCT.create(TILL)
        till.strMerchantName = "Café Crème £4.50 €"
        self.assertEqual(till.strMerchantName, "Café Crème £4.50 €")
        till.strAddressLine1 = "日本橋 1"  # no Windows-1252 form
        self.assertEqual(till.strAddressLine1, "??? 1")
        with self.assertRaises(CcaddinError) as caught:
            till.put("strAddressLine1", b"Caf\xe9")  # Latin-1 bytes, not UTF-8
        self.assertEqual(caught.exception.status, ccaddin.E_INVALID_ARG)
        self.assertIn("UTF-8", caught.exception.message)
        self.assertEqual(till.strAddressLine1, "??? 1")


class ErrorsTest(unittest.TestCase):
    def expect(self, status, call):
        with self.assertRaises(CcaddinError) as caught:
            call()
        self.assertEqual(caught.exception.status, status)
        self.assertNotEqual(caught.exception.message, "")
        return caught.exception.message

    def test_each_kind_of_failure_has_its_own_code(self):
        info = PRODUCT.create(TRANS)
        hook = PRODUCT.create(OLD_HOOK)
        message = self.expect(ccaddin.E_UNKNOWN_MEMBER, lambda: info.get("strNoSuchThing"))
        self.assertEqual(message,
                         "Object doesn't support this property or method (strNoSuchThing)")
        self.expect(ccaddin.E_UNKNOWN_MEMBER, lambda: hook.put("strErrorMessage", "x"))
        self.expect(ccaddin.E_ARG_COUNT, lambda: info.get("strToken", 1))
        self.expect(ccaddin.E_ARG_COUNT, lambda: hook.call("AuthoriseTransaction", 0, 100))
        self.assertIn("Type mismatch",
                      self.expect(ccaddin.E_TYPE_MISMATCH, lambda: info.put("lCardClass", "fuel")))
        self.expect(ccaddin.E_TYPE_MISMATCH,
                    lambda: hook.call("AuthoriseTransaction", "sale", 100, info, info))
        self.expect(ccaddin.E_TYPE_MISMATCH, lambda: info.put("lCashbackAmount", NOTHING))
        probe = TESTLIB.create(PROBE)
        self.assertEqual(self.expect(ccaddin.E_FAILED, lambda: probe.call("Fail", "Papier £")),
                         "Papier £")
        self.assertEqual(info.strToken, "")
        self.assertEqual(PRODUCT.last_error(), "", "a success clears the message")

    def test_null_pointers_and_bad_tags_fail_cleanly(self):
        info = PRODUCT.create(TRANS)
        dll = PRODUCT.dll
        self.assertEqual(dll.ccaddin_invoke(info.handle, None, ccaddin.GET, None, 0, None),
                         ccaddin.E_INVALID_ARG)
        self.assertEqual(dll.ccaddin_invoke(None, b"strToken", ccaddin.GET, None, 0, None),
                         ccaddin.E_INVALID_ARG)
        self.assertEqual(dll.ccaddin_invoke(info.handle, b"strToken", 99, None, 0, None),
                         ccaddin.E_INVALID_ARG)
        self.assertEqual(dll.ccaddin_invoke(info.handle, b"strToken", ccaddin.PUT, None, 1, None),
                         ccaddin.E_INVALID_ARG)
        for bad in (ccaddin.Variant(type=42), ccaddin.Variant(type=ccaddin.VT_STRING)):
            status, result, _ = PRODUCT.invoke_raw(info.handle, "strToken", ccaddin.PUT, [bad])
            self.assertEqual(status, ccaddin.E_INVALID_ARG)
            self.assertEqual(result.type, ccaddin.VT_EMPTY)
        self.assertEqual(dll.ccaddin_create(b"x", None), ccaddin.E_INVALID_ARG)
        self.assertEqual(dll.ccaddin_host_object_create(None, None, None), ccaddin.E_INVALID_ARG)
        self.assertEqual(dll.ccaddin_addref(None), ccaddin.E_INVALID_ARG)
        self.assertEqual(dll.ccaddin_release(None), ccaddin.OK)
        self.assertEqual(info.strToken, "", "the object is unharmed")


class ByReferenceTest(unittest.TestCase):
    def test_members_write_back_only_what_was_passed_by_reference(self):
        probe = TESTLIB.create(PROBE)
        till = TESTLIB.create(TILL)
        first, second = ByRef("Zoë"), ByRef(till)
        probe.call("Swap", first, second)
        self.assertTrue(first.value.same_as(till))
        self.assertEqual(second.value, "Zoë")
        by_value = ByRef(1)
        probe.call("Swap", by_value, 2.5)
        self.assertEqual(by_value.value, 2.5)

    def test_every_variant_type_makes_the_round_trip(self):
        probe = TESTLIB.create(PROBE)
        till = TESTLIB.create(TILL)
        for value in (None, NULL, True, False, -2**31, 2**31 - 1, 2.675, "£é", NOTHING):
            back = probe.call("Echo", value)
            self.assertEqual(back, value)
            self.assertIs(type(back), type(value))
        self.assertTrue(probe.call("Echo", till).same_as(till))
        with self.assertRaises(OverflowError):
            probe.call("Echo", 2**31)


class Sale(HostObject):
    """A till's sale object with a total, a by-reference rounding and a record-like face."""

    def __init__(self):
        self.calls = []
        self.props = {"strMerchantName": "Fuel £td"}
        self.gone = False

    def invoke(self, name, kind, args):
        self.calls.append((name, kind, [a.value for a in args]))
        if name == "Total":
            return 1250
        if name == "Round":
            args[0].value = 1300
            return True
        if name == "Explode":
            raise ValueError("till database locked")
        if kind == ccaddin.PUT:
            self.props[name] = args[-1].value
            return None
        if name in self.props or name.startswith("str"):
            return self.props.get(name, "")
        raise CcaddinError(ccaddin.E_UNKNOWN_MEMBER, f"no {name} on the sale")

    def destroyed(self):
        self.gone = True


class HostObjectsTest(unittest.TestCase):
    def test_the_component_calls_the_tills_object_by_name(self):
        probe, sale = TESTLIB.create(PROBE), Sale()
        self.assertEqual(probe.call("Invoke", sale, "Total", ccaddin.GET), 1250)
        amount = ByRef(1250)
        self.assertIs(probe.call("Invoke", sale, "Round", ccaddin.METHOD, amount), True)
        self.assertEqual(amount.value, 1300)
        probe.call("Invoke", sale, "strCustomerRegNo", ccaddin.PUT, "AB12 CDÉ")
        self.assertEqual(sale.props["strCustomerRegNo"], "AB12 CDÉ")
        self.assertEqual(sale.calls[0], ("Total", ccaddin.GET, []))

        with self.assertRaises(CcaddinError) as caught:
            probe.call("Invoke", sale, "Explode", ccaddin.METHOD)
        self.assertEqual(caught.exception.status, ccaddin.E_FAILED)
        self.assertEqual(caught.exception.message, "ValueError: till database locked")
        with self.assertRaises(CcaddinError) as caught:
            probe.call("Invoke", sale, "Refund", ccaddin.METHOD)
        self.assertEqual(caught.exception.status, ccaddin.E_UNKNOWN_MEMBER)
        self.assertIn("no Refund on the sale", caught.exception.message)

    def test_records_are_read_and_filled_on_the_tills_own_objects(self):
        probe, sale = TESTLIB.create(PROBE), Sale()
        self.assertEqual(probe.call("ReadTillMerchant", sale), "Fuel £td")
        self.assertEqual(sorted(c[0] for c in sale.calls), sorted(TILL_PROPERTIES))
        probe.call("WriteTransInfo", sale)
        self.assertEqual(set(sale.props) - {"strMerchantName"}, set(TRANS_DEFAULTS))
        self.assertEqual(sale.props["strAuthorisationCode"], "A£1")
        self.assertIs(sale.props["bFuelBunkerCard"], True)
        self.assertEqual(sale.props["lTransactionRefNo"], 4321)


class ReferenceCountingTest(unittest.TestCase):
    def test_a_host_object_lives_while_the_till_or_the_component_holds_it(self):
        probe, sale = TESTLIB.create(PROBE), Sale()
        handle = TESTLIB.host_object(sale)
        probe.call("Keep", handle)
        handle.close()
        gc.collect()
        self.assertFalse(sale.gone)
        probe.call("Drop")
        gc.collect()
        self.assertTrue(sale.gone)

    def test_references_are_counted_per_handle(self):
        till = PRODUCT.create(TILL)
        dll = PRODUCT.dll
        self.assertEqual(dll.ccaddin_addref(till.handle), ccaddin.OK)
        self.assertEqual(dll.ccaddin_release(till.handle), ccaddin.OK)
        till.strTillNumber = "07"  # still alive with the one reference left
        self.assertEqual(till.strTillNumber, "07")
        probe = TESTLIB.create(PROBE)
        mine = TESTLIB.create(TILL)
        a, b = probe.call("Echo", mine), probe.call("Echo", mine)
        self.assertNotEqual(a.handle, b.handle)
        self.assertTrue(a.same_as(b))
        self.assertFalse(a.same_as(TESTLIB.create(TILL)))
        a.close()
        self.assertEqual(b.strMerchantName, "")


if __name__ == "__main__":
    unittest.main()
