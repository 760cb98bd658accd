"""The C ABI driven from Python as a till would drive it, through the ctypes bindings.

The codes, variant tags, by-reference write-back and reference counting are tested at the C
level in tests/abi; these cases cover what only a Python till sees: the bindings' own
conversions, Python exceptions from till objects, garbage collection of host objects, and the
product library without the test-only class.
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
    def test_the_product_library_creates_its_classes_but_not_the_test_probe(self):
        for progid in (TILL, TRANS, OLD_HOOK, TILL.upper()):
            self.assertTrue(PRODUCT.create(progid).handle)
        with self.assertRaises(CcaddinError) as caught:
            PRODUCT.create(PROBE)
        self.assertEqual(caught.exception.status, ccaddin.E_UNKNOWN_CLASS)

    def test_the_old_programmatic_hook_answers_false_and_empty_texts(self):
        hook = PRODUCT.create(OLD_HOOK)
        till, info = PRODUCT.create(TILL), PRODUCT.create(TRANS)
        self.assertIs(hook.call("AuthoriseTransaction", 0, 1250, ByRef(till), ByRef(info)), False)
        self.assertIs(hook.call("ConfirmTransaction", 0, "0000000042_20261123_1015", "",
                                ByRef(till), ByRef(info)), False)
        for name in ("strErrorMessage", "strMerchantReceipt", "strTransactionReference"):
            self.assertEqual(hook.get(name), "")


class RecordPropertiesTest(unittest.TestCase):
    def test_a_new_transaction_info_has_every_property_with_its_default(self):
        info = PRODUCT.create(TRANS)
        for name, default in TRANS_DEFAULTS.items():
            with self.subTest(name):
                self.assertEqual(info.get(name), default)
                self.assertIs(type(info.get(name)), type(default))

    def test_values_of_every_type_are_stored_and_coerced_like_typed_properties(self):
        info = PRODUCT.create(TRANS)
        info.lTransactionRefNo = "77"       # text to Long
        info.lCashbackAmount = 2.5          # halves round to even
        info.strAuthorisationCode = 123456  # Long to text
        info.bPrintFuelBunkerTotal = 5      # any non-zero is True
        info.lCustomerMileage = None        # Empty reads as 0
        self.assertEqual(info.lTransactionRefNo, 77)
        self.assertEqual(info.lCashbackAmount, 2)
        self.assertEqual(info.strAuthorisationCode, "123456")
        self.assertEqual(info.lCustomerMileage, 0)
        self.assertEqual(raw_get(PRODUCT, info, "bPrintFuelBunkerTotal"), (ccaddin.VT_BOOL, -1))
        with self.assertRaises(CcaddinError) as caught:
            info.put("lCashbackAmount", NOTHING)
        self.assertEqual(caught.exception.status, ccaddin.E_TYPE_MISMATCH)

    def test_text_crosses_as_utf8_and_is_held_as_windows_1252(self):
        till = PRODUCT.create(TILL)
        till.strMerchantName = "Café Crème £4.50 €"
        self.assertEqual(till.strMerchantName, "Café Crème £4.50 €")
        till.strAddressLine1 = "日本橋 1"  # no Windows-1252 form
        self.assertEqual(till.strAddressLine1, "??? 1")


class ByReferenceTest(unittest.TestCase):
    def test_members_write_back_only_what_was_passed_by_reference(self):
        probe = TESTLIB.create(PROBE)
        till = TESTLIB.create(TILL)
        first, second = ByRef("Zoë"), ByRef(till)
        probe.call("Swap", first, second)
        self.assertTrue(first.value.same_as(till))
        self.assertEqual(second.value, "Zoë")

    def test_every_variant_type_makes_the_round_trip(self):
        probe = TESTLIB.create(PROBE)
        till = TESTLIB.create(TILL)
        for value in (None, NULL, True, False, -2**31, 2**31 - 1, 2.675, "£é", NOTHING):
            with self.subTest(value=value):
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

        # A Python exception in the till's object reaches the component as a failure.
        for member, status, text in (("Explode", ccaddin.E_FAILED, "ValueError: till database locked"),
                                     ("Refund", ccaddin.E_UNKNOWN_MEMBER, "no Refund on the sale")):
            with self.subTest(member), self.assertRaises(CcaddinError) as caught:
                probe.call("Invoke", sale, member, ccaddin.METHOD)
            self.assertEqual(caught.exception.status, status)
            self.assertIn(text, caught.exception.message)

    def test_records_are_read_and_filled_on_the_tills_own_objects(self):
        probe, sale = TESTLIB.create(PROBE), Sale()
        self.assertEqual(probe.call("ReadTillMerchant", sale), "Fuel £td")
        self.assertEqual(sorted(c[0] for c in sale.calls), sorted(TILL_PROPERTIES))
        probe.call("WriteTransInfo", sale)
        self.assertEqual(set(sale.props) - {"strMerchantName"}, set(TRANS_DEFAULTS))
        self.assertIs(sale.props["bFuelBunkerCard"], True)


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


if __name__ == "__main__":
    unittest.main()
