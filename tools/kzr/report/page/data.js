// The parts of the page: unpacked when they are asked for, and the executions of the run in blocks.

/** Unpacked chunks and decoded blocks that are kept. */
const mostChunkBytes = 96 << 20;
const mostDecodedExecutions = 3000000;

/** @returns {Uint8Array} the bytes of a base64 text */
function bytesOfBase64(text) {
  if (Uint8Array.fromBase64) return Uint8Array.fromBase64(text);
  const binary = atob(text);
  const bytes = new Uint8Array(binary.length);
  for (let i = 0; i < binary.length; ++i) bytes[i] = binary.charCodeAt(i);
  return bytes;
}

/** @returns {Promise<Uint8Array>} the bytes of a part of the page */
async function readPart(name) {
  const element = document.querySelector(`script[data-part="${name}"]`);
  if (!element) throw new Error(`The page is cut short: its part “${name}” is missing.`);
  const stream = new Blob([bytesOfBase64(element.textContent)]).stream();
  const unpacked = stream.pipeThrough(new DecompressionStream('deflate'));
  return new Uint8Array(await new Response(unpacked).arrayBuffer());
}

/** @returns {Promise<object>} a part that is JSON */
async function readJsonPart(name) {
  return JSON.parse(new TextDecoder().decode(await readPart(name)));
}

/** Replaces differences to the number before by the numbers, in place. */
function sumGaps(list) {
  let sum = 0;
  for (let i = 0; i < list.length; ++i) {
    sum += Number(list[i]);
    list[i] = sum;
  }
  return list;
}

/** Reads numbers of 7 bits a byte. */
class NumberReader {
  constructor(bytes, offset) {
    this.bytes = bytes;
    this.offset = offset;
  }

  next() {
    let byte = this.bytes[this.offset++];
    if (byte < 128) return byte;
    let number = byte & 127;
    let factor = 128;
    do {
      byte = this.bytes[this.offset++];
      number += (byte & 127) * factor;
      factor *= 128;
    } while (byte >= 128);
    return number;
  }

  /** Reads a column in two: the lowest 8 bits of all numbers, then the rest of each. */
  readSplit(column) {
    for (let i = 0; i < column.length; ++i) column[i] = this.bytes[this.offset++];
    for (let i = 0; i < column.length; ++i) column[i] += 256 * this.next();
  }

  nextSigned() {
    const number = this.next();
    return number % 2 ? -(number + 1) / 2 : number / 2;
  }
}

/** Positions of executions around a block that it lists at most. */
const mostAround = 1024;
const workKind = 0;
const barrierKind = 2;

/**
 * Up to 4096 executions of a lane, in the order of their begins. Times are in ticks since the origin. Ties say of
 * some of them, by position in the block, which of the run's ends theirs is and how many ends stand before its begin.
 */
class Block {
  constructor(bytes, offset, count, first) {
    const reader = new NumberReader(bytes, offset);
    this.count = count;
    const around = reader.next();
    for (let i = Math.min(around, mostAround); i > 0; --i) reader.next();
    this.begin = new Float64Array(count);
    this.end = new Float64Array(count);
    this.node = new Int32Array(count);
    this.depth = new Uint32Array(count);
    this.kind = new Uint8Array(count);
    this.readColumns(reader, first, around);
    this.ties = this.readTies(reader);
  }

  readColumns(reader, first, around) {
    const {count, begin, end, node, depth, kind} = this;
    reader.readSplit(begin);
    reader.readSplit(end);
    let time = first;
    for (let i = 0; i < count; ++i) {
      begin[i] = time += begin[i];
      end[i] += time;
    }
    for (let i = 0; i < count; ++i) node[i] = reader.next();
    let level = around;
    for (let i = 0; i < count; ++i) {
      const number = reader.next();
      kind[i] = number % 4;
      const change = Math.floor(number / 4);
      level += change % 2 ? -(change + 1) / 2 : change / 2;
      depth[i] = level;
    }
  }

  readTies(reader) {
    const ties = new Map();
    let position = 0;
    let number = 0;
    for (let left = reader.next(); left > 0; --left) {
      position += reader.next();
      number += reader.nextSigned();
      ties.set(position, {number, endedBefore: number - reader.next()});
    }
    return ties;
  }
}

/** Keeps what was used last, up to a size. */
class Cache {
  constructor(mostSize) {
    this.mostSize = mostSize;
    this.size = 0;
    this.entries = new Map();
  }

  get(key) {
    const entry = this.entries.get(key);
    if (!entry) return null;
    this.entries.delete(key);
    this.entries.set(key, entry);
    return entry.value;
  }

  set(key, value, size) {
    this.entries.set(key, {value, size});
    this.size += size;
    for (const [oldest, entry] of this.entries) {
      if (this.size <= this.mostSize || oldest === key) break;
      this.entries.delete(oldest);
      this.size -= entry.size;
    }
  }
}

