// The timeline: axis, busy threads over time, and the frame around the lanes. Lengths are in CSS pixels.

/** Width of the names of threads. */
const gutterWidth = 112;
const axisHeight = 22;
/** Rows of nested executions that a lane shows; what is nested deeper is drawn in the last one. */
const mostRows = 12;
const laneGap = 6;
const leastRow = 14;
const greatestRow = 34;
/** Buckets of the pyramid are shown up to this width; wider ones give way to the executions themselves. */
const widestBucket = 2;
/** Executions in blocks that the exact number of busy threads is computed from at most, each frame. */
const mostExactExecutions = 400000;

/** Asks for one drawing a frame, however often it is asked. */
class Redraw {
  constructor(draw) {
    this.draw = draw;
    this.isAsked = false;
  }

  ask() {
    if (this.isAsked) return;
    this.isAsked = true;
    requestAnimationFrame(() => {
      this.isAsked = false;
      this.draw();
    });
  }
}

/** Fits the bitmap of a canvas to its size on the screen. @returns {{width: number, height: number}} */
function fitCanvas(canvas, context) {
  const {clientWidth: width, clientHeight: height} = canvas;
  const ratio = Math.min(window.devicePixelRatio || 1, 2);
  const pixels = [Math.round(width * ratio), Math.round(height * ratio)];
  if (canvas.width !== pixels[0] || canvas.height !== pixels[1]) [canvas.width, canvas.height] = pixels;
  context.setTransform(ratio, 0, 0, ratio, 0, 0);
  return {width, height};
}

/** The levels of the pyramid, or the overview alone before it is read. */
class Aggregates {
  constructor(overview) {
    const {buckets, busy, node} = overview;
    this.levels = [{buckets, lanes: busy.map((lane, i) => ({busy: lane, node: node[i]}))}];
  }

  /** The coarsest level with buckets no wider than `ticks`, else the finest one. */
  levelFor(ticks, span) {
    return this.levels.find((level) => span / level.buckets <= ticks) ?? this.levels[this.levels.length - 1];
  }

  /** Busy threads in each bucket of a level, on average. */
  busyThreads(level) {
    if (level.sum) return level.sum;
    level.sum = new Float32Array(level.buckets);
    for (const {busy} of level.lanes) for (let i = 0; i < busy.length; ++i) level.sum[i] += busy[i] / 255;
    return level.sum;
  }
}

/** Draws the timeline from model and state. */
class TimelineView {
  constructor(model, state, palette) {
    this.model = model;
    this.state = state;
    this.palette = palette;
    this.canvas = document.getElementById('timeline');
    this.context = this.canvas.getContext('2d', {alpha: false});
    this.busyCanvas = document.getElementById('busy');
    this.busyContext = this.busyCanvas.getContext('2d', {alpha: false});
    this.panel = document.getElementById('timeline-panel');
    this.scroller = document.getElementById('lanes');
    this.aggregates = new Aggregates(model.run.overview);
    this.rows = new Uint8Array(model.run.all_threads.length).fill(1);
    this.tops = new Float64Array(this.rows.length + 1);
    this.drawnRange = null;
    this.lanes = new LanePainter(this);
    this.redraw = new Redraw(() => this.draw());
    this.cursor = null;
    new ResizeObserver(() => this.redraw.ask()).observe(this.scroller);
  }

  /** Takes over the parts once they are read. */
  useParts() {
    this.aggregates.levels = this.model.pyramid.length > 0 ? this.model.pyramid : this.aggregates.levels;
    this.model.store.lanes.forEach((lane, i) => { this.rows[i] = greatestRows(lane.rows); });
    this.redraw.ask();
  }

  /** Heights and places of lanes: few threads fill the picture, many scroll. */
  layOut(height) {
    const rows = this.rows.reduce((sum, rows) => sum + rows, 0) || 1;
    const room = (height - this.rows.length * laneGap) / rows;
    this.rowHeight = Math.floor(Math.min(greatestRow, Math.max(leastRow, room)));
    this.rows.forEach((rows, i) => { this.tops[i + 1] = this.tops[i] + rows * this.rowHeight + laneGap; });
    const total = this.tops[this.rows.length];
    document.getElementById('lanes-height').style.height = `${Math.max(0, total - height)}px`;
    // What few lanes do not need is left to the graph.
    const most = rows * greatestRow + this.rows.length * laneGap;
    this.panel.style.maxHeight = `${Math.max(220, this.scroller.offsetTop + most + 6)}px`;
  }

