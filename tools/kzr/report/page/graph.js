// The picture of the graph. Its camera stands in one graph, so that composite nodes nested at any depth can be
// zoomed into without a loss of precision.

/** Boxes below this width in pixels are specks; from the next on they have outlines, names and ports. */
const leastBox = 3;
const leastOutlinedBox = 8;
const leastNamedBox = 36;
const leastPortsBox = 60;
/** Square pixels and length of the shorter side from which on a composite node is open. */
const leastOpenArea = 7500;
const leastOpenSide = 50;
/** Lines and boxes that are drawn in one frame at most. */
const mostLines = 3000;
/** Up to so many lines are curved. */
const mostCurves = 800;
const mostBoxes = 12000;
/** Milliseconds without a change after which all lines are drawn. */
const restDelay = 150;
const mostLinesAtRest = 30000;
/** Pixels of lines that are drawn in one frame at most: what takes the time is their length. */
const mostLineLength = 150000;
const mostLineLengthAtRest = 2500000;

/** Draws the graph from model and state. */
class GraphView {
  constructor(model, state, palette) {
    this.model = model;
    this.state = state;
    this.palette = palette;
    this.canvas = document.getElementById('graph');
    this.context = this.canvas.getContext('2d', {alpha: false});
    this.redraw = new Redraw(() => this.draw());
    this.layout = null;
    this.restTimer = 0;
    this.steps = new Int8Array(0);
    this.pathNodes = new Set();
    /** By edge: whether the path goes along it. */
    this.pathEdges = new Uint8Array(0);
    new ResizeObserver(() => this.redraw.ask()).observe(this.canvas);
  }

  useParts() {
    this.layout = new GraphLayout(this.model.graph);
    this.updateMeasure();
    const note = document.getElementById('graph-note');
    note.hidden = this.layout.nodes.graph.some((graph) => graph >= 0);
    note.textContent = 'No graph of this run has nodes.';
  }

  /**
   * Puts all nodes on the scale of the chosen measure. Composite nodes have one of their own: next to what is in
   * them together, the nodes inside would all look alike.
   */
  updateMeasure() {
    this.values = Float64Array.from(this.model.figures.columns[this.state.measure], Number);
    const {graph, inner} = this.layout.nodes;
    this.layout.addInner(this.values, measures[this.state.measure].addsUp);
    const scaleOf = (isWanted) => new MeasureScale(this.values.filter((_, node) => graph[node] >= 0 && isWanted(node)));
    this.scale = scaleOf((node) => inner[node] < 0);
    this.compositeScale = scaleOf((node) => inner[node] >= 0);
    this.steps = Int8Array.from(this.values, (value, node) => (
      (inner[node] < 0 ? this.scale : this.compositeScale).stepOf(value)));
    this.drawLegend();
    this.redraw.ask();
  }

  /** Marks the nodes of the path, the composite nodes that they are in, and the edges from one step to the next. */
  markPath(path) {
    const {graphs, nodes} = this.layout;
    const onPath = new Set();
    for (let node of path) {
      while (node >= 0 && !onPath.has(node)) {
        onPath.add(node);
        node = nodes.graph[node] < 0 ? -1 : graphs.parent[nodes.graph[node]];
      }
    }
    this.pathNodes = onPath;
    this.pathEdges = this.layout.edgesAlong(path);
    this.redraw.ask();
  }

  isOnPath(node) {
    return this.state.showsPath && this.pathNodes.has(node);
  }

  isPathEdge(edge) {
    return this.state.showsPath && this.pathEdges[edge] === 1;
  }

  /** What the chosen measure adds up to in a composite node, as a row of details; null for other nodes. */
  sumInside(node) {
    const {label, addsUp} = measures[this.state.measure];
    if (!addsUp || this.layout.nodes.inner[node] < 0) return null;
    return [`${label}, with all inside`, this.measureText(node) || '0'];
  }

  isShown(node) {
    return this.layout.nodes.graph[node] >= 0;
  }

