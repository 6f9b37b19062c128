#!/usr/bin/env python3
"""Compares what `kzr export` writes as GraphML, for Graphviz, SQLite and CSV with what `kzr2xml` and `kzr report` tell.

table_formats.py KZR2XML KZR PAGE [--seeds FROM:TO]   makes runs; PAGE holds the queries that have to work on each
table_formats.py KZR2XML KZR PAGE DIRECTORY...        takes runs that are there

Each file is read by the programs that it is for: NetworkX, igraph, Graphviz, SQLite, Python's reader of CSV.
"""
import argparse
import csv
import glob
import json
import os
import re
import sqlite3
import subprocess
import sys
import tempfile

import igraph
import networkx

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(HERE), 'analysis'))
sys.path.insert(0, HERE)
import random_runs  # noqa: E402
import time_formats  # noqa: E402
from time_formats import demand, problem, shown  # noqa: E402

TABLES = ['edge', 'execution', 'graph', 'node', 'path', 'port', 'region', 'run', 'thread', 'user_event', 'warning']
NODE_ATTRIBUTES = ['code', 'composite', 'executions', 'id', 'idle_share_ticks', 'kind', 'label', 'p50_ticks', 'parent',
                   'self_ticks', 'total_ticks']


# ---- A run that is nested, with names that mean something elsewhere --------------------------------------------------

HOSTILE_NAMES = {  # as traced, then as read back from a table, and from XML where that differs
    b'\xff\xc2\xe2\x82z': ('\ufffd\ufffd\ufffd\ufffdz',),
    b'</data></node>"\'>&amp;]]>': ('</data></node>"\'>&amp;]]>',),
    b'a,"b"\r\nc\td \\': ('a,"b"\r\nc\td \\',),
    b"'); DROP TABLE node; --": ("'); DROP TABLE node; --",),
    b'\x01\x1b\x7f\xef\xbf\xbf': ('\x01\x1b\x7f\uffff', '\ufffd\ufffd\x7f\ufffd'),
    b'C:\\New\\Graph\\\\': ('C:\\New\\Graph\\\\',),
    b' ': (' ',),
    b'\n': ('\n',),
    b'x' * 70000: ('x' * 70000,),
    '\U0001f600\u202e=1+1'.encode(): ('\U0001f600\u202e=1+1',),
}


class nested_run(random_runs.random_run):
    """Three composite nodes in one another, an edge from outside to the innermost node, two composite nodes with nothing
    in them, one of them with an edge, and nodes with such names."""

    def __init__(self):
        super().__init__(1)
        flow, out = random_runs.FLOW, random_runs.trace_file()
        self.files, self.last_id = [out], 100
        out.text(2, flow, 'pwl.flow')
        for text in random_runs.TEXTS:
            out.text(10, random_runs.handle(text), text)
        graph, first = self.new_id(), self.new_id()
        out.object(flow, graph, random_runs.NO_OBJECT, 'graph')
        out.object(flow, first, graph, 'function_node')
        source, holders, ports = self.new_id(), [graph], []
        out.object(flow, source, first, 'output_port0')
        for _ in range(3):
            holders.append(self.new_id())
            out.object(flow, holders[-1], graph, 'composite_node')
        innermost, port = self.new_id(), self.new_id()
        out.object(flow, innermost, graph, 'function_node')
        out.object(flow, port, innermost, 'input_port0')
        for holder in reversed(holders[1:]):
            self.show_outside(out, holder, port, 'input_port0', ports)
            port = ports[-1][0]
        out.relation(flow, source, random_runs.EDGE, port)
        empty, port = self.new_id(), self.new_id()
        out.object(flow, empty, graph, 'composite_node')
        out.object(flow, port, empty, 'input_port0')
        out.relation(flow, source, random_runs.EDGE, port)
        out.object(flow, self.new_id(), graph, 'composite_node')
        for name in HOSTILE_NAMES:
            node = self.new_id()
            out.object(flow, node, graph, 'function_node')
            out.record(7, '3QQQQ', flow, *node, random_runs.handle('object_name'), len(name))
            out.bytes.append(name)
        out.record(17, '')


