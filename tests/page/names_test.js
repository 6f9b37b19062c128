'use strict';
const assert = require('node:assert/strict');
const {pageTest} = require('./browser');
const {copiedTable, openReport, pixelsOfColour, selection, settle} = require('./report_page');
const {figures, report, smallRun} = require('./runs');

/** Whatever a name could have changed around it: elements that pages of other names do not have, letters that turn text. */
function assertUntouched(page) {
  return page.evaluate(() => {
    const strange = [...document.querySelectorAll('img, b, iframe, object, [onerror]')].map((element) => element.outerHTML);
    const texts = [document.title, document.body.innerText, ...[...document.querySelectorAll('[title], [aria-label]')]
      .flatMap((element) => [element.title, element.getAttribute('aria-label') ?? ''])];
    const turned = texts.filter((text) => /[\u202a-\u202e\u2066-\u2069\u200e\u200f\u2028\u2029\x01\x1b\x7f]/.test(text));
    return {
      hacked: window.hacked, strange, turned, scripts: document.querySelectorAll('script:not([data-part], #run)').length,
      overflow: document.documentElement.scrollWidth - document.documentElement.clientWidth,
    };
  });
}

pageTest('hostile names change nothing but themselves, wherever they are shown', async (openPage) => {
  const run = smallRun('hostile_names');
  const page = await openReport(openPage, report(run));
  const {nodes} = figures(run);
  assert.equal(nodes.length, 13);
  const clean = {hacked: undefined, strange: [], turned: [], scripts: 2, overflow: 0};
  assert.deepEqual(await assertUntouched(page), clean);
  for (const {id, name} of nodes) {
    await page.evaluate((node) => { location.hash = new URLSearchParams({node}); }, id);
    await page.waitForFunction((node) => window.kzr.selection().node === node, id);
    await settle(page);
    assert.deepEqual(await assertUntouched(page), clean, name.slice(0, 40));
    const letters = [...name.replace(/[\p{Cc}\p{Cf}\p{Zl}\p{Zp}]/gu, '')].filter((letter) => letter.trim());
    const shown = await page.locator('#details .full-name').textContent();
    assert.ok(letters.every((letter) => shown.includes(letter)) && shown.length >= name.length, shown.slice(0, 60));
    const {x, y, width, height} = await page.locator('#timeline').boundingBox();
    await page.mouse.move(x + width / 2, y + height / 4);
  }
  assert.ok((await page.locator('#nodes').textContent()).includes('U+202E'));
  const copied = await copiedTable(page, 'nodes');
  assert.deepEqual(copied.map(({name}) => name).sort(), nodes.map(({name}) => name).sort());
});

pageTest('a search takes names as they are written', async (openPage) => {
  const page = await openReport(openPage, report(smallRun('hostile_names')));
  for (const [text, id] of [['</script>', 'g0::n0'], ['onerror=', 'g0::n2'], ['__proto__', 'g0::n8'], ['llll', 'g0::n12']]) {
    await page.locator('#search').fill(text);
    await page.keyboard.press('Enter');
    assert.equal((await selection(page)).node, id, text);
  }
  await page.locator('#search').fill('.*[');
  assert.match(await page.locator('#found').textContent(), /No node/);
});
