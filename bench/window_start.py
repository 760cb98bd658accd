#!/usr/bin/env python3
"""A till's whole process tendering a card sale through the C ABI, the transaction window
drawn by Qt offscreen and answered by an operator script (window_tender_process: load the
library, connect, wait for the card, enquire, authorise, print, accept, confirm, print, log
out, exit), against bare_qt_dialog (one dialog of 40 buttons, the floor), run alternately.
Prints the median wall time and the peak resident memory of each.

    bench/window_start.py build/release [runs]
"""
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(__file__), "..", "tests", "e2e"))
from forms_start import against_floor  # noqa: E402
from tillsite import TillSite  # noqa: E402


def main():
    build = sys.argv[1] if len(sys.argv) > 1 else "build/release"
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    os.environ.setdefault("CCADDIN_REG", os.path.join(build, "apps", "ccaddin_reg", "ccaddin-reg"))
    site = TillSite(settings={"CardReaderStatusEnabled": "1", "CardEnquiryEnabled": "1",
                              "PrinterType": "1", "OPOSPrinterDeviceName": "Bench"})
    try:
        printers = os.path.join(site.folder, "printers.json")
        with open(printers, "w") as f:
            f.write('{"Bench": {"device": "/dev/null"}}')
        script = os.path.join(site.folder, "operator")
        with open(script, "w") as f:
            f.write("when fraConfirm is visible: click cmdConfirmAuth\n")
        env = dict(os.environ, QT_QPA_PLATFORM="offscreen", CCADDIN_PRINTERS=printers,
                   CCADDIN_OPERATOR_SCRIPT=script, CCADDIN_OPERATOR_DISPLAY="1")
        against_floor(os.path.join(build, "bench"), "window_tender_process", env, runs)
    finally:
        site.close()


if __name__ == "__main__":
    main()
