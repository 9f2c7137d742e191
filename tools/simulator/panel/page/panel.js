// The panel's page: shows what the simulator sends over the WebSocket and sends control
// commands back. Every wire word comes from the simulator, none is spelled here.
'use strict';

const traceLimit = 2000;
let socket = null;
let paused = false;
let evicted = 0;
let dropped = 0;
let entries = [];
const firstSeen = new Map();
let nextReply = 1;

const byId = (id) => document.getElementById(id);
const element = (tag, text, className) => {
  const made = document.createElement(tag);
  if (text !== undefined) made.textContent = text;
  if (className) made.className = className;
  return made;
};

function connect() {
  socket = new WebSocket(`ws://${location.host}/`);
  socket.onopen = () => { byId('link').textContent = 'live'; byId('link').className = 'up'; };
  socket.onclose = () => {
    byId('link').textContent = 'disconnected, retrying';
    byId('link').className = 'down';
    setTimeout(connect, 1000);
  };
  socket.onmessage = (message) => received(JSON.parse(message.data));
}

function received(message) {
  if (message.vocabulary) showVocabulary(message.vocabulary);
  if (message.state) showState(message.state, message.clients);
  if (message.trace) {
    if (message.vocabulary) entries = [];
    entries.push(...message.trace);
    if (entries.length > traceLimit) entries.splice(0, entries.length - traceLimit);
    evicted = message.evicted || 0;
    if (!paused) showTrace();
  }
  if (message.dropped) { dropped += message.dropped; showTrace(); }
  if (message.reply) showReply(message.reply.text, message.reply.text.startsWith('error'));
  if (message.error) showReply(message.error, true);
}

function send(command, args) {
  socket.send(JSON.stringify({ control: command, arguments: args, id: nextReply++ }));
}

function showReply(text, failed) {
  byId('reply').textContent = text;
  byId('reply').className = failed ? 'error' : '';
}

function showVocabulary(vocabulary) {
  const controls = byId('controls');
  controls.replaceChildren();
  for (const command of vocabulary.controls) {
    // A command with a form of its own on the page (emit) gets no row here.
    if (document.querySelector(`[data-form-of="${command.name}"]`)) continue;
    const row = element('div', undefined, 'control');
    const button = element('button', command.name);
    button.type = 'button';
    button.dataset.command = command.name;
    button.title = command.help;
    const inputs = command.arguments.map((argument) => {
      const input = element('input');
      input.placeholder = argument.optional ? `[${argument.name}]` : argument.name;
      input.title = `${argument.name}: ${argument.kind}`;
      input.dataset.argument = argument.name;
      input.onkeydown = (key) => { if (key.key === 'Enter') button.click(); };
      return input;
    });
    // Each input is one argument, blanks and all; left empty, an optional one is left out.
    button.onclick = () => send(command.name,
      inputs.map((input) => input.value).filter((value) => value !== ''));
    const fields = element('span', undefined, 'arguments');
    fields.dataset.arguments = command.name;
    fields.append(...inputs);
    row.append(button, fields, element('small', command.help));
    controls.append(row);
  }
  const select = byId('emit-event');
  select.replaceChildren();
  for (const event of vocabulary.events) {
    const option = element('option', `${event.event} (${event.callback})`);
    option.value = event.event;
    option.argumentsOf = event.arguments;
    select.append(option);
  }
  select.onchange = showEmitArguments;
  showEmitArguments();
  byId('emit').onsubmit = (submitted) => {
    submitted.preventDefault();
    const words = [byId('emit-event').value];
    for (const input of byId('emit-arguments').querySelectorAll('input')) {
      if (input.value !== '') words.push(`${input.name}=${input.value}`);
    }
    send('emit', words);
  };
}

function showEmitArguments() {
  const select = byId('emit-event');
  const chosen = select.options[select.selectedIndex];
  const fields = byId('emit-arguments');
  fields.replaceChildren();
  for (const argument of chosen ? chosen.argumentsOf : []) {
    const label = element('label', `${argument.name} `);
    const input = element('input');
    input.name = argument.name;
    input.placeholder = argument.kind;
    label.append(input);
    fields.append(label);
  }
}

function cells(row, values) {
  for (const value of values) row.append(element('td', String(value)));
  return row;
}

