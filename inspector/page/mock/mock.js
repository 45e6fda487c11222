import { useEffect } from 'preact/hooks';
import { get, post } from '../connection.js';
import { useSession } from '../entries.js';
import { Failure } from '../failure.js';
import { Json } from '../json.js';
import { useKept } from '../kept.js';
import { Accounts } from './accounts.js';
import { Happen } from './happen.js';
import { Script } from './script.js';
import { ToCome } from './tocome.js';
import './mock.css';

export { prepareAnswer } from './script.js';

const refreshMilliseconds = 1000;

function useMock(isAsked) {
  const [state, setState] = useKept('mock', {});
  const take = (promise) =>
    promise.then(
      (mock) => setState({ mock }),
      (error) => setState({ ...state, failure: error.message }),
    );
  useEffect(() => {
    if (!isAsked) return undefined;
    const refresh = () =>
      get('mock').then(
        (mock) => setState({ mock }),
        ({ message }) => setState({ failure: message }),
      );
    refresh();
    const timer = setInterval(refresh, refreshMilliseconds);
    return () => clearInterval(timer);
  }, [isAsked]);
  return { ...state, take };
}

/** What the mock of the account library does, now and next. */
export function Mock() {
  const { isReadOnly, isMock } = useSession();
  const { mock, failure, take } = useMock(isMock && !isReadOnly);
  if (isReadOnly)
    return <p class="nothing">Started read-only: the mock cannot be told anything.</p>;
  if (!isMock)
    return <p class="nothing">The account library is not the mock, or does not run yet.</p>;
  if (!mock) return <p class="nothing">{failure ?? 'Asking the mock…'}</p>;
  const tell = (command, afterMs) => take(post('mock', { command, afterMs }));
  const parts = { tell, ...mock };
  return (
    <div class="panels">
      <Failure text={failure} />
      <Script {...parts} />
      <ToCome {...parts} cancel={(id) => take(post('cancelPlan', { id }))} />
      <Happen {...parts} />
      <Accounts {...parts} />
      <details class="card">
        <summary>Everything the mock knows</summary>
        <Json text={JSON.stringify(mock.state)} />
      </details>
    </div>
  );
}
