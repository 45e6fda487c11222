// What crosses between the main process and the page: plain objects only.
import type {
  AccountEntry,
  EventName,
  Finding,
  MeetingMessage,
  NoAccountEntry,
} from 'zelectronframework';

/** A sentence for the user, and a code to ask for help with. */
export interface Failure {
  code: string;
  message: string;
}

/** Why the framework did not start; the findings are those of the package's doctor. */
export interface StartFailure extends Failure {
  remedy?: string;
  findings: Finding[];
}

export type State =
  | { phase: 'starting' }
  | { phase: 'ready' }
  | { phase: 'failed'; error: StartFailure };

export type Answer<Data> = { ok: true; data: Data } | { ok: false; error: Failure };

/** What a page may ask for, by name; see actions.js. */
export interface Actions {
  accounts(): (AccountEntry | NoAccountEntry)[];
  signIn(): void;
  signInWithCode(code: string): void;
  switchAccount(userId: string): void;
  signOut(userId: string): void;
  reportStatus(isInMeeting: boolean): void;
}

export interface Bridge {
  /** Never rejects. */
  ask<Name extends keyof Actions>(
    name: Name,
    ...values: Parameters<Actions[Name]>
  ): Promise<Answer<ReturnType<Actions[Name]>>>;
  /** Gives the state now and every later one. */
  onState(listener: (state: State) => void): void;
  onEvent(listener: (name: EventName) => void): void;
  onMeeting(listener: (message: MeetingMessage) => void): void;
  /** After a start that failed. */
  tryAgain(): void;
}

declare global {
  interface Window {
    bridge: Bridge;
  }
}
