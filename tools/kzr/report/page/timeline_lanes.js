// Drawing of the lanes: executions or aggregates, regions, user events, marks of the selection and the path.

/** Executions of a lane in view that are drawn one by one at most; more are drawn as aggregates. */
const mostDrawnExecutions = 100000;
/** Width from which a name is written into an execution. */
const leastLabelWidth = 30;
const letterWidth = 6.1;
/** Names that are written each frame at most. */
const mostLabels = 600;

/** Draws the lanes that are in view. */
class LanePainter {
  constructor(timeline) {
    this.timeline = timeline;
    this.pendingX = new Int32Array(mostRows);
    this.pendingTicks = new Float64Array(mostRows);
    this.pendingNode = new Int32Array(mostRows);
    this.labels = new Map();
    /** By lane: whether executions are drawn one by one. */
    this.showsDetail = new Uint8Array(timeline.rows.length);
  }

  get model() {
    return this.timeline.model;
  }

  draw() {
    const {timeline, model} = this;
    const {context, palette, width, height, state, ticks} = timeline;
    context.fillStyle = palette.panel;
    context.fillRect(0, 0, width, height);
    context.fillStyle = palette.grid;
    for (const time of ticks.times) context.fillRect(Math.round(timeline.xOf(time)), 0, 1, height);
    const first = Math.max(0, timeline.laneAt(0));
    this.labelsLeft = mostLabels;
    this.isDimmed = state.node >= 0;
    for (let lane = first; lane < timeline.rows.length && timeline.tops[lane] < timeline.top + height; ++lane) {
      this.drawLane(lane, timeline.tops[lane] - timeline.top);
    }
    if (state.showsPath && model.store) this.drawPath();
    this.drawSelection();
    timeline.drawRange(context, 0, height);
    this.drawGutter(first);
    timeline.drawCursor(context, height);
    this.tellDetail();
  }

  drawLane(lane, y) {
    const {timeline} = this;
    const {context, palette, width, rowHeight, rows} = timeline;
    const height = rows[lane] * rowHeight;
    const top = y + laneGap / 2;
    context.fillStyle = palette.lane;
    context.fillRect(gutterWidth, top, width - gutterWidth, height);
    if (this.model.marks) this.drawRegions(lane, top, height);
    const isDetail = this.drawDetail(lane, top);
    if (!isDetail) this.drawAggregates(lane, top, height);
    this.showsDetail[lane] = Number(isDetail);
    if (this.model.marks) this.drawEvents(lane, top);
    this.drawOccurrences(lane, top, height);
  }

  /** Draws the executions themselves; false where aggregates show as much, or the detail is not there. */
  drawDetail(lane, top) {
    const {timeline, model} = this;
    const {store, span} = model;
    if (!store) return false;
    const {levels} = timeline.aggregates;
    if (span / levels[levels.length - 1].buckets <= widestBucket * timeline.ticksPerPixel) return false;
    const blocks = this.findBlocks(lane);
    if (!blocks) return false;
    this.pendingX.fill(-1);
    for (const block of blocks) this.drawBlock(block, top);
    for (let row = 0; row < mostRows; ++row) this.flush(row, top);
    timeline.context.globalAlpha = 1;
    return true;
  }

  /** The decoded blocks of a lane in view; null when some are not there (yet) or they are too many. */
  findBlocks(lane) {
    const {store} = this.model;
    const {from, to} = this.timeline.state.view;
    const {first, end} = store.blocksIn(lane, from, to);
    if ((end - first) * 4096 > 4 * mostDrawnExecutions) return null;
    const blocks = [];
    let isComplete = true;
    for (let number = first; number < end; ++number) {
      if (store.lanes[lane].last[number] < from) continue;
      if (!store.hasDetail(lane, number)) return null;
      const block = this.peekOrLoad(lane, number);
      if (block) blocks.push(block);
      else isComplete = false;
    }
    return isComplete ? blocks : null;
  }

  peekOrLoad(lane, number) {
    const {store} = this.model;
    const block = store.peek(lane, number);
    if (block) return block;
    const chunk = store.lanes[lane].chunk[number];
    if (!store.loading.has(chunk)) {
      store.loadChunk(chunk).then(() => this.timeline.redraw.ask(), (error) => showError(error));
    }
    return null;
  }

