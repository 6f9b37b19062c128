'use strict';
/** What the tests do with the page of a report, in words of those who use it. */
const assert = require('node:assert/strict');

/** Opens a report and waits until it can be used. */
async function openReport(openPage, file, options) {
  const page = await openPage(file, {permissions: ['clipboard-read', 'clipboard-write'], ...options});
  await page.waitForFunction(() => (
    document.documentElement.dataset.ready === 'true' || document.querySelector('#problems > p')));
  assert.equal(await page.locator('#problems > p').count(), 0, await page.locator('#problems').textContent());
  return page;
}

/** The figures that the page shows, in the form of `kzr report --json`. */
function shownFigures(page) {
  return page.evaluate(() => window.kzr.figures());
}

/** What is selected, once everything follows it. */
async function selection(page) {
  return page.evaluate(async () => {
    await window.kzr.idle();
    return window.kzr.selection();
  });
}

/** Restricts the figures to a range; ticks are BigInt. */
async function setRange(page, from, to) {
  await page.evaluate(([from, to]) => window.kzr.setRange(from, to), [String(from), String(to)]);
}

/** The rows of a table as its copy holds them: objects of texts by column. */
async function copiedTable(page, name) {
  await page.locator(`#tab-${name}`).click();
  await page.locator('#copy').click();
  await page.locator('#said', {hasText: 'copied'}).waitFor({state: 'attached'});
  return parseCsv(await page.evaluate(() => navigator.clipboard.readText()));
}

/** Reads CSV with line ends of either kind; a cell in quotes may hold anything. */
function parseCsv(text) {
  const rows = [[]];
  for (const [, quoted, plain, end] of text.matchAll(/(?:"((?:[^"]|"")*)"|([^,"\r\n]*))(,|\r?\n|$)/g)) {
    rows.at(-1).push(quoted === undefined ? plain : quoted.replaceAll('""', '"'));
    if (end !== ',') rows.push([]);
  }
  const [head, ...body] = rows.filter((row) => row.length > 1);
  return body.map((row) => Object.fromEntries(head.map((name, i) => [name, row[i]])));
}

/** How far the page may be from the exact value, by field; anything else is exact. */
const tolerances = {
  mean_ticks: 1, idle_share_ticks: 1, average_parallelism: 1e-6, utilisation: 1e-6, imbalance: 1e-6,
};

/** Holds what the page shows against what the program prints; ticks may be numbers, BigInt or digits. */
function assertSame(shown, expected, place = '') {
  if (expected === null || typeof expected !== 'object') {
    const tolerance = tolerances[place.split('.').at(-1)];
    const isSame = tolerance !== undefined && expected !== null && shown !== null
      ? Math.abs(Number(shown) - Number(expected)) <= tolerance : String(shown) === String(expected);
    assert.ok(isSame, `${place}: ${shown}, not ${expected}`);
    return;
  }
  if (Array.isArray(expected)) assert.equal(shown.length, expected.length, `${place}: number of entries`);
  for (const [name, value] of Object.entries(expected)) assertSame(shown[name], value, `${place}.${name}`);
}

module.exports = {assertSame, copiedTable, openReport, selection, setRange, shownFigures};
