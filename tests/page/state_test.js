'use strict';
const assert = require('node:assert/strict');
const {createHash} = require('node:crypto');
const {pageTest} = require('./browser');
const {addressHash, addressState, openReport, search, selection, settle, shownFigures} = require('./report_page');
const {report, smallRun} = require('./runs');

const file = report(smallRun('pipeline'));

/** All that a link is to reproduce: what is selected and computed, and the pictures themselves. */
async function view(page) {
  await settle(page);
  const pictures = await page.evaluate(() => ['#timeline', '#busy', '#graph'].map((id) => document.querySelector(id).toDataURL()));
  const choices = await page.evaluate(() => [
    document.querySelector('#measure').value, document.querySelector('#show-path').checked,
    document.querySelector('[role="tab"][aria-selected="true"]').id, document.documentElement.dataset.theme,
    document.querySelector('#details').textContent,
  ]);
  return {
    selection: await selection(page), figures: await shownFigures(page), view: await page.evaluate(() => window.kzr.view()),
    choices, pictures: pictures.map((picture) => createHash('sha256').update(picture).digest('hex')),
  };
}

pageTest('an address reproduces selection, range, zoom, measure, path, table and theme', async (openPage) => {
  const page = await openReport(openPage, file);
  await search(page, 'decode');
  await page.locator('#timeline').focus();
  for (const key of 'wwwddnn') await page.keyboard.press(key);
  assert.ok((await selection(page)).execution);
  await page.locator('#range-set').click();
  await page.locator('#measure').selectOption('idle_share_ticks');
  await page.locator('#show-path').check();
  await page.locator('#graph-out').click();
  await page.locator('#tab-threads').click();
  await page.locator('#theme').click();
  await page.mouse.move(0, 0);
  const state = await addressState(page);
  const names = ['execution', 'graph', 'measure', 'node', 'path', 'range', 'table', 'theme', 'view'];
  assert.deepEqual([Object.keys(state).sort(), state.node], [names, 'g0::n1::n2']);
  const expected = await view(page);
  const hash = await addressHash(page);
  await page.reload();
  await page.waitForFunction(() => document.documentElement.dataset.ready);
  await page.locator('#timeline').focus();
  assert.deepEqual(await view(page), expected);
  const other = await openReport(openPage, file, {hash});
  await other.locator('#timeline').focus();
  assert.deepEqual(await view(other), expected);
});

pageTest('an address that makes no sense shows the whole run', async (openPage) => {
  const whole = await view(await openReport(openPage, file));
  for (const hash of [
    '#node=g9::n9', '#execution=99:5', '#execution=0:99999999', '#range=9-1', '#range=x', '#view=5_5', '#view=NaN_Infinity',
    '#measure=constructor', '#graph=77_0_0_1', '#table=__proto__', '#theme=<b>', '#%E0%A4%A', `#${'&='.repeat(5000)}`,
  ]) {
    const page = await openReport(openPage, file, {hash});
    assert.deepEqual(await view(page), whole, hash);
    await page.close();
  }
});

pageTest('keys and wheel zoom from the whole run down to a tick, and back', async (openPage) => {
  const page = await openReport(openPage, file);
  const view = async () => {
    const {from, to} = await page.evaluate(() => window.kzr.view());
    return {from: BigInt(from), to: BigInt(to), length: Number(BigInt(to) - BigInt(from))};
  };
  /** Ends of a view are rounded to ticks. */
  const isAt = (one, other) => [one.from - other.from, one.to - other.to].every((ticks) => ticks >= -1n && ticks <= 1n);
  const press = async (keys) => {
    for (const key of keys) await page.keyboard.press(key);
    return view();
  };
  const whole = await view();
  await page.locator('#timeline').focus();
  const inside = await press(['w', '+', 'w']);
  assert.ok(inside.length < whole.length / 2 && inside.from > whole.from && inside.to < whole.to);
  for (const [key, back] of [['d', 'a'], ['ArrowRight', 'ArrowLeft']]) {
    const moved = await press([key]);
    assert.ok(moved.from > inside.from && Math.abs(moved.length - inside.length) <= 1, key);
    assert.ok(isAt(await press([back]), inside), back);
  }
  const narrow = await press(new Array(40).fill('w'));
  assert.ok(narrow.length >= 1 && narrow.length <= 2, `${narrow.length} ticks`);
  assert.deepEqual(await press(['0']), whole);

  const {x, y, width, height} = await page.locator('#timeline').boundingBox();
  await page.mouse.move(x + width / 2, y + height / 2);
  await page.mouse.wheel(0, -300);
  const from = String(whole.from);
  await page.waitForFunction((from) => String(window.kzr.view().from) !== from, from);
  const turned = await view();
  assert.ok(turned.length < whole.length && turned.from > whole.from);
  for (let i = 0; i < 5; ++i) await page.mouse.wheel(0, 300);
  await page.waitForFunction((from) => String(window.kzr.view().from) === from, from);
  assert.deepEqual(await view(), whole);
});
