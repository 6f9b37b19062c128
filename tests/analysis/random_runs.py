#!/usr/bin/env python3
"""Compares the figures of `kzr report --json` with those of plain definitions, on small random runs.

random_runs.py KZR2XML KZR SCHEMA [--seeds FROM:TO]   makes runs with ties, times that go back, damage and nesting
random_runs.py KZR2XML KZR SCHEMA DIRECTORY...        takes runs that are there

What is expected comes from the documents and the timeline that the converter writes, interval by interval and pair
by pair, so that nothing is shared with the program but what it reads.
"""
import argparse
import glob
import json
import os
import random
import re
import shutil
import struct
import subprocess
import sys
import tempfile
from fractions import Fraction

import jsonschema

# ---- A run that a seed stands for ------------------------------------------------------------------------------------

FLOW, OPENMP = 1, 2
TEXTS = ['graph', 'composite_node', 'function_node', 'input_port0', 'output_port0', 'input_port1', 'output_port1',
         'omp_parallel', 'omp_implicit', 'omp_explicit', 'omp_barrier', 'object_name', 'pwl_parallel_for', 'node_body']
NO_OBJECT = (0, 0, 0)
CHILD_OF, PARENT_OF, EDGE, NO_EDGE = 5, 3, 7, 2


def handle(text):
    return 10 + TEXTS.index(text)


class trace_file:
    def __init__(self, frequency=1000):
        self.time, self.bytes = 1, [b'A' + struct.pack('<QQ', frequency, 4)]

    def record(self, kind, layout, *fields):
        self.bytes.append(struct.pack('<BQ' + layout, kind, self.time, *fields))

    def text(self, kind, number, text):
        self.record(kind, 'QB', number, len(text))
        self.bytes.append(text.encode())

    def object(self, domain, id_, parent, kind):
        self.record(14, 'Q3Q3QQ', domain, *id_, *parent, handle(kind))

    def relation(self, domain, head, code, tail):
        self.record(9, 'Q3QB3Q', domain, *head, code, *tail)

    def begin(self, domain, id_, parent, name):
        self.record(12, 'Q3Q3QQQ', domain, *id_, *parent, handle(name), 0)

    def end_task(self, domain):
        self.record(13, 'Q', domain)


