// One call of every family through the client module, as another page of the
// switch's web interface would make them. types.test.mjs copies this file
// beside client.js, type-checks it (tsc --checkJs --strict) against the types
// generated from the API document, and runs it on a simulated switch: the
// words written, the read-modify-write of a monitor session and every data
// member read must fit the document's types, and the answers the switch's.

/**
 * @template {import('./client.js').Route<'put'>} R
 * @typedef {import('./client.js').BodyOf<import('./client.js').Operation<R, 'put'>>} PutBody
 */

/** @param {import('./client.js').Client} api */
export async function everyFamily(api) {
  const { counterValue } = await api.get('stats/stat', { ifNum: 1, counterId: 'ctr_rx_total_bytes' });
  const { hold } = await api.get('lldp/tx-hold');
  const { sysName } = await api.get('snmp/sys-name');
  const { port } = await api.get('sflow/rcvr-port', { index: 1 });
  const { mac } = await api.get('instru-nos/mac-addr');

  // Both words of the mode, the one that stops copying last.
  await api.put('mirror/sw-port-monitor-mode', { sessionNum: 1, mode: 'enable' });
  const enabled = (await api.get('mirror/sw-port-monitor-mode', { sessionNum: 1 })).mode;
  await api.put('mirror/sw-port-monitor-mode', { sessionNum: 1, mode: 'disable' });
  const disabled = (await api.get('mirror/sw-port-monitor-mode', { sessionNum: 1 })).mode;
  await api.post('mirror/sw-port-monitor-source-port', { sessionNum: 1, intIfNum: 3, direction: 'both' });
  const { direction } = await api.get('mirror/source-port-direction', { sessionNum: 1, intIfNum: 3 });

  // Read, modify, write: what GET reads is a body that PUT takes.
  const before = await api.get('session/config', { sessionId: 1 });
  /** @type {PutBody<'session/config'>} */
  const asRead = before;
  /** @type {PutBody<'session/config'>} */
  const sent = { ...asRead, mode: asRead.mode === 'enable' ? 'disable' : 'enable' };
  await api.put('session/config', sent, { sessionId: 1 });
  const after = await api.get('session/config', { sessionId: 1 });

  // The families this switch lacks answer their envelope all the same.
  const lacking = {
    'instru-bhd/asic-capabilities': (await api.request('GET', 'instru-bhd/asic-capabilities', undefined, undefined)).resp,
    'instru-bst/config': (await api.request('GET', 'instru-bst/config', undefined, undefined)).resp,
    'instru-flow-tracker/ft-capabilities':
      (await api.request('GET', 'instru-flow-tracker/ft-capabilities', undefined, undefined)).resp,
    'instru-ifa/config': (await api.request('GET', 'instru-ifa/config', undefined, undefined)).resp,
    'instru-packet-trace/pt-trace-profile':
      (await api.request('GET', 'instru-packet-trace/pt-trace-profile', undefined, undefined)).resp,
  };

  return { counterValue, hold, sysName, port, mac, enabled, disabled, direction, before, sent, after, lacking };
}
