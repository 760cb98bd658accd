#!/usr/bin/env python3
"""Measures the add-in against a peer doing the same work, in one run, as whole processes.

    bench/peers.py report [--build DIR] [--runs N] [--records N]
        X/Z report totals of a generated data file: `ccaddin-support report` against
        `mawk` adding up the same file.

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
    """Runs argv to the end; returns (cpu_seconds, wall_seconds, exit status)."""
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
    with tempfile.TemporaryDirectory(prefix="ccaddin-peers-") as folder:
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


def main():
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawTextHelpFormatter)
    parser.add_argument("what", choices=["report"])
    parser.add_argument("--build", default=os.path.join(ROOT, "build", "release"),
                        help="build folder of the release preset (default: build/release)")
    parser.add_argument("--runs", type=int, default=7, help="runs of each side (default 7)")
    parser.add_argument("--records", type=int, default=1_000_000,
                        help="records in the report data file (default 1,000,000)")
    args = parser.parse_args()
    if args.runs < 5:
        parser.error("at least 5 runs: a median of fewer says little on a shared machine")
    {"report": bench_report}[args.what](args)


if __name__ == "__main__":
    main()
