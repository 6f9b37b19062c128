'use strict';
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const {pageTest} = require('./browser');
const {
  addressHash, assertSame, copiedTable, namesUnderPointer, openReport, search, selection, setRange, settle, shownFigures,
} = require('./report_page');
const {figures, largeRun, report, smallRun} = require('./runs');

/** What the top of the page says of a figure. */
async function headline(page, name) {
  const value = await page.locator(`#figures dt:text-is("${name}") ~ .value`).textContent();
  return value.replaceAll('\u202f', '');
}

/** Holds the page's figures against those of the program, and what its top says of them. */
async function assertRun(page, run) {
  const expected = figures(run);
  assertSame(await shownFigures(page), expected);
  assert.equal(await headline(page, 'Executions'), String(expected.run.executions));
  assert.equal(await page.locator('#name').textContent(), expected.run.name);
  return expected;
}

/** Holds what the page says of busy times in a range of so many ticks, executions left out, against what they are. */
async function assertBusyBounds(page, ticks, {threads}) {
  const rows = await copiedTable(page, 'threads');
  const bounds = rows.map((row) => ({thread: row.thread, least: Number(row.busy_least_ticks), most: Number(row.busy_most_ticks)}));
  for (const {thread, busy_ticks: busy} of threads) {
    const {least, most} = bounds.find((bound) => bound.thread === String(thread));
    assert.ok(least <= busy && busy <= most, `thread ${thread} was busy for ${busy}, not ${least} to ${most}`);
    // Sums hold 255ths; what is less than a bucket of them may be all or nothing.
    assert.ok(most <= ticks && (ticks < 1000 || most - least < ticks / 100), `${least} to ${most} of ${ticks}`);
  }
  const shares = ['least', 'most'].map((name) => bounds.reduce((sum, bound) => sum + bound[name], 0) / ticks);
  const [first, last = first] = (await headline(page, 'Busy threads')).replace('≈', '').split('–').map(Number);
  assert.ok([first, last].every((shown, i) => Math.abs(shown - shares[i]) < 0.02), `${first} to ${last}, not ${shares}`);
}

pageTest('runs with next to nothing in them have a page that says so', async (openPage) => {
  for (const [name, nodes, verdict] of [['no_node', 0, /Nothing was executed/], ['no_task', 1, /Nothing was executed/],
    ['one_task', 1, /took 496\sns on 1\sthread/]]) {
    const run = smallRun(name);
    const page = await openReport(openPage, report(run));
    await assertRun(page, run);
    assert.match(await page.locator('#verdict').textContent(), verdict);
    await settle(page);
    assert.equal(await page.locator('#nodes tr[data-index]').count(), nodes);
    for (const key of ['w', 's', 'd', '0', 'n', 'p', 'f', 'r', 'Escape', 'Escape']) await page.keyboard.press(key);
    for (const canvas of ['#timeline', '#graph', '#busy']) await page.locator(canvas).click();
    await page.locator('#show-path').check();
    for (const table of ['threads', 'path']) await page.locator(`#tab-${table}`).click();
    await settle(page);
    assert.equal(await page.locator('#problems > p').count(), 0);
  }
});

pageTest('a damaged run says at its top what is wrong, in the words of kzr dump', async (openPage) => {
  const run = smallRun('pipeline');
  const damaged = path.join(run, '_kzr.2');
  fs.truncateSync(damaged, fs.statSync(damaged).size >> 1);
  const page = await openReport(openPage, report(run));
  const expected = await assertRun(page, run);
  assert.deepEqual(expected.run.damaged_files.length, 1);
  assert.ok(await page.locator('#problems').isVisible());
  assert.match(await page.locator('#problems').textContent(), /_kzr\.2.*incomplete record/);
});

