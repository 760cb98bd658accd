#!/usr/bin/env python3
"""Measures the add-in against a peer doing the same work, in one run, as whole processes.

    bench/peers.py report [--build DIR] [--runs N] [--records N]
        X/Z report totals of a generated data file: `ccaddin-support report` against
        `mawk` adding up the same file.
    bench/peers.py sale [--build DIR] [--runs N]
        One programmatic card sale through the C ABI: the C till of examples/ (start,
        card enquiry, authorise, confirm, end on the built-in simulator) against a
        process that only loads libccaddin.so.
    bench/peers.py purge [--build DIR] [--runs N] [--files N]
        The daily purge of a folder of old *.rcpt files (and a few others it keeps):
        the add-in's purge against `find FOLDER -name '*.rcpt' -delete`.

Each run alternates the add-in and its peer, so that a busy machine slows both alike.
CPU is user plus system time of the process (from wait4), the fair figure on a shared
machine; wall time is shown beside it. Figures are medians over the runs; the ratio is
the add-in's median CPU over the peer's. Build the release preset first. Not part of
the test command.
"""

import argparse
import os
import shutil
import statistics
import subprocess
import sys
import tempfile

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))


def run_timed(argv, stdout=subprocess.DEVNULL, env=None, cwd=None):
    """Runs argv to the end (exiting when it fails); returns (cpu_seconds, wall_seconds)."""
    start = os.times().elapsed
    proc = subprocess.Popen(argv, stdout=stdout, stderr=subprocess.PIPE, env=env, cwd=cwd)
    _, status, usage = os.wait4(proc.pid, 0)
    wall = os.times().elapsed - start
    proc.returncode = os.waitstatus_to_exitcode(status)
    if proc.returncode != 0:
        sys.exit(f"{' '.join(argv)} failed ({proc.returncode}): {proc.stderr.read().decode()}")
    proc.stderr.close()
    return usage.ru_utime + usage.ru_stime, wall


def report_table(title, rows, runs):
    """rows: (name, cpu list, wall list); the first row is the add-in, the second its peer."""
    print(f"\n{title} (medians of {runs} runs)")
    print(f"  {'':40} {'CPU ms':>9} {'wall ms':>9}")
    for name, cpu, wall in rows:
        print(f"  {name:40} {statistics.median(cpu) * 1e3:9.1f} {statistics.median(wall) * 1e3:9.1f}")
    ours, peer = statistics.median(rows[0][1]), statistics.median(rows[1][1])
    return ours, peer


def need(program, package):
    path = shutil.which(program)
    if path is None:
        sys.exit(f"{program} is not installed; install it with: sudo apt-get install {package}")
    return path


def tool(build, relative):
    path = os.path.join(build, relative)
    if not os.access(path, os.X_OK):
        sys.exit(f"{path} is missing: build it with `cmake --preset release && "
                 f"cmake --build build/release --target {os.path.basename(relative)}`")
    return path


# --- report totals against mawk -------------------------------------------------------

GROUPS = ["Visa", "Mastercard", "Maestro", "Amex", "Visa Debit", "Diners", "Fuel Card", "JCB"]

# The same totals the report adds up: per card group, the count, sales (kinds A and B),
# cashback (kind B) and refunds (kind F). mawk keeps the CR of each line in the last
# field, which changes nothing for the comparison.
MAWK_TOTALS = r"""
BEGIN { FS = "," }
NR > 1 { n[$6]++; if ($3 == "A" || $3 == "B") s[$6] += $4; if ($3 == "B") c[$6] += $5
         if ($3 == "F") r[$6] += $4 }
END { for (g in n) { name = g; sub(/\r$/, "", name); print toupper(name), n[g] } }
"""


