// What the page finds as `framework`, and what crosses: plain values only.
import type { EventName, MeetingMessage } from 'zelectronframework';
import type { Failure, PageBridge } from 'zelectronframework/electron-preload';
import type { actionsOf } from './actions.js';

/** Why the framework did not start: for users, and details for those who help them. */
export interface StartFailure extends Failure {
  remedy: string;
  details: string[];
}

export type State =
  | { phase: 'starting' }
  | { phase: 'ready' }
  | { phase: 'failed'; error: StartFailure };

/** What the main process sends, by channel. */
export interface Messages {
  state: State;
  event: EventName;
  meeting: MeetingMessage;
}

declare global {
  var framework: PageBridge<ReturnType<typeof actionsOf>, Messages>;
}
