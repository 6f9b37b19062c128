// The figures of a range of time, computed from the executions in the page. docs/analysis.md defines each one.

/** Ranks of percentiles by field of a node. */
const percentiles = {p50_ticks: 50, p90_ticks: 90, p99_ticks: 99};

/** Lanes by the time of what comes next on them, the least first. */
class LaneQueue {
  constructor(laneCount) {
    this.time = new Float64Array(laneCount);
    this.heap = new Int32Array(laneCount);
    this.size = 0;
  }

  get first() {
    return this.heap[0];
  }

  add(lane, time) {
    this.time[lane] = time;
    let i = this.size++;
    while (i > 0) {
      const above = (i - 1) >> 1;
      if (this.time[this.heap[above]] <= time) break;
      this.heap[i] = this.heap[above];
      i = above;
    }
    this.heap[i] = lane;
  }

  /** Gives the first lane another time. */
  moveFirst(time) {
    this.time[this.heap[0]] = time;
    this.sink(this.heap[0]);
  }

  removeFirst() {
    const last = this.heap[--this.size];
    if (this.size > 0) this.sink(last);
  }

  sink(lane) {
    const time = this.time[lane];
    let i = 0;
    for (;;) {
      let below = 2 * i + 1;
      if (below >= this.size) break;
      if (below + 1 < this.size && this.time[this.heap[below + 1]] < this.time[this.heap[below]]) ++below;
      if (this.time[this.heap[below]] >= time) break;
      this.heap[i] = this.heap[below];
      i = below;
    }
    this.heap[i] = lane;
  }
}

/** Goes through the executions of a lane that reach into a range and tells when the innermost one changes. */
class LaneWalk {
  constructor(store, lane, range) {
    this.store = store;
    this.lane = lane;
    this.range = range;
    const {first, end} = store.blocksIn(lane, range.from, range.to);
    this.nextBlock = first;
    this.endBlock = end;
    this.block = null;
    this.i = 0;
    this.nodes = [];
    this.kinds = [];
    this.ends = [];
    this.depths = [];
  }

  /** Finds the next execution in the range; false where a block must be loaded first. */
  settle() {
    for (;;) {
      if (!this.block) return this.nextBlock >= this.endBlock;
      const {count, begin, end} = this.block;
      const {from, to} = this.range;
      while (this.i < count && (end[this.i] < from || begin[this.i] > to)) ++this.i;
      if (this.i < count) return true;
      this.block = null;
    }
  }

  async loadBlock() {
    this.block = await this.store.load(this.lane, this.nextBlock++);
    this.i = 0;
  }

  get hasChange() {
    return this.block !== null || this.nodes.length > 0;
  }

  get leaves() {
    const open = this.depths.length;
    return open > 0 && (!this.block || this.block.depth[this.i] <= this.depths[open - 1]);
  }

  get changeTime() {
    const time = this.leaves ? this.ends[this.ends.length - 1] : this.block.begin[this.i];
    return Math.min(Math.max(time, this.range.from), this.range.to);
  }

  /** Passes the next change. Afterwards settle() must be called again. */
  pass() {
    if (this.leaves) {
      this.nodes.pop();
      this.kinds.pop();
      this.ends.pop();
      this.depths.pop();
      return;
    }
    const {block, i} = this;
    this.nodes.push(block.node[i]);
    this.kinds.push(block.kind[i]);
    this.ends.push(block.end[i]);
    this.depths.push(block.depth[i]);
    ++this.i;
  }
}

/** Sums of ticks and of parts of a tick, side by side: what is rounded off stays far below a tick. */
class IdleSums {
  constructor(size) {
    this.whole = new Float64Array(size);
    this.part = new Float64Array(size);
  }

  at(i) {
    return this.whole[i] + this.part[i];
  }
}

/** Adds up, over the time of a range, what the threads and the innermost executions on them did. */
class ThreadSweep {
  constructor(store, figures, range) {
    this.figures = figures;
    this.time = figures.first;
    this.busyThreads = 0;
    this.idleWhole = 0;
    this.idlePart = 0;
    this.walks = figures.threads.map((thread) => new LaneWalk(store, thread.lane, range));
    this.since = new Float64Array(this.walks.length).fill(figures.first);
    this.idleSince = new IdleSums(this.walks.length);
    this.self = figures.columns.self_ticks;
    this.shares = new IdleSums(this.self.length);
  }

