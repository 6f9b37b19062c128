// What the page knows of the run: the parts, the figures of the current range, and the path in it.

/** Columns of figures of nodes that depend on the range. */
const figureColumns = ['executions', 'threads', 'total_ticks', 'self_ticks', 'min_ticks', 'mean_ticks', 'p50_ticks',
  'p90_ticks', 'p99_ticks', 'max_ticks', 'first_begin', 'last_end', 'idle_share_ticks'];

/** The run, its parts and its figures. Times are in ticks since the origin unless said otherwise. */
class RunModel {
  /** @param run the element `run` of the page */
  constructor(run) {
    this.run = run;
    this.origin = BigInt(run.origin);
    this.span = Math.max(1, Number(run.span));
    this.time = new TimeText(run.ticks_per_second);
    this.baseRange = run.range && {from: Number(run.range[0]), to: Number(run.range[1])};
    this.laneOf = new Map(run.all_threads.map((thread, lane) => [thread, lane]));
    this.nodes = null;
    this.figures = this.baseFigures();
    this.occurrences = null;
  }

  /** Reads what is needed before the page can be used. */
  async read() {
    const names = ['nodes', 'graph', 'marks', 'path', 'index', 'pyramid', 'links'];
    const [nodes, graph, marks, path, index, pyramid, links] = await Promise.all(names.map(readJsonPart));
    this.nodes = nodes;
    this.nodeCount = nodes.id.length;
    this.graph = graph;
    this.marks = new Marks(marks, this.run.all_threads.length);
    this.pyramid = pyramid.levels;
    this.store = new ExecutionStore(index);
    this.links = readLinks(links);
    this.basePath = {lane: path.lane, position: path.execution, gap: path.gap, kind: path.kind, rest: path.rest,
      leftOut: path.left_out};
    sumGaps(path.left_out.step);
    this.figures = this.baseFigures();
    this.places = new CodePlaces(this);
  }

  /** The figures that the report was made with. */
  baseFigures() {
    const {run, threads, concurrency} = this.run;
    return {
      makespan: run.makespan_ticks, executions: run.executions, averageParallelism: run.average_parallelism,
      utilisation: run.utilisation, imbalance: run.imbalance, missing: 0,
      concurrency: concurrency.map((row) => row.ticks),
      threads: threads.map((thread) => ({
        lane: this.laneOf.get(thread.thread), executions: thread.executions, busy: thread.busy_ticks,
        first_begin: thread.first_begin, last_end: thread.last_end,
      })),
      columns: this.nodes, path: this.basePath, top: this.run.top,
    };
  }

  /** Computes the figures of a range; those of the report's own range are there already. */
  async figuresOf(range, job) {
    if (range === this.baseRange) return this.baseFigures();
    const whole = range ?? {from: -Infinity, to: Infinity};
    const figures = await computeFigures(this.store, this.links, this.nodeCount, whole, job);
    const {columns, path} = figures;
    // What waited while something ran is not known where executions are left out.
    if (figures.missing > 0) {
      columns.idle_share_ticks = new Array(this.nodeCount).fill(null);
      addBusyBounds(figures, this.finestSums, this.span, whole);
      figures.averageBusy = this.averageBusy(figures, whole);
    }
    figures.top = this.topNodes(figures);
    for (const name of ['first_begin', 'last_end']) columns[name] = columns[name].map((time) => this.absolute(time));
    for (const thread of figures.threads) {
      thread.first_begin = this.absolute(thread.firstBegin);
      thread.last_end = this.absolute(thread.lastEnd);
    }
    figures.path = {
      lane: path.steps.map((step) => step.lane), position: path.steps.map((step) => step.position),
      gap: path.steps.map((step) => step.gap), kind: path.steps.map((step) => step.kind), rest: path.rest,
    };
    return figures;
  }

  /** The finest sums that the page has, as a level of the pyramid. */
  get finestSums() {
    const {buckets, busy} = this.run.overview;
    return this.pyramid.at(-1) ?? {buckets, lanes: busy.map((lane) => ({busy: lane}))};
  }

  /** How many threads were busy over a range on average, at least and at most. */
  averageBusy({threads}, range) {
    const ticks = Math.max(1, Math.min(this.span, range.to) - Math.max(0, range.from));
    const sumOf = (name) => threads.reduce((sum, thread) => sum + thread[name], 0);
    return {least: sumOf('busyLeast') / ticks, most: sumOf('busyMost') / ticks};
  }

