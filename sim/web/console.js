// kvsim console: renders the state kvsim streams and sends every action as a control
// command line, the same text the control port takes.
'use strict';

const $ = (sel, root = document) => root.querySelector(sel);
const el = (tag, cls, text) => {
  const e = document.createElement(tag);
  if (cls) e.className = cls;
  if (text !== undefined) e.textContent = text;
  return e;
};
const money = v => Number(v).toFixed(2);
const litres = v => Number(v).toFixed(2);
const RESERVE = ['', 'prepay', 'pre-authorisation', 'payment'];
const PRESET = ['', 'money', 'volume'];
const DELIVERY_STATE = ['', 'running', 'completed', 'stacked', 'cleared'];
const DELIVERY_TYPE = ['', 'postpay', 'prepay', 'pre-authorised', 'attendant', 'tag', 'payment', 'external', 'driver'];
let state = null;

async function send(line) {
  const reply = $('#reply');
  try {
    const r = await fetch('/api/command', { method: 'POST', body: line, headers: { 'Content-Type': 'text/plain' } });
    const body = await r.json();
    const text = (body.reply || body.error || '').trim();
    reply.textContent = line + ' \u2192 ' + text;
    reply.className = r.ok ? '' : 'error';
  } catch (e) {
    reply.textContent = line + ' \u2192 ' + e;
    reply.className = 'error';
  }
}

// ---- pumps ----
function pumpCard(p) {
  let card = $(`.pump[data-pump="${p.number}"]`);
  if (card) return card;
  card = el('article', 'pump');
  card.dataset.pump = p.number;
  card.innerHTML = `
    <h3><span data-field="name"></span><span class="badge" data-field="state"></span></h3>
    <div class="display">
      <div><small>money</small><span data-field="money"></span></div>
      <div><small>litres</small><span data-field="volume"></span></div>
      <div><small>price</small><span data-field="price"></span></div>
    </div>
    <div class="info" data-field="hose"></div>
    <div class="info" data-field="auth"></div>
    <div class="info fault" data-field="fault"></div>
    <ul class="deliveries" data-field="deliveries"></ul>
    <div class="row nozzle">
      <select data-role="hose" title="hose"></select>
      <button class="go" data-action="lift">lift</button>
      <button data-action="hang">hang up</button>
    </div>
    <details><summary>flow and faults</summary>
      <div class="row">flow l/s <input data-role="flow" type="number" min="0" max="100" step="0.1">
        <button data-action="flow">set</button></div>
      <div class="row"><button class="warn" data-action="offline">offline</button><button data-action="online">online</button>
        <button class="warn" data-action="reader-fault">reader fault</button><button data-action="reader-ok">reader ok</button></div>
      <div class="row">driver error <input data-role="error" type="number" min="1" value="1">
        <button class="warn" data-action="error">raise</button><button data-action="error-clear">clear</button></div>
    </details>`;
  const select = $('[data-role="hose"]', card);
  for (const h of p.hoses) {
    const grade = state.grades.find(g => g.number === h.grade);
    select.append(new Option(`hose ${h.number}${grade ? ' \u00b7 ' + (grade.shortName || grade.name) : ''}`, h.number));
  }
  $('#pumps').append(card);
  return card;
}

function setText(card, field, text) {
  const e = $(`[data-field="${field}"]`, card);
  if (e.textContent !== text) e.textContent = text;
}

function renderPump(p) {
  const card = pumpCard(p);
  card.dataset.state = p.state;
  setText(card, 'name', p.name || `Pump ${p.number}`);
  setText(card, 'state', p.stateText);
  setText(card, 'money', money(p.money));
  setText(card, 'volume', litres(p.volume));
  setText(card, 'price', Number(p.price).toFixed(3));
  setText(card, 'hose', p.hose ? `hose ${p.hose} \u00b7 ${p.gradeName} \u00b7 price level ${p.level}` :
    `nozzle hung up \u00b7 flow ${p.flow} l/s${p.autoAuthorise ? ' \u00b7 authorises itself' : ''}`);
  let auth = '';
  if (p.reserveType) auth = `reserved for ${RESERVE[p.reserveType] || p.reserveType} by client ${p.reserveClient}`;
  if (p.authorised) {
    auth += (auth ? '; ' : '') + `authorised ${DELIVERY_TYPE[p.authType] || ''}`;
    if (p.presetType) auth += `, preset ${PRESET[p.presetType]} ${money(p.presetValue)}`;
    auth += p.allowedHose ? `, hose ${p.allowedHose}` : ', any hose';
  } else if (p.presetType && p.state >= 4 && p.state <= 6) {
    auth += (auth ? '; ' : '') + `preset ${PRESET[p.presetType]} ${money(p.presetValue)}`;
  }
  setText(card, 'auth', auth);
  const faults = [];
  if (p.disabled) faults.push('disabled');
  if (p.errorCode) faults.push(`error ${p.errorCode}${p.errorText ? ': ' + p.errorText : ''}`);
  if (p.stopped) faults.push('stopped');
  for (const key of ['offline', 'readerFault'])
    if (p[key]) faults.push(key === 'offline' ? 'offline' : 'card reader fault');
  setText(card, 'fault', faults.join(' \u00b7 '));
  const list = $('[data-field="deliveries"]', card);
  const items = p.deliveries.map(d => {
    const li = el('li', DELIVERY_STATE[d.state] || '');
    li.textContent = `#${d.id} ${DELIVERY_STATE[d.state] || d.state} \u00b7 hose ${d.hose} \u00b7 ` +
      `${litres(d.volume)} l \u00b7 ${money(d.money)}` + (d.lockOwner ? ` \u00b7 locked by client ${d.lockOwner}` : '');
    return li;
  });
  if (list.textContent !== items.map(li => li.textContent).join('')) list.replaceChildren(...items);
  const flow = $('[data-role="flow"]', card);
  if (document.activeElement !== flow) flow.value = p.flow;
}

