// Search for nodes by name, id, function or source.

/** Nodes that a search lists at most. */
const mostFound = 50;

/** The field of the search and its list. */
class SearchBox {
  constructor(model, actions) {
    this.model = model;
    this.actions = actions;
    this.input = document.getElementById('search');
    this.list = document.getElementById('found');
    this.found = [];
    this.foundCount = 0;
    this.active = -1;
    this.input.addEventListener('input', () => this.find());
    this.input.addEventListener('focus', () => this.find());
    this.input.addEventListener('blur', () => this.hide());
    this.input.addEventListener('keydown', (event) => this.key(event));
    this.list.addEventListener('pointerdown', (event) => {
      const item = event.target.closest('[data-index]');
      event.preventDefault();
      if (item) this.take(Number(item.dataset.index));
    });
  }

  find() {
    const {model} = this;
    const needle = this.input.value.trim().toLowerCase();
    if (!needle || !model.nodes) {
      this.hide();
      return;
    }
    this.found = this.findNodes(needle);
    this.active = this.found.length > 0 ? 0 : -1;
    this.draw();
  }

  /** Nodes with the text: those whose name begins with it first, then by self time. */
  findNodes(needle) {
    const {nodes, figures, nodeCount} = this.model;
    const found = [];
    for (let node = 0; node < nodeCount; ++node) {
      const name = (nodes.name[node] ?? '').toLowerCase();
      const texts = [name, nodes.id[node], nodes.function[node] ?? '', nodes.source[node] ?? ''];
      if (!texts.some((text) => text.toLowerCase().includes(needle))) continue;
      found.push({node, begins: name.startsWith(needle)});
    }
    const self = figures.columns.self_ticks;
    found.sort((a, b) => b.begins - a.begins || Number(self[b.node]) - Number(self[a.node]) || a.node - b.node);
    this.foundCount = found.length;
    return found.slice(0, mostFound).map(({node}) => node);
  }

  draw() {
    const {model, list, found} = this;
    const items = found.map((node, i) => {
      const item = document.createElement('li');
      item.id = `found-${i}`;
      item.setAttribute('role', 'option');
      item.setAttribute('aria-selected', String(i === this.active));
      item.dataset.index = i;
      item.append(showName(makeElement('span', 'cell-name'), model.nameOf(node), 80),
        makeElement('span', 'faint', model.time.short(model.figures.columns.self_ticks[node])));
      return item;
    });
    if (items.length === 0) items.push(this.makeNote('No node has this in its name, id, function or source.'));
    if (this.foundCount > items.length) {
      items.push(this.makeNote(`${groupDigits(items.length)} of ${groupDigits(this.foundCount)} nodes shown`));
    }
    list.replaceChildren(...items);
    list.hidden = false;
    this.input.setAttribute('aria-expanded', 'true');
    this.showActive();
  }

  /** A line of the list that cannot be chosen. */
  makeNote(text) {
    const note = makeElement('li', 'faint', text);
    note.setAttribute('role', 'option');
    note.setAttribute('aria-disabled', 'true');
    return note;
  }

  showActive() {
    [...this.list.children].forEach((item, i) => item.setAttribute('aria-selected', String(i === this.active)));
    if (this.active >= 0) this.input.setAttribute('aria-activedescendant', `found-${this.active}`);
    else this.input.removeAttribute('aria-activedescendant');
    this.list.children[this.active]?.scrollIntoView({block: 'nearest'});
  }

  hide() {
    this.list.hidden = true;
    this.input.setAttribute('aria-expanded', 'false');
    this.input.removeAttribute('aria-activedescendant');
  }

  key(event) {
    event.stopPropagation();
    const step = {ArrowDown: 1, ArrowUp: -1}[event.key];
    if (step && this.found.length > 0) {
      event.preventDefault();
      this.active = (this.active + step + this.found.length) % this.found.length;
      this.showActive();
    } else if (event.key === 'Enter' && this.active >= 0) {
      this.take(this.active);
    } else if (event.key === 'Escape') {
      this.input.blur();
    }
  }

  take(index) {
    const node = this.found[index];
    if (node === undefined) return;
    this.hide();
    // The keys that go through its executions must not type here.
    document.getElementById('timeline').focus({preventScroll: true});
    this.actions.selectNode(node);
  }
}