  /** Up to three nodes to look at first in a range, each for a reason of its own. */
  topNodes({columns, path, missing}) {
    const pathTicks = new Float64Array(this.nodeCount);
    for (const {node, begin, end} of path.steps) pathTicks[node] += end - begin;
    const found = [];
    const addGreatest = (amounts, reason) => {
      let greatest = -1;
      let sum = 0;
      amounts.forEach((amount, node) => {
        sum += amount;
        if (!amount || found.some((look) => look.node === node)) return;
        if (greatest < 0 || amount > amounts[greatest]) greatest = node;
      });
      if (greatest < 0) return;
      const share = ((100 * amounts[greatest]) / sum).toFixed(1);
      const part = missing > 0 ? 'Of what the page holds: ' : '';
      const [id, name] = [this.nodes.id[greatest], this.nodes.name[greatest]];
      found.push({node: greatest, id, name, text: `${part}${share} % ${reason}`});
    };
    addGreatest(columns.self_ticks, 'of the time in nodes, more than any other');
    addGreatest(columns.idle_share_ticks, 'of the idle time of threads is its share');
    addGreatest(pathTicks, 'of the observed path, after those above');
    return found;
  }

  /** @returns {?(number|string)} a time as ticks of the trace's clock, above 2^53 in digits */
  absolute(time) {
    if (time === null) return null;
    const ticks = this.origin + BigInt(Math.round(time));
    return ticks <= BigInt(Number.MAX_SAFE_INTEGER) ? Number(ticks) : String(ticks);
  }

  /** @returns {number} ticks of the trace's clock as a time since the origin */
  relative(ticks) {
    return Number(BigInt(ticks) - this.origin);
  }

  /** What is to be said of the figures where the page does not hold all executions of the range; else empty. */
  get partText() {
    const {missing} = this.figures;
    return missing > 0 ? `figures cover a part: up to ${countText(missing, 'execution')} left out` : '';
  }

  nameOf(node) {
    return this.nodes ? this.nodes.name[node] || this.nodes.id[node] : '';
  }

  threadOf(lane) {
    return this.run.all_threads[lane];
  }

  /** Times, lanes and nodes of the path's executions, with `isComplete` once all are decoded. */
  pathTimes(path) {
    path.times ??= {
      begin: new Float64Array(path.lane.length).fill(NaN), end: new Float64Array(path.lane.length).fill(NaN),
      node: new Int32Array(path.lane.length).fill(-1), isComplete: false,
    };
    return path.times;
  }

  /** Decodes the executions of a path. */
  async readPath(path, job) {
    const times = this.pathTimes(path);
    if (times.isComplete) return times;
    for (let i = 0; i < path.lane.length; ++i) {
      const [lane, position] = [path.lane[i], path.position[i]];
      const found = this.findNow(lane, position) ?? await this.store.find(lane, position);
      if (found) {
        times.begin[i] = found.begin;
        times.end[i] = found.end;
        times.node[i] = found.node;
      }
      if ((i & 255) === 255 && job.isDue) await job.pause();
    }
    if (path.leftOut) this.fillLeftOut(path, times);
    times.isComplete = true;
    return times;
  }

  /** Steps without detail in the page follow from their durations and the gaps, from what is before or behind. */
  fillLeftOut(path, {begin, end, node}) {
    const {step: steps, ticks, node: nodes} = path.leftOut;
    steps.forEach((step, i) => {
      node[step] = nodes[i];
      begin[step] = step > 0 ? end[step - 1] + Number(path.gap[step]) : NaN;
      end[step] = begin[step] + Number(ticks[i]);
    });
    const last = path.lane.length - 1;
    for (let i = steps.length - 1; i >= 0; --i) {
      const step = steps[i];
      if (!Number.isNaN(end[step])) continue;
      end[step] = step < last ? begin[step + 1] - Number(path.gap[step + 1]) : this.lastEnd - Number(path.rest);
      begin[step] = end[step] - Number(ticks[i]);
    }
  }

  /** The last end of the whole run. */
  get lastEnd() {
    const ends = this.run.threads.filter((thread) => thread.last_end !== null);
    return ends.reduce((last, thread) => Math.max(last, this.relative(thread.last_end)), 0);
  }