/** The executions of the run by lane and block, unpacked on demand. */
class ExecutionStore {
  /** @param index the part `index` */
  constructor(index) {
    this.lanes = index.lanes.map((lane) => ({
      ...lane,
      first: Float64Array.from(lane.first, Number),
      last: Float64Array.from(lane.last, Number),
      start: this.startsOf(lane.count),
    }));
    this.chunks = new Cache(mostChunkBytes);
    this.blocks = new Cache(mostDecodedExecutions);
    this.loading = new Map();
    this.byChunk = this.groupByChunk();
  }

  startsOf(counts) {
    const starts = new Float64Array(counts.length + 1);
    counts.forEach((count, i) => { starts[i + 1] = starts[i] + count; });
    return starts;
  }

  /** All blocks in the order of the file, those without detail first. */
  groupByChunk() {
    const places = [];
    this.lanes.forEach((lane, laneNumber) => {
      lane.chunk.forEach((chunk, block) => places.push({lane: laneNumber, block, chunk}));
    });
    return places.sort((a, b) => a.chunk - b.chunk || a.lane - b.lane || a.block - b.block);
  }

  hasDetail(lane, block) {
    return this.lanes[lane].chunk[block] >= 0;
  }

  keyOf(lane, block) {
    return lane * 0x1000000 + block;
  }

  /** @returns {?Block} a block that is decoded, or can be at once */
  peek(lane, block) {
    const found = this.blocks.get(this.keyOf(lane, block));
    if (found || !this.hasDetail(lane, block)) return found;
    const bytes = this.chunks.get(this.lanes[lane].chunk[block]);
    return bytes ? this.decode(bytes, lane, block) : null;
  }

  /** @returns {Promise<?Block>} null where the page holds no detail */
  async load(lane, block) {
    if (!this.hasDetail(lane, block)) return null;
    const chunk = this.lanes[lane].chunk[block];
    return this.peek(lane, block) ?? this.decode(await this.loadChunk(chunk), lane, block);
  }

  decode(bytes, laneNumber, block) {
    const lane = this.lanes[laneNumber];
    const decoded = new Block(bytes, lane.offset[block], lane.count[block], lane.first[block]);
    this.blocks.set(this.keyOf(laneNumber, block), decoded, decoded.count);
    return decoded;
  }

  /** Unpacks a chunk once, however many ask for it. */
  loadChunk(chunk) {
    const known = this.chunks.get(chunk);
    if (known) return known;
    if (!this.loading.has(chunk)) {
      const loading = readPart(`chunk-${chunk}`).then((bytes) => {
        this.chunks.set(chunk, bytes, bytes.length);
        this.loading.delete(chunk);
        return bytes;
      });
      this.loading.set(chunk, loading);
    }
    return this.loading.get(chunk);
  }

  /** The blocks of a lane that reach into a range of times: positions from `first` up to `end`. */
  blocksIn(laneNumber, from, to) {
    const lane = this.lanes[laneNumber];
    const end = lowerBound(lane.first, to, lane.first.length, true);
    let first = 0;
    while (first < end && lane.last[first] < from) ++first;
    return {first, end};
  }

  /** The block of an execution, from its position in the lane. */
  blockOf(lane, position) {
    return lowerBound(this.lanes[lane].start, position, this.lanes[lane].start.length, true) - 1;
  }

  /** @returns {Promise<?object>} what the page knows of an execution; null where it holds no detail */
  async find(lane, position) {
    const number = this.blockOf(lane, position);
    const block = number >= 0 && number < this.lanes[lane].count.length ? await this.load(lane, number) : null;
    return block && executionAt(this, lane, number, block, position - this.lanes[lane].start[number]);
  }
}

/** An execution as an object of its own. */
function executionAt(store, lane, blockNumber, block, i) {
  return {
    lane, position: store.lanes[lane].start[blockNumber] + i, begin: block.begin[i], end: block.end[i],
    node: block.node[i], depth: block.depth[i], kind: block.kind[i],
  };
}

/**
 * The first index up to `length` whose number in the sorted `list` is no less than `value`, or greater than it
 * with `isAbove`.
 */
function lowerBound(list, value, length = list.length, isAbove = false) {
  let low = 0;
  let high = length;
  while (low < high) {
    const middle = (low + high) >> 1;
    if (list[middle] < value || (isAbove && list[middle] === value)) low = middle + 1;
    else high = middle;
  }
  return low;
}

/** Work that is done in slices, so that the page answers in between; it can be given up. */
class Job {
  constructor() {
    this.isCancelled = false;
    this.sliceEnd = performance.now() + 12;
  }

  cancel() {
    this.isCancelled = true;
  }

  get isDue() {
    return performance.now() > this.sliceEnd;
  }

  /** Lets the page draw and answer. Throws when the job was given up. */
  async pause() {
    await new Promise((resolve) => setTimeout(resolve, 0));
    if (this.isCancelled) throw new JobCancelled();
    this.sliceEnd = performance.now() + 12;
  }
}

class JobCancelled extends Error {}
