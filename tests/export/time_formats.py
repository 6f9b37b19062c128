#!/usr/bin/env python3
"""Compares what `kzr export` writes for Perfetto and speedscope with the timeline that the converter writes.

time_formats.py KZR2XML KZR [--seeds FROM:TO]   makes runs with regions, user events and frequencies of all kinds
time_formats.py KZR2XML KZR DIRECTORY...        takes runs that are there

The Perfetto file is decoded by `protoc`, by a schema of the fields that it may have.
"""
import argparse
import gzip
import json
import os
import random
import re
import subprocess
import sys
import tempfile
from itertools import groupby

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(os.path.dirname(HERE), 'analysis'))
import random_runs  # noqa: E402

BEGIN, END, INSTANT, COUNTER = 'SLICE_BEGIN', 'SLICE_END', 'INSTANT', 'COUNTER'
FREQUENCIES = (1000, 1000, 0, 1, 3, 7 * 10**8, 10**9, 3 * 10**9 + 1, 2**64 - 1)


# ---- A run that a seed stands for ------------------------------------------------------------------------------------

class marked_file(random_runs.trace_file):
    """Puts regions and user events between tasks."""

    def __init__(self, run, frequency):
        super().__init__(frequency)
        self.run = run

    def object(self, domain, id_, parent, kind):
        super().object(domain, id_, parent, kind)
        if kind in ('graph', 'composite_node', 'function_node'):
            self.run.places.append((domain, id_, parent))
            if kind == 'function_node' and self.run.rng.random() < 0.5:
                self.name(id_, self.run.rng.choice((b'name', b'\xff\xe2\x82', 'é\U0001f600'.encode())))

    def name(self, id_, text):
        self.record(7, '3QQQQ', *((random_runs.FLOW,) + id_), random_runs.handle('object_name'), len(text))
        self.bytes.append(text)

    def mark(self):
        rng = self.run.rng
        for _ in range(rng.choice((0, 0, 1, 2))):
            self.time = max(1, self.time + rng.choice((0, 0, 1, -1)))
            domain, id_, parent = rng.choice(self.run.places)
            kind = rng.randint(0, 2)
            if kind == 0:
                self.name((1 << 40, 0, 0), b'event %d \xc3' % rng.randint(0, 3))
            elif kind == 1:
                self.record(15, 'Q3Q3QQ', domain, *id_, *parent, random_runs.handle('node_body'))
            else:
                self.record(16, 'Q3Q', domain, *id_)

    def begin(self, *fields):
        self.mark()
        super().begin(*fields)

    def end_task(self, domain):
        self.mark()
        super().end_task(domain)


class marked_run(random_runs.random_run):
    def __init__(self, seed):
        self.places = []
        self.frequency = random.Random(seed).choice(FREQUENCIES)
        super().__init__(seed)

    def make_file(self):
        return marked_file(self, self.frequency)


# ---- What is expected ------------------------------------------------------------------------------------------------

def shown(text):
    return re.sub('[\udc80-\udcff]', '\ufffd', text)


