// The top of the page: what ran, how long, how well the threads were used, and where to look first.

/** Bars of the picture of busy threads at most. */
const mostBars = 48;
/** Problems that are told at once; the others on request. */
const mostProblems = 3;

/** Shows the run's figures for the current range. */
class SummaryView {
  constructor(model, state) {
    this.model = model;
    this.state = state;
  }

  draw() {
    const {model} = this;
    showName(document.getElementById('name'), model.run.run.name);
    document.title = `${plainName(model.run.run.name, 60)} – report`;
    document.getElementById('verdict').textContent = this.verdict();
    this.drawFigures();
    this.drawConcurrency();
    this.drawTop();
    this.drawProblems();
  }

  /** One sentence on the run. */
  verdict() {
    const {figures, time} = this.model;
    const count = figures.threads.length;
    if (figures.missing > 0) {
      const leftOut = `up to ${countText(figures.missing, 'execution')} are left out`;
      if (count === 0) return `What ran in this range is not known: ${leftOut}.`;
      return `On average ${this.averageBusyText()} of ${countText(count, 'thread')} were busy. Other figures, tables and `
        + `colours tell only a part: ${leftOut}.`;
    }
    if (count === 0) return this.state.range ? 'Nothing ran in this range.' : 'Nothing was executed in this run.';
    const where = this.state.range ? 'This range' : 'The run';
    const use = figures.averageParallelism === null ? ''
      : count === 1 ? `, busy ${percentText(figures.utilisation)} of the time`
        : ` – on average ${roundDigits(figures.averageParallelism, 3)} of them busy`;
    return `${where} took ${time.short(figures.makespan)} on ${countText(count, 'thread')}${use}.`;
  }

  averageBusyText() {
    const {least, most} = this.model.figures.averageBusy;
    return aboutText(least, most, (busy) => roundDigits(busy, 3));
  }

  drawFigures() {
    const {figures, time, run} = this.model;
    const threads = figures.threads.length;
    const seen = figures.threads.filter((thread) => thread.hasRun || thread.busyLeast > 0).length;
    const tiles = figures.missing > 0 ? [
      ['Makespan', `≥\u202f${time.short(figures.makespan)}`, 'of what is held'],
      ['Executions', `≥\u202f${groupDigits(figures.executions)}`, `on at least ${countText(seen, 'thread')}`],
      ['Busy threads', this.averageBusyText(), `on average, of ${groupDigits(threads)}`],
      ...['Utilisation', 'Imbalance'].map((name) => [name, '?', 'not known in part']),
    ] : [
      ['Makespan', time.short(figures.makespan),
        time.ticksPerSecond ? `${groupDigits(figures.makespan)} ticks` : 'first begin to last end'],
      ['Executions', groupDigits(figures.executions), `on ${countText(threads, 'thread')}`],
      ['Parallelism', figures.averageParallelism === null ? '–' : roundDigits(figures.averageParallelism, 3),
        `busy of ${groupDigits(threads)}`],
      ['Utilisation', percentText(figures.utilisation), 'of threads’ time', figures.utilisation],
      ['Imbalance', percentText(figures.imbalance), 'most over mean'],
    ];
    if (run.detailed !== run.executions) {
      const share = `${groupDigits(run.detailed)} of ${groupDigits(run.executions)}`;
      tiles.push(['In detail', percentText(run.detailed / run.executions), share]);
    }
    document.getElementById('figures').replaceChildren(...tiles.map((tile) => this.makeTile(tile)));
  }

  makeTile([name, value, note, share]) {
    const tile = makeElement('div', 'tile');
    const number = makeElement('dd', 'value', value);
    tile.append(makeElement('dt', '', name), number, makeElement('dd', 'about', note));
    if (share !== undefined && share !== null) {
      const bar = makeElement('span', 'share-bar');
      bar.append(makeElement('span'));
      bar.firstChild.style.width = `${Math.min(100, share * 100)}%`;
      number.append(bar);
    }
    return tile;
  }