def check_nested(kzr, directory):
    run = os.path.join(directory, 'run')
    nested_run().write(run)
    for format_ in 'graphml', 'dot', 'sqlite', 'csv':
        export(kzr, run, format_, directory)
    graph = networkx.read_graphml(os.path.join(directory, 'run.graphml'))
    inside = 'g0::n1::n2::n3::n4'
    demand(list(graph.edges) == [('g0::n0', inside), ('g0::n0', 'g0::n5')], 'edges', graph.edges)
    demand(graph.nodes[inside]['parent'] == 'g0::n1::n2::n3' and graph.nodes['g0::n0'].get('parent') is None, 'parents')
    labels = [graph.nodes['g0::n%d' % number]['label'] for number in range(7, 7 + len(HOSTILE_NAMES))]
    demand(labels == [names[-1] for names in HOSTILE_NAMES.values()], 'labels', ascii(labels)[:500])
    with open(os.path.join(directory, 'run.csv.d', 'node.csv'), newline='', encoding='utf-8') as file:
        rows = list(csv.reader(file))
    names = [row[1] for row in rows if row[0].count('::') == 1 and row[3] == '0'][-len(HOSTILE_NAMES):]
    demand(names == [names[0] for names in HOSTILE_NAMES.values()], 'names', ascii(names)[:500])
    check_dot(directory, edges=2, nodes=2 + len(HOSTILE_NAMES), clusters=5, points=2)
    drawn = subprocess.run(['dot', '-Tsvg', os.path.join(directory, 'run.dot')], capture_output=True, check=True)
    demand(b'>C:\\New\\Graph\\\\<' in drawn.stdout, 'a name with backslashes is drawn as another one')
    tables = read_database(os.path.join(directory, 'run.db'))
    check_csv(directory, 'run.csv.d', tables)


# ---- What is expected ------------------------------------------------------------------------------------------------

class structure(random_runs.documents):
    """The documents with kinds, edges and graphs."""

    def __init__(self, paths):
        self.kinds, self.codes, self.edges, self.graphs = {}, {}, {}, {}
        super().__init__(paths)
        for path in paths:
            with open(path, encoding='utf-8', errors='surrogateescape') as file:
                graph = None
                for line in file:
                    opened = re.match(r'<graph id="([^"]*)"', line)
                    if opened:
                        graph = opened[1]
                        self.graphs.setdefault(graph, set())
                    node = re.match(r'  <node  id="([^"]*)"', line)
                    if node:
                        self.graphs[graph].add(node[1])
                    if line.startswith('  <edge id='):
                        values = re.findall(r'(\w+)="(.*?)"', line)
                        self.edges[values[0][1]] = (graph, self.read_ends(values[1:]))

    @staticmethod
    def read_ends(values):
        ends = [(values[i][0], *(value for _, value in values[i:i + 3])) for i in (0, 3)]
        if ends[0][0] == 'target' and ends[1][0] == 'source':
            ends.reverse()
        return [('output' if end[0] == 'source' else 'input', *end[1:]) for end in ends]

    def take(self, id_, key, value):
        super().take(id_, key, value)
        if key == 'node_type':
            self.kinds[id_] = shown(value)
        if key == 'line_no.':
            self.codes[id_] = value

    def find_inner(self, kind, node, offset, port):
        """Node and port where an edge ends that leads there; None where no document shows the node."""
        seen = set()
        while (node, kind, offset) in self.inner and (node, kind, offset) not in seen:
            seen.add((node, kind, offset))
            inner, inner_port = self.inner[node, kind, offset]
            # A node that is not shown has the id of what it is in.
            if inner not in self.names or inner == node:
                break
            node, port = inner, inner_port
            kind = 'input' if (node, 'input', port) in self.offsets else 'output'
            offset = self.offsets.get((node, kind, port))
        return (node, port) if node in self.names and (node, kind, port) in self.offsets else None

    def inner_edges(self):
        for id_, (_, ends) in self.edges.items():
            inner = [self.find_inner(*end) for end in ends]
            if None not in inner:
                yield id_, inner

    def agree_on(self, edges):
        """Whether these are the inner edges. Only ends that seem to be at a composite node may be missing: those of a
        node in it that is not shown look the same."""
        expected = dict(self.inner_edges())
        missing = [expected.pop(id_) for id_ in expected.keys() - edges.keys()]
        return edges == expected and all(any(node in self.composites for node, _ in ends) for ends in missing)


