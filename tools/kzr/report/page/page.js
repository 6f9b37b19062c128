// The page: puts views and state together, paints the first picture, and reads the parts when they are there.

/** Shows what went wrong at the top of the page; a job that was given up is no error. */
function showError(error) {
  if (error instanceof JobCancelled) return;
  console.error(error);
  const problems = document.getElementById('problems');
  problems.hidden = false;
  problems.append(makeElement('p', '', error.message));
}

/** All of the page. */
class Page {
  constructor(run) {
    this.model = new RunModel(run);
    this.state = new PageState({
      node: -1, execution: null, range: this.model.baseRange, view: {from: 0, to: this.model.span}, top: 0,
      measure: 'self_ticks', showsPath: false, camera: null, tab: this.model.run.first_table, theme: '',
    });
    this.darkQuery = matchMedia('(prefers-color-scheme: dark)');
    this.applyTheme();
    this.palette = new Palette(run.colours);
    this.summary = new SummaryView(this.model, this.state);
    this.timeline = new TimelineView(this.model, this.state, this.palette);
    this.graph = new GraphView(this.model, this.state, this.palette);
    this.rangeJob = new Job();
    this.nodeJob = new Job();
    this.work = Promise.resolve();
  }

  /** Paints what is known before the parts are read. */
  paintFirst() {
    this.summary.draw();
    this.colourSwatches();
    this.timeline.draw();
    this.showRange();
  }

  /** Reads the parts, then the page can be used. */
  async begin() {
    await this.model.read();
    this.address = new Address(this.state, this.model);
    this.details = new DetailsView(this.model, this.state, this.palette, this);
    this.tables = new TablesView(this.model, this.state, this.palette, this);
    this.search = new SearchBox(this.model, this);
    this.graph.useParts();
    this.timeline.useParts();
    this.tables.fill();
    this.wire();
    this.state.listen((changed) => this.update(changed));
    this.update(new Set(['node', 'execution', 'tab']));
    await this.takeAddress();
    this.address.follow();
    window.addEventListener('hashchange', () => this.takeAddress().catch(showError));
    document.documentElement.dataset.ready = 'true';
  }

  wire() {
    this.timelineInput = new TimelineInput(this.timeline, this);
    this.graphInput = new GraphInput(this.graph, this);
    const onClick = (id, action) => document.getElementById(id).addEventListener('click', action);
    onClick('zoom-in', () => this.timeline.zoom(1 / zoomPerKey));
    onClick('zoom-out', () => this.timeline.zoom(zoomPerKey));
    onClick('zoom-all', () => this.timeline.show(0, this.model.span));
    onClick('graph-in', () => this.graph.zoom(zoomPerKey));
    onClick('graph-out', () => this.graph.zoom(1 / zoomPerKey));
    onClick('graph-all', () => this.graph.showAll());
    onClick('range-set', () => this.restrictToView());
    onClick('range-clear', () => this.state.set({range: null}));
    onClick('theme', () => this.state.set({theme: this.isDark ? 'light' : 'dark'}));
    onClick('help', () => this.toggleHelp());
    this.wireChoices();
    document.addEventListener('keydown', (event) => this.key(event));
    this.darkQuery.addEventListener('change', () => this.recolour());
  }

  wireChoices() {
    const measure = document.getElementById('measure');
    measure.append(...Object.entries(measures).map(([name, {label}]) => new Option(label, name)));
    measure.addEventListener('change', () => this.state.set({measure: measure.value}));
    const path = document.getElementById('show-path');
    path.addEventListener('change', () => this.state.set({showsPath: path.checked}));
  }

  toggleHelp() {
    const keys = document.getElementById('keys');
    keys.hidden = !keys.hidden;
    document.getElementById('help').setAttribute('aria-expanded', String(!keys.hidden));
  }

  get isDark() {
    return (this.state.theme || (this.darkQuery.matches ? 'dark' : 'light')) === 'dark';
  }

  applyTheme() {
    document.documentElement.dataset.theme = this.isDark ? 'dark' : 'light';
  }

