#!/usr/bin/env python3
"""Reads pages of `kzr report` as docs/report_page.md describes them, and compares what they hold with the figures that
`kzr report --json` tells and with the timeline that the converter writes.

report_page.py KZR2XML KZR GENERATE_RUN [--seeds FROM:TO]
"""
import argparse
import base64
import glob
import json
import os
import random
import re
import subprocess
import sys
import tempfile
import zlib
from bisect import bisect_right
from itertools import accumulate

import random_runs

KINDS = {'work': 0, 'implicit': 1, 'barrier': 2}


def zigzag(number):
    return number >> 1 ^ -(number & 1)


class numbers:
    """LEB128, and bytes, from an offset on."""

    def __init__(self, data, at):
        self.data, self.at = data, at

    def next(self):
        number = shift = 0
        while True:
            byte = self.data[self.at]
            self.at += 1
            number |= (byte & 127) << shift
            shift += 7
            if byte < 128:
                return number

    def many(self, count):
        return [self.next() for _ in range(count)]

    def times(self, count):
        low = self.data[self.at:self.at + count]
        self.at += count
        return [byte + 256 * rest for byte, rest in zip(low, self.many(count))]


class page:
    def __init__(self, text):
        self.text = text
        self.run = json.loads(re.search('<script type="application/json" id="run">(.*?)</script>', text, re.S)[1])
        packed = re.findall('<script type="application/octet-stream" data-part="(.*?)">(.*?)</script>', text)
        self.parts = {name: zlib.decompress(base64.b64decode(part, validate=True)) for name, part in packed}
        self.order = [name for name, _ in packed]
        for name in self.order:
            if not name.startswith('chunk-'):
                setattr(self, name, json.loads(self.parts[name]))

    def block(self, lane, number):
        """The executions of a block: begin, end, node, depth, kind; its open executions; and its ties by position."""
        row = self.index['lanes'][lane]
        count = row['count'][number]
        data = numbers(self.parts['chunk-%d' % row['chunk'][number]], row['offset'][number])
        depth = data.next()
        around = data.many(min(depth, 1024))
        begins = list(accumulate(data.times(count), initial=int(row['first'][number])))[1:]
        ends = [begin + ticks for begin, ticks in zip(begins, data.times(count))]
        nodes, levels, ties, position, end_number = data.many(count), [], {}, 0, 0
        for level in data.many(count):
            depth += zigzag(level >> 2)
            levels.append((depth, level & 3))
        for _ in range(data.next()):
            position += data.next()
            end_number += zigzag(data.next())
            ties[position] = end_number, end_number - data.next()
        assert int(row['last'][number]) == max(ends)
        return [(*row_, *level) for row_, level in zip(zip(begins, ends, nodes), levels)], around, ties

    def lane(self, lane):
        """All executions of a lane, None for those left out, and its ties."""
        rows, ties = [], {}
        for number, count in enumerate(self.index['lanes'][lane]['count']):
            if self.index['lanes'][lane]['chunk'][number] < 0:
                rows += [None] * count
                continue
            block, around, block_ties = self.block(lane, number)
            first_depth = block[0][3]
            assert len(around) == first_depth and all(
                rows[position] is None or rows[position][3] == depth for depth, position in enumerate(around))
            ties.update({len(rows) + position: tie for position, tie in block_ties.items()})
            rows += block
        return rows, ties


def exact(value):
    """What --json has as a number, however large."""
    return json.loads(value) if isinstance(value, str) and re.fullmatch(r'[\d.]+', value) else value


def check_figures(got, report):
    for key in ('run', 'threads', 'concurrency'):
        for mine, other in zip(*([d[key]] if key == 'run' else d[key] for d in (got.run, report))):
            for name in other:
                numeric = name not in ('frequency', 'name')
                if (exact(mine[name]) if numeric else mine[name]) != other[name]:
                    yield '%s %s: %s, not %s' % (key, name, mine[name], other[name])
        if key != 'run' and len(got.run[key]) != len(report[key]):
            yield '%s: %d rows' % (key, len(got.run[key]))
    for name in report['nodes'][0] if report['nodes'] else ():
        texts = name in ('id', 'name', 'function', 'source')
        column = got.nodes[name] if texts else [exact(value) for value in got.nodes[name]]
        if column != [node[name] for node in report['nodes']]:
            yield 'nodes %s: %s' % (name, column)


