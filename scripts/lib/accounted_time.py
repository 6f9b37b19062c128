"""Records a program and compares the time that the recording accounts for with its processor time.

    accounted_time.py KZR KZR2XML DIRECTORY PROGRAM [ARGUMENT...]

The run goes to DIRECTORY/run and is converted there, with DIRECTORY's name. What accounts for processor time: what ran
in executions other than barriers, and the time outside all regions. Threads that wait for a processor, on a busy machine
or with more threads than processors, are in executions, too, and both differ. Short runs are not compared.
"""

import json
import os
import re
import resource
import subprocess
import sys
import time

# Seconds of processor time below which what starting and ending takes weighs too much.
SHORTEST = 2


def time_in_regions(timeline):
    """Ticks in which any region was open."""
    changes = []
    with open(timeline, errors="replace") as lines:
        for line in lines:
            found = re.match(r'<region_(begin|end) ts="(\d+)"', line)
            if found:
                changes.append((int(found[2]), 1 if found[1] == "begin" else -1))
    total = count = since = 0
    for ticks, change in sorted(changes, key=lambda entry: (entry[0], -entry[1])):
        if count == 0:
            since = ticks
        count += change
        if count == 0:
            total += ticks - since
    return total


def main():
    kzr, converter, directory, *program = sys.argv[1:]
    run = os.path.join(directory, "run")
    begin = time.monotonic()
    subprocess.run([kzr, "record", "-o", run, *program], stdout=subprocess.DEVNULL, check=True)
    wall = time.monotonic() - begin
    usage = resource.getrusage(resource.RUSAGE_CHILDREN)
    processor = usage.ru_utime + usage.ru_stime

    name = os.path.basename(directory)
    subprocess.run([converter, name, "--omp_experimental"], cwd=directory, env={**os.environ, "QZD_DIR": "run"}, check=True)
    report = json.loads(subprocess.check_output([kzr, "report", "--json", run]))
    frequency = float(report["run"]["frequency"])
    busy = sum(thread["busy_ticks"] for thread in report["threads"]) / frequency
    outside = wall - time_in_regions(os.path.join(directory, name + ".traceml")) / frequency
    if processor < SHORTEST:
        print(f"  {processor:.2f} s of processor time are too short to be compared with what the recording accounts for")
        return
    print(f"  {busy:.2f} s in executions and {outside:.2f} s outside all regions are "
          f"{100 * (busy + outside) / processor:.0f} % of {processor:.2f} s of processor time")


main()
