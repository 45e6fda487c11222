// The page knows nothing but `framework`, the bridge of the preload script. Texts of accounts and
// messages go in as text, never as HTML.
'use strict';

/** @import { AccountEntry, MeetingMessage } from 'zelectronframework' */
/** @import { Answer, Failure } from 'zelectronframework/electron-preload' */
/** @import { StartFailure, State } from './bridge.js' */
/** @typedef {(key: string) => Promise<Answer<unknown>>} Ask */

const longestList = 50;
/** @type {Map<string, string>} */
const awaited = new Map(); // what is being done, by the key of what was asked
/** @type {string | undefined} */
let shownUser; // who is shown as the current one; empty when nobody is
let isRefreshing = false;
let isStale = false;
let messageCount = 0;

/** @template {HTMLElement} [Kind=HTMLElement] @param {string} id */
const element = (id) => /** @type {Kind} */ (document.getElementById(id));

/** A copy of a template, and its parts by their selectors. @param {string} id */
function copyOf(id) {
  const template = /** @type {HTMLTemplateElement} */ (element(id));
  const item = /** @type {HTMLElement} */ (template.content.firstElementChild?.cloneNode(true));
  /** @param {string} selector */
  const part = (selector) => /** @type {HTMLElement} */ (item.querySelector(selector));
  return { item, part };
}

/** For screen readers; the page shows the same. @param {string} text */
function say(text) {
  element('status').textContent = text;
}

/** The button of this key, or another one of the same account. @param {string} key */
function focusOn(key) {
  const [account = key] = / .*/.exec(key) ?? [];
  const button =
    document.querySelector(`[data-key="${CSS.escape(key)}"]`) ??
    document.querySelector(`[data-key$="${CSS.escape(account)}"]`) ??
    element('you-title');
  /** @type {HTMLElement} */ (button).focus();
}

// What is asked: its button waits, a notice lets the user cancel, and another one tells a failure.

/** Only the buttons of what is awaited are disabled; they keep the focus. */
function showAwaited() {
  for (const button of document.querySelectorAll('button')) {
    const doing = awaited.get(button.dataset.key ?? '');
    button.ariaDisabled = doing ? 'true' : null;
    button.ariaBusy = doing && doing === button.dataset.doing ? 'true' : null;
  }
}

/** @param {string} key */
function removeNotice(key) {
  const notice = document.querySelector(`[data-notice="${CSS.escape(key)}"]`);
  const hadFocus = notice?.contains(document.activeElement);
  notice?.remove();
  if (hadFocus) focusOn(key);
}

/**
 * One notice for each key. @param {string} key @param {string} text @param {string | undefined} code
 * @param {string} label @param {() => void} onclick
 */
function notify(key, text, code, label, onclick) {
  removeNotice(key);
  const { item, part } = copyOf('notice');
  item.dataset.notice = key;
  item.className = code ? 'failure' : 'waiting';
  if (code) item.role = 'alert';
  part('p').textContent = text;
  part('.note').textContent = code ? `Code ${code}` : '';
  part('button').textContent = label;
  part('button').onclick = onclick;
  element('notices').append(item);
}

/** @param {string} key @param {Failure} failure */
function showFailure(key, { code, message }) {
  notify(key, message, code, 'Dismiss', () => removeNotice(key));
}

/** @param {HTMLElement} button @param {Ask} ask */
async function act(button, ask) {
  const { key = '', doing = '' } = button.dataset;
  if (awaited.has(key)) return false;
  awaited.set(key, doing);
  showAwaited();
  say(doing);
  notify(key, doing, undefined, 'Cancel', () => framework.cancel(key));
  const answer = await ask(key);
  awaited.delete(key);
  removeNotice(key);
  showAwaited();
  if (answer.ok) refresh();
  else if (answer.error.code === 'ZEF_ABORTED') say('No longer waiting for an answer');
  else showFailure(key, answer.error);
  return answer.ok;
}

/** @param {string} label @param {string} key @param {string} doing @param {Ask} ask */
function newButton(label, key, doing, ask) {
  const button = document.createElement('button');
  button.type = 'button';
  button.textContent = label;
  button.dataset.key = key;
  button.dataset.doing = doing;
  button.onclick = () => act(button, ask);
  return button;
}

