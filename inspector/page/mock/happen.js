import { entries } from '../entries.js';
import { useKept } from '../kept.js';
import { JsonField, readObject } from './jsonfield.js';
import { Later } from './later.js';

const messages = {
  enterMeeting: {
    msgType: 'enterMeeting',
    meetingUrl: 'https://meet.example.com/4711',
    accessCode: '',
  },
  getMeetingStatus: { msgType: 'getMeetingStatus' },
  closeMeetingApp: { msgType: 'closeMeetingApp', logoutAccount: false },
};

function Raise({ raise }) {
  const events = entries.session.description['x-events'].map(({ name }) => name);
  const [event, setEvent] = useKept('event to raise', events[1]);
  return (
    <>
      <select aria-label="Event" value={event} onChange={({ target }) => setEvent(target.value)}>
        {events.map((name) => (
          <option key={name}>{name}</option>
        ))}
      </select>
      <button type="button" class="main" onClick={() => raise(event.replace('account.', ''))}>
        raise
      </button>
    </>
  );
}

function Send({ send }) {
  const [text, setText] = useKept('message to send', JSON.stringify(messages.enterMeeting));
  const { value } = readObject(text);
  return (
    <>
      <JsonField id="message" label="message of the office suite" {...{ text, setText }} />
      <div class="actions">
        {Object.entries(messages).map(([name, content]) => (
          <button key={name} type="button" onClick={() => setText(JSON.stringify(content))}>
            {name}
          </button>
        ))}
        <button type="button" class="main" disabled={!value} onClick={() => send(value)}>
          send
        </button>
      </div>
    </>
  );
}

/** Raises an event or sends a message of the office suite, now or later. */
export function Happen({ tell }) {
  const [after, setAfter] = useKept('when it happens', 0);
  return (
    <section class="card" aria-label="Events and messages">
      <h2>Let something happen</h2>
      <div class="actions">
        <Later value={after} change={setAfter}>
          in
        </Later>
        <Raise raise={(signal) => tell({ signal }, after)} />
      </div>
      <Send send={(message) => tell({ message }, after)} />
    </section>
  );
}