pageTest('a page that must stay small leaves detail out and says so, and its sums stay exact', async (openPage) => {
  const run = largeRun('timeline', 0.4);
  const page = await openReport(openPage, report(run, '--max-size', '1'));
  const expected = await assertRun(page, run);
  const {detailed} = await page.evaluate(() => JSON.parse(document.getElementById('run').textContent));
  assert.ok(detailed > 0 && detailed < expected.run.executions);
  const told = (await page.locator('#figures').textContent()).replaceAll('\u202f', '');
  assert.ok(told.includes(`${detailed} of ${expected.run.executions}`), told);
  const middle = BigInt(expected.path[expected.path.length >> 1].begin);
  for (const ticks of [800n, 40_000_000n]) {
    const [from, to] = [middle, middle + ticks];
    await setRange(page, from, to);
    await assertBusyBounds(page, Number(ticks), figures(run, '--from', String(from), '--to', String(to)));
    assert.match(await headline(page, 'Makespan'), /^≥[\d.]+\s/);
  }
  assert.match(await page.locator('#range').textContent(), /without up to .* executions whose detail is left out/);
  assert.match(await page.locator('#verdict').textContent(), /only a part: up to .* are left out/);
  assert.equal(await headline(page, 'Utilisation'), '?');
  await page.locator('#tab-nodes').click();
  await settle(page);
  for (const shown of ['#nodes .foot', '#details']) {
    await page.locator('#nodes [data-index="0"]').click();
    assert.match(await page.locator(shown).textContent(), /figures cover a part/, shown);
  }
});

pageTest('a thousand threads have their lanes', async (openPage) => {
  const run = largeRun('manyfiles', 0.02);
  const page = await openReport(openPage, report(run));
  assert.equal((await assertRun(page, run)).run.threads, 1000);
  const {x, y, width, height} = await page.locator('#lanes').boundingBox();
  await page.mouse.move(x + 20, y + 40);
  await page.mouse.wheel(0, 1_000_000);
  await settle(page);
  const seen = [];
  for (let column = 1; column < 30; ++column) {
    await page.mouse.click(x + 140 + ((width - 160) * column) / 30, y + height - 14);
    seen.push((await selection(page)).execution?.thread);
  }
  assert.ok(seen.includes(999), `${seen}`);
});

pageTest('of a hundred thousand nodes each is found and shown, and lists hold what is in view', async (openPage) => {
  const file = report(largeRun('structure', 0.5));
  const page = await openReport(openPage, file);
  assert.equal(await page.evaluate(async () => (await window.kzr.figures()).nodes.length), 100_000);
  await settle(page);
  assert.ok(await page.locator('#nodes tr').count() < 200);
  for (const number of [7, 54_321, 99_999]) {
    const name = `${['read', 'decode', 'filter', 'merge', 'score', 'write'][number % 6]}_stage_${number}`;
    await search(page, name);
    await page.locator('#details .full-name', {hasText: name}).waitFor();
    assert.ok(name in await namesUnderPointer(page, '#graph', 18), name);
    assert.match(await page.locator('#nodes tr[aria-selected="true"]').textContent(), new RegExp(`^${name}`));
  }
  const hash = await addressHash(page);
  await page.close();
  const linked = await openReport(openPage, file, {hash});
  await settle(linked);
  assert.ok(await linked.locator('#nodes tr[aria-selected="true"]').isVisible());
});

pageTest('a million executions are zoomed into and restricted', async (openPage) => {
  const run = largeRun('timeline', 1);
  const page = await openReport(openPage, report(run));
  const {path: steps} = await assertRun(page, run);
  const [from, to] = [steps[steps.length >> 1].begin, steps[(steps.length >> 1) + 500].end];
  await setRange(page, from, to);
  assertSame(await shownFigures(page), figures(run, '--from', String(from), '--to', String(to)));
  await page.locator('#timeline').focus();
  for (let i = 0; i < 28; ++i) await page.keyboard.press('w');
  await settle(page);
  const {x, y, width} = await page.locator('#timeline').boundingBox();
  await page.mouse.click(x + width * 0.6, y + 14);
  assert.ok((await selection(page)).execution);
});
