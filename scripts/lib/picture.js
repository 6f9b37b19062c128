'use strict';
/**
 * Takes the picture of a report that README.md shows. STATE is what stands behind the # of the page's address.
 *
 *   NODE_PATH=build/browser/node_modules node scripts/lib/picture.js PAGE PICTURE [STATE]
 */
const {pathToFileURL} = require('node:url');
const {chromium} = require('playwright-core');

(async () => {
  const [file, picture, state] = process.argv.slice(2);
  const browser = await chromium.launch({
    executablePath: process.env.KZR_CHROMIUM || '/usr/bin/chromium', args: ['--no-sandbox'],
  });
  const page = await browser.newPage({viewport: {width: 1280, height: 800}});
  await page.goto(`${pathToFileURL(file).href}${state ? `#${state}` : ''}`);
  await page.waitForFunction(() => document.documentElement.dataset.ready === 'true');
  await page.waitForTimeout(1000);
  await page.screenshot({path: picture});
  await browser.close();
})();
