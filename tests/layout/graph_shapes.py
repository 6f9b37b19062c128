"""Graphs of many shapes, each the same at every call."""

import random


class Graph:
    """Boxes with ports on their sides; an edge is a pair of ports."""

    def __init__(self):
        self.nodes = []  # (width, height)
        self.ports = []  # (node, is input, y)
        self.edges = []

    def text(self):
        lines = [f"node {width} {height}" for width, height in self.nodes]
        lines += [f"port {node} {'in' if is_input else 'out'} {y}" for node, is_input, y in self.ports]
        lines += [f"edge {source} {target}" for source, target in self.edges]
        return "\n".join(lines) + "\n"


def graph_of(node_count, links, shares_ports=False):
    """A graph with these links between nodes: a port for each end, or one in and one out for each node."""
    graph = Graph()
    ports = [([], []) for _ in range(node_count)]
    for number, (source, target) in enumerate(links):
        ports[source][1].append((number, 0))
        ports[target][0].append((number, 1))
    ends = [[0, 0] for _ in links]
    for node, sides in enumerate(ports):
        most = 1 if shares_ports else max(1, *map(len, sides))
        height = 22 + 12 * most
        graph.nodes.append((100, height))
        for is_input, side in zip((True, False), sides):
            lines = min(1, len(side)) if shares_ports else len(side)
            first = len(graph.ports)
            for line in range(lines):
                y = 16 + (height - 16) * (2 * line + 1) // (2 * lines)
                graph.ports.append((node, is_input, y))
            for place, (number, end) in enumerate(side):
                ends[number][end] = first if shares_ports else first + place
    graph.edges = [tuple(pair) for pair in ends]
    return graph


def random_dag(seed, nodes, edges):
    choose = random.Random(seed)
    links = set()
    while len(links) < edges:
        a, b = choose.randrange(nodes), choose.randrange(nodes)
        if a != b:
            links.add((min(a, b), max(a, b)))
    return nodes, sorted(links)


def near_dag(seed, nodes, edges, reach):
    """Edges lead to nodes that come soon."""
    choose = random.Random(seed)
    links = set()
    while len(links) < edges:
        a = choose.randrange(nodes - 1)
        links.add((a, min(nodes - 1, a + choose.randint(1, reach))))
    return nodes, sorted(links)


def random_digraph(seed, nodes, edges):
    """With circles."""
    choose = random.Random(seed)
    links = set()
    while len(links) < edges:
        links.add((choose.randrange(nodes), choose.randrange(nodes)))
    return nodes, sorted(link for link in links if link[0] != link[1])


def layered(seed, layers, width, fan_out):
    choose = random.Random(seed)
    links = set()
    for layer in range(layers - 1):
        for place in range(width):
            for _ in range(fan_out):
                links.add((layer * width + place, (layer + 1) * width + choose.randrange(width)))
    return layers * width, sorted(links)


def tree(seed, nodes, children):
    choose = random.Random(seed)
    return nodes, [(choose.randrange(max(0, (node - 1) // children - 1), (node - 1) // children + 1), node)
                   for node in range(1, nodes)]


def merges(leaves):
    """Pairs are merged until one is left."""
    links, level, count = [], list(range(leaves)), leaves
    while len(level) > 1:
        upper = []
        for i in range(0, len(level) - 1, 2):
            links += [(level[i], count), (level[i + 1], count)]
            upper.append(count)
            count += 1
        level = upper + level[len(level) // 2 * 2:]
    return count, links


def grid(rows, columns):
    links = []
    for row in range(rows):
        for column in range(columns):
            node = row * columns + column
            if column + 1 < columns:
                links.append((node, node + 1))
            if row + 1 < rows:
                links.append((node, node + columns))
    return rows * columns, links


def stencil(width, steps):
    links = []
    for step in range(steps - 1):
        for place in range(width):
            for beside in (place - 1, place, place + 1):
                if 0 <= beside < width:
                    links.append((step * width + place, (step + 1) * width + beside))
    return width * steps, links


def series_parallel(seed, splits):
    choose = random.Random(seed)
    links, count = [(0, 1)], 2
    for _ in range(splits):
        place = choose.randrange(len(links))
        source, target = links[place]
        if choose.random() < 0.5:
            links[place:place + 1] = [(source, count), (count, target)]
        else:
            links.append((source, count))
            links.append((count, target))
        count += 1
    return count, links


def bipartite(left, right):
    return left + right, [(a, left + b) for a in range(left) for b in range(right)]


def fork_joins(width, stages):
    links, before = [], 0
    for stage in range(stages):
        end = before + width + 1
        links += [(before, before + 1 + i) for i in range(width)]
        links += [(before + 1 + i, end) for i in range(width)]
        before = end
    return before + 1, links


def chain(nodes):
    return nodes, [(i, i + 1) for i in range(nodes - 1)]


def task_graph(tasks):
    """Tasks as (reads, writes) of tiles: each follows the last one that wrote what it takes."""
    links, last = set(), {}
    for task, (reads, written) in enumerate(tasks):
        links |= {(last[tile], task) for tile in (*reads, written) if tile in last}
        last[written] = task
    return len(tasks), sorted(links)


def cholesky(size):
    tasks = []
    for k in range(size):
        tasks.append(((), (k, k)))
        tasks += [(((k, k),), (i, k)) for i in range(k + 1, size)]
        for i in range(k + 1, size):
            tasks += [(((i, k), (j, k)), (i, j)) for j in range(k + 1, i + 1)]
    return task_graph(tasks)


def lu(size):
    tasks = []
    for k in range(size):
        tasks.append(((), (k, k)))
        tasks += [(((k, k),), (k, j)) for j in range(k + 1, size)]
        tasks += [(((k, k),), (i, k)) for i in range(k + 1, size)]
        tasks += [(((i, k), (k, j)), (i, j)) for i in range(k + 1, size) for j in range(k + 1, size)]
    return task_graph(tasks)
