import { Json } from '../json.js';
import { Part } from './part.js';

/** What was asked, told and answered. */
export function Texts({ entry }) {
  const { kind, name, outcome, params, reply, error, text, where, cut = {} } = entry;
  if (kind === 'event') return undefined;
  if (kind !== 'call' && kind !== 'late') {
    return (
      <Part title="Content">
        <Json text={text} cut={cut.text} />
      </Part>
    );
  }
  return (
    <>
      {kind === 'call' && (
        <Part title={name === 'init' ? 'Settings' : 'Parameters'}>
          <Json text={params} cut={cut.params} nothing="none" />
        </Part>
      )}
      <Part title="Reply">
        {error && <p class="bad">{error}</p>}
        {(!error || reply) && (
          <Json text={reply} cut={cut.reply} nothing={outcome === 'open' ? 'not yet' : 'none'} />
        )}
      </Part>
      {where?.length > 0 && (
        <Part title="Called from" isOpen={false}>
          <ol class="frames">
            {where.map((frame, index) => (
              <li key={index}>
                <code>{frame.replace(/^at /, '')}</code>
              </li>
            ))}
          </ol>
        </Part>
      )}
    </>
  );
}
