import { around } from './around.js';
import { Neighbours } from './neighbours.js';
import { Part } from './part.js';
import { usePreviews } from './previews.js';

/** What happened before and meanwhile, which answers most questions about an event. */
export function Surroundings({ head, select }) {
  const { open, before, during } = around(head);
  const previewOf = usePreviews([...open, ...before, ...during]);
  const parts = [
    ['Open at that time', open],
    ['During this call', head.kind === 'call' ? during : []],
    ['Before', before],
  ];
  return parts.map(
    ([title, heads]) =>
      heads.length > 0 && (
        <Part key={title} title={title} count={heads.length}>
          <Neighbours {...{ heads, previewOf, select }} from={head.t} />
        </Part>
      ),
  );
}