def check_path(got, report):
    lanes = [got.lane(lane)[0] for lane in range(len(got.run['all_threads']))]
    origin, at, path = int(got.run['origin']), None, []
    left_out = dict(zip(accumulate(got.path['left_out']['step']),
                        zip(got.path['left_out']['node'], got.path['left_out']['ticks'])))
    steps = zip(got.path['lane'], got.path['execution'], got.path['gap'], got.path['kind'])
    for number, (lane, position, gap, kind) in enumerate(steps):
        held = lanes[lane][position]
        if (held is None) != (number in left_out):
            yield 'path step %d is in both or none of chunks and left_out' % number
            return
        gap = exact(gap)
        if held:
            begin, end, node = origin + held[0], origin + held[1], held[2]
        else:
            begin = report['path'][0]['begin'] if at is None else at + gap
            node, end = left_out[number][0], begin + exact(left_out[number][1])
        at = end
        path.append({'id': got.nodes['id'][node], 'thread': got.run['all_threads'][lane], 'begin': begin, 'end': end,
                     'gap_ticks': gap, 'gap_kind': kind})
    if path != report['path'] or exact(got.path['rest']) != report['run']['path_rest_ticks']:
        yield 'path: %s, not %s' % (path, report['path'])


def check_executions(got, executions):
    """Compares chunks with the timeline."""
    origin = int(got.run['origin'])
    number_of = {id_: number for number, id_ in enumerate(got.nodes['id'])}
    ends = {e.end_line: number for number, e in enumerate(sorted(executions, key=lambda e: e.end_line))}
    end_lines = sorted(ends)
    lines = [(time, e.thread, e, kind) for e in executions for kind, time in (('begin', e.begin), ('end', e.end))]
    at = {}
    for time, *line in lines:
        at.setdefault(time, []).append(line)
    tied_executions = set()
    for same in at.values():
        empty = any(e.begin == e.end for _, e, _ in same) and len({thread for thread, _, _ in same}) > 1
        ends_meet = len({thread for thread, _, kind in same if kind == 'end'}) > 1
        tied_executions |= {e for _, e, kind in same
                            if ends_meet and kind == 'end' or empty and (kind == 'begin' or e.begin == e.end)}
    for lane, thread in enumerate(got.run['all_threads']):
        own = sorted((e for e in executions if e.thread == thread), key=lambda e: e.begin_line)
        rows, ties = got.lane(lane)
        expected = [(e.begin - origin, e.end - origin, number_of[e.node], len(e.around), KINDS[e.kind]) for e in own]
        if rows != expected:
            yield 'lane %d: %s, not %s' % (lane, rows, expected)
        tied = {position: (ends[e.end_line], bisect_right(end_lines, e.begin_line)) for position, e in enumerate(own)
                if e in tied_executions}
        if ties != tied:
            yield 'ties of lane %d: %s, not %s' % (lane, ties, tied)
    if got.run['executions'] != len(executions) or got.run['detailed'] != len(executions):
        yield 'the page counts %d of %d executions' % (got.run['detailed'], got.run['executions'])


def innermost_pieces(own):
    """When which execution was the innermost one of a thread: cuts at all begins and ends."""
    lines = sorted([(e.begin_line, e.begin, e, True) for e in own] + [(e.end_line, e.end, e, False) for e in own],
                   key=lambda line: line[0])
    last, inner = 0, None
    for _, time, e, begins in lines:
        if inner and time > last:
            yield last, time, inner
        last, inner = time, e if begins else e.parent


