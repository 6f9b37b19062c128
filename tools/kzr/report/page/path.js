// The observed path of a range: one chain of executions, back in time from the one that ended last.

/** A list of numbers that grows. */
class GrowingList {
  constructor(Kind) {
    this.list = new Kind(256);
    this.length = 0;
  }

  push(number) {
    if (this.length === this.list.length) {
      const grown = new this.list.constructor(2 * this.length);
      grown.set(this.list);
      this.list = grown;
    }
    this.list[this.length++] = number;
  }
}

/** The executions of a lane that have none nested in them and are wholly inside a range, by their ends. */
class Leaves {
  constructor() {
    this.position = new GrowingList(Float64Array);
    this.begin = new GrowingList(Float64Array);
    this.end = new GrowingList(Float64Array);
    this.node = new GrowingList(Int32Array);
    this.outermostBegin = new GrowingList(Float64Array);
    this.ties = new Map();
  }

  get length() {
    return this.position.length;
  }

  push(leaf) {
    if (leaf.tie) this.ties.set(this.length, leaf.tie);
    this.position.push(leaf.position);
    this.begin.push(leaf.begin);
    this.end.push(leaf.end);
    this.node.push(leaf.node);
    this.outermostBegin.push(leaf.depth === 0 ? Infinity : leaf.outermostBegin);
  }
}

/** Finds the leaves of all lanes, block by block. */
class LeafFinder {
  constructor(laneCount, range) {
    this.range = range;
    this.lanes = Array.from({length: laneCount}, () => ({leaves: new Leaves(), open: []}));
  }

  add(laneNumber, start, block) {
    const {leaves, open} = this.lanes[laneNumber];
    const {from, to} = this.range;
    const {count, begin, end, node, depth, kind, ties} = block;
    for (let i = 0; i < count; ++i) {
      if (end[i] < from || begin[i] > to) continue;
      while (open.length > 0 && open[open.length - 1].depth >= depth[i]) this.take(leaves, open.pop());
      if (kind[i] === workKind) markAround(open);
      open.push({
        position: start + i, begin: begin[i], end: end[i], node: node[i], depth: depth[i],
        outermostBegin: open.length > 0 ? open[0].begin : begin[i],
        isLeaf: kind[i] === workKind && begin[i] >= from && end[i] <= to, holdsWork: false, tie: ties.get(i),
      });
    }
  }

  take(leaves, execution) {
    if (execution.isLeaf && !execution.holdsWork) leaves.push(execution);
  }

  close() {
    return this.lanes.map(({leaves, open}) => {
      while (open.length > 0) this.take(leaves, open.pop());
      return leaves;
    });
  }
}

/** Notes that work is nested in what is open; what is around the first that knows it knows it, too. */
function markAround(open) {
  for (let i = open.length - 1; i >= 0 && !open[i].holdsWork; --i) open[i].holdsWork = true;
}

/** Answers which nodes that ran are before a node: over an edge, or several over nodes that are looked through. */
class NodeOrder {
  /** @param links the part `links`, read by readLinks()  @param executions by node: how many in the range */
  constructor(links, executions) {
    this.links = links;
    this.executions = executions;
    this.found = new Map();
    this.foundSize = 0;
  }

  isBefore(source, node) {
    return this.nodesBefore(node).has(source);
  }

  nodesBefore(node) {
    let before = this.found.get(node);
    if (before) return before;
    // Where everything is before everything, all answers would need the square of the nodes.
    if (this.foundSize > 1 << 22) {
      this.found.clear();
      this.foundSize = 0;
    }
    before = this.collectBefore(node);
    this.foundSize += before.size;
    this.found.set(node, before);
    return before;
  }

  collectBefore(node) {
    const {links, executions} = this;
    const before = new Set();
    const visited = new Set();
    const pending = [node];
    while (pending.length > 0) {
      for (const source of links.sources.get(pending.pop()) ?? []) {
        if (visited.has(source)) continue;
        visited.add(source);
        if (executions[source] > 0) before.add(source);
        if (!(executions[source] > 0) || links.composites.has(source)) pending.push(source);
      }
    }
    return before;
  }
}

