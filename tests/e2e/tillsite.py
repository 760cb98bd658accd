"""A till's site for one end-to-end test: a fresh folder holding the registry database (made
with ccaddin-reg, as an installer would), the payment-client configuration for the built-in
simulator, the receipt folder and the journal. CCADDIN_REGISTRY points at it while it lives.
"""

import contextlib
import json
import os
import re
import shutil
import sqlite3
import subprocess
import tempfile

# A card number in clear: any run of 13 to 19 digits that passes the check digit, but for
# the component's time stamps (YYYYMMDDHHMMSS), which no card number reads like.
CARD_NUMBER = re.compile(rb"(?<![0-9])[0-9]{13,19}(?![0-9])")
TIME_STAMP = re.compile(rb"(19|20)[0-9]{2}(0[1-9]|1[0-2])(0[1-9]|[12][0-9]|3[01])"
                        rb"([01][0-9]|2[0-3])[0-5][0-9][0-5][0-9]")


def luhn_valid(digits):
    total = 0
    for i, d in enumerate(reversed(digits)):
        n = (d - 48) * (2 if i % 2 else 1)
        total += n - 9 if n > 9 else n
    return total % 10 == 0


def values_in(path):
    """The file's bytes; an SQLite file value by value, since its pages put unrelated values
    side by side (two time stamps in a row can pass the check)."""
    if path.endswith(("-wal", "-shm", "-journal")):
        return []  # read through the database they belong to
    with open(path, "rb") as f:
        data = f.read()
    if not data.startswith(b"SQLite format 3\0"):
        return [data]
    with contextlib.closing(sqlite3.connect(f"file:{path}?mode=ro", uri=True)) as db:
        tables = [t for (t,) in db.execute("SELECT name FROM sqlite_master WHERE type='table'")]
        return [str(v).encode("utf-8", "replace") if not isinstance(v, bytes) else v
                for t in tables for row in db.execute(f'SELECT * FROM "{t}"') for v in row]


class TillSite:
    def __init__(self, config=None, settings=None):
        base = os.environ.get("CCADDIN_TEST_TMP") or tempfile.gettempdir()
        os.makedirs(base, exist_ok=True)
        self.folder = tempfile.mkdtemp(prefix="e2e-till-", dir=base)
        self.config_folder = os.path.join(self.folder, "config") + "/"
        self.receipt_folder = os.path.join(self.folder, "receipts") + "/"
        os.makedirs(self.config_folder)
        self.registry = os.path.join(self.folder, "registry.db")
        values = {
            "ConfigFileLocation": self.config_folder,
            "ConfigFileName": "qlclient.json",
            "ReceiptFileLocation": self.receipt_folder,
            "BaseCurrency": "826",
            "BaseCurrencyExponent": "2",
            "SaveReceipts": "0",
            "CashbackEnabled": "0",
            "ExternalSwipe": "1",
        }
        values.update(settings or {})
        self.import_settings(values)
        # The card is in the reader at the first poll: no 300 ms pauses in the tests.
        self.configure(config if config is not None else {"readerStates": [3]})
        self._previous = os.environ.get("CCADDIN_REGISTRY")
        os.environ["CCADDIN_REGISTRY"] = self.registry

    def import_settings(self, values):
        lines = ["REGEDIT4", "", r"[HKEY_LOCAL_MACHINE\SOFTWARE\Tamberin\ccaddin]"]
        lines += [f'"{name}"="{value}"' for name, value in values.items()]
        reg_file = os.path.join(self.folder, "settings.reg")
        with open(reg_file, "w", encoding="cp1252") as f:
            f.write("\r\n".join(lines) + "\r\n")
        tool = os.environ["CCADDIN_REG"]
        for args in (["init"], ["import", reg_file]):
            subprocess.run([tool, "--db", self.registry, *args], check=True,
                           capture_output=True, timeout=30)

    def configure(self, config):
        with open(os.path.join(self.config_folder, "qlclient.json"), "w") as f:
            json.dump(config, f)

    def files(self):
        for root, _, names in os.walk(self.folder):
            for name in names:
                yield os.path.join(root, name)

    def files_with_a_card_number(self):
        found = []
        for path in self.files():
            for value in values_in(path):
                found += [(path, m.group().decode()) for m in CARD_NUMBER.finditer(value)
                          if luhn_valid(m.group()) and not TIME_STAMP.fullmatch(m.group())]
        return found

    def journal(self):
        path = os.path.join(self.config_folder, "tamberincreditcard.log")
        with open(path, "rb") as f:
            return f.read().decode("cp1252")

    def close(self):
        if self._previous is None:
            os.environ.pop("CCADDIN_REGISTRY", None)
        else:
            os.environ["CCADDIN_REGISTRY"] = self._previous
        shutil.rmtree(self.folder, ignore_errors=True)
