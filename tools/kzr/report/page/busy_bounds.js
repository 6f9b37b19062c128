// How long threads were busy in a range, from the sums of the pyramid, where executions are left out.

/**
 * The least and the greatest time that a lane can have been busy in a range. The sums hold the share of each bucket in
 * 255ths, rounded up; of a bucket that the range cuts, any part may be the busy one.
 * @param level of the pyramid  @param {number} span ticks of all its buckets
 * @returns {{least: number, most: number}} in ticks
 */
function busyBounds(level, lane, span, range) {
  const {busy} = level.lanes[lane];
  const {buckets} = level;
  const from = Math.max(0, range.from);
  const to = Math.min(span, range.to);
  const beginOf = (bucket) => Math.floor((bucket / buckets) * span);
  const bounds = {least: 0, most: 0};
  const first = Math.max(0, Math.floor((from / span) * buckets) - 1);
  for (let bucket = first; bucket < buckets && beginOf(bucket) < to; ++bucket) {
    const [begin, end] = [beginOf(bucket), beginOf(bucket + 1)];
    const inside = Math.min(end, to) - Math.max(begin, from);
    if (inside <= 0 || busy[bucket] === 0) continue;
    const outside = end - begin - inside;
    const unit = (end - begin) / 255;
    bounds.least += Math.max(0, (busy[bucket] - 1) * unit - outside);
    bounds.most += Math.min(inside, busy[bucket] * unit);
  }
  return bounds;
}

/**
 * Gives each thread of the figures of a range `busyLeast` and `busyMost`, which are the same where all of its executions
 * are held, and drops threads of which nothing can have run there.
 */
function addBusyBounds(figures, level, span, range) {
  for (const thread of figures.threads) {
    const {least, most} = thread.missing > 0 ? busyBounds(level, thread.lane, span, range)
      : {least: thread.busy, most: thread.busy};
    thread.busyLeast = least;
    thread.busyMost = most;
  }
  figures.threads = figures.threads.filter((thread) => thread.hasRun || thread.busyMost > 0);
}
