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

/** Waits until what was asked for is computed and drawn. */
async function settle(page) {
  await page.evaluate(() => window.kzr.drawn());
}

/** Restricts the figures to a range; ticks are BigInt. */
async function setRange(page, from, to) {
  await page.evaluate(([from, to]) => window.kzr.setRange(from, to), [String(from), String(to)]);
}

/** Selects a node by searching for its name. */
async function search(page, name) {
  await page.keyboard.press('/');
  await page.keyboard.type(name);
  await page.keyboard.press('Enter');
}

/** The places on a canvas at which it tells of a name, by name: in its middle, in pixels of the window. Looks each `step`. */
async function namesUnderPointer(page, canvas, step = 6) {
  await settle(page);
  const places = await page.evaluate(([canvas, step]) => {
    const element = document.querySelector(canvas);
    const {left, top, width, height} = element.getBoundingClientRect();
    const found = {};
    for (let y = top + 2; y < top + height - 2; y += step) {
      for (let x = left + 2; x < left + width - 2; x += step) {
        element.dispatchEvent(new PointerEvent('pointermove', {clientX: x, clientY: y, bubbles: true}));
        const hover = document.querySelector('#hover');
        const name = hover.hidden ? null : hover.querySelector('.hover-name')?.textContent;
        if (name) (found[name] ??= []).push([x, y]);
      }
    }
    element.dispatchEvent(new PointerEvent('pointerleave'));
    return found;
  }, [canvas, step]);
  return Object.fromEntries(Object.entries(places).map(([name, points]) => [name, points[points.length >> 1]]));
}

/** Pixels of a canvas that have a colour of the style sheet: how many, their rows, and their columns by row. */
async function pixelsOfColour(page, canvas, colour) {
  await settle(page);
  return page.evaluate(([canvas, colour]) => {
    const element = document.querySelector(canvas);
    // On a copy, so that the canvas itself stays as quick as it is.
    const {width, height} = element;
    const copy = new OffscreenCanvas(width, height + 1).getContext('2d', {willReadFrequently: true});
    copy.drawImage(element, 0, 0);
    copy.fillStyle = getComputedStyle(document.documentElement).getPropertyValue(colour);
    copy.fillRect(0, height, 1, 1);
    const {data} = copy.getImageData(0, 0, width, height);
    const [red, green, blue] = copy.getImageData(0, height, 1, 1).data;
    const columns = {};
    let count = 0;
    for (let i = 0; i < data.length; i += 4) {
      if (data[i] !== red || data[i + 1] !== green || data[i + 2] !== blue) continue;
      ++count;
      (columns[Math.floor(i / 4 / width)] ??= []).push((i / 4) % width);
    }
    return {count, rows: Object.keys(columns).map(Number), columns};
  }, [canvas, colour]);
}

/** The part of the address that holds the state, once it has followed all changes. */
async function addressHash(page) {
  await page.waitForFunction(() => location.hash === window.kzr.address());
  return page.evaluate(() => location.hash);
}

/** What of the state the page keeps in its address, by name. */
async function addressState(page) {
  return Object.fromEntries(new URLSearchParams((await addressHash(page)).slice(1)));
}

/** The rows of a table as its copy holds them: objects of texts by column. */
async function copiedTable(page, name) {
  await page.locator(`#tab-${name}`).click();
  // What an earlier copy said must not be taken for this one's.
  await page.evaluate(() => document.querySelector('#said').replaceChildren());
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

module.exports = {
  addressHash, addressState, assertSame, copiedTable, namesUnderPointer, openReport, pixelsOfColour, search, selection, setRange, settle, shownFigures,
};