  get ticksPerPixel() {
    return (this.state.view.to - this.state.view.from) / this.timeWidth;
  }

  xOf(time) {
    return gutterWidth + (time - this.state.view.from) / this.ticksPerPixel;
  }

  timeAt(x) {
    return this.state.view.from + (x - gutterWidth) * this.ticksPerPixel;
  }

  draw() {
    const {width, height} = fitCanvas(this.canvas, this.context);
    if (width === 0) return;
    this.width = width;
    this.height = height;
    this.timeWidth = Math.max(1, width - gutterWidth);
    this.layOut(height);
    if (Math.abs(this.scroller.scrollTop - this.state.top) > 1) this.scroller.scrollTop = this.state.top;
    this.top = this.scroller.scrollTop;
    this.ticks = this.axisTicks();
    this.lanes.draw();
    this.drawBusy();
  }

  /** Times of the lines of the axis, a round number of units apart. */
  axisTicks() {
    const {from, to} = this.state.view;
    const unit = this.model.time.unitFor((to - from) / 4);
    const wish = ((to - from) / Math.max(2, this.timeWidth / 110)) / unit.ticks;
    const power = 10 ** Math.floor(Math.log10(wish));
    const step = Math.max([1, 2, 5, 10].find((factor) => factor * power >= wish) * power * unit.ticks,
      this.model.time.ticksPerSecond ? 0 : 1);
    const times = [];
    for (let i = Math.ceil(from / step); i * step <= to && times.length < 100; ++i) times.push(i * step);
    return {times, step, unit};
  }

  /** The text of a line of the axis. Where the view is small beside its place, the first one says the place. */
  axisLabel(time, i) {
    const {times, step, unit} = this.ticks;
    const places = Math.max(0, -Math.floor(Math.log10(step / unit.ticks) + 1e-9));
    const text = (ticks) => `${groupDigits((ticks / unit.ticks).toFixed(Math.min(places, 9)))}\u00a0${unit.name}`;
    if (times[0] / step < 10000) return text(time);
    return i === 0 ? this.model.time.short(time, 9) : `+${text(time - times[0])}`;
  }

  drawBusy() {
    const context = this.busyContext;
    const {palette} = this;
    const {width, height} = fitCanvas(this.busyCanvas, context);
    context.fillStyle = palette.panel;
    context.fillRect(0, 0, width, height);
    this.drawAxis(context, height);
    const lanes = Math.max(1, this.model.run.threads.length);
    const base = height - 1;
    const room = height - axisHeight - 4;
    context.fillStyle = palette.busy;
    this.traceBusy(context, base, room / lanes);
    context.fill();
    context.strokeStyle = palette.line;
    context.setLineDash([3, 3]);
    context.beginPath();
    context.moveTo(gutterWidth, base - room + 0.5);
    context.lineTo(width, base - room + 0.5);
    context.stroke();
    context.setLineDash([]);
    context.fillStyle = palette.faint;
    context.textAlign = 'right';
    context.textBaseline = 'top';
    context.font = '11px system-ui, sans-serif';
    context.fillText(`${lanes} busy`, gutterWidth - 8, base - room);
    context.textBaseline = 'bottom';
    context.fillText('0', gutterWidth - 8, base + 1);
    this.drawRange(context, axisHeight, height);
    this.drawCursor(context, height);
  }

  drawAxis(context, height) {
    const {palette} = this;
    context.font = '11px system-ui, sans-serif';
    context.textAlign = 'left';
    context.textBaseline = 'middle';
    this.ticks.times.forEach((time, i) => {
      const x = Math.round(this.xOf(time)) + 0.5;
      context.fillStyle = palette.grid;
      context.fillRect(x - 0.5, 4, 1, height);
      const label = this.axisLabel(time, i);
      if (x + 4 + context.measureText(label).width > this.width) return;
      context.fillStyle = palette.faint;
      context.fillText(label, x + 4, axisHeight / 2);
    });
  }