  recolour() {
    this.applyTheme();
    this.palette.read();
    this.colourSwatches();
    this.graph.drawLegend();
    this.redrawAll();
  }

  colourSwatches() {
    for (const swatch of document.querySelectorAll('#top .swatch')) {
      swatch.style.background = this.palette.ofNode(Number(swatch.dataset.node));
    }
  }

  redrawAll() {
    this.timeline.redraw.ask();
    this.graph.redraw.ask();
    this.tables.redraw();
    this.details.draw();
  }

  /** Follows a change of the state. */
  update(changed) {
    const has = (...names) => names.some((name) => changed.has(name));
    if (has('theme')) this.recolour();
    if (has('node')) this.findOccurrences();
    if (has('range')) this.updateFigures();
    if (has('measure')) this.graph.updateMeasure();
    if (has('showsPath', 'tab')) this.readPath();
    if (has('node', 'execution', 'measure')) this.details.draw();
    if (has('node', 'execution', 'tab')) this.tables.update();
    if (has('view', 'top', 'node', 'execution', 'range', 'showsPath')) this.timeline.redraw.ask();
    if (has('camera', 'node', 'showsPath', 'measure')) this.graph.redraw.ask();
    document.getElementById('measure').value = this.state.measure;
    document.getElementById('show-path').checked = this.state.showsPath;
  }

  /** Computes the figures of the range and shows them everywhere. */
  updateFigures() {
    this.rangeJob.cancel();
    const job = this.rangeJob = new Job();
    document.getElementById('range').textContent = 'Computing the figures of the range …';
    this.work = this.model.figuresOf(this.state.range, job).then((figures) => {
      if (job.isCancelled) return;
      this.model.figures = figures;
      this.showFigures();
    }).catch(showError);
  }

  showFigures() {
    this.summary.draw();
    this.colourSwatches();
    this.tables.fill();
    this.tables.update();
    this.graph.updateMeasure();
    this.details.draw();
    this.timeline.redraw.ask();
    this.readPath();
    this.showRange();
  }

  showRange() {
    const {range} = this.state;
    const {model} = this;
    const element = document.getElementById('range');
    element.classList.toggle('set', range !== null);
    document.getElementById('range-clear').hidden = range === null;
    if (!range) {
      element.textContent = 'whole run';
      return;
    }
    const from = Math.max(0, range.from);
    const to = Math.min(model.span, range.to);
    const missing = model.figures.missing > 0
      ? ` – without up to ${groupDigits(model.figures.missing)} executions whose detail is left out` : '';
    const rounded = model.run.exact ? '' : ' – rounded, the times of this run are too long for exact sums here';
    element.textContent = `all figures: ${model.time.short(from, 6)} to ${model.time.short(to, 6)} `
      + `(${model.time.short(to - from)})${missing}${rounded}`;
  }

  /** Finds all executions of the selected node, for marks and steps. */
  findOccurrences() {
    this.nodeJob.cancel();
    this.model.occurrences = null;
    const {node} = this.state;
    if (node < 0) return;
    const job = this.nodeJob = new Job();
    this.occurrencesWork = this.model.findOccurrences(node, job).then((occurrences) => {
      if (job.isCancelled) return;
      this.model.occurrences = occurrences;
      this.timeline.redraw.ask();
    }).catch(showError);
  }

  /** Decodes the path where it is shown. */
  readPath() {
    const {state, model} = this;
    if (!state.showsPath && state.tab !== 'path') return;
    const {path} = model.figures;
    this.pathWork = model.readPath(path, this.rangeJob).then((times) => {
      if (path !== model.figures.path) return;
      this.graph.markPath(times.node);
      this.timeline.redraw.ask();
      this.tables.tables.path.fill(path.lane.length);
    }).catch(showError);
  }

  async takeAddress() {
    const change = this.address.read();
    const place = this.address.readExecution();
    const execution = place && await this.model.store.find(place.lane, place.position);
    this.state.set({...change, execution, node: execution ? execution.node : change.node});
    await this.work;
    if (change.node >= 0 && !change.camera) this.graph.reveal(this.state.node);
  }

