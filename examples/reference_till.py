#!/usr/bin/env python3
"""A reference till: how a point-of-sale program drives libccaddin.so through its C ABI,
with nothing but Python's ctypes (the binding is tests/e2e/ccaddin.py).

What it does today: fills in the till's TTillInformation, hands it to the component with
a TTransactionInfo by reference, and prints both records as the component sees them.
The card sale itself runs through TamberinCcAddin.TNonGuiTransactionHook2 (start a
session, card enquiry, authorise, confirm, end), which this library does not contain
yet; the till reports that and stops there instead of pretending to take a payment.

    CCADDIN_LIBRARY=build/debug/src/abi/libccaddin.so python3 examples/reference_till.py
"""

import os
import sys

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "e2e"))

import ccaddin  # noqa: E402  (the path above makes it importable)
from ccaddin import ByRef, CcaddinError  # noqa: E402

TILL_FIELDS = ["strMerchantName", "strAddressLine1", "strAddressLine2", "strAddressLine3",
               "strSitePhoneNumber", "strTillNumber", "strStoreNumber", "strReceiptNumber"]
TRANS_FIELDS = ["strAuthorisationCode", "lTransactionRefNo", "lResponseCode",
                "strPanFirst6Digits", "strPanLast4Digits", "strSchemeName",
                "strEmvAppicationLabel", "strEmvAppicationId", "strMerchantNo", "strTerminalId",
                "strCurrencyCode", "lCustomerVerification", "lCashbackAmount",
                "lDataEntryMethod", "lCardClass", "bFuelBunkerCard", "bPrintFuelBunkerTotal",
                "lCustomerMileage", "strCustomerRegNo", "strCustomerReceipt", "strToken",
                "strFuelProducts"]


def default_library():
    built = os.path.join(HERE, "..", "build", "debug", "src", "abi", "libccaddin.so")
    return os.environ.get("CCADDIN_LIBRARY") or os.path.normpath(built)


def print_record(title, record, fields):
    print(title)
    for name in fields:
        print(f"  {name:24} {record.get(name)!r}")


def main():
    lib = ccaddin.Library(default_library())

    till = lib.create("TamberinCcAddin.TTillInformation")
    till.strMerchantName = "Forecourt Café"
    till.strAddressLine1 = "1 High Street"
    till.strAddressLine2 = "Pétersfield"
    till.strAddressLine3 = "GU32 3AA"
    till.strSitePhoneNumber = "01730 000000"
    till.strTillNumber = "01"
    till.strStoreNumber = "0042"
    till.strReceiptNumber = "000123"
    info = lib.create("TamberinCcAddin.TTransactionInfo")

    amount = 1250  # £12.50 in pence
    print(f"Sale of £{amount / 100:.2f} at {till.strMerchantName}, till {till.strTillNumber}")

    try:
        hook = lib.create("TamberinCcAddin.TNonGuiTransactionHook2")
    except CcaddinError as e:
        if e.status != ccaddin.E_UNKNOWN_CLASS:
            raise
        print("The programmatic card interface (TNonGuiTransactionHook2) is not in this build"
              " of the library yet; no card payment was taken.")
        print_record("Till information as the component holds it:", till, TILL_FIELDS)
        print_record("Transaction record (untouched):", info, TRANS_FIELDS)
        return 0

    # The hook exists: the till's side of a card sale.
    if hook.call("StartTransaction") != 0:
        print("Could not start:", hook.strErrorMessage)
        return 1
    try:
        rc = hook.call("CardEnquiry", 0, 0, amount, ByRef(till))
        if rc in (0, 3):  # RETURNCODE_SUCCESS, RETURNCODE_CASHBACKALLOWED
            rc = hook.call("AuthoriseTransaction", 0, amount, 0, ByRef(till), ByRef(info))
        if rc != 0:
            print("Not authorised:", hook.strErrorMessage)
            return 1
        reference = hook.strTransactionReference
        print(hook.strMerchantReceipt)
        if not hook.call("ConfirmTransaction", 0, reference, "", ByRef(till), ByRef(info)):
            print("Confirmation failed:", hook.strErrorMessage)
            return 1
        print(info.strCustomerReceipt)
        print_record("Transaction record:", info, TRANS_FIELDS)
    finally:
        hook.call("EndTransaction")
    return 0


if __name__ == "__main__":
    sys.exit(main())
