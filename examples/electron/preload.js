// Runs sandboxed, so it loads no module of its own: only functions and plain values cross the bridge.
'use strict';

const { contextBridge, ipcRenderer } = require('electron');

/** @param {string} channel @param {(value: any) => void} listener @returns {() => void} */
function listen(channel, listener) {
  /** @param {unknown} _event @param {unknown} value */
  const own = (_event, value) => listener(value);
  ipcRenderer.on(channel, own);
  return () => {
    ipcRenderer.removeListener(channel, own);
  };
}

contextBridge.exposeInMainWorld('framework', {
  /** Resolves to { ok: true, data } or { ok: false, error: { code, message, ... } }; never rejects. */
  call: (/** @type {string} */ method, /** @type {object} */ params) =>
    ipcRenderer.invoke('framework:call', method, params),
  /** Both return the function that ends the subscription. */
  onEvent: (/** @type {(name: string) => void} */ listener) => listen('framework:event', listener),
  onMeeting: (/** @type {(message: object) => void} */ listener) =>
    listen('framework:meeting', listener),
});
