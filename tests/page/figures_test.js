'use strict';
const assert = require('node:assert/strict');
const {pageTest} = require('./browser');
const {assertSame, copiedTable, openReport, pixelsOfColour, setRange, shownFigures} = require('./report_page');
const {figures, largeRun, randomRun, report, smallRun} = require('./runs');

/** All times at which something on the path begins or ends, for ranges that cut or touch executions. */
function timesOf({path}) {
  return [...new Set(path.flatMap(({begin, end}) => [BigInt(begin), BigInt(end)]))].sort((a, b) => (a < b ? -1 : 1));
}

/** Ranges to try: between some times of the path, a tick inside and outside of them, and one of no length. */
function rangesOf(expected) {
  const times = timesOf(expected);
  if (times.length < 4) return [];
  const at = (share) => times[Math.floor((times.length - 1) * share)];
  return [[at(0.2), at(0.8)], [at(0.1) + 1n, at(0.5)], [at(0.5) - 1n, at(1) + 5n], [at(0.4), at(0.4)]];
}

async function assertFigures(page, run, options = []) {
  assertSame(await shownFigures(page), figures(run, ...options), options.join(' '));
}

pageTest('figures of random runs are those of the program, for the whole run and for ranges', async (openPage) => {
  for (let seed = 0; seed < 16; ++seed) {
    const run = randomRun(seed);
    const expected = figures(run);
    const page = await openReport(openPage, report(run));
    // Over 2^53 ticks a browser's times are rounded, and so are sums of them; figures of the report itself are not.
    const isExact = (await page.evaluate(() => JSON.parse(document.getElementById('run').textContent))).exact;
    const path = isExact ? expected.path : expected.path.map(({begin, end, ...step}) => step);
    assertSame(await shownFigures(page), {...expected, path}, `seed ${seed}`);
    for (const [from, to] of isExact ? rangesOf(expected) : []) {
      await setRange(page, from, to);
      await assertFigures(page, run, ['--from', String(from), '--to', String(to)]);
    }
    await page.close();
  }
});

pageTest('a report of a range opens with its figures, and has those of the whole run, too', async (openPage) => {
  const run = smallRun('pipeline');
  const [[from, to]] = rangesOf(figures(run));
  const options = ['--from', String(from), '--to', String(to)];
  const page = await openReport(openPage, report(run, ...options));
  await assertFigures(page, run, options);
  await page.locator('#range-clear').click();
  await assertFigures(page, run);
});

pageTest('tables show the figures of the range, sorted and filtered, and copy them', async (openPage) => {
  const run = smallRun('pipeline');
  const page = await openReport(openPage, report(run));
  const [[from, to]] = rangesOf(figures(run));
  for (const options of [[], ['--from', String(from), '--to', String(to)]]) {
    if (options.length > 0) await setRange(page, from, to);
    const expected = figures(run, ...options);
    const byId = (rows) => Object.fromEntries(rows.map((row) => [row.id ?? row.thread, row]));
    const texts = (row) => JSON.parse(JSON.stringify(row, (_, value) => (typeof value === 'object' ? value ?? '' : String(value))));
    const nodes = byId(await copiedTable(page, 'nodes'));
    assertSame(nodes, byId(expected.nodes.map(texts)), 'nodes');
    const threads = byId(await copiedTable(page, 'threads'));
    assertSame(threads, byId(expected.threads.map(texts)), 'threads');
    const busy = await copiedTable(page, 'concurrency');
    assertSame(busy, expected.concurrency.map(texts), 'busy threads');
  }
  const events = await copiedTable(page, 'events');
  const start = (1n << 60n) + 1n;
  const [opened, region] = [9000n, 9100n].map((ticks) => String(start + ticks));
  assert.deepEqual(events.map(({kind, name, thread, begin}) => [kind, name, thread, begin]),
    [['event', 'input opened', '0', opened], ['region', 'read', '0', region]]);
  assert.equal(events[1].end, String(start + 300_000n));
  const sorted = await page.evaluate(() => ['9007199254740993', 9007199254740991, '9007199254740992', '1.5']
    .map(exactNumber).sort(compareCells).map(String));
  assert.deepEqual(sorted, ['1.5', '9007199254740991', '9007199254740992', '9007199254740993']);
});

const figuresOfPlaces = ['executions', 'self_ticks', 'total_ticks', 'idle_share_ticks'];
const placeOf = ({name, function: code, source}) => JSON.stringify([name, code ?? '', source ?? '']);
const hasRun = ({executions, total_ticks: ticks}) => executions > 0 || ticks > 0;

/** What nodes of one name, function and source took together, of those that ran. */
function placesOf(nodes) {
  const places = {};
  for (const node of nodes.filter(hasRun)) {
    const place = (places[placeOf(node)] ??= {nodes: 0, executions: 0, self_ticks: 0, total_ticks: 0, idle_share_ticks: 0});
    ++place.nodes;
    for (const name of figuresOfPlaces) place[name] += Number(node[name]);
  }
  return places;
}