  drawLegend() {
    const {scale, compositeScale, palette, model, state} = this;
    const measure = measures[state.measure];
    const text = (value) => (measure.isTime ? model.time.short(value, 3) : groupDigits(Math.round(value)));
    const steps = makeElement('span', 'steps');
    for (const colour of palette.scale) {
      const step = document.createElement('span');
      step.style.background = colour;
      steps.append(step);
    }
    const legend = document.getElementById('legend');
    legend.hidden = scale.most === 0 && compositeScale.most === 0;
    const composite = compositeScale.most > 0 ? `, composite nodes ${text(compositeScale.most)}` : '';
    legend.replaceChildren('0', steps, text(scale.most) + composite);
    legend.setAttribute('aria-label', `Colours from 0 to ${text(scale.most)}${composite}; nodes without any are not filled`);
  }

  /** The camera: pixels = (units of `graph` - x, y) * scale. Without one all of the graph is shown. */
  get camera() {
    return this.state.camera ?? this.cameraFor(-1, this.layout.extent);
  }

  /** A camera that shows a rectangle of a graph. */
  cameraFor(graph, {x, y, width, height}, share = 0.94) {
    const {clientWidth, clientHeight} = this.canvas;
    const scale = Math.min((clientWidth / width) * share, (clientHeight / height) * share, graph < 0 ? 1.6 : Infinity);
    return {graph, scale, x: x + width / 2 - clientWidth / 2 / scale, y: y + height / 2 - clientHeight / 2 / scale};
  }

  draw(isAtRest = false) {
    clearTimeout(this.restTimer);
    this.restTimer = 0;
    const {context, palette, layout} = this;
    const {width, height} = fitCanvas(this.canvas, context);
    if (width === 0) return;
    this.width = width;
    this.height = height;
    context.fillStyle = palette.panel;
    context.fillRect(0, 0, width, height);
    if (!layout) return;
    this.linesLeft = isAtRest ? mostLinesAtRest : mostLines;
    this.mostLength = isAtRest ? mostLineLengthAtRest : mostLineLength;
    this.lengthLeft = this.mostLength;
    this.boxesLeft = mostBoxes;
    this.isCut = false;
    this.shownGraphs = [];
    this.drawFrom(this.camera);
    if (this.state.node >= 0) this.drawSelected();
    this.drawBadges();
    if (!this.isCut || isAtRest) return;
    this.restTimer = setTimeout(() => requestAnimationFrame(() => this.draw(true)), restDelay);
  }

  /** Draws the outermost graph in view, then the inner ones of boxes that are wide enough. */
  drawFrom(camera) {
    const pending = this.outermost(camera);
    while (pending.length > 0) {
      const frame = pending.shift();
      this.shownGraphs.push(frame);
      this.drawGraph(frame, pending);
    }
  }

  /** Frames {graph, x, y, scale} to begin with: pixels = x + units * scale. */
  outermost(camera) {
    let frame = {graph: camera.graph, x: -camera.x * camera.scale, y: -camera.y * camera.scale, scale: camera.scale};
    while (frame.graph >= 0 && !this.fillsView(frame)) frame = this.frameAround(frame);
    return frame.graph >= 0 ? [frame] : this.topFrames(frame);
  }

  fillsView({graph, x, y, scale}) {
    const {graphs} = this.layout;
    const right = x + graphs.width[graph] * scale;
    const bottom = y + graphs.height[graph] * scale;
    return x <= 0 && y <= 0 && right >= this.width && bottom >= this.height;
  }

  frameAround(frame) {
    const {layout} = this;
    if (layout.graphs.parent[frame.graph] < 0) {
      const {x, y} = this.topPlace(frame.graph);
      return {graph: -1, x: frame.x - x * frame.scale, y: frame.y - y * frame.scale, scale: frame.scale};
    }
    const place = layout.placeInParent(frame.graph);
    const scale = frame.scale / place.scale;
    return {graph: layout.around(frame.graph), x: frame.x - place.x * scale, y: frame.y - place.y * scale, scale};
  }

