'use strict';
const assert = require('node:assert/strict');
const {pageTest} = require('./browser');
const {
  addressState, assertSame, copiedTable, namesUnderPointer, openReport, pixelsOfColour, search, selection, setRange, settle, shownFigures,
} = require('./report_page');
const {executions, figures, report, smallRun} = require('./runs');

const run = smallRun('pipeline');
const file = report(run);

/** What the row of the nodes that is marked as selected says. */
async function selectedRow(page) {
  await settle(page);
  return page.locator('#nodes tr[aria-selected="true"]').textContent();
}

/** What the panel of the selection says of the execution behind a word, without what groups digits. */
async function detail(page, name) {
  const value = page.locator(`#details .execution dt:text-is("${name}") + dd`);
  return (await value.textContent()).replaceAll('\u202f', '');
}

/** The place of a time in pixels of the timeline. */
async function timelineScale(page) {
  const {width} = await page.locator('#timeline').boundingBox();
  const {from, to} = await page.evaluate(() => window.kzr.view());
  const gutter = await page.evaluate(() => gutterWidth);
  const perTick = (width - gutter) / Number(BigInt(to) - BigInt(from));
  return {xOf: (time) => gutter + Number(time - BigInt(from)) * perTick};
}

/** Clicks all over the timeline; what each click selects, with its place, the time there and the ticks of three pixels. */
async function clickTimeline(page, columns) {
  await settle(page);
  const box = await page.locator('#timeline').boundingBox();
  const {from, to} = await page.evaluate(() => window.kzr.view());
  const gutter = await page.evaluate(() => gutterWidth);
  const ticks = Number(BigInt(to) - BigInt(from));
  const slack = BigInt(Math.ceil((3 * ticks) / (box.width - gutter)));
  const found = [];
  for (let y = 4; y < box.height; y += 8) {
    for (let column = 1; column <= columns; ++column) {
      const share = column / (columns + 1);
      const place = [box.x + gutter + share * (box.width - gutter), box.y + y];
      await page.mouse.click(...place);
      const {execution} = await selection(page);
      if (execution) found.push({...execution, time: BigInt(from) + BigInt(Math.round(ticks * share)), slack, place});
    }
  }
  return found;
}

pageTest('an execution clicked in the timeline is told of, and shows its node in graph and table', async (openPage) => {
  const page = await openReport(openPage, file);
  const all = executions(run);
  const {path, nodes} = figures(run);
  await page.locator('#timeline').focus();
  for (let i = 0; i < 9; ++i) await page.keyboard.press('w');
  const clicked = await clickTimeline(page, 5);
  for (const {id, thread, begin, end, time, slack} of clicked) {
    assert.ok(all.some((e) => e.id === id && e.thread === thread && e.begin === BigInt(begin) && e.end === BigInt(end)));
    assert.ok(time >= BigInt(begin) - slack && time <= BigInt(end) + slack, `${time} is not in ${begin} to ${end}`);
  }
  assert.deepEqual([...new Set(clicked.map(({thread}) => thread))], [0, 1, 2, 3]);

  const selfOf = ({thread, begin}) => all.find((e) => e.thread === thread && e.begin === BigInt(begin)).self;
  const nesting = clicked.find((e) => selfOf(e) < BigInt(e.end) - BigInt(e.begin));
  await page.mouse.click(...nesting.place);
  const {execution, node} = await selection(page);
  const self = selfOf(execution);
  const {name} = nodes.find(({id}) => id === node);
  assert.equal(execution.id, node);
  assert.equal(await page.locator('#details .full-name').textContent(), name);
  assert.equal(await detail(page, 'Thread'), String(execution.thread));
  assert.match(await detail(page, 'Begin'), new RegExp(execution.begin));
  assert.match(await detail(page, 'Duration'), new RegExp(`\\(${BigInt(execution.end) - BigInt(execution.begin)} ticks\\)`));
  assert.match(await detail(page, 'Self time'), new RegExp(`\\(${self} ticks\\)`));
  const place = path.findIndex((step) => step.thread === execution.thread && String(step.begin) === execution.begin);
  assert.match(await detail(page, 'Observed path'), place < 0 ? /not on it/ : new RegExp(`step ${place + 1} of ${path.length}`));
  assert.match(await selectedRow(page), new RegExp(`^${name}`));
  assert.ok(name in await namesUnderPointer(page, '#graph'));
});