function showState(state, clients) {
  const lines = byId('lines').tBodies[0];
  lines.replaceChildren();
  for (const line of state.lines) {
    const forwards = Object.entries(line.forwarding)
      .filter(([, rule]) => rule.on).map(([type, rule]) => `type ${type} to ${rule.uri}`);
    const row = cells(element('tr'), [line.name, line.registered ? 'yes' : 'no',
      line.doNotDisturb ? 'on' : 'off', line.agentState, forwards.join(', ') || 'none']);
    row.dataset.line = line.name;
    lines.append(row);
  }
  const calls = byId('calls').tBodies[0];
  calls.replaceChildren();
  const now = Date.now();
  for (const call of state.calls) {
    const key = `${call.id}/${call.line}`;
    if (!firstSeen.has(key)) firstSeen.set(key, now);
    const far = call.remoteName ? `${call.remoteName} <${call.remote}>` : call.remote;
    const row = cells(element('tr'), [call.id, call.line, call.stateName || call.state, far,
      `${Math.round((now - firstSeen.get(key)) / 1000)} s`]);
    row.children[2].className = `state-${call.stateName}`;
    row.dataset.call = call.id;
    row.dataset.state = call.stateName;
    calls.append(row);
  }
  const lamps = byId('lamps');
  lamps.replaceChildren();
  for (const lamp of state.lamps) {
    lamps.append(element('span', `${lamp.key}: ${lamp.modeName}`, `lamp lamp-${lamp.modeName}`));
  }
  if (state.lamps.length === 0) lamps.textContent = 'none set';
  const settings = byId('settings');
  settings.replaceChildren();
  const mailbox = state.mailbox;
  for (const [name, value] of [
    ['Service state', state.serviceState], ['System', state.systemState],
    ['Microphone', state.microphoneMuted ? 'muted' : 'on'],
    ['Mailbox', `${mailbox.line || '-'}: ${mailbox.new} new, ${mailbox.old} old, ` +
      `${mailbox.newUrgent} new urgent, ${mailbox.oldUrgent} old urgent`],
    ['Call-backs', state.callbacks.map((c) => `${c.line} to ${c.callee}`).join(', ') || 'none'],
    ['Devices', state.devices.join(', ') || 'none']]) {
    settings.append(element('dt', name), element('dd', value));
  }
  const list = byId('clients');
  list.replaceChildren();
  for (const client of clients) {
    list.append(element('li', `client ${client.number}: ${client.protocol || 'no protocol'}` +
      (client.channels.length ? `, subscribed ${client.channels.join(', ')}` : '')));
  }
}

function matches(entry) {
  const wanted = (id, value) => {
    const filter = byId(id).value.trim();
    return filter === '' || String(value ?? '').includes(filter);
  };
  return wanted('filter-line', entry.line) && wanted('filter-call', entry.call) &&
    wanted('filter-client', entry.client) && wanted('filter-method', entry.method);
}

function showTrace() {
  const list = byId('trace');
  list.replaceChildren();
  const shown = entries.filter(matches);
  for (const entry of shown) {
    const item = element('li', `${entry.client} ${entry.direction === 'in' ? '→' : '←'} ${entry.typed}`,
      entry.kind);
    item.value = entry.n;
    item.onclick = () => {
      if (item.lastChild.tagName === 'PRE') item.lastChild.remove();
      else item.append(element('pre', entry.raw));
    };
    list.append(item);
  }
  byId('trace-count').textContent = `${shown.length} shown, ${evicted} older ones gone` +
    (dropped ? `, ${dropped} dropped while this page fell behind` : '');
  list.lastChild?.scrollIntoView({ block: 'nearest' });
}

window.addEventListener('DOMContentLoaded', () => {
  byId('pause').onchange = (box) => { paused = box.target.checked; if (!paused) showTrace(); };
  for (const id of ['filter-line', 'filter-call', 'filter-client', 'filter-method']) {
    byId(id).oninput = showTrace;
  }
  setInterval(() => { if (socket && socket.readyState === 1) showDurations(); }, 1000);
  connect();
});

function showDurations() {
  const now = Date.now();
  for (const row of byId('calls').tBodies[0].rows) {
    const key = `${row.dataset.call}/${row.children[1].textContent}`;
    if (firstSeen.has(key)) row.children[4].textContent = `${Math.round((now - firstSeen.get(key)) / 1000)} s`;
  }
}