  async run(job) {
    const queue = new LaneQueue(this.walks.length);
    for (let i = 0; i < this.walks.length; ++i) {
      if (await this.settle(this.walks[i])) queue.add(i, this.walks[i].changeTime);
    }
    for (let steps = 0; queue.size > 0; ++steps) {
      if ((steps & 1023) === 0 && job.isDue) await job.pause();
      const i = queue.first;
      const walk = this.walks[i];
      this.moveTo(queue.time[i]);
      this.leave(i, walk);
      walk.pass();
      this.enter(i, walk);
      if (!walk.settle()) await this.settle(walk);
      if (walk.hasChange) queue.moveFirst(walk.changeTime);
      else queue.removeFirst();
    }
    const share = this.figures.columns.idle_share_ticks;
    for (let node = 0; node < share.length; ++node) share[node] = Math.round(this.shares.at(node) * 1000) / 1000;
  }

  async settle(walk) {
    while (!walk.settle()) await walk.loadBlock();
    return walk.hasChange;
  }

  moveTo(time) {
    const ticks = time - this.time;
    this.time = time;
    if (ticks <= 0) return;
    this.figures.concurrency[this.busyThreads] += ticks;
    if (this.busyThreads === 0) return;
    const idle = ticks * (this.walks.length - this.busyThreads);
    const whole = Math.floor(idle / this.busyThreads);
    this.idleWhole += whole;
    this.idlePart += (idle - whole * this.busyThreads) / this.busyThreads;
    if (this.idlePart >= 1) {
      this.idlePart -= 1;
      this.idleWhole += 1;
    }
  }

  leave(i, walk) {
    const top = walk.nodes.length - 1;
    if (top < 0) return;
    const node = walk.nodes[top];
    const ticks = this.time - this.since[i];
    this.self[node] += ticks;
    if (walk.kinds[top] === barrierKind) return;
    this.figures.threads[i].busy += ticks;
    this.shares.whole[node] += this.idleWhole - this.idleSince.whole[i];
    this.shares.part[node] += this.idlePart - this.idleSince.part[i];
    --this.busyThreads;
  }

  enter(i, walk) {
    this.since[i] = this.time;
    this.idleSince.whole[i] = this.idleWhole;
    this.idleSince.part[i] = this.idlePart;
    const top = walk.nodes.length - 1;
    if (top >= 0 && walk.kinds[top] !== barrierKind) ++this.busyThreads;
  }
}

/** Figures of a range before anything is added up. */
function emptyFigures(nodeCount) {
  const zeros = () => new Float64Array(nodeCount);
  const blanks = () => new Array(nodeCount).fill(null);
  return {
    first: Infinity, last: -Infinity, executions: 0, missing: 0, threads: [], concurrency: null,
    columns: {
      executions: zeros(), threads: zeros(), total_ticks: zeros(), self_ticks: zeros(), min_ticks: blanks(),
      mean_ticks: blanks(), p50_ticks: blanks(), p90_ticks: blanks(), p99_ticks: blanks(), max_ticks: blanks(),
      first_begin: blanks(), last_end: blanks(), idle_share_ticks: zeros(),
    },
  };
}

/** Counts what each node and lane executed in a range. */
class FigureCounter {
  constructor(store, nodeCount, range) {
    this.store = store;
    this.range = range;
    this.figures = emptyFigures(nodeCount);
    this.lanes = store.lanes.map((_, lane) => (
      {lane, hasRun: false, missing: 0, executions: 0, busy: 0, firstBegin: null, lastEnd: null}));
    this.durations = [];
    this.durationNodes = [];
    this.lastLane = new Int32Array(nodeCount).fill(-1);
    this.nodeLanes = new Set();
  }

  /** Adds a block, or notes how many executions the page does not hold of it: at most, as some may be out of the range. */
  add(laneNumber, blockNumber, block) {
    const {from, to} = this.range;
    if (!block) {
      const {count} = this.store.lanes[laneNumber];
      this.lanes[laneNumber].missing += count[blockNumber];
      this.figures.missing += count[blockNumber];
      return;
    }
    const lane = this.lanes[laneNumber];
    const {count, begin, end, node} = block;
    const durations = new Float64Array(count);
    const nodes = new Int32Array(count);
    let inside = 0;
    for (let i = 0; i < count; ++i) {
      if (end[i] < from || begin[i] > to) continue;
      this.addTouching(lane, node[i], begin[i], end[i]);
      if (begin[i] < from || end[i] > to) continue;
      durations[inside] = end[i] - begin[i];
      nodes[inside++] = node[i];
      this.addInside(lane, node[i], begin[i], end[i]);
    }
    this.durations.push(durations.subarray(0, inside));
    this.durationNodes.push(nodes.subarray(0, inside));
  }

  addTouching(lane, node, begin, end) {
    const {figures, range} = this;
    const cutBegin = Math.max(begin, range.from);
    const cutEnd = Math.min(end, range.to);
    lane.hasRun = true;
    figures.columns.total_ticks[node] += cutEnd - cutBegin;
    if (cutBegin < figures.first) figures.first = cutBegin;
    if (cutEnd > figures.last) figures.last = cutEnd;
  }

