'use strict';
/**
 * Pages in Chromium for tests: one browser for each file of tests, one window of its own for each page. A test that
 * opens pages fails for whatever they complain about, too: errors and warnings on the console, exceptions, requests
 * for anything but files.
 */
const assert = require('node:assert/strict');
const {after, test} = require('node:test');
const {pathToFileURL} = require('node:url');
const {chromium} = require('playwright-core');

const program = process.env.KZR_CHROMIUM || '/usr/bin/chromium';
/** Milliseconds that a test waits for anything at most, on machines that are slow and busy, too. */
const patience = 120_000;
let browser = null;

after(() => browser?.close());

async function startedBrowser() {
  // Chromium's own sandbox refuses to run as root, as tests do on build machines.
  browser ??= await chromium.launch({executablePath: program, args: ['--no-sandbox'], timeout: patience});
  return browser;
}

/** Writes down in `complaints` what goes wrong in `page`. */
function listen(page, complaints) {
  page.on('console', (message) => {
    if (['error', 'warning'].includes(message.type())) complaints.push(`console: ${message.text()}`);
  });
  page.on('pageerror', (error) => complaints.push(`exception: ${error.stack || error}`));
  page.on('crash', () => complaints.push('the page crashed'));
  page.on('request', (request) => {
    if (!/^(file|data|blob):/.test(request.url())) complaints.push(`request: ${request.url()}`);
  });
}

/**
 * A test of pages. `body` gets `openPage(file, {hash, ...})`, which opens a file from the disk at the given part of its
 * address and resolves to a page of playwright; what else the options say goes to its window, for instance `colorScheme`.
 * @param {string} name
 * @param {(openPage: (file: string, options?: object) => Promise<import('playwright-core').Page>) => Promise<void>} body
 */
function pageTest(name, body) {
  test(name, async () => {
    const complaints = [];
    const windows = [];
    const openPage = async (file, {hash = '', ...options} = {}) => {
      const window = await (await startedBrowser()).newContext({viewport: {width: 1280, height: 800}, ...options});
      windows.push(window);
      const page = await window.newPage();
      page.setDefaultTimeout(patience);
      listen(page, complaints);
      await page.goto(pathToFileURL(file).href + hash);
      return page;
    };
    try {
      await body(openPage);
    } catch (failure) {
      // What the page said often tells why.
      for (const complaint of complaints) console.error(complaint);
      throw failure;
    } finally {
      for (const window of windows) await window.close();
    }
    assert.deepEqual(complaints, []);
  });
}

module.exports = {listen, pageTest, patience, startedBrowser};
