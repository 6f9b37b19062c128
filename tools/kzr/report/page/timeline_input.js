// Wheel, drags and clicks on the timeline.

/** How much a step of the wheel and of a key zooms. */
const zoomPerPixel = 1.0022;
const zoomPerKey = 1.4;
/** A press that moves less than this is a click. */
const clickDistance = 4;

/** @returns {number} movement of the wheel in pixels, whatever unit the browser tells it in */
function wheelPixels(event) {
  const delta = event.shiftKey ? event.deltaY || event.deltaX : event.deltaY;
  return delta * (event.deltaMode === 1 ? 18 : event.deltaMode === 2 ? 300 : 1);
}

/** Turns what the hands do over the timeline into changes of the state. */
class TimelineInput {
  /** @param actions {select(execution), selectNode(node)} */
  constructor(timeline, actions) {
    this.timeline = timeline;
    this.actions = actions;
    this.press = null;
    this.hover = document.getElementById('hover');
    for (const canvas of [timeline.canvas, timeline.busyCanvas]) {
      canvas.addEventListener('wheel', (event) => this.wheel(event), {passive: false});
      canvas.addEventListener('pointerdown', (event) => this.pressDown(event, canvas));
      canvas.addEventListener('pointermove', (event) => this.move(event, canvas));
      canvas.addEventListener('pointerup', (event) => this.release(event, canvas));
      canvas.addEventListener('pointercancel', () => { this.press = null; });
      canvas.addEventListener('pointerleave', () => this.leave());
    }
    timeline.canvas.addEventListener('dblclick', () => this.actions.zoomToExecution());
    timeline.scroller.addEventListener('scroll', () => timeline.state.set({top: timeline.scroller.scrollTop}));
  }

  wheel(event) {
    const {timeline} = this;
    // Over the names of the threads the wheel scrolls.
    if (event.target === timeline.canvas && event.offsetX < gutterWidth) return;
    event.preventDefault();
    this.hover.hidden = true;
    const pixels = wheelPixels(event);
    if (event.shiftKey || Math.abs(event.deltaX) > Math.abs(event.deltaY)) {
      timeline.pan((event.shiftKey ? pixels : event.deltaX) / timeline.timeWidth);
    } else {
      timeline.zoom(zoomPerPixel ** Math.max(-400, Math.min(400, pixels)), event.offsetX);
    }
  }

  pressDown(event, canvas) {
    if (event.button !== 0) return;
    const {state} = this.timeline;
    const drawsRange = event.shiftKey || canvas === this.timeline.busyCanvas;
    const {offsetX: x, offsetY: y} = event;
    this.press = {x, y, view: state.view, top: this.timeline.top, drawsRange, isDrag: false};
    canvas.setPointerCapture(event.pointerId);
    if (event.shiftKey) event.preventDefault();
  }

  move(event, canvas) {
    const {timeline, press} = this;
    timeline.cursor = event.offsetX;
    if (press) this.drag(event);
    else if (canvas === timeline.canvas) this.showHover(event);
    timeline.redraw.ask();
  }

  drag(event) {
    const {timeline, press} = this;
    const dx = event.offsetX - press.x;
    const dy = event.offsetY - press.y;
    press.isDrag ||= Math.hypot(dx, dy) > clickDistance;
    if (!press.isDrag) return;
    this.hover.hidden = true;
    if (press.drawsRange) {
      timeline.drawnRange = this.rangeTo(event.offsetX);
      return;
    }
    const move = -dx * ((press.view.to - press.view.from) / timeline.timeWidth);
    const most = timeline.model.span - press.view.to;
    const kept = Math.min(Math.max(move, -press.view.from), most);
    timeline.show(press.view.from + kept, press.view.to + kept);
    timeline.scrollBy(press.top - dy - timeline.top);
  }

  /** Whole ticks from where the press began to `x`. */
  rangeTo(x) {
    const {timeline, press} = this;
    const times = [press.x, x].map((x) => timeline.timeAt(Math.min(Math.max(x, gutterWidth), timeline.width)));
    return {from: Math.round(Math.min(...times)), to: Math.round(Math.max(...times))};
  }

  release(event, canvas) {
    const {timeline, press} = this;
    this.press = null;
    if (!press) return;
    if (press.isDrag) {
      if (press.drawsRange) timeline.state.set({range: this.rangeOf(press, event)});
      timeline.drawnRange = null;
    } else if (canvas === timeline.canvas) {
      this.click(event);
    }
    timeline.redraw.ask();
  }

  rangeOf(press, event) {
    this.press = press;
    const range = this.rangeTo(event.offsetX);
    this.press = null;
    return range;
  }

  leave() {
    this.timeline.cursor = null;
    this.hover.hidden = true;
    this.timeline.redraw.ask();
  }

  async click(event) {
    const {timeline} = this;
    if (event.offsetX < gutterWidth || !timeline.model.store) return;
    const lane = timeline.laneAt(event.offsetY);
    if (lane < 0) return;
    const place = this.placeAt(lane, event);
    const {node} = this.bucketAt(place);
    const execution = await this.findExecution(place, true);
    if (execution) this.actions.select(execution);
    else if (node >= 0) this.actions.selectNode(node);
    else this.actions.clear();
  }