  addInside(lane, node, begin, end) {
    const {columns} = this.figures;
    ++lane.executions;
    if (lane.firstBegin === null || begin < lane.firstBegin) lane.firstBegin = begin;
    if (lane.lastEnd === null || end > lane.lastEnd) lane.lastEnd = end;
    if (columns.executions[node]++ === 0 || begin < columns.first_begin[node]) columns.first_begin[node] = begin;
    if (columns.last_end[node] === null || end > columns.last_end[node]) columns.last_end[node] = end;
    if (this.lastLane[node] === lane.lane) return;
    this.lastLane[node] = lane.lane;
    // Blocks come chunk by chunk, so that a lane comes back.
    const key = node * this.lanes.length + lane.lane;
    if (this.nodeLanes.has(key)) return;
    this.nodeLanes.add(key);
    ++columns.threads[node];
  }

  /** Finishes all figures but those of the sweep. */
  close() {
    const {figures} = this;
    figures.threads = this.lanes.filter((lane) => lane.hasRun || lane.missing > 0);
    figures.executions = figures.threads.reduce((sum, lane) => sum + lane.executions, 0);
    figures.concurrency = new Float64Array(figures.threads.length + 1);
    if (figures.first > figures.last) figures.first = figures.last = 0;
    this.findSpreads();
    return figures;
  }

  /** Sorts the durations of each node for least, greatest and percentiles. */
  findSpreads() {
    const {columns, executions} = this.figures;
    const nodeCount = columns.executions.length;
    const next = new Float64Array(nodeCount + 1);
    for (let node = 0; node < nodeCount; ++node) next[node + 1] = next[node] + columns.executions[node];
    const sorted = new Float64Array(executions);
    const place = next.slice();
    this.durations.forEach((durations, block) => {
      const nodes = this.durationNodes[block];
      for (let i = 0; i < durations.length; ++i) sorted[place[nodes[i]]++] = durations[i];
    });
    for (let node = 0; node < nodeCount; ++node) {
      if (columns.executions[node] > 0) this.findSpread(node, sorted.subarray(next[node], next[node + 1]).sort());
    }
  }

  findSpread(node, sorted) {
    const {columns} = this.figures;
    const count = sorted.length;
    columns.min_ticks[node] = sorted[0];
    columns.max_ticks[node] = sorted[count - 1];
    let sum = 0;
    for (let i = 0; i < count; ++i) sum += sorted[i];
    columns.mean_ticks[node] = Math.round((sum / count) * 1000) / 1000;
    for (const [field, percent] of Object.entries(percentiles)) {
      columns[field][node] = sorted[Math.ceil((count * percent) / 100) - 1];
    }
  }
}

/** Goes through all blocks that reach into a range, chunk by chunk; `visit` gets null for what is left out. */
async function visitBlocks(store, range, job, visit) {
  for (const {lane, block} of store.byChunk) {
    const {first, last} = store.lanes[lane];
    if (first[block] > range.to || last[block] < range.from) continue;
    visit(lane, block, store.peek(lane, block) ?? await store.load(lane, block));
    if (job.isDue) await job.pause();
  }
}

/** Averages over the threads, as the report has them; null where they divide by 0. */
function addUseOfThreads(figures) {
  const makespan = figures.last - figures.first;
  const threads = figures.threads.length;
  const busy = figures.threads.reduce((sum, thread) => sum + thread.busy, 0);
  const greatest = figures.threads.reduce((most, thread) => Math.max(most, thread.busy), 0);
  figures.makespan = makespan;
  figures.averageParallelism = makespan > 0 ? busy / makespan : null;
  figures.utilisation = makespan > 0 ? busy / makespan / threads : null;
  figures.imbalance = busy > 0 ? (greatest * threads) / busy - 1 : null;
  return figures;
}

/**
 * The figures of a range of times, both ends included, in ticks since the origin.
 * @returns {Promise<object>} with `columns` by node, and `missing`: up to how many executions of the range
 *   the page does not hold in detail
 */
async function computeFigures(store, links, nodeCount, range, job) {
  const counter = new FigureCounter(store, nodeCount, range);
  const leaves = new LeafFinder(store.lanes.length, range);
  await visitBlocks(store, range, job, (lane, number, block) => {
    counter.add(lane, number, block);
    if (block) leaves.add(lane, store.lanes[lane].start[number], block);
  });
  const figures = counter.close();
  await job.pause();
  await new ThreadSweep(store, figures, range).run(job);
  addUseOfThreads(figures);
  const order = new NodeOrder(links, figures.columns.executions);
  figures.path = await new PathFinder(leaves.close(), order, figures).find(job);
  return figures;
}
