import type { Failure, PageActions } from './electron-preload.js';

export type {
  ActionContext,
  Answer,
  Failure,
  PageActions,
  PageBridge,
} from './electron-preload.js';

/** The part of Electron's ipcMain that is used. */
export interface IpcMain {
  // biome-ignore lint/suspicious/noExplicitAny: as Electron declares them
  handle(channel: string, listener: (event: any, ...values: any[]) => any): void;
  // biome-ignore lint/suspicious/noExplicitAny: as Electron declares them
  on(channel: string, listener: (event: any, ...values: any[]) => void): unknown;
}

export interface PagesOptions {
  ipcMain: IpcMain;
  /**
   * The pages that may ask and listen: absolute paths of files, or URLs, whose query and fragment do
   * not count. One that ends with a slash stands for all below it. Frames inside a page may not.
   */
  pages: string[];
  /** What they may ask for. Values come from a page: check them. */
  actions: PageActions;
  /** Makes a failure of what an action threw. By default the code of a FrameworkError, else "INTERNAL". */
  failureOf?(error: unknown): Failure;
}

export interface Pages<Messages> {
  /** Sends a plain value to every page that listens. */
  send<Channel extends keyof Messages & string>(channel: Channel, value: Messages[Channel]): void;
}

/**
 * Lets pages ask for actions and listen, through electron-preload.js. Once per process.
 * @throws FrameworkError ZEF_BAD_ARGUMENT for a page that is neither a path nor a URL
 */
export function servePages<Messages = Record<string, unknown>>(
  options: PagesOptions,
): Pages<Messages>;

/** The preload script to name in `webPreferences`. */
export const preloadFile: string;