/** Holds what the table says of busy threads during regions against the figures of their time. */
function assertBusyRegions(run, rows, regions) {
  for (const row of rows.filter(({regions: count}) => count === '1')) {
    const {begin, end, duration} = regions.find(({name}) => name === row.name);
    const {threads} = figures(run, '--from', begin, '--to', end);
    const busy = threads.reduce((sum, thread) => sum + Number(thread.busy_ticks), 0);
    assert.ok(Math.abs(Number(row.busy_threads) - busy / duration) < 0.002, `${row.busy_threads} of ${busy} in ${duration}`);
  }
}

/** Chooses each of the first places; the table that shows then has its nodes or regions, and nothing else. */
async function assertLists(page, nodes, rows) {
  for (let i = 0; i < Math.min(3, rows.length); ++i) {
    await page.locator('#tab-places').click();
    await page.locator(`#places [data-index="${i}"]`).click();
    const tab = await shownTable(page);
    const listed = await copiedTable(page, tab);
    if (tab === 'nodes') {
      const expected = nodes.filter((node) => placeOf(node) === placeOf(rows[i])).map(({id}) => id);
      assert.deepEqual(listed.map(({id}) => id).sort(), expected.sort());
    } else {
      assert.deepEqual(listed.map(({kind, name}) => [kind, name]), Array(Number(rows[i].regions)).fill(['region', rows[i].name]));
    }
  }
}

async function shownTable(page) {
  return (await page.locator('[role="tab"][aria-selected="true"]').getAttribute('id')).replace('tab-', '');
}

pageTest('places sum up nodes and regions, in the whole run and in ranges, and list them', async (openPage) => {
  const runs = [smallRun('pipeline'), smallRun('twins'), ...[0, 1, 2, 3, 4, 5, 6, 7].map(randomRun)];
  let shared = 0;
  let regions = 0;
  for (const run of runs) {
    const page = await openReport(openPage, report(run));
    const {exact, origin} = await page.evaluate(() => JSON.parse(document.getElementById('run').textContent));
    if (!exact) continue;
    const firstTable = await shownTable(page);
    const events = (await copiedTable(page, 'events')).filter(({kind}) => kind === 'region');
    for (const range of [null, ...rangesOf(figures(run)).slice(0, 1)]) {
      const [from, to] = range ?? [BigInt(origin), 2n ** 64n];
      if (range) await setRange(page, from, to);
      const rows = await copiedTable(page, 'places');
      const shown = rows.filter(({nodes}) => nodes > 0).map((row) => [placeOf(row), row]);
      const options = range ? ['--from', String(from), '--to', String(to)] : [];
      const {nodes} = figures(run, ...options);
      const expected = placesOf(nodes);
      assert.deepEqual(shown.map(([place]) => place).sort(), Object.keys(expected).sort());
      assertSame(Object.fromEntries(shown), expected);
      const sum = (list, of) => list.reduce((total, row) => total + Number(of(row)), 0);
      const inside = events.filter(({begin, end}) => BigInt(begin) >= from && BigInt(end) <= to);
      assert.equal(sum(rows, (row) => row.regions), inside.length);
      assert.equal(sum(rows, (row) => row.region_ticks), sum(inside, ({duration}) => duration));
      shared += shown.filter(([, row]) => row.nodes > 1).length;
      regions += inside.length;
      if (range) continue;
      const tellMore = rows.some((row) => row.nodes > 1 || (row.nodes === '0' && row.regions > 0));
      assert.equal(firstTable, tellMore ? 'places' : 'nodes');
      assertBusyRegions(run, rows, events);
      await assertLists(page, nodes, rows);
    }
    await page.close();
  }
  assert.ok(shared > 0 && regions > 0, 'nothing to sum up');
});

pageTest('the picture of busy threads is filled as far as threads were busy', async (openPage) => {
  for (const run of [smallRun('pipeline'), largeRun('manyfiles', 0.02), largeRun('timeline', 0.05)]) {
    const page = await openReport(openPage, report(run));
    const {count} = await pixelsOfColour(page, '#busy', '--busy');
    const {threads} = figures(run);
    const {share, area} = await page.evaluate((busy) => {
      const {span, threads} = JSON.parse(document.getElementById('run').textContent);
      const {width, height} = document.querySelector('#busy');
      return {share: busy / Number(span) / threads.length, area: (width - gutterWidth) * (height - axisHeight - 4)};
    }, threads.reduce((sum, {busy_ticks}) => sum + Number(busy_ticks), 0));
    assert.ok(Math.abs(count / area - share) < 0.1 * share, `${count / area} of the picture, not ${share}`);
  }
});