  topPlace(graph) {
    return {x: this.layout.graphs.x[graph], y: this.layout.graphs.y[graph]};
  }

  topFrames({x, y, scale}) {
    const {graphs} = this.layout;
    const frames = [];
    for (let graph = 0; graph < this.layout.graphCount; ++graph) {
      if (graphs.parent[graph] >= 0) continue;
      const frame = {graph, x: x + graphs.x[graph] * scale, y: y + graphs.y[graph] * scale, scale};
      const isInView = this.isInView(frame.x, frame.y, graphs.width[graph] * scale, graphs.height[graph] * scale);
      if (isInView) frames.push(frame);
    }
    return frames;
  }

  isInView(x, y, width, height) {
    return x + width >= -20 && y + height >= -20 && x <= this.width + 20 && y <= this.height + 20;
  }

  drawGraph(frame, pending) {
    this.drawEdges(frame);
    const {x, y, scale} = frame;
    const {nodes} = this.layout;
    const specks = [];
    const right = (this.width - x) / scale;
    const bottom = (this.height - y) / scale;
    this.layout.eachNode(frame.graph, -x / scale, -y / scale, right, bottom, (node) => {
      const left = x + nodes.x[node] * scale;
      const top = y + nodes.y[node] * scale;
      const width = nodes.width[node] * scale;
      const height = nodes.height[node] * scale;
      if (!this.isInView(left, top, width, height)) return;
      if (width < leastBox || this.boxesLeft <= 0) specks.push(node);
      else this.drawBox(node, {left, top, width, height}, pending);
    });
    this.drawSpecks(specks, frame);
  }

  /** Nodes too small for a box: of those in one place of the screen the greatest measure is seen. */
  drawSpecks(specks, {x, y, scale}) {
    const {context, palette, layout, steps} = this;
    const {nodes} = layout;
    const columns = Math.ceil(this.width / 2);
    const lines = Math.ceil(this.height / 2);
    if (specks.length === 0) return;
    const cells = new Int8Array(columns * lines).fill(-2);
    for (const node of specks) {
      const column = Math.floor((x + (nodes.x[node] + nodes.width[node] / 2) * scale) / 2);
      const line = Math.floor((y + (nodes.y[node] + nodes.height[node] / 2) * scale) / 2);
      if (column < 0 || line < 0 || column >= columns || line >= lines) continue;
      const cell = line * columns + column;
      // The path goes over every measure.
      const step = this.isOnPath(node) ? scaleSteps : steps[node];
      if (step > cells[cell]) cells[cell] = step;
    }
    cells.forEach((step, cell) => {
      if (step === -2) return;
      context.fillStyle = step < 0 ? palette.edge : palette.scale[step] ?? palette.path;
      context.fillRect((cell % columns) * 2, Math.floor(cell / columns) * 2, 2, 2);
    });
  }

  drawBox(node, box, pending) {
    const {context, palette, layout, steps} = this;
    const {left, top, width, height} = box;
    --this.boxesLeft;
    const inner = layout.nodes.inner[node];
    const isOpen = inner >= 0 && width * height >= leastOpenArea && Math.min(width, height) >= leastOpenSide;
    const step = steps[node];
    const isOutlined = width >= leastOutlinedBox;
    const withoutStep = isOutlined ? palette.panel : palette.edge;
    context.fillStyle = isOpen ? palette.box : step < 0 ? withoutStep : palette.scale[step];
    const isOnPath = this.isOnPath(node);
    if (isOnPath && !isOutlined) context.fillStyle = palette.path;
    context.fillRect(left, top, width, height);
    if (isOutlined) {
      context.strokeStyle = isOnPath ? palette.path : palette.faint;
      context.lineWidth = isOnPath ? 2.5 : inner >= 0 ? 1.5 : 0.8;
      context.strokeRect(left, top, width, height);
      // Composite nodes have a second line, as a stack has.
      if (inner >= 0 && !isOpen) context.strokeRect(left + 2.5, top + 2.5, width - 5, height - 5);
      context.fillStyle = palette.ofNode(node);
      context.fillRect(left, top, Math.min(5, width / 6), isOpen ? Math.min(height, this.titleOf(box, node)) : height);
    }
    if (isOpen) this.openBox(node, inner, box, pending);
    else if (width >= leastNamedBox) this.nameBox(node, box, step);
    if (width >= leastPortsBox) this.drawPorts(node, box);
  }