  drawBlock(block, top) {
    const {timeline} = this;
    const {from, to} = timeline.state.view;
    const perTick = 1 / timeline.ticksPerPixel;
    const {count, begin, end, depth} = block;
    for (let i = 0; i < count && begin[i] <= to; ++i) {
      if (end[i] < from) continue;
      const row = Math.min(depth[i], mostRows - 1);
      const left = gutterWidth + (begin[i] - from) * perTick;
      const right = gutterWidth + (end[i] - from) * perTick;
      if (right - left < 1) this.collect(block, i, row, left, top);
      else this.drawExecution(block, i, row, left, right, top);
    }
  }

  /** Of executions in one column of pixels the longest one is drawn. */
  collect(block, i, row, left, top) {
    const x = Math.floor(left);
    const ticks = block.end[i] - block.begin[i];
    if (this.pendingX[row] === x) {
      if (ticks <= this.pendingTicks[row]) return;
    } else {
      this.flush(row, top);
      this.pendingX[row] = x;
    }
    this.pendingTicks[row] = ticks;
    this.pendingNode[row] = block.kind[i] === barrierKind ? -1 : block.node[i];
  }

  flush(row, top) {
    const x = this.pendingX[row];
    this.pendingX[row] = -1;
    if (x < gutterWidth) return;
    const {context, rowHeight} = this.timeline;
    const node = this.pendingNode[row];
    this.useColour(node);
    const y = top + row * rowHeight;
    if (node < 0) context.fillRect(x, y + rowHeight * 0.38, 1, rowHeight * 0.24);
    else context.fillRect(x, y, 1, rowHeight - 1);
  }

  useColour(node) {
    const {context, palette, state} = this.timeline;
    context.fillStyle = node < 0 ? palette.waiting : palette.ofNode(node);
    context.globalAlpha = this.isDimmed && node !== state.node ? 0.3 : 1;
  }

  drawExecution(block, i, row, left, right, top) {
    const {timeline} = this;
    const {context, rowHeight, width} = timeline;
    const x = Math.max(left, gutterWidth);
    const shown = Math.min(right, width) - x;
    if (shown <= 0) return;
    const node = block.node[i];
    const y = top + row * rowHeight;
    this.useColour(node);
    if (block.kind[i] === barrierKind) {
      context.fillRect(x, y + rowHeight * 0.38, shown, rowHeight * 0.24);
      return;
    }
    // A line of the ground between neighbours, where there is room for it.
    context.fillRect(x, y, shown > 3 ? shown - 1 : shown, rowHeight - 1);
    if (shown < leastLabelWidth || this.labelsLeft <= 0) return;
    --this.labelsLeft;
    this.writeLabel(node, x + 4, y + rowHeight / 2, shown - 9);
  }

  writeLabel(node, x, y, room) {
    const {context, palette, state} = this.timeline;
    const letters = Math.floor(room / letterWidth);
    if (letters < 3) return;
    const isDim = this.isDimmed && node !== state.node;
    context.globalAlpha = 1;
    context.fillStyle = isDim ? palette.faint : palette.nodeText;
    context.font = '11px system-ui, sans-serif';
    context.textAlign = 'left';
    context.textBaseline = 'middle';
    context.fillText(shorten(this.labelOf(node), letters), x, y);
  }

  labelOf(node) {
    if (!this.labels.has(node)) this.labels.set(node, plainName(this.model.nameOf(node), 60));
    return this.labels.get(node);
  }

  /** Draws buckets: colour of the prevailing node, height of the busy share. Equal neighbours are drawn as one. */
  drawAggregates(lane, top, height) {
    const {timeline} = this;
    const {context, state, ticksPerPixel} = timeline;
    const {span} = this.model;
    const level = timeline.aggregates.levelFor(widestBucket * ticksPerPixel, span);
    const {busy, node} = level.lanes[lane];
    const bucketTicks = span / level.buckets;
    const first = Math.max(0, Math.floor(state.view.from / bucketTicks));
    const end = Math.min(level.buckets, Math.ceil(state.view.to / bucketTicks));
    for (let i = first; i < end;) {
      let next = i + 1;
      while (next < end && busy[next] === busy[i] && node[next] === node[i]) ++next;
      if (node[i] >= 0) {
        this.useColour(node[i]);
        const left = Math.max(gutterWidth, timeline.xOf(i * bucketTicks));
        const right = Math.min(timeline.width, timeline.xOf(next * bucketTicks));
        const tall = Math.max(2, (height - 1) * (busy[i] / 255));
        // Where a thread only waited there is a thin bar, as for the barriers themselves.
        if (busy[i] > 0) context.fillRect(left, top + height - 1 - tall, right - left, tall);
        else context.fillRect(left, top + height * 0.38, right - left, height * 0.24);
      }
      i = next;
    }
    context.globalAlpha = 1;
    if (this.model.nodes) this.labelStretches(level, lane, first, end, top + height / 2);
  }

