// Where the boxes of the graph are: graphs inside the boxes of composite nodes, each in units of its own.

/** Height of the title of a composite node, above its inner graph, in units of the graph around. */
const titleHeight = 16;
const innerMargin = 6;
/** From so many nodes a graph gets a grid, to find those in view. */
const leastGridNodes = 400;

/** The part `graph` in columns, with what is found by node, graph and port. */
class GraphLayout {
  constructor(part) {
    const {graphs, nodes, ports, edges} = part;
    this.graphs = graphs;
    this.nodes = nodes;
    this.ports = ports;
    this.graphCount = graphs.parent.length;
    this.nodesOf = this.group(nodes.graph);
    this.portsOf = groupBy(ports.node, nodes.graph.length);
    this.readEdges(edges);
    this.findExtent();
    this.grids = new Map();
  }

  group(graphOf) {
    return groupBy(graphOf, this.graphCount);
  }

  /** Edges with all their points, as one list of numbers: x, y, x, y. */
  readEdges(edges) {
    const {ports, nodes} = this;
    const count = edges.source.length;
    this.edgesOf = groupBy(edges.graph, this.graphCount);
    this.removed = edges.removed;
    this.edgeSource = Int32Array.from(edges.source, (port) => ports.node[port]);
    this.edgeTarget = Int32Array.from(edges.target, (port) => ports.node[port]);
    const innerOf = ports.node.slice();
    sumGaps(ports.outer).forEach((port, i) => { innerOf[port] = ports.inner[i]; });
    this.edgeInnerSource = Int32Array.from(edges.source, (port) => innerOf[port]);
    this.edgeInnerTarget = Int32Array.from(edges.target, (port) => innerOf[port]);
    this.edgeFirst = new Uint32Array(count + 1);
    for (let i = 0; i < count; ++i) this.edgeFirst[i + 1] = this.edgeFirst[i] + 2 * (edges.points[i] + 2);
    this.points = new Float32Array(this.edgeFirst[count]);
    this.edgeBox = new Float32Array(4 * count);
    let next = 0;
    for (let i = 0; i < count; ++i) {
      let at = this.edgeFirst[i];
      [this.points[at++], this.points[at++]] = this.portPlace(edges.source[i]);
      let x = 0;
      let y = 0;
      for (let j = 0; j < edges.points[i]; ++j, ++next) {
        this.points[at++] = x += edges.x[next];
        this.points[at++] = y += edges.y[next];
      }
      [this.points[at++], this.points[at++]] = this.portPlace(edges.target[i]);
      this.boxEdge(i);
    }
    this.edgesOfNode = this.groupEdges(nodes.graph.length);
  }

  /**
   * Says of each edge, 0 or 1, whether two nodes of a list, one behind the other, are those that it leads from and to.
   * @param list nodes, -1 for one that is not known
   */
  edgesAlong(list) {
    const count = this.nodes.graph.length;
    const steps = new Set();
    for (let i = 1; i < list.length; ++i) if (list[i] >= 0) steps.add(list[i - 1] * count + list[i]);
    return Uint8Array.from(this.edgeInnerSource, (source, i) => steps.has(source * count + this.edgeInnerTarget[i]));
  }

  /** A port's place in its graph; inputs of nodes are on the left, outputs on the right. */
  portPlace(port) {
    const {ports, nodes} = this;
    const node = ports.node[port];
    return [nodes.x[node] + (ports.is_input[port] ? 0 : nodes.width[node]), nodes.y[node] + ports.y[port]];
  }

  boxEdge(i) {
    let [left, top, right, bottom] = [Infinity, Infinity, -Infinity, -Infinity];
    for (let at = this.edgeFirst[i]; at < this.edgeFirst[i + 1]; at += 2) {
      left = Math.min(left, this.points[at]);
      right = Math.max(right, this.points[at]);
      top = Math.min(top, this.points[at + 1]);
      bottom = Math.max(bottom, this.points[at + 1]);
    }
    this.edgeBox.set([left, top, right, bottom], 4 * i);
  }

  groupEdges(nodeCount) {
    const ends = [];
    const edges = [];
    this.edgeSource.forEach((source, i) => {
      ends.push(source, this.edgeTarget[i]);
      edges.push(i, i);
    });
    const grouped = groupBy(ends, nodeCount);
    grouped.list = grouped.list.map((i) => edges[i]);
    return grouped;
  }

  /** The rectangle of all top graphs. */
  findExtent() {
    let [left, top, right, bottom] = [Infinity, Infinity, -Infinity, -Infinity];
    const {graphs} = this;
    for (let g = 0; g < this.graphCount; ++g) {
      if (graphs.parent[g] >= 0) continue;
      left = Math.min(left, graphs.x[g]);
      top = Math.min(top, graphs.y[g]);
      right = Math.max(right, graphs.x[g] + graphs.width[g]);
      bottom = Math.max(bottom, graphs.y[g] + graphs.height[g]);
    }
    this.extent = right > left ? {x: left, y: top, width: right - left, height: Math.max(1, bottom - top)}
      : {x: 0, y: 0, width: 1, height: 1};
  }

