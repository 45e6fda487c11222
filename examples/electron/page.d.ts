// What preload.js puts into the page's world.
import type { AccountEntry, MeetingMessage, NoAccountEntry } from 'zelectronframework';

type Failure = { ok: false; error: { code: string; message: string } };
type Success<Data> = { ok: true; data: Data };
type Accounts = { accountListInfo: (AccountEntry | NoAccountEntry)[] };

declare global {
  interface Window {
    framework: {
      call(method: 'account.getAccountListInfo'): Promise<Success<Accounts> | Failure>;
      call(method: string, params?: object): Promise<Success<unknown> | Failure>;
      onEvent(listener: (name: string) => void): () => void;
      onMeeting(listener: (message: MeetingMessage) => void): () => void;
    };
  }
}