class random_run:
    def __init__(self, seed):
        self.rng = random.Random(seed)
        self.last_id = 100
        self.files = [self.make_file() for _ in range(self.rng.randint(1, 3))]
        self.tasks, self.bodies = [], []  # what may begin: domain, object, parent, name
        self.has_openmp = self.rng.random() < 0.4
        self.describe()
        for file in self.files:
            file.time = self.rng.randint(20, 25)
            self.run_tasks(file)
        if self.rng.random() < 0.2:
            self.damage(self.rng.choice(self.files))

    def make_file(self):
        return trace_file()

    def new_id(self):
        self.last_id += 1
        return (self.last_id, 0, 0)

    def describe(self):
        out = self.files[0]
        out.text(2, FLOW, 'pwl.flow')
        if self.has_openmp:
            out.text(2, OPENMP, 'openmp')
        for text in TEXTS:
            out.text(10, handle(text), text)
        self.describe_graph(out)
        region = self.new_id()
        out.object(FLOW, region, NO_OBJECT, 'omp_parallel')
        self.tasks += [(FLOW, region, NO_OBJECT, 'omp_parallel'), (FLOW, region, region, 'node_body'),
                       (FLOW, self.new_id(), NO_OBJECT, 'node_body')]
        if self.has_openmp:
            self.describe_openmp(out)

    def describe_graph(self, out):
        rng = self.rng
        graph = self.new_id()
        out.object(FLOW, graph, NO_OBJECT, 'graph')
        holders, ports = [graph], []
        for _ in range(rng.randint(1, 8)):
            holder, node = rng.choice(holders), self.new_id()
            is_composite = rng.random() < 0.25
            out.object(FLOW, node, holder, 'composite_node' if is_composite else 'function_node')
            if is_composite:
                holders.append(node)
            elif rng.random() < 0.1 and holder != graph:
                out.relation(FLOW, node, CHILD_OF, holder)
            if rng.random() < 0.6:
                body = self.new_id()
                out.relation(FLOW, body, CHILD_OF, node)
                self.bodies.append((FLOW, body, node, 'node_body'))
            for name in ('input_port0', 'output_port0', 'input_port1', 'output_port1'):
                if rng.random() < 0.7:
                    port = self.new_id()
                    out.object(FLOW, port, node, name)
                    ports.append((port, name))
                    if holder != graph and rng.random() < 0.6:
                        self.show_outside(out, holder, port, name, ports)
        for _ in range(rng.randint(0, 2 * len(ports))):
            kinds = rng.choice((('out', 'in'), ('out', 'in'), ('out', 'in'), ('in', 'out'), ('in', 'in'), ('out', 'out')))
            ends = [rng.choice([p for p, name in ports if name.startswith(kind)] or [NO_OBJECT]) for kind in kinds]
            out.relation(FLOW, ends[0], EDGE, ends[1])
            if rng.random() < 0.2:
                out.relation(FLOW, ends[0], NO_EDGE, ends[1])

    def show_outside(self, out, composite, inner, name, ports):
        outer = (inner[0], self.new_id()[0], 0)
        out.object(FLOW, outer, composite, name)
        out.relation(FLOW, composite, PARENT_OF, outer)
        ports.append((outer, name))

    def describe_openmp(self, out):
        graph, region = self.new_id(), self.new_id()
        place = (region[0], 1, 0)
        out.object(OPENMP, graph, NO_OBJECT, 'graph')
        out.object(OPENMP, region, NO_OBJECT, 'omp_parallel')
        out.object(OPENMP, place, graph, 'composite_node')
        self.tasks.append((OPENMP, region, NO_OBJECT, 'omp_parallel'))
        for number in range(2, 4):
            implicit = (region[0], number, 0)
            out.object(OPENMP, implicit, region, 'omp_implicit')
            self.tasks += [(OPENMP, implicit, region, 'omp_implicit'), (OPENMP, implicit, region, 'omp_barrier')]
        variable = self.new_id()
        for _ in range(3):
            task = self.new_id()
            node = (task[0], 1, 0)
            out.relation(OPENMP, task, CHILD_OF, (region[0], 2, 0))
            out.object(OPENMP, node, (region[0], 2, 0), 'function_node')
            out.relation(OPENMP, variable, EDGE, node)
            out.relation(OPENMP, node, EDGE, variable)
            self.tasks.append((OPENMP, task, NO_OBJECT, 'omp_explicit'))

    def run_tasks(self, file):
        rng = self.rng
        largest_step = rng.choice((0, 1, 1, 3, 10, 2**60))
        open_tasks = 0
        for _ in range(rng.randint(0, 40)):
            if rng.random() < 0.05:
                file.time = max(1, file.time - rng.randint(1, 6))
            else:
                file.time += rng.choice((0, rng.randint(0, largest_step)))
            if rng.random() < (0.3 if open_tasks else 0.9):
                file.begin(*rng.choice(self.tasks if rng.random() < 0.5 else self.bodies or self.tasks))
                open_tasks += 1
            else:
                file.end_task(OPENMP if self.has_openmp and rng.random() < 0.3 else FLOW)
                open_tasks = max(0, open_tasks - 1)
        if rng.random() < 0.7:
            file.record(17, '')

    def damage(self, file):
        data = b''.join(file.bytes)
        file.bytes = [data[:self.rng.randint(len(data) * 3 // 4, len(data))], b'\xc8' * self.rng.randint(0, 1)]

    def write(self, directory):
        os.mkdir(directory)
        for number, file in enumerate(self.files):
            with open('%s/_kzr.%d' % (directory, number), 'wb') as out:
                out.write(b''.join(file.bytes))


# ---- What the documents and the timeline say -------------------------------------------------------------------------

def read_lines(path):
    with open(path, encoding='utf-8', errors='surrogateescape') as file:
        for line in file.read().split('\n'):
            match = re.match(r'<(\w+)(.*)>$', line)
            if match:
                yield match[1], re.findall(r'(\w+)="(.*?)"', match[2])


class documents:
    """The nodes of all documents: names, which are composite, their ports and what stands for these inside."""

    def __init__(self, paths):
        self.names, self.composites, self.offsets, self.inner = {}, set(), {}, {}
        for path in paths:
            with open(path, encoding='utf-8', errors='surrogateescape') as file:
                text = file.read()
            keys = dict(re.findall(r'<key id="(\w+)" attr.name="([^"]*)"', text))
            for id_, body in re.findall(r'<node  id="([^"]*)">(.*?)</node>', text, re.S):
                for key, value in re.findall(r'<data key="(\w+)">(.*?)</data>', body, re.S):
                    self.take(id_, keys[key], value)
                for name, kind, offset in re.findall(r'<port name="([^"]*)" type="(\w+)" offset="([^"]*)"/>', body):
                    self.offsets[id_, kind, name] = offset

    def take(self, id_, key, value):
        if key == 'object_name':
            self.names[id_] = value
        if key == 'node_type' and value in ('subgraph_node', 'streaming_node'):
            self.composites.add(id_)
        match = re.match(r'(Input|Output) (\d)$', key)
        if match:
            self.inner[id_, match[1].lower(), match[2]] = re.match('((?:::|[^:])*):(.*)', value, re.S).groups()

    def find_end(self, node, kind, offset):
        seen = set()
        while (node, kind, offset) in self.inner and (node, kind, offset) not in seen:
            seen.add((node, kind, offset))
            node, port = self.inner[node, kind, offset]
            # Which side of its node the port is on, its name tells as well as any.
            kind = 'input' if (node, 'input', port) in self.offsets else 'output'
            offset = self.offsets.get((node, kind, port))
        return node


class execution:
    def __init__(self, begin, thread, line, node, kind, parent):
        self.begin, self.thread, self.begin_line, self.node, self.kind = begin, thread, line, node, kind
        self.parent = parent
        self.around = [] if parent is None else [parent] + parent.around
        self.holds_work = False


def read_executions(lines):
    clocks, stacks, done, edges, previous = {}, {}, [], [], None
    for number, (element, attributes) in enumerate(lines):
        values = dict(attributes)
        if element == 'make_edge':
            edges.append(attributes)
        if element not in ('task_begin', 'task_end'):
            previous = None
            continue
        thread = int(values['tid'])
        clocks[thread] = time = max(clocks.get(thread, 0), int(values['ts']))
        stack = stacks.setdefault(thread, [])
        if element == 'task_end':
            ended = stack.pop()
            if ended.kind != 'outer':
                ended.end, ended.end_line = time, number
                done.append(ended)
            previous = None
            continue
        id_, kind = values['id'], {'node': 'work'}.get(values['type'], values['type'])
        match = re.match(r'(p\d+)_\d+$' if kind == 'work' else r'(.*)_\d+$', id_)
        id_ = match[1] if match else id_
        if values['algorithm'] != 'omp_parallel_region' or re.match(r'p\d+$', id_):
            kind = 'work'
        elif kind == 'algorithm':
            if not match:
                continue
            kind = 'implicit'
        if kind != 'work' and previous == (thread, id_, values['ts'], values['cid']):
            stack[-1].kind = 'outer'
            previous = None
        else:
            previous = (thread, id_, values['ts'], values['cid'])
        around = [e for e in stack if e.kind != 'outer']
        stack.append(execution(time, thread, number, id_, kind, around[-1] if around else None))
        if kind == 'work':
            for outer in stack[-1].around:
                outer.holds_work = True
    return done, edges


def read_run(directory):
    docs = documents(glob.glob(directory + '/*.graphml'))
    timeline, = glob.glob(directory + '/*.traceml')
    executions, edge_lines = read_executions(list(read_lines(timeline)))
    links = set()
    for attributes in edge_lines:
        ends = []
        for i, (name, value) in enumerate(attributes):
            if name in ('source', 'target'):
                kind = 'output' if name == 'source' else 'input'
                ends.append((name, docs.find_end(value, kind, attributes[i + 1][1])))
        if ends[0][0] == 'target' and ends[1][0] == 'source':
            ends.reverse()
        links.add((ends[0][1], ends[1][1]))
    return docs, executions, links


# ---- The figures, by their definitions -------------------------------------------------------------------------------

def rank(values, percent):
    return sorted(values)[-(-percent * len(values) // 100) - 1]


def overlap(e, first, last):
    return max(0, min(e.end, last) - max(e.begin, first))


def expect(docs, executions, links, low, high):
    touching = [e for e in executions if e.begin <= high and e.end >= low]
    inside = [e for e in executions if e.begin >= low and e.end <= high]
    threads = sorted({e.thread for e in touching})
    first = min((max(e.begin, low) for e in touching), default=0)
    last = max((min(e.end, high) for e in touching), default=0)
    busy, concurrency = dict.fromkeys(threads, 0), [0] * (len(threads) + 1)
    self_ticks, idle = {}, {}
    points = sorted({min(max(t, first), last) for e in touching for t in (e.begin, e.end)})
    for begin, end in zip(points, points[1:]):
        innermost = {}
        for e in touching:
            known = innermost.get(e.thread)
            if e.begin <= begin and e.end >= end and (known is None or len(e.around) > len(known.around)):
                innermost[e.thread] = e
        working = [e for e in innermost.values() if e.kind != 'barrier']
        concurrency[len(working)] += end - begin
        for e in innermost.values():
            self_ticks[e.node] = self_ticks.get(e.node, 0) + end - begin
        for e in working:
            busy[e.thread] += end - begin
            share = Fraction((end - begin) * (len(threads) - len(working)), len(working))
            idle[e.node] = idle.get(e.node, 0) + share
    nodes = {}
    for id_ in sorted({*docs.names, *(e.node for e in executions)}, key=lambda id_: id_.encode('utf-8', 'surrogateescape')):
        ran = [e for e in inside if e.node == id_]
        ticks = [e.end - e.begin for e in ran]
        nodes[id_] = {
            'name': docs.names.get(id_, id_), 'executions': len(ran), 'threads': len({e.thread for e in ran}),
            'total_ticks': sum(overlap(e, first, last) for e in touching if e.node == id_),
            'self_ticks': self_ticks.get(id_, 0),
            'min_ticks': min(ticks, default=None), 'max_ticks': max(ticks, default=None),
            'mean_ticks': Fraction(sum(ticks), len(ticks)) if ticks else None,
            **{'p%d_ticks' % p: rank(ticks, p) if ticks else None for p in (50, 90, 99)},
            'first_begin': min((e.begin for e in ran), default=None),
            'last_end': max((e.end for e in ran), default=None), 'idle_share_ticks': idle.get(id_, 0)}
    makespan, path = last - first, find_path(docs, inside, links, first)
    parallelism = Fraction(sum(busy.values()), makespan) if makespan else None
    return {
        'makespan_ticks': makespan, 'threads': len(threads), 'executions': len(inside),
        'average_parallelism': parallelism,
        'utilisation': parallelism / len(threads) if makespan else None,
        'imbalance': Fraction(max(busy.values()) * len(threads), sum(busy.values())) - 1 if sum(busy.values()) else None,
        'path_rest_ticks': last - path[-1]['end'] if path else makespan,
    }, [{'thread': t, 'executions': len(own := [e for e in inside if e.thread == t]), 'busy_ticks': busy[t],
         'first_begin': min((e.begin for e in own), default=None),
         'last_end': max((e.end for e in own), default=None)} for t in threads
        ], concurrency, nodes, path


def find_path(docs, inside, links, first):
    ran = {e.node for e in inside}

    def nodes_before(node):
        found, pending = set(), [node]
        while pending:
            target = pending.pop()
            for source in {s for s, t in links if t == target} - found:
                found.add(source)
                if source in docs.composites or source not in ran:
                    pending.append(source)
        return found

    leaves = [e for e in inside if e.kind == 'work' and not e.holds_work]
    e = max(leaves, key=lambda e: (e.end, e.end_line), default=None)
    path = []
    while e:
        before_nodes = nodes_before(e.node)
        candidates = [c for c in leaves if c is not e and c.end <= e.begin
                      and (c.thread == e.thread or c.node in before_nodes)
                      and (c.end < e.begin or c.begin < c.end or c.end_line < e.begin_line)]
        before = max(candidates, key=lambda c: (c.end, c.end_line), default=None)
        gap_begin = before.end if before else first
        kind = None
        if e.begin > gap_begin:
            is_linked = before is not None and before.node in before_nodes
            is_same = before is not None and before.thread == e.thread
            if any(outer.begin <= gap_begin for outer in e.around):
                kind = 'enclosing'
            else:
                kind = {(True, False): 'thread', (False, True): 'data'}.get((is_linked, is_same), 'unexplained')
        path.insert(0, {'id': e.node, 'thread': e.thread, 'begin': e.begin, 'end': e.end,
                        'gap_ticks': e.begin - gap_begin, 'gap_kind': kind})
        e = before
    return path


# ---- Comparing -------------------------------------------------------------------------------------------------------

def differs(expected, got, tolerance):
    if expected is None or got is None:
        return expected is not got
    return abs(expected - got) > tolerance


def compare(report, expected):
    run, threads, concurrency, nodes, path = expected
    for key, value in run.items():
        fraction = key in ('average_parallelism', 'utilisation', 'imbalance')
        if differs(value, None if report['run'][key] is None else Fraction(report['run'][key]), Fraction(1, 10**6) if fraction else 0):
            yield 'run %s: %s, not %s' % (key, report['run'][key], value)
    if report['threads'] != threads:
        yield 'threads: %s, not %s' % (report['threads'], threads)
    got = [row['ticks'] for row in report['concurrency']]
    if got != concurrency or [row['busy_threads'] for row in report['concurrency']] != list(range(len(got))):
        yield 'concurrency: %s, not %s' % (got, concurrency)
    if [node['id'] for node in report['nodes']] != list(nodes):
        yield 'nodes: %s, not %s' % ([node['id'] for node in report['nodes']], list(nodes))
        return
    for node in report['nodes']:
        for key, value in nodes[node['id']].items():
            if key == 'name':
                wrong = node[key] != re.sub('[\udc80-\udcff]', '\ufffd', value)
            else:
                inexact = key in ('mean_ticks', 'idle_share_ticks')
                wrong = differs(value, node[key], 1 if inexact else 0)
            if wrong:
                yield 'node %s, %s: %s, not %s' % (node['id'], key, node[key], value)
    if report['path'] != path:
        yield 'path: %s, not %s' % (report['path'], path)


class checker:
    def __init__(self, arguments):
        self.converter, self.kzr = os.path.abspath(arguments.converter), os.path.abspath(arguments.kzr)
        with open(arguments.schema) as file:
            self.schema = jsonschema.Draft7Validator(json.load(file))

    def check(self, run, rng):
        """The differences for one run, with and without the OpenMP paths and a range."""
        dump = json.loads(subprocess.run([self.kzr, 'dump', '--json', run], capture_output=True).stdout)
        has_openmp = any(domain['type'] == 'openmp' for domain in dump['domains'])
        for with_openmp in {True, False} if has_openmp else {True}:
            openmp = [] if with_openmp else ['--no-omp']
            with tempfile.TemporaryDirectory() as outputs:
                command = [self.converter, 'run'] + (['--omp_experimental'] if has_openmp and with_openmp else [])
                converted = subprocess.run(command, cwd=outputs, env={**os.environ, 'QZD_DIR': os.path.abspath(run)},
                                           capture_output=True)
                if converted.returncode != 0:
                    report = self.report(run, openmp)
                    if report['run']['converter_end'] is None:
                        yield 'the end of the converter is not told'
                    continue
                facts = read_run(outputs)
            times = [t for e in facts[1] for t in (e.begin, e.end)] or [0]
            some_times = [max(0, rng.choice(times) - rng.randint(0, 1)) for _ in range(4)]
            for limits in [], sorted(some_times[:2]), sorted(some_times[2:]):
                low, high = limits or (0, 2**64 - 1)
                options = openmp + (['--from', str(low), '--to', str(high)] if limits else [])
                report = self.report(run, options)
                for difference in compare(report, expect(*facts, low, high)):
                    yield '%s: %s' % (' '.join(options), difference)

    def report(self, run, options):
        result = subprocess.run([self.kzr, 'report', '--json', run] + options, capture_output=True, check=True,
                                env={**os.environ, 'QZD_DIR': os.path.abspath(run)})
        report = json.loads(result.stdout, parse_float=Fraction)
        self.schema.validate(json.loads(result.stdout))
        return report


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('converter')
    parser.add_argument('kzr')
    parser.add_argument('schema')
    parser.add_argument('runs', nargs='*')
    parser.add_argument('--seeds', default='0:60')
    arguments = parser.parse_args()
    check = checker(arguments)
    failed = 0

    def tell(name, run, rng):
        nonlocal failed
        for difference in check.check(run, rng):
            failed += 1
            print('%s: %s' % (name, difference))

    for run in arguments.runs:
        tell(run, run, random.Random(run))
    if not arguments.runs:
        for seed in range(*map(int, arguments.seeds.split(':'))):
            directory = tempfile.mkdtemp()
            random_run(seed).write(directory + '/run')
            tell('seed %d' % seed, directory + '/run', random.Random(seed))
            shutil.rmtree(directory)
    sys.exit(1 if failed else 0)


if __name__ == '__main__':
    main()
