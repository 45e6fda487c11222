'use strict';

// Lets pages of an Electron application ask its main process; electron-preload.js is the other end.
// Nothing of Electron is loaded here, so that it can be bundled and tested.

const path = require('node:path');
const { fileURLToPath } = require('node:url');
const { FrameworkError } = require('./lib/errors.cjs');

/** The preload script to name in `webPreferences`. */
const preloadFile = path.join(__dirname, 'electron-preload.js');

/** Where a URL leads, without query and fragment; undefined where it is no URL. */
function placeOf(url) {
  try {
    const { protocol, host, pathname } = new URL(url);
    return protocol === 'file:' ? fileURLToPath(url) : `${protocol}//${host}${pathname}`;
  } catch {
    return undefined;
  }
}

function checkedPlace(page) {
  const place = path.isAbsolute(String(page)) ? page : placeOf(page);
  if (place === undefined) {
    const message = `servePages: ${page} is neither an absolute path nor a URL`;
    throw new FrameworkError('ZEF_BAD_ARGUMENT', message);
  }
  return place;
}

/** By its shape: a bundle may hold the class twice. */
function defaultFailure(error) {
  if (/^ZEF_/.test(error?.code)) return { code: error.code, message: error.reply?.msg ?? '' };
  console.error(error);
  return { code: 'INTERNAL', message: '' };
}

function servePages({ ipcMain, pages, actions, failureOf = defaultFailure }) {
  const places = pages.map(checkedPlace);
  const listening = new Set(); // web contents
  const running = new Map(); // controllers, by page and key

  /** A page itself and no frame in it. Electron may throw for a frame that is gone. */
  function isOurs(frameOf) {
    try {
      const { parent, url } = frameOf();
      const place = placeOf(url);
      return (
        parent === null &&
        places.some((each) => place === each || (each.endsWith('/') && place?.startsWith(each)))
      );
    } catch {
      return false;
    }
  }

  ipcMain.handle('zelectronframework:ask', async (event, name, value, key) => {
    const isOffered = typeof name === 'string' && Object.hasOwn(actions, name);
    if (!isOffered || !isOurs(() => event.senderFrame)) {
      return { ok: false, error: { code: 'NOT_ALLOWED', message: '' } };
    }
    const controller = new AbortController();
    const place = `${event.sender.id} ${key}`;
    if (key !== undefined) running.set(place, controller);
    try {
      return { ok: true, data: await actions[name](value, { signal: controller.signal }) };
    } catch (error) {
      return { ok: false, error: failureOf(error) };
    } finally {
      if (running.get(place) === controller) running.delete(place);
    }
  });

  ipcMain.on('zelectronframework:cancel', (event, key) => {
    if (isOurs(() => event.senderFrame)) running.get(`${event.sender.id} ${key}`)?.abort();
  });

  ipcMain.on('zelectronframework:listen', ({ sender }) => {
    if (listening.has(sender)) return;
    listening.add(sender);
    sender.once('destroyed', () => listening.delete(sender));
  });

  return {
    send(channel, value) {
      // Looked at each time: a window may show another page by now.
      for (const contents of listening) {
        if (isOurs(() => contents.mainFrame)) {
          contents.send(`zelectronframework:message:${channel}`, value);
        }
      }
    },
  };
}

module.exports = { preloadFile, servePages };
