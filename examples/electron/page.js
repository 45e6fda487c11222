// The page knows nothing but the bridge. Texts of accounts and messages go in as text, never as HTML.
'use strict';

/** @param {string} id @returns {HTMLElement} */
function element(id) {
  return /** @type {HTMLElement} */ (document.getElementById(id));
}

/** @param {string} listId @param {string} text @param {string} [className] */
function addLine(listId, text, className = '') {
  const line = document.createElement('li');
  line.textContent = text;
  line.className = className;
  element(listId).append(line);
}

/** @param {string} text @param {boolean} [isFailure] */
function say(text, isFailure = false) {
  element('status').textContent = text;
  element('status').className = isFailure ? 'failed' : '';
}

async function showAccounts() {
  const result = await window.framework.call('account.getAccountListInfo');
  if (!result.ok) return say(result.error.message, true);
  const accounts = result.data.accountListInfo.filter((entry) => entry.nickname !== undefined);
  element('accounts').replaceChildren();
  for (const account of accounts) {
    const state = account.is_login ? 'signed in' : 'signed out';
    addLine('accounts', `${account.nickname} (${state})`, account.is_current ? 'current' : '');
  }
  const current = accounts.find((account) => account.is_current);
  say(current ? `Signed in as ${current.nickname}` : 'Not signed in');
}

/** @param {string} method @param {object} params */
async function signIn(method, params) {
  say('Signing in');
  const result = await window.framework.call(method, params);
  if (!result.ok) return say(`${result.error.message} (${result.error.code})`, true);
  await showAccounts();
}

element('sign-in').addEventListener('click', () =>
  signIn('account.quickLogin', { keepOnline: true }),
);
element('code-form').addEventListener('submit', (event) => {
  event.preventDefault();
  const code = /** @type {HTMLInputElement} */ (element('code')).value;
  signIn('account.loginWithRandcode', { randcode: code });
});

window.framework.onEvent((name) => {
  addLine('events', name);
  if (name === 'account.accountListInfoChanged') showAccounts();
});
window.framework.onMeeting((message) =>
  addLine('meetings', `${message.dataType} ${JSON.stringify(message.data ?? {})}`),
);
showAccounts();
