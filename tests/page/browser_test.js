'use strict';
const assert = require('node:assert/strict');
const {test} = require('node:test');
const {listen, patience, startedBrowser} = require('./browser');

test('what a page complains about is heard', async () => {
  const cases = [
    ['<p>calm</p>', []],
    ['<script>console.error("loud")</script>', ['console: loud']],
    ['<script>throw new Error("thrown")</script>', ['exception: Error: thrown']],
    ['<script>Promise.reject(new Error("lost"))</script>', ['exception: Error: lost']],
    ['<img src="http://localhost:9/picture">', ['request: http://localhost:9/picture', 'console: Failed to load']],
    [
      '<meta http-equiv="Content-Security-Policy" content="default-src \'none\'"><img src="http://localhost:9/picture">',
      ['request: http://localhost:9/picture', 'console: Loading the image'],
    ],
  ];
  for (const [html, expected] of cases) {
    const complaints = [];
    const page = await (await startedBrowser()).newPage();
    listen(page, complaints);
    await page.goto(`data:text/html,${encodeURIComponent(html)}`);
    const end = Date.now() + patience;
    while (complaints.length < expected.length && Date.now() < end) await page.waitForTimeout(5);
    assert.equal(complaints.length, expected.length, `${html}: ${complaints}`);
    for (const start of expected) assert.ok(complaints.some((complaint) => complaint.startsWith(start)), complaints);
    await page.close();
  }
});