class expectation:
    def __init__(self, outputs, frequency):
        self.docs, self.executions, _ = random_runs.read_run(outputs)
        timeline = os.path.join(outputs, 'run.traceml')
        # Executions have line numbers that count all elements.
        self.numbered = [(element, dict(values)) for element, values in random_runs.read_lines(timeline)]
        self.lines = [line for line in self.numbered if 'ts' in line[1]]
        times = [int(values['ts']) for _, values in self.lines]
        self.first, self.last = min(times, default=0), max(times, default=0)
        self.has_usable_clock = frequency > 0 and (self.last - self.first) * 10**9 // frequency < 2**63
        self.frequency = frequency if self.has_usable_clock else 10**9

    def ns(self, ticks):
        return (ticks - self.first) * 10**9 // self.frequency

    def name(self, id_):
        return shown(self.docs.names.get(id_, id_))

    def thread_events(self):
        """By thread: events in the order of the lines."""
        events = {int(values['tid']): [] for _, values in self.lines}
        at_line = {}
        for e in self.executions:
            at_line[e.begin_line] = (e.thread, (BEGIN, self.ns(e.begin), self.name(e.node), shown(e.node)))
            at_line[e.end_line] = (e.thread, (END, self.ns(e.end)))
        for number, (element, values) in enumerate(self.numbered):
            if element == 'user_event':
                at_line[number] = (int(values['tid']), (INSTANT, self.ns(int(values['ts'])), shown(values['description'])))
        for _, (thread, event) in sorted(at_line.items()):
            events[thread].append(event)
        return events

    def busy_threads(self):
        """Nanosecond and count, where that is another one than before."""
        changes = []
        for thread in {e.thread for e in self.executions}:
            mine = [e for e in self.executions if e.thread == thread]
            lines = sorted([(e.begin_line, e.begin, e) for e in mine] + [(e.end_line, e.end, e.parent) for e in mine],
                           key=lambda line: line[0])
            was_busy = False
            for _, time, innermost in lines:
                is_busy = innermost is not None and innermost.kind != 'barrier'
                changes.append((self.ns(time), is_busy - was_busy))
                was_busy = is_busy
        steps, count = [], 0
        for time, same in groupby(sorted(changes), key=lambda change: change[0]):
            before, count = count, count + sum(change for _, change in same)
            if count != before:
                steps.append((COUNTER, time, count))
        return steps

    def regions(self):
        open_, regions = {}, []
        for element, values in self.lines:
            id_ = values.get('id')
            if element == 'region_begin':
                regions.append([id_, int(values['ts']), self.last])
                open_.setdefault(id_, []).append(regions[-1])
            elif element == 'region_end' and open_.get(id_):
                region = open_[id_].pop()
                region[2] = max(region[1], int(values['ts']))
        return sorted((self.ns(begin), self.ns(end), self.name(id_), shown(id_)) for id_, begin, end in regions)


# ---- What is there ---------------------------------------------------------------------------------------------------

ESCAPES = {'n': '\n', 'r': '\r', 't': '\t'}


def unescape(text):
    octal = re.sub(rb'\\([0-7]{3}|.)', lambda m: bytes([int(m[1], 8)]) if len(m[1]) == 3 else
                   ESCAPES.get(m[1].decode(), m[1].decode()).encode(), text.encode())
    return octal.decode('utf-8')


def decode(data):
    """The packets as protoc tells them: a message is a dictionary with a list for each field."""
    result = subprocess.run(['protoc', '-I', HERE, '--decode=Trace', 'perfetto_subset.proto'], input=data,
                            capture_output=True, check=True)
    stack = [{}]
    for line in result.stdout.decode().splitlines():
        line = line.strip()
        if line.endswith('{'):
            inner = {}
            stack[-1].setdefault(line[:-2], []).append(inner)
            stack.append(inner)
        elif line == '}':
            stack.pop()
        else:
            key, value = line.split(': ', 1)
            value = unescape(value[1:-1]) if value.startswith('"') else int(value) if value.lstrip('-').isdigit() else value
            stack[-1].setdefault(key, []).append(value)
    return stack[0].get('packet', [])


class problem(Exception):
    pass


def demand(condition, *what):
    if not condition:
        raise problem(' '.join(map(str, what)))


def one(message, key, default=None):
    values = message.get(key, [default])
    demand(len(values) == 1, 'several', key)
    return values[0]


def only(message, *keys):
    demand(set(message) <= set(keys), 'unexpected fields', set(message) - set(keys))