  titleOf(box, node) {
    return (titleHeight * box.height) / this.layout.nodes.height[node];
  }

  nameBox(node, {left, top, width, height}, step) {
    const {context, palette} = this;
    const size = Math.min(15, Math.max(9, height * 0.36));
    if (height < 9) return;
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    context.fillStyle = step < 0 ? palette.text : palette.scaleText[step];
    const text = this.fitText(node, width - 10, size);
    const measured = height > 40 ? this.measureText(node) : '';
    context.fillText(text, left + width / 2, top + height / 2 - (measured ? size * 0.6 : 0));
    if (!measured) return;
    context.font = `${size * 0.85}px system-ui, sans-serif`;
    context.fillText(measured, left + width / 2, top + height / 2 + size * 0.75, width - 8);
  }

  /** The name of a node as far as it fits, and the font for it set: a smaller one where that is enough. */
  fitText(node, room, size, weight = '') {
    const {context} = this;
    const name = plainName(this.model.nameOf(node), 80);
    const useSize = (size) => { context.font = `${weight} ${size}px system-ui, sans-serif`; };
    useSize(size);
    const width = context.measureText(name).width;
    if (width <= room) return name;
    const smaller = Math.max(9, (size * room) / width);
    useSize(smaller);
    const letters = Math.floor((name.length * room * size) / (width * smaller));
    return letters >= name.length ? name : shorten(name, Math.max(1, letters - 1));
  }

  measureText(node) {
    const value = this.values[node];
    if (value === 0) return '';
    return measures[this.state.measure].isTime ? this.model.time.short(value, 3) : `${groupDigits(value)}×`;
  }

  openBox(node, inner, box, pending) {
    const {context, palette, layout} = this;
    const perUnit = box.width / layout.nodes.width[node];
    const title = this.titleOf(box, node);
    const size = Math.min(15, title * 0.75);
    if (size >= 6) {
      context.textAlign = 'left';
      context.textBaseline = 'middle';
      context.fillStyle = palette.text;
      const name = this.fitText(node, box.width - 20, size, '600');
      context.fillText(name, Math.max(box.left + 10, 6), box.top + title / 2);
    }
    const place = layout.placeInParent(inner);
    pending.push({
      graph: inner, scale: place.scale * perUnit,
      x: box.left + (place.x - layout.nodes.x[node]) * perUnit, y: box.top + (place.y - layout.nodes.y[node]) * perUnit,
    });
  }

  drawPorts(node, {left, top, width, height}) {
    const {context, palette, layout} = this;
    const {first, list} = layout.portsOf;
    const perUnit = width / layout.nodes.width[node];
    if (height / (first[node + 1] - first[node] + 1) < 3) return;
    context.fillStyle = palette.faint;
    for (let i = first[node]; i < first[node + 1]; ++i) {
      const port = list[i];
      const x = left + (layout.ports.is_input[port] ? 0 : width);
      context.fillRect(x - 2.5, top + layout.ports.y[port] * perUnit - 2.5, 5, 5);
    }
  }

  drawEdges(frame) {
    const {layout, context, palette} = this;
    const {first, list} = layout.edgesOf;
    // Long edges are faint, so that they do not bury the short ones.
    const short = [];
    const long = [];
    for (let i = first[frame.graph]; i < first[frame.graph + 1]; ++i) {
      const edge = list[i];
      const size = this.edgeSize(edge, frame);
      if (size < 2) continue;
      if (this.linesLeft-- <= 0) {
        this.isCut = true;
        break;
      }
      (size > 0.6 * this.width ? long : short).push(edge);
    }
    context.strokeStyle = palette.edge;
    context.lineWidth = 1;
    context.globalAlpha = short.length > 3000 ? 0.4 : 0.9;
    this.strokeDashedWhereRemoved(short, frame);
    context.globalAlpha = long.length > 200 ? 0.12 : 0.35;
    this.strokeEdges(long, frame);
    context.globalAlpha = 1;
    if (this.state.showsPath) this.drawPathEdges(frame);
  }