  /** Where the pointer is, with the only node that it can mean there: that of a bucket; null where any can be meant. */
  placeAt(lane, event) {
    const {timeline} = this;
    const place = {lane, time: timeline.timeAt(event.offsetX), row: timeline.rowAt(lane, event.offsetY), node: null};
    if (!timeline.lanes.showsDetail[lane]) Object.assign(place, {row: -1, node: this.bucketAt(place).node});
    return place;
  }

  /** The execution at a place, in its row where there is one, else the innermost; within two pixels. */
  async findExecution({lane, time, row, node}, mayLoad) {
    const {store} = this.timeline.model;
    const slack = 2 * this.timeline.ticksPerPixel;
    const {first, end} = store.blocksIn(lane, time - slack, time + slack);
    if (end - first > 64) return null;
    let best = null;
    for (let number = first; number < end; ++number) {
      if (store.lanes[lane].last[number] < time - slack || !store.hasDetail(lane, number)) continue;
      const block = store.peek(lane, number) ?? (mayLoad ? await store.load(lane, number) : null);
      if (block) best = closerExecution(best, store, lane, number, block, {time, row, node, slack});
    }
    return best && best.execution;
  }

  bucketAt({lane, time}) {
    const {timeline} = this;
    const level = timeline.aggregates.levelFor(widestBucket * timeline.ticksPerPixel, timeline.model.span);
    const bucket = Math.min(level.buckets - 1, Math.max(0, Math.floor(time / (timeline.model.span / level.buckets))));
    return {node: level.lanes[lane].node[bucket], busy: level.lanes[lane].busy[bucket] / 255};
  }

  async showHover(event) {
    const {timeline, hover} = this;
    const lane = timeline.laneAt(event.offsetY);
    if (lane < 0 || event.offsetX < gutterWidth) {
      hover.hidden = true;
      return;
    }
    const place = this.placeAt(lane, event);
    const userEvent = this.userEventNear(place);
    const execution = timeline.lanes.showsDetail[lane] ? await this.findExecution(place, false) : null;
    this.fillHover(place, userEvent, execution);
    placeHover(hover, event.clientX, event.clientY);
  }

  userEventNear({lane, time}) {
    const {marks} = this.timeline.model;
    if (!marks) return null;
    const {time: times, text} = marks.events[lane];
    const slack = 4 * this.timeline.ticksPerPixel;
    const i = lowerBound(times, time - slack);
    return i < times.length && times[i] <= time + slack ? marks.texts[text[i]] : null;
  }

  fillHover({lane, time}, userEvent, execution) {
    const {model} = this.timeline;
    const {hover} = this;
    const lines = [];
    if (userEvent !== null) lines.push(showName(makeElement('div'), `▾ ${userEvent}`, 200));
    if (execution) {
      lines.push(showName(makeElement('div', 'hover-name'), model.nameOf(execution.node), 80));
      const duration = model.time.short(execution.end - execution.begin);
      lines.push(makeElement('div', '', `${duration} from ${model.time.short(execution.begin, 7)}`));
    } else {
      const {node, busy} = this.bucketAt({lane, time});
      const name = node >= 0 && model.nodes ? model.nameOf(node) : '';
      if (name) lines.push(showName(makeElement('div', 'hover-name'), name, 80));
      lines.push(makeElement('div', '', busy > 0 ? `busy ${percentText(busy)} here, mostly with this` : 'idle'));
    }
    const region = model.marks?.regions[lane].find(({begin, end}) => begin <= time && end >= time);
    if (region) {
      const name = region.text ?? model.nameOf(region.node);
      lines.push(showName(makeElement('div', 'faint'), `region ${name}`, 80));
    }
    lines.push(makeElement('div', 'faint', `thread ${model.threadOf(lane)}, at ${model.time.short(time, 7)}`));
    hover.replaceChildren(...lines);
  }
}

/** Puts the hover text beside the pointer, inside the window. */
function placeHover(hover, x, y) {
  hover.hidden = false;
  const {offsetWidth: width, offsetHeight: height} = hover;
  hover.style.left = `${Math.min(x + 14, window.innerWidth - width - 4)}px`;
  hover.style.top = `${y + 18 + height > window.innerHeight ? y - height - 10 : y + 18}px`;
}

/** The better one of what was found and the executions of a block: in the row, then nearer, then longer. */
function closerExecution(best, store, lane, number, block, {time, row, node, slack}) {
  for (let i = 0; i < block.count; ++i) {
    if (node !== null && block.node[i] !== node) continue;
    const distance = Math.max(block.begin[i] - time, time - block.end[i], 0);
    if (distance > slack) continue;
    const depth = Math.min(block.depth[i], mostRows - 1);
    const rank = [depth === row ? 0 : 1, distance, -depth];
    if (best && !isLess(rank, best.rank)) continue;
    best = {rank, execution: executionAt(store, lane, number, block, i)};
  }
  return best;
}

/** Whether a list of numbers stands before another one. */
function isLess(a, b) {
  const i = a.findIndex((number, i) => number !== b[i]);
  return i >= 0 && a[i] < b[i];
}
