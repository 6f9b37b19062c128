'use strict';
/** What speedscope's own page shows of a run that was exported for it. */
const assert = require('node:assert/strict');
const {execFileSync} = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');
const {after, test} = require('node:test');
const {pathToFileURL} = require('node:url');
const {patience, startedBrowser} = require('./browser');

const directory = fs.mkdtempSync(path.join(os.tmpdir(), 'kzr_speedscope_'));
after(() => fs.rmSync(directory, {recursive: true}));

const viewer = path.join(path.dirname(require.resolve('speedscope/package.json')), 'dist/release/index.html');
const nanosecondsOf = {ns: 1, 'µs': 1e3, ms: 1e6, s: 1e9};

/** Opens `file` in the viewer; resolves to the page. */
async function open(file) {
  const page = await (await startedBrowser()).newPage();
  page.setDefaultTimeout(patience);
  await page.goto(pathToFileURL(viewer).href);
  await page.setInputFiles('input[type=file]', file);
  await page.getByText('(1/').waitFor();
  return page;
}

/** The cells of all rows of the table that is shown, once one of them holds a text. */
async function rows(page, text) {
  await page.locator('tr', {hasText: text}).first().waitFor();
  return page.$$eval('tr', (found) => found.map((row) => [...row.children].map((cell) => cell.innerText.trim())));
}

test('each thread is a profile with its busy time', async () => {
  const run = path.join(directory, 'run');
  fs.mkdirSync(run);
  execFileSync(process.env.KZR_GENERATE_RUN, ['timeline', run, '0.01']);
  const report = JSON.parse(execFileSync(process.env.KZR_PROGRAM, ['report', '--json', run], {maxBuffer: 1 << 28}));
  const file = path.join(directory, 'run.speedscope.json');
  execFileSync(process.env.KZR_PROGRAM, ['export', '--to', 'speedscope', '-o', file, run]);

  const page = await open(file);
  await page.getByText('Sandwich').click();
  const symbols = new Set((await rows(page, '%)')).filter(([total]) => total.endsWith('%)')).map(([, , name]) => name));
  const names = report.nodes.filter((node) => node.executions > 0).map((node) => node.name);
  for (const name of symbols) assert.ok(names.includes(name), name);
  assert.ok(symbols.size > 1);

  await page.getByText(`(1/${report.threads.length})`).click();
  const profiles = (await rows(page, /thread \d+/)).filter(([, name]) => /^thread \d+$/.test(name));
  assert.deepEqual(profiles.map(([, name]) => name), report.threads.map(({thread}) => `thread ${thread}`));
  profiles.forEach(([, , weight], i) => {
    const [, digits, unit] = weight.match(/^([\d.]+)(.*)$/);
    const expected = (report.threads[i].busy_ticks * 1e9) / report.run.frequency;
    const shown = digits * nanosecondsOf[unit];
    assert.ok(Math.abs(shown - expected) <= expected / 100, `${weight} instead of ${expected} ns`);
  });
});