  /** Writes names where one node prevails, busy for most of the time, over a long stretch of buckets. */
  labelStretches(level, lane, first, end, y) {
    const {timeline} = this;
    const {busy, node} = level.lanes[lane];
    const bucketTicks = this.model.span / level.buckets;
    for (let i = first; i < end;) {
      let next = i + 1;
      while (next < end && node[next] === node[i] && busy[next] > 160) ++next;
      if (node[i] >= 0 && busy[i] > 160 && this.labelsLeft > 0) {
        const left = Math.max(gutterWidth, timeline.xOf(i * bucketTicks));
        const room = Math.min(timeline.width, timeline.xOf(next * bucketTicks)) - left;
        if (room >= leastLabelWidth) {
          --this.labelsLeft;
          this.writeLabel(node[i], left + 4, y, room - 9);
        }
      }
      i = next;
    }
  }

  drawRegions(lane, top, height) {
    const {timeline} = this;
    const {context, palette, state} = timeline;
    let drawnTo = -1;
    for (const {begin, end} of this.model.marks.regions[lane]) {
      if (begin > state.view.to) break;
      if (end < state.view.from) continue;
      const left = Math.max(gutterWidth, timeline.xOf(begin));
      const right = Math.max(left + 1, Math.min(timeline.width, timeline.xOf(end)));
      if (right <= drawnTo) continue;
      drawnTo = right;
      context.fillStyle = palette.region;
      context.fillRect(left, top - laneGap / 2, right - left, height + laneGap - 1);
      context.fillStyle = palette.faint;
      context.fillRect(left, top - laneGap / 2, right - left, 1);
    }
  }

  /** Calls `draw(x, index)` for the sorted times in view, one for each column of pixels. */
  eachColumn(times, draw) {
    const {timeline} = this;
    const {from, to} = timeline.state.view;
    let i = lowerBound(times, from);
    while (i < times.length && times[i] <= to) {
      const x = Math.floor(timeline.xOf(times[i]));
      draw(x, i);
      i = Math.max(i + 1, lowerBound(times, timeline.timeAt(x + 1)));
    }
  }

  drawEvents(lane, top) {
    const {context, palette} = this.timeline;
    context.fillStyle = palette.text;
    this.eachColumn(this.model.marks.events[lane].time, (x) => {
      context.beginPath();
      context.moveTo(x - 3.5, top - 3);
      context.lineTo(x + 4.5, top - 3);
      context.lineTo(x + 0.5, top + 4);
      context.fill();
    });
  }

  /** Marks all executions of the selected node with a line under them, which is never too narrow to be seen. */
  drawOccurrences(lane, top, height) {
    const {timeline, model} = this;
    const {occurrences} = model;
    if (!occurrences || occurrences.node !== timeline.state.node) return;
    const {context, palette, ticksPerPixel, width} = timeline;
    const {from, to} = timeline.state.view;
    const {begin, end, reach} = occurrences.lanes[lane];
    context.fillStyle = palette.accent;
    const y = top + height - 1;
    // Executions of one node may be nested in each other and many may share a pixel: what they cover is drawn at once.
    let [left, right] = [gutterWidth, gutterWidth];
    for (let i = lowerBound(reach, from); i < begin.length && begin[i] <= to; ++i) {
      if (end[i] < from) continue;
      const x = Math.max(gutterWidth, gutterWidth + (begin[i] - from) / ticksPerPixel);
      const markEnd = Math.max(x + 1.5, Math.min(width, gutterWidth + (end[i] - from) / ticksPerPixel));
      if (x > right) {
        if (right > left) context.fillRect(left, y, right - left, 3);
        left = x;
      }
      right = Math.max(right, markEnd);
    }
    if (right > left) context.fillRect(left, y, right - left, 3);
  }

