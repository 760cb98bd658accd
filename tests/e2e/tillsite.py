"""A till's site for one end-to-end test: a fresh folder holding the registry database (made
with ccaddin-reg, as an installer would), the payment-client configuration for the built-in
simulator, the receipt folder and the journal. CCADDIN_REGISTRY points at it while it lives.
"""

import json
import os
import shutil
import subprocess
import tempfile

# Every card number of the simulator's catalogue: none may appear in a file the component
# wrote.
CATALOGUE_PANS = [
    "4761739001010010", "5413330089010434", "4761739001010119", "5413330089020011",
    "4111111111111111", "374245455400126", "5555555555554444", "6011000990139424",
    "2223000048400011", "4012888888881881", "4917610000000000", "4000056655665556",
    "5105105105105100", "7002900000000012", "7002900000000020", "4988080000000000",
]


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
            with open(path, "rb") as f:
                data = f.read()
            found += [(path, pan) for pan in CATALOGUE_PANS if pan.encode() in data]
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