// Accounts

/** @param {AccountEntry} account */
const nameOf = ({ nickname, userid }) => nickname || userid || '?';

/** What can be done with an account. @param {AccountEntry} account */
function accountButtons(account) {
  const { userid, is_login, is_current } = account;
  /**
   * @param {'signIn' | 'switchAccount' | 'signOut'} action
   * @param {string} label @param {string} spoken @param {string} doing
   */
  const button = (action, label, spoken, doing) => {
    const made = newButton(label, `${action} ${userid}`, `${doing} ${nameOf(account)}`, (key) =>
      framework.ask(action, userid, key),
    );
    made.ariaLabel = `${spoken} ${nameOf(account)}`;
    return made;
  };
  if (!is_login) return [button('signIn', 'Sign in', 'Sign in', 'Signing in')];
  const leave = button('signOut', 'Sign out', 'Sign out', 'Signing out');
  if (is_current) return [leave];
  return [button('switchAccount', 'Switch', 'Switch to', 'Switching to'), leave];
}

/** @param {AccountEntry} account */
function accountItem(account) {
  const { item, part } = copyOf('account');
  const name = nameOf(account);
  part('.avatar').textContent = [...name][0].toUpperCase();
  // The same account has the same colour everywhere.
  const sum = [...account.userid].reduce((all, letter) => all + letter.charCodeAt(0), 0);
  part('.avatar').style.setProperty('--hue', String((sum * 137) % 360));
  part('.name').textContent = name;
  part('.name').title = name; // very long ones are cut
  part('.note').title = account.company_name;
  part('.note').textContent = account.company_name;
  part('.badge').textContent = account.is_login ? 'Signed in' : 'Signed out';
  part('.badge').classList.toggle('good', account.is_login);
  part('.buttons').append(...accountButtons(account));
  return item;
}

/** @param {AccountEntry[]} accounts */
function showAccounts(accounts) {
  const key = /** @type {HTMLElement} */ (document.activeElement)?.dataset.key;
  const current = accounts.find((account) => account.is_current && account.is_login);
  const others = accounts.filter((account) => account !== current);
  element('current').replaceChildren(...(current ? [accountItem(current)] : []));
  element('others').replaceChildren(...others.map(accountItem));
  showAwaited();
  if (key) focusOn(key);
  if ((current?.userid ?? '') !== shownUser) announce(current);
}

/** Signing in is unfolded while nobody is signed in. @param {AccountEntry | undefined} current */
function announce(current) {
  const offer = /** @type {HTMLDetailsElement} */ (element('sign-in'));
  const hadFocus = offer.contains(document.activeElement);
  shownUser = current?.userid ?? '';
  say(current ? `Signed in as ${nameOf(current)}` : 'Nobody is signed in');
  offer.open = !current;
  if (hadFocus && current) element('you-title').focus();
}

/** Several events in a row lead to one question after the one that is open. */
async function refresh() {
  isStale = true;
  if (isRefreshing) return;
  isRefreshing = true;
  while (isStale) {
    isStale = false;
    const answer = await framework.ask('accounts');
    removeNotice('accounts');
    if (answer.ok) {
      showAccounts(answer.data);
    } else {
      const text = `The accounts may have changed. ${answer.error.message}`;
      notify('accounts', text, answer.error.code, 'Try again', refresh);
    }
  }
  isRefreshing = false;
}

// What the office suite sends, and events: the newest on top, and never more than fits a memory.

/** @param {string} list @param {Node} item */
function addOnTop(list, item) {
  const target = element(list);
  target.prepend(item);
  while (target.children.length > longestList) target.lastElementChild?.remove();
}

/** Long names and addresses may break behind these. @param {HTMLElement} target @param {string} text */
function showLong(target, text) {
  const parts = text.split(/(?<=[./?&])/);
  target.append(...parts.flatMap((part) => [part, document.createElement('wbr')]).slice(0, -1));
}

/** @param {HTMLElement} list @param {string} name @param {string} value */
function addField(list, name, value) {
  const term = document.createElement('dt');
  const detail = document.createElement('dd');
  term.textContent = name;
  showLong(detail, value);
  list.append(term, detail);
}

