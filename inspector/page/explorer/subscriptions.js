import { useState } from 'preact/hooks';
import { post } from '../connection.js';
import { entries } from '../entries.js';
import { Failure } from '../failure.js';

function Item({ item: { name, summary }, isOn, toggle }) {
  return (
    <li>
      <label>
        <input type="checkbox" checked={isOn} onChange={({ target }) => toggle(target.checked)} />{' '}
        {name}
      </label>
      <small>{summary.replaceAll('`', '')}</small>
    </li>
  );
}

/** Which events and task messages are subscribed to here; what the application hears is its own. */
export function Subscriptions({ description, subscribed }) {
  const [failure, setFailure] = useState('');
  const set = (body) =>
    post('subscribe', body).then(
      (answer) => {
        setFailure('');
        entries.setSession(answer);
      },
      (error) => setFailure(error.message),
    );
  const itemOf = (kind) => (item) => (
    <Item
      key={item.name}
      item={item}
      isOn={subscribed.includes(item.name)}
      toggle={(on) => set({ [kind]: item.name, on })}
    />
  );
  const [events, tasks] = [description['x-events'], description['x-tasks']];
  return (
    <section class="subscriptions" aria-label="Events and task messages">
      <h2>
        Subscribed here{' '}
        <span class="dim">
          {subscribed.length} of {events.length + tasks.length}
        </span>
      </h2>
      <Failure text={failure} />
      <ul>{events.map(itemOf('event'))}</ul>
      <h2>Task messages</h2>
      <ul>{tasks.map(itemOf('task'))}</ul>
    </section>
  );
}