  /** Makes the outline of the busy threads the path of the canvas; a column of pixels has their mean. */
  traceBusy(context, base, heightOfThread) {
    const columns = this.busyColumns();
    context.beginPath();
    context.moveTo(gutterWidth, base);
    columns.forEach((busy, i) => {
      const y = base - busy * heightOfThread;
      context.lineTo(gutterWidth + i, y);
      context.lineTo(gutterWidth + i + 1, y);
    });
    context.lineTo(gutterWidth + columns.length, base);
    context.closePath();
  }

  /** How many threads were busy in each column of pixels, on average. */
  busyColumns() {
    const {view} = this.state;
    const columns = new Float64Array(Math.ceil(this.timeWidth));
    const add = (begin, end, busy) => addToColumns(
      columns, (begin - view.from) / this.ticksPerPixel, (end - view.from) / this.ticksPerPixel, busy);
    if (this.isExactBusy()) {
      const blocks = this.blocksInView();
      if (blocks) {
        for (const lane of blocks) visitBusyTimes(lane, view, (begin, end) => add(begin, end, 1));
        return columns;
      }
    }
    const level = this.aggregates.levelFor(widestBucket * this.ticksPerPixel, this.model.span);
    const busy = this.aggregates.busyThreads(level);
    const bucketTicks = this.model.span / level.buckets;
    const end = Math.min(level.buckets, Math.ceil(view.to / bucketTicks));
    for (let i = Math.max(0, Math.floor(view.from / bucketTicks)); i < end; ++i) {
      add(i * bucketTicks, (i + 1) * bucketTicks, busy[i]);
    }
    return columns;
  }

  /** Whether the finest aggregates are too coarse for the view. */
  isExactBusy() {
    const {levels} = this.aggregates;
    return this.model.store && this.model.span / levels[levels.length - 1].buckets > widestBucket * this.ticksPerPixel;
  }

  /** The blocks of all lanes in view, null when they are too many or not all are decoded; then they are loaded. */
  blocksInView() {
    const {store} = this.model;
    const {from, to} = this.state.view;
    const lanes = [];
    let executions = 0;
    let isComplete = true;
    for (let lane = 0; lane < store.lanes.length; ++lane) {
      const {first, end} = store.blocksIn(lane, from, to);
      const blocks = [];
      for (let number = first; number < end; ++number) {
        if (store.lanes[lane].last[number] < from) continue;
        executions += store.lanes[lane].count[number];
        if (executions > mostExactExecutions || !store.hasDetail(lane, number)) return null;
        const block = this.lanes.peekOrLoad(lane, number);
        if (block) blocks.push(block);
        else isComplete = false;
      }
      lanes.push(blocks);
    }
    return isComplete ? lanes : null;
  }

  /** The range that is being drawn or in force. */
  drawRange(context, top, bottom) {
    const range = this.drawnRange ?? this.state.range;
    if (!range) return;
    const left = Math.max(gutterWidth, this.xOf(range.from));
    const right = Math.min(this.width, this.xOf(range.to));
    const {palette} = this;
    context.globalAlpha = 0.55;
    context.fillStyle = palette.panel;
    context.fillRect(gutterWidth, top, Math.max(0, Math.min(this.width, left) - gutterWidth), bottom - top);
    context.fillRect(Math.max(gutterWidth, right), top, Math.max(0, this.width - right), bottom - top);
    context.globalAlpha = 1;
    context.fillStyle = palette.accent;
    if (this.xOf(range.from) >= gutterWidth) context.fillRect(left - 1, top, 2, bottom - top);
    if (this.xOf(range.to) <= this.width) context.fillRect(right - 1, top, 2, bottom - top);
  }

  drawCursor(context, height) {
    if (this.cursor === null || this.cursor < gutterWidth) return;
    context.fillStyle = this.palette.faint;
    context.fillRect(Math.round(this.cursor), 0, 1, height);
  }