class perfetto_trace:
    """Walks the packets once and holds them to the rules of the stream."""

    def __init__(self, packets):
        self.descriptors, self.events, self.texts = {}, {}, {'event_names': {}, 'event_categories': {}}
        self.nodes = {}
        for number, packet in enumerate(packets):
            only(packet, 'timestamp', 'trusted_packet_sequence_id', 'track_event', 'interned_data', 'sequence_flags',
                 'track_descriptor', 'first_packet_on_sequence')
            demand(one(packet, 'trusted_packet_sequence_id') == 1, 'sequence of packet', number)
            demand(one(packet, 'sequence_flags') == (2 if number else 3), 'flags of packet', number)
            demand(one(packet, 'first_packet_on_sequence') == (None if number else 'true'), 'first packet', number)
            if 'track_descriptor' in packet:
                demand(not self.events, 'a descriptor behind events')
                descriptor = one(packet, 'track_descriptor')
                demand(one(descriptor, 'uuid') not in self.descriptors, 'two tracks of one id')
                self.descriptors[one(descriptor, 'uuid')] = descriptor
            else:
                self.take_event(one(packet, 'timestamp'), one(packet, 'track_event'), one(packet, 'interned_data', {}))

    def take_event(self, time, event, interned):
        for kind, texts in self.texts.items():
            for text in interned.get(kind, []):
                demand(one(text, 'iid') > 0 and one(text, 'iid') not in texts, 'text twice', text)
                texts[one(text, 'iid')] = one(text, 'name')
        type_, track = one(event, 'type'), one(event, 'track_uuid')
        demand(track in self.descriptors, 'an event on no track')
        name = self.texts['event_names'].get(one(event, 'name_iid'))
        found = [type_, time]
        if type_ == BEGIN:
            category = self.texts['event_categories'][one(event, 'category_iids')]
            demand(self.nodes.setdefault(one(event, 'correlation_id'), category) == category, 'correlation of', category)
            found += [name, category]
        elif type_ == INSTANT:
            found.append(name)
        elif type_ == COUNTER:
            found.append(one(event, 'counter_value'))
        else:
            demand(set(event) == {'type', 'track_uuid'}, 'fields of an end')
        self.events.setdefault(track, []).append(tuple(found))

    def tracks(self, has):
        return {uuid: self.events.get(uuid, []) for uuid, d in self.descriptors.items() if has(d)}


def check_perfetto(data, expected, name):
    trace = perfetto_trace(decode(data))
    demand(len(set(trace.nodes.values())) == len(trace.nodes), 'one node has two correlations')
    process, = (d for d in trace.descriptors.values() if 'process' in d)
    demand(one(process, 'process') == {'pid': [1], 'process_name': [name]}, 'process', process)
    threads = {}
    for uuid, events in trace.tracks(lambda d: 'thread' in d).items():
        thread = one(trace.descriptors[uuid], 'thread')
        number = one(thread, 'tid') - 1
        demand(thread == {'pid': [1], 'tid': [number + 1], 'thread_name': ['thread %d' % number]}, 'thread', thread)
        threads[number] = events
    wanted = expected.thread_events()
    demand(threads == wanted, 'threads', threads, 'not', wanted)
    counters = list(trace.tracks(lambda d: 'counter' in d).values())
    demand(counters == [expected.busy_threads()], 'busy threads', counters, 'not', expected.busy_threads())
    regions = []
    region_tracks = trace.tracks(lambda d: one(d, 'sibling_merge_behavior') == 'NONE')
    for events in region_tracks.values():
        demand([e[1] for e in events] == sorted(e[1] for e in events), 'order of regions', events)
        open_ = []
        for event in events:
            if event[0] == BEGIN:
                open_.append(event)
            else:
                begin = open_.pop()
                regions.append((begin[1], event[1], *begin[2:]))
        demand(events and not open_, 'regions without an end or any')
    demand(sorted(regions) == expected.regions(), 'regions', sorted(regions), 'not', expected.regions())
    demand(len(trace.descriptors) == 2 + len(threads) + len(region_tracks), 'other tracks')


