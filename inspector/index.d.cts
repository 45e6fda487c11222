import type { ElectronFramework, Settings } from 'zelectronframework';

export interface InspectorOptions {
  /** A free port by default. The address is always 127.0.0.1. */
  port?: number;
  /** The page shows and changes nothing: no calls, no mock, no recordings. */
  readOnly?: boolean;
  /** Existing folder into which recordings may be saved; none by default. */
  recordings?: string;
  /** What init was given; for recordings that begin later. */
  settings?: Settings;
  /** Bytes that entries may take before the oldest fall out; 128 MiB by default. */
  memoryBytes?: number;
  /** Whether each call notes where in the application it comes from; true by default. */
  where?: boolean;
  /** Attaches in a packaged Electron application too. */
  allowPackaged?: boolean;
}

export interface Inspector {
  /** Address of the page with its token: whoever has it sees what the page shows. */
  url: string;
  /** Subscribes to all events and task messages, as the application could. */
  subscribeAll(): void;
  close(): void;
}

/**
 * Opens a window on the frameworks of this thread. It does not keep the process running.
 * @throws Error in a packaged Electron application, unless allowed
 */
export function attach(
  framework: ElectronFramework,
  options?: InspectorOptions,
): Promise<Inspector>;

export interface ReplayFinding {
  /** Line of the recording, from 1. */
  line: number;
  text: string;
  /** Where in the answer, for example "data.userId". */
  path?: string;
  expected?: unknown;
  actual?: unknown;
  /** The delivery that came instead of a missing one. */
  nearest?: string;
}

export interface ReplayResult {
  ok: boolean;
  calls: number;
  compared: number;
  /** How many differences there are; `failures` holds the first 1,000. */
  differ: number;
  failures: ReplayFinding[];
  warnings: ReplayFinding[];
  /** All of it in words. */
  report: string;
}

/**
 * Runs a recording against the mock and compares what comes with what was recorded. Nothing else may
 * run in the process.
 * @throws RecordingError when the file is no recording
 */
export function replay(
  source: string | { text: string },
  options?: {
    /** Milliseconds that each answer, event or message may take; 5,000 by default. */
    timeout?: number;
    /** Writes the file again, as things are now. */
    update?: boolean;
  },
): Promise<ReplayResult>;

export interface Recording {
  header: Record<string, unknown>;
  lines: ({ number: number } & Record<string, unknown>)[];
}

export class RecordingError extends Error {
  line: number;
}

export function readRecording(text: string): Recording;

/**
 * Turns a recording made with the real libraries into one for the mock, which answers as they did.
 * Others stay as they are.
 */
export function forMock(recording: Recording): Recording;
