import { useKept } from '../kept.js';

const lastOf = (name) => name.split('.')[1];

function byModule(methods) {
  const modules = new Map();
  for (const method of methods) {
    const [module] = method.name.split('.');
    modules.set(module, [...(modules.get(module) ?? []), method]);
  }
  return [...modules];
}

/** The same as one field, where there is no room for the list. */
function Choice({ methods, chosen, choose }) {
  return (
    <select
      class="narrow"
      aria-label="Method"
      value={chosen}
      onChange={({ target }) => choose(target.value)}
    >
      {byModule(methods).map(([module, its]) => (
        <optgroup key={module} label={module}>
          {its.map(({ name }) => (
            <option key={name} value={name}>
              {lastOf(name)}
            </option>
          ))}
        </optgroup>
      ))}
    </select>
  );
}

/** The methods by module, of which one is chosen. */
export function Methods({ methods, chosen, choose }) {
  const [wanted, setWanted] = useKept('methods that are wanted', '');
  const shown = methods.filter(({ name, summary }) =>
    `${name} ${summary}`.toLowerCase().includes(wanted.toLowerCase()),
  );
  return (
    <nav class="methods" aria-label="Methods">
      <Choice {...{ methods, chosen, choose }} />
      <input
        type="search"
        aria-label="Filter methods"
        placeholder="Filter methods"
        value={wanted}
        onInput={({ target }) => setWanted(target.value)}
      />
      {shown.length === 0 && <p class="dim">No method has this in its name or summary.</p>}
      {byModule(shown).map(([module, its]) => (
        <div key={module}>
          <h2>{module}</h2>
          <ul>
            {its.map(({ name, summary }) => (
              <li key={name}>
                <button
                  type="button"
                  title={summary}
                  aria-current={name === chosen}
                  onClick={() => choose(name)}
                >
                  {lastOf(name)}
                </button>
              </li>
            ))}
          </ul>
        </div>
      ))}
    </nav>
  );
}