/** The part `links` by target. */
function readLinks(part) {
  const sources = new Map();
  sumGaps(part.source);
  part.target.forEach((target, i) => {
    if (!sources.has(target)) sources.set(target, []);
    sources.get(target).push(part.source[i]);
  });
  return {sources, composites: new Set(part.composite)};
}

/** Finds the path; all of a run's leaves are looked at once at most. */
class PathFinder {
  constructor(lanes, order, figures) {
    this.lanes = lanes;
    this.order = order;
    this.figures = figures;
    this.left = Int32Array.from(lanes, (leaves) => leaves.length);
    this.queue = new LaneQueue(lanes.length);
    this.passedOver = [];
    this.passedOverEnd = 0;
    lanes.forEach((leaves, lane) => this.queueLane(lane));
  }

  queueLane(lane) {
    const left = this.left[lane];
    // The queue has the least first, so times are turned around.
    if (left > 0) this.queue.add(lane, -this.lanes[lane].end.list[left - 1]);
  }

  /** Takes the leaf that ended last of those that are left; of several the one whose end line comes last. */
  takeLast() {
    if (this.queue.size === 0) return null;
    const time = this.queue.time[this.queue.first];
    const tied = [];
    while (this.queue.size > 0 && this.queue.time[this.queue.first] === time) {
      tied.push(this.queue.first);
      this.queue.removeFirst();
    }
    let last = this.leafAt(tied[0]);
    for (const lane of tied.slice(1)) {
      const other = this.leafAt(lane);
      if ((other.tie?.number ?? 0) > (last.tie?.number ?? 0)) last = other;
    }
    --this.left[last.lane];
    for (const lane of tied) this.queueLane(lane);
    return last;
  }

  leafAt(lane) {
    const leaves = this.lanes[lane];
    const i = this.left[lane] - 1;
    return {
      lane, position: leaves.position.list[i], begin: leaves.begin.list[i], end: leaves.end.list[i],
      node: leaves.node.list[i], outermostBegin: leaves.outermostBegin.list[i], tie: leaves.ties.get(i),
    };
  }

  async find(job) {
    const steps = [];
    let execution = this.takeLast();
    const rest = execution ? this.figures.last - execution.end : this.figures.makespan;
    while (execution) {
      const before = this.findBefore(execution);
      const gapBegin = before ? before.end : this.figures.first;
      steps.push({...execution, gap: execution.begin - gapBegin, kind: this.kindOfGap(execution, before, gapBegin)});
      execution = before;
      if ((steps.length & 255) === 0 && job.isDue) await job.pause();
    }
    return {steps: steps.reverse(), rest};
  }

  findBefore(execution) {
    if (this.passedOver.length > 0 && this.passedOverEnd === execution.begin) {
      const found = this.passedOver.find((candidate) => this.mayPrecede(candidate, execution));
      if (found) return found;
    }
    for (let candidate = this.takeLast(); candidate; candidate = this.takeLast()) {
      if (!this.hasEnded(candidate, execution)) continue;
      if (this.mayPrecede(candidate, execution)) return candidate;
      this.passOver(candidate);
    }
    return null;
  }

  /** Keeps what ended at the same time as the last one looked at: one of no length may follow that began then. */
  passOver(candidate) {
    if (this.passedOverEnd !== candidate.end) this.passedOver = [];
    this.passedOverEnd = candidate.end;
    if (candidate.end > candidate.begin) this.passedOver.push(candidate);
  }

  mayPrecede(before, execution) {
    return before.lane === execution.lane || this.order.isBefore(before.node, execution.node);
  }

  /** Of what has no length the lines decide, so that the path never comes back to where it was. */
  hasEnded(before, execution) {
    if (before.end !== execution.begin || before.end > before.begin) return before.end <= execution.begin;
    if (before.lane === execution.lane) return before.position < execution.position;
    return before.tie?.number < execution.tie?.endedBefore;
  }

  kindOfGap(execution, before, gapBegin) {
    if (execution.begin === gapBegin) return null;
    if (execution.outermostBegin <= gapBegin) return 'enclosing';
    if (!before) return 'unexplained';
    const isData = this.order.isBefore(before.node, execution.node);
    if (isData === (before.lane === execution.lane)) return 'unexplained';
    return isData ? 'thread' : 'data';
  }
}