pageTest('a click on the timeline selects the node that the pointer tells of, where executions are too narrow, too', async (openPage) => {
  const page = await openReport(openPage, file);
  for (const step of [5, 7, 9, 11]) {
    for (const [name, place] of Object.entries(await namesUnderPointer(page, '#timeline', step))) {
      await page.mouse.click(...place);
      await selection(page);
      assert.equal(await page.locator('#details .full-name').textContent(), name, `at ${place}`);
    }
  }
});

pageTest('a node clicked in the graph is marked in table and all lanes, and its executions are gone through', async (openPage) => {
  const page = await openReport(openPage, file);
  assert.equal((await pixelsOfColour(page, '#timeline', '--accent')).count, 0);
  const places = await namesUnderPointer(page, '#graph');
  await page.mouse.click(...places.read);
  const {node, execution} = await selection(page);
  assert.deepEqual([node, execution], ['g0::n0', null]);
  assert.match(await selectedRow(page), /^read/);
  const {rows, columns} = await pixelsOfColour(page, '#timeline', '--accent');
  // Marks of a lane are a few pixels high.
  const lanes = rows.filter((row, i) => row - (rows[i - 1] ?? -9) > 3);
  assert.equal(lanes.length, 4, `rows ${rows}`);

  const own = executions(run).filter(({id}) => id === 'g0::n0');
  const {xOf} = await timelineScale(page);
  const wide = own.filter(({begin, end}) => xOf(end) - xOf(begin) > 3);
  const isMarked = ({thread, begin, end}) => columns[lanes[thread]].includes(Math.floor((xOf(begin) + xOf(end)) / 2));
  assert.deepEqual([wide.length > 10, wide.filter((execution) => !isMarked(execution))], [true, []]);
  await page.locator('#timeline').focus();
  const seen = [];
  for (let i = 0; i < own.length; ++i) {
    await page.keyboard.press('n');
    await page.waitForFunction((last) => {
      const {execution} = window.kzr.selection();
      return execution && `${execution.thread} ${execution.position}` !== last;
    }, seen.at(-1)?.key);
    const {thread, position, begin} = (await selection(page)).execution;
    seen.push({key: `${thread} ${position}`, begin: BigInt(begin)});
  }
  assert.deepEqual(seen.map(({begin}) => begin), own.map(({begin}) => begin));
  await page.keyboard.press('p');
  await page.waitForFunction((begin) => window.kzr.selection().execution?.begin === begin, String(own.at(-2).begin));
});

pageTest('a node found by search or in a table is shown in the graph, composite nodes around it opened', async (openPage) => {
  const page = await openReport(openPage, file);
  await search(page, 'score');
  assert.equal((await selection(page)).node, 'g0::n1::n3::n5');
  assert.ok('score' in await namesUnderPointer(page, '#graph'));
  await page.locator('#nodes tbody tr', {hasText: 'write'}).click();
  assert.equal((await selection(page)).node, 'g0::n6');
  assert.ok('write' in await namesUnderPointer(page, '#graph'));
  await page.keyboard.press('Escape');
  assert.equal((await selection(page)).node, null);

  await page.locator('#graph-all').click();
  const closed = await namesUnderPointer(page, '#graph');
  for (let i = 0; i < 2; ++i) await page.mouse.click(...closed.core);
  const opened = await namesUnderPointer(page, '#graph');
  assert.deepEqual(['filter' in closed, 'filter' in opened], [false, true]);
});

pageTest('a range drawn over the timeline restricts every figure to it', async (openPage) => {
  const page = await openReport(openPage, file);
  const {origin} = await page.evaluate(() => JSON.parse(document.getElementById('run').textContent));
  for (const [canvas, key] of [['#busy', null], ['#timeline', 'Shift']]) {
    const {x, y, width, height} = await page.locator(canvas).boundingBox();
    if (key) await page.keyboard.down(key);
    await page.mouse.move(x + width * 0.3, y + height / 2);
    await page.mouse.down();
    await page.mouse.move(x + width * 0.6, y + height / 2, {steps: 3});
    await page.mouse.up();
    if (key) await page.keyboard.up(key);
    const [from, to] = (await addressState(page)).range.split('-').map((time) => String(BigInt(origin) + BigInt(time)));
    const expected = figures(run, '--from', from, '--to', to);
    assert.ok(expected.run.executions > 100 && expected.run.executions < 500);
    assertSame(await shownFigures(page), expected);
    // What is told to look at first is that of a report of the range.
    const other = await openReport(openPage, report(run, '--from', from, '--to', to));
    assert.deepEqual(await page.locator('#top li').allTextContents(), await other.locator('#top li').allTextContents());
    await other.close();
    await page.locator('#range-clear').click();
    assert.equal((await addressState(page)).range, undefined);
  }
});

