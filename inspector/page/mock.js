import { useEffect, useState } from 'preact/hooks';
import { get, post } from './connection.js';
import { entries } from './entries.js';
import { Json } from './tree.js';

const operations = [
  'logout',
  'loginCallback',
  'switchAccount',
  'upgradeAccount',
  'downgradeAccount',
  'updateAccountInfo',
  'getUrlWithAuthorizeCode',
  'signPopToken',
  'signLoginData',
  'getJwkPublicKeyStr',
  'generatePKCEParam',
  'cookiesForUrl',
  'getDeviceInfo',
  'getDeviceNetworkStatus',
  'getDeviceHeader',
  'grantAuthorizeCodeOffice',
  'getAuthorizedUserInfoOffice',
  'notifyOfficeMsg/getMeetingStatus',
  'getLoginService',
  'getSignService',
  'getScheduler',
  'getCookieFactory',
  'getAccount',
  'getAccessbaseService',
];
const isGetter = (operation) =>
  /^get(LoginService|SignService|Scheduler|CookieFactory|Account|AccessbaseService)$/.test(
    operation,
  );

const behaviours = {
  refuse: { refuse: true },
  'answer late': { delayMs: 1000 },
  'answer twice': { times: 2 },
  'never answer': { times: 0 },
  'hold until released': { hold: true },
  'throw an exception': { throw: 'scripted' },
  'another reply…': { reply: { result: 'fail', msg: 'scripted' } },
};

// How the reply of a method is scripted: under the name of the operation that answers it.
const operationOf = (name) => {
  const last = name.split('.')[1];
  return /^(loginWith|quickLogin)/.test(last) ? 'loginCallback' : last;
};

const messages = {
  enterMeeting: {
    msgType: 'enterMeeting',
    meetingUrl: 'https://meet.example.com/4711',
    accessCode: '',
  },
  getMeetingStatus: { msgType: 'getMeetingStatus' },
  closeMeetingApp: { msgType: 'closeMeetingApp', logoutAccount: false },
};

function Later({ value, change }) {
  return (
    <label>
      in{' '}
      <input
        class="short"
        type="number"
        min="0"
        value={value}
        onInput={({ target }) => change(Number(target.value))}
      />{' '}
      ms
    </label>
  );
}

function Accounts({ state, tell }) {
  const { accounts = [], currentUserId, users = [] } = state;
  const others = users.filter(
    ({ userid }) => !accounts.some((account) => account.userid === userid),
  );
  const change = (changed, current = currentUserId) =>
    tell({ accounts: changed, currentUserId: current });
  return (
    <section aria-label="Accounts">
      <h2>Accounts on this machine</h2>
      {accounts.length === 0 && (
        <p class="dim">none; sign in with account.quickLogin, or add one</p>
      )}
      {accounts.length > 0 && (
        <table>
          <thead>
            <tr>
              <th>user</th>
              <th>name</th>
              <th>signed in</th>
              <th>current</th>
              <th>remove</th>
            </tr>
          </thead>
          <tbody>
            {accounts.map((account, index) => (
              <tr key={account.userid}>
                <td>{account.userid}</td>
                <td>{account.nickname}</td>
                <td>
                  <input
                    type="checkbox"
                    aria-label={`${account.userid} is signed in`}
                    checked={account.is_login}
                    onChange={({ target }) =>
                      change(accounts.with(index, { ...account, is_login: target.checked }))
                    }
                  />
                </td>
                <td>
                  <input
                    type="radio"
                    name="current"
                    aria-label={`${account.userid} is the current account`}
                    checked={account.userid === currentUserId}
                    onChange={() => change(accounts, account.userid)}
                  />
                </td>
                <td>
                  <button
                    type="button"
                    aria-label={`Remove ${account.userid}`}
                    onClick={() =>
                      change(
                        accounts.toSpliced(index, 1),
                        account.userid === currentUserId ? '' : currentUserId,
                      )
                    }
                  >
                    ✕
                  </button>
                </td>
              </tr>
            ))}
          </tbody>
        </table>
      )}
      <p class="actions">
        {others.map((user) => (
          <button
            key={user.userid}
            type="button"
            onClick={() => change([...accounts, { ...user, is_login: true, status: 'normal' }])}
          >
            add {user.nickname} ({user.userid})
          </button>
        ))}
      </p>
      <p class="dim">Changes here raise no event.</p>
    </section>
  );
}

