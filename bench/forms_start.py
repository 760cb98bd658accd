#!/usr/bin/env python3
"""Process start to exit, offscreen Qt: question_box_process (the add-in starts Qt, shows
frmQuestionBox, a scripted click answers it) against bare_qt_dialog (one dialog of 40
buttons, the floor), run alternately in the same run. Prints the median wall time, the
median CPU time (user and system: the fairer figure on a busy machine) and the peak
resident memory of each.

    bench/forms_start.py build/release/bench [runs]
"""
import os
import statistics
import subprocess
import sys
import time


def measure(program, env):
    start = time.perf_counter()
    process = subprocess.Popen([program], env=env, stdout=subprocess.DEVNULL,
                               stderr=subprocess.DEVNULL)
    _, status, usage = os.wait4(process.pid, 0)
    wall = time.perf_counter() - start
    if os.waitstatus_to_exitcode(status) != 0:
        sys.exit(f"{program} failed ({status})")
    return wall, usage.ru_utime + usage.ru_stime, usage.ru_maxrss / 1024.0  # KiB to MiB


def against_floor(folder, program, env, runs):
    """Runs `program` and the floor alternately and prints their medians and peaks."""
    programs = {"bare_qt_dialog": [], program: []}
    for _ in range(runs):
        for name, results in programs.items():
            results.append(measure(os.path.join(folder, name), env))
    floor = [statistics.median(r[i] for r in programs["bare_qt_dialog"]) for i in (0, 1)]
    for name, results in programs.items():
        wall = statistics.median(r[0] for r in results)
        cpu = statistics.median(r[1] for r in results)
        rss = max(r[2] for r in results)
        print(f"{name:22} wall {wall * 1000:6.1f} ms ({wall / floor[0]:4.2f}x)  "
              f"CPU {cpu * 1000:6.1f} ms ({cpu / floor[1]:4.2f}x)  peak RSS {rss:5.1f} MiB")


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else "build/release/bench"
    runs = int(sys.argv[2]) if len(sys.argv) > 2 else 30
    against_floor(folder, "question_box_process", dict(os.environ, QT_QPA_PLATFORM="offscreen"),
                  runs)


if __name__ == "__main__":
    main()