  drawPath() {
    const {timeline, model} = this;
    const {context, palette, state} = timeline;
    const {path} = model.figures;
    const {begin, end} = model.pathTimes(path);
    context.lineWidth = 2;
    context.strokeStyle = palette.path;
    context.beginPath();
    let i = Math.max(0, lowerBound(end, state.view.from, end.length) - 1);
    let lastX = -10;
    for (; i < begin.length && !(begin[i] > state.view.to); ++i) {
      if (Number.isNaN(begin[i])) continue;
      const left = timeline.xOf(begin[i]);
      const right = timeline.xOf(end[i]);
      const next = i + 1 < begin.length ? timeline.xOf(begin[i + 1]) : right;
      // Steps narrower than half a pixel add nothing that is seen.
      if (next - lastX < 0.5 && i + 1 < begin.length && path.lane[i + 1] === path.lane[i]) continue;
      lastX = right;
      const y = this.pathY(path.lane[i]);
      context.moveTo(Math.max(left, gutterWidth), y);
      context.lineTo(Math.max(right, gutterWidth), y);
      if (i + 1 < begin.length && next >= gutterWidth) context.lineTo(next, this.pathY(path.lane[i + 1]));
    }
    context.stroke();
  }

  pathY(lane) {
    const {tops, top, rowHeight} = this.timeline;
    return tops[lane] - top + laneGap / 2 + rowHeight - 2.5;
  }

  /** A frame around the selected execution. */
  drawSelection() {
    const {timeline} = this;
    const {context, palette, state, rowHeight} = timeline;
    const {execution} = state;
    if (!execution) return;
    const row = Math.min(execution.depth, timeline.rows[execution.lane] - 1);
    const y = timeline.tops[execution.lane] - timeline.top + laneGap / 2 + row * rowHeight;
    const left = Math.max(gutterWidth - 4, timeline.xOf(execution.begin));
    const right = Math.min(timeline.width + 4, timeline.xOf(execution.end));
    if (right < gutterWidth || left > timeline.width) return;
    context.lineWidth = 2;
    context.strokeStyle = palette.panel;
    context.strokeRect(left, y, Math.max(2, right - left - 1), rowHeight - 1);
    context.strokeStyle = palette.text;
    context.strokeRect(left - 2, y - 2, Math.max(6, right - left + 3), rowHeight + 3);
  }

  drawGutter(first) {
    const {timeline, model} = this;
    const {context, palette, height, rows, tops, top} = timeline;
    context.fillStyle = palette.panel;
    context.fillRect(0, 0, gutterWidth, height);
    context.font = '12px system-ui, sans-serif';
    context.textBaseline = 'middle';
    const busy = new Map(model.figures.threads.map((thread) => [thread.lane, Number(thread.busy)]));
    const makespan = Number(model.figures.makespan) || 1;
    for (let lane = first; lane < rows.length && tops[lane] < top + height; ++lane) {
      const y = (tops[lane] + tops[lane + 1]) / 2 - top;
      context.textAlign = 'left';
      context.fillStyle = palette.text;
      context.fillText(`Thread ${model.threadOf(lane)}`, 8, y, gutterWidth - 56);
      context.textAlign = 'right';
      context.fillStyle = palette.faint;
      const share = (busy.get(lane) ?? 0) / makespan;
      if (model.figures.missing === 0) context.fillText(share > 0 ? `${Math.round(share * 100)}\u202f%` : '–', gutterWidth - 8, y);
    }
  }

  /** Says so where executions are left out that would be seen; in which lanes does not matter, as the note takes room. */
  tellDetail() {
    const note = document.getElementById('timeline-note');
    const {run} = this.model;
    note.hidden = run.detailed === run.executions || !this.timeline.isExactBusy();
    if (note.hidden) return;
    note.textContent = `To stay small, this page holds ${groupDigits(run.detailed)} of ${groupDigits(run.executions)} `
      + 'executions one by one. For the others it shows shares of the time; marks and steps pass them over.';
  }
}