class expectation(time_formats.expectation):
    def __init__(self, outputs):
        super().__init__(outputs, 1)
        self.docs = structure(sorted(glob.glob(outputs + '/*.graphml'), key=len))

    def ns(self, ticks):
        return ticks

    def executions_by_begin(self):
        nested = {}
        for e in self.executions:
            if e.parent:
                nested[e.parent] = nested.get(e.parent, 0) + e.end - e.begin
        for id_, e in enumerate(sorted(self.executions, key=lambda e: e.begin_line), 1):
            yield (id_, shown(e.node), e.thread, e.begin, e.end, e.end - e.begin - nested.get(e, 0), len(e.around))


# ---- What is there ---------------------------------------------------------------------------------------------------

def export(kzr, run, format_, directory, *options):
    result = subprocess.run([kzr, 'export', '--to', format_, run, *options], cwd=directory, capture_output=True)
    demand(result.returncode == 0, format_, 'ends with', result.returncode, result.stderr)
    return result.stderr.decode()



def as_read(expected, values):
    """Fractions, and what does not fit 64 bits, are read in double precision."""
    return {key: float(value) if isinstance(values.get(key), float) else value for key, value in expected.items()}


def check_graphml(directory, docs, nodes, warned):
    path = os.path.join(directory, 'run.graphml')
    graph = networkx.read_graphml(path, force_multigraph=True)
    demand(set(graph.nodes) == set(docs.names), 'nodes', set(graph.nodes) ^ set(docs.names))
    parents = {node: holder for holder, inside in docs.graphs.items() for node in inside if holder in docs.composites}
    for id_, values in graph.nodes(data=True):
        figures = nodes[id_]
        expected = {'label': figures['name'], 'composite': id_ in docs.composites, 'kind': docs.kinds[id_],
                    **{key: figures[key] for key in ('executions', 'total_ticks', 'self_ticks', 'p50_ticks',
                                                     'idle_share_ticks')},
                    'code': docs.codes.get(id_), 'parent': parents.get(id_)}
        expected = {key: value for key, value in expected.items() if value not in (None, '')}
        demand(values == as_read(expected, values), 'attributes of', id_, values, 'not', expected)
    edges = {key: [(source, values['source_port']), (target, values['target_port'])]
             for source, target, key, values in graph.edges(data=True, keys=True)}
    demand(docs.agree_on(edges), 'edges', edges, 'not', dict(docs.inner_edges()))
    left_out = len(docs.edges) - len(edges)
    demand(('%d edge' % left_out in warned) == (left_out > 0), 'warning', warned)
    other = igraph.Graph.Read_GraphML(path)
    demand((other.vcount(), other.ecount()) == (len(docs.names), len(edges)), 'size for igraph')
    demand(sorted(other.vs.attributes()) == NODE_ATTRIBUTES and other.is_directed(), 'attributes', other.vs.attributes())
    return len(edges)


def check_dot(directory, edges, nodes, clusters, points=None):
    path = os.path.join(directory, 'run.dot')
    drawn = subprocess.run(['dot', '-Tplain', path], capture_output=True)
    demand(drawn.returncode == 0 and not drawn.stderr, 'dot', drawn.stderr)
    lines = [line.split(b' ', 1)[0] for line in drawn.stdout.split(b'\n')]
    drawn_points = drawn.stdout.count(b'\nnode "point_')
    demand(lines.count(b'edge') == edges and lines.count(b'node') - drawn_points == nodes, 'drawn', edges, nodes)
    demand(points in (None, drawn_points), 'points', drawn_points)
    counted = subprocess.run(['gc', '-e', '-C', path], capture_output=True)
    demand(not counted.stderr, 'gc', counted.stderr)
    demand(counted.stdout.split()[:2] == [b'%d' % edges, b'%d' % clusters], 'counted', counted.stdout, edges, clusters)


def read_database(path):
    database = sqlite3.connect(path)
    demand(database.execute('PRAGMA integrity_check').fetchall() == [('ok',)], 'integrity')
    demand(database.execute('PRAGMA foreign_key_check').fetchall() == [], 'foreign keys')
    names = [name for name, in database.execute("SELECT name FROM sqlite_master WHERE type = 'table' ORDER BY name")]
    demand(names == TABLES, 'tables', names)
    tables = {}
    for name in names:
        cursor = database.execute('SELECT * FROM "%s" ORDER BY rowid' % name)
        tables[name] = [[column[0] for column in cursor.description]] + [list(row) for row in cursor]
    database.close()
    return tables


