import { Failure } from '../failure.js';
import { Json } from '../json.js';
import { duration } from '../times.js';

/** What the last call of a method brought. */
export function Answer({ answer, failure, isRunning, show }) {
  return (
    <section class="answer" aria-label="Answer" aria-busy={isRunning}>
      <h2>Answer</h2>
      {isRunning && <p class="dim">waiting…</p>}
      <Failure text={failure} />
      {!answer && !failure && !isRunning && (
        <p class="dim">Call the method to see what it answers.</p>
      )}
      {answer && (
        <>
          <p class="line">
            <span class={`badge ${answer.outcome === 'ok' ? 'ok' : 'bad'}`}>{answer.outcome}</span>
            {answer.ms !== undefined && <span class="dim">after {duration(answer.ms)}</span>}
            <button type="button" class="link" onClick={() => show(answer.seq)}>
              in the timeline
            </button>
          </p>
          {answer.error && <p class="bad">{answer.error}</p>}
          {(!answer.error || answer.reply) && (
            <Json text={answer.reply} cut={answer.cut?.reply} nothing="no reply" />
          )}
        </>
      )}
    </section>
  );
}
