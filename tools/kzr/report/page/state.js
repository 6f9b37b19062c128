// What is selected and shown, in one place, and in the address: views draw from it and change it, nothing else.

/** Milliseconds without a change before the address follows; browsers refuse to write it often. */
const addressDelay = 250;
const tableNames = ['places', 'nodes', 'threads', 'path', 'events', 'concurrency'];

/**
 * The state of the page:
 * - node: number of the selected node, -1 for none
 * - execution: the selected execution as ExecutionStore.find() gives it, or null
 * - range: {from, to} in ticks since the origin, or null for the whole run
 * - view: {from, to}, the times that the timeline shows
 * - top: pixels that the lanes are scrolled by
 * - measure: what the graph is coloured by
 * - showsPath: whether timeline and graph show the observed path
 * - camera: {graph, x, y, scale} of the graph, or null for all of it
 * - tab: the table that is shown
 * - theme: 'light', 'dark' or '' for that of the system
 */
class PageState {
  constructor(first) {
    Object.assign(this, first);
    this.listeners = [];
  }

  /** Calls `listener` with the set of names of what changed, after each change. */
  listen(listener) {
    this.listeners.push(listener);
  }

  set(change) {
    const changed = new Set();
    for (const [name, value] of Object.entries(change)) {
      if (this[name] === value) continue;
      this[name] = value;
      changed.add(name);
    }
    if (changed.size > 0) for (const listener of this.listeners) listener(changed);
  }
}

/** Writes the state into the address and reads it from there. Nodes stand there with their ids. */
class Address {
  constructor(state, model) {
    this.state = state;
    this.model = model;
    this.timer = 0;
    this.written = location.hash;
    /** The address as it was read or written last. */
    this.known = location.hash;
  }

  /** Follows the state from now on. */
  follow() {
    this.state.listen(() => {
      clearTimeout(this.timer);
      this.timer = setTimeout(() => this.write(), addressDelay);
    });
  }

  write() {
    // A new address is about to be read.
    if (location.hash !== this.known) return;
    const text = this.text();
    if (text === this.written) return;
    this.written = text;
    history.replaceState(null, '', text || location.pathname + location.search);
    this.known = location.hash;
  }

  text() {
    const {state, model} = this;
    const words = new URLSearchParams();
    const {node, execution, range, view, camera} = state;
    if (node >= 0) words.set('node', model.nodes.id[node]);
    if (execution) words.set('execution', `${model.run.all_threads[execution.lane]}:${execution.position}`);
    if (range !== model.baseRange) words.set('range', range ? `${range.from}-${range.to}` : 'all');
    if (view.from !== 0 || view.to !== model.span) words.set('view', `${view.from}_${view.to}`);
    if (state.top > 0) words.set('top', Math.round(state.top));
    if (state.measure !== 'self_ticks') words.set('measure', state.measure);
    if (state.showsPath) words.set('path', '1');
    if (camera) words.set('graph', this.cameraText(camera));
    if (state.tab !== model.run.first_table) words.set('table', state.tab);
    if (state.theme) words.set('theme', state.theme);
    const text = words.toString();
    return text ? '#' + text : '';
  }

  cameraText({graph, x, y, scale}) {
    return [graph, x, y, scale].map((number) => Number(number.toPrecision(9))).join('_');
  }

  /** @returns {object} what the address says, without what makes no sense */
  read() {
    const {model} = this;
    this.known = location.hash;
    const words = new URLSearchParams(this.known.slice(1));
    const change = {};
    const numbers = (name, separator, count) => {
      const list = (words.get(name) ?? '').split(separator).map(Number);
      return words.has(name) && list.length === count && list.every(Number.isFinite) ? list : null;
    };
    change.node = words.has('node') ? model.nodes.id.indexOf(words.get('node')) : -1;
    const range = (words.get('range') ?? '').match(/^(-?\d+)-(-?\d+)$/)?.slice(1).map(Number);
    change.range = range && range[0] <= range[1] ? {from: range[0], to: range[1]}
      : words.get('range') === 'all' ? null : model.baseRange;
    const view = numbers('view', '_', 2);
    change.view = view && view[0] < view[1] ? {from: view[0], to: view[1]} : {from: 0, to: model.span};
    change.top = Math.max(0, numbers('top', '_', 1)?.[0] ?? 0);
    change.measure = Object.hasOwn(measures, words.get('measure')) ? words.get('measure') : 'self_ticks';
    change.showsPath = words.get('path') === '1';
    const camera = numbers('graph', '_', 4);
    const isKnown = camera && Number.isInteger(camera[0]) && camera[0] >= -1 && camera[0] < model.graph.graphs.x.length;
    change.camera = isKnown && camera[3] > 0 ? {graph: camera[0], x: camera[1], y: camera[2], scale: camera[3]} : null;
    change.tab = tableNames.includes(words.get('table')) ? words.get('table') : model.run.first_table;
    change.theme = ['light', 'dark'].includes(words.get('theme')) ? words.get('theme') : '';
    return change;
  }

  /** @returns {?{lane: number, position: number}} the execution that the address names */
  readExecution() {
    const word = new URLSearchParams(location.hash.slice(1)).get('execution');
    const [thread, position] = (word ?? '').split(':').map(Number);
    const lane = this.model.run.all_threads.indexOf(thread);
    return word && lane >= 0 && Number.isInteger(position) && position >= 0 ? {lane, position} : null;
  }
}
