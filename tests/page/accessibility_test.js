'use strict';
const assert = require('node:assert/strict');
const fs = require('node:fs');
const {pageTest} = require('./browser');
const {openReport, search, setRange, settle} = require('./report_page');
const {figures, report, smallRun} = require('./runs');

const axe = fs.readFileSync(require.resolve('axe-core/axe.min.js'), 'utf8');

/** What axe finds serious, one line for each element. */
async function seriousFindings(page) {
  await settle(page);
  await page.evaluate(axe);
  const {violations} = await page.evaluate(() => window.axe.run());
  return violations.filter(({impact}) => ['serious', 'critical'].includes(impact)).flatMap(({id, nodes}) => (
    nodes.map(({target, failureSummary}) => `${id}: ${target}: ${failureSummary}`)));
}

/** The state of a page with as much in view as there can be. */
async function showAll(page, run) {
  const {path} = figures(run);
  await page.locator('#help').click();
  await page.locator('#show-path').check();
  await search(page, 'decode');
  await page.keyboard.press('n');
  await page.locator('#details .execution').waitFor();
  await setRange(page, path[20].begin, path[120].end);
}

for (const colorScheme of ['light', 'dark']) {
  pageTest(`axe finds nothing serious, ${colorScheme}`, async (openPage) => {
    const run = smallRun('pipeline');
    const page = await openReport(openPage, report(run), {colorScheme});
    assert.deepEqual(await seriousFindings(page), []);
    await showAll(page, run);
    for (const table of ['nodes', 'threads', 'path']) {
      await page.locator(`#tab-${table}`).click();
      assert.deepEqual(await seriousFindings(page), [], table);
    }
    await page.locator('#search').fill('e');
    assert.deepEqual(await seriousFindings(page), [], 'search');

    fs.truncateSync(`${run}/_kzr.2`, 5_000);
    assert.deepEqual(await seriousFindings(await openReport(openPage, report(run), {colorScheme})), [], 'damaged run');
  });
}

pageTest('everything is reached by Tab and shows that it is', async (openPage) => {
  const page = await openReport(openPage, report(smallRun('pipeline')));
  const reached = [];
  for (let i = 0; i < 80; ++i) {
    await page.keyboard.press('Tab');
    const {id, outline} = await page.evaluate(() => {
      const {outlineStyle, outlineWidth, boxShadow} = getComputedStyle(document.activeElement);
      const isShown = (outlineStyle !== 'none' && outlineWidth !== '0px') || boxShadow !== 'none';
      return {id: document.activeElement.id, outline: isShown || document.activeElement === document.body};
    });
    assert.ok(outline, `focus is not seen on #${id}`);
    reached.push(id);
  }
  for (const id of ['search', 'theme', 'help', 'range-set', 'show-path', 'zoom-in', 'timeline', 'measure', 'graph', 'tab-nodes',
    'filter', 'copy']) {
    assert.ok(reached.includes(id), `#${id} is not reached`);
  }
});
