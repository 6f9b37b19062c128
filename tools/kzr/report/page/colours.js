// Colours of nodes and of measures. The style sheet has those of the page as variables, for light and for dark.

/**
 * The measures that nodes of the graph are coloured by: fields of a node, how they are told, and whether what is in a
 * composite node adds up for it; else the greatest one counts.
 */
const measures = {
  self_ticks: {label: 'Self time', isTime: true, addsUp: true},
  executions: {label: 'Executions', isTime: false, addsUp: true},
  p50_ticks: {label: 'Median', isTime: true},
  p99_ticks: {label: '99th percentile', isTime: true},
  idle_share_ticks: {label: 'Idle share', isTime: true, addsUp: true},
};

/** How many colours a scale of a measure has. */
const scaleSteps = 9;

/** The colours of the page as the style sheet has them now. */
class Palette {
  /** @param {number[]} ownColours nodes that have a colour of their own */
  constructor(ownColours) {
    this.numberOf = new Map(ownColours.map((node, i) => [node, i]));
    this.read();
  }

  /** Reads the colours again, after a change of theme. */
  read() {
    const style = getComputedStyle(document.documentElement);
    const colour = (name) => style.getPropertyValue(`--${name}`).trim();
    this.own = Array.from({length: 12}, (_, i) => colour(`node-${i}`));
    this.waiting = colour('node-other');
    this.others = Array.from({length: 4}, (_, i) => colour(`other-${i}`));
    this.scale = Array.from({length: scaleSteps}, (_, i) => colour(`scale-${i}`));
    this.scaleText = Array.from({length: scaleSteps}, (_, i) => colour(i < 5 ? 'scale-text-low' : 'scale-text-high'));
    for (const name of ['ground', 'panel', 'text', 'faint', 'line', 'grid', 'accent', 'busy', 'path', 'node-text',
      'edge', 'edge-strong', 'lane', 'region', 'box']) {
      this[name.replace(/-(.)/, (_, letter) => letter.toUpperCase())] = colour(name);
    }
  }

  ofNode(node) {
    const number = this.numberOf.get(node);
    // The others differ a little, so that neighbours are told apart.
    return number === undefined ? this.others[node & 3] : this.own[number % this.own.length];
  }
}

/** Puts numbers of a measure on a scale from 0 to the greatest one. */
class MeasureScale {
  /** @param {Iterable<?number>} values by node */
  constructor(values) {
    let most = 0;
    for (const value of values) most = Math.max(most, Number(value ?? 0));
    this.most = most;
  }

  /** @returns {number} the step of a value, -1 for none */
  stepOf(value) {
    const number = Number(value ?? 0);
    if (number <= 0 || this.most <= 0) return -1;
    return Math.min(scaleSteps - 1, Math.floor((number / this.most) * scaleSteps));
  }
}
