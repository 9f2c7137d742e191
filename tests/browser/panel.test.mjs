// The panel in a real browser: it shows the lines; a call started from the page rings an
// application attached through the desktop host (the console), which answers it, and the
// page shows it connected within a second; an event emitted from the form reaches the
// application typed; the trace shows the application's request; every control command the
// page offers is a button that works, values with blanks included, and those that cannot
// work from a page are not offered; a foreign Host gets 403.
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
  const simulator = start(simulatorPath, ['--socket', socket, '--lines', '1001,1002', '--panel', '0']);
  const url = await until('the panel URL', () => simulator.output.match(/panel at (http:\S+)/)?.[1]);

  // The application: the console on the desktop host, which leaves a call-back pending (on
  // a busy callee) and a call ringing at a far end for the page's buttons, answers the call
  // it is rung with and then waits for the event the page will emit.
  const script = path.join(folder, 'application.txt');
  writeFileSync(script, [
    'subscribe => sfiSuccess',
    'activate => sfiSuccess',
    'outgoingCallMake 1001 7 2003 0 0 0 => sfiSuccess',
    'await onCallStateChangeEvent callId=7 callState=busy within=30000',
    'activateCallbackBusy 1001 7 => sfiSuccess',
    'outgoingCallMake 1002 8 2002 0 0 0 => sfiSuccess',
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

  // Fills a command's inputs, one argument each, presses its button and gives the reply.
  let pressed = 0;
  const press = async (name, values) => {
    const inputs = await page.$$(`[data-arguments="${name}"] input`);
    for (let i = 0; i < inputs.length; ++i) await inputs[i].fill(values[i] ?? '');
    await page.evaluate(() => { document.getElementById('reply').textContent = ''; });
    pressed = Date.now();
    await page.click(`button[data-command="${name}"]`);
    // A selector, not a function: the page's policy forbids the evaluation that polling needs.
    await page.waitForSelector('#reply:not(:empty)');
    return page.textContent('#reply');
  };
  // Rung once the application has made its calls, so that it awaits the ring from then on.
  await page.waitForSelector('#calls tr[data-state="ringingBack"]', { timeout: 10000 });
  assert.equal(await press('incomingCall', ['1001', '2005', 'Erik Fischer']), 'ok call 1');
  const rung = pressed;
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
  assert.match(await press('incomingCall', ['nosuchline', '2005']), /^error: no line/);
  await page.waitForSelector('#reply.error');

  // Every other button, in an order in which each finds what it acts on.
  const presses = [
    ['answer', ['8']],
    ['calleeFree', ['2003']],
    ['impactLevel', ['1001', '1', '3', '2']],
    ['recording', ['1001', '1', 'on']],
    ['bluetooth', ['1001', '1', '1', '0', '1']],
    ['preempt', ['1002', '8']],
    ['missedCall', ['1001', '2004', 'Dana Evans']],
    ['colleagueCall', ['1002', '2001', 'Anna Berg']],
    ['voicemail', ['1001', '2', '1']],
    ['registrationLost', ['1002']],
    ['register', ['1002']],
    ['cstaEvent', ['1001', '<DeliveredEvent><connection>5</connection></DeliveredEvent>']],
    ['systemStatus', ['DEGRADED', 'backup link']],
    ['addDevice', ['Desk phone']],
    ['removeDevice', ['Desk phone']],
    ['requests', ['0']],
    ['delayAnswers', ['0']],
    ['show', []],
    ['clients', []],
    ['help', []],
    ['hangup', ['1']],
    ['reset', []],
  ];
  const offered = await page.$$eval('button[data-command]', (buttons) =>
    buttons.map((button) => button.dataset.command));
  assert.deepEqual([...offered].sort(), ['incomingCall', ...presses.map(([name]) => name)].sort());
  for (const [name, values] of presses) {
    const reply = await press(name, values);
    assert.ok(reply.startsWith('ok'), `${name} ${values.join(' ')} -> ${reply}`);
  }

  assert.equal(await statusWithHost(url, 'attacker.example'), 403);
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