  /** @returns {?object} an execution, where its block is decoded */
  findNow(lane, position) {
    const number = this.store.blockOf(lane, position);
    const block = this.store.peek(lane, number);
    return block && executionAt(this.store, lane, number, block, position - this.store.lanes[lane].start[number]);
  }

  /** @returns {number} the place of an execution in the path of the range, from 1; 0 when it is not on it */
  placeInPath(execution) {
    const {lane, position} = this.figures.path;
    for (let i = 0; i < lane.length; ++i) {
      if (lane[i] === execution.lane && position[i] === execution.position) return i + 1;
    }
    return 0;
  }

  /** Self time of an execution: what is nested in it directly is left out. Null where detail is left out. */
  async selfTimeOf(execution, job) {
    const lane = this.store.lanes[execution.lane];
    let self = execution.end - execution.begin;
    let number = this.store.blockOf(execution.lane, execution.position);
    let i = execution.position + 1 - lane.start[number];
    for (; number < lane.count.length; ++number, i = 0) {
      const block = await this.store.load(execution.lane, number);
      if (!block) return null;
      for (; i < block.count; ++i) {
        if (block.depth[i] <= execution.depth) return self;
        if (block.depth[i] === execution.depth + 1) self -= block.end[i] - block.begin[i];
      }
      if (job.isDue) await job.pause();
    }
    return self;
  }

  /** Finds all executions of a node, in the order of their begins; lane by lane as well. */
  async findOccurrences(node, job) {
    const list = () => new GrowingList(Float64Array);
    const lanes = this.store.lanes.map(() => ({begin: list(), end: list(), position: list()}));
    await visitBlocks(this.store, {from: -Infinity, to: Infinity}, job, (lane, number, block) => {
      if (!block) return;
      const start = this.store.lanes[lane].start[number];
      for (let i = 0; i < block.count; ++i) {
        if (block.node[i] !== node) continue;
        lanes[lane].begin.push(block.begin[i]);
        lanes[lane].end.push(block.end[i]);
        lanes[lane].position.push(start + i);
      }
    });
    return new Occurrences(node, lanes);
  }
}

/** The executions of a node. */
class Occurrences {
  constructor(node, lanes) {
    this.node = node;
    this.lanes = lanes.map(({begin, end, position}) => ({
      begin: begin.list.subarray(0, begin.length), end: end.list.subarray(0, end.length),
      position: position.list.subarray(0, position.length), reach: reachOf(end),
    }));
  }

  /**
   * The one next to a place in the order of begins, lanes and positions.
   * @param {number} step 1 for the next one, -1 for the one before
   * @returns {?{lane: number, position: number}}
   */
  next(time, lane, position, step) {
    let best = null;
    this.lanes.forEach((of, number) => {
      const isAfter = (i) => (
        of.begin[i] - time || number - lane || of.position[i] - position) * step > 0;
      let i = lowerBound(of.begin, time, of.begin.length, step < 0) + (step < 0 ? -1 : 0);
      while (i >= 0 && i < of.begin.length && !isAfter(i)) i += step;
      if (i < 0 || i >= of.begin.length) return;
      const candidate = {lane: number, position: of.position[i], begin: of.begin[i]};
      const distance = best ? (candidate.begin - best.begin) * step : -1;
      // At one time lanes follow each other, backwards on the way back.
      if (distance < 0 || (distance === 0 && step < 0)) best = candidate;
    });
    return best;
  }
}

/** The greatest of the numbers up to each one. */
function reachOf(numbers) {
  const reach = numbers.list.slice(0, numbers.length);
  for (let i = 1; i < reach.length; ++i) reach[i] = Math.max(reach[i], reach[i - 1]);
  return reach;
}

/** User events and regions by lane. */
class Marks {
  constructor(part, laneCount) {
    this.texts = part.texts;
    this.events = Array.from({length: laneCount}, () => ({time: [], text: []}));
    this.regions = Array.from({length: laneCount}, () => []);
    const {user_events: events, regions} = part;
    this.userEvents = events;
    this.allRegions = regions;
    sumGaps(events.time);
    events.lane.forEach((lane, i) => {
      this.events[lane].time.push(events.time[i]);
      this.events[lane].text.push(events.text[i]);
    });
    regions.lane.forEach((lane, i) => {
      const text = regions.node[i] < 0 ? this.texts[regions.text[i]] : null;
      this.regions[lane].push({
        node: regions.node[i], text, begin: Number(regions.begin[i]), end: Number(regions.end[i])});
    });
  }
}