  // What views ask for.

  say(text) {
    document.getElementById('said').textContent = text;
  }

  selectNode(node) {
    this.state.set({node, execution: null});
    this.graph.reveal(node);
    const executions = countText(this.model.figures.columns.executions[node], 'execution');
    this.say(`Node ${plainName(this.model.nameOf(node))}, ${executions}.`);
  }

  select(execution) {
    this.state.set({node: execution.node, execution});
    this.graph.reveal(execution.node);
    const {time} = this.model;
    const where = `on thread ${this.model.threadOf(execution.lane)}`;
    const when = `${time.short(execution.end - execution.begin)} from ${time.short(execution.begin)}`;
    this.say(`Execution of ${plainName(this.model.nameOf(execution.node))} ${where}, ${when}.`);
  }

  async selectAt(lane, position) {
    const execution = await this.model.store.find(lane, position);
    if (!execution) return;
    this.select(execution);
    this.timeline.reveal(execution);
  }

  showTime(time) {
    this.timeline.reveal(time);
  }

  selectLane(lane) {
    this.timeline.revealLane(lane);
  }

  clear() {
    this.state.set({node: -1, execution: null});
    this.say('Nothing is selected.');
  }

  /** Goes to the next or previous execution of the selected node. */
  async step(step) {
    if (this.state.node < 0) return;
    await this.occurrencesWork;
    const {occurrences} = this.model;
    if (!occurrences) return;
    const {execution, view} = this.state;
    const place = execution ? [execution.begin, execution.lane, execution.position]
      : step > 0 ? [view.from, -1, -1] : [view.to, Infinity, Infinity];
    const next = occurrences.next(...place, step);
    if (next) await this.selectAt(next.lane, next.position);
    else this.say(step > 0 ? 'This was the last one.' : 'This was the first one.');
  }

  zoomToExecution() {
    const {execution} = this.state;
    if (!execution) return;
    const room = Math.max((execution.end - execution.begin) * 0.2, 1);
    this.timeline.show(execution.begin - room, execution.end + room);
    this.timeline.revealLane(execution.lane);
  }

  restrictToView() {
    const {from, to} = this.state.view;
    this.state.set({range: {from: Math.floor(from), to: Math.ceil(to)}});
  }

  key(event) {
    if (event.ctrlKey || event.metaKey || event.altKey) return;
    const isField = event.target instanceof Element && event.target.matches('input:not([type="checkbox"]), select, textarea');
    if (isField && event.key !== 'Escape') return;
    const action = this.keyAction(event);
    if (!action) return;
    event.preventDefault();
    action();
  }

  keyAction(event) {
    const {timeline} = this;
    const keys = {
      w: () => timeline.zoom(1 / zoomPerKey), s: () => timeline.zoom(zoomPerKey),
      '+': () => timeline.zoom(1 / zoomPerKey), '=': () => timeline.zoom(1 / zoomPerKey),
      '-': () => timeline.zoom(zoomPerKey), a: () => timeline.pan(-0.15), d: () => timeline.pan(0.15),
      n: () => this.step(1), p: () => this.step(-1), ']': () => this.step(1), '[': () => this.step(-1),
      f: () => this.zoomToExecution(), r: () => this.restrictToView(),
      0: () => timeline.show(0, this.model.span), '/': () => document.getElementById('search').select(),
      '?': () => this.toggleHelp(), Escape: () => this.escape(),
    };
    const arrows = {
      ArrowLeft: () => timeline.pan(-0.15), ArrowRight: () => timeline.pan(0.15),
      ArrowUp: () => timeline.scrollBy(-60), ArrowDown: () => timeline.scrollBy(60),
    };
    if (event.target === timeline.canvas || event.target === document.body) Object.assign(keys, arrows);
    return keys[event.key.length === 1 ? event.key.toLowerCase() : event.key];
  }

  escape() {
    if (this.state.node >= 0) this.clear();
    else this.state.set({range: null});
  }
}

/** What is being computed or unpacked. */
function worksOf({work, occurrencesWork, pathWork, details, model}) {
  return [work, occurrencesWork, pathWork, details.work, ...model.store.loading.values()];
}

