// The panel of the selection: figures of the selected node, and the selected execution.

/** What the kinds of gaps of the path mean. */
const gapTexts = {
  enclosing: 'its thread was inside something else',
  thread: 'its data was there, a thread was not',
  data: 'its thread was free, its data was not there',
  unexplained: 'nothing explains it',
};

/** The node of all barriers, at which threads wait. */
const barrierId = 'omp_barrier';

/** Letters of a name that the panel shows at most. */
const mostDetailLetters = 20000;

/** Shows what is selected. */
class DetailsView {
  constructor(model, state, palette, actions) {
    this.model = model;
    this.state = state;
    this.palette = palette;
    this.actions = actions;
    this.element = document.getElementById('details');
    this.job = new Job();
    this.work = Promise.resolve();
  }

  draw() {
    const {state} = this;
    this.job.cancel();
    this.job = new Job();
    if (state.node < 0 || !this.model.nodes) {
      this.element.replaceChildren(this.heading('Selection'), makeElement('p', 'faint',
        'Select a node in the graph, a table or the search, or an execution in the timeline.'));
      return;
    }
    const parts = [this.nameHeading()];
    if (state.execution) parts.push(this.executionPart(), makeElement('h3', '', 'All of this node'));
    const {run} = this.model;
    if (run.detailed !== run.executions) {
      parts.push(makeElement('p', '', `Marks, previous and next pass over ${groupDigits(run.executions - run.detailed)} `
        + 'executions of the run that this page leaves out; some of them may be of this node.'));
    }
    this.element.replaceChildren(...parts, this.nodeList());
    this.element.scrollTop = 0;
  }

  heading(text) {
    return makeElement('h2', '', text);
  }

  nameHeading() {
    const {model, state} = this;
    const heading = document.createElement('h2');
    const swatch = makeElement('span', 'swatch');
    swatch.style.background = this.palette.ofNode(state.node);
    heading.append(swatch, showName(makeElement('span', 'full-name'), model.nameOf(state.node), mostDetailLetters));
    const steps = makeElement('span', 'group');
    steps.append(this.makeButton('◂', 'Previous execution (P)', () => this.actions.step(-1)),
      this.makeButton('▸', 'Next execution (N)', () => this.actions.step(1)),
      this.makeButton('×', 'Clear the selection (Esc)', () => this.actions.clear()));
    this.makeReachable(heading, model.nameOf(state.node));
    const row = makeElement('div', 'bar');
    row.append(heading, makeElement('span', 'space'), steps);
    return row;
  }

  makeButton(text, label, action) {
    const button = makeElement('button', '', text);
    button.type = 'button';
    button.title = label;
    button.setAttribute('aria-label', label);
    button.addEventListener('click', action);
    return button;
  }

  nodeList() {
    const {model, state} = this;
    const {nodes} = model;
    const {node} = state;
    const rows = this.figureRows();
    const {graph} = this.actions;
    const sum = graph.sumInside(node);
    if (sum) rows.push(sum);
    if (!graph.isShown(node)) rows.push(['Graph', 'no graph shows this node']);
    if (nodes.name[node] !== nodes.id[node]) rows.push(['Id', nodes.id[node]]);
    if (nodes.function[node]) rows.push(['Function', nodes.function[node]]);
    if (nodes.source[node]) rows.push(['Source', nodes.source[node]]);
    return this.list(rows);
  }

  figureRows() {
    const {model, state} = this;
    const {figures} = model;
    const at = (name) => figures.columns[name][state.node];
    const time = (name) => model.time.short(at(name));
    if (at('executions') === 0 && Number(at('total_ticks')) === 0) {
      return [['Executions', figures.missing > 0 ? `none that the page holds; ${model.partText}`
        : state.range ? 'none in this range' : 'none']];
    }
    const busy = figures.threads.reduce((sum, thread) => sum + Number(thread.busy), 0);
    // Threads that wait at a barrier are not busy.
    const hasShare = busy > 0 && figures.missing === 0 && model.nodes.id[state.node] !== barrierId;
    const share = hasShare ? ` – ${percentText(Number(at('self_ticks')) / busy)} of all busy time` : '';
    const rows = [
      ...(figures.missing > 0 ? [['In this range', model.partText]] : []),
      ['Executions', `${groupDigits(at('executions'))} on ${countText(at('threads'), 'thread')}`],
      ['Self time', time('self_ticks') + share],
      ['Total', time('total_ticks')],
    ];
    if (at('executions') > 0) {
      const spread = `90\u202f% ${time('p90_ticks')}, 99\u202f% ${time('p99_ticks')}`;
      rows.push(['Duration', `median ${time('p50_ticks')}, ${spread}`]);
      rows.push(['Least, mean, greatest', `${time('min_ticks')}, ${time('mean_ticks')}, ${time('max_ticks')}`]);
    }
    rows.push(['Idle share', time('idle_share_ticks')]);
    return rows;
  }

  list(rows) {
    const list = makeElement('dl', 'pairs');
    for (const [name, value] of rows) {
      const item = showName(document.createElement('dd'), String(value), mostDetailLetters);
      this.makeReachable(item, String(value));
      list.append(makeElement('dt', '', name), item);
    }
    return list;
  }

  /** Long texts scroll by themselves, for which the keyboard must reach them. */
  makeReachable(element, text) {
    if (text.length > 80) element.tabIndex = 0;
  }

  executionPart() {
    const {model, state, job} = this;
    const {execution} = state;
    const {time} = model;
    const place = model.placeInPath(execution);
    const {path} = model.figures;
    const part = makeElement('div', 'execution');
    const list = this.list([
      ['Thread', model.threadOf(execution.lane)],
      ['Begin', `${time.short(execution.begin, 7)} – tick ${groupDigits(model.absolute(execution.begin))}`],
      ['Duration', time.long(execution.end - execution.begin)],
      ['Self time', '…'],
      ['Observed path', place === 0 ? 'not on it'
        : `step ${groupDigits(place)} of ${groupDigits(path.lane.length)}${this.gapText(path, place - 1)}`],
    ]);
    const self = list.querySelectorAll('dd')[3];
    this.work = model.selfTimeOf(execution, job).then((ticks) => {
      self.textContent = ticks === null ? 'unknown, detail is left out' : time.long(ticks);
    }, showError);
    const title = execution.kind === barrierKind ? 'This wait at a barrier' : 'This execution';
    part.append(makeElement('h3', '', title), list);
    return part;
  }

  gapText(path, i) {
    if (!path.kind[i]) return ', no gap before it';
    return `, ${this.model.time.short(path.gap[i])} after the one before: ${gapTexts[path.kind[i]]}`;
  }
}
