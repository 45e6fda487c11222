/** @returns the fields of a form for a method: those of its parameters whose values are simple. */
export function Form({ method, values, change }) {
  if (method.params.length === 0) return <p class="dim">no parameters are described</p>;
  return (
    <div class="form">
      {method.params.map((param) => (
        <Field
          key={param.name}
          param={param}
          value={values[param.name]}
          change={(value) => change({ ...values, [param.name]: value })}
        />
      ))}
    </div>
  );
}

const textOf = (value) => (value === undefined ? '' : JSON.stringify(value));

function Field({ param, value, change }) {
  const { name, description, required, schema } = param;
  const id = `param-${name}`;
  const type = [schema.type].flat()[0];
  return (
    <div class="field">
      <label for={id}>
        {name}
        {required && <b title="required"> *</b>}
      </label>
      <Input {...{ id, type, schema, value, change, isSecret: schema['x-secret'] }} />
      <small id={`${id}-about`}>{description}</small>
    </div>
  );
}

function Input({ id, type, schema, value, change, isSecret }) {
  const about = { id, 'aria-describedby': `${id}-about` };
  if (type === 'boolean') {
    return (
      <select
        {...about}
        value={value === undefined ? '' : String(value)}
        onChange={({ target }) => change(target.value === '' ? undefined : target.value === 'true')}
      >
        <option value="">not given</option>
        <option value="true">true</option>
        <option value="false">false</option>
      </select>
    );
  }
  if (type === 'integer' || type === 'number') {
    return (
      <input
        {...about}
        type="number"
        placeholder={textOf(schema.default)}
        value={value ?? ''}
        onInput={({ target }) => change(target.value === '' ? undefined : Number(target.value))}
      />
    );
  }
  if (type === 'string') {
    return (
      <input
        {...about}
        type="text"
        autocomplete="off"
        class={isSecret ? 'sensitive' : ''}
        placeholder={schema.default ? textOf(schema.default) : ''}
        value={value ?? ''}
        onInput={({ target }) => change(target.value === '' ? undefined : target.value)}
      />
    );
  }
  return <JsonInput {...{ about, value, change }} />;
}

/** A value of any shape, as JSON; while it cannot be read it is marked and not taken. */
function JsonInput({ about, value, change }) {
  const onInput = ({ target }) => {
    try {
      change(target.value.trim() === '' ? undefined : JSON.parse(target.value));
      target.setCustomValidity('');
    } catch (error) {
      target.setCustomValidity(error.message);
    }
    target.setAttribute('aria-invalid', String(!target.validity.valid));
  };
  return (
    <textarea
      {...about}
      rows={3}
      spellcheck={false}
      placeholder="{ }"
      defaultValue={textOf(value)}
      onInput={onInput}
    />
  );
}
