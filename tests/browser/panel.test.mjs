// The panel in a real browser: it shows the lines; a call started from the page rings an
// application attached through the desktop host (the console), which answers it, and the
// page shows it connected within a second; an event emitted from the form reaches the
// application typed; the trace shows the application's request; a foreign Host gets 403.
// Usage: node panel.test.mjs SIMULATOR CONSOLE SCREENSHOT
import { spawn } from 'node:child_process';
import { mkdtempSync, writeFileSync } from 'node:fs';
import http from 'node:http';
import { tmpdir } from 'node:os';
import path from 'node:path';
import assert from 'node:assert/strict';
import { chromium } from 'playwright-core';

const [simulatorPath, consolePath, screenshot] = process.argv.slice(2);
const folder = mkdtempSync(path.join(tmpdir(), 'comms-panel-'));
const socket = path.join(folder, 'simulator.sock');
const children = [];

function start(program, args) {
  const child = spawn(program, args, { stdio: ['ignore', 'pipe', 'pipe'] });
  child.output = '';
  child.stdout.on('data', (data) => { child.output += data; });
  child.stderr.on('data', (data) => { child.output += data; });
  child.ended = new Promise((resolve) => child.on('exit', (code) => resolve(code)));
  children.push(child);
  return child;
}

async function until(what, check, milliseconds = 10000) {
  const deadline = Date.now() + milliseconds;
  while (Date.now() < deadline) {
    const value = check();
    if (value) return value;
    await new Promise((resolve) => setTimeout(resolve, 20));
  }
  throw new Error(`timed out waiting for ${what}`);
}

function statusWithHost(url, host) {
  return new Promise((resolve, reject) => {
    const request = http.get(url, { headers: { Host: host } }, (response) => {
      response.resume();
      resolve(response.statusCode);
    });
    request.on('error', reject);
  });
}

let browser;
try {
  const simulator = start(simulatorPath, ['--socket', socket, '--lines', '1001', '--panel', '0']);
  const url = await until('the panel URL', () => simulator.output.match(/panel at (http:\S+)/)?.[1]);

  // The application: the console on the desktop host, which answers the call it is rung with
  // and then waits for the event the page will emit.
  const script = path.join(folder, 'application.txt');
  writeFileSync(script, [
    'subscribe => sfiSuccess',
    'activate => sfiSuccess',
    'await onIncomingCallEvent lineId=1001 within=30000',
    'answerCall 1001 1 => sfiSuccess',
    'await onCallHeldEvent lineId=1001 callId=7 within=30000',
    '',
  ].join('\n'));
  const application = start(consolePath, ['--socket', socket, '--script', script]);

  browser = await chromium.launch({ executablePath: process.env.CHROMIUM || '/usr/bin/chromium',
    args: ['--no-sandbox'] });
  const page = await browser.newPage({ viewport: { width: 1500, height: 900 } });
  await page.goto(url);
  await page.waitForSelector('#lines tr[data-line="1001"]');
  await until('the application to subscribe',
    () => application.output.includes('activate => sfiSuccess') || simulator.output.includes('subscribed'));
  await page.waitForFunction(() => document.querySelector('#clients li')?.textContent.includes('subscribed'));

  await page.fill('input[data-arguments="incomingCall"]', '1001 2005 Erik Fischer');
  const rung = Date.now();
  await page.click('button[data-command="incomingCall"]');
  await page.waitForSelector('#calls tr[data-state="connected"]', { timeout: 5000 });
  const connectedAfter = Date.now() - rung;
  assert.ok(connectedAfter < 1000, `the call showed connected after ${connectedAfter} ms`);

  await page.selectOption('#emit-event', 'callHeld');
  await page.fill('#emit-arguments input[name="lineId"]', '1001');
  await page.fill('#emit-arguments input[name="callId"]', '7');
  await page.click('#emit-button');
  assert.equal(await application.ended, 0, `the application did not get the event:\n${application.output}`);
  assert.match(application.output, /onCallHeldEvent\(lineId="?1001"?, callId=7\)|onCallHeldEvent.*callId=7/);

  await page.waitForFunction(() => [...document.querySelectorAll('#trace li')]
    .some((item) => item.textContent.includes('answerCall(line="1001", callId=1)')));
  await page.fill('input[data-arguments="incomingCall"]', 'nosuchline 2005');
  await page.click('button[data-command="incomingCall"]');
  await page.waitForSelector('#reply.error');

  assert.equal(await statusWithHost(url, 'attacker.example'), 403);
  await page.fill('input[data-arguments="incomingCall"]', '');
  await page.screenshot({ path: screenshot });
  console.log(`panel: the browser test passed (connected shown ${connectedAfter} ms after the ring); screenshot ${screenshot}`);
} catch (error) {
  console.error(`panel: ${error.stack || error}`);
  for (const child of children) console.error(`--- output of ${child.spawnargs[0]}:\n${child.output}`);
  process.exitCode = 1;
} finally {
  if (browser) await browser.close();
  for (const child of children) child.kill();
}