def write_data_file(path, records):
    """The server's form: a heading, then plain fields, CR LF line ends, as in report_bench."""
    with open(path, "w", newline="") as out:
        out.write("REFERENCE,DATE,KIND,AMOUNT,CASHBACK,CARD GROUP\r\n")
        lines = []
        for i in range(1, records + 1):
            kind = "F" if i % 10 == 0 else "B" if i % 3 == 0 else "A"
            cashback = 2000 if kind == "B" else 0
            lines.append(f"{i},20260115,{kind},{i % 2000 + 1},{cashback},{GROUPS[i % 8]}\r\n")
            if len(lines) == 100_000:
                out.writelines(lines)
                lines = []
        out.writelines(lines)


def group_counts_of_report(text):
    counts = {}
    for line in text.splitlines():
        if "COUNT=" in line and not line.startswith("TOTAL"):
            name, count = line.rsplit("COUNT=", 1)
            counts[name.strip()] = int(count)
    return counts


def bench_report(args):
    mawk = need("mawk", "mawk")
    support = tool(args.build, "apps/ccaddin_support/ccaddin-support")
    with tempfile.TemporaryDirectory(prefix="ccaddin-peers-", dir=args.tmp) as folder:
        data = os.path.join(folder, "TMP_20260115_173042.txt")
        write_data_file(data, args.records)
        script = os.path.join(folder, "totals.awk")
        with open(script, "w") as f:
            f.write(MAWK_TOTALS)
        # No settings database: the defaults, with two decimals.
        ours = [support, "--db", os.path.join(folder, "none.db"), "report", "--exponent", "2",
                "--raw", data]
        peer = [mawk, "-f", script, data]

        # Both must have added up the same file before their times mean anything.
        ours_counts = group_counts_of_report(subprocess.run(ours, check=True, capture_output=True,
                                                            text=True).stdout)
        peer_counts = {}
        for line in subprocess.run(peer, check=True, capture_output=True, text=True).stdout.splitlines():
            name, count = line.rsplit(" ", 1)
            peer_counts[name] = int(count)
        if ours_counts != peer_counts:
            sys.exit(f"the report and mawk disagree: {ours_counts} against {peer_counts}")

        results = {"ours": ([], []), "peer": ([], [])}
        for _ in range(args.runs):
            for key, argv in (("ours", ours), ("peer", peer)):
                cpu, wall = run_timed(argv)
                results[key][0].append(cpu)
                results[key][1].append(wall)
    ours_cpu, peer_cpu = report_table(
        f"Report totals of {args.records:,} records",
        [("ccaddin-support report", *results["ours"]), ("mawk (same totals)", *results["peer"])],
        args.runs)
    print(f"  mawk / add-in CPU: {peer_cpu / ours_cpu:.2f}x (goal: at least 3x; add-in at most 100 ms)")


# --- a whole-process sale against loading the library --------------------------------

def bench_sale(args):
    ccaddin_till = tool(args.build, "apps/ccaddin_till/ccaddin-till")
    c_till = tool(args.build, "bench/c_till")
    load_only = tool(args.build, "bench/load_only")
    results = {"ours": ([], []), "peer": ([], [])}
    with tempfile.TemporaryDirectory(prefix="ccaddin-peers-", dir=args.tmp) as root:
        site = os.path.join(root, "site")
        export = subprocess.run([ccaddin_till, "setup", "--dir", site, "--print-env"], check=True,
                                capture_output=True, text=True).stdout
        registry = export.split("=", 1)[1].strip().strip("'")
        # The card is in the reader at the first poll: the sale's own work is timed, not
        # the till's 300 ms wait for a card.
        with open(os.path.join(site, "config", "qlclient.json"), "w") as f:
            f.write('{"store": "qlsim-server.sqlite", "readerStates": [3],\n'
                    ' "terminal": {"terminalId": "BENCH001"}}\n')
        env = dict(os.environ, CCADDIN_REGISTRY=registry)
        sale = [c_till, "12.50"]
        first = subprocess.run(sale, env=env, cwd=root, capture_output=True, text=True)
        if first.returncode != 0 or "Outcome: AUTHORISED" not in first.stdout:
            sys.exit(f"the C till's sale failed: {first.stdout}{first.stderr}")
        for _ in range(args.runs):
            for key, argv in (("ours", sale), ("peer", [load_only])):
                cpu, wall = run_timed(argv, env=env, cwd=root)
                results[key][0].append(cpu)
                results[key][1].append(wall)
    ours_cpu, peer_cpu = report_table(
        "One programmatic sale, whole process",
        [("C till sale through the C ABI", *results["ours"]),
         ("process that only loads libccaddin.so", *results["peer"])], args.runs)
    print(f"  sale above loading: {(ours_cpu - peer_cpu) * 1e3:.1f} ms CPU (goal: at most 3 ms)")