  /** Edges along which the path goes: over the others, wider, and drawn where those were too many, too. */
  drawPathEdges(frame) {
    const {layout, context, palette} = this;
    const {first, list} = layout.edgesOf;
    const edges = [];
    for (let i = first[frame.graph]; i < first[frame.graph + 1]; ++i) {
      if (this.pathEdges[list[i]] === 1 && this.edgeSize(list[i], frame) >= 2) edges.push(list[i]);
    }
    const {lengthLeft} = this;
    this.lengthLeft = this.mostLength;
    context.strokeStyle = palette.path;
    context.lineWidth = 2.5;
    this.strokeDashedWhereRemoved(edges, frame);
    this.lengthLeft = lengthLeft;
  }

  strokeDashedWhereRemoved(edges, frame) {
    const {context, layout} = this;
    this.strokeEdges(edges.filter((edge) => !layout.removed[edge]), frame);
    context.setLineDash([4, 3]);
    this.strokeEdges(edges.filter((edge) => layout.removed[edge]), frame);
    context.setLineDash([]);
  }

  /** Extent of an edge in pixels, 0 when it is not in view. */
  edgeSize(edge, {x, y, scale}) {
    const {edgeBox} = this.layout;
    const left = x + edgeBox[4 * edge] * scale;
    const top = y + edgeBox[4 * edge + 1] * scale;
    const width = (edgeBox[4 * edge + 2] - edgeBox[4 * edge]) * scale;
    const height = (edgeBox[4 * edge + 3] - edgeBox[4 * edge + 1]) * scale;
    return this.isInView(left, top, width, height) ? Math.max(width, height) : 0;
  }

  strokeEdges(edges, {x, y, scale}) {
    if (edges.length === 0) return;
    const {context, layout} = this;
    const {edgeFirst, points} = layout;
    this.isCurved = edges.length < mostCurves;
    context.beginPath();
    for (const edge of edges) {
      if (this.lengthLeft < 0) {
        this.isCut = true;
        break;
      }
      let at = edgeFirst[edge];
      let lastX = x + points[at] * scale;
      let lastY = y + points[at + 1] * scale;
      for (at += 2; at < edgeFirst[edge + 1]; at += 2) {
        const nextX = x + points[at] * scale;
        const nextY = y + points[at + 1] * scale;
        this.traceSegment(lastX, lastY, nextX, nextY, 40 * scale);
        lastX = nextX;
        lastY = nextY;
      }
    }
    context.stroke();
  }

  /** Adds a piece of an edge, where it is in view; what reaches far out of it is cut, as drawing it takes long. */
  traceSegment(fromX, fromY, toX, toY, mostBend) {
    const {context, width, height} = this;
    const margin = 60;
    const left = Math.min(fromX, toX);
    const top = Math.min(fromY, toY);
    if (!this.isInView(left, top, Math.abs(toX - fromX), Math.abs(toY - fromY))) return;
    this.lengthLeft -= Math.min(Math.abs(toX - fromX), width) + Math.min(Math.abs(toY - fromY), height);
    if (Math.abs(toX - fromX) > 3 * width || Math.abs(toY - fromY) > 3 * height) {
      const cut = cutLine(fromX, fromY, toX, toY, -margin, -margin, width + margin, height + margin);
      if (!cut) return;
      context.moveTo(cut[0], cut[1]);
      context.lineTo(cut[2], cut[3]);
      return;
    }
    context.moveTo(fromX, fromY);
    const bend = Math.min(Math.abs(toX - fromX) / 2, mostBend);
    if (this.isCurved && fromY !== toY) context.bezierCurveTo(fromX + bend, fromY, toX - bend, toY, toX, toY);
    else context.lineTo(toX, toY);
  }

