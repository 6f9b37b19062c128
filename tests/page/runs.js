'use strict';
/** Runs and their reports for the tests of pages, in a directory that goes when the test ends. */
const {execFileSync} = require('node:child_process');
const fs = require('node:fs');
const os = require('node:os');
const path = require('node:path');

const {
  KZR_PROGRAM: kzr, KZR2XML_PROGRAM: kzr2xml, KZR_GENERATE_PAGE_RUN: generatePageRun, KZR_GENERATE_RUN: generateRun,
} = process.env;
const directory = fs.mkdtempSync(path.join(os.tmpdir(), 'kzr_pages_'));
process.on('exit', () => fs.rmSync(directory, {recursive: true, force: true}));

let count = 0;

/** A directory of its own for a run called `name`; the name is what pages show of it. */
function newRun(name) {
  const run = path.join(directory, String(count++), name);
  fs.mkdirSync(run, {recursive: true});
  return run;
}

/** One of the small runs of generate_page_run. */
function smallRun(name) {
  const run = newRun(name);
  execFileSync(generatePageRun, [name, run]);
  return run;
}

/** A run of the benchmarks' workloads, `size` being its scale and number of files. */
function largeRun(workload, ...size) {
  const run = newRun(workload);
  execFileSync(generateRun, [workload, run, ...size.map(String)]);
  return run;
}

/** The run of a seed, as the check of the figures has them: ties, times that go back, damage, OpenMP. */
function randomRun(seed) {
  const run = path.join(newRun('random'), `seed_${seed}`);
  const script = 'import sys, random_runs; random_runs.random_run(int(sys.argv[1])).write(sys.argv[2])';
  const env = {...process.env, PYTHONDONTWRITEBYTECODE: '1'};
  execFileSync('python3', ['-c', script, seed, run], {cwd: path.join(__dirname, '../analysis'), env});
  return run;
}

/** What `kzr report` writes to standard output. */
function output(run, options) {
  return execFileSync(kzr, ['report', run, ...options], {encoding: 'utf8', maxBuffer: 2 ** 30, env: {...process.env, QZD_DIR: run}});
}

/** The page of a run. @returns {string} its file */
function report(run, ...options) {
  const file = path.join(path.dirname(run), `${path.basename(run)}-${count++}.html`);
  output(run, ['-o', file, ...options]);
  return file;
}

/** The figures of a run. Numbers that JavaScript cannot hold are BigInt. */
function figures(run, ...options) {
  return parse(output(run, ['--json', ...options]));
}

/** The executions of a flow graph's run, as its timeline has them; ticks are BigInt. */
function executions(run) {
  execFileSync(kzr2xml, ['converted'], {cwd: run, env: {...process.env, QZD_DIR: run}});
  const stacks = new Map();
  const found = [];
  for (const line of fs.readFileSync(path.join(run, 'converted.traceml'), 'utf8').split('\n')) {
    const [, element, time, thread, id] = line.match(/^<(task_\w+) ts="(\d+)" tid="(\d+)"(?:.* id="([^"]*)")?/) ?? [];
    if (!element) continue;
    const stack = stacks.get(thread) ?? [];
    stacks.set(thread, stack);
    if (element === 'task_begin') {
      stack.push({id, thread: Number(thread), begin: BigInt(time), nested: 0n});
      continue;
    }
    const {nested, ...ended} = stack.pop();
    const duration = BigInt(time) - ended.begin;
    if (stack.length > 0) stack.at(-1).nested += duration;
    found.push({...ended, end: BigInt(time), self: duration - nested});
  }
  return found.sort((a, b) => Number(a.begin - b.begin));
}

/** Reads JSON, whole numbers beyond 2^53 as BigInt. */
function parse(text) {
  const marked = text.replace(/"(?:[^"\\]|\\.)*"|(?<![\d.])\d{16,}(?![\d.])/g, (word) => (word[0] === '"' ? word : `"#${word}"`));
  return JSON.parse(marked, (_, value) => (/^#\d{16,}$/.test(value) ? BigInt(value.slice(1)) : value));
}

module.exports = {executions, figures, largeRun, randomRun, report, smallRun};