  /** Shows `from` to `to`, as far as the run goes, at least a tick. */
  show(from, to) {
    const {span} = this.model;
    const length = Math.min(span, Math.max(to - from, Math.min(1, span)));
    const middle = (from + to) / 2;
    const begin = Math.min(Math.max(0, to - from < length ? middle - length / 2 : from), span - length);
    this.state.set({view: {from: begin, to: begin + length}});
  }

  /** Zooms around the time at `x`. */
  zoom(factor, x = gutterWidth + this.timeWidth / 2) {
    const {from, to} = this.state.view;
    const length = Math.max(Math.min(1, this.model.span), (to - from) * factor);
    const share = Math.min(1, Math.max(0, (x - gutterWidth) / this.timeWidth));
    const time = from + (to - from) * share;
    this.show(time - length * share, time + length * (1 - share));
  }

  /** Moves in time by a share of what is shown. */
  pan(share) {
    const {from, to} = this.state.view;
    const move = Math.min(Math.max((to - from) * share, -from), this.model.span - to);
    this.show(from + move, to + move);
  }

  scrollBy(pixels) {
    const most = Math.max(0, this.tops[this.rows.length] - this.height);
    this.state.set({top: Math.min(most, Math.max(0, this.top + pixels))});
  }

  /** Brings an execution into view, without a change of zoom where it fits. */
  reveal(execution) {
    const {from, to} = this.state.view;
    const length = to - from;
    if (execution.end < from + length * 0.02 || execution.begin > to - length * 0.02) {
      const middle = (execution.begin + Math.min(execution.end, execution.begin + length)) / 2;
      const begin = Math.min(Math.max(0, middle - length / 2), this.model.span - length);
      this.show(begin, begin + length);
    }
    this.revealLane(execution.lane);
  }

  revealLane(lane) {
    const top = this.tops[lane];
    const bottom = this.tops[lane + 1];
    if (top < this.top) this.state.set({top});
    else if (bottom > this.top + this.height) this.state.set({top: bottom - this.height});
  }

  /** The lane at a height of the canvas, -1 for none. */
  laneAt(y) {
    const lane = lowerBound(this.tops, y + this.top, this.tops.length, true) - 1;
    return lane < this.rows.length ? lane : -1;
  }

  /** Row of nested executions at a height of the canvas. */
  rowAt(lane, y) {
    return Math.min(this.rows[lane] - 1, Math.floor((y + this.top - this.tops[lane] - laneGap / 2) / this.rowHeight));
  }
}

/** Rows of a lane, from those of its blocks. */
function greatestRows(rows) {
  return Math.min(mostRows, rows.reduce((most, number) => Math.max(most, number), 1));
}

/** Adds `amount`, from one place to another, to the columns between, to those at the ends in part. */
function addToColumns(columns, from, to, amount) {
  const begin = Math.max(0, from);
  const end = Math.min(columns.length, to);
  if (begin >= end) return;
  const first = Math.floor(begin);
  const last = Math.ceil(end) - 1;
  if (first === last) {
    columns[first] += amount * (end - begin);
    return;
  }
  columns[first] += amount * (first + 1 - begin);
  for (let i = first + 1; i < last; ++i) columns[i] += amount;
  columns[last] += amount * (end - last);
}

/** Calls `visit(begin, end)` for times in which a lane was busy: a barrier, and what it is nested in, is not. */
function visitBusyTimes(blocks, view, visit) {
  const ends = [];
  const depths = [];
  const kinds = [];
  let time = view.from;
  const passTo = (to) => {
    if (to > time && ends.length > 0 && kinds[kinds.length - 1] !== barrierKind) visit(time, to);
    time = Math.max(time, to);
  };
  const close = () => {
    passTo(ends[ends.length - 1]);
    ends.pop();
    depths.pop();
    kinds.pop();
  };
  for (const {count, begin, end, depth, kind} of blocks) {
    for (let i = 0; i < count && begin[i] <= view.to; ++i) {
      if (end[i] < view.from) continue;
      while (ends.length > 0 && depths[depths.length - 1] >= depth[i]) close();
      passTo(begin[i]);
      ends.push(end[i]);
      depths.push(depth[i]);
      kinds.push(kind[i]);
    }
  }
  while (ends.length > 0) close();
}
