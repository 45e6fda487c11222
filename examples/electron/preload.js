// Runs sandboxed, so it loads no module of its own: only functions and plain values cross the bridge.
'use strict';

const { contextBridge, ipcRenderer } = require('electron');

/** @param {string} channel @returns {(listener: (value: any) => void) => void} */
const listenTo = (channel) => (listener) => {
  ipcRenderer.on(channel, (_event, value) => listener(value));
};

/** @type {import('./bridge.js').Bridge} */
const bridge = {
  ask: (name, ...values) => ipcRenderer.invoke('ask', name, ...values),
  onState(listener) {
    listenTo('state')(listener);
    ipcRenderer.send('ready-for-state');
  },
  onEvent: listenTo('event'),
  onMeeting: listenTo('meeting'),
  tryAgain: () => ipcRenderer.send('try-again'),
};

contextBridge.exposeInMainWorld('bridge', bridge);
