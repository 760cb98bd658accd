#!/usr/bin/env python3
"""A reference till: how a point-of-sale program drives libccaddin.so through its C ABI,
with nothing but Python's ctypes (the binding is ccaddin.py beside it).

It runs one card sale the way a till without the component's window does, through
TamberinCcAddin.TNonGuiTransactionHook2: start the session, ask for the card (chip or tap,
the stripe when the chip cannot be read), authorise, confirm by the reference the
authorisation published, end the session; then it prints both receipts and the record.

The settings come from the registry store the component always reads ($CCADDIN_REGISTRY).
A demo site with the built-in simulator is made by `ccaddin-till setup`:

    eval "$(build/debug/apps/ccaddin-till setup --print-env)"
    CCADDIN_LIBRARY=build/debug/src/abi/libccaddin.so python3 examples/reference_till.py 12.50
"""

import argparse
import os
import sys

import ccaddin
from ccaddin import ByRef

HERE = os.path.dirname(os.path.abspath(__file__))

SALE = 0                                  # TAMBERIN_TRANSACTIONTYPE
CHIP_OR_TAP, SWIPE = 0, 1                 # TRANSACTION_DATAENTRY
SUCCESS, MAGSTRIPE_FALLBACK, CASHBACK_ALLOWED = 0, 2, 3  # TRANSACTION_RETURNCODE
AUTHORISED, DECLINED = 0, 1               # TRANSACTION_CONFIRMTYPE
RC_AUTHORISED = 1                         # TRANSINFO_RESPONSECODE

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


def main(argv):
    parser = argparse.ArgumentParser(description="Run one card sale through libccaddin.so.")
    parser.add_argument("amount", nargs="?", default="12.50", help="sale amount, e.g. 12.50")
    parser.add_argument("--cashback", default="0", help="cashback amount, e.g. 5.00")
    args = parser.parse_args(argv)
    amount = round(float(args.amount) * 100)      # minor units (pence)
    cashback = round(float(args.cashback) * 100)

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
    hook = lib.create("TamberinCcAddin.TNonGuiTransactionHook2")

    print(f"Sale of £{amount / 100:.2f} at {till.strMerchantName}, till {till.strTillNumber}")
    if hook.call("StartTransaction") != 0:
        print("Could not start:", hook.strErrorMessage)
        return 1
    try:
        rc = hook.call("CardEnquiry", SALE, CHIP_OR_TAP, amount, ByRef(till))
        if rc == MAGSTRIPE_FALLBACK:
            print("The chip could not be read: swipe the card")
            rc = hook.call("CardEnquiry", SALE, SWIPE, amount, ByRef(till))
        if rc not in (SUCCESS, CASHBACK_ALLOWED):
            print("Card not read:", hook.strErrorMessage or "fall back to the stripe")
            return 1
        if cashback and rc != CASHBACK_ALLOWED:
            print("This card cannot take cashback; the sale goes through without it")
            cashback = 0
        rc = hook.call("AuthoriseTransaction", SALE, amount, cashback, ByRef(till), ByRef(info))
        if rc != SUCCESS:
            print("Not authorised:", hook.strErrorMessage or "fall back to the stripe")
            return 1
        # The request went through; the issuer's verdict is in the record. The till keeps the
        # reference with its sale and confirms it: authorised once the goods are handed
        # over, declined when the issuer said no (a referral is not taken by this till).
        reference = hook.strTransactionReference
        print("Transaction reference:", reference)
        approved = info.lResponseCode == RC_AUTHORISED
        verdict = AUTHORISED if approved else DECLINED
        if not hook.call("ConfirmTransaction", verdict, reference, "", ByRef(till), ByRef(info)):
            print("Confirmation failed:", hook.strErrorMessage)
            return 1
        print("--- merchant receipt ---")
        print(hook.strMerchantReceipt.replace("\r\n", "\n").replace("\r", "\n"))
        print("--- customer receipt ---")
        print(info.strCustomerReceipt.replace("\r\n", "\n").replace("\r", "\n"))
        print_record("Transaction record:", info, TRANS_FIELDS)
        if not approved:
            print("Declined by the card issuer: no payment was taken")
            return 1
    finally:
        hook.call("EndTransaction")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