/** Waits until nothing is being computed, nor begun by what was waiting for it. */
async function whenIdle(page) {
  let works;
  do {
    works = worksOf(page);
    await Promise.all(works);
    await new Promise((resolve) => { setTimeout(resolve, 0); });
  } while (worksOf(page).some((work) => !works.includes(work)));
}

/** Waits until all is drawn as it stays, with what drawing asked for and what follows from the sizes of elements. */
async function whenDrawn(page) {
  const {timeline, graph, tables, model} = page;
  const redraws = [timeline, graph, ...Object.values(tables.tables)].map(({redraw}) => redraw);
  do {
    await whenIdle(page);
    for (let frames = 0; frames < 2; ++frames) await new Promise((resolve) => { requestAnimationFrame(resolve); });
  } while (redraws.some(({isAsked}) => isAsked) || graph.restTimer !== 0 || model.store.loading.size > 0);
}

/** What tests may ask of the page. Times are ticks of the trace's clock. */
class PageAccess {
  constructor(page) {
    this.idle = () => whenIdle(page);
    this.drawn = () => whenDrawn(page);
    this.address = () => page.address.text();
    this.figures = async () => {
      await page.work;
      return figuresJson(page.model);
    };
    this.selection = () => ({
      node: page.state.node < 0 ? null : page.model.nodes.id[page.state.node],
      execution: page.state.execution && executionJson(page.model, page.state.execution),
    });
    this.setRange = async (from, to) => {
      page.state.set({range: {from: page.model.relative(from), to: page.model.relative(to)}});
      await page.work;
    };
    this.clearRange = async () => {
      page.state.set({range: null});
      await page.work;
    };
    this.view = () => ({from: page.model.absolute(page.state.view.from), to: page.model.absolute(page.state.view.to)});
    Object.freeze(this);
  }
}

function executionJson(model, {lane, position, begin, end, node}) {
  const [from, to] = [model.absolute(begin), model.absolute(end)];
  return {id: model.nodes.id[node], thread: model.threadOf(lane), position, begin: from, end: to};
}

/** The figures of the current range, in the form of `kzr report --json`. */
async function figuresJson(model) {
  const {figures, nodes, run} = model;
  const {path} = figures;
  const times = await model.readPath(path, new Job());
  return {
    format: 1,
    run: {
      ...run.run, makespan_ticks: figures.makespan, threads: figures.threads.length, executions: figures.executions,
      average_parallelism: figures.averageParallelism, utilisation: figures.utilisation, imbalance: figures.imbalance,
      path_rest_ticks: path.rest,
    },
    threads: figures.threads.map((thread) => ({
      thread: model.threadOf(thread.lane), executions: thread.executions, busy_ticks: thread.busy,
      first_begin: thread.first_begin, last_end: thread.last_end,
    })),
    concurrency: Array.from(figures.concurrency, (ticks, busy) => ({busy_threads: busy, ticks})),
    nodes: nodes.id.map((id, node) => ({
      id, name: nodes.name[node], function: nodes.function[node], source: nodes.source[node],
      ...Object.fromEntries(figureColumns.map((name) => [name, figures.columns[name][node]])),
    })),
    path: path.lane.map((lane, i) => ({
      id: nodes.id[times.node[i]], thread: model.threadOf(lane), begin: model.absolute(times.begin[i]),
      end: model.absolute(times.end[i]), gap_ticks: path.gap[i], gap_kind: path.kind[i],
    })),
  };
}

/** Begins with what has been read of the page so far; the event `parts` tells that the rest is there. */
function start() {
  const page = new Page(JSON.parse(document.getElementById('run').textContent));
  page.paintFirst();
  let areThere = false;
  document.addEventListener('parts', () => {
    areThere = true;
    page.begin().catch(showError);
  });
  document.addEventListener('DOMContentLoaded', () => {
    if (!areThere) showError(new Error('The page is cut short: its data end before their end.'));
  });
  Object.defineProperty(window, 'kzr', {value: new PageAccess(page)});
}

start();
