// Types of what a page finds as `window.framework`. The script itself is for `webPreferences.preload`,
// or for a preload script of your own that is bundled.

/** What the main process offers: each function takes at most one value of the page. */
export interface PageActions {
  // biome-ignore lint/suspicious/noExplicitAny: the value is what each function says
  [name: string]: (value: any, context: ActionContext) => unknown;
}

export interface ActionContext {
  /** Aborts when the page cancels. Pass it on to `call`. */
  signal: AbortSignal;
}

/** What a page gets in place of an error. */
export interface Failure {
  /** A FrameworkError's code; "NOT_ALLOWED", "INTERNAL" or a code of your `failureOf`. */
  code: string;
  /** The text of a "fail" reply, or what your `failureOf` says. May be empty. */
  message: string;
}

export type Answer<Data> = { ok: true; data: Data } | { ok: false; error: Failure };

type Asking<Action> = Action extends (value: infer Value, ...rest: never[]) => unknown
  ? undefined extends Value
    ? [value?: Value, key?: string]
    : [value: Value, key?: string]
  : never;
type Asked<Action> = Action extends (...values: never[]) => infer Data ? Awaited<Data> : never;

export interface PageBridge<Actions, Messages = Record<string, unknown>> {
  /** Asks for an action by its name; `key` is what `cancel` names. Never rejects. */
  ask<Name extends keyof Actions & string>(
    name: Name,
    ...asking: Asking<Actions[Name]>
  ): Promise<Answer<Asked<Actions[Name]>>>;
  /** Ends the waiting of what was asked with this key. */
  cancel(key: string): void;
  /** Listens to what the main process sends. The function that it returns ends that. */
  on<Channel extends keyof Messages & string>(
    channel: Channel,
    listener: (value: Messages[Channel]) => void,
  ): () => void;
}