  /** Bars: for how much of the time how many threads were busy; several numbers share one where there are many. */
  drawConcurrency() {
    const {figures} = this.model;
    document.getElementById('concurrency-figure').hidden = figures.missing > 0;
    const all = Array.from(figures.concurrency);
    const bars = document.getElementById('concurrency-bars');
    bars.classList.toggle('dense', all.length > 16);
    const perBar = Math.max(1, Math.ceil(all.length / mostBars));
    const sums = [];
    all.forEach((ticks, busy) => {
      const bar = Math.ceil(busy / perBar);
      sums[bar] = (sums[bar] ?? 0) + Number(ticks);
    });
    const makespan = Number(figures.makespan) || 1;
    const most = sums.reduce((most, sum) => Math.max(most, sum), 0) || 1;
    const last = all.length - 1;
    bars.replaceChildren(...sums.map((sum, bar) => this.makeBar(sum / most, bar, perBar, sum / makespan, last)));
    const modes = Array.from(all, (ticks, busy) => [Number(ticks), busy]).sort((a, b) => b[0] - a[0]).slice(0, 3);
    const texts = modes.filter(([ticks]) => ticks > 0)
      .map(([ticks, busy]) => `${busy} busy ${percentText(ticks / makespan)}`);
    bars.setAttribute('aria-label', `Share of the time by number of busy threads: ${texts.join(', ')}`);
  }

  makeBar(height, bar, perBar, share, most) {
    const last = Math.min(bar * perBar, most);
    const first = bar === 0 ? 0 : (bar - 1) * perBar + 1;
    const element = makeElement('span', bar === 0 ? 'bar-column none-busy' : 'bar-column');
    const label = first === last ? `${first}` : `${first}–${last}`;
    element.title = `${label} busy: ${percentText(share)} of the time`;
    const column = makeElement('span', 'column');
    column.style.height = share > 0 ? `${Math.max(2, height * 100)}%` : '0';
    // Where there are many bars, the first and the last one are named.
    const isNamed = most < 16 || bar === 0 || last === most;
    element.append(column, makeElement('span', 'number', isNamed ? `${last}` : ''));
    return element;
  }

  drawTop() {
    const {top} = this.model.figures;
    document.getElementById('first-looks').hidden = top.length === 0;
    document.getElementById('top').replaceChildren(...top.map((look, i) => {
      const button = makeElement('button', 'look');
      button.type = 'button';
      button.dataset.node = look.node;
      button.title = look.text;
      const swatch = makeElement('span', 'swatch');
      swatch.dataset.node = look.node;
      const name = showName(makeElement('span', 'look-name'), look.name || look.id, 40);
      const badge = makeElement('span', 'badge', String(i + 1));
      button.append(badge, swatch, name, makeElement('span', 'look-text', look.text));
      button.addEventListener('click', () => this.state.set({node: look.node, execution: null}));
      const item = document.createElement('li');
      item.append(button);
      return item;
    }));
  }

  drawProblems() {
    const {run} = this.model;
    const problems = document.getElementById('problems');
    const sentences = [...run.problems];
    const end = run.run.converter_end;
    if (end && !sentences.some((sentence) => sentence.includes(end))) {
      sentences.unshift(`The converter would have ended here: ${end}`);
    }
    problems.hidden = sentences.length === 0;
    if (problems.hidden || problems.childElementCount > 0) return;
    const count = sentences.length === 1 ? 'A problem' : `${sentences.length} problems`;
    const title = makeElement('h2', '', `${count} in this run`);
    if (end) title.append(' – figures and pictures cover what was recorded before the converter ended');
    problems.replaceChildren(title, this.listOf(sentences.slice(0, mostProblems)));
    if (sentences.length <= mostProblems) return;
    const more = document.createElement('details');
    const others = sentences.slice(mostProblems);
    more.append(makeElement('summary', '', `${others.length} more`), this.listOf(others));
    problems.append(more);
  }

  listOf(sentences) {
    const list = document.createElement('ul');
    list.append(...sentences.map((sentence) => showName(document.createElement('li'), sentence, 2000)));
    return list;
  }
}