  /** Edges of the selected node, and a frame around it where it is in view. */
  drawSelected() {
    const {context, palette, layout, state} = this;
    const frame = this.frameOf(state.node);
    if (!frame) return;
    const {first, list} = layout.edgesOfNode;
    const edges = Array.from(list.slice(first[state.node], Math.min(first[state.node + 1], first[state.node] + 2000)));
    context.strokeStyle = palette.edgeStrong;
    context.lineWidth = 2;
    this.lengthLeft = mostLineLength;
    this.strokeEdges(edges.filter((edge) => this.edgeSize(edge, frame) > 0 && !this.isPathEdge(edge)), frame);
    const {left, top, width, height} = this.boxOf(state.node, frame);
    context.strokeStyle = palette.panel;
    context.lineWidth = 2;
    context.strokeRect(left - 2, top - 2, Math.max(6, width + 4), Math.max(6, height + 4));
    context.strokeStyle = palette.text;
    context.lineWidth = 2.5;
    context.strokeRect(left - 4, top - 4, Math.max(10, width + 8), Math.max(10, height + 8));
  }

  /** Numbers on the nodes to look at first, or on what is drawn around them. */
  drawBadges() {
    const {context, palette} = this;
    context.font = '600 11px system-ui, sans-serif';
    context.textAlign = 'center';
    context.textBaseline = 'middle';
    this.model.figures.top.forEach((look, i) => {
      const box = this.findDrawnBox(look.node);
      if (!box || !this.isInView(box.left, box.top, box.width, box.height)) return;
      const x = box.left + box.width - 3;
      context.fillStyle = palette.text;
      context.beginPath();
      context.arc(x, box.top, 8, 0, 2 * Math.PI);
      context.fill();
      context.fillStyle = palette.panel;
      context.fillText(String(i + 1), x, box.top + 0.5);
    });
  }

  /** The box of a node, else of the innermost composite node around it that is drawn; null for none. */
  findDrawnBox(node) {
    const {graphs, nodes} = this.layout;
    for (let shown = node; shown >= 0 && nodes.graph[shown] >= 0; shown = graphs.parent[nodes.graph[shown]]) {
      const frame = this.frameOf(shown);
      if (frame) return this.boxOf(shown, frame);
    }
    return null;
  }

  /** The frame of the graph of a node among those that were drawn. */
  frameOf(node) {
    return this.shownGraphs.find(({graph}) => graph === this.layout.nodes.graph[node]);
  }

  boxOf(node, {x, y, scale}) {
    const {nodes} = this.layout;
    return {
      left: x + nodes.x[node] * scale, top: y + nodes.y[node] * scale,
      width: nodes.width[node] * scale, height: nodes.height[node] * scale,
    };
  }

  /** The innermost node at a place of the canvas, -1 for none. */
  nodeAt(px, py) {
    for (const frame of this.shownGraphs.slice().reverse()) {
      const x = (px - frame.x) / frame.scale;
      const y = (py - frame.y) / frame.scale;
      let found = -1;
      this.layout.eachNode(frame.graph, x, y, x, y, (node) => {
        const {left, top, width, height} = this.boxOf(node, frame);
        if (px >= left - 1 && px <= left + width + 1 && py >= top - 1 && py <= top + height + 1) found = node;
      });
      if (found >= 0) return found;
    }
    return -1;
  }

  /** Zooms around a place of the canvas. */
  zoom(factor, px = this.width / 2, py = this.height / 2) {
    const {graph, x, y, scale} = this.camera;
    const zoomed = Math.max(scale * factor, 1e-7);
    this.setCamera({graph, scale: zoomed, x: x + px / scale - px / zoomed, y: y + py / scale - py / zoomed});
  }

  pan(dx, dy) {
    const {graph, x, y, scale} = this.camera;
    this.setCamera({graph, scale, x: x + dx / scale, y: y + dy / scale});
  }

