// The configuration of docs/deployment.md, in Debian's nginx, in front of the host.
import assert from 'node:assert/strict';
import { execFileSync, spawn } from 'node:child_process';
import { chmodSync, readFileSync, writeFileSync } from 'node:fs';
import http from 'node:http';
import https from 'node:https';
import path from 'node:path';
import { test } from 'node:test';
import { PROXY, ROOT, SITE, card, cleanUp, expectSoon, expectText, open, press, startHost } from './support.mjs';

const ACCOUNTS = { guest: undefined, desk: 'desk:front', installer: 'fitter:back:stage' };

/** A host behind nginx, which has the port of the host at other loopback addresses. `url` is the site's. */
async function startProxy(...steps) {
  const { folder, url } = await startHost(...steps);
  const { port } = new URL(url);
  const file = (name) => path.join(folder, name);
  let text = readFileSync(path.join(ROOT, 'docs/deployment.md'), 'utf8').match(/^```nginx\n(.*?)^```$/ms)[1];
  for (const [found, count, replacement] of [
    ['listen 443', 2, `listen ${PROXY}:${port}`], ['listen 80', 2, `listen ${PROXY}1:${port}`],
    ['listen [::]:443', 2, `listen ${PROXY}2:${port}`], ['listen [::]:80', 2, `listen ${PROXY}3:${port}`],
    ['127.0.0.1:8080', 1, `127.0.0.1:${port}`], ['/etc/nginx/', 2, `${folder}/`], ['/etc/ssl/certs/', 1, `${folder}/`], ['/etc/ssl/private/', 1, `${folder}/`],
  ]) {
    assert.equal(text.split(found).length - 1, count, `${found} in the configuration`);
    text = text.replaceAll(found, replacement);
  }
  const temporary = ['client_body', 'proxy', 'fastcgi', 'uwsgi', 'scgi'].map((name) => `${name}_temp_path ${file(name)};`);
  writeFileSync(file('nginx.conf'), `pid ${file('pid')};\nevents {}\nhttp {\naccess_log off;\n${temporary.join('\n')}\n${text}}\n`);
  execFileSync('openssl', ['req', '-x509', '-newkey', 'rsa:2048', '-nodes', '-subj', `/CN=${SITE}`, '-keyout', file(`${SITE}.key`),
    '-out', file(`${SITE}.pem`)], { stdio: 'pipe' });
  for (const role of ['desk', 'installer']) {
    const [, name, password] = ACCOUNTS[role].match(/(.*?):(.*)/);
    writeFileSync(file(`guest-services-${role}.passwd`), `${name}:${execFileSync('openssl', ['passwd', '-6', password])}`);
  }
  chmodSync(folder, 0o755); // if root starts nginx, its workers are another user
  const nginx = spawn('/usr/sbin/nginx', ['-e', file('error.log'), '-c', file('nginx.conf'), '-g', 'daemon off;'], { stdio: 'inherit' });
  const end = new Promise((resolve) => nginx.on('exit', resolve));
  cleanUp.push(() => nginx.kill() && end);
  const proxy = { host: url, port, url: `https://${SITE}:${port}/` };
  await expectSoon(async () => (await ask(proxy, '/', { from: 254 })).status, /^200$/);
  return proxy;
}

/** Sends a request. Requests from different addresses (`from`) do not share limits. */
function ask({ port }, target, { account, from = 1, headers = {}, ...others } = {}) {
  return new Promise((resolve) => {
    const sender = { localAddress: `127.1.0.${from}`, auth: account, rejectUnauthorized: false, agent: false };
    https.request({ host: PROXY, port, path: target, servername: SITE, headers: { Host: SITE, ...headers }, ...sender, ...others })
      .on('response', (response) => resolve({ status: response.statusCode, headers: response.headers, body: response.resume() }))
      .on('upgrade', (response, socket, head) => resolve({ status: response.statusCode, socket, head }))
      .on('error', (error) => resolve({ status: error.code })).end();
  });
}

const get = (url, options = {}) => new Promise((resolve) => http.get(url, options, (response) => resolve(response.resume())));

const UPGRADE = { Connection: 'Upgrade', Upgrade: 'websocket', 'Sec-WebSocket-Version': 13, 'Sec-WebSocket-Key': 'dGhlIHNhbXBsZSBub25jZQ==', Origin: `https://${SITE}` };

/** The host's answer to a step on a WebSocket that is open. */
async function say({ socket, head }, step) {
  let text = head.toString();
  socket.on('data', (data) => (text += data));
  for (const line of [step, 'ui GET_ALL_SERVICES']) socket.write(Buffer.from([0x81, 0x80 + line.length, 0, 0, 0, 0, ...Buffer.from(line)]));
  const [, answer] = await expectSoon(() => text, new RegExp(`> ${step}(.*)> ui .*answer`, 's'));
  return answer;
}