def check_pyramid(got, executions):
    origin, span = int(got.run['origin']), exact(got.run['span'])
    levels = got.pyramid['levels']
    if {key: got.run['overview'][key] for key in ('busy', 'node')} != {
            key: [lane[key] for lane in levels[0]['lanes']] for key in ('busy', 'node')}:
        yield 'the overview is not the first level'
    for lane, thread in enumerate(got.run['all_threads']):
        pieces = list(innermost_pieces([e for e in executions if e.thread == thread]))
        for level in levels:
            buckets = level['buckets']
            starts = [span * bucket // buckets for bucket in range(buckets + 1)]
            busy, by_node = [0] * buckets, [{} for _ in range(buckets)]
            for begin, end, e in pieces:
                begin, end = begin - origin, end - origin
                bucket = bisect_right(starts, begin) - 1
                while begin < end:
                    part = min(end, starts[bucket + 1]) - begin
                    busy[bucket] += part if e.kind != 'barrier' else 0
                    by_node[bucket][e.node] = by_node[bucket].get(e.node, 0) + part
                    begin += part
                    bucket += 1
            widths = [end - begin for begin, end in zip(starts, starts[1:])]
            share = [-(-ticks * 255 // width) if width else 0 for ticks, width in zip(busy, widths)]
            if share != level['lanes'][lane]['busy']:
                yield 'pyramid %d, lane %d: %s, not %s' % (buckets, lane, level['lanes'][lane]['busy'], share)
            for node, ticks in zip(level['lanes'][lane]['node'], by_node):
                if (node < 0) != (not ticks) or ticks and ticks.get(got.nodes['id'][node]) != max(ticks.values()):
                    yield 'pyramid %d, lane %d: %d is not the longest of %s' % (buckets, lane, node, ticks)


def check_marks(got, lines):
    """Compares user events with the lines of the timeline."""
    events = got.marks['user_events']
    origin = int(got.run['origin'])
    times = accumulate((exact(gap) for gap in events['time']), initial=origin)
    next(times)
    mine = [(time, got.run['all_threads'][lane], got.marks['texts'][text])
            for time, lane, text in zip(times, events['lane'], events['text'])]
    other = [(int(values['ts']), int(values['tid']), values['description']) for element, attributes in lines
             if element == 'user_event' for values in [dict(attributes)]]
    if mine != sorted(other, key=lambda event: event[0]):
        yield 'user events: %s, not %s' % (mine[:3], other[:3])


def read_documents(directory):
    """The nodes of each graph of the documents, and between them the edges as pairs of node and port."""
    nodes, edges = [], []
    for path in glob.glob(directory + '/*.graphml'):
        with open(path, encoding='utf-8', errors='replace') as document:
            for line in document:
                if line.startswith('<graph '):
                    nodes.append([])
                elif found := re.match(r'  <node  id="(.*?)">', line):
                    nodes[-1].append(found[1])
                elif line.startswith('  <edge '):
                    # Two ends of one kind have the same word in front.
                    edges.append(frozenset(re.findall(r'(?:source|target)="(.*?)" .*?port="(.*?)"', line)))
    return nodes, edges


def check_graph(got, documents):
    """Compares the graphs with the documents, and what is drawn in each with its size."""
    graphs, nodes, ports, edges = (got.graph[name] for name in ('graphs', 'nodes', 'ports', 'edges'))
    ids = got.nodes['id']
    document_nodes, document_edges = documents
    drawn = [[] for _ in graphs['x']]
    for node, graph in enumerate(nodes['graph']):
        if graph >= 0:
            drawn[graph].append(node)
    mine = sorted(sorted(ids[node] for node in inside) for inside in drawn)
    if mine != sorted(map(sorted, document_nodes)):
        yield 'graphs: %s, not %s' % (mine, document_nodes)
    ends = [[(ids[ports['node'][port]], ports['name'][port]) for port in edges[end]] for end in ('source', 'target')]
    mine = {frozenset(pair) for removed, *pair in zip(edges['removed'], *ends) if not removed}
    graph_of = {ids[node]: graph for node, graph in enumerate(nodes['graph'])}
    other = {edge for edge in document_edges if len({graph_of.get(node) for node, _ in edge}) == 1}
    # The documents put the ports of hidden nodes at the composite node around, where the picture has none of them.
    composites = {ids[node] for node, inner in enumerate(nodes['inner']) if inner >= 0}
    missing = {edge for edge in other - mine if composites.isdisjoint(node for node, _ in edge)}
    if missing or not mine <= other:
        yield 'edges: %s, not %s' % (mine - other, missing)
    for graph, inside in enumerate(drawn):
        boxes = [[nodes[name][node] for name in ('x', 'y', 'width', 'height')] for node in inside]
        if any(x < 0 or y < 0 or x + width > graphs['width'][graph] or y + height > graphs['height'][graph]
               for x, y, width, height in boxes):
            yield 'a node is outside of graph %d' % graph
        if any(a[0] < b[0] + b[2] and b[0] < a[0] + a[2] and a[1] < b[1] + b[3] and b[1] < a[1] + a[3]
               for i, a in enumerate(boxes) for b in boxes[:i]):
            yield 'nodes of graph %d overlap' % graph
    if any(not 0 < y < nodes['height'][node] for y, node in zip(ports['y'], ports['node'])):
        yield 'a port is not beside its node'
    if any(nodes['inner'][parent] != graph for graph, parent in enumerate(graphs['parent']) if parent >= 0):
        yield 'a graph is not the inner one of the node that it is in'
    if not sum(edges['points']) == len(edges['x']) == len(edges['y']):
        yield 'edges have %d points, not %d' % (sum(edges['points']), len(edges['x']))


class checker:
    def __init__(self, arguments):
        self.converter, self.kzr = os.path.abspath(arguments.converter), os.path.abspath(arguments.kzr)
        self.generator = os.path.abspath(arguments.generator)

    def report(self, run, *options):
        result = subprocess.run([self.kzr, 'report', run, *options], capture_output=True, check=True,
                                env={**os.environ, 'QZD_DIR': os.path.abspath(run)})
        return result.stdout.decode()

    def page(self, run, *options):
        return page(self.report(run, '-o', '-', *options))

    def check(self, run, rng):
        dump = json.loads(subprocess.run([self.kzr, 'dump', '--json', run], capture_output=True).stdout)
        with_openmp = any(domain['type'] == 'openmp' for domain in dump['domains'])
        with tempfile.TemporaryDirectory() as outputs:
            command = [self.converter, 'run'] + (['--omp_experimental'] if with_openmp else [])
            env = {**os.environ, 'QZD_DIR': os.path.abspath(run)}
            if subprocess.run(command, cwd=outputs, env=env, capture_output=True).returncode != 0:
                return
            _, executions, _ = random_runs.read_run(outputs)
            lines = list(random_runs.read_lines(outputs + '/run.traceml'))
            documents = read_documents(outputs)
        times = [t for e in executions for t in (e.begin, e.end)] or [0]
        low, high = sorted(rng.choice(times) for _ in range(2))
        for limits in (), ('--from', str(low), '--to', str(high)):
            got, report = self.page(run, *limits), json.loads(self.report(run, '--json', *limits))
            yield from check_figures(got, report)
            yield from check_path(got, report)
        yield from check_executions(got, executions)
        yield from check_pyramid(got, executions)
        yield from check_marks(got, lines)
        yield from check_graph(got, documents)

    def check_part(self, run):
        """A page that may hold a part of the executions only."""
        whole, part = self.page(run), self.page(run, '--max-size', '1')
        if len(part.text) > 2**20:
            yield 'a page of %d bytes is more than a MiB' % len(part.text)
        held = 0
        for lane in range(len(whole.run['all_threads'])):
            rows, ties = part.lane(lane)
            expected, all_ties = whole.lane(lane)
            held += sum(row is not None for row in rows)
            if any(row not in (None, other) for row, other in zip(rows, expected)) or len(rows) != len(expected):
                yield 'lane %d differs from that of the whole page' % lane
            if any(all_ties[position] != tie for position, tie in ties.items()):
                yield 'ties of lane %d differ' % lane
        if part.run['detailed'] != held or not part.run['executions'] // 5 < held < part.run['executions']:
            yield '%d executions are held, and %d are said to be' % (held, part.run['detailed'])
        if (part.nodes, part.pyramid, part.run['run']) != (whole.nodes, whole.pyramid, whole.run['run']):
            yield 'the sums of the page differ'
        yield from check_path(part, json.loads(self.report(run, '--json')))

    def generate(self, directory, workload, *sizes):
        run = '%s/%s' % (directory, workload)
        os.makedirs(run)
        subprocess.run([self.generator, workload, run, *sizes], check=True, capture_output=True)
        return run


def main():
    parser = argparse.ArgumentParser()
    for name in 'converter', 'kzr', 'generator':
        parser.add_argument(name)
    parser.add_argument('--seeds', default='0:40')
    arguments = parser.parse_args()
    check = checker(arguments)
    failed = 0

    def tell(name, differences):
        nonlocal failed
        for difference in differences:
            failed += 1
            print('%s: %s' % (name, difference[:2000]))

    with tempfile.TemporaryDirectory() as directory:
        for seed in range(*map(int, arguments.seeds.split(':'))):
            run = '%s/seed_%d' % (directory, seed)
            random_runs.random_run(seed).write(run)
            tell(run, check.check(run, random.Random(seed)))
        for workload, *sizes in ('timeline', '0.07', '1'), ('manyfiles', '5', '3'), ('strings', '0.01'):
            tell(workload, check.check(check.generate(directory, workload, *sizes), random.Random(1)))
        tell('part', check.check_part(check.generate(directory + '/part', 'timeline', '0.3')))
    sys.exit(1 if failed else 0)


if __name__ == '__main__':
    main()
