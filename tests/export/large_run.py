"""Exports a run of a million executions in every format and counts what is in the outputs; signals that come while they
are written leave nothing of them.

    large_run.py KZR GENERATE_RUN
"""

import csv
import glob
import gzip
import json
import os
import signal
import sqlite3
import subprocess
import sys
import tempfile
import time

import networkx

PART_ROWS = 300000


def demand(condition, *what):
    if not condition:
        sys.exit(' '.join(map(str, what)))


def count_slices(path):
    """How many packets of the trace begin a slice."""
    command = ['protoc', '-I', os.path.dirname(os.path.abspath(__file__)), '--decode=Trace', 'perfetto_subset.proto']
    with gzip.open(path) as trace, subprocess.Popen(command, stdin=subprocess.PIPE, stdout=subprocess.PIPE) as decoder:
        text, _ = decoder.communicate(trace.read())
        demand(decoder.returncode == 0, 'protoc')
    return text.count(b'type: SLICE_BEGIN')


def interrupt(command, number):
    """Sends the signal as soon as there is a folder in which the output is written."""
    before = os.listdir()
    default_effect = lambda: signal.signal(number, signal.SIG_DFL)
    with subprocess.Popen(command, preexec_fn=default_effect, stderr=subprocess.DEVNULL) as process:
        while not glob.glob('.kzr-export-*'):
            demand(process.poll() is None, 'ended by itself:', *command)
            time.sleep(0.001)
        process.send_signal(number)
    demand(process.returncode == -number, process.returncode, *command)
    demand(sorted(os.listdir()) == sorted(before), os.listdir(), *command)


def main():
    kzr, generate_run = map(os.path.abspath, sys.argv[1:])
    with tempfile.TemporaryDirectory() as directory:
        os.chdir(directory)
        os.mkdir('run')
        subprocess.run([generate_run, 'timeline', 'run', '1.1'], check=True, stdout=subprocess.DEVNULL)
        report = json.loads(subprocess.check_output([kzr, 'report', '--json', 'run']))
        executions = report['run']['executions']
        demand(executions >= 1000000, 'only', executions, 'executions')
        warnings = {}
        for format_, path, *options in (('perfetto', 'run.pftrace.gz'), ('speedscope', 'run.json'), ('graphml', 'run.graphml'),
                                        ('dot', 'run.dot'), ('sqlite', 'run.db'),
                                        ('csv', 'run.csv.d', '--part-rows', str(PART_ROWS))):
            done = subprocess.run([kzr, 'export', '--to', format_, 'run', '-o', path, *options], capture_output=True)
            demand(done.returncode == 0, format_, done.stderr)
            warnings[format_] = done.stderr.count(b'warning: ')
        demand(warnings == {**dict.fromkeys(warnings, 0), 'speedscope': 1}, warnings)
        demand(sorted(os.listdir()) == ['run', 'run.csv.d', 'run.db', 'run.dot', 'run.graphml', 'run.json', 'run.pftrace.gz'],
               os.listdir())
        for number, format_ in ((signal.SIGINT, 'perfetto'), (signal.SIGQUIT, 'speedscope'), (signal.SIGTERM, 'sqlite'),
                                (signal.SIGHUP, 'csv')):
            interrupt([kzr, 'export', '--to', format_, 'run', '-o', 'next'], number)

        demand(count_slices('run.pftrace.gz') == executions, 'slices')
        with open('run.json', encoding='utf-8') as file:
            profiles = json.load(file)['profiles']
        demand(len(profiles) == report['run']['threads'], 'profiles')
        demand(sum(len(profile['events']) for profile in profiles) == 2 * executions, 'events')
        graph = networkx.read_graphml('run.graphml')
        demand(sum(graph.nodes[node]['executions'] for node in graph) == executions, 'nodes')
        with sqlite3.connect('run.db') as database:
            demand(database.execute('SELECT count(*), sum("end" - begin) FROM execution').fetchone() ==
                   (executions, sum(node['total_ticks'] for node in report['nodes'])), 'rows')
        rows = []
        for part in sorted(glob.glob('run.csv.d/execution-*.csv')):
            with open(part, newline='', encoding='utf-8') as file:
                rows.append(sum(1 for _ in csv.reader(file)) - 1)
        demand(sum(rows) == executions and set(rows[:-1]) == {PART_ROWS}, 'parts', rows)


main()
