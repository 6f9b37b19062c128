// Tables of nodes, threads and the path. Rows that are not in view do not exist, so that 100,000 nodes are no burden.

const rowHeight = 26;
/** Rows beyond those in view that exist, so that scrolling shows no gap. */
const spareRows = 10;

/** Order of two numbers or two texts; what is missing comes last. */
function compareCells(a, b) {
  if (a === null || b === null) return (a === null) - (b === null);
  return a < b ? -1 : a > b ? 1 : 0;
}

/** @returns {?(number|bigint)} a number of a cell, exact where it is digits in a string */
function exactNumber(value) {
  if (typeof value !== 'string') return value;
  return /^-?\d+$/.test(value) ? BigInt(value) : Number(value);
}

/** @returns {string} a cell of CSV */
function csvCell(value) {
  const text = value === null || value === undefined ? '' : String(value);
  return /[",\r\n]/.test(text) ? `"${text.replaceAll('"', '""')}"` : text;
}

/**
 * A table of rows by number. A column has `name`, `label`, `value(row)` for order and CSV, and where it is shown in
 * another way `show(cell, row)`, and where it is ordered by something quicker to get `order(row)`; `isNumber` sets it to the right; `isHidden` leaves it to CSV; `isOrder` says that rows
 * are in its order, `isFiltered` that the filter looks at it.
 */
class Table {
  constructor(element, {label, columns, sort, onSelect}) {
    this.element = element;
    this.columns = columns;
    this.shown = columns.filter((column) => !column.isHidden);
    this.sortBy = sort.name;
    this.isDescending = sort.isDescending;
    this.onSelect = onSelect;
    this.count = 0;
    this.rows = new Uint32Array(0);
    this.filter = '';
    this.accepts = null;
    this.note = '';
    this.selected = -1;
    this.focused = 0;
    this.isStale = true;
    this.mustReveal = false;
    this.mustRewind = false;
    this.redraw = new Redraw(() => this.draw());
    this.build(label);
  }

  build(label) {
    this.table = document.createElement('table');
    this.table.setAttribute('aria-label', label);
    const head = document.createElement('thead');
    const row = document.createElement('tr');
    this.headers = this.shown.map((column) => this.buildHeader(column));
    row.append(...this.headers);
    head.append(row);
    this.body = document.createElement('tbody');
    this.table.append(head, this.body);
    this.scroller = makeElement('div', 'rows');
    this.scroller.append(this.table);
    this.foot = makeElement('p', 'foot');
    this.element.replaceChildren(this.scroller, this.foot);
    this.scroller.addEventListener('scroll', () => this.redraw.ask(), {passive: true});
    this.body.addEventListener('click', (event) => this.click(event));
    this.body.addEventListener('keydown', (event) => this.key(event));
    new ResizeObserver(() => this.redraw.ask()).observe(this.scroller);
  }

  buildHeader(column) {
    const header = makeElement('th', column.isNumber ? 'number' : '');
    header.scope = 'col';
    const button = makeElement('button', '', column.label);
    button.type = 'button';
    if (column.about) button.title = column.about;
    button.addEventListener('click', () => this.sort(column));
    header.append(button);
    return header;
  }

  sort(column) {
    this.isDescending = this.sortBy === column.name ? !this.isDescending : Boolean(column.isNumber);
    this.sortBy = column.name;
    this.arrange();
  }

  /** Shows as many rows, which are arranged when they are seen; `note` says what holds for all of them. */
  fill(count, note = this.note) {
    this.count = count;
    this.note = note;
    this.isStale = true;
    this.redraw.ask();
  }

  /** Filters and sorts. */
  arrange() {
    this.isStale = false;
    const column = this.columns.find(({name}) => name === this.sortBy);
    const rows = [];
    const needle = this.filter.toLowerCase();
    const accepts = this.accepts ?? ((row) => !needle || this.matches(row, needle));
    for (let row = 0; row < this.count; ++row) if (accepts(row)) rows.push(row);
    if (!column.isOrder || this.isDescending) this.sortRows(rows, column);
    this.rows = Uint32Array.from(rows);
    this.focused = Math.min(this.focused, Math.max(0, rows.length - 1));
    this.showOrder();
    const text = `${groupDigits(rows.length)} of ${groupDigits(this.count)} shown`;
    const isWhole = this.count > 0 && rows.length === this.count;
    const told = this.count === 0 ? 'nothing to list' : isWhole ? '' : text;
    this.foot.textContent = [told, this.note].filter(Boolean).join(' – ');
    this.foot.classList.toggle('is-part', this.note !== '');
    this.foot.hidden = !this.foot.textContent;
    this.redraw.ask();
  }

  sortRows(rows, column) {
    const values = new Array(this.count);
    for (const row of rows) {
      const value = (column.order ?? column.value)(row) ?? null;
      values[row] = column.isNumber ? exactNumber(value) : value;
    }
    const sign = this.isDescending ? -1 : 1;
    rows.sort((a, b) => {
      const [x, y] = [values[a], values[b]];
      const order = compareCells(x, y);
      return (x === null || y === null ? order : sign * order) || a - b;
    });
  }

  matches(row, needle) {
    const has = (value) => String(value ?? '').toLowerCase().includes(needle);
    return this.columns.some((column) => column.isFiltered && has(column.value(row)));
  }

  showOrder() {
    this.shown.forEach((column, i) => {
      const isSorted = column.name === this.sortBy;
      this.headers[i].setAttribute('aria-sort', isSorted ? (this.isDescending ? 'descending' : 'ascending') : 'none');
    });
    this.table.setAttribute('aria-rowcount', this.rows.length + 1);
  }

  draw() {
    const {scroller} = this;
    if (scroller.clientHeight === 0) return;
    if (this.isStale) {
      this.arrange();
      this.mustReveal = true;
    }
    const {rows} = this;
    const hadFocus = this.body.contains(document.activeElement);
    if (this.mustReveal) {
      // Only what is as high as all rows can be scrolled to where the row will be.
      this.mustReveal = false;
      this.body.replaceChildren(this.makeSpacer(rows.length));
      this.revealSelected();
    }
    if (this.mustRewind) scroller.scrollTop = 0;
    this.mustRewind = false;
    const first = Math.max(0, Math.floor(scroller.scrollTop / rowHeight) - spareRows);
    const end = Math.min(rows.length, Math.ceil((scroller.scrollTop + scroller.clientHeight) / rowHeight) + spareRows);
    const parts = [];
    if (first > 0) parts.push(this.makeSpacer(first));
    for (let i = first; i < end; ++i) parts.push(this.makeRow(i));
    if (end < rows.length) parts.push(this.makeSpacer(rows.length - end));
    this.body.replaceChildren(...parts);
    const canFocus = this.body.querySelector('[tabindex="0"]');
    if (!canFocus) this.body.querySelector('[data-index]')?.setAttribute('tabindex', '0');
    if (hadFocus) this.focusRow();
  }

  makeSpacer(count) {
    const row = document.createElement('tr');
    row.setAttribute('aria-hidden', 'true');
    const cell = document.createElement('td');
    cell.colSpan = this.shown.length;
    cell.className = 'spacer';
    cell.style.height = `${count * rowHeight}px`;
    row.append(cell);
    return row;
  }

  makeRow(i) {
    const number = this.rows[i];
    const row = document.createElement('tr');
    row.dataset.index = i;
    row.setAttribute('aria-rowindex', i + 2);
    row.tabIndex = i === this.focused ? 0 : -1;
    if (number === this.selected) row.setAttribute('aria-selected', 'true');
    for (const column of this.shown) {
      const cell = makeElement('td', column.isNumber ? 'number' : '');
      if (column.show) column.show(cell, number);
      else cell.textContent = column.value(number) ?? '–';
      row.append(cell);
    }
    return row;
  }

  focusRow() {
    this.body.querySelector(`[data-index="${this.focused}"]`)?.focus({preventScroll: true});
  }

  click(event) {
    const row = event.target.closest('[data-index]');
    if (!row) return;
    this.focused = Number(row.dataset.index);
    this.onSelect(this.rows[this.focused]);
    this.redraw.ask();
  }

  key(event) {
    const page = Math.max(1, Math.floor(this.scroller.clientHeight / rowHeight) - 2);
    const all = this.rows.length;
    const moves = {ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page, Home: -all, End: all};
    if (event.key === 'Enter' || event.key === ' ') this.onSelect(this.rows[this.focused]);
    else if (event.key in moves) this.moveFocus(moves[event.key]);
    else return;
    event.preventDefault();
    event.stopPropagation();
  }

  moveFocus(by) {
    this.focused = Math.min(this.rows.length - 1, Math.max(0, this.focused + by));
    this.scrollTo(this.focused);
    this.draw();
    this.focusRow();
  }

  scrollTo(i) {
    const {scroller} = this;
    const head = this.table.tHead.offsetHeight;
    if (i * rowHeight < scroller.scrollTop) scroller.scrollTop = i * rowHeight;
    const over = (i + 1) * rowHeight + head - scroller.clientHeight;
    if (over > scroller.scrollTop) scroller.scrollTop = over;
  }

  /** Marks a row and brings it into view; -1 for none. */
  select(row) {
    if (this.selected === row) return;
    this.selected = row;
    this.mustReveal = true;
    this.redraw.ask();
  }

  revealSelected() {
    const i = this.selected < 0 ? -1 : this.rows.indexOf(this.selected);
    if (i < 0) return;
    this.focused = i;
    this.scrollTo(i);
  }

  /** Leaves the rows with a cell that has the text, or those that `accepts` takes; the text then says which. */
  setFilter(text, accepts = null) {
    this.filter = text;
    this.accepts = accepts;
    this.focused = 0;
    this.mustRewind = true;
    this.arrange();
  }

  /** @returns {string} all rows that the filter leaves, in their order */
  csv() {
    if (this.isStale) this.arrange();
    const lines = [this.columns.map((column) => csvCell(column.name)).join(',')];
    for (const row of this.rows) lines.push(this.columns.map((column) => csvCell(column.value(row))).join(','));
    return lines.join('\r\n') + '\r\n';
  }
}

/** The tables and what is above them. */
class TablesView {
  /** @param actions {select(execution), selectNode(node), selectLane(lane), say(text)} */
  constructor(model, state, palette, actions) {
    this.model = model;
    this.state = state;
    this.palette = palette;
    this.actions = actions;
    this.tables = {
      places: this.makePlaces(), nodes: this.makeNodes(), threads: this.makeThreads(), path: this.makePath(), events: this.makeEvents(),
      concurrency: this.makeConcurrency(),
    };
    this.filters = Object.fromEntries(Object.keys(this.tables).map((name) => [name, '']));
    this.wire();
  }

  wire() {
    const filter = document.getElementById('filter');
    filter.addEventListener('input', () => this.table.setFilter(this.filters[this.state.tab] = filter.value));
    document.getElementById('copy').addEventListener('click', () => this.copy());
    const tabs = Object.keys(this.tables);
    tabs.forEach((name, i) => {
      const tab = document.getElementById(`tab-${name}`);
      tab.addEventListener('click', () => this.state.set({tab: name}));
      tab.addEventListener('keydown', (event) => {
        const step = {ArrowRight: 1, ArrowLeft: -1}[event.key];
        if (!step) return;
        event.stopPropagation();
        const next = tabs[(i + step + tabs.length) % tabs.length];
        this.state.set({tab: next});
        document.getElementById(`tab-${next}`).focus();
      });
    });
  }

  get table() {
    return this.tables[this.state.tab];
  }

  /** Nodes that share their place in the code, and regions. */
  makePlaces() {
    const {model} = this;
    this.places = [];
    const node = (row) => this.places[row].node;
    const of = (name) => (row) => this.places[row][name];
    const time = ({self, regionTicks}) => Math.max(self, regionTicks);
    const each = ({self, executions, regionTicks, regions}) => (
      executions > 0 ? self / executions : regions > 0 ? regionTicks / regions : null);
    const busy = ({busyTicks, regionTicks}) => (
      regionTicks > 0 && !Number.isNaN(busyTicks) ? Math.round((1000 * busyTicks) / regionTicks) / 1000 : null);
    const has = ({nodes, regions}) => (
      [nodes > 0 && countText(nodes, 'node'), regions > 0 && countText(regions, 'region')].filter(Boolean).join(', '));
    const ticks = (name, label, value, about) => ({
      name, label, about, isNumber: true, value,
      show: (cell, row) => { cell.textContent = value(row) === null ? '–' : model.time.short(value(row)); },
    });
    const columns = [
      {name: 'name', label: 'Place', isFiltered: true, value: (row) => model.nameOf(node(row)),
        show: (cell, row) => this.showPlace(cell, node(row))},
      {name: 'source', label: 'Source', isHidden: true, isFiltered: true, value: (row) => model.nodes.source[node(row)]},
      {...ticks('ticks', 'Time', (row) => time(this.places[row]), 'Self time of its executions, or the time of its regions'),
        show: (cell, row) => this.showShare(cell, time(this.places[row]), this.mostOfPlaces)},
      {name: 'count', label: 'Of', isNumber: true, order: (row) => this.places[row].nodes || this.places[row].regions,
        value: (row) => has(this.places[row]), about: 'Nodes that ran, each task being one; regions wholly inside the range'},
      ticks('each_ticks', 'Each', (row) => each(this.places[row]), 'Self time of an execution on average, else that of a region'),
      {name: 'busy_threads', label: 'Busy', isNumber: true, value: (row) => busy(this.places[row]),
        show: (cell, row) => { cell.textContent = busy(this.places[row])?.toFixed(2) ?? '–'; },
        about: 'How many threads were busy on average while its regions ran'},
      ticks('idle_share_ticks', 'Idle share', of('idle'), 'What other threads waited while this ran with few others'),
      {name: 'executions', label: 'Executions', isNumber: true, value: of('executions'),
        show: (cell, row) => { cell.textContent = of('executions')(row) > 0 ? groupDigits(of('executions')(row)) : '–'; }},
      {...ticks('self_ticks', 'Self time', of('self')), isHidden: true},
      {...ticks('total_ticks', 'Total', of('total')), isHidden: true},
      {name: 'nodes', label: 'Nodes', isHidden: true, value: of('nodes')},
      {name: 'regions', label: 'Regions', isHidden: true, value: of('regions')},
      {...ticks('region_ticks', 'Region time', of('regionTicks')), isHidden: true},
      {name: 'function', label: 'Function', isHidden: true, value: (row) => model.nodes.function[node(row)]},
    ];
    return new Table(document.getElementById('places'), {
      label: 'Places in the code', columns, sort: {name: 'ticks', isDescending: true},
      onSelect: (row) => this.listPlace(this.places[row]),
    });
  }

  showPlace(cell, node) {
    showName(cell, this.model.nameOf(node), 60);
    const source = this.model.nodes.source[node];
    if (source) cell.append(' ', showName(makeElement('span', 'cell-source'), source.replace(/^.*\//, ''), 40));
  }

  /** Lists what a place has: its nodes, or its regions where it has no other. */
  listPlace({number, node, nodes}) {
    const {marks, places} = this.model;
    const isHere = (of) => of >= 0 && places.placeOf[of] === number;
    const tab = nodes > 0 ? 'nodes' : 'events';
    this.filters[tab] = this.model.nameOf(node);
    this.tables[tab].setFilter(this.filters[tab],
      nodes > 0 ? isHere : (row) => isHere(marks.allRegions.node[row - marks.userEvents.time.length] ?? -1));
    this.state.set({tab});
    // What had the focus is hidden now.
    document.getElementById(`tab-${tab}`).focus();
  }

  makeNodes() {
    const {model} = this;
    const of = (name) => (node) => model.figures.columns[name][node];
    const ticks = (name, label, about) => ({
      name, label, about, isNumber: true, value: of(name),
      show: (cell, node) => { cell.textContent = of(name)(node) === null ? '–' : model.time.short(of(name)(node)); },
    });
    const columns = [
      {name: 'name', label: 'Node', isFiltered: true, value: (node) => model.nameOf(node),
        show: (cell, node) => this.showNode(cell, node)},
      {name: 'id', label: 'Id', isHidden: true, isFiltered: true, value: (node) => model.nodes.id[node]},
      {...ticks('self_ticks', 'Self time', 'Time in executions without what is nested in them'),
        show: (cell, node) => this.showShare(cell, Number(of('self_ticks')(node)), this.mostSelf)},
      {name: 'executions', label: 'Executions', isNumber: true, value: of('executions'),
        show: (cell, node) => { cell.textContent = groupDigits(of('executions')(node)); }},
      {name: 'threads', label: 'Threads', isNumber: true, value: of('threads')},
      ticks('p50_ticks', 'Median', 'Median of the durations'),
      ticks('p90_ticks', '90 %', '90th percentile of the durations'),
      ticks('p99_ticks', '99 %', '99th percentile of the durations'),
      ticks('max_ticks', 'Greatest', 'The longest execution'),
      ticks('idle_share_ticks', 'Idle share', 'What other threads waited while this ran with few others'),
      ticks('total_ticks', 'Total', 'Durations of all executions'),
      ticks('mean_ticks', 'Mean', 'Mean duration'),
      {...ticks('min_ticks', 'Least'), isHidden: true},
      {...ticks('first_begin', 'First begin'), isHidden: true},
      {...ticks('last_end', 'Last end'), isHidden: true},
      {name: 'function', label: 'Function', isHidden: true, value: (node) => model.nodes.function[node]},
      {name: 'source', label: 'Source', isFiltered: true, value: (node) => model.nodes.source[node],
        show: (cell, node) => showName(cell, model.nodes.source[node] ?? '–', 60)},
    ];
    return new Table(document.getElementById('nodes'), {
      label: 'Nodes', columns, sort: {name: 'self_ticks', isDescending: true},
      onSelect: (node) => this.actions.selectNode(node),
    });
  }

  showNode(cell, node) {
    const swatch = makeElement('span', 'swatch');
    swatch.style.background = this.palette.ofNode(node);
    const name = showName(makeElement('span', 'cell-name'), this.model.nameOf(node), 60);
    cell.append(swatch, name);
  }

  /** A time and a bar for its share in the most that there is. */
  showShare(cell, ticks, most) {
    if (ticks === 0) {
      cell.textContent = '–';
      return;
    }
    const bar = makeElement('span', 'cell-bar');
    bar.style.width = `${most > 0 ? (ticks / most) * 100 : 0}%`;
    cell.append(bar, makeElement('span', 'over-bar', this.model.time.short(ticks)));
  }

  makeThreads() {
    const {model} = this;
    const at = (row) => model.figures.threads[row];
    const share = (row) => Number(at(row).busy) / (Number(model.figures.makespan) || 1);
    const {run} = model;
    const isKnown = () => model.figures.missing === 0;
    const isExact = (row) => isKnown() || at(row).missing === 0;
    const time = (name, label) => ({
      name, label, isNumber: true, value: (row) => at(row)[name],
      show: (cell, row) => {
        cell.textContent = at(row)[name] === null ? '–' : model.time.short(model.relative(at(row)[name]), 6);
      },
    });
    const columns = [
      {name: 'thread', label: 'Thread', isNumber: true, isFiltered: true, value: (row) => model.threadOf(at(row).lane)},
      {name: 'busy_ticks', label: 'Busy', isNumber: true, value: (row) => (isExact(row) ? at(row).busy : null),
        order: (row) => (isExact(row) ? at(row).busy : at(row).busyMost),
        show: (cell, row) => {
          cell.textContent = isExact(row) ? model.time.short(at(row).busy)
            : aboutText(at(row).busyLeast, at(row).busyMost, (ticks) => model.time.short(ticks));
        }},
      ...(run.detailed === run.executions ? [] : [
        {name: 'busy_least_ticks', label: 'Busy at least', isNumber: true, isHidden: true,
          value: (row) => (isExact(row) ? at(row).busy : Math.floor(at(row).busyLeast))},
        {name: 'busy_most_ticks', label: 'Busy at most', isNumber: true, isHidden: true,
          value: (row) => (isExact(row) ? at(row).busy : Math.ceil(at(row).busyMost))},
      ]),
      {name: 'busy_share', label: 'of the makespan', isNumber: true,
        value: (row) => (isKnown() ? Math.round(share(row) * 1e6) / 1e6 : null),
        show: (cell, row) => {
          if (!isKnown()) {
            cell.textContent = '?';
            return;
          }
          const bar = makeElement('span', 'cell-bar');
          bar.style.width = `${Math.min(100, share(row) * 100)}%`;
          cell.append(bar, makeElement('span', 'over-bar', percentText(share(row))));
        }},
      {name: 'executions', label: 'Executions', isNumber: true, value: (row) => at(row).executions,
        show: (cell, row) => { cell.textContent = groupDigits(at(row).executions); }},
      time('first_begin', 'First begin'), time('last_end', 'Last end'),
    ];
    return new Table(document.getElementById('threads'), {
      label: 'Threads', columns, sort: {name: 'thread', isDescending: false},
      onSelect: (row) => this.actions.selectLane(at(row).lane),
    });
  }

  makePath() {
    const {model} = this;
    const times = () => model.pathTimes(model.figures.path);
    const node = (row) => times().node[row];
    const known = (number) => (Number.isNaN(number) ? null : number);
    const ticks = (name, label, of, digits) => ({
      name, label, isNumber: true, value: of,
      show: (cell, row) => { cell.textContent = of(row) === null ? '…' : model.time.short(of(row), digits); },
    });
    const columns = [
      {name: 'step', label: 'Step', isNumber: true, isOrder: true, value: (row) => row + 1},
      {name: 'node', label: 'Node', isFiltered: true, value: (row) => (node(row) < 0 ? '…' : model.nameOf(node(row))),
        show: (cell, row) => { if (node(row) >= 0) this.showNode(cell, node(row)); else cell.textContent = '…'; }},
      {name: 'id', label: 'Id', isHidden: true, isFiltered: true,
        value: (row) => (node(row) < 0 ? '' : model.nodes.id[node(row)])},
      ticks('duration', 'Duration', (row) => known(times().end[row] - times().begin[row])),
      ticks('gap', 'Gap before', (row) => Number(model.figures.path.gap[row])),
      {name: 'gap_kind', label: 'Waited for', isFiltered: true, value: (row) => model.figures.path.kind[row] ?? '',
        about: 'enclosing: inside something else; thread: its data was there; data: its thread was there'},
      {name: 'thread', label: 'Thread', isNumber: true, isFiltered: true,
        value: (row) => model.threadOf(model.figures.path.lane[row])},
      {name: 'begin', label: 'Begin', isNumber: true, value: (row) => model.absolute(known(times().begin[row])),
        show: (cell, row) => {
          const begin = known(times().begin[row]);
          cell.textContent = begin === null ? '…' : model.time.short(begin, 6);
        }},
    ];
    return new Table(document.getElementById('path'), {
      label: 'Observed path', columns, sort: {name: 'step', isDescending: false},
      onSelect: (row) => this.actions.selectAt(model.figures.path.lane[row], model.figures.path.position[row]),
    });
  }

  /** User events, then regions, of the whole run; rows are looked up when they are asked for, as there may be very many. */
  makeEvents() {
    const {model} = this;
    const {texts, userEvents: events, allRegions: regions} = model.marks;
    const count = events.time.length;
    const isEvent = (row) => row < count;
    const begin = (row) => (isEvent(row) ? events.time[row] : Number(regions.begin[row - count]));
    const end = (row) => (isEvent(row) ? null : Number(regions.end[row - count]));
    const lane = (row) => (isEvent(row) ? events.lane[row] : regions.lane[row - count]);
    const name = (row) => {
      if (isEvent(row)) return texts[events.text[row]];
      const node = regions.node[row - count];
      return node < 0 ? texts[regions.text[row - count]] : model.nameOf(node);
    };
    const duration = (row) => (isEvent(row) ? null : end(row) - begin(row));
    const short = (of, digits) => (cell, row) => { cell.textContent = model.time.short(of(row), digits); };
    const columns = [
      {name: 'kind', label: 'Kind', isOrder: true, isFiltered: true, value: (row) => (isEvent(row) ? 'event' : 'region')},
      {name: 'name', label: 'Name', isFiltered: true, value: name, show: (cell, row) => showName(cell, name(row) ?? '', 60)},
      {name: 'thread', label: 'Thread', isNumber: true, isFiltered: true, value: (row) => model.threadOf(lane(row))},
      {name: 'begin', label: 'Begin', isNumber: true, order: begin, value: (row) => model.absolute(begin(row)),
        show: short(begin, 6)},
      {name: 'end', label: 'End', isNumber: true, isHidden: true, value: (row) => model.absolute(end(row))},
      {name: 'duration', label: 'Duration', isNumber: true, value: duration, show: short(duration)},
    ];
    const table = new Table(document.getElementById('events'), {
      label: 'User events and regions', columns, sort: {name: 'kind', isDescending: false},
      onSelect: (row) => {
        table.select(row);
        this.actions.showTime({lane: lane(row), begin: begin(row), end: end(row) ?? begin(row)});
      },
    });
    table.fill(count + regions.lane.length);
    return table;
  }

  makeConcurrency() {
    const {model} = this;
    const ticks = (row) => model.figures.concurrency[row];
    const share = (row) => Number(ticks(row)) / (Number(model.figures.makespan) || 1);
    const columns = [
      {name: 'busy_threads', label: 'Busy threads', isNumber: true, isOrder: true, isFiltered: true, value: (row) => row},
      {name: 'ticks', label: 'Time', isNumber: true, value: ticks,
        show: (cell, row) => { cell.textContent = model.time.short(ticks(row)); }},
      {name: 'share', label: 'of the makespan', isNumber: true, value: (row) => Math.round(share(row) * 1e6) / 1e6,
        show: (cell, row) => { cell.textContent = percentText(share(row)); }},
    ];
    return new Table(document.getElementById('concurrency'), {
      label: 'Time by number of busy threads', columns, sort: {name: 'busy_threads', isDescending: false},
      onSelect: () => {},
    });
  }

  /** Takes over the figures of another range. */
  fill() {
    const {figures, nodeCount} = this.model;
    this.mostSelf = 0;
    for (const ticks of figures.columns.self_ticks) this.mostSelf = Math.max(this.mostSelf, Number(ticks));
    const {partText} = this.model;
    this.places = this.model.places.sum(this.state.range);
    this.mostOfPlaces = this.places.reduce((most, {self, regionTicks}) => Math.max(most, self, regionTicks), 0);
    this.tables.places.fill(this.places.length, partText);
    this.tables.nodes.fill(nodeCount, partText);
    this.tables.threads.fill(figures.threads.length, partText && `${partText}; busy times cover all`);
    this.tables.path.fill(figures.path.lane.length, partText);
    this.tables.events.fill(this.tables.events.count, this.state.range ? 'of the whole run, whatever the range' : '');
    // How many threads were busy is not known where executions are left out.
    this.tables.concurrency.fill(figures.missing > 0 ? 0 : figures.concurrency.length, partText);
  }

  /** Follows the state. */
  update() {
    for (const name of Object.keys(this.tables)) {
      const isShown = name === this.state.tab;
      document.getElementById(name).hidden = !isShown;
      const tab = document.getElementById(`tab-${name}`);
      tab.setAttribute('aria-selected', String(isShown));
      tab.tabIndex = isShown ? 0 : -1;
    }
    document.getElementById('filter').value = this.filters[this.state.tab];
    this.tables.nodes.select(this.state.node);
    const {execution} = this.state;
    const {threads} = this.model.figures;
    this.tables.threads.select(execution ? threads.findIndex(({lane}) => lane === execution.lane) : -1);
    this.tables.path.select(execution ? this.model.placeInPath(execution) - 1 : -1);
    this.table.redraw.ask();
  }

  redraw() {
    for (const table of Object.values(this.tables)) table.redraw.ask();
  }

  async copy() {
    if (this.state.tab === 'path') await this.model.readPath(this.model.figures.path, new Job());
    await copyText(this.table.csv());
    const part = this.table.note && ` (${this.table.note})`;
    this.actions.say(`${countText(this.table.rows.length, 'row')} copied as CSV${part}.`);
  }
}

/** Puts a text on the clipboard, in the old way where the new one is not there. */
async function copyText(text) {
  try {
    await navigator.clipboard.writeText(text);
  } catch {
    const area = document.createElement('textarea');
    area.value = text;
    document.body.append(area);
    area.select();
    document.execCommand('copy');
    area.remove();
  }
}