def check_views(database, report):
    database.row_factory = sqlite3.Row
    run = {**report['run'], **{key: len(report['run'][key]) for key in ('damaged_files', 'warnings')}}
    for view, expected in (('run_figures', [run]), ('thread_figures', report['threads']),
                           ('concurrency', report['concurrency']), ('node_figures', report['nodes'])):
        rows = [dict(row) for row in database.execute('SELECT * FROM ' + view)]
        demand(len(rows) == len(expected), 'rows of', view)
        for row, wanted in zip(rows, expected):
            demand(row == as_read(wanted, row), view, row, 'not', wanted)
    steps = database.execute('SELECT node AS id, thread, begin, "end", gap_ticks, gap_kind FROM path '
                             'JOIN execution ON execution.id = execution ORDER BY position')
    demand([dict(step) for step in steps] == report['path'], 'path')


def check_tables(tables, expected, has_openmp):
    docs = expected.docs

    def column(table, *names):
        places = [tables[table][0].index(name) for name in names]
        return [tuple(row[place] for place in places) for row in tables[table][1:]]

    demand(tables['execution'][0] == ['id', 'node', 'thread', 'begin', 'end', 'self', 'depth'], 'columns')
    wanted = list(expected.executions_by_begin())
    demand(column('execution', *tables['execution'][0]) == wanted, 'executions', tables['execution'], 'not', wanted)
    regions = sorted((begin, end, shown(expected.name(id_)), id_) for begin, end, id_ in column('region', 'begin', 'end', 'node'))
    demand(regions == expected.regions(), 'regions', regions, 'not', expected.regions())
    events = [(int(v['tid']), int(v['ts']), shown(v['description'])) for e, v in expected.lines if e == 'user_event']
    demand(column('user_event', 'thread', 'time', 'description') == events, 'user events')
    threads = sorted({int(values['tid']) for _, values in expected.lines})
    demand([id_ for id_, in column('thread', 'id')] == threads, 'threads')
    tops = {id_: None for id_ in docs.graphs if id_ not in docs.names}
    holders = {id_: holder for holder, inside in docs.graphs.items() for id_ in inside}
    demand(dict(column('graph', 'id', 'parent')) == {**tops, **{id_: holders[id_] for id_ in docs.composites}}, 'graphs')
    ends = [(id_, graph, *ends[0][1:4:2], *ends[1][1:4:2]) for id_, (graph, ends) in docs.edges.items()]
    edges = column('edge', 'id', 'graph', 'source', 'source_port', 'target', 'target_port')
    demand(sorted(edges) == sorted(ends), 'edges', edges, 'not', ends)
    inner = column('edge', 'id', 'inner_source', 'inner_source_port', 'inner_target', 'inner_target_port')
    demand(docs.agree_on({id_: [tuple(v[:2]), tuple(v[2:])] for id_, *v in inner if None not in v}), 'inner ends')
    ports = sorted((*key, offset) for key, offset in docs.offsets.items())
    demand(sorted({(*port[:3], str(port[3])) for port in column('port', 'node', 'type', 'name', 'offset')}) == ports, 'ports')
    named = {*docs.names, *(shown(e.node) for e in expected.executions), *(region[3] for region in regions),
             *(end[1] for _, ends in docs.edges.values() for end in ends)}
    demand({id_ for id_, in column('node', 'id')} == named, 'nodes')
    demand(dict(column('node', 'id', 'graph')) == {id_: holders.get(id_) for id_ in named}, 'graphs of nodes')
    demand(dict(column('node', 'id', 'kind')) == {id_: docs.kinds.get(id_) for id_ in named}, 'kinds of nodes')
    demand(column('run', 'openmp', 'first_time', 'last_time') ==
           [(has_openmp, *((expected.first, expected.last) if expected.lines else (None, None)))], 'run')


def check_queries(database, page, executions):
    """Those of the page have to work; the first one has the slowest executions."""
    with open(page, encoding='utf-8') as file:
        queries = re.findall(r'```sql\n(.*?)```', file.read().split('\n## sqlite\n')[1], re.S)
    answers = [database.execute(query).fetchall() for query in queries]
    durations = sorted((end - begin for _, _, _, begin, end, _, _ in executions), reverse=True)[:10]
    demand([row['ticks'] for row in answers[0]] == durations, 'slowest executions')