def check_speedscope(data, expected, name):
    file = json.loads(data)
    demand(file['$schema'].endswith('/file-format-schema.json') and file['name'] == name, 'head of the file')
    frames = [frame['name'] for frame in file['shared']['frames']]
    demand(sorted(frames) == sorted(expected.name(id_) for id_ in {e.node for e in expected.executions}), 'frames', frames)
    wanted = []
    for thread, events in sorted(expected.thread_events().items()):
        slices = [event[:3] for event in events if event[0] != INSTANT]
        if slices:
            wanted.append(('thread %d' % thread, slices))
    found = []
    for profile in file['profiles']:
        open_, events = [], []
        for event in profile['events']:
            if event['type'] == 'O':
                open_.append(event['frame'])
                events.append((BEGIN, event['at'], frames[event['frame']]))
            else:
                demand(open_.pop() == event['frame'], 'nesting of frames')
                events.append((END, event['at']))
        kinds = [profile[key] for key in ('type', 'unit', 'startValue', 'endValue')]
        demand(kinds == ['evented', 'nanoseconds', 0, expected.ns(expected.last)], 'profile', kinds)
        demand(not open_ and all(0 <= event[1] <= profile['endValue'] for event in events), 'range of times')
        found.append((profile['name'], events))
    demand(found == wanted, 'profiles', found, 'not', wanted)


# ---- Runs ------------------------------------------------------------------------------------------------------------

def check(converter, kzr, run):
    """What is wrong with the exports of a run; an empty text if nothing is."""
    dump = json.loads(subprocess.run([kzr, 'dump', '--json', run], capture_output=True).stdout)
    has_openmp = any(domain['type'] == 'openmp' for domain in dump['domains'])
    frequency = int(dump['frequency'] or 0)
    with tempfile.TemporaryDirectory() as outputs:
        command = [converter, 'run'] + (['--omp_experimental'] if has_openmp else [])
        converted = subprocess.run(command, cwd=outputs, env={**os.environ, 'QZD_DIR': os.path.abspath(run)},
                                   capture_output=True)
        expected = expectation(outputs, frequency) if converted.returncode == 0 else None
        paths = ['run.pftrace', 'run.pftrace.gz', 'run.speedscope.json']
        for path in paths:
            format_ = 'speedscope' if path.endswith('json') else 'perfetto'
            result = subprocess.run([kzr, 'export', '--to', format_, '-o', path, run], cwd=outputs, capture_output=True)
            if result.returncode != 0:
                return 'export ends with %d: %r' % (result.returncode, result.stderr)
            warns = b'one tick is written as one nanosecond' in result.stderr
        if expected is None:
            return ''
        plain, compressed, profiles = (open(os.path.join(outputs, path), 'rb').read() for path in paths)
    try:
        demand(gzip.decompress(compressed) == plain, 'what is compressed')
        demand(warns != expected.has_usable_clock, 'warning')
        name = os.path.basename(os.path.abspath(run))
        check_perfetto(plain, expected, name)
        check_speedscope(profiles, expected, name)
    except problem as found:
        return str(found)
    return ''


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument('converter', type=os.path.abspath)
    parser.add_argument('kzr', type=os.path.abspath)
    parser.add_argument('runs', nargs='*', type=os.path.abspath)
    parser.add_argument('--seeds', default='0:100')
    arguments = parser.parse_args()
    failed = 0
    with tempfile.TemporaryDirectory() as directory:
        runs = arguments.runs
        if not runs:
            for seed in range(*map(int, arguments.seeds.split(':'))):
                runs.append('%s/seed%d' % (directory, seed))
                marked_run(seed).write(runs[-1])
        for run in runs:
            found = check(arguments.converter, arguments.kzr, run)
            if found:
                failed += 1
                print('%s: %s' % (os.path.basename(run), found))
    sys.exit(1 if failed else 0)


if __name__ == '__main__':
    main()
