// Wheel, drags and clicks on the graph.

/** Turns what the hands do over the graph into changes of the state. */
class GraphInput {
  /** @param actions {selectNode(node), clear()} */
  constructor(graph, actions) {
    this.graph = graph;
    this.actions = actions;
    this.press = null;
    this.hover = document.getElementById('hover');
    const {canvas} = graph;
    canvas.addEventListener('wheel', (event) => this.wheel(event), {passive: false});
    canvas.addEventListener('pointerdown', (event) => this.pressDown(event));
    canvas.addEventListener('pointermove', (event) => this.move(event));
    canvas.addEventListener('pointerup', (event) => this.release(event));
    canvas.addEventListener('pointercancel', () => { this.press = null; });
    canvas.addEventListener('pointerleave', () => { this.hover.hidden = true; });
    canvas.addEventListener('keydown', (event) => this.key(event));
  }

  wheel(event) {
    if (!this.graph.layout) return;
    event.preventDefault();
    const pixels = Math.max(-400, Math.min(400, wheelPixels(event)));
    this.graph.zoom(zoomPerPixel ** -pixels, event.offsetX, event.offsetY);
  }

  pressDown(event) {
    if (event.button !== 0) return;
    this.press = {x: event.offsetX, y: event.offsetY, isDrag: false};
    this.graph.canvas.setPointerCapture(event.pointerId);
  }

  move(event) {
    const {press, graph} = this;
    if (!graph.layout) return;
    if (!press) {
      this.showHover(event);
      return;
    }
    const dx = event.offsetX - press.x;
    const dy = event.offsetY - press.y;
    press.isDrag ||= Math.hypot(dx, dy) > clickDistance;
    if (!press.isDrag) return;
    graph.pan(-dx, -dy);
    press.x = event.offsetX;
    press.y = event.offsetY;
  }

  release(event) {
    const {press, graph} = this;
    this.press = null;
    if (!press || press.isDrag || !graph.layout) return;
    const node = graph.nodeAt(event.offsetX, event.offsetY);
    if (node < 0) {
      this.actions.clear();
      return;
    }
    if (graph.state.node === node || event.detail > 1) graph.open(node);
    this.actions.selectNode(node);
  }

  showHover(event) {
    const {graph, hover} = this;
    const node = graph.shownGraphs ? graph.nodeAt(event.offsetX, event.offsetY) : -1;
    hover.hidden = node < 0;
    if (node < 0) return;
    const {model} = graph;
    const {columns} = model.figures;
    const executions = countText(columns.executions[node], 'execution');
    const lines = [
      showName(makeElement('div', 'hover-name'), model.nameOf(node), 80),
      makeElement('div', '', `${executions}, self time ${model.time.short(columns.self_ticks[node])}`),
    ];
    if (graph.layout.nodes.inner[node] >= 0) {
      lines.push(makeElement('div', 'faint', 'a click on the selected node opens it'));
    }
    hover.replaceChildren(...lines);
    placeHover(hover, event.clientX, event.clientY);
  }

  key(event) {
    const {graph} = this;
    if (!graph.layout || event.ctrlKey || event.metaKey || event.altKey) return;
    const step = 60;
    const keys = {
      w: () => graph.pan(0, -step), s: () => graph.pan(0, step),
      a: () => graph.pan(-step, 0), d: () => graph.pan(step, 0),
      ArrowUp: () => graph.pan(0, -step), ArrowDown: () => graph.pan(0, step),
      ArrowLeft: () => graph.pan(-step, 0), ArrowRight: () => graph.pan(step, 0),
      '+': () => graph.zoom(zoomPerKey), '=': () => graph.zoom(zoomPerKey), '-': () => graph.zoom(1 / zoomPerKey),
      0: () => graph.showAll(), Enter: () => graph.open(graph.state.node),
    };
    const action = keys[event.key.length === 1 ? event.key.toLowerCase() : event.key];
    if (!action || (event.key === 'Enter' && graph.state.node < 0)) return;
    event.preventDefault();
    event.stopPropagation();
    action();
  }
}