pageTest('the path is shown in both views and listed', async (openPage) => {
  const page = await openReport(openPage, file);
  for (const canvas of ['#timeline', '#graph']) assert.equal((await pixelsOfColour(page, canvas, '--path')).count, 0);
  await page.locator('#show-path').check();
  await selection(page);
  for (const canvas of ['#timeline', '#graph']) assert.ok((await pixelsOfColour(page, canvas, '--path')).count > 20, canvas);
  const {path, nodes} = figures(run);
  const nameOf = new Map(nodes.map(({id, name}) => [id, name]));
  const rows = await copiedTable(page, 'path');
  const told = (row) => [row.node, row.id, row.thread, row.begin, row.duration, row.gap, row.gap_kind];
  assert.deepEqual(rows.map(told), path.map((step) => [
    nameOf.get(step.id), step.id, step.thread, step.begin, step.end - step.begin, step.gap_ticks, step.gap_kind ?? ''].map(String)));
  await page.locator('#path tbody tr', {hasText: /^3\D/}).click();
  assert.equal(BigInt((await selection(page)).execution.begin), path[2].begin);
});

/** The edges of the pipeline, by the box that is the only one where they end: the nodes that they lead from and to. */
const edges = {
  stage: ['read', 'decode'], core: ['decode', 'filter'], score: ['filter', 'score'], write: ['score', 'write'], never: ['read', 'never'],
};

/** The boxes of the graph by name, in pixels of the canvas, as a camera over all of it shows them. */
function boxesOfGraph(page, [x, y, scale]) {
  return page.evaluate(async ([x, y, scale]) => {
    const layout = new GraphLayout(await readJsonPart('graph'));
    const {name} = await readJsonPart('nodes');
    const placeOf = (graph) => {
      if (graph === 0) return {x: -x * scale, y: -y * scale, scale};
      const place = layout.placeInParent(graph);
      const around = placeOf(layout.around(graph));
      return {x: around.x + place.x * around.scale, y: around.y + place.y * around.scale, scale: around.scale * place.scale};
    };
    const {nodes} = layout;
    return Object.fromEntries(name.map((text, node) => {
      const place = placeOf(nodes.graph[node]);
      const top = place.y + nodes.y[node] * place.scale;
      return [text, {left: place.x + nodes.x[node] * place.scale, top, bottom: top + nodes.height[node] * place.scale}];
    }));
  }, [x, y, scale]);
}

pageTest('edges of the graph are on the path where it goes from one end to the other, into composite nodes, too', async (openPage) => {
  const camera = [0, 0, 4];
  const page = await openReport(openPage, file, {hash: `#path=1&graph=-1_${camera.join('_')}`, viewport: {width: 3200, height: 2000}});
  const boxes = await boxesOfGraph(page, camera);
  const whole = figures(run);
  const nameOf = new Map(whole.nodes.map(({id, name}) => [id, name]));
  const seen = new Set();
  for (let first = 0; first < whole.path.length - 8; first += 8) {
    const [from, to] = [whole.path[first].begin, whole.path[first + 8].end];
    const {path} = figures(run, '--from', String(from), '--to', String(to));
    const names = path.map(({id}) => nameOf.get(id));
    await setRange(page, from, to);
    const {columns} = await pixelsOfColour(page, '#graph', '--path');
    for (const [box, [source, target]] of Object.entries(edges)) {
      const isOnPath = names.some((name, i) => name === target && names[i - 1] === source);
      const {left, top, bottom} = boxes[box];
      const isMarked = Object.entries(columns).some(([row, xs]) => (
        row > top && row < bottom && xs.some((x) => x > left - 9 && x < left - 4)));
      assert.equal(isMarked, isOnPath, `edge to ${box}, ${names}`);
      seen.add(`${box} ${isOnPath}`);
    }
    if (seen.size === 9) return;
  }
  assert.fail(`the path has no more than ${[...seen]}`);
});