  /**
   * Values of nodes, for composite ones with those of all nodes in them.
   * @param {Float64Array} values by node, which are changed
   */
  addInner(values, addsUp) {
    const {graphs, nodes} = this;
    // A graph is finished when all its nodes are: inner graphs first, however deep they are nested.
    const open = new Int32Array(this.graphCount);
    for (let node = 0; node < nodes.inner.length; ++node) {
      if (nodes.inner[node] >= 0 && nodes.graph[node] >= 0) ++open[nodes.graph[node]];
    }
    const finished = [];
    open.forEach((count, graph) => { if (count === 0) finished.push(graph); });
    while (finished.length > 0) {
      const graph = finished.pop();
      const around = graphs.parent[graph];
      if (around < 0) continue;
      const {first, list} = this.nodesOf;
      for (let i = first[graph]; i < first[graph + 1]; ++i) {
        values[around] = addsUp ? values[around] + values[list[i]] : Math.max(values[around], values[list[i]]);
      }
      if (--open[nodes.graph[around]] === 0) finished.push(nodes.graph[around]);
    }
  }

  /** Where an inner graph lies in the graph around it: place of its origin and scale. */
  placeInParent(graph) {
    const {graphs, nodes} = this;
    const node = graphs.parent[graph];
    const width = Math.max(1, nodes.width[node] - 2 * innerMargin);
    const height = Math.max(1, nodes.height[node] - titleHeight - innerMargin);
    const scale = Math.min(width / Math.max(1, graphs.width[graph]), height / Math.max(1, graphs.height[graph]));
    return {
      scale,
      x: nodes.x[node] + innerMargin + (width - graphs.width[graph] * scale) / 2,
      y: nodes.y[node] + titleHeight + (height - graphs.height[graph] * scale) / 2,
    };
  }

  /** The graph around the composite node of `graph`, -1 for the picture of all top graphs. */
  around(graph) {
    const parent = this.graphs.parent[graph];
    return parent < 0 ? -1 : this.nodes.graph[parent];
  }

  /** Calls `visit` for the nodes of a graph that may lie in a rectangle. */
  eachNode(graph, left, top, right, bottom, visit) {
    const {first, list} = this.nodesOf;
    const count = first[graph + 1] - first[graph];
    if (count < leastGridNodes) {
      for (let i = first[graph]; i < first[graph + 1]; ++i) visit(list[i]);
      return;
    }
    this.gridOf(graph).each(left, top, right, bottom, visit);
  }

  gridOf(graph) {
    if (!this.grids.has(graph)) this.grids.set(graph, new NodeGrid(this, graph));
    return this.grids.get(graph);
  }
}

/** Numbers 0, 1, ... in groups by `keys`; negative keys are in none. Those of group g stand from first[g] on. */
function groupBy(keys, groupCount) {
  const first = new Uint32Array(groupCount + 1);
  for (const key of keys) if (key >= 0) ++first[key + 1];
  for (let i = 0; i < groupCount; ++i) first[i + 1] += first[i];
  const next = first.slice();
  const list = new Uint32Array(first[groupCount]);
  keys.forEach((key, i) => { if (key >= 0) list[next[key]++] = i; });
  return {first, list};
}

/** The nodes of a graph in cells of equal size, each in the cell of its middle. */
class NodeGrid {
  constructor(layout, graph) {
    const {first, list} = layout.nodesOf;
    this.nodes = list.subarray(first[graph], first[graph + 1]);
    const {x, y, width, height} = layout.nodes;
    this.reachX = 0;
    this.reachY = 0;
    let [right, bottom] = [1, 1];
    for (const node of this.nodes) {
      this.reachX = Math.max(this.reachX, width[node] / 2);
      this.reachY = Math.max(this.reachY, height[node] / 2);
      right = Math.max(right, x[node] + width[node]);
      bottom = Math.max(bottom, y[node] + height[node]);
    }
    const cells = Math.max(1, this.nodes.length / 8);
    this.cell = Math.sqrt((right * bottom) / cells);
    this.columns = Math.max(1, Math.ceil(right / this.cell));
    this.lines = Math.max(1, Math.ceil(bottom / this.cell));
    const keys = Array.from(this.nodes, (node) => this.keyOf(x[node] + width[node] / 2, y[node] + height[node] / 2));
    this.groups = groupBy(keys, this.columns * this.lines);
  }

  keyOf(x, y) {
    return this.clampTo(y, this.lines) * this.columns + this.clampTo(x, this.columns);
  }

  clampTo(place, count) {
    return Math.min(count - 1, Math.max(0, Math.floor(place / this.cell)));
  }

  each(left, top, right, bottom, visit) {
    const {first, list} = this.groups;
    const firstColumn = this.clampTo(left - this.reachX, this.columns);
    const lastColumn = this.clampTo(right + this.reachX, this.columns);
    const lastLine = this.clampTo(bottom + this.reachY, this.lines);
    for (let line = this.clampTo(top - this.reachY, this.lines); line <= lastLine; ++line) {
      const base = line * this.columns;
      for (let i = first[base + firstColumn]; i < first[base + lastColumn + 1]; ++i) visit(this.nodes[list[i]]);
    }
  }
}
