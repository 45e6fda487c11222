function Account({ account, isCurrent, change, choose, remove }) {
  const { userid, nickname, is_login: isSignedIn } = account;
  return (
    <tr>
      <td>{userid}</td>
      <td>{nickname}</td>
      <td>
        <input
          type="checkbox"
          aria-label={`${userid} is signed in`}
          checked={isSignedIn}
          onChange={({ target }) => change({ ...account, is_login: target.checked })}
        />
      </td>
      <td>
        <input
          type="radio"
          name="current"
          aria-label={`${userid} is the current account`}
          checked={isCurrent}
          onChange={choose}
        />
      </td>
      <td>
        <button type="button" class="link" aria-label={`Remove ${userid}`} onClick={remove}>
          remove
        </button>
      </td>
    </tr>
  );
}

function Table({ accounts, currentUserId, change }) {
  const remove = (index) => {
    const isCurrent = accounts[index].userid === currentUserId;
    change(accounts.toSpliced(index, 1), isCurrent ? '' : currentUserId);
  };
  return (
    <table>
      <thead>
        <tr>
          <th>user</th>
          <th>name</th>
          <th>signed in</th>
          <th>current</th>
          <th>
            <span class="unseen">remove</span>
          </th>
        </tr>
      </thead>
      <tbody>
        {accounts.map((account, index) => (
          <Account
            key={account.userid}
            account={account}
            isCurrent={account.userid === currentUserId}
            change={(changed) => change(accounts.with(index, changed))}
            choose={() => change(accounts, account.userid)}
            remove={() => remove(index)}
          />
        ))}
      </tbody>
    </table>
  );
}

/** The accounts that the mock has on this machine. */
export function Accounts({ state, tell }) {
  const { accounts = [], currentUserId, users = [] } = state;
  const isHere = ({ userid }) => accounts.some((account) => account.userid === userid);
  const change = (changed, current = currentUserId) =>
    tell({ accounts: changed, currentUserId: current });
  const add = (user) => change([...accounts, { ...user, is_login: true, status: 'normal' }]);
  return (
    <section class="card" aria-label="Accounts">
      <h2>Accounts on this machine</h2>
      {accounts.length > 0 ? (
        <Table {...{ accounts, currentUserId, change }} />
      ) : (
        <p class="dim">None. Sign in with account.quickLogin, or add one.</p>
      )}
      <p class="actions">
        {users
          .filter((user) => !isHere(user))
          .map((user) => (
            <button key={user.userid} type="button" onClick={() => add(user)}>
              add {user.nickname} ({user.userid})
            </button>
          ))}
      </p>
      <p class="dim">Changes here raise no event.</p>
    </section>
  );
}