  /** Takes a camera, in the graph that fills the view; it does not zoom out beyond the picture's quarter. */
  setCamera(camera) {
    let frame = {graph: camera.graph, x: -camera.x * camera.scale, y: -camera.y * camera.scale, scale: camera.scale};
    while (frame.graph >= 0 && !this.fillsView(frame)) frame = this.frameAround(frame);
    for (let inner = this.innerThatFills(frame); inner; inner = this.innerThatFills(frame)) frame = inner;
    const least = this.cameraFor(-1, this.layout.extent).scale / 4;
    if (frame.graph < 0 && frame.scale < least) return;
    const {graph, x, y, scale} = frame;
    this.state.set({camera: {graph, x: -x / scale, y: -y / scale, scale}});
  }

  /** The inner graph, of a frame, that fills the view, null when there is none. */
  innerThatFills(frame) {
    const {layout} = this;
    if (frame.graph < 0) return this.topFrames(frame).find((top) => this.fillsView(top)) ?? null;
    const px = (this.width / 2 - frame.x) / frame.scale;
    const py = (this.height / 2 - frame.y) / frame.scale;
    let found = null;
    layout.eachNode(frame.graph, px, py, px, py, (node) => {
      const inner = layout.nodes.inner[node];
      if (inner < 0) return;
      const place = layout.placeInParent(inner);
      const candidate = {graph: inner, scale: frame.scale * place.scale,
        x: frame.x + place.x * frame.scale, y: frame.y + place.y * frame.scale};
      if (this.fillsView(candidate)) found = candidate;
    });
    return found;
  }

  showAll() {
    this.state.set({camera: null});
  }

  /** Zooms to a composite node, so that it opens. */
  open(node) {
    const {nodes} = this.layout;
    if (nodes.graph[node] < 0) return;
    const inner = nodes.inner[node];
    if (inner < 0) return;
    const box = {x: nodes.x[node], y: nodes.y[node], width: nodes.width[node], height: nodes.height[node]};
    this.setCamera(this.cameraFor(nodes.graph[node], box, 0.9));
  }

  /** Brings a node into view and opens the composite nodes around it, where it is not seen well already. */
  reveal(node) {
    const {layout} = this;
    if (!layout || node < 0 || layout.nodes.graph[node] < 0) return;
    this.width = this.canvas.clientWidth;
    this.height = this.canvas.clientHeight;
    if (this.isSeen(node)) return;
    const {nodes} = layout;
    const width = Math.max(nodes.width[node] * 4, 300);
    const height = Math.max(nodes.height[node] * 4, 160);
    const x = nodes.x[node] + (nodes.width[node] - width) / 2;
    const y = nodes.y[node] + (nodes.height[node] - height) / 2;
    const box = {x, y, width, height};
    this.setCamera(this.cameraFor(nodes.graph[node], box));
  }

  isSeen(node) {
    const frame = this.shownGraphs && this.frameOf(node);
    if (!frame) return false;
    const {left, top, width, height} = this.boxOf(node, frame);
    return width >= leastNamedBox && left + width / 2 > 0 && top + height / 2 > 0
      && left + width / 2 < this.width && top + height / 2 < this.height;
  }
}

/** The part of a line that is in a rectangle, as [x, y, x, y]; null when none is. */
function cutLine(fromX, fromY, toX, toY, left, top, right, bottom) {
  const dx = toX - fromX;
  const dy = toY - fromY;
  let begin = 0;
  let end = 1;
  for (const [speed, room] of [[-dx, fromX - left], [dx, right - fromX], [-dy, fromY - top], [dy, bottom - fromY]]) {
    if (speed === 0 && room < 0) return null;
    if (speed < 0) begin = Math.max(begin, room / speed);
    if (speed > 0) end = Math.min(end, room / speed);
  }
  return begin < end ? [fromX + dx * begin, fromY + dy * begin, fromX + dx * end, fromY + dy * end] : null;
}