def check_csv(directory, folder, tables):
    for name, rows in tables.items():
        paths = sorted(glob.glob('%s/%s/%s*.csv' % (directory, folder, name)))
        read = []
        for path in paths:
            with open(path, newline='', encoding='utf-8') as file:
                text = file.read()
            demand(text.endswith('\r\n'), 'end of', path)
            part = list(csv.reader(text.splitlines(True), strict=True))
            demand(part[0] == rows[0], 'head of', path)
            read += part[1:]
        demand(len(read) == len(rows) - 1, 'rows of', name)
        for row, expected in zip(read, rows[1:]):
            for value, wanted in zip(row, expected, strict=True):
                equal = float(value) == wanted if isinstance(wanted, float) else value == ('' if wanted is None else str(wanted))
                demand(equal, 'value in', name, ascii(row), 'not', ascii(expected))


# ---- Runs ------------------------------------------------------------------------------------------------------------

def check_too_late(kzr, run, outputs):
    """Times of 2^63 ticks or more are refused."""
    before = sorted(os.listdir(outputs))
    for format_ in 'sqlite', 'csv':
        result = subprocess.run([kzr, 'export', '--to', format_, run], cwd=outputs, capture_output=True)
        demand(result.returncode == 2 and b'2^63' in result.stderr, 'status of', format_, result.stderr)
    demand(sorted(os.listdir(outputs)) == before, 'something is left')


def check(converter, kzr, page, run, outputs):
    dump = json.loads(subprocess.run([kzr, 'dump', '--json', run], capture_output=True).stdout)
    has_openmp = any(domain['type'] == 'openmp' for domain in dump['domains'])
    # Where both look for the images of code.
    os.environ['QZD_DIR'] = run
    converted = subprocess.run([converter, 'run'] + (['--omp_experimental'] if has_openmp else []), cwd=outputs,
                               capture_output=True)
    expected = expectation(outputs) if converted.returncode == 0 else None
    for name in glob.glob(outputs + '/*.graphml'):
        os.remove(name)
    report = json.loads(subprocess.run([kzr, 'report', '--json', run], capture_output=True, check=True).stdout)
    nodes = {node['id']: node for node in report['nodes']}
    warned = export(kzr, run, 'graphml', outputs, '-o', 'run.graphml')
    export(kzr, run, 'dot', outputs, '-o', 'run.dot')
    if expected is not None:
        docs = expected.docs
        edges = check_graphml(outputs, docs, nodes, warned)
        check_dot(outputs, edges, len(docs.names) - len(docs.composites), len(docs.composites))
        if expected.last >= 2**63:
            return check_too_late(kzr, run, outputs)
    export(kzr, run, 'sqlite', outputs, '-o', 'run.db')
    export(kzr, run, 'csv', outputs, '-o', 'whole')
    export(kzr, run, 'csv', outputs, '-o', 'parts', '--part-rows', '3')
    tables = read_database(outputs + '/run.db')
    check_csv(outputs, 'whole', tables)
    check_csv(outputs, 'parts', tables)
    executions = tables['execution'][1:]
    demand(len(glob.glob(outputs + '/parts/execution-*.csv')) == max(1, -(-len(executions) // 3)), 'parts')
    if expected is not None:
        check_tables(tables, expected, has_openmp)
    database = sqlite3.connect(outputs + '/run.db')
    check_views(database, report)
    check_queries(database, page, executions)
    database.close()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('converter', type=os.path.abspath)
    parser.add_argument('kzr', type=os.path.abspath)
    parser.add_argument('page', type=os.path.abspath)
    parser.add_argument('runs', nargs='*', type=os.path.abspath)
    parser.add_argument('--seeds', default='0:40')
    arguments = parser.parse_args()
    failed = 0

    def attempt(name, check, *parameters):
        nonlocal failed
        with tempfile.TemporaryDirectory() as outputs:
            try:
                check(*parameters, outputs)
            except problem as found:
                failed += 1
                print('%s: %s' % (name, found))

    with tempfile.TemporaryDirectory() as directory:
        runs = arguments.runs
        if not runs:
            attempt('nested', check_nested, arguments.kzr)
            for seed in range(*map(int, arguments.seeds.split(':'))):
                runs.append('%s/seed%d' % (directory, seed))
                time_formats.marked_run(seed).write(runs[-1])
        for run in runs:
            attempt(os.path.basename(run), check, arguments.converter, arguments.kzr, arguments.page, run)
    sys.exit(1 if failed else 0)


if __name__ == '__main__':
    main()
