import { useSession } from '../entries.js';
import { keep, useKept } from '../kept.js';
import { Call } from './call.js';
import { Methods } from './methods.js';
import { Subscriptions } from './subscriptions.js';
import './explorer.css';

/** Fills the form as an entry of the timeline was called. */
export function prepareCall({ name, params }) {
  keep('method', name);
  keep(`parameters of ${name}`, params || '{}');
}

/** Every method with its documentation and a form that calls it. */
export function Explorer({ selectInTimeline }) {
  const { description, subscribed, isReadOnly } = useSession();
  const [name, setName] = useKept('method', 'account.quickLogin');
  const method = description.methods.find((each) => each.name === name);
  if (isReadOnly) {
    return <p class="nothing">Started read-only: methods cannot be called from here.</p>;
  }
  return (
    <div class="workbench">
      <Methods methods={description.methods} chosen={name} choose={setName} />
      <Call
        key={name}
        method={method ?? { name, params: [], result: {} }}
        show={selectInTimeline}
      />
      <Subscriptions description={description} subscribed={subscribed} />
    </div>
  );
}