$('#pumps').addEventListener('click', ev => {
  const button = ev.target.closest('button[data-action]');
  if (!button) return;
  const card = button.closest('[data-pump]');
  const n = card.dataset.pump;
  const value = role => $(`[data-role="${role}"]`, card).value;
  const commands = {
    lift: () => `lift ${n} ${value('hose')}`,
    hang: () => `hang ${n}`,
    flow: () => `flow ${n} ${value('flow')}`,
    offline: () => `offline ${n}`,
    online: () => `online ${n}`,
    'reader-fault': () => `reader ${n} fault`,
    'reader-ok': () => `reader ${n} ok`,
    error: () => `error ${n} ${value('error')}`,
    'error-clear': () => `error ${n} 0`,
  };
  send(commands[button.dataset.action]());
});

// ---- tanks, grades, clients ----
function renderTanks(tanks) {
  const box = $('#tanks');
  for (const t of tanks) {
    let row = $(`.tank[data-tank="${t.number}"]`, box);
    if (!row) {
      row = el('div', 'tank');
      row.dataset.tank = t.number;
      row.innerHTML = `<div class="gauge" title="level"><div class="fill"></div><div class="water"></div></div>
        <div><b data-field="name"></b> <span data-field="grade"></span>
          <div data-field="volume"></div><div class="info" data-field="detail"></div>
          <div class="fault" data-field="alarms"></div>
          <div class="row"><button data-action="fill">fill</button>
            alarm <input data-role="alarm" type="number" min="0" max="15" value="0">
            <button class="warn" data-action="alarm-on">raise</button><button data-action="alarm-off">clear</button></div>
        </div>`;
      box.append(row);
    }
    const share = t.capacity > 0 ? Math.min(100, 100 * t.volume / t.capacity) : 0;
    row.dataset.volume = t.volume;
    $('.fill', row).style.height = share.toFixed(4) + '%';
    $('.water', row).style.height = (t.capacity > 0 ? Math.min(100, 100 * t.water / t.capacity) : 0).toFixed(2) + '%';
    const grade = state.grades.find(g => g.number === t.grade);
    setText(row, 'name', t.name || `Tank ${t.number}`);
    setText(row, 'grade', grade ? grade.name : '');
    setText(row, 'volume', `${litres(t.volume)} of ${Number(t.capacity).toFixed(0)} l (${share.toFixed(1)} %)`);
    setText(row, 'detail', `ullage ${litres(t.ullage)} l \u00b7 level ${Number(t.level).toFixed(0)} mm \u00b7 water ${litres(t.water)} l`);
    const bits = [];
    for (let b = 0; b < 16; b++) if (t.alarms & (1 << b)) bits.push(b);
    setText(row, 'alarms', bits.length ? 'alarm ' + bits.join(', ') : '');
    row.classList.toggle('alarm', bits.length > 0);
  }
}

$('#tanks').addEventListener('click', ev => {
  const button = ev.target.closest('button[data-action]');
  if (!button) return;
  const row = button.closest('[data-tank]');
  const t = state.tanks.find(x => x.number === Number(row.dataset.tank));
  const code = $('[data-role="alarm"]', row).value;
  const commands = {
    fill: () => `tank ${t.number} ${Number(t.capacity)}`,
    'alarm-on': () => `alarm ${t.number} ${code} 1 raised from the console`,
    'alarm-off': () => `alarm ${t.number} ${code} 0 cleared from the console`,
  };
  send(commands[button.dataset.action]());
});

function renderGrades(grades) {
  const body = $('#grades tbody');
  for (const g of grades) {
    let tr = $(`tr[data-grade="${g.number}"]`, body);
    if (!tr) {
      tr = el('tr');
      tr.dataset.grade = g.number;
      tr.innerHTML = `<td data-field="name"></td>` + [1, 2].map(l =>
        `<td><input data-level="${l}" type="number" min="0" step="0.001" title="price level ${l}: Enter sets it"></td>`).join('');
      body.append(tr);
    }
    setText(tr, 'name', `${g.number} ${g.name}`);
    for (const l of [1, 2]) {
      const input = $(`input[data-level="${l}"]`, tr);
      if (document.activeElement !== input) input.value = Number(g['price' + l]).toFixed(3);
    }
  }
}