test('the path and the credentials decide who gets what', async () => {
  const proxy = await startProxy();
  const { statusCode: page } = await get(`${proxy.host}desk`);
  const table = [ // for guest, desk and installer
    ['200 200 200', '/ /?a=b /style.css /guest.js /installer.js /icon.svg /x/../style.css'],
    [`401 ${page} 401`, '/desk //desk /./desk /x/../desk /style.css/../desk /%64esk /%2e/desk /desk? /desk?/style.css /desk#/../style.css ' + `https://${SITE}/desk`],
    ['401 401 200', '/installer /activity /session.txt /session%2etxt'],
    ['426 426 426', '/ws/guest'], ['401 426 401', '/ws/desk /ws//desk'], ['401 401 426', '/ws/installer /ws/activity /ws/guest/../installer'],
    ['404 404 404', '/healthz /%68ealthz //healthz /ws /ws/ /ws/guest/ /ws/other /Desk /DESK /desk/ /desk%2f /desk%3f /desk;x /desk%20 /desk%0a /desk.html '
      + '/index.html /x/desk /session.txt/style.css /style.css%0a /style.css%0d%0aX-A:b /style.css%3f'],
    ['400 400 400', '/desk%00 /../desk'],
  ].flatMap(([statuses, targets]) => targets.split(' ').map((target) => `${target} ${statuses}`));
  const seen = await Promise.all(table.map(async (row, i) => {
    const [target] = row.split(' ');
    const answers = await Promise.all(Object.values(ACCOUNTS).map((account) => ask(proxy, target, { account, from: 1 + i })));
    return [target, ...answers.map(({ status }) => status)].join(' ');
  }));
  assert.deepEqual(seen, table);
  const others = [
    [{ method: 'POST' }, 405], [{ headers: { 'Content-Length': 2000 } }, 413], [{ headers: { 'X-Long': 'x'.repeat(9000) } }, 400],
    [{ headers: { Host: 'evil.example' } }, 'ECONNRESET'], [{ servername: 'evil.example' }, 'EPROTO'], [{ account: 'desk:wrong' }, 401], [{ account: ':' }, 401],
  ];
  for (const [request, status] of others) assert.equal((await ask(proxy, '/desk', { from: 101, ...request })).status, status, JSON.stringify(request));
  const plain = await get(`http://${PROXY}1:${proxy.port}/desk?a`, { headers: { Host: SITE } });
  assert.deepEqual([plain.statusCode, plain.headers.location], [301, `https://${SITE}/desk?a`]);
  const { connection, ...wanted } = (await get(proxy.host)).headers;
  const { headers } = await ask(proxy, '/', { from: 101 });
  assert.deepEqual({ ...headers, ...wanted }, headers, `as the host's, but for ${connection}`);
  assert.match(headers['strict-transport-security'], /^max-age=\d+$/);
});

test('a WebSocket has the role of its path, and guests cannot take the places of others', async () => {
  const proxy = await startProxy();
  const refusal = /^(?=.*error the role)/s;
  for (const [role, account, answer] of [
    ['guest', ACCOUNTS.guest, refusal], ['desk', ACCOUNTS.desk, refusal], ['installer', ACCOUNTS.installer, /^(?!.*error)/s], ['activity', ACCOUNTS.installer, refusal],
  ]) {
    const upgrade = (options) => ask(proxy, `/ws/${role}`, { account, from: 60, headers: UPGRADE, ...options });
    assert.equal((await upgrade({ headers: { ...UPGRADE, Origin: 'https://evil.example' } })).status, 403, role);
    assert.equal((await upgrade({ account: undefined })).status, role === 'guest' ? 101 : 401, role);
    assert.match(await say(await upgrade({}), 'REMOVE_SERVICE id=9'), answer, role);
  }
  const countRefused = async (number, target, options) => {
    let refused = 0;
    for (let i = 1; i <= number; i += 1) refused += [429, 503].includes((await ask(proxy, target, { from: i, ...options })).status);
    return refused;
  };
  assert.ok((await countRefused(100, '/style.css', { from: 61 })) > 10, 'requests');
  assert.ok((await countRefused(40, '/desk', { from: 62, account: 'desk:guess' })) > 10, 'passwords');
  assert.equal(await countRefused(6, '/ws/guest', { from: 2, headers: UPGRADE }), 2, 'WebSockets of an address');
  assert.equal(await countRefused(40, '/ws/guest', { headers: UPGRADE }), 14, 'WebSockets of guests: six were open');
  for (const role of ['desk', 'installer']) assert.equal((await ask(proxy, `/ws/${role}`, { account: ACCOUNTS[role], from: 50, headers: UPGRADE })).status, 101);
  assert.equal((await ask(proxy, '/', { from: 50 })).status, 200);
});

test('in the browser guests need no password, and the staff do', async () => {
  const proxy = await startProxy('ADD_SERVICE name=Valet delay=15');
  const guest = await open(proxy, '/', { ignoreHTTPSErrors: true });
  await card(guest, 1).getByRole('button').click();
  await expectText(card(guest, 1).locator('.state'), /^Requested/);
  const stranger = await guest.context().newPage();
  await assert.rejects(stranger.goto(`${proxy.url}desk`), /ERR_INVALID_AUTH_CREDENTIALS/);
  const installer = await open(proxy, '/installer', { ignoreHTTPSErrors: true, httpCredentials: { username: 'fitter', password: 'back:stage' } });
  await card(installer, 1).getByRole('button', { name: /^Remove/ }).click();
  await press(installer, /^Remove$/);
  await expectSoon(() => card(guest, 1).count(), /^0$/);
});
