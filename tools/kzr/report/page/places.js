// What nodes with the same name and place in the code took together, and regions.

/** Finds the places of a run's nodes and regions, and sums up the figures of a range by place. */
class CodePlaces {
  constructor(model) {
    this.model = model;
    const numbers = new Map();
    const {name, function: functions, source} = model.nodes;
    /** By node: the number of its place. */
    this.placeOf = Uint32Array.from(model.nodes.id, (_, node) => {
      const key = JSON.stringify([model.nameOf(node), functions[node], source[node]]);
      if (!numbers.has(key)) numbers.set(key, numbers.size);
      return numbers.get(key);
    });
    this.count = numbers.size;
    /** By place: one of its nodes, for name, function and source. */
    this.nodeOf = new Uint32Array(this.count);
    for (let node = name.length - 1; node >= 0; --node) this.nodeOf[this.placeOf[node]] = node;
  }

  /** @returns {Array<object>} the places at which something ran in the range, or a region lies in it */
  sum(range) {
    const places = Array.from({length: this.count}, (_, place) => ({
      number: place, node: this.nodeOf[place], nodes: 0, executions: 0, self: 0, total: 0, idle: 0,
      regions: 0, regionTicks: 0, busyTicks: 0,
    }));
    this.addNodes(places);
    this.addRegions(places, range);
    return places.filter((place) => place.nodes > 0 || place.regions > 0);
  }

  addNodes(places) {
    const {columns} = this.model.figures;
    this.placeOf.forEach((number, node) => {
      const [executions, total] = [columns.executions[node], Number(columns.total_ticks[node])];
      if (executions === 0 && total === 0) return;
      const place = places[number];
      ++place.nodes;
      place.executions += executions;
      place.total += total;
      place.self += Number(columns.self_ticks[node]);
      // Unknown where executions are left out.
      const idle = columns.idle_share_ticks[node];
      place.idle = idle === null || place.idle === null ? null : place.idle + Number(idle);
    });
  }

  addRegions(places, range) {
    const {node, begin, end, busy} = this.model.marks.allRegions;
    node.forEach((of, i) => {
      const ticks = Number(end[i]) - Number(begin[i]);
      if (of < 0 || !this.isInside(i, range)) return;
      const place = places[this.placeOf[of]];
      ++place.regions;
      place.regionTicks += ticks;
      place.busyTicks += busy[i] === null ? NaN : busy[i] * ticks;
    });
  }

  /** Whether the range, null for the whole run, holds a region. */
  isInside(region, range) {
    const {begin, end, busy} = this.model.marks.allRegions;
    // Of the range of the report itself the program told, without rounding.
    if (range === this.model.baseRange) return busy[region] !== null;
    return !range || (Number(begin[region]) >= range.from && Number(end[region]) <= range.to);
  }
}