const now = () => new Date().toLocaleTimeString();

/** @param {MeetingMessage} message */
function showMessage(message) {
  const { item, part } = copyOf('message');
  const fields = part('dl');
  const buttons = part('.buttons');
  messageCount += 1;
  const key = `message-${messageCount}`;
  item.className = message.dataType;
  part('time').textContent = now();
  part('.dismiss').onclick = () => {
    item.remove();
    element('meetings-title').focus();
  };
  switch (message.dataType) {
    case 'enterMeeting': {
      const { meetingUrl, accessCode } = message.data;
      part('.title').textContent = 'Enter a meeting';
      if (meetingUrl) addField(fields, 'Address', meetingUrl);
      if (accessCode) addField(fields, 'Access code', accessCode);
      if (!meetingUrl) break;
      const join = newButton('Join', key, 'Opening the meeting', () =>
        framework.ask('joinMeeting', meetingUrl, key),
      );
      join.className = 'primary';
      buttons.append(join);
      break;
    }
    case 'getMeetingStatus':
      part('.title').textContent = 'Are you in a meeting?';
      // A new question stands for the one before.
      document.querySelector('.getMeetingStatus:has([data-key])')?.remove();
      buttons.append(statusButton('In a meeting', true), statusButton('Free', false));
      break;
    case 'closeMeetingApp':
      part('.title').textContent = 'The office suite closes this application';
      addField(fields, 'Sign out', message.data.logoutAccount ? 'yes' : 'no');
      break;
  }
  addOnTop('messages', item);

  /** @param {string} label @param {boolean} isInMeeting */
  function statusButton(label, isInMeeting) {
    return newButton(label, key, `Answering: ${label}`, async () => {
      const answer = await framework.ask('reportStatus', isInMeeting, key);
      if (answer.ok) {
        addField(fields, 'You answered', label);
        if (buttons.contains(document.activeElement)) part('.dismiss').focus();
        buttons.remove();
      }
      return answer;
    });
  }
}

/** @param {string} name */
function showEvent(name) {
  const item = document.createElement('li');
  const time = document.createElement('time');
  const shown = document.createElement('span');
  time.textContent = now();
  showLong(shown, name);
  item.append(time, shown);
  addOnTop('events', item);
  element('event-count').textContent = String(element('events').children.length);
  if (name.startsWith('account.') && name !== 'account.cookieUpdated') refresh();
}

// Phases of the application

/** @param {StartFailure} failure */
function showStartFailure({ code, message, remedy, details }) {
  element('failed-message').textContent = message;
  element('failed-remedy').textContent = remedy;
  element('failed-code').textContent = code;
  const items = details.map((text) => {
    const item = document.createElement('li');
    item.textContent = text;
    return item;
  });
  element('failed-details').replaceChildren(...items);
}

/** @param {State} state */
function enter(state) {
  for (const phase of ['starting', 'failed', 'ready'])
    element(phase).hidden = state.phase !== phase;
  if (state.phase === 'failed') showStartFailure(state.error);
  if (state.phase === 'ready') refresh();
  element(state.phase === 'ready' ? 'you-title' : `${state.phase}-title`).focus();
}

element('try-again').onclick = () => framework.ask('tryAgain');
element('quick').onclick = () =>
  act(element('quick'), (key) => framework.ask('signIn', undefined, key));
element('code-form').onsubmit = async (event) => {
  event.preventDefault();
  const field = /** @type {HTMLInputElement} */ (element('code'));
  const isIn = await act(element('with-code'), (key) =>
    framework.ask('signInWithCode', field.value, key),
  );
  if (isIn) field.value = '';
  else field.select();
};
// A wide window has room for it.
const log = /** @type {HTMLDetailsElement} */ (element('log').firstElementChild);
log.open = matchMedia('(min-width: 80rem)').matches;

framework.on('event', showEvent);
framework.on('meeting', showMessage);
framework.on('state', enter);
framework
  .ask('sendState')
  .then(({ ok }) => ok || console.error('main.js does not serve this page'));