$('#grades').addEventListener('change', ev => {
  const input = ev.target.closest('input[data-level]');
  if (input) send(`price ${input.closest('tr').dataset.grade} ${input.dataset.level} ${input.value}`);
});

function renderClients(clients) {
  const rows = clients.map(c => {
    const tr = el('tr');
    tr.dataset.client = c.number;
    tr.innerHTML = `<td>${c.number}</td><td></td><td>calls${c.events ? ', events' : ''}${c.db ? ', db' : ''}</td>
      <td>${c.mask}</td>
      <td>${c.callOpen || c.eventsOpen ? '\u25cf connected' : '\u25cb no sockets'}</td>
      <td><button data-action="drop">drop</button><button class="warn" data-action="logoff">log off</button></td>`;
    tr.children[1].textContent = c.name;
    return tr;
  });
  const body = $('#clients tbody');
  const text = rows.map(r => r.textContent).join('|');
  if (body.dataset.text !== text) {
    body.dataset.text = text;
    body.replaceChildren(...rows);
  }
}

$('#clients').addEventListener('click', ev => {
  const button = ev.target.closest('button[data-action]');
  if (button) send(`${button.dataset.action} ${button.closest('tr').dataset.client}`);
});

// ---- site ----
document.querySelector('.site').addEventListener('click', ev => {
  const what = ev.target.dataset.site;
  if (what === 'speed') send(`speed ${$('#speed').value}`);
  if (what === 'flow') send(`flow ${$('#flow').value}`);
  if (what === 'auto') send(`auto ${state && state.auto ? 'off' : 'on'}`);
});
$('#cmdform').addEventListener('submit', ev => {
  ev.preventDefault();
  const line = $('#cmd').value.trim();
  if (line) send(line);
});

function render(s) {
  state = s;
  s.pumps.forEach(renderPump);
  renderTanks(s.tanks);
  renderGrades(s.grades);
  renderClients(s.clients);
  $('#clock').textContent = s.time;
  $('#auto').classList.toggle('on', s.auto);
  $('#auto').textContent = s.auto ? 'auto customers: on' : 'auto customers: off';
  for (const [id, v] of [['speed', s.speed], ['flow', s.flow]])
    if (document.activeElement !== $('#' + id)) $('#' + id).value = v;
}

// ---- event log ----
const LOG_MAX = 500;
function describe(e) {
  const parts = [];
  if ('pump' in e) parts.push(`pump ${e.pump}`);
  if ('delivery' in e && e.delivery) parts.push(`delivery ${e.delivery}`);
  if ('tank' in e) parts.push(`tank ${e.tank}`);
  if ('stateText' in e) parts.push(e.stateText);
  else if ('delivery' in e && 'state' in e) parts.push(DELIVERY_STATE[e.state] || `state ${e.state}`);
  else if ('state' in e) parts.push(`state ${e.state}`);
  if ('volume' in e) parts.push(`${litres(e.volume)} l`);
  if ('money' in e) parts.push(money(e.money));
  if (e.lockOwner) parts.push(`locked by ${e.lockOwner}`);
  if ('code' in e) parts.push(`code ${e.code}`);
  if ('id' in e && e.id !== -1) parts.push(`id ${e.id}`);
  if ("a" in e) parts.push(`values ${e.a}, ${e.b}`);
  if (e.text) parts.push(`"${e.text}"`);
  return parts.join(' \u00b7 ');
}

function addLog(e, cls) {
  const log = $('#log');
  const li = el('li', cls);
  if (e.progress) li.dataset.progress = '1';
  li.hidden = !!e.progress && !$('#progress').checked;
  li.append(el('span', 't', e.time + ' '), el('span', 'c', e.call + ' '),
    el('span', 'to', e.to ? (e.to.length ? `\u2192 client ${e.to.join(', ')} ` : '\u2192 nobody ') : ''),
    document.createTextNode(describe(e)));
  log.append(li);
  while (log.children.length > LOG_MAX) log.firstChild.remove();
  if ($('#follow').checked) log.scrollTop = log.scrollHeight;
}

$('#progress').addEventListener('change', () => {
  for (const li of document.querySelectorAll('#log li[data-progress]')) li.hidden = !$('#progress').checked;
});

// ---- the stream ----
function connect() {
  const source = new EventSource('/api/stream');
  const link = $('#link');
  source.onopen = () => { link.textContent = 'live'; link.className = 'link up'; };
  source.onerror = () => { link.textContent = 'reconnecting'; link.className = 'link down'; };
  source.addEventListener('state', ev => render(JSON.parse(ev.data)));
  source.addEventListener('log', ev => addLog(JSON.parse(ev.data)));
  source.addEventListener('gap', ev => {
    const g = JSON.parse(ev.data);
    addLog({ time: '', call: `${g.skipped} events skipped`, text: '' }, 'gap');
  });
}
connect();
