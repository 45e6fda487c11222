'use strict';

// A preload script: gives a page `window.framework`; electron-main.js is the other end. A sandboxed
// preload script can load Electron and none of our files, so this one stands alone.

const { contextBridge, ipcRenderer } = require('electron');

contextBridge.exposeInMainWorld('framework', {
  async ask(name, value, key) {
    try {
      return await ipcRenderer.invoke('zelectronframework:ask', name, value, key);
    } catch {
      return { ok: false, error: { code: 'INTERNAL', message: '' } };
    }
  },
  cancel(key) {
    ipcRenderer.send('zelectronframework:cancel', String(key));
  },
  on(channel, listener) {
    const deliver = (_event, value) => listener(value);
    ipcRenderer.on(`zelectronframework:message:${channel}`, deliver);
    ipcRenderer.send('zelectronframework:listen');
    return () => {
      ipcRenderer.off(`zelectronframework:message:${channel}`, deliver);
    };
  },
});