# --- receipt purge against find -------------------------------------------------------

def fill_receipt_folder(folder, files):
    """`files` receipts named as the add-in names them, and three files the purge keeps."""
    os.makedirs(folder, exist_ok=True)
    flags = os.O_WRONLY | os.O_CREAT | os.O_EXCL
    for i in range(files):
        os.close(os.open(os.path.join(folder, f"M_0000012_0000003_{i:010d}_20260115_103012.rcpt"),
                         flags, 0o644))
    for name in ("tamberincreditcard.log", "RPT_20260115_173042.txt", "notes.txt"):
        os.close(os.open(os.path.join(folder, name), flags, 0o644))


def bench_purge(args):
    find = need("find", "findutils")
    purge = tool(args.build, "bench/purge_receipts")
    results = {"ours": ([], []), "peer": ([], [])}
    with tempfile.TemporaryDirectory(prefix="ccaddin-peers-", dir=args.tmp) as root:
        folder = os.path.join(root, "receipts")
        # A file system records no birth time a test can set: the receipts are made just
        # before each purge, and the purge is told that files of 0 days or more are old,
        # so it reads every file's creation time and deletes it, as on the day it runs.
        sides = (("ours", [purge, folder, "0"]),
                 ("peer", [find, folder, "-name", "*.rcpt", "-delete"]))
        for _ in range(args.runs):
            for key, argv in sides:
                fill_receipt_folder(folder, args.files)
                subprocess.run(["sync", "-f", folder], check=True)
                cpu, wall = run_timed(argv)
                left = sorted(os.listdir(folder))
                if left != ["RPT_20260115_173042.txt", "notes.txt", "tamberincreditcard.log"]:
                    sys.exit(f"{key}: the folder holds {len(left)} files after the purge")
                results[key][0].append(cpu)
                results[key][1].append(wall)
                shutil.rmtree(folder)
    ours_cpu, peer_cpu = report_table(
        f"Purge of {args.files:,} old receipts",
        [("add-in purge (DeleteFilesInFolderByDay)", *results["ours"]),
         ("find -name '*.rcpt' -delete", *results["peer"])], args.runs)
    print(f"  add-in / find CPU: {ours_cpu / peer_cpu:.2f}x (goal: at most 1.2x)")


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("what", choices=["report", "sale", "purge"])
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "release"),
                        help="build folder of the release preset (default: build/release)")
    parser.add_argument("--runs", type=int, default=7, help="runs of each side (default 7)")
    parser.add_argument("--records", type=int, default=1_000_000,
                        help="records in the report data file (default 1,000,000)")
    parser.add_argument("--files", type=int, default=100_000,
                        help="receipts in the purged folder (default 100,000)")
    parser.add_argument("--tmp", default=None,
                        help="folder for the generated files (default: the system's temporary "
                             "folder); the purge is a measure of that file system")
    args = parser.parse_args()
    if args.runs < 5:
        parser.error("at least 5 runs: a median of fewer says little on a shared machine")
    {"report": bench_report, "sale": bench_sale, "purge": bench_purge}[args.what](args)


if __name__ == "__main__":
    main()