function Raise({ tell }) {
  const events = entries.session.description['x-events'].map(({ name }) => name);
  const [event, setEvent] = useState(events[1]);
  const [message, setMessage] = useState(JSON.stringify(messages.enterMeeting));
  const [after, setAfter] = useState(0);
  return (
    <section aria-label="Events and messages">
      <h2>Let something happen</h2>
      <p class="actions">
        <Later value={after} change={setAfter} />
      </p>
      <p class="actions">
        <select aria-label="Event" value={event} onChange={({ target }) => setEvent(target.value)}>
          {events.map((name) => (
            <option key={name}>{name}</option>
          ))}
        </select>
        <button
          type="button"
          onClick={() => tell({ signal: event.replace('account.', '') }, after)}
        >
          raise
        </button>
      </p>
      <div class="field">
        <label for="message">message of the office suite</label>
        <textarea
          id="message"
          rows={3}
          spellcheck={false}
          value={message}
          onInput={({ target }) => setMessage(target.value)}
        />
      </div>
      <p class="actions">
        {Object.entries(messages).map(([name, content]) => (
          <button key={name} type="button" onClick={() => setMessage(JSON.stringify(content))}>
            {name}
          </button>
        ))}
        <button
          type="button"
          class="main"
          onClick={() => tell({ message: JSON.parse(message) }, after)}
        >
          send
        </button>
      </p>
    </section>
  );
}

function Script({ tell, answer }) {
  const [operation, setOperation] = useState(answer ? operationOf(answer.name) : 'logout');
  const [text, setText] = useState(() =>
    JSON.stringify(answer ? { reply: JSON.parse(answer.reply) } : behaviours.refuse),
  );
  const [count, setCount] = useState(1);
  const script = () => {
    const step = { ...JSON.parse(text), count };
    return tell({ script: { [operation]: [step] } });
  };
  return (
    <section aria-label="Next answers">
      <h2>Next answers</h2>
      <p class="actions">
        <label>
          the next{' '}
          <input
            class="short"
            type="number"
            min="1"
            value={count}
            onInput={({ target }) => setCount(Number(target.value))}
          />{' '}
          calls of
        </label>
        <select
          aria-label="Operation"
          value={operation}
          onChange={({ target }) => setOperation(target.value)}
        >
          {[...new Set([operation, ...operations])].map((name) => (
            <option key={name}>{name}</option>
          ))}
        </select>
      </p>
      <p class="actions">
        {Object.entries(behaviours).map(([name, step]) => (
          <button key={name} type="button" onClick={() => setText(JSON.stringify(step))}>
            {name}
          </button>
        ))}
      </p>
      {isGetter(operation) && <p class="dim">refuse gives the framework a null service</p>}
      <div class="field">
        <label for="script">script</label>
        <textarea
          id="script"
          rows={3}
          spellcheck={false}
          value={text}
          onInput={({ target }) => setText(target.value)}
        />
      </div>
      <p class="actions">
        <button type="button" class="main" onClick={script}>
          script
        </button>
        <button type="button" onClick={() => tell({ script: { [operation]: {} } })}>
          back to honest
        </button>
      </p>
    </section>
  );
}

function ToCome({ state, plans, tell, cancel }) {
  const scripts = Object.entries(state.scripts);
  const isEmpty = plans.length + scripts.length + state.held.length === 0;
  return (
    <section aria-label="What is to come">
      <h2>What is to come</h2>
      {isEmpty && <p class="dim">nothing: the mock answers honestly</p>}
      <ul class="plain">
        {plans.map(({ id, in: left, command }) => (
          <li key={id}>
            in {(Math.max(0, left) / 1000).toFixed(1)} s: <code>{JSON.stringify(command)}</code>{' '}
            <button type="button" onClick={() => cancel(id)}>
              cancel
            </button>
          </li>
        ))}
        {scripts.map(([operation, calls]) => (
          <li key={operation}>
            {operation}: scripted for {calls < 0 ? 'all calls' : `${calls} more`}
          </li>
        ))}
        {state.held.map((operation, index) => (
          <li key={index}>{operation}: its answer is held</li>
        ))}
      </ul>
      {state.held.length > 0 && (
        <button type="button" onClick={() => tell({ release: true })}>
          release
        </button>
      )}
    </section>
  );
}

export function Mock({ answer }) {
  const [mock, setMock] = useState();
  const [failure, setFailure] = useState('');
  const take = (promise) =>
    promise.then(
      (found) => {
        setMock(found);
        setFailure('');
      },
      (error) => setFailure(error.message),
    );
  const tell = async (command, afterMs) => {
    try {
      await take(post('mock', { command, afterMs }));
    } catch (error) {
      setFailure(error.message);
    }
  };
  useEffect(() => {
    const refresh = () => get('mock').then(setMock, (error) => setFailure(error.message));
    refresh();
    const timer = setInterval(refresh, 1000);
    return () => clearInterval(timer);
  }, []);
  if (entries.session.isReadOnly) return <p class="panel">The inspector was started read-only.</p>;
  if (!mock) return <p class="panel">{failure || 'asking'}</p>;
  const parts = { tell, state: mock.state };
  return (
    <div class="panels">
      {failure && (
        <p role="alert" class="bad">
          {failure}
        </p>
      )}
      <Accounts {...parts} />
      <Raise {...parts} />
      <Script {...parts} answer={answer} />
      <ToCome {...parts} plans={mock.plans} cancel={(id) => take(post('cancelPlan', { id }))} />
      <details>
        <summary>All it knows</summary>
        <Json text={JSON.stringify(mock.state)} />
      </details>
    </div>
  );
}
