"""crossings_check.py DRAW_GRAPH DOT [--large]: draws graphs of many shapes with the layout and with Graphviz, and
counts in the same way for both how often drawn edges cross, and how many pairs of edges do. Fails where the layout
has more than 1.5 times as many of either."""

import json
import subprocess
import sys

import graph_shapes as shapes

MOST_TIMES_THE_OTHER = 1.5
NEAR_PORT = 4
CURVE_STEPS = 7  # straight lines in place of each curve of the other drawing


def small_table():
    return {
        "random, sparse": shapes.random_dag(1, 60, 75),
        "random, dense": shapes.random_dag(2, 40, 120),
        "random, near": shapes.near_dag(3, 100, 160, 8),
        "circles": shapes.random_digraph(4, 50, 75),
        "tree": shapes.tree(5, 120, 3),
        "merges": shapes.merges(32),
        "grid": shapes.grid(8, 12),
        "stencil": shapes.stencil(8, 10),
        "series and parallel": shapes.series_parallel(6, 80),
        "layers": shapes.layered(7, 8, 10, 2),
        "bipartite": shapes.bipartite(8, 9),
        "fork and join": shapes.fork_joins(6, 4),
        "cholesky": shapes.cholesky(6),
        "lu": shapes.lu(5),
    }


def large_table():
    table = small_table()
    for seed in range(1, 4):
        for nodes in (200, 500, 1000):
            table[f"random, sparse, {nodes} {seed}"] = shapes.random_dag(seed, nodes, nodes * 5 // 4)
            table[f"random, near, {nodes} {seed}"] = shapes.near_dag(seed, nodes, nodes * 3 // 2, 20)
            table[f"series and parallel, {nodes} {seed}"] = shapes.series_parallel(seed, nodes - 2)
            table[f"tree, {nodes} {seed}"] = shapes.tree(seed, nodes, 4)
        table[f"random, dense {seed}"] = shapes.random_dag(seed, 200, 500)
        table[f"circles {seed}"] = shapes.random_digraph(seed, 300, 420)
        table[f"layers {seed}"] = shapes.layered(seed, 20, 40, 2)
    table["grid, 900"] = shapes.grid(30, 30)
    table["stencil, 900"] = shapes.stencil(30, 30)
    table["cholesky, 816"] = shapes.cholesky(16)
    table["lu, 650"] = shapes.lu(12)
    table["bipartite, 60"] = shapes.bipartite(30, 30)
    table["fork and join, 900"] = shapes.fork_joins(29, 30)
    return table


def drawn_by_layout(program, graph):
    """The lines of each edge as lists of points, the ports included."""
    answer = subprocess.run([program], input=graph.text(), capture_output=True, text=True, check=True).stdout
    rows = [line.split() for line in answer.splitlines()]
    places = [tuple(map(int, row[1:])) for row in rows if row[0] == "node"]
    routes = [list(map(int, row[2:])) for row in rows if row[0] == "edge"]

    def at(port):
        node, is_input, y = graph.ports[port]
        return places[node][0] + (0 if is_input else graph.nodes[node][0]), places[node][1] + y

    return [[at(source), *zip(route[::2], route[1::2]), at(target)]
            for (source, target), route in zip(graph.edges, routes)]


def dot_text(graph):
    """Nodes are tables with a cell for each port, in the same order and at the same heights."""
    sides = [([], []) for _ in graph.nodes]
    for port, (node, is_input, _) in enumerate(graph.ports):
        sides[node][0 if is_input else 1].append(port)
    lines = ["digraph g { rankdir=LR; nodesep=0.33; ranksep=0.6; node [shape=plain];"]

    def column(ports, height):
        share = height // max(1, len(ports))
        rows = "".join(f'<TR><TD PORT="p{port}" HEIGHT="{share}" WIDTH="10"></TD></TR>' for port in ports)
        return f'<TABLE BORDER="0" CELLBORDER="0" CELLSPACING="0" CELLPADDING="0">{rows}</TABLE>' if rows else ""

    for node, (width, height) in enumerate(graph.nodes):
        inputs, outputs = (column(ports, height - 16) for ports in sides[node])
        lines.append(f'{node} [label=<<TABLE BORDER="1" CELLBORDER="0" CELLSPACING="0" CELLPADDING="0">'
                     f'<TR><TD COLSPAN="3" HEIGHT="16" WIDTH="{width}"></TD></TR>'
                     f'<TR><TD>{inputs}</TD><TD WIDTH="{width - 20}"></TD><TD>{outputs}</TD></TR></TABLE>>];')
    for number, (source, target) in enumerate(graph.edges):
        lines.append(f"{graph.ports[source][0]}:p{source}:e -> {graph.ports[target][0]}:p{target}:w "
                     f'[arrowhead=none, label="", comment="{number}"];')
    return "\n".join(lines) + "}\n"


def drawn_by_dot(program, graph):
    answer = subprocess.run([program, "-Tjson"], input=dot_text(graph), capture_output=True, text=True, check=True)
    routes = [None] * len(graph.edges)
    for edge in json.loads(answer.stdout).get("edges", []):
        points = [tuple(map(float, pair.split(","))) for pair in edge["pos"].split(" ") if pair[0] not in "es"]
        routes[int(edge["comment"])] = straightened(points)
    return routes


def straightened(points):
    """Points on the curves of a spline, three control points and an end each."""
    route = points[:1]
    for i in range(0, len(points) - 1, 3):
        a, b, c, d = points[i:i + 4]
        for step in range(1, CURVE_STEPS + 1):
            t = step / CURVE_STEPS
            s = 1 - t
            route.append(tuple(s * s * s * a[k] + 3 * s * s * t * b[k] + 3 * s * t * t * c[k] + t * t * t * d[k]
                               for k in (0, 1)))
    return route


def turn(a, b, c):
    return (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0])


def crossing_of(a, b, c, d):
    """Where two lines cross, None where they do not. Of two lines in a row that end on another, one crosses it."""
    first, second = turn(c, d, a), turn(c, d, b)
    if (first < 0) == (second < 0) or (turn(a, b, c) < 0) == (turn(a, b, d) < 0):
        return None
    share = first / (first - second)
    return a[0] + share * (b[0] - a[0]), a[1] + share * (b[1] - a[1])


def count_crossings(graph, routes):
    """How often lines of different edges cross, and how many pairs of edges without a common port do."""
    lines = []
    for edge, route in enumerate(routes):
        for a, b in zip(route, route[1:]):
            lines.append((min(a[0], b[0]), max(a[0], b[0]), min(a[1], b[1]), max(a[1], b[1]), edge, a, b))
    lines.sort(key=lambda line: line[0])
    count, pairs, open_lines = 0, set(), []
    for line in lines:
        left, _, top, bottom, edge, a, b = line
        open_lines = [other for other in open_lines if other[1] >= left]
        for _, _, other_top, other_bottom, other_edge, c, d in open_lines:
            if edge == other_edge or other_top > bottom or top > other_bottom:
                continue
            place = crossing_of(a, b, c, d)
            if place is None:
                continue
            shared = shared_ends(graph, routes, edge, other_edge)
            # Edges of one port part beside it, which is no crossing.
            if any(abs(place[0] - end[0]) + abs(place[1] - end[1]) < NEAR_PORT for end in shared):
                continue
            count += 1
            if not shared:
                pairs.add((min(edge, other_edge), max(edge, other_edge)))
        open_lines.append(line)
    return count, len(pairs)


def shared_ends(graph, routes, edge, other):
    return [routes[edge][-end] for end in (0, 1) if graph.edges[edge][end] == graph.edges[other][end]]


def main():
    program, dot, *options = sys.argv[1:]
    table = large_table() if options else small_table()
    is_wrong = False
    print(f"{'graph':<30}{'ports':<8}{'nodes':>6}{'edges':>6}{'layout':>14}{'dot':>14}   times")
    for name, (nodes, links) in table.items():
        for shares_ports in (False, True):
            graph = shapes.graph_of(nodes, links, shares_ports)
            own = count_crossings(graph, drawn_by_layout(program, graph))
            other = count_crossings(graph, drawn_by_dot(dot, graph))
            is_worse = any(a > MOST_TIMES_THE_OTHER * b for a, b in zip(own, other))
            is_wrong |= is_worse
            times = " ".join(f"{a / b:.2f}" if b else "-" for a, b in zip(own, other))
            print(f"{name:<30}{'shared' if shares_ports else 'own':<8}{nodes:>6}{len(links):>6}"
                  f"{own[0]:>7}{own[1]:>7}{other[0]:>7}{other[1]:>7}   {times}{'  TOO MANY' if is_worse else ''}",
                  flush=True)
    return 1 if is_wrong else 0


if __name__ == "__main__":
    sys.exit(main())
