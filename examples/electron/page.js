// The page knows nothing but the bridge. Texts of accounts and messages go in as text, never as HTML.
'use strict';

/** @import { AccountEntry, MeetingMessage } from 'zelectronframework' */
/** @import { Answer, StartFailure, State } from './bridge.js' */

const longestList = 50;
const { bridge } = window;
let isBusy = false;

/** @template {HTMLElement} [Kind=HTMLElement] @param {string} id */
const element = (id) => /** @type {Kind} */ (document.getElementById(id));

/** A copy of a template with the parts of it by their selectors. @param {string} id */
function copyOf(id) {
  const template = /** @type {HTMLTemplateElement} */ (element(id));
  const item = /** @type {HTMLElement} */ (template.content.firstElementChild?.cloneNode(true));
  for (const button of item.querySelectorAll('button')) button.disabled = isBusy;
  /** @param {string} selector */
  const part = (selector) => /** @type {HTMLElement} */ (item.querySelector(selector));
  return { item, part };
}

/** Long dotted names may break behind a dot. @param {HTMLElement} target @param {string} name */
function showName(target, name) {
  const parts = name.split(/(?<=\.)/);
  target.append(...parts.flatMap((part) => [part, document.createElement('wbr')]).slice(0, -1));
}

/** @param {string} status @param {string} [failure] the last one stays when there is none */
function say(status, failure) {
  element('status').textContent = status;
  if (failure !== undefined) element('failure').textContent = failure;
}

/** Newest on top, and never more than a screen remembers. @param {string} list @param {Node} item */
function addOnTop(list, item) {
  const target = element(list);
  target.prepend(item);
  while (target.children.length > longestList) target.lastElementChild?.remove();
}

/** Nothing can be pressed twice while an answer is awaited. @param {boolean} busy */
function setBusy(busy) {
  isBusy = busy;
  element('ready').setAttribute('aria-busy', String(isBusy));
  for (const button of document.querySelectorAll('button')) button.disabled = isBusy;
}

/**
 * Asks the main process, with the buttons disabled, and shows what went wrong.
 * @template Data
 * @param {string} what @param {() => Promise<Answer<Data>>} ask
 */
async function act(what, ask) {
  const focused = document.activeElement;
  say(what, '');
  setBusy(true);
  const answer = await ask();
  setBusy(false);
  const name = await showAccounts();
  say(name, answer.ok ? '' : `${answer.error.message} (${answer.error.code})`);
  const isThere = focused instanceof HTMLElement && focused.isConnected && !focused.hidden;
  (isThere ? focused : element('accounts-title')).focus();
  return answer.ok;
}

/** @param {AccountEntry} account */
function accountItem(account) {
  const { item, part } = copyOf('account');
  const name = account.nickname || account.userid;
  item.classList.toggle('current', account.is_current);
  part('.name').textContent = name;
  part('.note').textContent = [
    account.company_name,
    account.is_login ? 'signed in' : 'signed out',
    account.is_current ? 'current' : '',
  ]
    .filter(Boolean)
    .join(', ');
  const switching = /** @type {HTMLButtonElement} */ (part('.switch'));
  const leaving = /** @type {HTMLButtonElement} */ (part('.sign-out'));
  switching.setAttribute('aria-label', `Switch to ${name}`);
  leaving.setAttribute('aria-label', `Sign out ${name}`);
  switching.hidden = account.is_current || !account.is_login;
  leaving.hidden = !account.is_login;
  switching.onclick = () =>
    act(`Switching to ${name}`, () => bridge.ask('switchAccount', account.userid));
  leaving.onclick = () => act(`Signing out ${name}`, () => bridge.ask('signOut', account.userid));
  return item;
}

/** @returns {Promise<string>} what the status line says of the current account */
async function showAccounts() {
  const answer = await bridge.ask('accounts');
  if (!answer.ok) return '';
  const accounts = answer.data.filter((entry) => entry.nickname !== undefined);
  element('accounts').replaceChildren(...accounts.map(accountItem));
  const current = accounts.find((account) => account.is_current);
  return current ? `Signed in as ${current.nickname || current.userid}` : 'Not signed in';
}

/** @param {HTMLElement} list @param {string} name @param {string} value */
function addField(list, name, value) {
  const term = document.createElement('dt');
  const detail = document.createElement('dd');
  term.textContent = name;
  detail.textContent = value;
  list.append(term, detail);
}

/** @param {MeetingMessage} message */
function showMessage(message) {
  const { item, part } = copyOf('message');
  const fields = part('dl');
  part('time').textContent = new Date().toLocaleTimeString();
  const buttons = part('.buttons');
  switch (message.dataType) {
    case 'enterMeeting':
      part('h3').textContent = 'Enter a meeting';
      addField(fields, 'Address', message.data.meetingUrl || 'none');
      addField(fields, 'Access code', message.data.accessCode || 'none');
      break;
    case 'getMeetingStatus':
      part('h3').textContent = 'What is the meeting status?';
      part('.in-meeting').onclick = () => report(true);
      part('.free').onclick = () => report(false);
      break;
    case 'closeMeetingApp':
      part('h3').textContent = 'Close the application';
      addField(fields, 'Sign out', message.data.logoutAccount ? 'yes' : 'no');
      break;
  }
  if (message.dataType !== 'getMeetingStatus') buttons.remove();
  addOnTop('meetings', item);

  /** @param {boolean} isInMeeting */
  async function report(isInMeeting) {
    const isTaken = await act('Answering the office suite', () =>
      bridge.ask('reportStatus', isInMeeting),
    );
    if (!isTaken) return;
    addField(fields, 'Answered', isInMeeting ? 'in a meeting' : 'free');
    buttons.remove();
  }
}

/** @param {string} name */
function showEvent(name) {
  const item = document.createElement('li');
  const time = document.createElement('time');
  time.textContent = new Date().toLocaleTimeString();
  showName(item, name);
  item.append(time);
  addOnTop('events', item);
}

/** @param {StartFailure} error */
function showStartFailure({ code, message, remedy, findings }) {
  element('failed-message').textContent = message;
  element('failed-code').textContent = code;
  element('failed-remedy').textContent = remedy ?? 'ask for help with the code';
  const items = findings.map((finding) => {
    const item = document.createElement('li');
    item.textContent = `${finding.code}: ${finding.message}`;
    return item;
  });
  element('findings').replaceChildren(...items);
}

/** @param {State} state */
async function enter(state) {
  element('ready').hidden = state.phase !== 'ready';
  element('failed').hidden = state.phase !== 'failed';
  if (state.phase === 'starting') say('Starting', '');
  if (state.phase === 'ready') say(await showAccounts());
  if (state.phase !== 'failed') return;
  say('');
  showStartFailure(state.error);
  element('failed-title').focus();
}

element('try-again').onclick = () => bridge.tryAgain();
element('sign-in').onclick = () => act('Signing in', () => bridge.ask('signIn'));
element('code-form').onsubmit = async (event) => {
  event.preventDefault();
  const field = /** @type {HTMLInputElement} */ (element('code'));
  const isIn = await act('Signing in', () => bridge.ask('signInWithCode', field.value));
  if (isIn) field.value = '';
  else field.select();
};
bridge.onEvent((name) => {
  showEvent(name);
  if (name === 'account.accountListInfoChanged' && !isBusy) showAccounts().then(say);
});
bridge.onMeeting(showMessage);
bridge.onState(enter);
