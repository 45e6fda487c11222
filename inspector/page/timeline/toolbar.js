import { useState } from 'preact/hooks';
import { entries } from '../entries.js';
import { Icon } from '../icons.js';
import { switches } from './kinds.js';
import { list } from './list.js';

const modulesOf = ({ description }) => [
  ...new Set(description.methods.map(({ name }) => name.split('.')[0])),
];

function Choice({ label, all, value, values, choose }) {
  return (
    <select aria-label={label} value={value} onChange={({ target }) => choose(target.value)}>
      <option value="">{all}</option>
      {values.map((each) => (
        <option key={each}>{each}</option>
      ))}
    </select>
  );
}

function Kinds({ hidden }) {
  const toggle = (group) => {
    const changed = new Set(hidden);
    for (const kind of group) if (!changed.delete(kind)) changed.add(kind);
    list.set({ hidden: changed });
  };
  return (
    <fieldset class="kinds">
      <legend class="unseen">What is shown</legend>
      {switches.map(([label, icon, group]) => (
        <button
          key={label}
          type="button"
          aria-pressed={!hidden.has(group[0])}
          onClick={() => toggle(group)}
        >
          <Icon name={icon} /> {label}
        </button>
      ))}
    </fieldset>
  );
}

function Filters({ isOpen }) {
  const { module, result, hidden } = list.filters;
  return (
    <div id="filters" class={`filters ${isOpen ? 'open' : ''}`}>
      <Choice
        label="Module"
        all="All modules"
        value={module}
        values={modulesOf(entries.session)}
        choose={(value) => list.set({ module: value })}
      />
      <Choice
        label="Result"
        all="All results"
        value={result}
        values={['ok', 'fail', 'open']}
        choose={(value) => list.set({ result: value })}
      />
      <Kinds hidden={hidden} />
    </div>
  );
}

export function Toolbar({ field }) {
  const { isPaused } = entries;
  const [isOpen, setOpen] = useState(false);
  return (
    <div class="toolbar">
      <button
        type="button"
        class="sign"
        aria-label={isPaused ? 'resume' : 'pause'}
        title={isPaused ? 'Go on showing what comes' : 'Keep the list as it is'}
        aria-pressed={isPaused}
        onClick={() => entries.pause(!isPaused)}
      >
        <Icon name={isPaused ? 'resume' : 'pause'} />
      </button>
      <input
        ref={field}
        type="search"
        aria-label="Search"
        placeholder="Search: logout  method:login  result:fail  >50ms"
        title="Words, in any order, that an entry holds; / goes here"
        value={list.filters.text}
        onInput={({ target }) => list.set({ text: target.value })}
      />
      <button
        type="button"
        class="sign narrow"
        aria-label="Filters"
        aria-expanded={isOpen}
        aria-controls="filters"
        onClick={() => setOpen(!isOpen)}
      >
        <Icon name="filter" />
      </button>
      <Filters isOpen={isOpen} />
    </div>
  );
}
