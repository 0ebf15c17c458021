// The client module's own rules, where no switch of the simulator shows
// them: which query values go out and how, a GET walk whose next key no
// query can carry, and a text that is not UTF-8 going back in a body byte
// for byte. A recording fetch stands in for the web server.
import { test } from 'node:test';
import assert from 'node:assert/strict';
import { Client, QueryError, Bytes } from '../../web/www/client.js';

// Answers each request with the next of `answers` (an envelope, or raw
// bytes), and keeps what was sent.
function recorder(...answers) {
  const sent = [];
  const fetch = async (url, init = {}) => {
    sent.push({ url, method: init.method ?? 'GET', body: init.body });
    const answer = answers.shift() ?? { resp: { respCode: 10023, respMsg: 'Request api not found', status: 'fail' } };
    return new Response(answer instanceof Uint8Array ? answer : JSON.stringify(answer), { status: 200 });
  };
  return { api: new Client('s', { fetch }), sent };
}

const ok = (data) => ({ snmp: data, resp: { respCode: 0, respMsg: 'Success', status: 'success' } });

test('query values go out as the program reads them, or not at all', async (t) => {
  const cases = [
    ['a-b', 'a-b'], ['a+b', 'a+b'], ['fe80::1', 'fe80::1'], ['10.0.0.1', '10.0.0.1'], ['x?y', 'x?y'], [7, '7'],
    ['a b', /holds a space/], ['a&b', /"&", which separates query entries/], ['a=b', /"=", which separates/],
    ['a#b', /"#", which ends the query/], ['50%', /"%"/], ['a/b', /"\/", which moves where the switch cuts/],
    ['é1', /"é" \(U\+00E9\), which browsers send percent-encoded/], ['a\tb', /a control character \(U\+0009\)/],
    ["it's", /"'"/], [new Bytes([0xc0, 0x78]), /\(bytes c0 78\) cannot be sent: its bytes are not UTF-8 text/],
    // A direction override is written out: it cannot reverse the message.
    ['\u202ea b', /^snmp\/community: communityName "\\u202ea b" cannot be sent: it holds "\\u202e" \(U\+202E\)/],
  ];
  for (const [value, expected] of cases) {
    await t.test(String(value), async () => {
      const { api, sent } = recorder(ok({}));
      const call = api.delete('snmp/community', { communityName: value });
      if (typeof expected === 'string') {
        await call;
        assert.deepEqual(sent.map((s) => s.url), [`/api/v2/monitoring/snmp/community?communityName=${expected}`]);
      } else {
        await assert.rejects(call, (error) => error instanceof QueryError && expected.test(error.message)
          && /switch's own command line/.test(error.message));
        assert.deepEqual(sent, []);
      }
    });
  }
});

test('a GET walk whose next key no query carries stops there and names the row', async () => {
  const { api, sent } = recorder(ok({ next: 'alpha' }), ok({ next: 'a b' }), ok({ next: 'gamma' }));
  const { rows, end, stopped } = await api.walk('GET', 'snmp/remote-engine-id-next', { name: '' }, (d) => ({ name: d.next }));
  assert.deepEqual(rows.map((r) => r.next), ['alpha', 'a b']);
  assert.equal(end.respCode, 0);
  assert.match(stopped.message, /^snmp\/remote-engine-id-next: the walk stopped after name "a b": .*holds a space/);
  assert.equal(sent.length, 2);
});

test('a text that is not UTF-8 comes back as its bytes, and goes out as them', async () => {
  const utf8 = new TextEncoder();
  const answer = (name) => Uint8Array.from([...utf8.encode('{"snmp": {"nextCommunityName": "'), ...name,
    ...utf8.encode('"}, "resp": {"respCode": 0, "respMsg": "Success", "status": "success"}}')]);
  const odd = [0xff, 0xfe, 0xc0];
  const { api, sent } = recorder(answer(utf8.encode('é1')), answer(odd));
  const { rows, end } = await api.walk('POST', 'snmp/community-get-next', { communityName: '' },
    (d) => ({ communityName: d.nextCommunityName }));
  assert.equal(end.respCode, 10023);
  assert.equal(rows[0].nextCommunityName, 'é1');
  assert.ok(rows[1].nextCommunityName instanceof Bytes);
  assert.equal(String(rows[1].nextCommunityName), '\ufffd\ufffd\ufffd');
  const bodies = sent.map((s) => [...s.body]);
  assert.deepEqual(bodies, [
    [...utf8.encode('{"communityName":""}')],
    [...utf8.encode('{"communityName":"é1"}')],
    [...utf8.encode('{"communityName":"'), ...odd, ...utf8.encode('"}')],
  ]);
});
